#pragma once
// The attributes of a branch to be made, so that it and they share one block.

#include "platform/work_stack.h"
#include "tree/branch_core.h"

#include <ztree/ext/tree.h>

namespace ztree_impl {

/// Collects texts, which belong to somebody else; used again for one branch after the other.
template <class Kind> class AttribBatch {
public:
    using Core = BranchCore<Kind>;
    using Ch = typename Kind::Char;
    using Branch = typename Kind::Branch;

    void clear() noexcept
    {
        m_texts.clear();
        m_units = 0;
        m_named = true;
    }
    /// The name may be null. Throws 0x84201001.
    void add(const Ch* name, int nameLength, const Ch* value, int valueLength)
    {
        if (!m_texts.push({name, nameLength, value, valueLength}))
            ztree::detail::throwNoMemory();
        m_units += static_cast<std::size_t>(nameLength) + static_cast<std::size_t>(valueLength) + 2;
        m_named &= nameLength > 0;
    }
    /// A branch with the attributes; the caller deletes it. A null name is none. Throws 0x84201001.
    Branch* make(const Ch* name, int nameLength, int valueRoom)
    {
        const int count = static_cast<int>(m_texts.size());
        const bool inBlock = count > 0 && m_named && m_units <= Core::mostAttribUnits;
        Branch* made =
            Core::create(name, nameLength, valueRoom, inBlock ? &m_texts[0] : nullptr, inBlock ? count : 0);
        try {
            if (!name)
                Core::of(made)->setName(nullptr);
            for (int i = 0; i < count && !inBlock; ++i) {
                const auto& texts = m_texts[static_cast<std::size_t>(i)];
                auto* fresh = newAttrib(texts.name, texts.nameLength, texts.value, texts.valueLength);
                try {
                    Core::of(made)->adoptAttrib(fresh);
                } catch (...) {
                    delete fresh;
                    throw;
                }
            }
        } catch (...) {
            delete made;
            throw;
        }
        return made;
    }

private:
    platform::WorkStack<typename Core::AttribTexts, 16> m_texts;
    std::size_t m_units = 0;
    bool m_named = true;
};

} // namespace ztree_impl
