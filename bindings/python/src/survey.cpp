// Reading and checking: a survey whose records are seen in place, and the runs that callbacks and
// Ctrl-C may stop. The interpreter is released while the library works.
#include <utility>

#include "module.h"

namespace tavo::python {

namespace {

// A path, bytes or an object with read(), told apart by the package.
class Source {
 public:
  Source(const py::object& path, const py::object& data, const py::object& file) : file_(file) {
    if (!path.is_none()) path_ = path.cast<std::string>();
    if (!data.is_none()) bytes_.emplace(data);
  }

  Input input() {
    if (path_) return Input(*path_);
    if (bytes_) return Input::memory({bytes_->data(), bytes_->size()});
    Input input(static_cast<const char*>(nullptr));
    input.input.read = &Source::read;
    input.input.user = this;
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
  std::exception_ptr thrown_;
};

// Tells the caller's function, and looks for Ctrl-C.
class Progress {
 public:
  explicit Progress(py::object call) : call_(std::move(call)) {}

  bool operator()(uint64_t done, uint64_t total) {
    if (call_.is_none() && !ctrlC_.isDue()) return true;
    const py::gil_scoped_acquire held;
    ctrlC_.look();
    if (call_.is_none()) return true;
    const py::object answer = call_(done, total);
    const int goesOn = answer.is_none() ? 1 : PyObject_IsTrue(answer.ptr());
    if (goesOn < 0) throw py::error_already_set();
    return goesOn != 0;
  }

 private:
  py::object call_;
  CtrlC ctrlC_;
};

py::tuple findingOf(const tavo_finding& finding) {
  const py::object source = finding.source == nullptr
                                ? py::object(py::none())
                                : textOf({finding.source, finding.source_size});
  return py::make_tuple(finding.number, finding.kind, finding.line, finding.column, finding.length,
                        textOf({finding.text, finding.text_size}), finding.message, source);
}

constexpr Member<tavo_analysis_counts, uint64_t> kCounts[] = {
    {"lines", &tavo_analysis_counts::lines},
    {"records", &tavo_analysis_counts::records},
    {"errors", &tavo_analysis_counts::errors},
    {"warnings", &tavo_analysis_counts::warnings},
    {"comments", &tavo_analysis_counts::comments},
    {"wrapped_integers", &tavo_analysis_counts::wrapped_integers},
    {"rounded_reals", &tavo_analysis_counts::rounded_reals}};

py::dict countsOf(const tavo_analysis_counts& counts) {
  py::dict made;
  put(&made, counts, kCounts);
  return made;
}

// A run over a text: where that comes from, when it ends early, and what looks at it meanwhile.
class Reading {
 public:
  Reading(const py::object& path, const py::object& data, const py::object& file, uint16_t limit,
          const py::object& onProgress)
      : source_(path, data, file), progress_(onProgress) {
    options.maxErrors = limit;
    options.onProgress = std::ref(progress_);
  }

  // Runs `call` on the input with the interpreter released. What the source's read() threw goes
  // before its status.
  template <class Call>
  auto run(Call call) {
    try {
      const py::gil_scoped_release free;
      return call(source_.input(), options);
    } catch (const Error&) {
      source_.rethrow();
      throw;
    }
  }

  AnalysisOptions options;

 private:
  Source source_;
  Progress progress_;
};

std::unique_ptr<SurveyHandle> read(const py::object& path, const py::object& data,
                                   const py::object& file, uint16_t limit,
                                   const py::object& onProgress) {
  Reading reading(path, data, file, limit, onProgress);
  return reading.run([](const Input& input, const AnalysisOptions& options) {
    return std::make_unique<SurveyHandle>(Survey::read(input, options));
  });
}

py::dict analysis(const py::object& path, const py::object& data, const py::object& file,
                  uint16_t limit, const py::object& onProgress, const py::object& onFinding) {
  Reading reading(path, data, file, limit, onProgress);
  reading.options.onFinding = [&onFinding](const tavo_finding& finding) {
    const py::gil_scoped_acquire held;
    onFinding(*findingOf(finding));
  };
  return countsOf(reading.run(&analyse));
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
  module.def("read", &read, py::arg("path"), py::arg("data"), py::arg("file"), py::arg("limit"),
             py::arg("on_progress"));
  module.def("analyse", &analysis, py::arg("path"), py::arg("data"), py::arg("file"),
             py::arg("limit"), py::arg("on_progress"), py::arg("on_finding"));
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
