// What an analysis tells while it runs, in the public form: findings, which are counted, kept and
// handed on, and progress.
#pragma once

#include <cstdint>

#include "reader/diagnostics.h"
#include "reader/line_source.h"
#include "survey/survey_data.h"
#include "tavo/survey.h"

namespace tavo::survey {

class Findings final : public reader::FindingObserver {
 public:
  // data may be null.
  Findings(const tavo_analysis_options& options, SurveyData* data)
      : options_(options), data_(data) {}
  void onFinding(const reader::Finding& finding) override;
  void onLoss(reader::Loss loss, const reader::Finding& number) override;

  uint64_t errors = 0, warnings = 0;  // never wrapped
  uint64_t wrapped = 0, rounded = 0;

 private:
  void tell(const tavo_finding& finding);

  const tavo_analysis_options& options_;
  SurveyData* data_;
};

class Progress final : public reader::ProgressObserver {
 public:
  Progress(const tavo_analysis_options& options, uint64_t total)
      : options_(options), total_(total) {}
  bool onProgress(uint64_t bytesRead) override {
    return options_.on_progress == nullptr ||
           options_.on_progress(bytesRead, total_, options_.progress_user) == 0;
  }

 private:
  const tavo_analysis_options& options_;
  uint64_t total_;
};

}  // namespace tavo::survey
