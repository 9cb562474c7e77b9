// Records in a data file: the handle of an open one, and the check of a closed one.
#include <array>
#include <vector>

#include "module.h"

namespace tavo::python {

namespace {

class StoreHandle {
 public:
  StoreHandle(const std::string& path, uint32_t mode, uint32_t cachePages,
              const std::string& journal, bool complete)
      : store_(std::in_place, path, static_cast<Store::Mode>(mode), cachePages, journal,
               complete ? Store::Kind::kComplete : Store::Kind::kCompatible) {}

  void close() {
    if (!store_) return;
    Store closing = std::move(*store_);
    store_.reset();
    const py::gil_scoped_release free;
    closing.close();
  }
  uint64_t size() { return open().size(); }

  bool isComplete() { return open().kind() == Store::Kind::kComplete; }

  // (type, bytes, line, presence, entries), or None where the move leads to no record.
  py::object read(uint32_t move) {
    const std::optional<tavo_record> record = open().read(move);
    if (!record) return py::none();
    return py::make_tuple(record->type,
                          py::bytes(static_cast<const char*>(record->bytes), record->size),
                          record->line, record->given, entriesOf(*record));
  }
  // Whether there is one, which is the current record then.
  bool find(uint32_t type, uint32_t lookup, const py::object& record) {
    Record sought(type, record, py::bytes());
    return open().find(type, static_cast<Store::Lookup>(lookup), sought.room.data());
  }
  void append(uint32_t type, const py::object& record, tavo_given given,
              const py::object& entries) {
    const Record made(type, record, entries);
    open().append({type, made.size, made.room.data(), 0, given, 0});
  }
  void replace(uint32_t type, const py::object& record, uint64_t line, tavo_given given,
               const py::object& entries) {
    const Record made(type, record, entries);
    open().replace({type, made.size, made.room.data(), line, given, 0});
  }
  void remove() { open().remove(); }

 private:
  Store& open() {
    if (!store_) raise(TAVO_ERR_ARGUMENT, {}, "the store is closed");
    return *store_;
  }
  // A record of the caller's, and the entries that it points to, which are held.
  struct Record {
    std::array<char, 4096> room{};
    uint32_t size;
    Bytes entries;

    Record(uint32_t type, const py::object& record, const py::object& values)
        : size(tavo_schema_record_size(type)), entries(values) {
      const Bytes bytes(record);
      if (size == 0 || bytes.size() != size || size > room.size()) {
        raise(TAVO_ERR_ARGUMENT, {}, "the record has not the size of its type");
      }
      std::memcpy(room.data(), bytes.data(), size);
      if (type != TVO_RECORD_TIME_TAGGED_CODES) return;
      TVO_TimeTaggedRecord code;
      std::memcpy(&code, room.data(), sizeof code);
      if (entries.size() != code.EntryCount * sizeof(TVO_TimeTaggedEntry)) {
        raise(TAVO_ERR_ARGUMENT, {}, "EntryCount is not the number of entries");
      }
      code.entries = reinterpret_cast<const TVO_TimeTaggedEntry*>(entries.data());
      std::memcpy(room.data(), &code, sizeof code);
    }
  };
  static py::bytes entriesOf(const tavo_record& record) {
    if (record.type != TVO_RECORD_TIME_TAGGED_CODES) return {};
    TVO_TimeTaggedRecord code;
    std::memcpy(&code, record.bytes, sizeof code);
    if (code.entries == nullptr) return {};
    return {reinterpret_cast<const char*>(code.entries),
            code.EntryCount * sizeof(TVO_TimeTaggedEntry)};
  }

  std::optional<Store> store_;
};

// A check or a repair without the interpreter: its findings are kept until that is held again, and
// Ctrl-C ends it.
class Walk {
 public:
  static void take(const tavo_store_finding* finding, void* user) {
    static_cast<Walk*>(user)->found_.push_back(
        {finding->kind, finding->page, finding->record, finding->record_type, finding->text});
  }
  static int progress(uint64_t, uint64_t, void* user) {
    auto& self = *static_cast<Walk*>(user);
    return self.ctrlC_.goesOn(&self.thrown_) ? 0 : 1;
  }

  // Runs `work` on a file, with what it reports into.
  template <class Report, class Work>
  void run(const std::string& path, Report* report, const Work& work) {
    report->on_progress = &progress;
    report->progress_user = this;
    tavo_status status = TAVO_OK;
    {
      const py::gil_scoped_release free;
      status = work();
    }
    if (thrown_) std::rethrow_exception(thrown_);
    if (status != TAVO_OK) raise(status, path);
  }

  py::list findings() const {
    py::list all;
    for (const One& one : found_) {
      all.append(py::make_tuple(one.kind, one.page, one.record, one.type, textOf(one.text)));
    }
    return all;
  }

 private:
  struct One {
    uint32_t kind;
    int32_t page;
    uint32_t record, type;
    std::string text;
  };
  std::vector<One> found_;
  CtrlC ctrlC_;
  std::exception_ptr thrown_;
};

py::list verify(const std::string& path) {
  Walk walk;
  tavo_store_statistics statistics = TAVO_STORE_STATISTICS_INIT;
  walk.run(path, &statistics,
           [&] { return tavo_store_verify(path.c_str(), &Walk::take, &walk, &statistics); });
  return walk.findings();
}

// (findings, found, damaged and twice by record type, untraced)
py::tuple repair(const std::string& path, const std::string& target) {
  Walk walk;
  tavo_store_repair_report report = TAVO_STORE_REPAIR_INIT;
  walk.run(path, &report, [&] {
    return tavo_store_repair(path.c_str(), target.c_str(), &Walk::take, &walk, &report);
  });
  const auto byType = [](const uint32_t(&counts)[128]) {
    py::dict made;
    for (uint32_t type = 0; type < 128; ++type) {
      if (counts[type] != 0) made[py::int_(type)] = counts[type];
    }
    return made;
  };
  return py::make_tuple(walk.findings(), byType(report.found), byType(report.damaged),
                        byType(report.twice), report.untraced);
}

}  // namespace

void addStore(py::module_& module) {
  py::class_<StoreHandle>(module, "Store")
      .def(py::init<const std::string&, uint32_t, uint32_t, const std::string&, bool>(),
           py::arg("path"), py::arg("mode"), py::arg("cache_pages"), py::arg("journal"),
           py::arg("complete"))
      .def("close", &StoreHandle::close)
      .def("is_complete", &StoreHandle::isComplete)
      .def("size", &StoreHandle::size)
      .def("read", &StoreHandle::read, py::arg("move"))
      .def("find", &StoreHandle::find, py::arg("type"), py::arg("lookup"), py::arg("record"))
      .def("append", &StoreHandle::append, py::arg("type"), py::arg("record"), py::arg("given"),
           py::arg("entries"))
      .def("replace", &StoreHandle::replace, py::arg("type"), py::arg("record"), py::arg("line"),
           py::arg("given"), py::arg("entries"))
      .def("remove", &StoreHandle::remove);
  module.def("verify", &verify, py::arg("path"));
  module.def("repair", &repair, py::arg("path"), py::arg("target"));
}

}  // namespace tavo::python
