// The key table: names bound to the addresses of host variables, the
// built-in constants and the process-wide parser.
#include "functionparserbase.h"

#include <cctype>

namespace {

using KeyMap = std::map<std::string, FunctionParserBase::keyStruct>;

// The first entry, in ascending name order, of the given kind bound to the
// address.
FunctionParserBase::keyStruct* findKeyByAddress(KeyMap& keyMap, int type, const void* address)
{
    for (auto& entry : keyMap) {
        if (entry.second.type == type && entry.second.ptr == address) {
            return &entry.second;
        }
    }
    return nullptr;
}

}  // namespace

FunctionParserBase::FunctionParserBase()
{
    // One set per process, shared and writable by every parser.
    static float ParserPI = 3.14159274f;
    static float ParserE = 2.71828175f;
    static float ParserEPSILON = 1.1920928955078125e-07f;
    insertKey("pi", &ParserPI);
    insertKey("e", &ParserE);
    insertKey("epsilon", &ParserEPSILON);
}

FunctionParserBase::~FunctionParserBase()
{
    freeKeyMap();
}

bool FunctionParserBase::insertKey(const std::string& name, double* ptr)
{
    return insertKey(keyStruct{toLowerString(name), KEY_DOUBLE, ptr});
}

bool FunctionParserBase::insertKey(const std::string& name, float* ptr)
{
    return insertKey(keyStruct{toLowerString(name), KEY_FLOAT, ptr});
}

bool FunctionParserBase::insertKey(const std::string& name, int* ptr)
{
    return insertKey(keyStruct{toLowerString(name), KEY_INT, ptr});
}

bool FunctionParserBase::insertKey(const std::string& name, bool* ptr)
{
    return insertKey(keyStruct{toLowerString(name), KEY_BOOL, ptr});
}

// An existing entry always wins, whatever its kind.
bool FunctionParserBase::insertKey(const keyStruct& key)
{
    return keyMap.emplace(key.name, key).second;
}

bool FunctionParserBase::removeKey(const std::string& name)
{
    return keyMap.erase(toLowerString(name)) != 0;
}

// Both names are lower-cased first, so a rename that only changes the case
// finds the new name taken and fails.
bool FunctionParserBase::renameKey(const std::string& oldName, const std::string& newName)
{
    const std::string newKey = toLowerString(newName);
    const auto old = keyMap.find(toLowerString(oldName));
    if (old == keyMap.end() || keyMap.count(newKey) != 0) {
        return false;
    }
    keyMap.emplace(newKey, old->second);
    keyMap.erase(old);
    return true;
}

FunctionParserBase::keyStruct* FunctionParserBase::getKey(const std::string& name)
{
    const auto found = keyMap.find(toLowerString(name));
    return found == keyMap.end() ? nullptr : &found->second;
}

int FunctionParserBase::findIndex(const std::string& name) const
{
    return keyMap.count(name) != 0 ? 0 : -1;
}

FunctionParserBase::keyStruct* FunctionParserBase::findIndex(const double* address)
{
    return findKeyByAddress(keyMap, KEY_DOUBLE, address);
}

FunctionParserBase::keyStruct* FunctionParserBase::findIndex(const float* address)
{
    return findKeyByAddress(keyMap, KEY_FLOAT, address);
}

FunctionParserBase::keyStruct* FunctionParserBase::findIndex(const int* address)
{
    return findKeyByAddress(keyMap, KEY_INT, address);
}

FunctionParserBase::keyStruct* FunctionParserBase::findIndex(const bool* address)
{
    return findKeyByAddress(keyMap, KEY_BOOL, address);
}

void FunctionParserBase::getAllKeyNames(std::vector<std::string>& names) const
{
    for (const auto& entry : keyMap) {
        names.push_back(entry.first);
    }
}

void FunctionParserBase::freeKeyMap()
{
    keyMap.clear();
}

FunctionParserBase& FunctionParserBase::instance()
{
    static FunctionParserBase theObject;
    return theObject;
}

// tolower takes its argument as an unsigned char value; a negative char would
// be undefined there.
std::string FunctionParserBase::toLowerString(const std::string& s) const
{
    std::string lower(s);
    for (char& c : lower) {
        c = static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
    }
    return lower;
}

void FunctionParserBase::setVarMapper(ParserVarMapper* mapper)
{
    varMapper = mapper;
}

ParserVarMapper* FunctionParserBase::getVarMapper() const
{
    return varMapper;
}
