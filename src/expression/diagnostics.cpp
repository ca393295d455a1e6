// What a fault or a surprising text means, in words for the people who type
// expressions, at the bytes they typed.
//
// The parser keeps only a (position, length) pair per fault. Its kind follows
// from the text under it, read as the tree builder reads it: a bracket alone
// is a stray or a call that does not fit; anything longer is an operand that
// is neither a key nor a number, a call of a host function with the wrong
// number of arguments, or the rest of a text cut at the depth limit.
#include "diagnostics.h"

#include <algorithm>
#include <cctype>
#include <string>
#include <string_view>
#include <vector>

#include "brackets.h"
#include "builtinoperations.h"
#include "normalisation.h"
#include "number_reading.h"
#include "operator_location.h"

namespace exprcurve {
namespace {

namespace finders = exprcurve::finders;
constexpr std::size_t none = std::string_view::npos;

std::string quoted(std::string_view text) { return "'" + std::string(text) + "'"; }

bool isNameByte(char c) { return std::isalnum(static_cast<unsigned char>(c)) != 0 || c == '_'; }
bool isLetterByte(char c) { return std::isalpha(static_cast<unsigned char>(c)) != 0; }

bool isIdentifier(std::string_view s)
{
    return !s.empty() && isLetterByte(s.front()) && std::all_of(s.begin(), s.end(), isNameByte);
}

// ---------------------------------------------------------------- positions

// The normalised text with the way back to the typed bytes.
class TypedText {
public:
    explicit TypedText(const std::string& typed)
        : origins(normalisation::normaliseWithOrigins(typed)), typedSize(static_cast<int>(typed.size()))
    {
    }

    const std::string& normalised() const { return origins.text; }
    bool isInserted(std::size_t at) const { return at < origins.inserted.size() && origins.inserted[at]; }

    // The typed bytes of the normalised range: from the first character's
    // byte to the last copied character's byte. An inserted "*" stands for
    // no byte of its own.
    Diagnostic at(int begin, int length, std::string message) const
    {
        const int size = static_cast<int>(origins.text.size());
        const int first = std::clamp(begin, 0, size);
        const int end = std::clamp(first + std::max(length, 0), first, size);
        int position = first < size ? origins.source[first] : typedSize;
        int last = position;
        for (int i = first; i < end; ++i) {
            if (!origins.inserted[i])
                last = origins.source[i] + 1;
        }
        position = std::min(position, typedSize);
        return Diagnostic{position, std::max(last - position, 0), std::move(message)};
    }

private:
    normalisation::Origins origins;
    int typedSize;
};

// ---------------------------------------------------------------- names

std::size_t editDistance(std::string_view a, std::string_view b)
{
    std::vector<std::size_t> row(b.size() + 1);
    for (std::size_t j = 0; j <= b.size(); ++j)
        row[j] = j;
    for (std::size_t i = 1; i <= a.size(); ++i) {
        std::size_t diagonal = row[0];
        row[0] = i;
        for (std::size_t j = 1; j <= b.size(); ++j) {
            const std::size_t replaced = diagonal + (a[i - 1] == b[j - 1] ? 0 : 1);
            diagonal = row[j];
            row[j] = std::min({replaced, row[j] + 1, row[j - 1] + 1});
        }
    }
    return row[b.size()];
}

// " (did you mean 'sin' or 'sinh'?)" for the closest names, when one is close.
std::string nearestNames(std::string_view name, const std::vector<std::string_view>& known)
{
    const std::size_t allowed = name.size() <= 3 ? 1 : 2;
    std::size_t best = allowed + 1;
    std::vector<std::string_view> closest;
    for (std::string_view candidate : known) {
        const std::size_t distance = editDistance(name, candidate);
        if (distance > allowed)
            continue;
        if (distance < best) {
            best = distance;
            closest.clear();
        }
        if (distance == best && closest.size() < 3)
            closest.push_back(candidate);
    }
    if (closest.empty())
        return "";
    std::string hint = " (did you mean ";
    for (std::size_t i = 0; i < closest.size(); ++i)
        hint += (i == 0 ? "" : i + 1 == closest.size() ? " or " : ", ") + quoted(closest[i]);
    return hint + "?)";
}

std::vector<std::string_view> functionNames()
{
    std::vector<std::string_view> names;
    for (const BuiltinOperation& row : builtinOperations) {
        if (!row.isOperator)
            names.push_back(row.name);
    }
    return names;
}

std::string argumentCount(std::size_t count)
{
    return std::to_string(count) + (count == 1 ? " argument" : " arguments");
}

// ---------------------------------------------------------------- brackets

// The bracket that pairs with the one at `at`, counting both kinds in one
// depth as the parser does; npos when none does.
std::size_t partnerOf(std::string_view s, std::size_t at)
{
    const int step = brackets::isOpener(s[at]) ? 1 : -1;
    int depth = 0;
    for (std::size_t i = at; i < s.size(); i += static_cast<std::size_t>(step)) {
        depth += brackets::depthChanges[static_cast<unsigned char>(s[i])] * step;
        if (depth == 0)
            return i;
        if (i == 0 && step < 0)
            break;
    }
    return none;
}

// Closers minus openers over the whole text.
int surplusOfClosers(std::string_view s)
{
    int surplus = 0;
    for (const char c : s)
        surplus -= brackets::depthChanges[static_cast<unsigned char>(c)];
    return surplus;
}

// The name written right before the opener at `at`.
std::string_view nameBefore(std::string_view s, std::size_t at)
{
    std::size_t begin = at;
    while (begin > 0 && isNameByte(s[begin - 1]))
        --begin;
    return s.substr(begin, at - begin);
}

std::size_t countArguments(std::string_view inner)
{
    if (inner.empty())
        return 0;
    std::size_t count = 1;
    brackets::scanOutsideBrackets(inner, [&](std::size_t position) {
        count += inner[position] == ',' ? 1 : 0;
        return false;
    });
    return count;
}

// name(...) whose brackets pair up but which the builder did not take as the
// built-in call the name promises.
std::string describeBuiltinCall(const BuiltinOperation& row, std::string_view s, std::size_t opener,
                                std::size_t closer)
{
    const std::string name = quoted(row.name);
    if (row.arity == 1 && s[opener] == '{')
        return name + " takes its argument in round brackets: " + row.name + "(...)";
    const std::size_t count = countArguments(s.substr(opener + 1, closer - opener - 1));
    if (count != row.arity)
        return name + " takes " + argumentCount(row.arity) + ", not " + std::to_string(count);
    return name + " has an empty first argument";
}

std::string describeBracket(std::string_view s, std::size_t at)
{
    const char bracket = s[at];
    const int surplus = surplusOfClosers(s);
    if (brackets::isCloser(bracket) && surplus > 0)
        return "unmatched " + quoted(std::string(1, bracket)) + ": no bracket opens it";
    if (brackets::isOpener(bracket) && surplus < 0)
        return "unmatched " + quoted(std::string(1, bracket)) + ": no bracket closes it";
    const std::size_t partner = partnerOf(s, at);
    if (partner == none)
        return "unmatched " + quoted(std::string(1, bracket));
    const std::size_t opener = std::min(at, partner);
    const std::size_t closer = std::max(at, partner);
    if (brackets::closerOf(s[opener]) != s[closer])
        return quoted(std::string(1, s[opener])) + " is closed by " + quoted(std::string(1, s[closer]));
    const std::string_view name = nameBefore(s, opener);
    if (const BuiltinOperation* row = findBuiltinFunction(name))
        return describeBuiltinCall(*row, s, opener, closer);
    if (isIdentifier(name))
        return "unknown function " + quoted(name) + nearestNames(name, functionNames());
    return "the brackets " + quoted(s.substr(opener, closer - opener + 1)) +
           " stand where an operator or a function name should come first";
}

// ---------------------------------------------------------------- operands

// A fault that covers name(...) with its brackets paired: the parser reports
// a host function called with another number of arguments so, and a random
// node past the parser's bound.
bool isWholeCall(std::string_view t, std::string_view& name, std::size_t& count)
{
    const std::size_t opener = t.find_first_of("({");
    if (opener == none || opener == 0 || !isIdentifier(t.substr(0, opener)))
        return false;
    if (!brackets::isWhollyEnclosed(t.substr(opener)))
        return false;
    name = t.substr(0, opener);
    count = countArguments(t.substr(opener + 1, t.size() - opener - 2));
    return true;
}

// What the builder would not have left whole as one operand: only the depth
// limit leaves such a text unparsed.
bool wouldBeSplit(std::string_view t)
{
    std::size_t rank = 0;
    std::string_view left;
    std::string_view right;
    return t.empty() || brackets::isWhollyEnclosed(t) ||
           finders::splitAtLoosestOperator(finders::builtinOperatorRanks(), t, rank, left, right) ||
           numbers::holdsOnlyNumberCharacters(t);
}

std::string cutMessage()
{
    return "the text is nested or chained too deeply: the parser stops after " +
           std::to_string(FunctionParserBase::maxParseDepth) + " levels and reads the rest as 0";
}

// The call whose brackets hold `at`, if any.
std::string_view enclosingCallName(std::string_view s, std::size_t at)
{
    int depth = 0;
    for (std::size_t i = at; i-- > 0;) {
        depth += brackets::depthChanges[static_cast<unsigned char>(s[i])];
        if (depth > 0)
            return nameBefore(s, i);
    }
    return {};
}

std::string describeComma(std::string_view s, std::size_t at, std::string_view t)
{
    const std::string_view call = enclosingCallName(s, at);
    if (const BuiltinOperation* row = findBuiltinFunction(call))
        return "too many arguments: " + quoted(call) + " takes " + argumentCount(row->arity) + ", so " +
               quoted(t) + " is read as one";
    return "a ',' outside the brackets of a call: " + quoted(t) + " is not one operand";
}

std::string describeOperand(std::string_view s, std::size_t at, std::string_view t)
{
    std::string_view name;
    std::size_t count = 0;
    if (isWholeCall(t, name, count)) {
        if (findBuiltinFunction(name) != nullptr) {
            if (name == "rnd")
                return "more calls of 'rnd' than this parser allows (see maxRandomNodes)";
            return cutMessage();
        }
        return "wrong number of arguments for " + quoted(name) + ": it is called with " + std::to_string(count) +
               " but defined with another number";
    }
    if (wouldBeSplit(t))
        return cutMessage();
    if (brackets::findOutsideBrackets(t, ',') != none)
        return describeComma(s, at, t);
    if (findBuiltinFunction(t) != nullptr)
        return quoted(t) + " is a function: write " + std::string(t) + "(...)";
    const auto odd = std::find_if(t.begin(), t.end(), [](char c) {
        return !isNameByte(c) && c != '.' && c != '[' && c != ']';
    });
    if (odd != t.end())
        return "unexpected character " + quoted(std::string(1, *odd)) + " in " + quoted(t);
    if (isLetterByte(t.front()))
        return "unknown name " + quoted(t) + nearestNames(t, {"pi", "e", "epsilon"});
    return quoted(t) + " is neither a number nor a name";
}

// The random node reads the key "t" as if it were written right after the
// call, so a host without that key gets a fault there.
bool followsRandomCall(std::string_view s, int position)
{
    if (position < 1 || static_cast<std::size_t>(position) > s.size())
        return false;
    const auto closer = static_cast<std::size_t>(position - 1);
    if (!brackets::isCloser(s[closer]))
        return false;
    const std::size_t opener = partnerOf(s, closer);
    return opener != none && nameBefore(s, opener) == "rnd";
}

std::string describe(std::string_view s, int position, int length)
{
    if (length == 1 && followsRandomCall(s, position))
        return "'rnd' follows the variable 't', which this host does not define";
    if (position < 0 || static_cast<std::size_t>(position) >= s.size())
        return length == 0 ? cutMessage() : "fault outside the text";
    const auto at = static_cast<std::size_t>(position);
    const std::string_view t = s.substr(at, static_cast<std::size_t>(std::max(length, 0)));
    if (t.size() == 1 && brackets::isBracket(t.front()))
        return describeBracket(s, at);
    return describeOperand(s, at, t);
}

// The parser counts the "t" that each random node reads as one character
// more, right after the call's text, so every position reported after a
// built random node lies one further on per such node. A call inside a fault
// (cut, or past the bound on random nodes) built nothing and reads no "t".
// Faults may be many and so may calls: the calls' ends are kept sorted, with
// a count tree over those still standing (the k-th one in O(log n)) and a
// link from each forgotten one to the next standing one, so that a text
// with n calls and m faults costs O((n + m) log^2 n) rather than O(n m).
class RandomTimeShift {
public:
    explicit RandomTimeShift(std::string_view s)
    {
        for (std::size_t at = s.find("rnd("); at != none; at = s.find("rnd(", at + 1)) {
            if (at > 0 && isNameByte(s[at - 1]))
                continue;
            const std::size_t closer = partnerOf(s, at + 3);
            ends.push_back(static_cast<long long>(closer == none ? s.size() : closer + 1));
        }
        std::sort(ends.begin(), ends.end());
        standing = ends.size();
        counts.assign(ends.size() + 1, 0);
        for (std::size_t i = 0; i < ends.size(); ++i)
            add(i, 1);
        nextStanding.resize(ends.size() + 1);
        for (std::size_t i = 0; i <= ends.size(); ++i)
            nextStanding[i] = i;
    }

    // The reported position less one for every standing call whose shifted
    // end lies before it. The k-th standing end plus k grows with k, so the
    // calls counted are the first ones, found by halving.
    int textIndex(int reported) const
    {
        std::size_t low = 0;
        std::size_t high = standing;
        while (low < high) {
            const std::size_t middle = low + (high - low) / 2;
            if (ends[kthStanding(middle)] + static_cast<long long>(middle) < reported)
                low = middle + 1;
            else
                high = middle;
        }
        return reported - static_cast<int>(low);
    }

    // Calls ending within (position, position + length] built nothing.
    void forgetWithin(int position, int length)
    {
        const auto first = std::upper_bound(ends.begin(), ends.end(), static_cast<long long>(position));
        const auto last = std::upper_bound(ends.begin(), ends.end(), static_cast<long long>(position) + length);
        const std::size_t stop = static_cast<std::size_t>(last - ends.begin());
        for (std::size_t i = standingFrom(static_cast<std::size_t>(first - ends.begin())); i < stop;
             i = standingFrom(i + 1)) {
            add(i, -1);
            nextStanding[i] = i + 1;
            --standing;
        }
    }

private:
    // Fenwick tree over the standing flags: counts[i] covers (i - lowbit(i), i].
    void add(std::size_t index, int delta)
    {
        for (std::size_t i = index + 1; i < counts.size(); i += i & (~i + 1))
            counts[i] += delta;
    }

    std::size_t kthStanding(std::size_t k) const
    {
        std::size_t position = 0;
        std::size_t step = 1;
        while (step * 2 < counts.size())
            step *= 2;
        long long remaining = static_cast<long long>(k) + 1;
        for (; step > 0; step /= 2) {
            if (position + step < counts.size() && counts[position + step] < remaining) {
                position += step;
                remaining -= counts[position];
            }
        }
        return position;  // 0-based: the tree's position + 1 is the k-th
    }

    std::size_t standingFrom(std::size_t index)
    {
        std::size_t root = index;
        while (nextStanding[root] != root)
            root = nextStanding[root];
        while (nextStanding[index] != root) {
            const std::size_t next = nextStanding[index];
            nextStanding[index] = root;
            index = next;
        }
        return root;
    }

    std::vector<long long> ends;  // just after each call's closing bracket
    std::vector<long long> counts;
    std::vector<std::size_t> nextStanding;  // itself when standing; ends.size() stands for the end
    std::size_t standing = 0;
};

// ---------------------------------------------------------------- lint

class Linter {
public:
    explicit Linter(const TypedText& typed)
        : typed(typed), text(typed.normalised()), enclosure(text)
    {
    }

    void run()
    {
        walk(text, false, 0);
        twoCharacterOperators();
    }

    std::vector<Diagnostic> warnings;

private:
    int offsetOf(std::string_view piece) const { return static_cast<int>(piece.data() - text.data()); }

    void warn(std::string_view piece, const std::string& message)
    {
        warnings.push_back(typed.at(offsetOf(piece), static_cast<int>(piece.size()), message));
    }

    // `inChain`: the piece is the right operand of the operator it starts
    // with, already reported as one chain.
    void walk(std::string_view s, bool inChain, int depth)
    {
        if (depth >= FunctionParserBase::maxParseDepth)
            return;
        const std::size_t pairs = enclosure.countEnclosingPairs(s);
        const std::string_view t = s.substr(pairs, s.size() - 2 * pairs);
        if (pairs > 0 && t.empty())
            warn(s, "empty brackets read as 0");
        std::size_t rank = 0;
        std::string_view left;
        std::string_view right;
        if (finders::splitAtLoosestOperator(finders::builtinOperatorRanks(), t, rank, left, right)) {
            operatorSplit(t, left, right, inChain && pairs == 0, depth);
            return;
        }
        std::size_t count = 0;
        std::string_view pieces[FunctionFloatHostCall::maxArguments];
        const std::size_t opener = t.find_first_of("({");
        const std::string_view name = opener == none ? t : t.substr(0, opener);
        if (opener != none && isIdentifier(name) &&
            finders::splitCallArguments(enclosure, name, t, pieces, FunctionFloatHostCall::maxArguments, count)) {
            for (std::size_t i = 0; i < std::min<std::size_t>(count, FunctionFloatHostCall::maxArguments); ++i) {
                if (pieces[i].empty() && count > 1)
                    warn(pieces[i], "an empty argument of " + quoted(name) + " reads as 0");
                walk(pieces[i], false, depth + 1);
            }
            return;
        }
        number(t);
    }

    void operatorSplit(std::string_view t, std::string_view left, std::string_view right, bool inChain,
                       int depth)
    {
        const std::string_view op = t.substr(left.size(), 1);
        const char c = op.front();
        const std::size_t at = static_cast<std::size_t>(offsetOf(op));
        if (!left.empty() && c == '-' && std::string_view("*/^").find(left.back()) != none)
            signAfterOperator(t, left);
        if (left.empty() && c != '-' && c != '+' && !isPartOfPair(at))
            warn(op, "nothing stands before " + quoted(op) + ": the missing operand reads as 0");
        if (right.empty() && !isPartOfPair(at) && !isBeforeSign(at))
            warn(op, "nothing follows " + quoted(op) + ": the missing operand reads as 0");
        const bool chained = (c == '-' || c == '/' || c == '^') && startsChainOf(right, c);
        if (chained && !inChain)
            chain(t, left, c);
        if (c == '*' && typed.isInserted(at) && loosestOperatorOf(left) == '/')
        {
            const std::size_t slash = left.rfind('/') + 1;
            warn(t, quoted(t) + " is (" + std::string(left) + ")*" + std::string(right) + " here; write " +
                        std::string(left.substr(0, slash)) + "(" + std::string(t.substr(slash)) +
                        ") to divide by the whole product");
        }
        walk(left, false, depth + 1);
        walk(right, chained, depth + 1);
    }

    // The operator at `at` is one of a two-character operator, which has a
    // warning of its own.
    bool isPartOfPair(std::size_t at) const
    {
        const auto pairAt = [this](std::size_t first) {
            if (first + 1 >= text.size())
                return false;
            const std::string_view pair(text.data() + first, 2);
            for (std::string_view known : {">=", "<=", "==", "!=", "&&", "||", "**"})
                if (pair == known)
                    return true;
            return false;
        };
        return pairAt(at) || (at > 0 && pairAt(at - 1));
    }

    // The '*' of '2*-3', which signAfterOperator explains.
    bool isBeforeSign(std::size_t at) const
    {
        return at + 1 < text.size() && text[at + 1] == '-' && std::string_view("*/^").find(text[at]) != none;
    }

    // 2^-1 splits at the '-' first: (2^0)-1.
    void signAfterOperator(std::string_view t, std::string_view left)
    {
        const std::string_view construct = t.substr(left.size() - 1, 2);
        warn(construct, quoted(construct) + " is not a sign here: '-' splits first, so " + quoted(t) + " is (" +
                            std::string(left) + "0)" + std::string(t.substr(left.size())) + "; write " +
                            std::string(left) + "(" + std::string(t.substr(left.size())) + ") for a negative operand");
    }

    // `right` is itself b op c with a b: 'a-b-c', but not the sign of 'a--b'.
    static bool startsChainOf(std::string_view right, char c)
    {
        std::size_t rank = 0;
        std::string_view left;
        std::string_view rest;
        return finders::splitAtLoosestOperator(finders::builtinOperatorRanks(), right, rank, left, rest) &&
               right[left.size()] == c && !left.empty();
    }

    static char loosestOperatorOf(std::string_view s)
    {
        std::size_t rank = 0;
        std::string_view left;
        std::string_view right;
        if (!finders::splitAtLoosestOperator(finders::builtinOperatorRanks(), s, rank, left, right))
            return '\0';
        return s[left.size()];
    }

    // a-b-c-d: the operands of the right spine, folded from the left in the
    // advice when the text is short enough to repeat.
    void chain(std::string_view t, std::string_view left, char c)
    {
        const std::string op(1, c);
        std::string advice = "brackets";
        if (t.size() <= 40) {
            std::string folded(left);
            std::string_view rest = t.substr(left.size() + 1);
            std::size_t rank = 0;
            std::string_view first;
            std::string_view remaining;
            while (startsChainOf(rest, c) &&
                   finders::splitAtLoosestOperator(finders::builtinOperatorRanks(), rest, rank, first, remaining)) {
                folded = "(" + folded + op + std::string(first) + ")";
                rest = remaining;
            }
            advice = folded + op + std::string(rest);
        }
        warn(t, quoted(t) + " groups to the right here: " + std::string(left) + op + "(" +
                    std::string(t.substr(left.size() + 1)) + "); write " + advice + " to group from the left");
    }

    void number(std::string_view t)
    {
        if (t.empty() || !numbers::holdsOnlyNumberCharacters(t))
            return;
        const std::size_t firstDot = t.find('.');
        const bool readsWhole = t.find('-') == none && (firstDot == none || t.find('.', firstDot + 1) == none);
        if (t == ".")
            warn(t, "'.' alone reads as 0");
        else if (!readsWhole)
            warn(t, quoted(t) + " is not one number: it reads only as far as it can");
    }

    void twoCharacterOperators()
    {
        static const struct {
            std::string_view pair;
            const char* message;
        } pairs[] = {
            {">=", "'>=' is '>' then '=': a>=b is (a>0)=b here; write (a>b)|(a=b)"},
            {"<=", "'<=' is '<' then '=': a<=b is (a<0)=b here; write (a<b)|(a=b)"},
            {"==", "'==' is '=' twice: a==b is a=(0=b) here; equality is a single '='"},
            {"!=", "'!=' is no operator here; write not(a=b)"},
            {"&&", "'&&' is '&' twice: a&&b is a&(0&b), always 0; write a&b"},
            {"||", "'||' is '|' twice: a||b is a|(0|b); write a|b"},
            {"**", "'**' is '*' twice: a**b is a*(0*b); powers are written a^b"},
        };
        for (std::size_t at = 0; at + 1 < text.size(); ++at) {
            for (const auto& p : pairs) {
                if (text.compare(at, 2, p.pair) == 0) {
                    warnings.push_back(typed.at(static_cast<int>(at), 2, p.message));
                    ++at;
                    break;
                }
            }
        }
    }

    const TypedText& typed;
    const std::string& text;
    const brackets::EnclosureIndex enclosure;
};

// The decimal that "1e-5" would mean elsewhere, when it is short enough to
// write out.
std::string writtenOut(std::string_view mantissa, int exponent)
{
    std::string digits;
    int point = 0;
    for (const char c : mantissa) {
        if (c == '.')
            point = static_cast<int>(digits.size());
        else
            digits += c;
    }
    if (mantissa.find('.') == none)
        point = static_cast<int>(digits.size());
    point += exponent;
    if (point < -20 || point > 40)
        return "";
    if (point <= 0)
        digits = "0." + std::string(static_cast<std::size_t>(-point), '0') + digits;
    else if (point >= static_cast<int>(digits.size()))
        digits += std::string(static_cast<std::size_t>(point) - digits.size(), '0');
    else
        digits.insert(static_cast<std::size_t>(point), ".");
    return digits;
}

// "1e-5", "2.5E3": a number, then e or E, a sign perhaps, and a digit. Looked
// for in the typed text, where the number still stands apart from a name.
void exponentNotation(const std::string& typed, std::vector<Diagnostic>& warnings)
{
    const auto isDigit = [](char c) { return c >= '0' && c <= '9'; };
    for (std::size_t at = 0; at < typed.size(); ++at) {
        if (!isDigit(typed[at]) && typed[at] != '.')
            continue;
        if (at > 0 && (isNameByte(typed[at - 1]) || typed[at - 1] == '.'))
            continue;
        std::size_t end = at;
        while (end < typed.size() && (isDigit(typed[end]) || typed[end] == '.'))
            ++end;
        std::size_t e = end;
        if (e >= typed.size() || (typed[e] != 'e' && typed[e] != 'E'))
            continue;
        std::size_t digits = e + 1;
        if (digits < typed.size() && (typed[digits] == '-' || typed[digits] == '+'))
            ++digits;
        if (digits >= typed.size() || !isDigit(typed[digits]))
            continue;
        std::size_t stop = digits;
        while (stop < typed.size() && isDigit(typed[stop]))
            ++stop;
        const std::string_view whole(typed.data() + at, stop - at);
        const std::string_view mantissa(typed.data() + at, end - at);
        const int exponent = std::atoi(std::string(typed, e + 1, stop - e - 1).c_str());
        const std::string plain = std::string(typed, e + 1, stop - e - 1).size() > 3 ? "" : writtenOut(mantissa, exponent);
        std::string message = quoted(whole) + " is no number in exponent notation here: it is " + std::string(mantissa) +
                              "*e" + std::string(typed, e + 1, stop - e - 1) + " with the constant e";
        if (!plain.empty())
            message += "; write " + plain;
        warnings.push_back(Diagnostic{static_cast<int>(at), static_cast<int>(stop - at), message});
        at = stop - 1;
    }
}

}  // namespace

std::vector<Diagnostic> describeFaults(const std::string& expression, const ParseMessage& message)
{
    const TypedText typed(expression);
    RandomTimeShift shift(message.text);
    std::vector<Diagnostic> diagnostics;
    diagnostics.reserve(message.errors.size());
    for (const auto& [reported, length] : message.errors) {
        const int position = shift.textIndex(reported);
        diagnostics.push_back(typed.at(position, length, describe(message.text, position, length)));
        shift.forgetWithin(position, length);
    }
    return diagnostics;
}

std::vector<Diagnostic> lint(const std::string& expression)
{
    const TypedText typed(expression);
    Linter linter(typed);
    linter.run();
    std::vector<Diagnostic> warnings = std::move(linter.warnings);
    exponentNotation(expression, warnings);
    std::stable_sort(warnings.begin(), warnings.end(),
                     [](const Diagnostic& a, const Diagnostic& b) { return a.position < b.position; });
    return warnings;
}

}  // namespace exprcurve
