// The host's variable mapper.
//
// A host derives from ParserVarMapper and installs it with
// FunctionParserBase::setVarMapper(). While building a tree the parser asks
// mapVariable() about every operand text (lower case, no white space, no
// enclosing brackets; numbers and registered key names included) before it
// looks at its key table. A non-null answer becomes the leaf unchanged and the
// tree owns it, so every call must return a fresh node.
#ifndef EXPRCURVE_PARSERVARMAPPER_H
#define EXPRCURVE_PARSERVARMAPPER_H

#include <string>

#include "functionfloatbase.h"

class ParserVarMapper {
public:
    virtual ~ParserVarMapper();

    // A new node for `name`, or null when the mapper does not know it.
    virtual FunctionFloatBase* mapVariable(const std::string& name) = 0;

    // Leaf factories: a new leaf bound to the caller's variable (never owned,
    // never null), with an empty text.
    FunctionFloatVariableDouble* createDoubleVar(const double* address) const;
    FunctionFloatVariableFloat* createFloatVar(const float* address) const;
    FunctionFloatVariableInt* createIntVar(const int* address) const;
    FunctionFloatVariableBool* createBoolVar(const bool* address) const;

    // 'pos.x' gives 'pos' and 'x'; 'obj[2].m[5]' gives 'obj' and 'm'; a name
    // without a separating '.' gives itself twice. Each part is cut at its
    // first '[' unless that is its first character.
    void splitVarName(const std::string& name, std::string& baseName,
                      std::string& fieldName) const;

    // The index of 'arr[3]' (3), or -1 for a name without exactly one
    // well-formed index, or when no int can be read between the brackets
    // ('[]', '[-]', '[.5]', out of int range). A genuine -1 looks the same.
    int extractArrayIndex(const std::string& name) const;
};

#endif  // EXPRCURVE_PARSERVARMAPPER_H
