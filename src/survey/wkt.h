// Reference systems as well-known text (WKT2:2019). The datum is named "unknown" and nothing else:
// any other name would make other programs take the system for a public one.
#pragma once

#include <string>
#include <string_view>

#include "survey/projection.h"

namespace tavo::survey {

struct NamedEllipsoid {
  std::string name;
  Ellipsoid shape;
  double inverse = 0;  // inverse flattening, as given where it was; 0 of a sphere
};

// Shortest text that reads back as the value.
std::string number(double value);
// Radians in degrees, without what the way to radians and back leaves in the last digits.
std::string degrees(double radians);
// A text of the survey in UTF-8 (what is not is taken as Latin-1), control characters as blanks.
std::string readable(std::string_view text);

// Names are UTF-8. usage: further members in front of the end, each behind a comma.
std::string projectedWkt(const std::string& name, const std::string& conversion,
                         const Projection& projection, const NamedEllipsoid& ellipsoid,
                         const std::string& usage);
std::string engineeringWkt(const std::string& name, const std::string& remark);
std::string geographicWkt(const std::string& name, const NamedEllipsoid& ellipsoid);
std::string geocentricWkt(const std::string& name, const NamedEllipsoid& ellipsoid);

}  // namespace tavo::survey
