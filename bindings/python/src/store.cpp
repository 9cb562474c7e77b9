// Records in a data file: the handle of an open one, and the check of a closed one.
#include <array>

#include "module.h"

namespace tavo::python {

namespace {

// As large as every record; a call gets its own copy, so nothing of the caller's is written.
using Room = std::array<char, 4096>;

class StoreHandle {
 public:
  StoreHandle(const std::string& path, uint32_t mode, uint32_t cachePages,
              const std::string& journal)
      : store_(std::in_place, path, static_cast<Store::Mode>(mode), cachePages, journal) {}

  void close() {
    if (!store_) return;
    Store closing = std::move(*store_);
    store_.reset();
    const py::gil_scoped_release free;
    closing.close();
  }
  bool isOpen() const { return store_.has_value(); }
  uint64_t size() { return open().size(); }

  // (type, bytes), or None where the move leads to no record.
  py::object read(uint32_t move) {
    const std::optional<tavo_record> record = open().read(move);
    if (!record) return py::none();
    return recordOf(record->type, static_cast<const char*>(record->bytes), record->size);
  }
  py::object find(uint32_t type, uint32_t lookup, const py::object& record) {
    Room room = copyOf(type, record);
    if (!open().find(type, static_cast<Store::Lookup>(lookup), room.data())) return py::none();
    return recordOf(type, room.data(), tavo_schema_record_size(type));
  }
  void write(uint32_t type, const py::object& record) {
    const Room room = copyOf(type, record);
    open().write(type, room.data());
  }
  void update(uint32_t type, const py::object& record) {
    const Room room = copyOf(type, record);
    open().update(room.data());
  }
  void remove() { open().remove(); }

 private:
  Store& open() {
    if (!store_) raise(TAVO_ERR_ARGUMENT, {}, "the store is closed");
    return *store_;
  }
  static Room copyOf(uint32_t type, const py::object& record) {
    Room room{};
    const Bytes bytes(record);
    const size_t size = tavo_schema_record_size(type);
    if (size == 0 || bytes.size() != size || size > room.size()) {
      raise(TAVO_ERR_ARGUMENT, {}, "the record has not the size of its type");
    }
    if (type == TVO_RECORD_TIME_TAGGED_CODES) {
      raise(TAVO_ERR_ARGUMENT, {}, "time-tagged codes cannot be kept in a data file");
    }
    std::memcpy(room.data(), bytes.data(), size);
    return room;
  }
  static py::object recordOf(uint32_t type, const char* bytes, size_t size) {
    return py::make_tuple(type, py::bytes(bytes, size));
  }

  std::optional<Store> store_;
};

py::tuple verify(const std::string& path) {
  struct Found {
    uint32_t kind;
    int32_t page;
    uint32_t record, type;
    std::string text;
  };
  std::vector<Found> found;
  tavo_store_statistics statistics = TAVO_STORE_STATISTICS_INIT;
  const auto take = [](const tavo_store_finding* finding, void* user) {
    static_cast<std::vector<Found>*>(user)->push_back(
        {finding->kind, finding->page, finding->record, finding->record_type, finding->text});
  };
  tavo_status status = TAVO_OK;
  {
    const py::gil_scoped_release free;
    status = tavo_store_verify(path.c_str(), take, &found, &statistics);
  }
  if (status != TAVO_OK) raise(status, path);
  py::list findings;
  for (const Found& one : found) {
    findings.append(py::make_tuple(one.kind, one.page, one.record, one.type, textOf(one.text)));
  }
  py::dict counts;
  counts["records"] = statistics.records;
  counts["records_counted"] = statistics.records_counted;
  counts["file_size"] = statistics.file_size;
  counts["pages_in_use"] = statistics.pages_in_use;
  counts["fill_factor"] = statistics.fill_factor;
  counts["findings"] = statistics.findings;
  return py::make_tuple(findings, counts);
}

}  // namespace

void addStore(py::module_& module) {
  py::class_<StoreHandle>(module, "Store")
      .def(py::init<const std::string&, uint32_t, uint32_t, const std::string&>(), py::arg("path"),
           py::arg("mode"), py::arg("cache_pages"), py::arg("journal"))
      .def("close", &StoreHandle::close)
      .def("is_open", &StoreHandle::isOpen)
      .def("size", &StoreHandle::size)
      .def("read", &StoreHandle::read, py::arg("move"))
      .def("find", &StoreHandle::find, py::arg("type"), py::arg("lookup"), py::arg("record"))
      .def("write", &StoreHandle::write, py::arg("type"), py::arg("record"))
      .def("update", &StoreHandle::update, py::arg("type"), py::arg("record"))
      .def("remove", &StoreHandle::remove);
  module.def("verify", &verify, py::arg("path"));
}

}  // namespace tavo::python
