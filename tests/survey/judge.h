// PROJ as the judge of projections and of the reference systems that we write.
#pragma once

#include <optional>
#include <string>

namespace tavo::tests {

struct Judged {
  double east, north;
};

// Whether the build has PROJ; without it the tests that ask it are skipped.
bool hasJudge();

// Projects degrees from the base of a projected system, easting first; nothing when PROJ does not
// take the text for a projected system or cannot project the point.
std::optional<Judged> judge(const std::string& system, double lat, double lon);

// What PROJ calls the system's type: "projected", "engineering", "geographic", "geocentric", "".
std::string judgedType(const std::string& system);

// The system written by PROJ in another form and read again: WKT1 as files of other programs
// hold it.
std::string asOldText(const std::string& system);

// The EPSG code that PROJ finds for a system with certainty, or 0.
int identified(const std::string& system);

}  // namespace tavo::tests
