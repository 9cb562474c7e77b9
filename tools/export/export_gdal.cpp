// The course of an export by GDAL: the columns of all surveys first, then their rows.
#include <algorithm>
#include <memory>
#include <optional>

#include <cpl_conv.h>
#include <cpl_string.h>
#include <cpl_vsi.h>

#include "console.h"
#include "copy.h"
#include "export_input.h"
#include "input_text.h"
#include "interrupt.h"
#include "ogr_tavo.h"
#include "plan.h"
#include "target.h"
#include "text.h"

namespace tavo::tool {

namespace {

// A survey to read. One from a stream is kept as it came.
class Input {
 public:
  explicit Input(const std::string& path) : path_(path) {}
  Input(const Input&) = delete;
  Input& operator=(const Input&) = delete;
  ~Input() {
    dataset_.reset();
    if (!memory_.empty()) VSIUnlink(memory_.c_str());
  }

  // Why it cannot be read, or an empty text.
  std::string check() {
    std::string problem = text_.open(path_);
    const tavo_input input = text_.input();
    if (!problem.empty() || input.path != nullptr) return problem;
    memory_ = "/vsimem/stream.tvo";
    auto* const bytes = static_cast<GByte*>(const_cast<void*>(input.bytes));
    VSILFILE* const file = VSIFileFromMemBuffer(memory_.c_str(), bytes, input.size, FALSE);
    if (file != nullptr) VSIFCloseL(file);
    return {};
  }
  std::string open(const ExportOptions& options, const GdalMessages& messages) {
    if (dataset_ != nullptr) return {};
    CPLStringList open;
    if (!options.crs.empty()) open.SetNameValue("CRS", options.crs.c_str());
    if (options.ignoreTransformations) open.SetNameValue("IGNORE_TRANSFORMATIONS", "YES");
    const char* const drivers[] = {"TAVO", nullptr};
    const std::string& path = memory_.empty() ? path_ : memory_;
    dataset_.reset(
        GDALDataset::Open(path.c_str(), GDAL_OF_VECTOR | GDAL_OF_READONLY, drivers, open.List()));
    if (dataset_ != nullptr) return {};
    const std::string why = messages.failure().empty() ? "" : ": " + messages.failure();
    return "'" + text_.name() + "' cannot be read as a TAVO text" + why;
  }
  void close() { dataset_.reset(); }

  GDALDataset& dataset() { return *dataset_; }
  const InputText& text() const { return text_; }

 private:
  std::string path_;
  InputText text_;
  std::string memory_;
  GDALDatasetUniquePtr dataset_;
};

// Errors and warnings that a survey's layer of findings lists.
struct Findings {
  uint64_t errors = 0;
  uint64_t warnings = 0;

  explicit Findings(GDALDataset& survey) {
    for (OGRLayer* const layer : survey.GetLayers()) {
      if (Plan::kindOf(layer->GetName()) != "findings") continue;
      for (const auto& feature : *layer) {
        const std::string kind = feature->GetFieldAsString("Kind");
        if (kind == "error") ++errors;
        if (kind == "warning") ++warnings;
      }
    }
  }
};

class GdalExport {
 public:
  GdalExport(const ExportOptions& options, const GdalFormat& format)
      : options_(options),
        format_(format),
        plan_(options, format),
        target_(options, format, &messages_) {}

  // Each step has its complaint.
  int run() {
    names_ = surveyNames(options_);
    if (names_.empty()) return kFailed;
    if (const std::string problem = plan_.prepare(); !problem.empty()) return fail(problem);
    for (size_t i = 0; i < names_.size(); ++i) {
      if (const int status = readColumns(i); status != kSound) return status;
    }
    if (const std::string problem = plan_.check(); !problem.empty()) return fail(problem);
    if (const std::string problem = target_.open(plan_, names_); !problem.empty()) {
      return fail(problem);
    }
    std::string problem = copyRows();
    if (problem.empty() && !interrupted()) problem = target_.finish(plan_);
    if (!problem.empty()) return fail(problem + (target_.isDiskFull() ? "; the disk is full" : ""));
    if (interrupted()) return kFailed;
    return status_;
  }

 private:
  static int fail(const std::string& problem) {
    complain(problem);
    return kFailed;
  }

  // One survey alone stays open, of several each is read again for its rows.
  int readColumns(size_t i) {
    Input& input = *inputs_.emplace_back(std::make_unique<Input>(options_.files[i]));
    messages_.clear();
    std::string problem = input.check();
    if (problem.empty()) problem = input.open(options_, messages_);
    if (!problem.empty()) return fail(problem);
    size_ += input.text().size();
    const Findings findings(input.dataset());
    if (options_.strict && findings.errors + findings.warnings > 0) {
      complain(input.text().name() + ": " + counted(findings.errors, "error") + ", " +
               counted(findings.warnings, "warning") + "; refused");
      return kFindings;
    }
    if (findings.errors > 0) status_ = kFindings;
    for (const std::string& warning : messages_.warnings()) complain(warning);
    problem = plan_.add(input.dataset(), names_[i]);
    if (names_.size() > 1) input.close();
    return problem.empty() ? int{kSound} : fail(problem);
  }

  std::string copyRows() {
    Copy copy(plan_, format_, &target_, &messages_);
    for (const PlannedLayer& layer : plan_.layers()) total_ += layer.rows;
    // It counts bytes, and shows itself for many of them alone.
    ProgressBar bar(options_.files.size() == 1 ? options_.files.front() : "export", size_);
    std::string problem;
    if (!format_.sequential) problem = copySurveys(&copy, std::nullopt, &bar);
    for (size_t i = 0; i < plan_.layers().size() && format_.sequential; ++i) {
      if (problem.empty()) problem = target_.beginLayer(plan_, i);
      if (problem.empty() && !interrupted()) problem = copySurveys(&copy, i, &bar);
    }
    if (problem.empty() && !interrupted()) note(copy);
    return problem;
  }

  std::string copySurveys(Copy* copy, std::optional<size_t> layer, ProgressBar* bar) {
    for (size_t i = 0; i < inputs_.size(); ++i) {
      messages_.clear();
      std::string problem = inputs_[i]->open(options_, messages_);
      uint64_t rows = 0;
      const auto show = [&](uint64_t now) {
        rows = now;
        const double share = static_cast<double>(done_ + rows) / static_cast<double>(total_ + 1);
        bar->show(static_cast<uint64_t>(share * static_cast<double>(size_)));
        return !interrupted();
      };
      if (problem.empty()) problem = copy->add(inputs_[i]->dataset(), names_[i], layer, show);
      if (!problem.empty() || interrupted()) return problem;
      done_ += rows;
      if (inputs_.size() > 1) inputs_[i]->close();
    }
    return {};
  }

  // One note on all that the output does not have.
  void note(const Copy& copy) const {
    std::string list;
    const auto add = [&](uint64_t count, const std::string& what) {
      if (count > 0) list += (list.empty() ? "" : ", ") + std::to_string(count) + " " + what;
    };
    for (const auto& [layer, count] : plan_.leftOut()) add(count, layer);
    add(copy.withoutPlace(), "without a place");
    if (format_.files == Files::kDrawing)
      list += (list.empty() ? "" : ", ") + std::string("all attributes");
    if (!list.empty()) complain(std::string("left out of the ") + format_.name + ": " + list);
    if (!plan_.guessed().empty()) {
      complain(
          "the datum of " + counted(plan_.guessed().size(), "survey") +
          " is unknown and was taken for that of the new reference system, on its own ellipsoid;"
          " places may be off by some hundred metres");
    }
    if (copy.zeroHeights() > 0) {
      complain(counted(copy.zeroHeights(), "place") + " without a height got height 0, as a " +
               format_.name + " wants one");
    }
    const size_t changed = copy.warnings().size();
    if (changed > 0) {
      const std::string more = " (and " + std::to_string(changed - 1) + " more)";
      complain(std::string(format_.name) + ": " + copy.warnings().front() +
               (changed > 1 ? more : ""));
    }
    std::string cut;
    for (const std::string& name : target_.cutNames()) cut += (cut.empty() ? "" : ", ") + name;
    if (!cut.empty()) complain(std::string("names cut for the ") + format_.name + ": " + cut);
    const std::vector<std::string> files = target_.files();
    std::string made;
    for (const std::string& file : files) made += (made.empty() ? "" : ", ") + file;
    if (files.size() > 1) complain("one file for each layer: " + made);
  }

  const ExportOptions& options_;
  const GdalFormat& format_;
  GdalMessages messages_;
  Plan plan_;
  Target target_;
  std::vector<std::string> names_;
  std::vector<std::unique_ptr<Input>> inputs_;
  uint64_t size_ = 0;   // bytes of all surveys
  uint64_t total_ = 0;  // rows to copy
  uint64_t done_ = 0;
  int status_ = kSound;
};

}  // namespace

int exportSurveys(const ExportOptions& options) {
  const ExportFormat* const format = exportFormat(options.output);
  if (format == nullptr) return kFailed;
  GDALAllRegister();
  RegisterOGRTAVO();
  // The file is ours alone until it takes its place.
  CPLSetConfigOption("OGR_SQLITE_SYNCHRONOUS", "OFF");
  return GdalExport(options, gdalFormat(format->driver)).run();
}

}  // namespace tavo::tool
