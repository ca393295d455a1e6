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
#include "builtinoperations.h"
#include "functionfloatbase.h"
#include "functionparserbase.h"
#include "key_table.h"
#include "number_reading.h"
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

using exprcurve::BuiltinOperation;
using exprcurve::builtinOperations;

// The operator rows lead the table of built-ins, loosest first: the first
// operator found outside brackets splits the text, and its rank is its row.
const BuiltinOperation& operatorRow(std::size_t rank) { return builtinOperations[rank]; }

constexpr std::string_view randomName = "rnd";

// The random node reads its position from the time key.
constexpr std::string_view timeKeyText = "t";

int length(std::string_view s) { return static_cast<int>(s.size()); }

// The leaf for a key of one of the four kinds; null for any other kind code.
FunctionFloatBase* createVariableLeaf(const FunctionParserBase::keyStruct& key)
{
    return exprcurve::keys::visitKey(key, exprcurve::keys::Overloaded{
        [](const bool* variable) -> FunctionFloatBase* { return new FunctionFloatVariableBool(variable); },
        [](const int* variable) -> FunctionFloatBase* { return new FunctionFloatVariableInt(variable); },
        [](const float* variable) -> FunctionFloatBase* { return new FunctionFloatVariableFloat(variable); },
        [](const double* variable) -> FunctionFloatBase* {
            return new FunctionFloatVariableDouble(variable);
        }});
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

// What a level's text is: the form found and the texts of its operands. A
// host call keeps its arguments in the text until it is built: a level's
// frame holds room for three operands only.
struct Form {
    enum Kind { operand, binaryOperator, builtinCall, hostCall };
    Kind kind = operand;
    std::size_t row = 0;  // of the table of built-ins; a host call's argument count
    const FunctionParserBase::HostFunctionEntry* host = nullptr;
    std::string_view name;  // of a call
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
    EXPRCURVE_NOINLINE bool operandsAreLeaves(const Form& form) const;
    FunctionFloatBase* buildForm(const Form& form, std::string_view t);
    bool splitsAsCall(Form& form, std::string_view t) const;
    std::size_t hostCallArguments(const Form& form, std::string_view t, std::string_view* pieces) const;
    FunctionFloatBase* buildOperator(const Form& form);
    FunctionFloatBase* buildBuiltinCall(const Form& form, std::string_view t);
    FunctionFloatBase* buildOneArgumentCall(const BuiltinOperation& row, const Form& form, std::string_view t);
    FunctionFloatBase* buildRandom(const BuiltinOperation& row, std::string_view argument);
    EXPRCURVE_NOINLINE FunctionFloatBase* buildHostCall(const Form& form, std::string_view t);
    void buildListedArguments(std::string_view name, const std::string_view* pieces,
                              FunctionFloatBase** const* slots, std::size_t count);
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

#undef EXPRCURVE_NOINLINE

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
    if (finders::splitAtLoosestOperator(finders::builtinOperatorRanks(), t, form.row, operands[0], operands[1],
                                        loosestPossible)) {
        form.kind = Form::binaryOperator;
        return form;
    }
    // A call form's name stands right before a bracket, so only the form of
    // the call name can match, and none in a text without brackets.
    form.name = callNameOf(t);
    if (form.name.size() < t.size() && !splitsAsCall(form, t))
        form.kind = Form::operand;
    return form;
}

// Built-in names come first; a host's function can never shadow one, so a
// built-in form that does not fit leaves the text to the operand rules.
bool TreeBuilder::splitsAsCall(Form& form, std::string_view t) const
{
    std::array<std::string_view, 3>& operands = form.operands;
    if (const BuiltinOperation* row = exprcurve::findBuiltinFunction(form.name)) {
        const std::string_view name = row->name;
        const bool fits =
            row->arity == 1   ? finders::splitOneArgumentCall(name, t, operands[0])
            : row->arity == 2 ? finders::splitTwoArgumentCall(enclosureOf(t), name, t, operands[0], operands[1])
                              : finders::splitThreeArgumentCall(enclosureOf(t), name, t, operands[0], operands[1],
                                                                operands[2]);
        form.kind = Form::builtinCall;
        form.row = static_cast<std::size_t>(row - builtinOperations);
        return fits;
    }
    form.host = parser.findFunction(form.name);
    form.kind = Form::hostCall;
    return form.host && finders::splitCallArguments(enclosureOf(t), form.name, t, nullptr, 0, form.row);
}

// The arguments of a host call, into `pieces` (room for the most a host
// function takes); their number, which may be more.
std::size_t TreeBuilder::hostCallArguments(const Form& form, std::string_view t, std::string_view* pieces) const
{
    std::size_t count = 0;
    finders::splitCallArguments(enclosureOf(t), form.name, t, pieces, FunctionFloatHostCall::maxArguments, count);
    return count;
}

// Whether every operand of the form is read as one operand, so that building
// the form adds one level of leaves and no more. Operands a form does not use
// are empty texts, which are operands too.
bool TreeBuilder::operandsAreLeaves(const Form& form) const
{
    if (form.kind == Form::hostCall)
        return false;  // cut whole, which is also what a wrong count gives
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
    case Form::builtinCall:
        return buildBuiltinCall(form, t);
    case Form::hostCall:
        return buildHostCall(form, t);
    default:
        return buildOperand(t);
    }
}

FunctionFloatBase* TreeBuilder::buildOperator(const Form& form)
{
    std::unique_ptr<FunctionFloatBase> node(operatorRow(form.row).create());
    FunctionFloatBinary& binary = static_cast<FunctionFloatBinary&>(*node);
    binary.arg1 = build(form.operands[0], form.row + 1);
    message.position += 1;  // the operator
    binary.arg2 = build(form.operands[1], form.row);
    return node.release();
}

// Each node is created before its arguments are parsed: random nodes draw
// their tables in the order they are created.
FunctionFloatBase* TreeBuilder::buildBuiltinCall(const Form& form, std::string_view t)
{
    const BuiltinOperation& row = builtinOperations[form.row];
    if (row.arity == 1)
        return buildOneArgumentCall(row, form, t);
    std::unique_ptr<FunctionFloatBase> node(row.create());
    if (row.arity == 2) {
        FunctionFloatBinary& binary = static_cast<FunctionFloatBinary&>(*node);
        FunctionFloatBase** const slots[] = {&binary.arg1, &binary.arg2};
        buildListedArguments(row.name, form.operands.data(), slots, 2);
    } else {
        FunctionFloatTernary& ternary = static_cast<FunctionFloatTernary&>(*node);
        FunctionFloatBase** const slots[] = {&ternary.arg1, &ternary.arg2, &ternary.arg3};
        buildListedArguments(row.name, form.operands.data(), slots, 3);
    }
    return node.release();
}

FunctionFloatBase* TreeBuilder::buildOneArgumentCall(const BuiltinOperation& row, const Form& form,
                                                     std::string_view t)
{
    const bool isRandom = row.name == randomName;
    // A random node past the parser's bound is refused like a cut: its table
    // is what makes it costly, so none is built.
    if (isRandom && randomNodes >= parser.maxRandomNodes)
        return cutOff(t);
    // The argument keeps its brackets; they are counted when it is parsed.
    message.position += length(row.name);
    if (isRandom)
        return buildRandom(row, form.operands[0]);
    std::unique_ptr<FunctionFloatBase> node(row.create());
    static_cast<FunctionFloatUnary&>(*node).arg = build(form.operands[0]);
    return node.release();
}

FunctionFloatBase* TreeBuilder::buildRandom(const BuiltinOperation& row, std::string_view argument)
{
    std::unique_ptr<FunctionFloatBase> node(row.create());
    ++randomNodes;
    FunctionFloatBinary& random = static_cast<FunctionFloatBinary&>(*node);
    random.arg1 = build(argument);
    random.arg2 = build(timeKeyText);
    return node.release();
}

// A host function called with another number of arguments than it takes is
// one fault over the whole call, and nothing inside it is parsed: the cut's
// fault.
FunctionFloatBase* TreeBuilder::buildHostCall(const Form& form, std::string_view t)
{
    if (form.row != form.host->arity)
        return cutOff(t);
    std::string_view pieces[FunctionFloatHostCall::maxArguments];
    const std::size_t count = hostCallArguments(form, t, pieces);
    auto node = std::make_unique<FunctionFloatHostCall>();
    node->name = std::string(form.name);
    node->function = form.host->function;
    node->context = form.host->context;
    node->arity = form.host->arity;
    FunctionFloatBase** slots[FunctionFloatHostCall::maxArguments];
    for (std::size_t i = 0; i < count; ++i)
        slots[i] = &node->arguments[i];
    buildListedArguments(form.name, pieces, slots, count);
    return node.release();
}

// name(a,b,...): the name and "(", each argument and the comma after it,
// then ")". Each argument goes into its slot as soon as it is built, so the
// node owns whatever was built if a later argument fails.
void TreeBuilder::buildListedArguments(std::string_view name, const std::string_view* pieces,
                                       FunctionFloatBase** const* slots, std::size_t count)
{
    message.position += length(name) + 1;  // name and "("
    for (std::size_t i = 0; i < count; ++i) {
        if (i > 0)
            message.position += 1;  // ","
        *slots[i] = build(pieces[i]);
    }
    message.position += 1;  // ")"
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

// The whole text of a form that is not built (past the depth limit or the
// random nodes' bound, or a host call with a wrong count): one constant 0,
// one fault.
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
