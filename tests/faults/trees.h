#pragma once
// Trees that take every way through the library, and what they hold, told without its help.

#include "faults/sweep.h"
#include "support/tree_model.h"

#include <ztree/tree.h>

namespace faults {

template <class Branch> std::string tell(const Branch* branch)
{
    if (!branch)
        return "-";
    const void* value = nullptr;
    int size = 0;
    branch->getValuePtr(&value, &size);
    std::string all = "<" + shown(branch->getName()) + ":" + std::to_string(branch->getType()) + ":" +
                      shown(static_cast<const char*>(value), static_cast<std::size_t>(size));
    for (int i = 0; i < branch->getAttribCount(); ++i)
        all += " " + shown(branch->getAttrib(i)->getName()) + "=" + shown(branch->getAttrib(i)->getValue());
    for (int i = 0; i < branch->getChildCount(); ++i)
        all += tell(branch->getChild(i));
    return all + ">";
}
inline std::string tell(const ZTree& tree)
{
    return tell(tree.root());
}
inline std::string tell(const ZTreeW& tree)
{
    return tell(tree.root());
}

/// Every type of value, names with suffixes, `wide` children and attributes of one branch, `deep` levels.
template <class Ch> typename Twin<Ch>::Branch* makeTree(int wide, int deep)
{
    using Branch = typename Twin<Ch>::Branch;
    using Attrib = typename Twin<Ch>::Attrib;
    const auto lit = [](const std::string& text) { return widen<Ch>(text); };
    TreeModel model;
    model.name = "root";
    model.attribs = {{"Rel", "7"}, {"plain", "value"}, {"long", std::string(100, 'l')}};
    std::mt19937 dice(5);
    const tree_model::Pieces pieces = {{"", "v", "a<&b\"c", std::string(130, 'x')}, false};
    for (int i = 0; i < 8; ++i)
        model.children.push_back(tree_model::random(dice, pieces, 1));
    Branch* root = tree_model::build<Branch, Attrib>(model);
    for (int i = 0; i < wide; ++i) {
        const auto name = lit("n" + std::to_string(i));
        Branch* child = new Branch(name.c_str(), i, root);
        root->setChild(child, -1);
        root->addAttrib(Attrib(name.c_str(), name.c_str()), false);
    }
    Branch* at = root;
    for (int i = 0; i < deep; ++i) {
        Branch* below = new Branch(lit("deep").c_str(), static_cast<short>(i), at);
        at->setChild(below, -1);
        at = below;
    }
    return root;
}

} // namespace faults
