// The module itself: errors, texts and the arrays that stand on a survey's own memory.
#include <utility>

#include "module.h"

namespace tavo::python {

void raise(tavo_status status, const std::string& where, const std::string& text) {
  const py::object error = py::module_::import("tavo._error").attr("Error");
  // A path as Python has it, which need not be UTF-8.
  const auto place = py::reinterpret_steal<py::str>(
      PyUnicode_DecodeFSDefaultAndSize(where.data(), static_cast<py::ssize_t>(where.size())));
  const py::object made =
      error(status, text.empty() ? std::string(tavo_status_text(status)) : text, place);
  PyErr_SetObject(error.ptr(), made.ptr());
  throw py::error_already_set();
}

py::array bytesOf(const void* bytes, size_t size, const py::object& owner) {
  py::array_t<uint8_t> array(static_cast<py::ssize_t>(size), static_cast<const uint8_t*>(bytes),
                             owner);
  array.attr("flags").attr("writeable") = false;
  return array;
}

py::array numbersOf(const uint64_t* numbers, size_t count, const py::object& owner) {
  py::array_t<uint64_t> array(static_cast<py::ssize_t>(count), numbers, owner);
  array.attr("flags").attr("writeable") = false;
  return array;
}

py::str textOf(std::string_view bytes) {
  const auto size = static_cast<py::ssize_t>(bytes.size());
  PyObject* text = PyUnicode_DecodeUTF8(bytes.data(), size, "tavo-latin-1");
  if (text == nullptr) throw py::error_already_set();
  return py::reinterpret_steal<py::str>(text);
}

Bytes::Bytes(const py::object& object) {
  if (PyObject_GetBuffer(object.ptr(), &view_, PyBUF_SIMPLE) != 0) throw py::error_already_set();
}

namespace {

// One byte that is no UTF-8 becomes the character of its number; decoding goes on behind it.
py::tuple latin1(const py::object& error) {
  const auto start = error.attr("start").cast<py::ssize_t>();
  const Bytes bytes(error.attr("object"));
  const auto byte = static_cast<unsigned char>(bytes.data()[start]);
  return py::make_tuple(py::reinterpret_steal<py::str>(PyUnicode_FromOrdinal(byte)), start + 1);
}

}  // namespace

PYBIND11_MODULE(_tavo, module) {
  module.doc() = "The survey layer as the package sees it; use the package tavo.";
  py::module_::import("codecs").attr("register_error")("tavo-latin-1", py::cpp_function(&latin1));
  py::register_exception_translator([](std::exception_ptr thrown) {
    try {
      if (thrown) std::rethrow_exception(std::move(thrown));
    } catch (const Error& error) {
      try {
        std::string text = error.what();
        if (error.code() != 0) text += " (engine code " + std::to_string(error.code()) + ")";
        raise(error.status(), {}, text);
      } catch (py::error_already_set& raised) {
        raised.restore();
      }
    }
  });
  module.def(
      "version", [] { return std::string(version()); }, "Version of the library, \"1.1.0\".");
  addSchema(module);
  addSurvey(module);
  addGeometry(module);
  addBuild(module);
  addStore(module);
  addArrays(module);
}

}  // namespace tavo::python
