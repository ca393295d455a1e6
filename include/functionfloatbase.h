// Expression tree nodes.
//
// A parsed expression is a tree of heap-allocated nodes. Calling operator() on
// the root evaluates the whole expression. Leaves are constants or variables
// bound by address to storage the host owns; inner nodes own their children
// and delete them when they are deleted themselves.
//
// Nodes are classified without RTTI through the isX()/getXRef() pairs: a node
// answers true / `this` for its own class and its arity (or leaf kind), and
// false / null everywhere else. The virtual slots are declared in a fixed
// order that hosts compiled against this header rely on; append, never
// reorder. The host-call pair (isHostCall/getHostCallRef) came last, after
// getString: a call of a function the host defined answers it and none of the
// other queries, so walkers that know only the older queries see an opaque
// leaf, and walkers that know it reach the call's arguments through it.
//
// Evaluation allocates nothing and changes nothing, so an unchanging tree may
// be evaluated from several threads at once while nobody writes the bound
// variables.
#ifndef EXPRCURVE_FUNCTIONFLOATBASE_H
#define EXPRCURVE_FUNCTIONFLOATBASE_H

#include <cassert>
#include <string>
#include <vector>

#include "functionfloatoperations.h"

class FunctionFloatConstant;
class FunctionFloatUnary;
class FunctionFloatBinary;
class FunctionFloatTernary;
class FunctionFloatVariableDouble;
class FunctionFloatVariableFloat;
class FunctionFloatVariableInt;
class FunctionFloatVariableBool;

class FunctionFloatNeg;
class FunctionFloatJ0;
class FunctionFloatJ1;
class FunctionFloatFloor;
class FunctionFloatCeil;
class FunctionFloatTan;
class FunctionFloatSin;
class FunctionFloatCos;
class FunctionFloatTanH;
class FunctionFloatSinH;
class FunctionFloatCosH;
class FunctionFloatATan;
class FunctionFloatASin;
class FunctionFloatACos;
class FunctionFloatSqrt;
class FunctionFloatAbs;
class FunctionFloatLog;
class FunctionFloatL10;
class FunctionFloatExp;
class FunctionFloatRnd;

class FunctionFloatAdd;
class FunctionFloatSub;
class FunctionFloatMul;
class FunctionFloatDiv;
class FunctionFloatPow;
class FunctionFloatAnd;
class FunctionFloatOr;
class FunctionFloatEql;
class FunctionFloatGrt;
class FunctionFloatLss;
class FunctionFloatMax;
class FunctionFloatMin;
class FunctionFloatIf;
class FunctionFloatHostCall;

// A function the host defines for the expression language (see
// FunctionParserBase::defineFunction): it gets the values of the call's
// arguments, left to right, and the context pointer given with it.
typedef double (*HostFunction)(const double* arguments, void* context);

class FunctionFloatBase {
public:
    FunctionFloatBase() = default;
    FunctionFloatBase(const FunctionFloatBase&) = delete;
    FunctionFloatBase& operator=(const FunctionFloatBase&) = delete;

    virtual ~FunctionFloatBase() = default;

    virtual bool isConstant() const { return false; }
    virtual bool isUnary() const { return false; }
    virtual bool isBinary() const { return false; }
    virtual bool isTernary() const { return false; }
    virtual bool isVariableDouble() const { return false; }
    virtual bool isVariableFloat() const { return false; }
    virtual bool isVariableInt() const { return false; }
    virtual bool isVariableBool() const { return false; }

    virtual const FunctionFloatConstant* getConstantRef() const { return nullptr; }
    virtual const FunctionFloatUnary* getUnaryRef() const { return nullptr; }
    virtual const FunctionFloatBinary* getBinaryRef() const { return nullptr; }
    virtual const FunctionFloatTernary* getTernaryRef() const { return nullptr; }
    virtual const FunctionFloatVariableDouble* getVariableDoubleRef() const { return nullptr; }
    virtual const FunctionFloatVariableFloat* getVariableFloatRef() const { return nullptr; }
    virtual const FunctionFloatVariableInt* getVariableIntRef() const { return nullptr; }
    virtual const FunctionFloatVariableBool* getVariableBoolRef() const { return nullptr; }

    virtual double operator()() const = 0;

    // A copy of this node's own text; it is never rebuilt from the children.
    virtual std::string getString() { return text; }

    virtual bool isHostCall() const { return false; }
    virtual const FunctionFloatHostCall* getHostCallRef() const { return nullptr; }

    // Empty unless a builder sets it: the parser stores the normalised text in
    // the root and the key name in variable leaves made from keys.
    std::string text;
};

// ---------------------------------------------------------------- leaves

class FunctionFloatConstant : public FunctionFloatBase {
public:
    FunctionFloatConstant() = default;
    explicit FunctionFloatConstant(double initialValue) : value(initialValue) {}

    bool isConstant() const override { return true; }
    const FunctionFloatConstant* getConstantRef() const override { return this; }
    double operator()() const override { return value; }

    double value = 0.0;
};

// Variable leaves read the host's storage anew at every evaluation and never
// own it; the storage must outlive every evaluation.
class FunctionFloatVariableDouble : public FunctionFloatBase {
public:
    FunctionFloatVariableDouble() = default;
    explicit FunctionFloatVariableDouble(const double* address) : control(address) {}

    bool isVariableDouble() const override { return true; }
    const FunctionFloatVariableDouble* getVariableDoubleRef() const override { return this; }
    double operator()() const override
    {
        assert(control);
        return *control;
    }

    const double* control = nullptr;
};

class FunctionFloatVariableFloat : public FunctionFloatBase {
public:
    FunctionFloatVariableFloat() = default;
    explicit FunctionFloatVariableFloat(const float* address) : control(address) {}

    bool isVariableFloat() const override { return true; }
    const FunctionFloatVariableFloat* getVariableFloatRef() const override { return this; }
    double operator()() const override
    {
        assert(control);
        return static_cast<double>(*control);
    }

    const float* control = nullptr;
};

class FunctionFloatVariableInt : public FunctionFloatBase {
public:
    FunctionFloatVariableInt() = default;
    explicit FunctionFloatVariableInt(const int* address) : control(address) {}

    bool isVariableInt() const override { return true; }
    const FunctionFloatVariableInt* getVariableIntRef() const override { return this; }
    double operator()() const override
    {
        assert(control);
        return static_cast<double>(*control);
    }

    const int* control = nullptr;
};

class FunctionFloatVariableBool : public FunctionFloatBase {
public:
    FunctionFloatVariableBool() = default;
    explicit FunctionFloatVariableBool(const bool* address) : control(address) {}

    bool isVariableBool() const override { return true; }
    const FunctionFloatVariableBool* getVariableBoolRef() const override { return this; }
    double operator()() const override
    {
        assert(control);
        // Hosts may hand us a bool whose byte is neither 0 nor 1 (C structs,
        // memory filled by other code); reading the byte keeps that defined.
        return *reinterpret_cast<const unsigned char*>(control) != 0 ? 1.0 : 0.0;
    }

    const bool* control = nullptr;
};

// ---------------------------------------------------------------- arities

class FunctionFloatUnary : public FunctionFloatBase {
public:
    ~FunctionFloatUnary() override;

    bool isUnary() const override { return true; }
    const FunctionFloatUnary* getUnaryRef() const override { return this; }

    virtual bool isCos() const { return false; }
    virtual bool isSin() const { return false; }
    virtual bool isTan() const { return false; }
    virtual bool isExp() const { return false; }
    virtual bool isLog() const { return false; }
    virtual bool isL10() const { return false; }
    virtual bool isRnd() const { return false; }  // no class overrides it: rnd is binary
    virtual bool isAbs() const { return false; }
    virtual bool isSqrt() const { return false; }
    virtual bool isACos() const { return false; }
    virtual bool isASin() const { return false; }
    virtual bool isATan() const { return false; }
    virtual bool isCosH() const { return false; }
    virtual bool isSinH() const { return false; }
    virtual bool isTanH() const { return false; }
    virtual bool isCeil() const { return false; }
    virtual bool isFloor() const { return false; }
    virtual bool isJ0() const { return false; }
    virtual bool isJ1() const { return false; }
    virtual bool isNeg() const { return false; }

    virtual const FunctionFloatCos* getCosRef() const { return nullptr; }
    virtual const FunctionFloatSin* getSinRef() const { return nullptr; }
    virtual const FunctionFloatTan* getTanRef() const { return nullptr; }
    virtual const FunctionFloatExp* getExpRef() const { return nullptr; }
    virtual const FunctionFloatLog* getLogRef() const { return nullptr; }
    virtual const FunctionFloatL10* getL10Ref() const { return nullptr; }
    virtual const FunctionFloatRnd* getRndRef() const { return nullptr; }
    virtual const FunctionFloatAbs* getAbsRef() const { return nullptr; }
    virtual const FunctionFloatSqrt* getSqrtRef() const { return nullptr; }
    virtual const FunctionFloatACos* getACosRef() const { return nullptr; }
    virtual const FunctionFloatASin* getASinRef() const { return nullptr; }
    virtual const FunctionFloatATan* getATanRef() const { return nullptr; }
    virtual const FunctionFloatCosH* getCosHRef() const { return nullptr; }
    virtual const FunctionFloatSinH* getSinHRef() const { return nullptr; }
    virtual const FunctionFloatTanH* getTanHRef() const { return nullptr; }
    virtual const FunctionFloatCeil* getCeilRef() const { return nullptr; }
    virtual const FunctionFloatFloor* getFloorRef() const { return nullptr; }
    virtual const FunctionFloatJ0* getJ0Ref() const { return nullptr; }
    virtual const FunctionFloatJ1* getJ1Ref() const { return nullptr; }
    virtual const FunctionFloatNeg* getNegRef() const { return nullptr; }

    FunctionFloatBase* arg = nullptr;  // owned
};

class FunctionFloatBinary : public FunctionFloatBase {
public:
    ~FunctionFloatBinary() override;  // deletes arg2, then arg1

    bool isBinary() const override { return true; }
    const FunctionFloatBinary* getBinaryRef() const override { return this; }

    virtual bool isAdd() const { return false; }
    virtual bool isSub() const { return false; }
    virtual bool isMul() const { return false; }
    virtual bool isDiv() const { return false; }
    virtual bool isPow() const { return false; }
    virtual bool isAnd() const { return false; }
    virtual bool isOr() const { return false; }
    virtual bool isEql() const { return false; }
    virtual bool isGrt() const { return false; }
    virtual bool isLss() const { return false; }
    virtual bool isMax() const { return false; }
    virtual bool isMin() const { return false; }

    virtual const FunctionFloatAdd* getAddRef() const { return nullptr; }
    virtual const FunctionFloatSub* getSubRef() const { return nullptr; }
    virtual const FunctionFloatMul* getMulRef() const { return nullptr; }
    virtual const FunctionFloatDiv* getDivRef() const { return nullptr; }
    virtual const FunctionFloatPow* getPowRef() const { return nullptr; }
    virtual const FunctionFloatAnd* getAndRef() const { return nullptr; }
    virtual const FunctionFloatOr* getOrRef() const { return nullptr; }
    virtual const FunctionFloatEql* getEqlRef() const { return nullptr; }
    virtual const FunctionFloatGrt* getGrtRef() const { return nullptr; }
    virtual const FunctionFloatLss* getLssRef() const { return nullptr; }
    virtual const FunctionFloatMax* getMaxRef() const { return nullptr; }
    virtual const FunctionFloatMin* getMinRef() const { return nullptr; }

    FunctionFloatBase* arg1 = nullptr;  // owned
    FunctionFloatBase* arg2 = nullptr;  // owned
};

class FunctionFloatTernary : public FunctionFloatBase {
public:
    ~FunctionFloatTernary() override;  // deletes arg3, arg2, then arg1

    bool isTernary() const override { return true; }
    const FunctionFloatTernary* getTernaryRef() const override { return this; }

    virtual bool isIf() const { return false; }
    virtual const FunctionFloatIf* getIfRef() const { return nullptr; }

    FunctionFloatBase* arg1 = nullptr;  // owned
    FunctionFloatBase* arg2 = nullptr;  // owned
    FunctionFloatBase* arg3 = nullptr;  // owned
};

// ---------------------------------------------------------------- unary operators

class FunctionFloatNeg : public FunctionFloatUnary {
public:
    bool isNeg() const override { return true; }
    const FunctionFloatNeg* getNegRef() const override { return this; }
    double operator()() const override
    {
        assert(arg);
        return exprcurve::operations::logicalNot((*arg)());
    }
};

class FunctionFloatJ0 : public FunctionFloatUnary {
public:
    bool isJ0() const override { return true; }
    const FunctionFloatJ0* getJ0Ref() const override { return this; }
    double operator()() const override
    {
        assert(arg);
        return exprcurve::operations::besselJ0((*arg)());
    }
};

class FunctionFloatJ1 : public FunctionFloatUnary {
public:
    bool isJ1() const override { return true; }
    const FunctionFloatJ1* getJ1Ref() const override { return this; }
    double operator()() const override
    {
        assert(arg);
        return exprcurve::operations::besselJ1((*arg)());
    }
};

class FunctionFloatFloor : public FunctionFloatUnary {
public:
    bool isFloor() const override { return true; }
    const FunctionFloatFloor* getFloorRef() const override { return this; }
    double operator()() const override
    {
        assert(arg);
        return exprcurve::operations::roundDown((*arg)());
    }
};

class FunctionFloatCeil : public FunctionFloatUnary {
public:
    bool isCeil() const override { return true; }
    const FunctionFloatCeil* getCeilRef() const override { return this; }
    double operator()() const override
    {
        assert(arg);
        return exprcurve::operations::roundUp((*arg)());
    }
};

class FunctionFloatTan : public FunctionFloatUnary {
public:
    bool isTan() const override { return true; }
    const FunctionFloatTan* getTanRef() const override { return this; }
    double operator()() const override
    {
        assert(arg);
        return exprcurve::operations::tangent((*arg)());
    }
};

class FunctionFloatSin : public FunctionFloatUnary {
public:
    bool isSin() const override { return true; }
    const FunctionFloatSin* getSinRef() const override { return this; }
    double operator()() const override
    {
        assert(arg);
        return exprcurve::operations::sine((*arg)());
    }
};

class FunctionFloatCos : public FunctionFloatUnary {
public:
    bool isCos() const override { return true; }
    const FunctionFloatCos* getCosRef() const override { return this; }
    double operator()() const override
    {
        assert(arg);
        return exprcurve::operations::cosine((*arg)());
    }
};

class FunctionFloatTanH : public FunctionFloatUnary {
public:
    bool isTanH() const override { return true; }
    const FunctionFloatTanH* getTanHRef() const override { return this; }
    double operator()() const override
    {
        assert(arg);
        return exprcurve::operations::hyperbolicTangent((*arg)());
    }
};

class FunctionFloatSinH : public FunctionFloatUnary {
public:
    bool isSinH() const override { return true; }
    const FunctionFloatSinH* getSinHRef() const override { return this; }
    double operator()() const override
    {
        assert(arg);
        return exprcurve::operations::hyperbolicSine((*arg)());
    }
};

class FunctionFloatCosH : public FunctionFloatUnary {
public:
    bool isCosH() const override { return true; }
    const FunctionFloatCosH* getCosHRef() const override { return this; }
    double operator()() const override
    {
        assert(arg);
        return exprcurve::operations::hyperbolicCosine((*arg)());
    }
};

class FunctionFloatATan : public FunctionFloatUnary {
public:
    bool isATan() const override { return true; }
    const FunctionFloatATan* getATanRef() const override { return this; }
    double operator()() const override
    {
        assert(arg);
        return exprcurve::operations::arcTangent((*arg)());
    }
};

class FunctionFloatASin : public FunctionFloatUnary {
public:
    bool isASin() const override { return true; }
    const FunctionFloatASin* getASinRef() const override { return this; }
    double operator()() const override
    {
        assert(arg);
        return exprcurve::operations::arcSine((*arg)());
    }
};

class FunctionFloatACos : public FunctionFloatUnary {
public:
    bool isACos() const override { return true; }
    const FunctionFloatACos* getACosRef() const override { return this; }
    double operator()() const override
    {
        assert(arg);
        return exprcurve::operations::arcCosine((*arg)());
    }
};

class FunctionFloatSqrt : public FunctionFloatUnary {
public:
    bool isSqrt() const override { return true; }
    const FunctionFloatSqrt* getSqrtRef() const override { return this; }
    double operator()() const override
    {
        assert(arg);
        return exprcurve::operations::squareRoot((*arg)());
    }
};

class FunctionFloatAbs : public FunctionFloatUnary {
public:
    bool isAbs() const override { return true; }
    const FunctionFloatAbs* getAbsRef() const override { return this; }
    double operator()() const override
    {
        assert(arg);
        return exprcurve::operations::flipSignUnlessPositive((*arg)());
    }
};

class FunctionFloatLog : public FunctionFloatUnary {
public:
    bool isLog() const override { return true; }
    const FunctionFloatLog* getLogRef() const override { return this; }
    double operator()() const override
    {
        assert(arg);
        return exprcurve::operations::naturalLog((*arg)());
    }
};

class FunctionFloatL10 : public FunctionFloatUnary {
public:
    bool isL10() const override { return true; }
    const FunctionFloatL10* getL10Ref() const override { return this; }
    double operator()() const override
    {
        assert(arg);
        return exprcurve::operations::decimalLog((*arg)());
    }
};

class FunctionFloatExp : public FunctionFloatUnary {
public:
    bool isExp() const override { return true; }
    const FunctionFloatExp* getExpRef() const override { return this; }
    double operator()() const override
    {
        assert(arg);
        return exprcurve::operations::exponential((*arg)());
    }
};

// ---------------------------------------------------------------- binary operators

class FunctionFloatAdd : public FunctionFloatBinary {
public:
    bool isAdd() const override { return true; }
    const FunctionFloatAdd* getAddRef() const override { return this; }
    double operator()() const override
    {
        assert(arg1);
        assert(arg2);
        const double a = (*arg1)();
        const double b = (*arg2)();
        return exprcurve::operations::sum(a, b);
    }
};

class FunctionFloatSub : public FunctionFloatBinary {
public:
    bool isSub() const override { return true; }
    const FunctionFloatSub* getSubRef() const override { return this; }
    double operator()() const override
    {
        assert(arg1);
        assert(arg2);
        const double a = (*arg1)();
        const double b = (*arg2)();
        return exprcurve::operations::difference(a, b);
    }
};

class FunctionFloatMul : public FunctionFloatBinary {
public:
    bool isMul() const override { return true; }
    const FunctionFloatMul* getMulRef() const override { return this; }
    double operator()() const override
    {
        assert(arg1);
        assert(arg2);
        const double a = (*arg1)();
        const double b = (*arg2)();
        return exprcurve::operations::product(a, b);
    }
};

class FunctionFloatDiv : public FunctionFloatBinary {
public:
    bool isDiv() const override { return true; }
    const FunctionFloatDiv* getDivRef() const override { return this; }
    double operator()() const override
    {
        assert(arg1);
        assert(arg2);
        const double a = (*arg1)();
        const double b = (*arg2)();
        return exprcurve::operations::quotient(a, b);
    }
};

class FunctionFloatPow : public FunctionFloatBinary {
public:
    bool isPow() const override { return true; }
    const FunctionFloatPow* getPowRef() const override { return this; }
    double operator()() const override
    {
        assert(arg1);
        assert(arg2);
        const double a = (*arg1)();
        const double b = (*arg2)();
        return exprcurve::operations::toThePower(a, b);
    }
};

class FunctionFloatAnd : public FunctionFloatBinary {
public:
    bool isAnd() const override { return true; }
    const FunctionFloatAnd* getAndRef() const override { return this; }
    double operator()() const override
    {
        assert(arg1);
        assert(arg2);
        const double a = (*arg1)();
        const double b = (*arg2)();
        return exprcurve::operations::logicalAnd(a, b);
    }
};

class FunctionFloatOr : public FunctionFloatBinary {
public:
    bool isOr() const override { return true; }
    const FunctionFloatOr* getOrRef() const override { return this; }
    double operator()() const override
    {
        assert(arg1);
        assert(arg2);
        const double a = (*arg1)();
        const double b = (*arg2)();
        return exprcurve::operations::logicalOr(a, b);
    }
};

class FunctionFloatEql : public FunctionFloatBinary {
public:
    bool isEql() const override { return true; }
    const FunctionFloatEql* getEqlRef() const override { return this; }
    double operator()() const override
    {
        assert(arg1);
        assert(arg2);
        const double a = (*arg1)();
        const double b = (*arg2)();
        return exprcurve::operations::equal(a, b);
    }
};

class FunctionFloatGrt : public FunctionFloatBinary {
public:
    bool isGrt() const override { return true; }
    const FunctionFloatGrt* getGrtRef() const override { return this; }
    double operator()() const override
    {
        assert(arg1);
        assert(arg2);
        const double a = (*arg1)();
        const double b = (*arg2)();
        return exprcurve::operations::greater(a, b);
    }
};

class FunctionFloatLss : public FunctionFloatBinary {
public:
    bool isLss() const override { return true; }
    const FunctionFloatLss* getLssRef() const override { return this; }
    double operator()() const override
    {
        assert(arg1);
        assert(arg2);
        const double a = (*arg1)();
        const double b = (*arg2)();
        return exprcurve::operations::less(a, b);
    }
};

class FunctionFloatMax : public FunctionFloatBinary {
public:
    bool isMax() const override { return true; }
    const FunctionFloatMax* getMaxRef() const override { return this; }
    double operator()() const override
    {
        assert(arg1);
        assert(arg2);
        const double a = (*arg1)();
        const double b = (*arg2)();
        return exprcurve::operations::maximum(a, b);
    }
};

class FunctionFloatMin : public FunctionFloatBinary {
public:
    bool isMin() const override { return true; }
    const FunctionFloatMin* getMinRef() const override { return this; }
    double operator()() const override
    {
        assert(arg1);
        assert(arg2);
        const double a = (*arg1)();
        const double b = (*arg2)();
        return exprcurve::operations::minimum(a, b);
    }
};

// Deterministic noise: arg1 is the amplitude, arg2 the position (the parser
// binds it to the key "t"). Each node owns a table of 10000 samples in [0, 1)
// drawn from a process-wide generator when the node is constructed, so the
// n-th random node of a process always gets the same table. Construction is
// not thread-safe beyond the generator's one-time initialisation.
//
// It answers isBinary() but none of the per-operator binary queries, and
// evaluates without checking its children.
class FunctionFloatRnd : public FunctionFloatBinary {
public:
    FunctionFloatRnd();
    double operator()() const override;

    std::vector<double> randomTable;
};

// ---------------------------------------------------------------- ternary operator

// if(c, x, y): evaluates c, then only the selected branch. Only an exact zero
// (0.0 or -0.0) selects y; a NaN selects x.
class FunctionFloatIf : public FunctionFloatTernary {
public:
    bool isIf() const override { return true; }
    const FunctionFloatIf* getIfRef() const override { return this; }
    double operator()() const override
    {
        assert(arg1);
        assert(arg2);
        assert(arg3);
        return (*arg1)() == 0.0 ? (*arg3)() : (*arg2)();
    }
};

// ---------------------------------------------------------------- host calls

// name(x1, ..., xn) of a function the host defined: evaluates its arguments
// left to right and passes their values to `function` with `context`. Both
// were taken from the parser when the text was parsed, so a tree keeps
// calling what it was built with whatever the host defines later.
//
// It derives from none of the arity classes: its kind answers only
// isHostCall/getHostCallRef, and its arguments are arguments[0 .. arity-1].
// Whatever the function throws propagates out of operator() unchanged.
class FunctionFloatHostCall : public FunctionFloatBase {
public:
    static constexpr unsigned int maxArguments = 8;

    ~FunctionFloatHostCall() override;  // deletes the arguments, last first

    bool isHostCall() const override { return true; }
    const FunctionFloatHostCall* getHostCallRef() const override { return this; }
    double operator()() const override;

    std::string name;  // as the text called it, lower case
    HostFunction function = nullptr;
    void* context = nullptr;
    unsigned int arity = 0;
    FunctionFloatBase* arguments[maxArguments] = {};  // owned; the first `arity` are set
};

#endif  // EXPRCURVE_FUNCTIONFLOATBASE_H
