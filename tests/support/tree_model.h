#pragma once
// A plain model of a typed tree, random ones, and the trees of the library made from them.

#include "support/twins.h"

#include <ztree/tree.h>

#include <cstdio>
#include <cstring>
#include <random>
#include <string>
#include <utility>
#include <vector>

struct TreeModel {
    std::string name;     // without the suffix
    int type = 0;         // as ZTBranch::getType
    long long number = 0; // types 1 to 5
    double real = 0;
    int precision = 2;
    std::string bytes;
    std::vector<std::pair<std::string, std::string>> attribs; // a suffix is the one named Rel
    std::vector<TreeModel> children;
};

namespace tree_model {

/// What random trees are made of.
struct Pieces {
    std::vector<std::string> values; // of attributes and texts
    bool binary = true;              // bytes of any kind as well
};

inline TreeModel random(std::mt19937& dice, const Pieces& pieces, int depth)
{
    static const char* const names[] = {"a", "Item", "_x.y-z", "UPPER", "k9", "long_name_of_an_element"};
    static const double reals[] = {0, 2.5, -1.0 / 3, 1e15, -123456.789, 1e-7, 1e22, 0.125};
    const auto pick = [&dice](auto& all) -> auto&
    {
        return all[dice() % std::size(all)];
    };
    TreeModel made;
    made.name = pick(names);
    if (dice() % 6 == 0)
        made.attribs.emplace_back("Rel", std::to_string(dice() % 12));
    for (auto n = dice() % 4; n > 0; --n)
        made.attribs.emplace_back(std::string(1, static_cast<char>('p' + dice() % 8)) + std::to_string(n),
                                  pick(pieces.values));
    made.type = static_cast<int>(dice() % 8);
    switch (made.type) {
    case 1:
        made.number = static_cast<signed char>(dice());
        break;
    case 2:
        made.number = static_cast<unsigned char>(dice());
        break;
    case 3:
        made.number = static_cast<short>(dice());
        break;
    case 4:
    case 5:
        made.number = static_cast<int>(dice());
        break;
    case 6:
        made.real = pick(reals);
        made.precision = dice() % 8 ? static_cast<int>(dice() % 10) : 255;
        break;
    case 7:
        made.bytes = pick(pieces.values);
        if (pieces.binary && dice() % 4 == 0)
            for (auto n = dice() % 50; n > 0; --n)
                made.bytes += static_cast<char>(dice());
        break;
    default:
        break;
    }
    if (depth > 0)
        for (auto n = dice() % 4; n > 0; --n)
            made.children.push_back(random(dice, pieces, depth - 1));
    return made;
}

/// The value as text by the C library: a comma for the last point.
inline std::string printed(const TreeModel& m)
{
    if (m.type == 0)
        return "";
    if (m.type == 7)
        return m.bytes;
    if (m.type != 6)
        return std::to_string(m.number);
    char room[600];
    std::snprintf(room, sizeof room, "%.*f", m.precision, m.real);
    std::string out = room;
    if (out.rfind('.') != std::string::npos)
        out[out.rfind('.')] = ',';
    return out;
}

/// Bytes as units of the same value.
template <class Ch> std::basic_string<Ch> units(const std::string& bytes)
{
    std::basic_string<Ch> all;
    for (const char c : bytes)
        all += sizeof(Ch) == 1 ? static_cast<Ch>(c) : static_cast<Ch>(static_cast<unsigned char>(c));
    return all;
}

/// The branch that a model describes; the caller owns it. Wide values are the same texts in UTF-16.
template <class Branch, class Attrib> Branch* build(const TreeModel& m)
{
    using Ch = std::remove_cv_t<std::remove_pointer_t<decltype(std::declval<Branch>().getName())>>;
    const auto name = widen<Ch>(m.name);
    Branch* made = nullptr;
    if (m.type == 6)
        made = new Branch(name.c_str(), m.real, static_cast<unsigned char>(m.precision));
    else
        made = new Branch(name.c_str());
    switch (m.type) {
    case 1:
        made->setValue(static_cast<char>(m.number));
        break;
    case 2:
        made->setValue(static_cast<unsigned char>(m.number));
        break;
    case 3:
        made->setValue(static_cast<short>(m.number));
        break;
    case 4:
        made->setValue(static_cast<int>(m.number));
        break;
    case 5:
        made->setValue(static_cast<long>(m.number));
        break;
    case 7: {
        const auto value = units<Ch>(m.bytes);
        made->setValue(value.data(), static_cast<int>(value.size() * sizeof(Ch)));
        break;
    }
    default:
        break;
    }
    for (const auto& [key, value] : m.attribs)
        made->addAttrib(Attrib(units<Ch>(key).c_str(), units<Ch>(value).c_str()), false);
    for (const TreeModel& child : m.children) {
        Branch* below = build<Branch, Attrib>(child);
        below->setParent(made);
        made->setChild(below, -1);
    }
    return made;
}
inline ZTBranch* build(const TreeModel& m)
{
    return build<ZTBranch, ZAttrib>(m);
}

/// A tree that takes every way: deeper than what stacks hold inline, more attributes than that, one without a
/// name; the caller owns it.
inline ZTBranch* rich()
{
    std::mt19937 dice(77);
    ZTBranch* root = new ZTBranch("rich(1)", 2.5, 4);
    for (int i = 0; i < 8; ++i)
        root->setChild(build(random(dice, {{"", "v", "a&b", std::string(60, 'x')}, true}, 3)), -1);
    ZTBranch* at = root;
    for (int i = 0; i < 40; ++i) {
        ZTBranch* below = new ZTBranch("deep", i, at);
        at->setChild(below, -1);
        at = below;
    }
    for (int i = 0; i < 40; ++i)
        at->addAttrib(ZAttrib(("n" + std::to_string(i)).c_str(), "v"), false);
    at->addAttrib(ZAttrib(), false);
    return root;
}

/// All that a branch and what is below it hold, for comparing.
inline std::string shown(const ZTBranch& branch)
{
    const void* value = nullptr;
    int size = 0;
    branch.getValuePtr(&value, &size);
    std::string all = std::string("<") + (branch.getFullName() ? branch.getFullName() : "(none)") + ":" +
                      std::to_string(branch.getType()) + ":";
    all.append(static_cast<const char*>(value), static_cast<std::size_t>(size));
    ZTBranch copy(branch); // its text shows the precision
    int length = 0;
    const char* text = branch.getType() == 6 ? copy.toString(&length) : nullptr;
    all.append(text ? text : "");
    for (int i = 0; i < branch.getAttribCount(); ++i)
        all += std::string(" ") +
               (branch.getAttrib(i)->getName() ? branch.getAttrib(i)->getName() : "(none)") + "=" +
               branch.getAttrib(i)->getValue();
    all += ">";
    for (int i = 0; i < branch.getChildCount(); ++i)
        all += branch.getChild(i) ? shown(*branch.getChild(i)) : "";
    return all + "</>";
}
inline std::string shown(const ZTree& tree)
{
    return tree.root() ? shown(*tree.root()) : "";
}

} // namespace tree_model
