// Analysis and surveys in memory, as a host calls them.
#include "survey/survey.h"

#include <memory>

#include "survey/analysis.h"
#include "survey/guard.h"
#include "survey/observers.h"
#include "survey/texts.h"
#include "tavo/tavo.h"

namespace tavo::survey {

namespace {

constexpr tavo_analysis_options kDefaults = TAVO_ANALYSIS_OPTIONS_INIT;

// Hands records to the survey, if there is one, and to the host.
struct Sink {
  const tavo_analysis_options& options;
  SurveyData* data;

  static uint32_t deliver(void* context, const reader::DeliveredRecord& record) {
    const Sink& sink = *static_cast<const Sink*>(context);
    if (sink.data != nullptr) sink.data->append(record);
    if (sink.options.on_record == nullptr) return TVO_OK;
    const tavo_record view = {record.type,  schema::recordDef(record.type).size,
                              record.bytes, record.line,
                              record.given, record.block};
    return sink.options.on_record(&view, sink.options.record_user);
  }
};

tavo_status statusOf(const Outcome& outcome, const Target& log) {
  switch (outcome.end) {
    case End::kAborted:
      return TVO_ERR_ABORTED;
    case End::kCancelled:
      return TAVO_ERR_CANCELLED;
    case End::kMemory:
      return TAVO_ERR_MEMORY;
    case End::kInput:
      break;
  }
  if (outcome.inputFailed) return TAVO_ERR_INPUT;
  if (outcome.failed) return log.failure();
  return outcome.errors > 0 ? tavo_status{TVO_ERR_ERRORS_FOUND} : tavo_status{TAVO_OK};
}

// Whether a text was read as far as was asked for.
bool isWhole(tavo_status status) { return status == TAVO_OK || status == TVO_ERR_ERRORS_FOUND; }

tavo_status analyse(const tavo_input* input, const tavo_analysis_options* wanted, SurveyData* data,
                    tavo_analysis_counts* counts) {
  const tavo_analysis_options& options = wanted == nullptr ? kDefaults : *wanted;
  if (options.version < 1 || options.version > 2 || (counts != nullptr && counts->version != 1)) {
    return TAVO_ERR_ARGUMENT;
  }
  Source source;
  if (const tavo_status status = source.open(input); status != TAVO_OK) return status;
  Target log;
  if (const tavo_status status = log.open(&options.log, source.path()); status != TAVO_OK) {
    return status;
  }
  Sink sink{options, data};
  Findings findings(options, data);
  Progress progress(options, source.size());
  reader::OperationColumns operationColumns;
  const bool plain = options.version > 1 && options.plain_records != 0;
  const bool origins = data != nullptr || (options.on_record != nullptr && !plain);
  Analysis analysis({&Sink::deliver, &sink, origins}, &operationColumns);
  if (!analysis.open({&source.text(), log.isNowhere() ? nullptr : &log, options.max_errors,
                      &findings, &progress})) {
    return TAVO_ERR_INPUT;
  }
  const Outcome outcome = analysis.read(source.name());
  tavo_status status = statusOf(outcome, log);
  if (isWhole(status)) {
    if (data != nullptr) data->finish();
    const tavo_status committed = log.commit();
    if (committed != TAVO_OK) status = committed;
  }
  if (counts != nullptr) {
    *counts = {1,
               outcome.lines,
               outcome.records,
               findings.errors,
               findings.warnings,
               outcome.comments,
               findings.wrapped,
               findings.rounded};
  }
  return status;
}

}  // namespace

}  // namespace tavo::survey

using tavo::survey::guarded;

extern "C" {

tavo_status tavo_analyse(const tavo_input* input, const tavo_analysis_options* options,
                         tavo_analysis_counts* counts) {
  return guarded(TAVO_ERR_MEMORY, [&]() -> tavo_status {
    return tavo::survey::analyse(input, options, nullptr, counts);
  });
}

tavo_status tavo_survey_read(tavo_survey** out, const tavo_input* input,
                             const tavo_analysis_options* options) {
  if (out == nullptr) return TAVO_ERR_ARGUMENT;
  *out = nullptr;
  return guarded(TAVO_ERR_MEMORY, [&]() -> tavo_status {
    auto survey = std::make_unique<tavo_survey>();
    const tavo_status status =
        tavo::survey::analyse(input, options, &survey->data, &survey->counts);
    if (!tavo::survey::isWhole(status)) return status;
    *out = survey.release();
    return status;
  });
}

void tavo_survey_free(tavo_survey* survey) { delete survey; }

const tavo_analysis_counts* tavo_survey_counts(const tavo_survey* survey) {
  return survey == nullptr ? nullptr : &survey->counts;
}

const tavo_records* tavo_survey_records(const tavo_survey* survey, uint32_t type) {
  static constexpr tavo_records kNone = {};
  return survey == nullptr ? &kNone : &survey->data.records(type);
}

size_t tavo_survey_block_count(const tavo_survey* survey) {
  return survey == nullptr ? 0 : survey->data.blocks().size();
}

const tavo_block* tavo_survey_block(const tavo_survey* survey, size_t index) {
  return index < tavo_survey_block_count(survey) ? &survey->data.blocks()[index] : nullptr;
}

size_t tavo_survey_finding_count(const tavo_survey* survey) {
  return survey == nullptr ? 0 : survey->data.findings().size();
}

const tavo_finding* tavo_survey_finding(const tavo_survey* survey, size_t index) {
  return index < tavo_survey_finding_count(survey) ? &survey->data.findings()[index] : nullptr;
}

const tavo_moment* tavo_survey_timeline(tavo_survey* survey, size_t* count) {
  if (count != nullptr) *count = 0;
  if (survey == nullptr || count == nullptr) return nullptr;
  return guarded(nullptr, [&]() -> const tavo_moment* {
    const std::span<const tavo_moment> moments = survey->data.timeline();
    *count = moments.size();
    return moments.empty() ? nullptr : moments.data();
  });
}

}  // extern "C"
