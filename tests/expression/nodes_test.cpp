// Classification, leaf evaluation, node text and ownership of the node tree.
#include <gtest/gtest.h>

#include <climits>
#include <cstring>
#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "functionfloatbase.h"

namespace {

using NodePtr = std::unique_ptr<FunctionFloatBase>;

// One isX/getXRef pair of a node class, asked of a node of type Owner.
template <class Owner>
struct QueryPair {
    std::string name;
    std::function<bool(const Owner&)> is;
    std::function<const FunctionFloatBase*(const Owner&)> ref;
};

#define QUERY_PAIR(Owner, X)                                                   \
    QueryPair<Owner>                                                           \
    {                                                                          \
        #X, [](const Owner& node) { return node.is##X(); },                    \
            [](const Owner& node) -> const FunctionFloatBase* { return node.get##X##Ref(); } \
    }

const std::vector<QueryPair<FunctionFloatBase>> kindPairs = {
    QUERY_PAIR(FunctionFloatBase, Constant),       QUERY_PAIR(FunctionFloatBase, Unary),
    QUERY_PAIR(FunctionFloatBase, Binary),         QUERY_PAIR(FunctionFloatBase, Ternary),
    QUERY_PAIR(FunctionFloatBase, VariableDouble), QUERY_PAIR(FunctionFloatBase, VariableFloat),
    QUERY_PAIR(FunctionFloatBase, VariableInt),    QUERY_PAIR(FunctionFloatBase, VariableBool),
};

const std::vector<QueryPair<FunctionFloatUnary>> unaryPairs = {
    QUERY_PAIR(FunctionFloatUnary, Cos),   QUERY_PAIR(FunctionFloatUnary, Sin),
    QUERY_PAIR(FunctionFloatUnary, Tan),   QUERY_PAIR(FunctionFloatUnary, Exp),
    QUERY_PAIR(FunctionFloatUnary, Log),   QUERY_PAIR(FunctionFloatUnary, L10),
    QUERY_PAIR(FunctionFloatUnary, Rnd),   QUERY_PAIR(FunctionFloatUnary, Abs),
    QUERY_PAIR(FunctionFloatUnary, Sqrt),  QUERY_PAIR(FunctionFloatUnary, ACos),
    QUERY_PAIR(FunctionFloatUnary, ASin),  QUERY_PAIR(FunctionFloatUnary, ATan),
    QUERY_PAIR(FunctionFloatUnary, CosH),  QUERY_PAIR(FunctionFloatUnary, SinH),
    QUERY_PAIR(FunctionFloatUnary, TanH),  QUERY_PAIR(FunctionFloatUnary, Ceil),
    QUERY_PAIR(FunctionFloatUnary, Floor), QUERY_PAIR(FunctionFloatUnary, J0),
    QUERY_PAIR(FunctionFloatUnary, J1),    QUERY_PAIR(FunctionFloatUnary, Neg),
};

const std::vector<QueryPair<FunctionFloatBinary>> binaryPairs = {
    QUERY_PAIR(FunctionFloatBinary, Add), QUERY_PAIR(FunctionFloatBinary, Sub),
    QUERY_PAIR(FunctionFloatBinary, Mul), QUERY_PAIR(FunctionFloatBinary, Div),
    QUERY_PAIR(FunctionFloatBinary, Pow), QUERY_PAIR(FunctionFloatBinary, And),
    QUERY_PAIR(FunctionFloatBinary, Or),  QUERY_PAIR(FunctionFloatBinary, Eql),
    QUERY_PAIR(FunctionFloatBinary, Grt), QUERY_PAIR(FunctionFloatBinary, Lss),
    QUERY_PAIR(FunctionFloatBinary, Max), QUERY_PAIR(FunctionFloatBinary, Min),
};

const std::vector<QueryPair<FunctionFloatTernary>> ternaryPairs = {
    QUERY_PAIR(FunctionFloatTernary, If),
};

#undef QUERY_PAIR

struct NodeClass {
    std::string kind;      // the one leaf or arity pair that answers true
    std::string operation; // its own per-operator pair, empty for none
    std::function<FunctionFloatBase*()> make;
};

template <class Node>
NodeClass nodeClass(const std::string& kind, const std::string& operation)
{
    return {kind, operation, [] { return new Node; }};
}

const std::vector<NodeClass> everyNodeClass = {
    nodeClass<FunctionFloatConstant>("Constant", ""),
    nodeClass<FunctionFloatVariableDouble>("VariableDouble", ""),
    nodeClass<FunctionFloatVariableFloat>("VariableFloat", ""),
    nodeClass<FunctionFloatVariableInt>("VariableInt", ""),
    nodeClass<FunctionFloatVariableBool>("VariableBool", ""),
    nodeClass<FunctionFloatNeg>("Unary", "Neg"),
    nodeClass<FunctionFloatJ0>("Unary", "J0"),
    nodeClass<FunctionFloatJ1>("Unary", "J1"),
    nodeClass<FunctionFloatFloor>("Unary", "Floor"),
    nodeClass<FunctionFloatCeil>("Unary", "Ceil"),
    nodeClass<FunctionFloatTan>("Unary", "Tan"),
    nodeClass<FunctionFloatSin>("Unary", "Sin"),
    nodeClass<FunctionFloatCos>("Unary", "Cos"),
    nodeClass<FunctionFloatTanH>("Unary", "TanH"),
    nodeClass<FunctionFloatSinH>("Unary", "SinH"),
    nodeClass<FunctionFloatCosH>("Unary", "CosH"),
    nodeClass<FunctionFloatATan>("Unary", "ATan"),
    nodeClass<FunctionFloatASin>("Unary", "ASin"),
    nodeClass<FunctionFloatACos>("Unary", "ACos"),
    nodeClass<FunctionFloatSqrt>("Unary", "Sqrt"),
    nodeClass<FunctionFloatAbs>("Unary", "Abs"),
    nodeClass<FunctionFloatLog>("Unary", "Log"),
    nodeClass<FunctionFloatL10>("Unary", "L10"),
    nodeClass<FunctionFloatExp>("Unary", "Exp"),
    nodeClass<FunctionFloatAdd>("Binary", "Add"),
    nodeClass<FunctionFloatSub>("Binary", "Sub"),
    nodeClass<FunctionFloatMul>("Binary", "Mul"),
    nodeClass<FunctionFloatDiv>("Binary", "Div"),
    nodeClass<FunctionFloatPow>("Binary", "Pow"),
    nodeClass<FunctionFloatAnd>("Binary", "And"),
    nodeClass<FunctionFloatOr>("Binary", "Or"),
    nodeClass<FunctionFloatEql>("Binary", "Eql"),
    nodeClass<FunctionFloatGrt>("Binary", "Grt"),
    nodeClass<FunctionFloatLss>("Binary", "Lss"),
    nodeClass<FunctionFloatMax>("Binary", "Max"),
    nodeClass<FunctionFloatMin>("Binary", "Min"),
    nodeClass<FunctionFloatRnd>("Binary", ""),
    nodeClass<FunctionFloatIf>("Ternary", "If"),
};

// Every pair answers true and the node itself exactly when it is `own`, and
// false and null otherwise.
template <class Owner>
void expectOnlyOwnPair(const Owner& node, const std::vector<QueryPair<Owner>>& pairs,
                       const std::string& own)
{
    for (const auto& pair : pairs) {
        SCOPED_TRACE(pair.name);
        const bool isOwn = pair.name == own;
        EXPECT_EQ(pair.is(node), isOwn);
        EXPECT_EQ(pair.ref(node), isOwn ? static_cast<const FunctionFloatBase*>(&node) : nullptr);
    }
}

TEST(NodeClassification, EveryClassAnswersOnlyItsOwnPairs)
{
    for (const NodeClass& nodeClass : everyNodeClass) {
        SCOPED_TRACE(nodeClass.kind + " " + nodeClass.operation);
        const NodePtr node(nodeClass.make());
        expectOnlyOwnPair(*node, kindPairs, nodeClass.kind);
        if (const FunctionFloatUnary* unary = node->getUnaryRef()) {
            expectOnlyOwnPair(*unary, unaryPairs, nodeClass.operation);
        }
        if (const FunctionFloatBinary* binary = node->getBinaryRef()) {
            expectOnlyOwnPair(*binary, binaryPairs, nodeClass.operation);
        }
        if (const FunctionFloatTernary* ternary = node->getTernaryRef()) {
            expectOnlyOwnPair(*ternary, ternaryPairs, nodeClass.operation);
        }
    }
}

TEST(NodeClassification, EveryClassOfTheTreeIsCovered)
{
    // 1 constant, 4 variables, 19 unary, 13 binary and 1 ternary classes.
    EXPECT_EQ(everyNodeClass.size(), 38u);
    int unaryCount = 0;
    for (const NodeClass& nodeClass : everyNodeClass) {
        unaryCount += nodeClass.kind == "Unary";
    }
    EXPECT_EQ(unaryCount, 19);
}

TEST(LeafEvaluation, ConstantReturnsItsValue)
{
    FunctionFloatConstant constant(-2.5);
    EXPECT_EQ(constant(), -2.5);
    constant.value = 7.0;
    EXPECT_EQ(constant(), 7.0);
    EXPECT_EQ(FunctionFloatConstant()(), 0.0);
}

TEST(LeafEvaluation, BoolLeafReadsTheStoredByte)
{
    bool flag = true;
    FunctionFloatVariableBool leaf(&flag);
    EXPECT_EQ(leaf(), 1.0);
    flag = false;
    EXPECT_EQ(leaf(), 0.0);
    const unsigned char unusualTrue = 2;
    std::memcpy(&flag, &unusualTrue, 1);
    EXPECT_EQ(leaf(), 1.0);
}

TEST(LeafEvaluation, FloatLeafWidensTheStoredFloat)
{
    float stored = 0.1f;
    FunctionFloatVariableFloat leaf(&stored);
    EXPECT_EQ(leaf(), 0.100000001490116119384765625);
    EXPECT_NE(leaf(), 0.1);
}

TEST(LeafEvaluation, IntLeafConvertsExactly)
{
    int stored = INT_MAX;
    FunctionFloatVariableInt leaf(&stored);
    EXPECT_EQ(leaf(), 2147483647.0);
    stored = INT_MIN;
    EXPECT_EQ(leaf(), -2147483648.0);
}

TEST(LeafEvaluation, DoubleLeafFollowsTheHostVariable)
{
    double stored = 1.25;
    FunctionFloatVariableDouble leaf;
    leaf.control = &stored;
    EXPECT_EQ(leaf(), 1.25);
    stored = -0.0;
    EXPECT_TRUE(std::signbit(leaf()));
}

TEST(NodeText, GetStringReturnsOnlyTheNodesOwnText)
{
    FunctionFloatAdd sum;
    EXPECT_EQ(sum.getString(), "");
    auto* left = new FunctionFloatConstant(1.0);
    auto* right = new FunctionFloatConstant(2.0);
    left->text = "1";
    right->text = "2";
    sum.arg1 = left;
    sum.arg2 = right;
    EXPECT_EQ(sum.getString(), "");
    sum.text = "1+2";
    std::string copy = sum.getString();
    copy += "!";
    EXPECT_EQ(sum.getString(), "1+2");
}

// A node of class Node that logs its id when it is destroyed, before the
// base class deletes its children.
template <class Node>
class Recorded : public Node {
public:
    Recorded(int id, std::vector<int>& log) : id(id), log(log) {}
    ~Recorded() override { log.push_back(id); }

private:
    int id;
    std::vector<int>& log;
};

TEST(NodeOwnership, DeletingTheRootDeletesEveryNodeOnceRightToLeft)
{
    std::vector<int> log;
    auto* sum = new Recorded<FunctionFloatAdd>(2, log);
    sum->arg1 = new Recorded<FunctionFloatConstant>(21, log);
    sum->arg2 = new Recorded<FunctionFloatConstant>(22, log);
    auto* cosine = new Recorded<FunctionFloatCos>(3, log);
    cosine->arg = new Recorded<FunctionFloatConstant>(31, log);
    auto* noise = new Recorded<FunctionFloatRnd>(4, log);
    noise->arg1 = new Recorded<FunctionFloatConstant>(41, log);
    noise->arg2 = new Recorded<FunctionFloatConstant>(42, log);
    auto* root = new Recorded<FunctionFloatIf>(1, log);
    root->arg1 = sum;
    root->arg2 = cosine;
    root->arg3 = noise;

    delete static_cast<FunctionFloatBase*>(root);
    EXPECT_EQ(log, (std::vector<int>{1, 4, 42, 41, 3, 31, 2, 22, 21}));
}

TEST(NodeOwnership, BinaryWithoutSecondChildDeletesOnlyTheFirst)
{
    std::vector<int> log;
    auto* node = new FunctionFloatMul;
    node->arg1 = new Recorded<FunctionFloatConstant>(1, log);
    delete node;
    EXPECT_EQ(log, (std::vector<int>{1}));
}

TEST(NodeOwnership, ChildlessInnerNodesDeleteNothing)
{
    std::vector<int> log;
    delete new Recorded<FunctionFloatNeg>(1, log);
    delete new Recorded<FunctionFloatIf>(2, log);
    EXPECT_EQ(log, (std::vector<int>{1, 2}));
}

}  // namespace
