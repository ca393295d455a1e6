// The operator character of every operator kind, indexed by the kind itself.
#include "functionparserbase.h"

const operatorStruct tableInfo[13] = {
    {FT_NONE, ' '},
    {FT_ADD, '+'},
    {FT_SUB, '-'},
    {FT_MUL, '*'},
    {FT_DIV, '/'},
    {FT_POW, '^'},
    {FT_EQL, '='},
    {FT_AND, '&'},
    {FT_OR, '|'},
    {FT_GRT, '>'},
    {FT_LSS, '<'},
    {FT_EXTRA1, ' '},
    {FT_EXTRA2, ' '},
};
