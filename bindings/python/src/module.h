// The extension module behind the Python package: what its parts share. Each part adds its classes
// and functions to the module; everything that a user sees is Python over it.
#pragma once

#include <pybind11/numpy.h>
#include <pybind11/pybind11.h>

#include <chrono>
#include <exception>
#include <mutex>
#include <optional>
#include <string>

#include "tavo/survey.hpp"

namespace tavo::python {

namespace py = pybind11;

void addSchema(py::module_& module);
void addSurvey(py::module_& module);
void addGeometry(py::module_& module);
void addBuild(py::module_& module);
void addStore(py::module_& module);
void addArrays(py::module_& module);

// A survey and the lock that makes calls on it wait for each other while the interpreter's own is
// released.
struct SurveyHandle {
  explicit SurveyHandle(Survey&& read) : survey(std::move(read)) {}
  Survey survey;
  std::mutex busy;
};

// Raises tavo.Error with a status, a text of its own or that of the status, and what it is about.
[[noreturn]] void raise(tavo_status status, const std::string& where = {},
                        const std::string& text = {});

// Read-only bytes that belong to `owner`, which they keep alive, as an array of bytes.
py::array bytesOf(const void* bytes, size_t size, const py::object& owner);

// Same for whole numbers of 64 bits.
py::array numbersOf(const uint64_t* numbers, size_t count, const py::object& owner);

// Text of a file as str: UTF-8, and every byte that is not part of it as Latin-1 has it.
py::str textOf(std::string_view bytes);

// A number of a structure under its name in a dict.
template <class Struct, class Value>
struct Member {
  const char* name;
  Value Struct::*value;
};

template <class Struct, class Value, size_t Count>
void put(py::dict* into, const Struct& from, const Member<Struct, Value> (&members)[Count]) {
  for (const auto& member : members) (*into)[member.name] = from.*member.value;
}

template <class Struct, class Value, size_t Count>
void take(Struct* into, const py::dict& from, const Member<Struct, Value> (&members)[Count]) {
  for (const auto& member : members) into->*member.value = from[member.name].template cast<Value>();
}

// Units and offsets as a dict of plain values.
py::dict unitsOf(const tavo_units& units);
tavo_units unitsFrom(const py::dict& values);

// A contiguous buffer of bytes for as long as this lives.
class Bytes {
 public:
  explicit Bytes(const py::object& object);
  Bytes(const Bytes&) = delete;
  Bytes& operator=(const Bytes&) = delete;
  ~Bytes() { PyBuffer_Release(&view_); }
  const char* data() const { return static_cast<const char*>(view_.buf); }
  size_t size() const { return static_cast<size_t>(view_.len); }

 private:
  Py_buffer view_{};
};

// Looks for Ctrl-C now and then in what runs without the interpreter, which that needs.
class CtrlC {
 public:
  bool isDue() const { return std::chrono::steady_clock::now() - looked_ > kPause; }
  // With the interpreter held. Throws what the handler raised.
  void look() {
    looked_ = std::chrono::steady_clock::now();
    if (PyErr_CheckSignals() != 0) throw py::error_already_set();
  }
  // Without the interpreter: false after Ctrl-C, which is then in `thrown`.
  bool goesOn(std::exception_ptr* thrown) {
    if (!isDue()) return true;
    const py::gil_scoped_acquire held;
    try {
      look();
      return true;
    } catch (...) {
      *thrown = std::current_exception();
      return false;
    }
  }

 private:
  static constexpr std::chrono::milliseconds kPause{50};
  std::chrono::steady_clock::time_point looked_ = std::chrono::steady_clock::now();
};

}  // namespace tavo::python
