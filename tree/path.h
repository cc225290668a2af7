#pragma once
// A parsed path and the search that follows it.

#include "platform/work_stack.h"
#include "tree/branch_core.h"

#include <ztree/ext/tree.h>

namespace ztree_impl {

using PathQuery = NameQuery<char>;

struct PathCondition {
    enum Kind { position, hasAttrib, attribIs, hasChild, childIs, selfIs };
    Kind kind;
    int n; // of a position, from 1
    PathQuery query;
    const char* value;
    int valueLength;
    int column;
};

struct PathStep {
    enum Kind { child, self, parent, attrib };
    Kind kind = child;
    bool deep = false;  // any level below
    bool any = false;   // any name
    bool merge = false; // the ways to it may meet: each branch is entered once
    int column = 0;
    int position = 0; // of the condition [n], 0 without one
    int conditionCount = 0;
    PathCondition* conditions = nullptr;
    PathQuery query{""};
};

/// Branches seen at a step; a set that takes memory with its first entry only.
class SeenBranches {
public:
    SeenBranches() noexcept = default;
    SeenBranches(const SeenBranches&) = delete;
    SeenBranches& operator=(const SeenBranches&) = delete;
    ~SeenBranches() { platform::heapFree(m_entries); }
    /// False when the pair is there already. Throws 0x84201001.
    bool add(int step, const ZTBranch* branch);

private:
    struct Entry {
        const ZTBranch* branch;
        int step;
    };
    Entry& place(Entry* entries, std::size_t mask, int step, const ZTBranch* branch) const noexcept;
    Entry* m_entries = nullptr;
    std::size_t m_mask = 0;
    std::size_t m_count = 0;
};

/// Finds the matches of a path one by one.
class PathSearch {
public:
    struct Found {
        ZTBranch* branch;
        ZTBranch* parent; // that lists it, as far as it is known
        ZAttrib* attrib;
    };
    /// Follows the first `steps` steps.
    PathSearch(const ztree::Path::Body& path, const ztree::PathStart& from, int steps) noexcept;
    /// Throws 0x84201001.
    bool next(Found& found);
    /// Whether the branch holds what the step says; `count` of those that came as far as its position.
    static bool matches(const PathStep& step, const ZTBranch* branch, int& count) noexcept;

private:
    using Core = BranchCore<NarrowTree>;
    struct Frame {
        const ZTBranch* branch; // whose children are gone through; null: the place above the root
        int step;
        int next;
        int count;  // of the children that came as far as the position
        bool enter; // what is below the last child comes next
    };
    bool follow(int step, ZTBranch* branch, ZTBranch* parent, Found& found);
    int childCount(const Frame& frame) const noexcept;
    ZTBranch* child(const Frame& frame, int i) const noexcept;
    ZTBranch* draw(Frame& frame) const noexcept;
    void enterBelow(const Frame& frame);
    void push(const ZTBranch* branch, int step);

    const ztree::Path::Body& m_path;
    const ZTBranch* m_context;
    const ZTBranch* m_root;
    const int m_steps;
    bool m_started = false;
    platform::WorkStack<Frame, 16> m_frames;
    SeenBranches m_seen;
};

} // namespace ztree_impl

struct ztree::Path::Body {
    ztree_impl::PathStep* steps;
    int count;
    bool absolute;
    bool inBlock; // outside the path object

    static const Body* of(const Path& path) noexcept { return path.ok() ? path.m_body : nullptr; }
};
