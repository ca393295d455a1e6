// A tree built by hand, without the parser, and walked with the
// classification queries.
#include <cstdio>

#include "functionfloatbase.h"

int main()
{
    float gain = 0.5f;
    auto* product = new FunctionFloatMul;
    product->arg1 = new FunctionFloatVariableFloat(&gain);
    auto* cosine = new FunctionFloatCos;
    cosine->arg = new FunctionFloatConstant(0.0);
    product->arg2 = cosine;

    const double value = (*product)();  // 0.5
    std::printf("gain * cos(0) = %g\n", value);

    // Classification without RTTI.
    const FunctionFloatBinary* binary = product->getBinaryRef();
    const bool shapeOk = binary != nullptr && binary->isMul() && binary->arg2->getUnaryRef()->isCos() &&
                         binary->arg1->isVariableFloat();
    std::printf("shape: %s\n", shapeOk ? "Mul(gain, Cos(0))" : "unexpected");

    gain = 2.0f;
    std::printf("after gain = 2: %g\n", (*product)());
    delete product;  // frees the whole tree
    return value == 0.5 && shapeOk ? 0 : 1;
}
