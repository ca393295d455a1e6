// Classification, leaf evaluation and ownership of the node tree.
#include <gtest/gtest.h>

#include <climits>
#include <cmath>
#include <memory>
#include <string>
#include <vector>

#include "functionfloatbase.h"

namespace {

// The short names X of the isX/getXRef pairs, one per node class (the
// random node aside, which answers none of the per-operator pairs).
#define LEAVES(X) X(Constant) X(VariableDouble) X(VariableFloat) X(VariableInt) X(VariableBool)
#define UNARY_OPERATIONS(X)                                                                  \
    X(Cos) X(Sin) X(Tan) X(Exp) X(Log) X(L10) X(Abs) X(Sqrt) X(ACos) X(ASin) X(ATan) X(CosH) \
    X(SinH) X(TanH) X(Ceil) X(Floor) X(J0) X(J1) X(Neg)
#define BINARY_OPERATIONS(X) \
    X(Add) X(Sub) X(Mul) X(Div) X(Pow) X(And) X(Or) X(Eql) X(Grt) X(Lss) X(Max) X(Min)

// The names of the pairs that answer true, each getXRef having been checked
// to give the node itself exactly when its isX is true.
std::string trueQueries(const FunctionFloatBase& node)
{
    std::string names;
    const auto ask = [&](const char* name, bool is, const FunctionFloatBase* ref) {
        EXPECT_EQ(ref, is ? &node : nullptr) << name;
        names += is ? std::string(names.empty() ? "" : " ") + name : "";
    };
#define ASK(X) ask(#X, owner->is##X(), owner->get##X##Ref());
    { const FunctionFloatBase* owner = &node; LEAVES(ASK) ASK(Unary) ASK(Binary) ASK(Ternary) }
    if (const FunctionFloatUnary* owner = node.getUnaryRef()) { UNARY_OPERATIONS(ASK) ASK(Rnd) }
    if (const FunctionFloatBinary* owner = node.getBinaryRef()) { BINARY_OPERATIONS(ASK) }
    if (const FunctionFloatTernary* owner = node.getTernaryRef()) { ASK(If) }
#undef ASK
    return names;
}

TEST(NodeClassification, EveryClassAnswersOnlyItsOwnPairs)
{
#define NODE_CLASS(expected, X) {expected, []() -> FunctionFloatBase* { return new FunctionFloat##X; }},
#define LEAF_CLASS(X) NODE_CLASS(#X, X)
#define UNARY_CLASS(X) NODE_CLASS("Unary " #X, X)
#define BINARY_CLASS(X) NODE_CLASS("Binary " #X, X)
    const std::pair<const char*, FunctionFloatBase* (*)()> everyNodeClass[] = {
        LEAVES(LEAF_CLASS) UNARY_OPERATIONS(UNARY_CLASS) BINARY_OPERATIONS(BINARY_CLASS)
        NODE_CLASS("Binary", Rnd) NODE_CLASS("Ternary If", If)};
#undef NODE_CLASS
#undef LEAF_CLASS
#undef UNARY_CLASS
#undef BINARY_CLASS
    for (const auto& [expected, make] : everyNodeClass) {
        const std::unique_ptr<FunctionFloatBase> node(make());
        EXPECT_TRUE(node->text.empty());
        EXPECT_EQ(trueQueries(*node), expected);
    }
}

#undef LEAVES
#undef UNARY_OPERATIONS
#undef BINARY_OPERATIONS

TEST(LeafEvaluation, LeavesConvertAndFollowTheHostVariable)
{
    const float tenth = 0.1f;
    const bool flag = true;
    const double negativeZero = -0.0;
    int count = INT_MIN;
    const FunctionFloatVariableInt intLeaf(&count);
    EXPECT_EQ(intLeaf(), -2147483648.0);
    count = INT_MAX;
    EXPECT_EQ(intLeaf(), 2147483647.0);
    EXPECT_EQ(FunctionFloatVariableFloat(&tenth)(), 0.100000001490116119384765625);
    EXPECT_EQ(FunctionFloatVariableBool(&flag)(), 1.0);
    EXPECT_TRUE(std::signbit(FunctionFloatVariableDouble(&negativeZero)()));
}

// A node of class Node that logs its id when it is destroyed, before the
// base class deletes its children.
template <class Node>
struct Recorded : Node {
    Recorded(int id, std::vector<int>& log) : id(id), log(log) {}
    ~Recorded() override { log.push_back(id); }
    int id;
    std::vector<int>& log;
};

TEST(NodeOwnership, DeletingTheRootDeletesEveryPresentNodeOnceRightToLeft)
{
    std::vector<int> log;
    auto* sum = new Recorded<FunctionFloatAdd>(2, log);
    sum->arg1 = new Recorded<FunctionFloatConstant>(21, log);  // arg2 left missing
    auto* cosine = new Recorded<FunctionFloatCos>(3, log);
    cosine->arg = new Recorded<FunctionFloatConstant>(31, log);
    auto* noise = new Recorded<FunctionFloatRnd>(4, log);
    noise->arg1 = new Recorded<FunctionFloatConstant>(41, log);
    noise->arg2 = new Recorded<FunctionFloatNeg>(42, log);  // with no operand
    auto* root = new Recorded<FunctionFloatIf>(1, log);
    root->arg1 = sum;
    root->arg2 = cosine;
    root->arg3 = noise;
    delete static_cast<FunctionFloatBase*>(root);
    EXPECT_EQ(log, (std::vector<int>{1, 4, 42, 41, 3, 31, 2, 21}));
}

}  // namespace
