// A text read into a survey, as geometry and reference systems see it.
#pragma once

#include <gtest/gtest.h>

#include <string>

#include "handles.h"
#include "survey/survey.h"
#include "survey/view.h"

namespace tavo::tests {

class Surveyed {
 public:
  explicit Surveyed(const std::string& text) : survey_(readSurvey(text)) {
    EXPECT_EQ(tavo_survey_finding_count(survey_.get()), 0u) << findingsOf(survey_.get()) << text;
  }

  survey::SurveyView view() const { return {survey_->data.types(), survey_->data.blocks()}; }
  const tavo_survey* handle() const { return survey_.get(); }

 private:
  SurveyHandle survey_;
};

// All texts of findings, one a line: "note 12: ...", or warning, with the line of the file.
template <class Findings>
std::string saidOf(const Findings& findings) {
  std::string all;
  for (const auto& finding : findings) {
    all += (finding.kind == TAVO_NOTE ? "note " : "warning ") + std::to_string(finding.line) +
           ": " + finding.text + "\n";
  }
  return all;
}

}  // namespace tavo::tests
