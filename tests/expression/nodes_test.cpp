// Classification, leaf evaluation, node text and ownership of the node tree.
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

// One isX/getXRef pair, asked of a node of type Owner.
template <class Owner>
struct QueryPair {
    const char* name;
    bool (*is)(const Owner&);
    const FunctionFloatBase* (*ref)(const Owner&);
};

#define PAIR(Owner, X)                                                   \
    QueryPair<Owner>{#X, [](const Owner& node) { return node.is##X(); }, \
                     [](const Owner& node) -> const FunctionFloatBase* { return node.get##X##Ref(); }},
#define BASE_PAIR(X) PAIR(FunctionFloatBase, X)
#define UNARY_PAIR(X) PAIR(FunctionFloatUnary, X)
#define BINARY_PAIR(X) PAIR(FunctionFloatBinary, X)

const std::vector<QueryPair<FunctionFloatBase>> kindPairs = {
    LEAVES(BASE_PAIR) BASE_PAIR(Unary) BASE_PAIR(Binary) BASE_PAIR(Ternary)};
const std::vector<QueryPair<FunctionFloatUnary>> unaryPairs = {
    UNARY_OPERATIONS(UNARY_PAIR) UNARY_PAIR(Rnd)};
const std::vector<QueryPair<FunctionFloatBinary>> binaryPairs = {BINARY_OPERATIONS(BINARY_PAIR)};
const std::vector<QueryPair<FunctionFloatTernary>> ternaryPairs = {PAIR(FunctionFloatTernary, If)};

struct NodeClass {
    const char* kind;       // the one leaf or arity pair that answers true
    const char* operation;  // its own per-operator pair, empty for none
    FunctionFloatBase* (*make)();
};

#define NODE_CLASS(Kind, Operation, X) \
    NodeClass{Kind, Operation, []() -> FunctionFloatBase* { return new FunctionFloat##X; }},
#define LEAF_CLASS(X) NODE_CLASS(#X, "", X)
#define UNARY_CLASS(X) NODE_CLASS("Unary", #X, X)
#define BINARY_CLASS(X) NODE_CLASS("Binary", #X, X)

const NodeClass everyNodeClass[] = {
    LEAVES(LEAF_CLASS) UNARY_OPERATIONS(UNARY_CLASS) BINARY_OPERATIONS(BINARY_CLASS)
    NODE_CLASS("Binary", "", Rnd) NODE_CLASS("Ternary", "If", If)};

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
        SCOPED_TRACE(std::string(nodeClass.kind) + " " + nodeClass.operation);
        const std::unique_ptr<FunctionFloatBase> node(nodeClass.make());
        EXPECT_TRUE(node->text.empty());
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

TEST(LeafEvaluation, LeavesConvertAndFollowTheHostVariable)
{
    EXPECT_EQ(FunctionFloatConstant(-2.5)(), -2.5);
    const float tenth = 0.1f;
    EXPECT_EQ(FunctionFloatVariableFloat(&tenth)(), 0.100000001490116119384765625);
    bool flag = true;
    const FunctionFloatVariableBool boolLeaf(&flag);
    EXPECT_EQ(boolLeaf(), 1.0);
    flag = false;
    EXPECT_EQ(boolLeaf(), 0.0);
    int count = INT_MIN;
    const FunctionFloatVariableInt intLeaf(&count);
    EXPECT_EQ(intLeaf(), -2147483648.0);
    count = INT_MAX;
    EXPECT_EQ(intLeaf(), 2147483647.0);
    double stored = 1.25;
    const FunctionFloatVariableDouble doubleLeaf(&stored);
    EXPECT_EQ(doubleLeaf(), 1.25);
    stored = -0.0;
    EXPECT_TRUE(std::signbit(doubleLeaf()));
}

TEST(NodeText, GetStringReturnsOnlyTheNodesOwnText)
{
    FunctionFloatNeg node;
    node.arg = new FunctionFloatConstant(1.0);
    node.arg->text = "1";
    EXPECT_EQ(node.getString(), "");
    node.text = "not(1)";
    EXPECT_EQ(node.getString(), "not(1)");
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
