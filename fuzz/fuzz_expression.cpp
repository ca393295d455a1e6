// Any byte string is an expression text: it must parse to a tree, report its
// faults with sane positions, evaluate, list its variables and be deleted
// without a sanitizer report.
//
// Input: 17 bytes of host values (double, float, int, bool), then the text.
// A shorter input is all text, with the values zero.
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <set>
#include <string>
#include <utility>
#include <vector>

#include "compiledexpression.h"
#include "diagnostics.h"
#include "functionfloatbase.h"
#include "functionparserbase.h"
#include "fuzz_support.h"
#include "parservarmapper.h"
#include "plain_variable_discovery.h"

namespace {

constexpr std::size_t valuesSize = 8 + 4 + 4 + 1;

struct HostValues {
    double x = 0.0;
    float y = 0.0f;
    int n = 0;
    bool b = false;
    double mapped = 0.0;
    double array[4] = {};
    float field = 0.0f;
    int unknownKind = 0;
};

HostValues host;

constexpr std::size_t randomNodeBound = 4;

using fuzz_support::require;

std::uint64_t bitsOf(double value)
{
    std::uint64_t bits;
    std::memcpy(&bits, &value, sizeof value);
    return bits;
}

// Knows a few shapes of name: 'mx', 'obj.field', 'arr[i]' for i in 0..3, and
// 'seven'; null for everything else. Every name goes through the splitting
// helpers, which must cope with any text.
class FuzzMapper : public ParserVarMapper {
public:
    FunctionFloatBase* mapVariable(const std::string& name) override
    {
        std::string base;
        std::string field;
        splitVarName(name, base, field);
        const int index = extractArrayIndex(name);
        if (name == "mx")
            return createDoubleVar(&host.mapped);
        if (name == "seven")
            return new FunctionFloatConstant(7.0);
        if (base == "obj" && field == "field")
            return createFloatVar(&host.field);
        if (base == "arr" && index >= 0 && index < 4)
            return createDoubleVar(&host.array[index]);
        return nullptr;
    }
};

double hostHalf(const double* v, void*) { return v[0] / 2; }
double hostLerp(const double* v, void*) { return v[0] + (v[1] - v[0]) * v[2]; }
double hostNow(const double*, void* context) { return *static_cast<const double*>(context); }
double hostSum(const double* v, void*)
{
    double total = 0;
    for (int i = 0; i < 8; ++i)
        total = total * 0.5 + v[i];
    return total;
}

// Every described fault and every warning lies within the typed text, and
// each fault has its entry.
void checkDiagnostics(const std::string& text, const ParseMessage& message)
{
    const auto within = [&](const exprcurve::Diagnostic& d) {
        require(d.position >= 0 && d.length >= 0, "diagnostic range not negative");
        require(static_cast<std::size_t>(d.position) + static_cast<std::size_t>(d.length) <= text.size(),
                "diagnostic range within the typed text");
        require(!d.message.empty(), "diagnostic has a message");
    };
    const std::vector<exprcurve::Diagnostic> faults = exprcurve::describeFaults(text, message);
    require(faults.size() == message.errors.size(), "one description per fault");
    for (const exprcurve::Diagnostic& d : faults)
        within(d);
    for (const exprcurve::Diagnostic& d : exprcurve::lint(text))
        within(d);
}

FunctionParserBase& fuzzParser()
{
    static FunctionParserBase parser;
    static FuzzMapper mapper;
    static const bool prepared = [] {
        parser.insertKey("x", &host.x);
        parser.insertKey("y", &host.y);
        parser.insertKey("n", &host.n);
        parser.insertKey("b", &host.b);
        parser.insertKey("pos.x", &host.x);
        // A kind code that is none of the four reads like an unknown name.
        parser.insertKey(FunctionParserBase::keyStruct{"k", 9, &host.unknownKind});
        parser.setVarMapper(&mapper);
        // Host functions of several arities, one a key's name as well.
        parser.defineFunction("x", 1, hostHalf);
        parser.defineFunction("lerp", 3, hostLerp);
        parser.defineFunction("now", 0, hostNow, &host.mapped);
        parser.defineFunction("w8", 8, hostSum);
        // Random nodes are costly to build; past the bound a call is a fault.
        parser.maxRandomNodes = randomNodeBound;
        return true;
    }();
    (void)prepared;
    return parser;
}

void takeHostValues(const std::uint8_t* data)
{
    std::memcpy(&host.x, data, 8);
    std::memcpy(&host.y, data + 8, 4);
    std::memcpy(&host.n, data + 12, 4);
    host.b = (data[16] & 1) != 0;
    host.mapped = host.x;
    for (double& element : host.array)
        element = host.x + 1.0;
    host.field = host.y;
}

void checkMessage(const ParseMessage& message)
{
    for (const std::pair<int, int>& fault : message.errors) {
        require(fault.first >= 0, "fault position >= 0");
        require(fault.second >= 0, "fault length >= 0");
    }
    require(message.errors.empty() == (message.errorCode == PARSE_OK), "errorCode matches errors");
}

void checkVariables(FunctionParserBase& parser, const FunctionFloatBase* tree)
{
    const std::vector<FunctionParserBase::keyStruct*> vars = parser.getAllVars(tree);
    require(vars == plain_variable_discovery::allVars(parser, tree), "getAllVars follows its definition");
    std::set<const FunctionParserBase::keyStruct*> seen;
    for (const FunctionParserBase::keyStruct* key : vars) {
        require(seen.insert(key).second, "each variable listed once");
        if (key == nullptr)
            continue;
        bool inTable = false;
        for (const auto& entry : parser.keyMap)
            inTable = inTable || &entry.second == key;
        require(inTable, "listed keys belong to the parser's table");
    }
}

std::size_t randomNodesIn(const FunctionFloatBase* root)
{
    std::size_t count = 0;
    std::vector<const FunctionFloatBase*> pending{root};
    while (!pending.empty()) {
        const FunctionFloatBase* node = pending.back();
        pending.pop_back();
        if (!node)
            continue;
        count += dynamic_cast<const FunctionFloatRnd*>(node) != nullptr;
        if (const FunctionFloatUnary* unary = node->getUnaryRef())
            pending.push_back(unary->arg);
        if (const FunctionFloatBinary* binary = node->getBinaryRef())
            pending.insert(pending.end(), {binary->arg1, binary->arg2});
        if (const FunctionFloatTernary* ternary = node->getTernaryRef())
            pending.insert(pending.end(), {ternary->arg1, ternary->arg2, ternary->arg3});
    }
    return count;
}

// The same result to the bit, except that any NaN equals any NaN: when both
// operands of an operation are NaN, which payload survives depends on the
// operand order the compiler chose for a commutative operation, in the tree's
// own evaluation as much as in the compiled program.
bool sameResult(double a, double b)
{
    return bitsOf(a) == bitsOf(b) || (a != a && b != b);
}

// A batch over rows built from the host's values (special values among
// them) must give, row by row, what the tree gives with those values
// written, and leave the host's variables as they were.
void checkBatch(const exprcurve::CompiledExpression& compiled, const FunctionFloatBase& tree)
{
    constexpr std::size_t rows = 7;  // not a whole number of lanes
    const double xs[rows] = {host.x, -host.x, 0.0, -0.0, host.x * 3.0, HUGE_VAL, host.array[1]};
    const float ys[rows] = {host.y, 0.5f, -host.y, host.y, 0.0f, host.y * 2.0f, -0.0f};
    const int ns[rows] = {host.n, 0, 1, -host.n, host.n ^ 3, 7, host.n};
    const bool bs[rows] = {host.b, !host.b, true, false, host.b, true, false};
    const exprcurve::Column columns[] = {{&host.x, xs}, {&host.y, ys}, {&host.n, ns}, {&host.b, bs}};
    // Listed in pieces: the first column alone, then all four.
    for (const std::size_t columnCount : {std::size_t{1}, std::size_t{4}}) {
        const HostValues before = host;
        double results[rows];
        compiled.evaluate(rows, columns, columnCount, results);
        require(bitsOf(before.x) == bitsOf(host.x) && std::memcmp(&before.y, &host.y, sizeof host.y) == 0 &&
                    before.n == host.n && before.b == host.b,
                "a batch writes no host variable");
        for (std::size_t row = 0; row < rows; ++row) {
            host.x = xs[row];
            if (columnCount == 4)
                host.y = ys[row], host.n = ns[row], host.b = bs[row];
            require(sameResult(results[row], tree()), "each batch row matches the tree");
            host = before;
        }
    }
}

// The compiled form must give the tree's result, also as a copy and after a
// move, and again after the host's values change.
void checkCompiled(const FunctionFloatBase* tree)
{
    const exprcurve::CompiledExpression compiled(tree);
    require(sameResult(compiled(), (*tree)()), "compiled evaluation matches the tree");
    const exprcurve::CompiledExpression interpreted(tree, exprcurve::CompiledExpression::Backend::Interpreter);
    require(sameResult(interpreted(), (*tree)()), "the interpreted program matches the tree");
    exprcurve::CompiledExpression copy(compiled);
    const exprcurve::CompiledExpression moved(std::move(copy));
    host.x = -host.x + 0.5;
    host.n = host.n ^ 5;
    host.b = !host.b;
    host.y = host.y * 2.0f;
    host.array[2] = -host.array[2];
    require(sameResult(moved(), (*tree)()), "a moved copy matches the tree");
    require(sameResult(compiled(), (*tree)()), "compiled evaluation reads variables anew");
    require(sameResult(interpreted(), (*tree)()), "the interpreted program reads variables anew");
    checkBatch(compiled, *tree);
    checkBatch(interpreted, *tree);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    host = HostValues{};
    if (size >= valuesSize) {
        takeHostValues(data);
        data += valuesSize;
        size -= valuesSize;
    }
    const std::string text(reinterpret_cast<const char*>(data), size);
    FunctionParserBase& parser = fuzzParser();

    ParseMessage message{};
    std::unique_ptr<FunctionFloatBase> tree(parser.parseString(text, message));
    require(tree != nullptr, "parseString returns a tree");
    require(tree->text == message.text, "the root carries the normalised text");
    checkMessage(message);
    checkDiagnostics(text, message);
    require(randomNodesIn(tree.get()) <= randomNodeBound, "no more random nodes than the bound");

    // Evaluation changes nothing, so a second one gives the same bits.
    const double first = (*tree)();
    require(bitsOf((*tree)()) == bitsOf(first), "evaluation is repeatable");
    checkVariables(parser, tree.get());
    checkCompiled(tree.get());

    // The same record serves a second parse of the same text identically.
    const ParseMessage firstMessage = message;
    std::unique_ptr<FunctionFloatBase> again(parser.parseString(text, message));
    require(message.text == firstMessage.text && message.errors == firstMessage.errors &&
                message.errorCode == firstMessage.errorCode,
            "a reused message gives the same report");
    return 0;
}
