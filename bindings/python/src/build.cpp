// Writing a text from records that lie in arrays: a source that walks sections, each a columns
// record and the records under it.
#include <algorithm>
#include <deque>
#include <utility>
#include <vector>

#include "module.h"

namespace tavo::python {

namespace {

BuildOptions optionsOf(const py::tuple& decimals, bool align) {
  if (decimals.size() != 3) {
    throw py::value_error("decimals are three: angular, linear, geographic");
  }
  const auto count = [&decimals](size_t i) {
    const auto value = decimals[i].cast<long>();
    if (value < 0 || value > UINT8_MAX) throw py::value_error("decimals are 0 to 255");
    return static_cast<uint8_t>(value);
  };
  BuildOptions options;
  options.align = align;
  options.angularDecimals = count(0);
  options.linearDecimals = count(1);
  options.geographicDecimals = count(2);
  return options;
}

// Where a text goes: into a file, which is replaced when the text is complete, or into memory.
// Ctrl-C ends the writing.
class Writing {
 public:
  explicit Writing(const py::object& path) {
    if (path.is_none()) return;
    path_ = path.cast<std::string>();
    if (const tavo_status status = tavo_output_create(&file_, path_.c_str())) raise(status, path_);
  }
  Writing(const Writing&) = delete;
  Writing& operator=(const Writing&) = delete;
  ~Writing() { tavo_output_abandon(file_); }

  // False after Ctrl-C, which then comes out of run().
  bool goesOn() { return !thrown_ && ctrlC_.goesOn(&thrown_); }

  // Runs `build` on the target with the interpreter released: the text, or None for a file.
  template <class Build>
  py::object run(Build build) {
    tavo_target target = TAVO_TARGET_INIT;
    target.write = &Writing::write;
    target.user = this;
    tavo_status status = TAVO_OK;
    {
      const py::gil_scoped_release free;
      status = build(target);
      if (status == TAVO_OK && file_ != nullptr) {
        status = tavo_output_commit(std::exchange(file_, nullptr));
      }
    }
    if (thrown_) std::rethrow_exception(thrown_);
    if (status != TAVO_OK) raise(status, path_);
    return path_.empty() ? py::object(py::bytes(text_)) : py::object(py::none());
  }

 private:
  static int write(const void* bytes, size_t size, void* user) {
    auto& self = *static_cast<Writing*>(user);
    const auto* const text = static_cast<const char*>(bytes);
    if (!self.goesOn()) return 1;
    try {
      if (self.file_ != nullptr) return tavo_output_write_text(self.file_, text, size) != TAVO_OK;
      self.text_.append(text, size);
      return 0;
    } catch (...) {
      self.thrown_ = std::current_exception();
      return 1;
    }
  }

  std::string path_;  // empty: memory
  tavo_output* file_ = nullptr;
  std::string text_;
  CtrlC ctrlC_;
  std::exception_ptr thrown_;
};

// Records in arrays of the caller, which are held while this lives.
class Sections {
 public:
  // (columns type, columns record or None, data type, count, records, points or entries)
  Sections(const py::list& sections, Writing* writing) : writing_(*writing) {
    for (const py::handle item : sections) add(py::reinterpret_borrow<py::tuple>(item));
  }

  static uint32_t fetch(uint32_t move, tavo_record* record, void* user) {
    return static_cast<Sections*>(user)->deliver(move, record);
  }

 private:
  // Records that lie one behind the other; of OPERATIONS each is followed by its points.
  struct Piece {
    uint32_t type;
    size_t size, count;
    const char* bytes;
    const char* points;
  };

  const char* held(const py::handle& object, size_t size) {
    const Bytes& bytes = held_.emplace_back(py::reinterpret_borrow<py::object>(object));
    if (bytes.size() != size) throw py::value_error("a section's records have another size");
    return bytes.data();
  }

  void add(const py::tuple& section) {
    const auto columnsType = section[0].cast<uint32_t>();
    const auto type = section[2].cast<uint32_t>();
    const auto count = section[3].cast<size_t>();
    const size_t size = tavo_schema_record_size(type);
    if (size == 0 || tavo_schema_record_size(columnsType) != sizeof(TVO_ColumnsRecord)) {
      throw py::value_error("no such record type");
    }
    if (!section[1].is_none()) {
      pieces_.push_back({columnsType, sizeof(TVO_ColumnsRecord), 1,
                         held(section[1], sizeof(TVO_ColumnsRecord)), nullptr});
    }
    if (count == 0) return;
    Piece piece{type, size, count, nullptr, nullptr};
    piece.bytes = held(section[4], count * size);
    if (type == TVO_RECORD_OPERATIONS) {
      piece.points = held(section[5], count * sizeof(TVO_OperationPointsRecord));
      piece.count *= 2;
    } else if (type == TVO_RECORD_TIME_TAGGED_CODES) {
      piece.bytes = withEntries(piece, section[5]);
    }
    pieces_.push_back(piece);
  }

  // Copies of the records that point to the entries given beside them, one behind the other.
  const char* withEntries(const Piece& piece, const py::handle& entries) {
    std::vector<TVO_TimeTaggedRecord> records(piece.count);
    std::memcpy(records.data(), piece.bytes, piece.count * piece.size);
    size_t total = 0;
    for (const TVO_TimeTaggedRecord& record : records) total += record.EntryCount;
    const char* at = held(entries, total * sizeof(TVO_TimeTaggedEntry));
    for (TVO_TimeTaggedRecord& record : records) {
      record.entries = reinterpret_cast<const TVO_TimeTaggedEntry*>(at);
      at += record.EntryCount * sizeof(TVO_TimeTaggedEntry);
    }
    return reinterpret_cast<const char*>(copies_.emplace_back(std::move(records)).data());
  }

  uint32_t deliver(uint32_t move, tavo_record* record) {
    // Aligning goes over many records before it writes.
    if (++delivered_ % kStride == 0 && !writing_.goesOn()) return TVO_ERR_ABORTED;
    if (move == TVO_FIRST) {
      piece_ = at_ = 0;
    } else if (move == TVO_NEXT && piece_ < pieces_.size()) {
      if (++at_ == pieces_[piece_].count) {
        ++piece_;
        at_ = 0;
      }
    } else if (move == TVO_PREVIOUS) {
      if (at_ == 0 && piece_ == 0) return TVO_ERR_STORE;
      if (at_ == 0) at_ = pieces_[--piece_].count;
      --at_;
    }
    if (piece_ >= pieces_.size()) return TVO_ERR_STORE;
    const Piece& piece = pieces_[piece_];
    const bool pairs = piece.points != nullptr;
    const bool second = pairs && at_ % 2 != 0;
    const size_t place = pairs ? at_ / 2 : at_;
    record->type = second ? uint32_t{TVO_RECORD_OPERATION_POINTS} : piece.type;
    const size_t size = second ? sizeof(TVO_OperationPointsRecord) : piece.size;
    record->size = static_cast<uint32_t>(size);
    record->bytes = (second ? piece.points : piece.bytes) + place * size;
    return TAVO_OK;
  }

  std::deque<Bytes> held_;
  std::deque<std::vector<TVO_TimeTaggedRecord>> copies_;
  std::vector<Piece> pieces_;
  Writing& writing_;
  static constexpr size_t kStride = 1024;
  size_t delivered_ = 0;
  size_t piece_ = 0;  // the current record's; behind the last one: none
  size_t at_ = 0;     // its place in it
};

py::object buildSections(const py::list& list, const py::object& path, const py::tuple& decimals,
                         bool align) {
  const tavo_build_options layout = optionsOf(decimals, align).options();
  Writing writing(path);
  Sections sections(list, &writing);
  return writing.run([&](const tavo_target& target) {
    return tavo_build(&target, &Sections::fetch, &sections, &layout);
  });
}

// A text that was made before, in the place of a file.
void replaceFile(const py::object& path, const py::object& text) {
  const Bytes bytes(text);
  Writing(path).run([&](const tavo_target& target) -> tavo_status {
    const bool done = target.write(bytes.data(), bytes.size(), target.user) == 0;
    return done ? tavo_status{TAVO_OK} : tavo_status{TVO_ERR_WRITE};
  });
}

}  // namespace

void addBuild(py::module_& module) {
  module.def("build_sections", &buildSections, py::arg("sections"), py::arg("path"),
             py::arg("decimals"), py::arg("align"));
  module.def("replace_file", &replaceFile, py::arg("path"), py::arg("data"));
}

}  // namespace tavo::python
