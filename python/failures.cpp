#include "python/failures.h"

#include <pybind11/pybind11.h>

#include <exception>

#include "photo/base/failure.h"

namespace qx::python {
namespace py = pybind11;
namespace {

void Raise(const photo::Failure& failure) {
  py::list fields;
  for (const photo::FailureField& field : failure.Fields()) {
    const py::object value = field.word.empty() ? py::object(py::float_(field.number)) : py::str(field.word);
    fields.append(py::make_tuple(field.name, value));
  }
  const py::object exception = py::module_::import("idphoto._failures")
                                   .attr("make_failure")(NameOf(failure.Code()), failure.what(), py::tuple(fields));
  PyErr_SetObject(reinterpret_cast<PyObject*>(Py_TYPE(exception.ptr())), exception.ptr());
}

}  // namespace

void TranslateFailures() {
  py::register_exception_translator([](std::exception_ptr pointer) {
    try {
      if (pointer) std::rethrow_exception(pointer);
    } catch (const photo::Failure& failure) {
      Raise(failure);
    }
  });
}

}  // namespace qx::python
