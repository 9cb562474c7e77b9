// Whole columns at once, where a loop in Python would take a hundred times as long: texts, dates
// and units.
#include <array>
#include <functional>
#include <utility>

#include "module.h"

namespace tavo::python {

namespace {

constexpr Member<tavo_units, TVO_EnumId> kUnitNames[] = {
    {"angular", &tavo_units::angular},       {"linear", &tavo_units::linear},
    {"geographic", &tavo_units::geographic}, {"temperature", &tavo_units::temperature},
    {"pressure", &tavo_units::pressure},     {"date_order", &tavo_units::date_order}};
constexpr Member<tavo_units, double> kUnitNumbers[] = {
    {"angular_factor", &tavo_units::angular_factor},
    {"linear_factor", &tavo_units::linear_factor},
    {"geographic_factor", &tavo_units::geographic_factor},
    {"offset_east", &tavo_units::offset_east},
    {"offset_north", &tavo_units::offset_north},
    {"offset_elevation", &tavo_units::offset_elevation}};

}  // namespace

py::dict unitsOf(const tavo_units& units) {
  py::dict made;
  put(&made, units, kUnitNames);
  put(&made, units, kUnitNumbers);
  return made;
}

tavo_units unitsFrom(const py::dict& values) {
  tavo_units units{};
  take(&units, values, kUnitNames);
  take(&units, values, kUnitNumbers);
  return units;
}

namespace {

// A column of an array: `count` members, `stride` bytes apart.
struct Column {
  const char* bytes;
  py::ssize_t count;
  py::ssize_t stride;
  py::ssize_t size;

  explicit Column(const py::array& array)
      : bytes(static_cast<const char*>(array.data())),
        count(array.size()),
        stride(array.ndim() == 1 ? array.strides(0) : 0),
        size(array.itemsize()) {
    if (array.ndim() != 1) throw py::value_error("a column has one dimension");
  }
  const char* at(py::ssize_t i) const { return bytes + i * stride; }
};

// The texts of a column as str. Codes and the like come again and again: the latest text of each
// hash is kept and shared, which spares making most of them. An empty one may be None.
py::array texts(const py::array& array, bool emptyIsNone) {
  struct Kept {
    std::string_view text;
    PyObject* made = nullptr;
  };
  const Column column(array);
  py::array made(py::dtype("O"), column.count);
  auto** const out = static_cast<PyObject**>(made.mutable_data());
  std::array<Kept, 1024> latest;
  for (py::ssize_t i = 0; i < column.count; ++i) {
    const char* const at = column.at(i);
    const std::string_view text(at, strnlen(at, static_cast<size_t>(column.size)));
    Kept& kept = latest[std::hash<std::string_view>()(text) % latest.size()];
    // The array itself holds what is kept.
    if (kept.made == nullptr || kept.text != text) {
      const bool none = emptyIsNone && text.empty();
      kept = {text, none ? py::none().release().ptr() : textOf(text).release().ptr()};
    } else {
      Py_INCREF(kept.made);
    }
    Py_XDECREF(std::exchange(out[i], kept.made));
  }
  return made;
}

// Nanoseconds since 1970; the least number (NaT) for what a calendar does not have or what lies
// outside the range.
py::array_t<int64_t> times(const py::array& array) {
  const Column column(array);
  if (column.size != sizeof(TVO_DateTime))
    throw py::value_error("a column of date-times is needed");
  py::array_t<int64_t> made(column.count);
  int64_t* const out = made.mutable_data();
  constexpr int64_t kNone = INT64_MIN;
  constexpr int64_t kHundredth = 10'000'000;
  constexpr int64_t kLimit = INT64_MAX / kHundredth - 1;
  for (py::ssize_t i = 0; i < column.count; ++i) {
    TVO_DateTime date;
    std::memcpy(&date, column.at(i), sizeof date);
    const std::optional<Time> time = timeOf(date);
    const int64_t ticks = time ? time->time_since_epoch().count() : kNone;
    out[i] = ticks < -kLimit || ticks > kLimit ? kNone : ticks * kHundredth;
  }
  return made;
}

// Values by the units in force, to metres and radians or back.
void convert(py::array_t<double>& values, const py::dict& inForce, uint32_t unit, bool toSi) {
  const tavo_units units = unitsFrom(inForce);
  double* const at = values.mutable_data();
  for (py::ssize_t i = 0; i < values.size(); ++i) {
    at[i] = toSi ? tavo_to_si(&units, unit, at[i]) : tavo_to_file(&units, unit, at[i]);
  }
}

// Units behind UNITS and OFFSETS records: (columns record, type, record) in the order of the text.
py::dict unitsBehind(const py::list& records) {
  tavo_units units = *tavo_default_units();
  for (const py::handle item : records) {
    const auto row = py::reinterpret_borrow<py::tuple>(item);
    const auto type = row[1].cast<uint32_t>();
    const Bytes columns(row[0]);
    const Bytes record(row[2]);
    if (columns.size() < sizeof(TVO_ColumnsRecord) ||
        record.size() < tavo_schema_record_size(type)) {
      throw py::value_error("a record is too short");
    }
    tavo_units_follow(&units, columns.data(), type, record.data());
  }
  return unitsOf(units);
}

}  // namespace

void addArrays(py::module_& module) {
  module.def("texts", &texts, py::arg("column"), py::arg("empty_is_none") = false);
  module.def("times", &times, py::arg("column"));
  module.def("convert", &convert, py::arg("values").noconvert(), py::arg("units"), py::arg("unit"),
             py::arg("to_si"));
  module.def("units_behind", &unitsBehind, py::arg("records"));
}

}  // namespace tavo::python
