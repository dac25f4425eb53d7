// Failures of the library as exceptions of Python.
#ifndef QX_PYTHON_FAILURES_H
#define QX_PYTHON_FAILURES_H

namespace qx::python {

// From now on a photo::Failure raises what idphoto._failures makes of its code, text and fields.
void TranslateFailures();

}  // namespace qx::python

#endif  // QX_PYTHON_FAILURES_H
