// What an analysis found: kept whole, printed for a person in the form that editors and build
// servers know, and for programs as JSON.
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "input_text.h"
#include "interrupt.h"
#include "json.h"
#include "tavo/survey.h"
#include "tavo/tavo.h"
#include "verbs.h"

namespace tavo::tool {

// Where something of the survey lies.
struct Position {
  double x, y, z;   // z is NaN where there is no height
  std::string crs;  // name of its reference system, "" without one
};

// The record that a finding of the deep check is about.
struct Owner {
  std::string block;    // "POINTS", "POLYGONS/EDGES"
  uint32_t number = 0;  // 0: none
  std::string id;
  std::optional<Position> position;
};

struct Found {
  uint32_t number;
  uint32_t kind;       // TAVO_NOTE, TAVO_WARNING or TAVO_ERROR
  uint64_t line;       // of a note the line of the finding that it explains
  uint32_t column;     // 0: not known
  uint32_t length;     // of the text in its line
  std::string text;    // the offending text, of a note of the log the sentence
  std::string source;  // the line of the file
  bool deep = false;   // number is a rule of the deep check, which has the following
  std::string detail;  // what it is of this record, in a sentence
  Owner owner;

  Found() = default;
  explicit Found(const tavo_finding& finding);
  // "E2500", "W7014", "N7000", "T101".
  std::string code() const;
  // The sentence on what is wrong, without the offending text.
  std::string message() const;
};

// "error", "warning", "note".
const char* findingKind(uint32_t kind);

// Result of reading a text.
struct Analysis {
  tavo_status status = TVO_ERR_OPEN;
  tavo_analysis_counts counts = TAVO_ANALYSIS_COUNTS_INIT;
  std::vector<Found> findings;
  // What the file is instead of a text with data in it, one sentence each.
  std::vector<std::string> notes;

  // It was read to its end, whatever was found.
  bool complete() const { return status == TAVO_OK || status == TVO_ERR_ERRORS_FOUND; }
  // "3 errors, 1 warning; 120 lines and 96 records read", those of the deep check counted in.
  std::string summary() const;
  // Findings of a kind that the deep check made.
  uint64_t deep(uint32_t kind) const;
  // How many findings have each code.
  std::map<std::string, uint64_t> byCode() const;
};

// What an analysis does besides reading and checking.
struct AnalysisOptions {
  tavo_target log = TAVO_TARGET_INIT;  // nowhere: no log is kept
  uint16_t maxErrors = UINT16_MAX;
  bool progress = true;       // a bar on the terminal
  bool plainRecords = false;  // line and presence of records are not needed
};

// Runs the analysis of a text and hands each record to take, if there is one. An interruption of
// the program stops the run.
Analysis analyseWith(const InputText& text, tavo_record_fn take, void* user,
                     const AnalysisOptions& wanted = {});
// The same with a function object, called with each tavo_record; it answers as a tavo_record_fn
// does.
template <class Function>
Analysis analyse(const InputText& text, Function take, const AnalysisOptions& options = {}) {
  const auto call = [](const tavo_record* record, void* user) -> uint32_t {
    return (*static_cast<Function*>(user))(*record);
  };
  return analyseWith(text, call, &take, options);
}

struct FreeSurvey {
  void operator()(tavo_survey* survey) const { tavo_survey_free(survey); }
};
using Survey = std::unique_ptr<tavo_survey, FreeSurvey>;
// The same for a survey that is kept in memory; null unless the analysis is complete.
Survey readSurvey(const InputText& text, Analysis* analysis, const AnalysisOptions& wanted = {});
// The same of a file that is to be opened; null, with a complaint, when it cannot be read.
Survey openSurvey(const std::string& path, InputText* text, Analysis* analysis);

// Prints "FILE:LINE:COLUMN: error E2500: syntax error: 'ABC'" for each finding, under it the line
// of the file with the text marked, and the notes on the file behind them.
void printFindings(std::FILE* stream, const InputText& text, const Analysis& analysis, bool colour);
// The notes alone, on standard error.
void complainOfNotes(const InputText& text, const Analysis& analysis);

// False, with a complaint, when a text was not read to its end.
bool isWhole(const InputText& text, const Analysis& analysis);
// The exit status that a text's errors mean, with a complaint that counts what was found; with
// `warnings` also where these are all.
ExitStatus complainOfFindings(const InputText& text, const Analysis& analysis,
                              bool warnings = false);

// How many findings each code has, a line each, in the order of the codes.
void printCounts(std::FILE* stream, const Analysis& analysis);

// {"code", "kind", "line", "column", "length", "message", "text", "source"}, of the deep check also
// "detail" and "owner", without members that have no value.
Json findingJson(const Found& found);

}  // namespace tavo::tool
