// Findings in the forms of other programs: SARIF 2.1.0 for code hosts and editors, CSV for tables.
#pragma once

#include <string>

#include "findings.h"
#include "json.h"

namespace tavo::tool {

// A SARIF log of one run over any number of files.
class SarifRun {
 public:
  void add(const InputText& text, const Analysis& analysis);
  // A file that could not be worked on.
  void addProblem(const std::string& problem);
  // Prints the log; false when the standard output takes no more.
  bool print() const;

 private:
  Json results_ = Json::array();
  Json artifacts_ = Json::array();
  Json problems_ = Json::array();
};

// The line that names the columns, and one line for each finding of a file.
std::string csvHead();
std::string csvLines(const InputText& text, const Analysis& analysis);

}  // namespace tavo::tool
