// Runs an analysis of a text and shows the outcome as short readable lines, so that tests can put
// input, findings and records side by side.
#pragma once

#include <string>
#include <string_view>

#include "api/library.h"

namespace tavo::tests {

struct Analysed {
  uint32_t status = 0;
  api::AnalysisCounts counts;
  std::string log;       // as written, CR LF turned into LF
  std::string findings;  // one line each: "12 E2500 ABC"; notes as "note line 3 will be ignored"
  std::string records;   // one line each, see recordText
  std::string losses;  // with an observer, one line each: "3 number 65537", "4 digits 0.123456789"
};

struct Conditions {
  uint16_t maxErrors = 65535;
  // Position of the delivery at which the sink asks to stop, from 1; 0: never.
  uint64_t abortAt = 0;
  // An instance that lives over several analyses; null: a new one.
  api::Library* library = nullptr;
  bool observed = false;
};

// Analyses the bytes as they are. A finding whose line differs in any byte from what its number,
// text and message demand is shown as "?" and the line itself.
Analysed analyse(std::string_view text, const Conditions& conditions = {});

// The number of the record's type, then its fields: of a columns record the field names in
// brackets (an id without a name as "#0"), of a data record the members that are not zero.
std::string recordText(RecordType type, const void* record);

// Writes a file of exactly these bytes.
void writeFile(const char* path, std::string_view bytes);
std::string readFile(const char* path);

// text, count times.
std::string repeated(std::string_view text, size_t count);

// A block inside a section: the definition line, the lines, the ENDs. The lines begin on line 3.
std::string inBlock(std::string_view section, std::string_view definition, std::string_view lines);

// Expects findings and records of the text, whatever else happened.
void expectAnalysis(const char* where, std::string_view text, std::string_view findings,
                    std::string_view records, const Conditions& conditions = {});

// One row of a table of tests, and the check of all rows.
struct AnalysisCase {
  const char* name;
  std::string text;
  std::string findings;
  std::string records;
  Conditions conditions = {};
};
template <size_t N>
void expectAll(const AnalysisCase (&cases)[N]) {
  for (const AnalysisCase& row : cases) {
    expectAnalysis(row.name, row.text, row.findings, row.records, row.conditions);
  }
}

}  // namespace tavo::tests
