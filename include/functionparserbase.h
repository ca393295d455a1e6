// The expression parser: a table of named keys bound to host variables, the
// text helpers, the operator finders, the tree builder and the variable
// discovery.
//
// The language in short (see docs/expressions.md for the full account):
//   - operators, loosest to tightest: | & = > < + - * / ^ ; every one of them
//     groups to the right ('a-b-c' is a-(b-c), '8/4/2' is 4), and a leading
//     '-' is 0-x, so '2^-1' is (2^0)-1 = 0;
//   - no two-character operators ('a>=b' is (a>0)=b) and no exponent
//     notation ('1e-5' is 1*e-5 with the constant e);
//   - implicit multiplication: '2x' is 2*x, '(a)(b)' is (a)*(b);
//   - calls: if max min exp log10 log rnd abs sqrt acos asin atan cosh sinh
//     tanh cos sin tan ceil floor j0 j1 not; constants pi e epsilon (floats);
//     and the functions the host defines with defineFunction.
//
// A faulty text never stops the parser: it yields a tree all the same, with
// every fault recorded in the caller's ParseMessage.
#ifndef EXPRCURVE_FUNCTIONPARSERBASE_H
#define EXPRCURVE_FUNCTIONPARSERBASE_H

#include <cstddef>
#include <cstdint>
#include <functional>
#include <map>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "functionfloatbase.h"  // HostFunction

class ParserVarMapper;

// Operator kinds; the value is the index of the kind's entry in tableInfo.
enum functionType {
    FT_NONE = 0,
    FT_ADD,
    FT_SUB,
    FT_MUL,
    FT_DIV,
    FT_POW,
    FT_EQL,
    FT_AND,
    FT_OR,
    FT_GRT,
    FT_LSS,
    FT_EXTRA1,
    FT_EXTRA2
};

struct operatorStruct {
    int kind;
    char opChar;
};

// One entry per functionType, in order; the unused kinds carry a blank.
extern const operatorStruct tableInfo[13];

// Kind codes of FunctionParserBase::keyStruct::type.
enum { KEY_BOOL = 0, KEY_INT = 1, KEY_FLOAT = 2, KEY_DOUBLE = 3 };

// ParseMessage::errorCode values (2 is never produced).
enum { PARSE_OK = 0, PARSE_BAD_OPERAND = 1, PARSE_BAD_BRACKET = 3 };

// The caller's record of one parse. `ParseMessage m{};` is the fresh record;
// parseString resets it, so one record can serve any number of parses.
struct ParseMessage {
    bool atStart;
    int errorCode;  // the code of the last fault found, PARSE_OK when none
    int position;   // running offset in `text`; see parse()
    std::string text;  // the normalised expression
    std::vector<std::pair<int, int>> errors;  // (position, length) per fault
};

class FunctionParserBase {
public:
    struct keyStruct {
        std::string name;
        int type;   // KEY_BOOL, KEY_INT, KEY_FLOAT or KEY_DOUBLE
        void* ptr;  // the host's variable, never owned
    };

    // Deeper operator chains or nestings are cut: the part below this many
    // levels becomes one constant 0 and one PARSE_BAD_OPERAND fault covering
    // all of it, so that parsing, evaluation and deletion (which all recurse)
    // stay within a small thread stack (see docs/reliability.md for figures).
    static constexpr int maxParseDepth = 1000;

    // Starts with the float keys "pi", "e" and "epsilon", shared by every
    // parser in the process (writing through one parser's "pi" changes all).
    FunctionParserBase();
    ~FunctionParserBase();
    FunctionParserBase(const FunctionParserBase&) = delete;
    FunctionParserBase& operator=(const FunctionParserBase&) = delete;

    // ---- key table. Names are lower-cased except where noted.
    bool insertKey(const std::string& name, double* ptr);
    bool insertKey(const std::string& name, float* ptr);
    bool insertKey(const std::string& name, int* ptr);
    bool insertKey(const std::string& name, bool* ptr);
    bool insertKey(const keyStruct& key);  // stores key.name as given
    bool removeKey(const std::string& name);
    // The entry is filed under the new name but keeps its old `name`.
    bool renameKey(const std::string& oldName, const std::string& newName);
    keyStruct* getKey(const std::string& name);
    int findIndex(const std::string& name) const;  // exact name; 0 or -1
    keyStruct* findIndex(const double* address);
    keyStruct* findIndex(const float* address);
    keyStruct* findIndex(const int* address);
    keyStruct* findIndex(const bool* address);
    void getAllKeyNames(std::vector<std::string>& names) const;  // appends
    void freeKeyMap();
    static FunctionParserBase& instance();
    std::string toLowerString(const std::string& s) const;

    // ---- variable mapper: asked about every operand before the key table.
    // The parser never owns it; null removes it.
    void setVarMapper(ParserVarMapper* mapper);
    ParserVarMapper* getVarMapper() const;

    // ---- host functions. `name(x1,...,xn)` in a text (`name()` for none)
    // calls `function` with the arguments' values, left to right, and
    // `context`. The name is lower-cased; it is refused (false) when it is
    // empty, is not a letter followed by letters, digits or '_', is one of
    // the built-in call names, or could never be called because the text's
    // normalisation splits it ('v3len(' reads as 'v3*len('); so is an arity
    // above 8 or a null function. Defining a name again replaces it. Trees
    // already built keep what they were built with. A name that is also a key
    // is the function when a bracket follows and the key otherwise.
    bool defineFunction(const std::string& name, unsigned int arity, HostFunction function,
                        void* context = nullptr);
    bool removeFunction(const std::string& name);  // false when not defined

    struct HostFunctionEntry {
        unsigned int arity;
        HostFunction function;
        void* context;
    };
    // The function defined under the exact (lower-case) name, or null.
    const HostFunctionEntry* findFunction(std::string_view name) const;

    // ---- text preparation
    std::string firstParse(const std::string& expression);
    bool startsWith(const std::string& s, const std::string& prefix);
    bool isAValidNumber(const std::string& s);
    bool hasFirstParentesis(const std::string& s);
    std::string removeFirstParentesis(const std::string& s, ParseMessage& message, int& count);
    unsigned int findFirstElement(char c, const std::string& s, unsigned int start);

    // ---- operator location
    bool findBinaryOperation(functionType type, const std::string& s, std::string& left,
                             std::string& right);
    bool findBinaryOperation(const std::string& name, const std::string& s, std::string& first,
                             std::string& second);
    bool findTernaryOperation(const std::string& name, const std::string& s, std::string& first,
                              std::string& second, std::string& third);
    bool findUnaryOperation(const std::string& name, const std::string& s, std::string& argument);

    // ---- tree construction. Never returns null; the caller owns the tree.
    FunctionFloatBase* parseString(const std::string& expression, ParseMessage& message,
                                   bool flag = false);
    FunctionFloatBase* parse(const std::string& s, ParseMessage& message);

    // ---- variable discovery: the keys a tree reads, in first-appearance
    // order, each once; one null entry stands for every unregistered leaf.
    std::vector<keyStruct*> getAllVars(const FunctionFloatBase* node);

    std::map<std::string, keyStruct> keyMap;
    ParserVarMapper* varMapper = nullptr;
    // How many random nodes one parse may build. Each holds a table of 10,000
    // samples (80 KB, and its construction time), so a host parsing untrusted
    // text may bound them: past the bound each further "rnd" call is one
    // PARSE_BAD_OPERAND fault covering the call, and builds nothing.
    // Building one advances the process-wide generator without a lock, so
    // parses of texts that may call "rnd" are for one thread at a time across
    // all parsers; 0 makes every such call a fault.
    std::size_t maxRandomNodes = SIZE_MAX;

private:
    std::map<std::string, HostFunctionEntry, std::less<>> functionMap;
};

#endif  // EXPRCURVE_FUNCTIONPARSERBASE_H
