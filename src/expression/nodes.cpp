// Ownership of the inner nodes: each one deletes its children when it is
// deleted, so deleting the root frees the whole tree.
#include "functionfloatbase.h"

namespace {

// Deletes a child through its virtual destructor and forgets it, so that a
// second pass over the same node cannot free it twice.
void deleteChild(FunctionFloatBase*& child)
{
    if (child) {
        delete child;
        child = nullptr;
    }
}

}  // namespace

FunctionFloatUnary::~FunctionFloatUnary()
{
    deleteChild(arg);
}

FunctionFloatBinary::~FunctionFloatBinary()
{
    deleteChild(arg2);
    deleteChild(arg1);
}

FunctionFloatTernary::~FunctionFloatTernary()
{
    deleteChild(arg3);
    deleteChild(arg2);
    deleteChild(arg1);
}

FunctionFloatHostCall::~FunctionFloatHostCall()
{
    for (unsigned int i = maxArguments; i-- > 0;)
        deleteChild(arguments[i]);
}

double FunctionFloatHostCall::operator()() const
{
    assert(function);
    double values[maxArguments];
    for (unsigned int i = 0; i < arity; ++i) {
        assert(arguments[i]);
        values[i] = (*arguments[i])();
    }
    return function(values, context);
}
