// The tree builder: a recursive splitter over the normalised text.
//
// Each level strips its enclosing bracket pairs, then tries the operators
// from the loosest to the tightest (each split at its leftmost occurrence, so
// every operator groups to the right), then the call forms, and otherwise
// reads the whole text as one operand. The message's position follows the
// text character by character so that faults are reported where they are.
//
// The levels work on views of one text, so no level copies its substrings,
// and the recursion is cut at FunctionParserBase::maxParseDepth: parsing,
// evaluating and deleting a tree all recurse once per level, and a small
// thread stack must survive every input text. A form at the last level is
// built only when its operands are plain operands (leaves); otherwise the
// whole form is cut, so that the part not parsed is one constant 0 and one
// fault however the text is shaped (chain, nesting or call).
#include <array>
#include <iterator>
#include <map>
#include <memory>
#include <string>
#include <string_view>

#include "brackets.h"
#include "functionfloatbase.h"
#include "functionparserbase.h"
#include "numberreading.h"
#include "operator_location.h"
#include "parservarmapper.h"

namespace brackets = exprcurve::brackets;
namespace finders = exprcurve::finders;
namespace numbers = exprcurve::numbers;

#if defined(__GNUC__)
#define EXPRCURVE_NOINLINE __attribute__((noinline))
#else
#define EXPRCURVE_NOINLINE
#endif

namespace {

template <class Base, class Node>
Base* create()
{
    return new Node;
}

struct BinaryOperatorForm {
    functionType type;
    FunctionFloatBinary* (*create)();
};

// Loosest first: the first operator found outside brackets splits the text.
const BinaryOperatorForm binaryOperatorForms[] = {
    {FT_OR, create<FunctionFloatBinary, FunctionFloatOr>},
    {FT_AND, create<FunctionFloatBinary, FunctionFloatAnd>},
    {FT_EQL, create<FunctionFloatBinary, FunctionFloatEql>},
    {FT_GRT, create<FunctionFloatBinary, FunctionFloatGrt>},
    {FT_LSS, create<FunctionFloatBinary, FunctionFloatLss>},
    {FT_ADD, create<FunctionFloatBinary, FunctionFloatAdd>},
    {FT_SUB, create<FunctionFloatBinary, FunctionFloatSub>},
    {FT_MUL, create<FunctionFloatBinary, FunctionFloatMul>},
    {FT_DIV, create<FunctionFloatBinary, FunctionFloatDiv>},
    {FT_POW, create<FunctionFloatBinary, FunctionFloatPow>},
};

// The characters of binaryOperatorForms, ranked in the same order.
const finders::OperatorRanks& binaryOperatorRanks()
{
    static const finders::OperatorRanks ranks = [] {
        std::string characters;
        for (const BinaryOperatorForm& form : binaryOperatorForms)
            characters += tableInfo[form.type].opChar;
        return finders::OperatorRanks(characters);
    }();
    return ranks;
}

struct TwoArgumentForm {
    std::string_view name;
    FunctionFloatBinary* (*create)();
};

const TwoArgumentForm twoArgumentForms[] = {
    {"max", create<FunctionFloatBinary, FunctionFloatMax>},
    {"min", create<FunctionFloatBinary, FunctionFloatMin>},
};

struct OneArgumentForm {
    std::string_view name;
    FunctionFloatUnary* (*create)();  // null for "rnd", which builds the random node
};

// Longer names come before their prefixes ("log10" before "log", "cosh"
// before "cos"), since a call form only needs the name and "(" to match.
const OneArgumentForm oneArgumentForms[] = {
    {"exp", create<FunctionFloatUnary, FunctionFloatExp>},
    {"log10", create<FunctionFloatUnary, FunctionFloatL10>},
    {"log", create<FunctionFloatUnary, FunctionFloatLog>},
    {"rnd", nullptr},
    {"abs", create<FunctionFloatUnary, FunctionFloatAbs>},
    {"sqrt", create<FunctionFloatUnary, FunctionFloatSqrt>},
    {"acos", create<FunctionFloatUnary, FunctionFloatACos>},
    {"asin", create<FunctionFloatUnary, FunctionFloatASin>},
    {"atan", create<FunctionFloatUnary, FunctionFloatATan>},
    {"cosh", create<FunctionFloatUnary, FunctionFloatCosH>},
    {"sinh", create<FunctionFloatUnary, FunctionFloatSinH>},
    {"tanh", create<FunctionFloatUnary, FunctionFloatTanH>},
    {"cos", create<FunctionFloatUnary, FunctionFloatCos>},
    {"sin", create<FunctionFloatUnary, FunctionFloatSin>},
    {"tan", create<FunctionFloatUnary, FunctionFloatTan>},
    {"ceil", create<FunctionFloatUnary, FunctionFloatCeil>},
    {"floor", create<FunctionFloatUnary, FunctionFloatFloor>},
    {"j0", create<FunctionFloatUnary, FunctionFloatJ0>},
    {"j1", create<FunctionFloatUnary, FunctionFloatJ1>},
    {"not", create<FunctionFloatUnary, FunctionFloatNeg>},
};

constexpr std::string_view ifName = "if";

// The random node reads its position from the time key.
constexpr std::string_view timeKeyText = "t";

int length(std::string_view s) { return static_cast<int>(s.size()); }

// The leaf for a key of one of the four kinds; null for any other kind code.
FunctionFloatBase* createVariableLeaf(const FunctionParserBase::keyStruct& key)
{
    switch (key.type) {
    case KEY_BOOL:
        return new FunctionFloatVariableBool(static_cast<const bool*>(key.ptr));
    case KEY_INT:
        return new FunctionFloatVariableInt(static_cast<const int*>(key.ptr));
    case KEY_FLOAT:
        return new FunctionFloatVariableFloat(static_cast<const float*>(key.ptr));
    case KEY_DOUBLE:
        return new FunctionFloatVariableDouble(static_cast<const double*>(key.ptr));
    default:
        return nullptr;
    }
}

// A call form's name is all that stands before the text's first bracket; a
// text without brackets has a name that no call form matches.
std::string_view callNameOf(std::string_view t)
{
    std::size_t end = 0;
    while (end < t.size() && !brackets::isBracket(t[end]))
        ++end;
    return t.substr(0, end);
}

// The key table's answers for the names met so far in one parse. A name
// usually comes back several times in a text, and each ordered-map search
// compares whole strings. Without a mapper no host code runs during the parse
// to change the table, so an answer stays valid to its end; with one, every
// name is searched afresh.
class KeyLookups {
public:
    using KeyMap = std::map<std::string, FunctionParserBase::keyStruct>;

    KeyLookups(const KeyMap& keyMap, bool remembers) : keyMap(keyMap), remembers(remembers) {}

    // The key named `name`, or null.
    const FunctionParserBase::keyStruct* find(std::string_view name)
    {
        for (std::size_t i = 0; i < count; ++i) {
            if (sameText(known[i].name, name))
                return known[i].key;
        }
        const auto found = keyMap.find(std::string(name));
        const FunctionParserBase::keyStruct* key = found == keyMap.end() ? nullptr : &found->second;
        if (remembers && count < known.size())
            known[count++] = {name, key};
        return key;
    }

private:
    // Names are short: a plain loop beats a call to memcmp.
    static bool sameText(std::string_view a, std::string_view b)
    {
        if (a.size() != b.size())
            return false;
        for (std::size_t i = 0; i < a.size(); ++i) {
            if (a[i] != b[i])
                return false;
        }
        return true;
    }

    struct Answer {
        std::string_view name;
        const FunctionParserBase::keyStruct* key;
    };

    const KeyMap& keyMap;
    const bool remembers;
    std::array<Answer, 8> known{};
    std::size_t count = 0;
};

// What a level's text is: the form found and the texts of its operands.
struct Form {
    enum Kind { operand, binaryOperator, ifCall, twoArgumentCall, oneArgumentCall };
    Kind kind = operand;
    std::size_t row = 0;  // in the kind's table (binaryOperatorForms, ...)
    std::array<std::string_view, 3> operands{};
};

class TreeBuilder {
public:
    TreeBuilder(FunctionParserBase& parser, ParseMessage& message, std::string_view text)
        : parser(parser), message(message), textEnclosure(text), timeKeyEnclosure(timeKeyText),
          keyLookups(parser.keyMap, !parser.varMapper)
    {
    }

    // `loosestPossible`: the rank of the loosest operator that can stand
    // outside brackets in `s` (see splitAtLoosestOperator).
    FunctionFloatBase* build(std::string_view s, std::size_t loosestPossible = 0);

private:
    EXPRCURVE_NOINLINE Form formOf(std::string_view t, std::size_t loosestPossible) const;
    bool operandsAreLeaves(const Form& form) const;
    FunctionFloatBase* buildForm(const Form& form, std::string_view t);
    FunctionFloatBase* buildOperator(const Form& form);
    FunctionFloatBase* buildIf(const Form& form);
    FunctionFloatBase* buildTwoArgumentCall(const Form& form);
    FunctionFloatBase* buildOneArgumentCall(const Form& form, std::string_view t);
    FunctionFloatBase* buildRandom(std::string_view argument);
    EXPRCURVE_NOINLINE FunctionFloatBase* buildOperand(std::string_view t);
    EXPRCURVE_NOINLINE FunctionFloatBase* cutOff(std::string_view t);

    FunctionFloatBase* mappedVariable(std::string_view name);
    FunctionFloatBase* keyVariable(std::string_view name);
    FunctionFloatBase* numberOrFault(std::string_view name);
    void recordFault(int position, int faultLength, int code);
    const brackets::EnclosureIndex& enclosureOf(std::string_view s) const;

    FunctionParserBase& parser;
    ParseMessage& message;
    // Every text parsed is a piece of the whole text, or the time key.
    const brackets::EnclosureIndex textEnclosure;
    const brackets::EnclosureIndex timeKeyEnclosure;
    KeyLookups keyLookups;
    numbers::NumberReader numberReader;
    int depth = 0;  // levels entered and not yet finished
    std::size_t randomNodes = 0;  // built so far, against parser.maxRandomNodes
};

FunctionFloatBase* TreeBuilder::build(std::string_view s, std::size_t loosestPossible)
{
    ++depth;
    const std::size_t pairs = enclosureOf(s).countEnclosingPairs(s);
    message.position += static_cast<int>(pairs);
    const std::string_view t = s.substr(pairs, s.size() - 2 * pairs);
    // Inside a removed pair any operator can stand outside brackets again.
    const Form form = formOf(t, pairs == 0 ? loosestPossible : 0);
    FunctionFloatBase* node = nullptr;
    if (form.kind == Form::operand)
        node = buildOperand(t);
    else if (depth >= FunctionParserBase::maxParseDepth && !operandsAreLeaves(form))
        node = cutOff(t);
    else
        node = buildForm(form, t);
    message.position += static_cast<int>(pairs);
    --depth;
    return node;
}

// The first form that matches, in the order the language tries them.
Form TreeBuilder::formOf(std::string_view t, std::size_t loosestPossible) const
{
    Form form;
    std::array<std::string_view, 3>& operands = form.operands;
    if (finders::splitAtLoosestOperator(binaryOperatorRanks(), t, form.row, operands[0], operands[1],
                                        loosestPossible)) {
        form.kind = Form::binaryOperator;
        return form;
    }
    // A call form's name stands right before a bracket, so only the form of
    // the call name can match, and none in a text without brackets.
    const std::string_view callName = callNameOf(t);
    if (callName.size() == t.size())
        return form;
    if (callName == ifName &&
        finders::splitThreeArgumentCall(enclosureOf(t), ifName, t, operands[0], operands[1], operands[2])) {
        form.kind = Form::ifCall;
        return form;
    }
    for (std::size_t row = 0; row < std::size(twoArgumentForms); ++row) {
        const std::string_view name = twoArgumentForms[row].name;
        if (callName == name && finders::splitTwoArgumentCall(enclosureOf(t), name, t, operands[0], operands[1])) {
            form.kind = Form::twoArgumentCall;
            form.row = row;
            return form;
        }
    }
    for (std::size_t row = 0; row < std::size(oneArgumentForms); ++row) {
        const std::string_view name = oneArgumentForms[row].name;
        if (callName == name && finders::splitOneArgumentCall(name, t, operands[0])) {
            form.kind = Form::oneArgumentCall;
            form.row = row;
            return form;
        }
    }
    return form;
}

// Whether every operand of the form is read as one operand, so that building
// the form adds one level of leaves and no more. Operands a form does not use
// are empty texts, which are operands too.
bool TreeBuilder::operandsAreLeaves(const Form& form) const
{
    for (std::size_t i = 0; i < form.operands.size(); ++i) {
        const std::string_view s = form.operands[i];
        const std::size_t pairs = enclosureOf(s).countEnclosingPairs(s);
        // An operator's left operand holds no operator as loose as its own.
        const std::size_t loosest = form.kind != Form::binaryOperator || pairs != 0 ? 0 : form.row + (i == 0 ? 1 : 0);
        if (formOf(s.substr(pairs, s.size() - 2 * pairs), loosest).kind != Form::operand)
            return false;
    }
    return true;
}

FunctionFloatBase* TreeBuilder::buildForm(const Form& form, std::string_view t)
{
    switch (form.kind) {
    case Form::binaryOperator:
        return buildOperator(form);
    case Form::ifCall:
        return buildIf(form);
    case Form::twoArgumentCall:
        return buildTwoArgumentCall(form);
    case Form::oneArgumentCall:
        return buildOneArgumentCall(form, t);
    default:
        return buildOperand(t);
    }
}

FunctionFloatBase* TreeBuilder::buildOperator(const Form& form)
{
    std::unique_ptr<FunctionFloatBinary> node(binaryOperatorForms[form.row].create());
    node->arg1 = build(form.operands[0], form.row + 1);
    message.position += 1;  // the operator
    node->arg2 = build(form.operands[1], form.row);
    return node.release();
}

FunctionFloatBase* TreeBuilder::buildIf(const Form& form)
{
    message.position += length(ifName) + 1;  // name and "("
    std::unique_ptr<FunctionFloatTernary> node(new FunctionFloatIf);
    node->arg1 = build(form.operands[0]);
    message.position += 1;  // ","
    node->arg2 = build(form.operands[1]);
    message.position += 1;  // ","
    node->arg3 = build(form.operands[2]);
    message.position += 1;  // ")"
    return node.release();
}

FunctionFloatBase* TreeBuilder::buildTwoArgumentCall(const Form& form)
{
    const TwoArgumentForm& call = twoArgumentForms[form.row];
    message.position += length(call.name) + 1;  // name and "("
    std::unique_ptr<FunctionFloatBinary> node(call.create());
    node->arg1 = build(form.operands[0]);
    message.position += 1;  // ","
    node->arg2 = build(form.operands[1]);
    message.position += 1;  // ")"
    return node.release();
}

FunctionFloatBase* TreeBuilder::buildOneArgumentCall(const Form& form, std::string_view t)
{
    const OneArgumentForm& call = oneArgumentForms[form.row];
    const bool isRandom = !call.create;
    // A random node past the parser's bound is refused like a cut: its table
    // is what makes it costly, so none is built.
    if (isRandom && randomNodes >= parser.maxRandomNodes)
        return cutOff(t);
    // The argument keeps its brackets; they are counted when it is parsed.
    message.position += length(call.name);
    if (isRandom)
        return buildRandom(form.operands[0]);
    std::unique_ptr<FunctionFloatUnary> node(call.create());
    node->arg = build(form.operands[0]);
    return node.release();
}

FunctionFloatBase* TreeBuilder::buildRandom(std::string_view argument)
{
    std::unique_ptr<FunctionFloatBinary> node(new FunctionFloatRnd);
    ++randomNodes;
    node->arg1 = build(argument);
    node->arg2 = build(timeKeyText);
    return node.release();
}

FunctionFloatBase* TreeBuilder::buildOperand(std::string_view t)
{
    message.atStart = false;
    FunctionFloatBase* node = mappedVariable(t);
    if (!node)
        node = keyVariable(t);
    if (!node)
        node = numberOrFault(t);
    message.position += length(t);
    return node;
}

FunctionFloatBase* TreeBuilder::mappedVariable(std::string_view name)
{
    return parser.varMapper ? parser.varMapper->mapVariable(std::string(name)) : nullptr;
}

FunctionFloatBase* TreeBuilder::keyVariable(std::string_view name)
{
    const FunctionParserBase::keyStruct* key = keyLookups.find(name);
    if (!key)
        return nullptr;
    FunctionFloatBase* leaf = createVariableLeaf(*key);
    if (leaf)
        leaf->text = key->name;
    return leaf;
}

FunctionFloatBase* TreeBuilder::numberOrFault(std::string_view name)
{
    const double value = numberReader.read(name);
    if (numbers::holdsOnlyNumberCharacters(name))
        return new FunctionFloatConstant(value);
    // A stray bracket is reported on its own character; anything else over
    // the whole operand. The empty text is a valid number, so `name` has a
    // first and a last character here.
    if (brackets::isBracket(name.front()))
        recordFault(message.position, 1, PARSE_BAD_BRACKET);
    else if (brackets::isBracket(name.back()))
        recordFault(message.position + length(name) - 1, 1, PARSE_BAD_BRACKET);
    else
        recordFault(message.position, length(name), PARSE_BAD_OPERAND);
    return new FunctionFloatConstant(value);
}

// The whole text of a form that is not built: one constant 0, one fault.
FunctionFloatBase* TreeBuilder::cutOff(std::string_view t)
{
    message.atStart = false;
    recordFault(message.position, length(t), PARSE_BAD_OPERAND);
    message.position += length(t);
    return new FunctionFloatConstant(0.0);
}

const brackets::EnclosureIndex& TreeBuilder::enclosureOf(std::string_view s) const
{
    return textEnclosure.contains(s) ? textEnclosure : timeKeyEnclosure;
}

void TreeBuilder::recordFault(int position, int faultLength, int code)
{
    message.errors.emplace_back(position, faultLength);
    message.errorCode = code;
}

}  // namespace

FunctionFloatBase* FunctionParserBase::parse(const std::string& s, ParseMessage& message)
{
    return TreeBuilder(*this, message, s).build(s);
}

FunctionFloatBase* FunctionParserBase::parseString(const std::string& expression,
                                                   ParseMessage& message, bool /*flag*/)
{
    message.atStart = true;
    message.errorCode = PARSE_OK;
    message.position = 0;
    message.errors.clear();
    message.text = firstParse(expression);
    FunctionFloatBase* root = parse(message.text, message);
    root->text = message.text;
    return root;
}
