#include "bindings.h"

namespace exprcurve_python {

std::string pathText(const py::object& path)
{
    return py::module_::import("os").attr("fspath")(path).cast<std::string>();
}

}  // namespace exprcurve_python

PYBIND11_MODULE(_exprcurve, module)
{
    module.doc() =
        "Expressions parsed once and evaluated often, and 1-D animation curves, with the same "
        "results to the last bit as the C++ library.";
    module.attr("__version__") = EXPRCURVE_VERSION;
    exprcurve_python::bindExpressions(module);
    exprcurve_python::bindCurves(module);
}
