// The course of an analysis.
#include "survey/analysis.h"

#include "sections/sections.h"

namespace tavo::survey {

namespace {

int readAll(reader::Run& run) try { return sections::readSections(run); } catch (...) {
  return reader::kOutOfMemory;
}

End endOf(int status, const reader::LineSource& source) {
  if (status == reader::kAborted) return End::kAborted;
  if (status == reader::kOutOfMemory) return End::kMemory;
  return source.cancelled() ? End::kCancelled : End::kInput;
}

}  // namespace

bool Analysis::open(const Texts& texts) {
  run_->source.observe(texts.progress);
  run_->diagnostics.open(texts.log, texts.maxErrors, texts.findings);
  return run_->source.open(*texts.input);
}

Outcome Analysis::read(std::string_view name) {
  reader::Run& run = *run_;
  const int status = readAll(run);
  Outcome outcome{};
  outcome.end = endOf(status, run.source);
  outcome.inputFailed = run.source.failed();
  outcome.errors = run.diagnostics.errorCount();
  outcome.warnings = run.diagnostics.warningCount();
  outcome.lines = run.lineNumber;
  outcome.records = run.recordCount;
  outcome.comments = run.commentCount;
  run.diagnostics.summary(name);
  run.source.close();
  run.diagnostics.close();
  outcome.failed = run.diagnostics.ioError();
  return outcome;
}

}  // namespace tavo::survey
