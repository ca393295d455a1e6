// Python callables as functions of the expression language.
//
// The library calls a host function through a plain C pointer, from the
// tree, the compiled form or its machine code, none of which an exception
// may cross. So a callable's exception never leaves the call: it is kept for
// the evaluating thread, the call returns NaN, every further call of that
// evaluation returns NaN without running Python, and raisePendingError()
// raises the kept exception once the evaluation is over.
#ifndef EXPRCURVE_PYTHON_HOST_FUNCTIONS_H
#define EXPRCURVE_PYTHON_HOST_FUNCTIONS_H

#include <map>
#include <memory>
#include <string>

#include "bindings.h"

namespace exprcurve_python {

struct PythonFunction {
    py::object callable;
    unsigned int arity;
    std::string name;
};

// By name; expressions keep the table as it was when they were parsed.
using FunctionTable = std::map<std::string, std::shared_ptr<const PythonFunction>>;

// A HostFunction whose context is a PythonFunction. Takes the interpreter
// lock for the call, so evaluations without it may call it too.
double callPython(const double* arguments, void* context);

// After every evaluation that may have called Python, with the interpreter
// lock held: raises what a callable raised during it, if anything.
void raisePendingError();

}  // namespace exprcurve_python

#endif  // EXPRCURVE_PYTHON_HOST_FUNCTIONS_H
