// Which registered keys a tree reads, in the order a depth-first,
// left-to-right walk first reaches them.
//
// Merging the children's lists level by level, as the definition reads, costs
// a search of the list gathered so far per key and a scan of the key table
// per leaf: quadratic for a tree over many keys. The walk below visits the
// leaves in the same order with a stack of its own (so no tree is too deep
// for it), skips a binding it has met before with one hash lookup, and finds
// each new binding's key through an index of the table. A key's first
// binding met is its first appearance, since a key has exactly one binding,
// so the list comes out in the same order.
#include <cstddef>
#include <unordered_map>
#include <vector>

#include "functionfloatbase.h"
#include "functionparserbase.h"
#include "variable_leaves.h"

namespace {

using exprcurve::variables::Binding;
using exprcurve::variables::BindingHash;
using Key = FunctionParserBase::keyStruct;
using KeyList = std::vector<Key*>;

// The key of a binding: the first entry, in the table's order, of the
// binding's kind at its address, as findIndex answers. A few bindings are
// looked up by scanning the table; past that, one pass builds an index.
class KeyFinder {
public:
    explicit KeyFinder(FunctionParserBase& parser) : parser(parser) {}

    Key* find(const Binding& binding)
    {
        if (scans < scansBeforeIndex) {
            ++scans;
            return scan(binding);
        }
        if (!indexed)
            buildIndex();
        const auto found = index.find(binding);
        return found == index.end() ? nullptr : found->second;
    }

private:
    static constexpr int scansBeforeIndex = 8;

    Key* scan(const Binding& binding)
    {
        switch (binding.type) {
        case KEY_BOOL:
            return parser.findIndex(static_cast<const bool*>(binding.address));
        case KEY_INT:
            return parser.findIndex(static_cast<const int*>(binding.address));
        case KEY_FLOAT:
            return parser.findIndex(static_cast<const float*>(binding.address));
        default:
            return parser.findIndex(static_cast<const double*>(binding.address));
        }
    }

    // Walking the table in its order and keeping the first entry of each
    // binding gives the entry the scan would stop at.
    void buildIndex()
    {
        index.reserve(parser.keyMap.size());
        for (auto& entry : parser.keyMap)
            index.emplace(Binding{entry.second.type, entry.second.ptr}, &entry.second);
        indexed = true;
    }

    FunctionParserBase& parser;
    int scans = 0;
    bool indexed = false;
    std::unordered_map<Binding, Key*, BindingHash> index;
};

}  // namespace

std::vector<FunctionParserBase::keyStruct*> FunctionParserBase::getAllVars(const FunctionFloatBase* node)
{
    KeyList keys;
    KeyFinder keyFinder(*this);
    // Distinct bindings have distinct keys; only the null entry, which stands
    // for every unregistered binding, could come twice.
    bool listsNull = false;
    for (const Binding& binding : exprcurve::variables::distinctBindings(node)) {
        Key* key = keyFinder.find(binding);
        if (key || !listsNull)
            keys.push_back(key);
        listsNull = listsNull || !key;
    }
    return keys;
}
