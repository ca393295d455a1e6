// The Python module `exprcurve._exprcurve`: each part registers its classes.
#ifndef EXPRCURVE_PYTHON_BINDINGS_H
#define EXPRCURVE_PYTHON_BINDINGS_H

#include <string>

#include <pybind11/pybind11.h>

namespace exprcurve_python {

namespace py = pybind11;

void bindExpressions(py::module_& module);
void bindCurves(py::module_& module);

// os.fspath(path) as a string: str and os.PathLike both work.
std::string pathText(const py::object& path);

}  // namespace exprcurve_python

#endif  // EXPRCURVE_PYTHON_BINDINGS_H
