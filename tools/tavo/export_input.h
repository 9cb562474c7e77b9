// What every export does with its surveys, whatever the format: their names, what stands for the
// format of an output, and what the findings of a text mean.
#pragma once

#include <string>
#include <vector>

#include "findings.h"
#include "verbs.h"

namespace tavo::tool {

struct ExportFormat {
  const char* suffix;  // of an output's name; of a database what it begins with
  const char* driver;  // GDAL's; null: written by the tool itself
};

// The format of an output, the standard one's is csv. Null, with a complaint, for an unknown
// suffix.
const ExportFormat* exportFormat(const std::string& output);

// What each file is called in the column `survey`: its name without folder and suffix. Empty, with
// a complaint, when two would have the same one.
std::vector<std::string> surveyNames(const ExportOptions& options);

// The path of a file that holds one layer of several: "out.csv" and "points" give "out_points.csv".
std::string pathOfLayer(const std::string& output, const std::string& layer);

// The sentence on a survey that an output to be added to has already.
std::string alreadyThere(const std::string& output, const std::string& survey);

// Reads one of the surveys; null, with a complaint, when it cannot be. `status` is raised by what
// its findings mean: with `strict` they refuse it, else a note tells of them.
Survey readExported(const std::string& path, bool strict, InputText* text, int* status);

}  // namespace tavo::tool
