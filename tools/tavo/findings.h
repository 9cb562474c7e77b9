// What an analysis found: kept whole, printed for a person in the form that editors and build
// servers know, and for programs as JSON.
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "input_text.h"
#include "interrupt.h"
#include "json.h"
#include "tavo/survey.h"
#include "tavo/tavo.h"

namespace tavo::tool {

struct Found {
  uint32_t number;
  uint32_t kind;       // TAVO_NOTE, TAVO_WARNING or TAVO_ERROR
  uint64_t line;       // of a note the line of the finding that it explains
  uint32_t column;     // 0: not known
  uint32_t length;     // of the text in its line
  std::string text;    // the offending text, of a note of the log the sentence
  std::string source;  // the line of the file

  explicit Found(const tavo_finding& finding);
  // "E2500", "W7014", "N7000".
  std::string code() const;
  // The sentence on what is wrong, without the offending text.
  std::string message() const;
};

// Result of reading a text.
struct Analysis {
  tavo_status status = TVO_ERR_OPEN;
  tavo_analysis_counts counts = TAVO_ANALYSIS_COUNTS_INIT;
  std::vector<Found> findings;
  // What the file is instead of a text with data in it, one sentence each.
  std::vector<std::string> notes;

  // It was read to its end, whatever was found.
  bool complete() const { return status == TAVO_OK || status == TVO_ERR_ERRORS_FOUND; }
  // "3 errors, 1 warning; 120 lines and 96 records read"
  std::string summary() const;
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
                     const AnalysisOptions& options = {});
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
Survey readSurvey(const InputText& text, Analysis* analysis);
// The same of a file that is to be opened; null, with a complaint, when it cannot be read.
Survey openSurvey(const std::string& path, InputText* text, Analysis* analysis);

// Prints "FILE:LINE:COLUMN: error E2500: syntax error: 'ABC'" for each finding, under it the line
// of the file with the text marked, and the notes on the file behind them.
void printFindings(std::FILE* stream, const InputText& text, const Analysis& analysis, bool colour);
// The notes alone, on standard error.
void complainOfNotes(const InputText& text, const Analysis& analysis);

// {"code", "kind", "line", "column", "length", "message", "text", "source"}, without members that
// have no value.
Json findingJson(const Found& found);

}  // namespace tavo::tool
