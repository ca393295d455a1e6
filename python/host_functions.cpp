#include "host_functions.h"

#include <limits>

namespace exprcurve_python {

namespace {

// The exception a callable raised on this thread, not yet raised again.
struct PendingError {
    PyObject* type = nullptr;
    PyObject* value = nullptr;
    PyObject* traceback = nullptr;
};
thread_local PendingError pending;

void keepCurrentError()
{
    PyErr_Fetch(&pending.type, &pending.value, &pending.traceback);
}

}  // namespace

double callPython(const double* arguments, void* context)
{
    constexpr double failed = std::numeric_limits<double>::quiet_NaN();
    const auto& function = *static_cast<const PythonFunction*>(context);
    const py::gil_scoped_acquire locked;
    if (pending.type != nullptr)
        return failed;
    try {
        py::tuple values(function.arity);
        for (unsigned int i = 0; i < function.arity; ++i)
            values[i] = py::float_(arguments[i]);
        const py::object result = function.callable(*values);
        const double value = PyFloat_AsDouble(result.ptr());
        if (PyErr_Occurred()) {
            keepCurrentError();
            return failed;
        }
        return value;
    } catch (py::error_already_set& error) {
        error.restore();
        keepCurrentError();
    } catch (const std::exception& error) {
        PyErr_SetString(PyExc_RuntimeError, error.what());
        keepCurrentError();
    }
    return failed;
}

void raisePendingError()
{
    if (pending.type == nullptr)
        return;
    PyErr_Restore(pending.type, pending.value, pending.traceback);
    pending = PendingError{};
    throw py::error_already_set();
}

}  // namespace exprcurve_python
