// Reading and checking: a survey whose records are seen in place, and the runs that callbacks and
// Ctrl-C may stop. The interpreter is released while the library works.
#include <chrono>
#include <exception>
#include <utility>

#include "module.h"

namespace tavo::python {

namespace {

// A path, bytes or an object with read(), told apart by the package.
class Source {
 public:
  Source(const py::object& path, const py::object& data, const py::object& file,
         const std::string& name)
      : file_(file), name_(name) {
    if (!path.is_none()) path_ = path.cast<std::string>();
    if (!data.is_none()) bytes_.emplace(data);
  }

  Input input() {
    if (path_) return Input(*path_);
    if (bytes_) return Input::memory({bytes_->data(), bytes_->size()}, name_.c_str());
    Input input(static_cast<const char*>(nullptr));
    input.input.read = &Source::read;
    input.input.user = this;
    input.input.name = name_.c_str();
    return input;
  }

  // Throws what the object's read() threw.
  void rethrow() const {
    if (thrown_) std::rethrow_exception(thrown_);
  }

 private:
  static int64_t read(void* bytes, size_t room, void* user) {
    auto& self = *static_cast<Source*>(user);
    const py::gil_scoped_acquire held;
    try {
      const py::object piece = self.file_.attr("read")(room);
      if (PyUnicode_Check(piece.ptr()) != 0) {
        throw py::type_error("the file must be open in binary mode");
      }
      if (piece.is_none()) throw py::value_error("the file has nothing to read yet");
      const Bytes got(piece);
      if (got.size() > room) throw py::value_error("read() gave more than was asked for");
      std::memcpy(bytes, got.data(), got.size());
      return static_cast<int64_t>(got.size());
    } catch (...) {
      self.thrown_ = std::current_exception();
      return -1;
    }
  }

  std::optional<std::string> path_;
  std::optional<Bytes> bytes_;
  py::object file_;
  std::string name_;
  std::exception_ptr thrown_;
};

// Looks for Ctrl-C now and then, which needs the interpreter, and tells the caller's function.
class Progress {
 public:
  explicit Progress(py::object call) : call_(std::move(call)) {}

  bool operator()(uint64_t done, uint64_t total) {
    const auto now = std::chrono::steady_clock::now();
    const bool look = now - looked_ > std::chrono::milliseconds(50);
    if (call_.is_none() && !look) return true;
    looked_ = now;
    const py::gil_scoped_acquire held;
    if (PyErr_CheckSignals() != 0) throw py::error_already_set();
    if (call_.is_none()) return true;
    const py::object answer = call_(done, total);
    return answer.is_none() || answer.cast<bool>();
  }

 private:
  py::object call_;
  std::chrono::steady_clock::time_point looked_ = std::chrono::steady_clock::now();
};

py::tuple findingOf(const tavo_finding& finding) {
  const py::object source = finding.source == nullptr
                                ? py::object(py::none())
                                : textOf({finding.source, finding.source_size});
  return py::make_tuple(finding.number, finding.kind, finding.line, finding.column, finding.length,
                        textOf({finding.text, finding.text_size}), finding.message, source);
}

py::dict countsOf(const tavo_analysis_counts& counts) {
  py::dict made;
  made["lines"] = counts.lines;
  made["records"] = counts.records;
  made["errors"] = counts.errors;
  made["warnings"] = counts.warnings;
  made["comments"] = counts.comments;
  made["wrapped_integers"] = counts.wrapped_integers;
  made["rounded_reals"] = counts.rounded_reals;
  return made;
}

// Runs `call` with the interpreter released; what the source's read() threw goes before its status.
template <class Call>
auto released(const Source& source, Call call) {
  try {
    const py::gil_scoped_release free;
    return call();
  } catch (const Error&) {
    source.rethrow();
    throw;
  }
}

std::unique_ptr<SurveyHandle> read(const py::object& path, const py::object& data,
                                   const py::object& file, const std::string& name, uint16_t limit,
                                   const py::object& onProgress) {
  Source source(path, data, file, name);
  Progress progress(onProgress);
  AnalysisOptions options;
  options.maxErrors = limit;
  options.onProgress = std::ref(progress);
  return released(source, [&] {
    return std::make_unique<SurveyHandle>(Survey::read(source.input(), options));
  });
}

py::dict analysis(const py::object& path, const py::object& data, const py::object& file,
                  const std::string& name, uint16_t limit, const py::object& onProgress,
                  const py::object& onFinding) {
  Source source(path, data, file, name);
  Progress progress(onProgress);
  AnalysisOptions options;
  options.maxErrors = limit;
  options.onProgress = std::ref(progress);
  options.onFinding = [&onFinding](const tavo_finding& finding) {
    const py::gil_scoped_acquire held;
    onFinding(*findingOf(finding));
  };
  return countsOf(released(source, [&] { return analyse(source.input(), options); }));
}

py::list blocksOf(const SurveyHandle& handle) {
  py::list all;
  for (size_t i = 0; i < handle.survey.blockCount(); ++i) {
    const tavo_block& block = handle.survey.block(i);
    py::list columns;
    for (size_t c = 0; c < block.column_count; ++c) columns.append(block.columns[c]);
    all.append(py::make_tuple(block.columns_type, block.data_type, block.first, block.count,
                              columns, block.continued != 0, block.line, unitsOf(*block.units)));
  }
  return all;
}

py::tuple recordsOf(const py::object& self, uint32_t type) {
  const auto& handle = self.cast<const SurveyHandle&>();
  const tavo_records& records = *tavo_survey_records(handle.survey.handle(), type);
  return py::make_tuple(bytesOf(records.bytes, records.count * records.size, self),
                        numbersOf(records.lines, records.count, self),
                        numbersOf(records.given, records.count, self));
}

// The entries of all time-tagged codes one behind the other, as bytes of their own.
py::bytes entriesOf(const SurveyHandle& handle) {
  std::string bytes;
  const tavo_records& records =
      *tavo_survey_records(handle.survey.handle(), TVO_RECORD_TIME_TAGGED_CODES);
  for (size_t i = 0; i < records.count; ++i) {
    TVO_TimeTaggedRecord record;
    std::memcpy(&record, static_cast<const char*>(records.bytes) + i * sizeof record,
                sizeof record);
    if (record.entries == nullptr) continue;
    bytes.append(reinterpret_cast<const char*>(record.entries),
                 record.EntryCount * sizeof(TVO_TimeTaggedEntry));
  }
  return bytes;
}

py::array timelineOf(const py::object& self) {
  auto& handle = self.cast<SurveyHandle&>();
  std::span<const tavo_moment> moments;
  {
    const py::gil_scoped_release free;
    const std::lock_guard<std::mutex> alone(handle.busy);
    moments = handle.survey.timeline();
  }
  return bytesOf(moments.data(), moments.size_bytes(), self);
}

py::list findingsOf(const SurveyHandle& handle) {
  py::list all;
  for (size_t i = 0; i < handle.survey.findingCount(); ++i) {
    all.append(findingOf(handle.survey.finding(i)));
  }
  return all;
}

py::list unitRunsOf(const SurveyHandle& handle, uint32_t type) {
  py::list runs;
  for (size_t i = 0; i < handle.survey.blockCount(); ++i) {
    const tavo_block& block = handle.survey.block(i);
    if (block.data_type != type || block.count == 0) continue;
    runs.append(py::make_tuple(block.first, block.count, unitsOf(*block.units)));
  }
  return runs;
}

}  // namespace

void addSurvey(py::module_& module) {
  py::class_<SurveyHandle>(module, "Survey")
      .def(
          "records", [](const py::object& self, uint32_t type) { return recordsOf(self, type); },
          py::arg("type"))
      .def("blocks", &blocksOf)
      .def("findings", &findingsOf)
      .def("entries", &entriesOf)
      .def("unit_runs", &unitRunsOf, py::arg("type"))
      .def("timeline", [](const py::object& self) { return timelineOf(self); })
      .def("counts", [](const SurveyHandle& handle) { return countsOf(handle.survey.counts()); });
  module.def("read", &read, py::arg("path"), py::arg("data"), py::arg("file"), py::arg("name"),
             py::arg("limit"), py::arg("on_progress"));
  module.def("analyse", &analysis, py::arg("path"), py::arg("data"), py::arg("file"),
             py::arg("name"), py::arg("limit"), py::arg("on_progress"), py::arg("on_finding"));
  module.def(
      "why_not_open",
      [](const std::string& path) {
        tavo_file* file = nullptr;
        uint32_t reason = TAVO_REASON_NONE;
        if (tavo_file_open(&file, path.c_str(), &reason) == TAVO_OK) tavo_file_close(file);
        return reason;
      },
      py::arg("path"));
}

}  // namespace tavo::python
