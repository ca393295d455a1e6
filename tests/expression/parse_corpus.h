// Test helper: a reproducible corpus of expression texts and a complete
// account of what the parser makes of each one (tree shape, faults, final
// position, value bits). A recording of these accounts, made by
// record_parse_corpus with an earlier build, pins the parser's behaviour: a
// change to the builder must leave every line as it was.
//
// The account uses only the node classes' own queries, so that it does not
// depend on any table the library keeps of itself.
#ifndef EXPRCURVE_TESTS_PARSE_CORPUS_H
#define EXPRCURVE_TESTS_PARSE_CORPUS_H

#include <cinttypes>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <memory>
#include <random>
#include <string>
#include <utility>
#include <vector>

#include "functionfloatbase.h"
#include "functionparserbase.h"

namespace parse_corpus {

// Raw engine outputs only: the standard distributions differ between
// standard libraries, the engine does not.
class TextMaker {
public:
    explicit TextMaker(std::uint32_t seed) : engine(seed) {}

    std::string text()
    {
        std::string out;
        expression(out, 0);
        if (pick(6) == 0)
            noise(out);
        return out;
    }

private:
    unsigned pick(unsigned n) { return static_cast<unsigned>(engine() % n); }

    void operand(std::string& out)
    {
        static const char* const operands[] = {
            "x", "y", "a", "b", "c", "X", "pi", "e", "epsilon", "foo", "t", "2", "0.5", "1.2.3",
            ".", "10", "3x", "2pi", "1e-5", "2.5E3", "x2y", "exp", "sin", "", "a,b", "{x}"};
        out += operands[pick(sizeof operands / sizeof *operands)];
    }

    void call(std::string& out, int depth)
    {
        static const char* const names[] = {
            "if", "max", "min", "exp", "log10", "log", "rnd", "abs", "sqrt", "acos", "asin", "atan",
            "cosh", "sinh", "tanh", "cos", "sin", "tan", "ceil", "floor", "j0", "j1", "not", "foo", "Sin"};
        out += names[pick(sizeof names / sizeof *names)];
        if (pick(8) == 0)
            out += ' ';
        const bool braces = pick(6) == 0;
        out += braces ? '{' : '(';
        const unsigned arguments = pick(5);
        for (unsigned i = 0; i < arguments; ++i) {
            if (i > 0)
                out += ',';
            expression(out, depth + 1);
        }
        if (pick(12) != 0)
            out += braces ? '}' : ')';
    }

    void expression(std::string& out, int depth)
    {
        const unsigned kind = depth > 4 ? 0 : pick(6);
        if (kind <= 1) {
            operand(out);
        } else if (kind == 2) {
            call(out, depth);
        } else if (kind == 3) {
            out += pick(2) == 0 ? "(" : "{";
            expression(out, depth + 1);
            if (pick(10) != 0)
                out += out[out.find_last_of("({")] == '(' ? ")" : "}";
        } else {
            static const char operators[] = "|&=><+-*/^";
            if (pick(5) == 0)
                out += '-';
            expression(out, depth + 1);
            if (pick(6) == 0)
                out += ' ';
            out += operators[pick(10)];
            if (pick(8) == 0)
                out += "-";
            expression(out, depth + 1);
        }
    }

    void noise(std::string& out)
    {
        static const char characters[] = "()){},+-*/^ \t2xA.=";
        const std::size_t at = out.empty() ? 0 : pick(static_cast<unsigned>(out.size()));
        out.insert(at, 1, characters[pick(sizeof characters - 1)]);
    }

    std::mt19937 engine;
};

inline std::string shape(const FunctionFloatBase* node)
{
    if (!node)
        return "null";
    if (const FunctionFloatConstant* constant = node->getConstantRef()) {
        char buffer[40];
        std::snprintf(buffer, sizeof buffer, "%.17g", constant->value);
        return buffer;
    }
    if (node->isVariableDouble() || node->isVariableFloat() || node->isVariableInt() ||
        node->isVariableBool())
        return node->text;
    if (const FunctionFloatUnary* u = node->getUnaryRef()) {
        using U = FunctionFloatUnary;
        static const std::pair<bool (U::*)() const, const char*> queries[] = {
            {&U::isCos, "cos"},   {&U::isSin, "sin"},   {&U::isTan, "tan"},   {&U::isExp, "exp"},
            {&U::isLog, "log"},   {&U::isL10, "l10"},   {&U::isAbs, "abs"},   {&U::isSqrt, "sqrt"},
            {&U::isACos, "acos"}, {&U::isASin, "asin"}, {&U::isATan, "atan"}, {&U::isCosH, "cosh"},
            {&U::isSinH, "sinh"}, {&U::isTanH, "tanh"}, {&U::isCeil, "ceil"}, {&U::isFloor, "floor"},
            {&U::isJ0, "j0"},     {&U::isJ1, "j1"},     {&U::isNeg, "neg"}};
        std::string name = "unary?";
        for (const auto& [query, label] : queries)
            if ((u->*query)())
                name = label;
        return name + "(" + shape(u->arg) + ")";
    }
    if (const FunctionFloatBinary* b = node->getBinaryRef()) {
        using B = FunctionFloatBinary;
        static const std::pair<bool (B::*)() const, const char*> queries[] = {
            {&B::isAdd, "add"}, {&B::isSub, "sub"}, {&B::isMul, "mul"}, {&B::isDiv, "div"},
            {&B::isPow, "pow"}, {&B::isAnd, "and"}, {&B::isOr, "or"},   {&B::isEql, "eql"},
            {&B::isGrt, "grt"}, {&B::isLss, "lss"}, {&B::isMax, "max"}, {&B::isMin, "min"}};
        std::string name = "rnd";
        for (const auto& [query, label] : queries)
            if ((b->*query)())
                name = label;
        return name + "(" + shape(b->arg1) + "," + shape(b->arg2) + ")";
    }
    if (const FunctionFloatTernary* t = node->getTernaryRef())
        return std::string(t->isIf() ? "if" : "ternary?") + "(" + shape(t->arg1) + "," + shape(t->arg2) +
               "," + shape(t->arg3) + ")";
    return "other";
}

// The parser every account is made with: five double keys and the built-in
// constants.
struct Host {
    Host()
    {
        const char* names[] = {"x", "y", "a", "b", "c"};
        for (int k = 0; k < 5; ++k)
            parser.insertKey(names[k], &values[k]);
    }
    double values[5] = {2.5, -3, 0.125, 7, 1e-3};
    FunctionParserBase parser;
};

// One line: the text's bytes in hex (texts hold tabs and may hold anything),
// the normalised text, the shape, the faults, code and final position, and
// the value's bits. A random node's table depends on how many random nodes
// the process built before, so texts with one give no value.
inline std::string account(FunctionParserBase& parser, const std::string& text)
{
    ParseMessage message{};
    std::unique_ptr<FunctionFloatBase> root(parser.parseString(text, message));
    std::string line;
    char hex[3];
    for (unsigned char c : text) {
        std::snprintf(hex, sizeof hex, "%02x", c);
        line += hex;
    }
    line += "\t" + message.text + "\t" + shape(root.get()) + "\t";
    for (const auto& [position, length] : message.errors)
        line += std::to_string(position) + ":" + std::to_string(length) + " ";
    line += "\t" + std::to_string(message.errorCode) + "\t" + std::to_string(message.position) + "\t";
    if (message.text.find("rnd") == std::string::npos) {
        const double value = (*root)();
        std::uint64_t bits;
        std::memcpy(&bits, &value, sizeof bits);
        char buffer[20];
        std::snprintf(buffer, sizeof buffer, "%016" PRIx64, bits);
        line += buffer;
    }
    return line;
}

constexpr std::uint32_t seed = 20240614;
constexpr int textCount = 4000;

}  // namespace parse_corpus

#endif  // EXPRCURVE_TESTS_PARSE_CORPUS_H
