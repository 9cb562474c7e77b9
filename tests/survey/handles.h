// Short forms of the survey layer's calls for tests: inputs from texts, handles that free
// themselves, and findings and records as readable lines.
#pragma once

#include <memory>
#include <string>
#include <string_view>

#include "tavo/survey.h"

namespace tavo::tests {

struct FreeSurvey {
  void operator()(tavo_survey* survey) const { tavo_survey_free(survey); }
};
using SurveyHandle = std::unique_ptr<tavo_survey, FreeSurvey>;

inline tavo_input inputOf(std::string_view text) {
  tavo_input input = TAVO_INPUT_INIT;
  input.bytes = text.data();
  input.size = text.size();
  return input;
}

inline SurveyHandle readSurvey(std::string_view text, tavo_status* status = nullptr) {
  const tavo_input input = inputOf(text);
  tavo_survey* survey = nullptr;
  const tavo_status result = tavo_survey_read(&survey, &input, nullptr);
  if (status != nullptr) *status = result;
  return SurveyHandle(survey);
}

// The text that is built from a survey; empty when that fails.
inline std::string buildText(const tavo_survey* survey) {
  char* memory = nullptr;
  size_t size = 0;
  tavo_target target = TAVO_TARGET_INIT;
  target.memory = &memory;
  target.memory_size = &size;
  if (tavo_survey_build(survey, &target, nullptr) != TAVO_OK) return {};
  const std::string text(memory, size);
  tavo_free(memory);
  return text;
}

// "12:5+3 E2500 'abc'" for each finding, notes as "12:0+0 note text".
inline std::string findingsOf(const tavo_survey* survey) {
  std::string lines;
  for (size_t i = 0; i < tavo_survey_finding_count(survey); ++i) {
    const tavo_finding& finding = *tavo_survey_finding(survey, i);
    const std::string text(finding.text, finding.text_size);
    lines += std::to_string(finding.line) + ":" + std::to_string(finding.column) + "+" +
             std::to_string(finding.length) + " ";
    lines += finding.kind == TAVO_NOTE ? "note " + text
                                       : (finding.kind == TAVO_ERROR ? "E" : "W") +
                                             std::to_string(finding.number) + " '" + text + "'";
    lines += "\n";
  }
  return lines;
}

}  // namespace tavo::tests
