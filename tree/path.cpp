// Following paths: finding, reading, setting, removing.

#include "tree/path.h"

#include "tree/tree_core.h"

#include <ztree/runtime.h>

#include <algorithm>
#include <charconv>
#include <climits>
#include <cmath>
#include <cstdio>
#include <cstring>

namespace ztree_impl {

using ztree::detail::throwNoMemory;

namespace {

using Core = BranchCore<NarrowTree>;

// The topmost branch above b; null where parents form a ring.
const ZTBranch* topOf(const ZTBranch* b) noexcept
{
    const ZTBranch* mark = b;
    unsigned steps = 0;
    unsigned limit = 64;
    while (const ZTBranch* parent = b ? Core::of(b)->parent() : nullptr) {
        if (parent == mark)
            return nullptr;
        b = parent;
        if (++steps == limit) {
            mark = b;
            limit *= 2;
        }
    }
    return b;
}

bool hasText(const ZTBranch* branch, const char* text, int n) noexcept
{
    char room[ztree::detail::numberRoom];
    return ztree::detail::textOf({const_cast<ZTBranch*>(branch), nullptr}, room) ==
           std::string_view(text, static_cast<std::size_t>(n));
}

bool holds(const PathCondition& condition, const ZTBranch* branch) noexcept
{
    const Core& core = *Core::of(branch);
    switch (condition.kind) {
    case PathCondition::hasAttrib:
        return core.findAttrib(condition.query.text) >= 0;
    case PathCondition::attribIs: {
        const int at = core.findAttrib(condition.query.text);
        return at >= 0 && valueLength(*core.attrib(at)) == condition.valueLength &&
               std::memcmp(core.attrib(at)->getValue(), condition.value,
                           static_cast<std::size_t>(condition.valueLength)) == 0;
    }
    case PathCondition::selfIs:
        return hasText(branch, condition.value, condition.valueLength);
    default:
        break;
    }
    int i = core.findChild(condition.query);
    if (i < 0 || condition.kind == PathCondition::hasChild)
        return i >= 0;
    for (; i < core.childCount(); ++i) {
        const ZTBranch* child = core.child(i);
        if (child && Core::of(child)->equals(condition.query) > 0 &&
            hasText(child, condition.value, condition.valueLength))
            return true;
    }
    return false;
}

} // namespace

// --- seen branches ---

SeenBranches::Entry& SeenBranches::place(Entry* entries, std::size_t mask, int step,
                                         const ZTBranch* branch) const noexcept
{
    std::uint64_t h = (reinterpret_cast<std::uintptr_t>(branch) >> 4) * std::uint64_t{0x9E3779B97F4A7C15u};
    h ^= static_cast<unsigned>(step) * std::uint64_t{0xC2B2AE3D27D4EB4Fu};
    std::size_t i = static_cast<std::size_t>(h >> 24) & mask;
    while (entries[i].branch && (entries[i].branch != branch || entries[i].step != step))
        i = (i + 1) & mask;
    return entries[i];
}

bool SeenBranches::add(int step, const ZTBranch* branch)
{
    if (m_count * 2 >= m_mask) {
        const std::size_t mask = m_entries ? m_mask * 2 + 1 : 63;
        Entry* fresh = platform::allocZeroed<Entry>(mask + 1);
        if (!fresh)
            throwNoMemory();
        for (std::size_t i = 0; m_entries && i <= m_mask; ++i)
            if (m_entries[i].branch)
                place(fresh, mask, m_entries[i].step, m_entries[i].branch) = m_entries[i];
        platform::heapFree(m_entries);
        m_entries = fresh;
        m_mask = mask;
    }
    Entry& entry = place(m_entries, m_mask, step, branch);
    if (entry.branch)
        return false;
    entry = {branch, step};
    ++m_count;
    return true;
}

// --- search ---

PathSearch::PathSearch(const ztree::Path::Body& path, const ztree::PathStart& from, int steps) noexcept
    : m_path(path), m_context(path.absolute ? nullptr : from.branch()),
      m_root(!path.absolute ? nullptr
             : from.root()  ? from.root()
                            : topOf(from.branch())),
      m_steps(steps)
{
}

void PathSearch::push(const ZTBranch* branch, int step)
{
    if (!m_frames.push({branch, step, 0, 0, false}))
        throwNoMemory();
}

int PathSearch::childCount(const Frame& frame) const noexcept
{
    return frame.branch ? Core::of(frame.branch)->childCount() : m_root != nullptr;
}

ZTBranch* PathSearch::child(const Frame& frame, int i) const noexcept
{
    return frame.branch ? Core::of(frame.branch)->child(i) : const_cast<ZTBranch*>(m_root);
}

bool PathSearch::matches(const PathStep& step, const ZTBranch* branch, int& count) noexcept
{
    if (!step.any && Core::of(branch)->equals(step.query) < 1)
        return false;
    for (int i = 0; i < step.conditionCount; ++i) {
        const PathCondition& condition = step.conditions[i];
        if (condition.kind == PathCondition::position ? ++count != condition.n : !holds(condition, branch))
            return false;
    }
    return true;
}

// The next child that the step may concern: with a deep step every one, else the next match.
ZTBranch* PathSearch::draw(Frame& frame) const noexcept
{
    const PathStep& step = m_path.steps[frame.step];
    const int count = childCount(frame);
    if (step.deep) {
        while (frame.next < count)
            if (ZTBranch* found = child(frame, frame.next++))
                return found;
        return nullptr;
    }
    // The first of that name is where the name index says, among however many children.
    if (frame.next == 0 && !step.any && frame.branch) {
        const int first = Core::of(frame.branch)->findChild(step.query);
        frame.next = first < 0 ? count : first;
    }
    while (frame.next < count && !(step.position && frame.count >= step.position)) {
        ZTBranch* found = child(frame, frame.next++);
        if (found && matches(step, found, frame.count))
            return found;
    }
    return nullptr;
}

void PathSearch::enterBelow(const Frame& frame)
{
    const ZTBranch* branch = child(frame, frame.next - 1);
    const int step = frame.step;
    if (Core::of(branch)->childCount() == 0)
        return;
    if (Core::of(branch)->wasLinked())
        for (std::size_t i = 0; i < m_frames.size(); ++i)
            if (m_frames[i].branch == branch && m_frames[i].step == step)
                return; // a link back to a branch on the way
    if (!m_path.steps[step].merge || m_seen.add(step, branch))
        push(branch, step);
}

// Takes the steps that lead to one branch at once; true when the path ends there.
bool PathSearch::follow(int step, ZTBranch* branch, ZTBranch* parent, Found& found)
{
    for (; step < m_steps; ++step) {
        const PathStep& s = m_path.steps[step];
        switch (s.kind) {
        case PathStep::self:
            break;
        case PathStep::parent:
            branch = branch ? Core::of(branch)->parent() : nullptr;
            if (!branch || !m_seen.add(step, branch))
                return false;
            parent = Core::of(branch)->parent();
            break;
        case PathStep::attrib: {
            const int at = branch && !s.any ? Core::of(branch)->findAttrib(s.query.text) : -1;
            if (branch && s.any)
                push(branch, step);
            if (at < 0)
                return false;
            found = {branch, parent, Core::of(branch)->attrib(at)};
            return true;
        }
        case PathStep::child:
            if ((branch || m_root) && (!s.merge || !branch || m_seen.add(step, branch)))
                push(branch, step);
            return false;
        }
    }
    found = {branch, parent, nullptr};
    return branch != nullptr;
}

bool PathSearch::next(Found& found)
{
    if (!m_started) {
        m_started = true;
        ZTBranch* context = const_cast<ZTBranch*>(m_context);
        if (!context && !m_path.absolute)
            return false;
        if (follow(0, context, context ? Core::of(context)->parent() : nullptr, found))
            return true;
    }
    while (!m_frames.empty()) {
        Frame& frame = m_frames.top();
        if (m_path.steps[frame.step].kind == PathStep::attrib) {
            if (frame.next < Core::of(frame.branch)->attribCount()) {
                found = {const_cast<ZTBranch*>(frame.branch), nullptr,
                         Core::of(frame.branch)->attrib(frame.next++)};
                return true;
            }
            m_frames.pop();
            continue;
        }
        if (frame.enter) {
            frame.enter = false;
            enterBelow(frame);
            continue;
        }
        ZTBranch* child = draw(frame);
        if (!child) {
            m_frames.pop();
            continue;
        }
        const PathStep& step = m_path.steps[frame.step];
        if (step.deep) {
            frame.enter = true;
            if (!matches(step, child, frame.count))
                continue;
        }
        // What follows may move the frames.
        if (follow(frame.step + 1, child, const_cast<ZTBranch*>(frame.branch), found))
            return true;
    }
    return false;
}

} // namespace ztree_impl

namespace {

using ztree::Path;
using ztree::PathError;
using ztree::PathTarget;
using ztree::PathValue;
using ztree::detail::throwNoMemory;
using ztree_impl::PathCondition;
using ztree_impl::PathSearch;
using ztree_impl::PathStep;
using Core = ztree_impl::BranchCore<ztree_impl::NarrowTree>;

constexpr std::size_t mostText = INT_MAX - 64;

bool report(PathError& error, int column, const char* message) noexcept
{
    error.column = column;
    std::snprintf(error.message, sizeof error.message, "%s", message);
    return false;
}

// --- setting ---

// Decimals of the shortest text that reads back as the same double.
int decimalsOf(double value) noexcept
{
    char text[ztree::detail::numberRoom];
    const auto end = std::to_chars(text, text + sizeof text, value, std::chars_format::fixed).ptr;
    const char* point = std::find(text, end, '.');
    return point == end ? 0 : static_cast<int>(std::min<std::ptrdiff_t>(end - point - 1, 255));
}

unsigned char precisionOf(const PathValue& value) noexcept
{
    return static_cast<unsigned char>(value.decimals() < 0 ? decimalsOf(value.real())
                                                           : std::min(value.decimals(), 255));
}

void setNumber(Core& core, const PathValue& value) noexcept
{
    if (value.type() == 4) {
        core.setNumber(4, static_cast<int>(value.integer()));
    } else if (value.type() == 5) {
        core.setNumber(5, static_cast<long>(value.integer()));
    } else {
        core.setNumber(6, value.real());
        core.setPrecision(precisionOf(value));
    }
}

// What can be wrong with a value is found before anything changes.
bool canHold(const PathValue& value, bool attrib, int column, PathError& error) noexcept
{
    if (value.type() == 5 && static_cast<long>(value.integer()) != value.integer())
        return report(error, column, "the number is too large for a long of this system");
    if (value.type() == 7 && value.text().size() > mostText)
        return report(error, column, "the text is too long");
    if (value.type() == 7 && attrib && value.text().find('\0') != std::string_view::npos)
        return report(error, column, "an attribute holds no zero byte");
    return true;
}

void setAttrib(Core& core, const char* name, const PathValue& value)
{
    const int at = core.findAttrib(name);
    if (at >= 0)
        name = core.attrib(at)->getName();
    if (value.type() == 7) {
        const std::string_view text = value.text();
        platform::HeapPtr<char> copy(platform::allocArray<char>(text.size() + 1));
        if (!copy)
            throwNoMemory();
        if (!text.empty())
            std::memcpy(copy.get(), text.data(), text.size());
        copy[text.size()] = 0;
        core.addAttrib(ZAttrib(name, copy.get()), true);
        return;
    }
    // A number has the same text wherever it stands.
    ZTBranch number;
    char text[ztree::detail::numberRoom];
    setNumber(*Core::of(&number), value);
    Core::of(&number)->printNumber(text);
    core.addAttrib(ZAttrib(name, text), true);
}

void setValue(Core& core, const PathValue& value)
{
    if (value.type() == 7)
        core.setBytes(value.text().data(), static_cast<int>(value.text().size()));
    else
        setNumber(core, value);
}

// A branch as the step names it; the caller deletes it.
ZTBranch* makeBranch(const PathStep& step)
{
    const auto& query = step.query;
    ZTBranch* fresh = Core::create(query.text, query.suffix ? query.baseLength : query.length, 0);
    try {
        Core& core = *Core::of(fresh);
        if (query.suffix) {
            ZAttrib* rel = ztree_impl::newAttrib("Rel", 3, query.suffix, query.suffixLength);
            try {
                core.adoptAttrib(rel);
            } catch (...) {
                delete rel;
                throw;
            }
        }
        for (int i = 0; i < step.conditionCount; ++i)
            if (step.conditions[i].kind == PathCondition::attribIs)
                core.addAttrib(ZAttrib(step.conditions[i].query.text, step.conditions[i].value), true);
    } catch (...) {
        delete fresh;
        throw;
    }
    return fresh;
}

bool isPlain(const PathStep& step, PathError& error) noexcept
{
    if (step.kind == PathStep::self)
        return true;
    if (step.kind != PathStep::child || step.deep || step.any)
        return report(error, step.column, "nothing is found here, and only a plain name can be made");
    if (step.query.suffix && step.query.baseLength < 1)
        return report(error, step.column, "no branch is found by a suffix alone");
    for (int i = 0; i < step.conditionCount; ++i)
        if (step.conditions[i].kind != PathCondition::attribIs &&
            step.conditions[i].kind != PathCondition::position)
            return report(error, step.conditions[i].column,
                          "nothing is found here, and only [@a='v'] and the next [n] can be made");
    return true;
}

// Whether a new last child of `parent` (null: none there) would be the one that the step names.
bool comesNext(const PathStep& step, const ZTBranch* parent, PathError& error) noexcept
{
    if (!step.position)
        return true;
    int last = 0;
    for (int i = 0; parent && i < Core::of(parent)->childCount(); ++i)
        if (const ZTBranch* child = Core::of(parent)->child(i))
            PathSearch::matches(step, child, last);
    if (step.position == last + 1)
        return true;
    error.column = step.column;
    std::snprintf(error.message, sizeof error.message, "[%d] can be made next, not [%d]", last + 1,
                  step.position);
    return false;
}

// Makes what steps from `first` on name, as a chain that belongs to nobody yet.
class Chain {
public:
    Chain() noexcept = default;
    Chain(const Chain&) = delete;
    Chain& operator=(const Chain&) = delete;
    ~Chain() { delete m_top; }
    void add(const PathStep& step)
    {
        ZTBranch* fresh = makeBranch(step);
        if (!m_top) {
            m_top = m_last = fresh;
            return;
        }
        try {
            Core::of(m_last)->adopt(fresh);
        } catch (...) {
            delete fresh;
            throw;
        }
        m_last = fresh;
    }
    ZTBranch* top() const noexcept { return m_top; }
    ZTBranch* last() const noexcept { return m_last; }
    void release() noexcept { m_top = nullptr; }

private:
    ZTBranch* m_top = nullptr;
    ZTBranch* m_last = nullptr;
};

bool make(const PathTarget& target, const Path::Body& path, const PathValue& value, PathError& error)
{
    const PathStep& final = path.steps[path.count - 1];
    const bool attrib = final.kind == PathStep::attrib;
    // The longest part with a match.
    PathSearch::Found base{nullptr, nullptr, nullptr};
    int done = path.count - 1;
    while (done > 0 && !PathSearch(path, target, done).next(base))
        --done;
    if (done == 0)
        base.branch = path.absolute ? nullptr : const_cast<ZTBranch*>(target.branch());
    if (done == 0 && !path.absolute && !base.branch)
        return report(error, 1, "the tree is empty: only a path that begins with '/' makes a root");
    if (attrib && final.any)
        return report(error, final.column, "nothing is found here, and only a named attribute can be made");
    for (int i = done; i < path.count - attrib; ++i)
        if (!isPlain(path.steps[i], error) ||
            !comesNext(path.steps[i], i == done ? base.branch : nullptr, error))
            return false;
    if (!base.branch && (!target.tree() || target.tree()->root()))
        return report(error, path.steps[done].column, "the root has another name");
    Chain chain;
    for (int i = done; i < path.count - attrib; ++i)
        if (path.steps[i].kind == PathStep::child)
            chain.add(path.steps[i]);
    ZTBranch* last = chain.last() ? chain.last() : base.branch;
    if (!last)
        return report(error, final.column, "nothing stands above the root");
    if (attrib)
        setAttrib(*Core::of(last), final.query.text, value);
    else
        setValue(*Core::of(last), value);
    if (!chain.top())
        return true;
    if (base.branch)
        Core::of(base.branch)->adopt(chain.top());
    else
        target.tree()->set(chain.top());
    chain.release();
    return true;
}

// --- removing ---

int removeAttribs(const PathTarget& target, const Path::Body& path)
{
    const PathStep& step = path.steps[path.count - 1];
    platform::WorkStack<ZTBranch*> branches;
    PathSearch search(path, target, path.count - 1);
    PathSearch::Found found;
    while (search.next(found))
        if (!branches.push(found.branch))
            throwNoMemory();
    int removed = 0;
    for (; !branches.empty(); branches.pop()) {
        Core& core = *Core::of(branches.top());
        if (step.any) {
            removed += core.attribCount();
            while (core.attribCount())
                core.removeAttrib(core.attribCount() - 1);
        } else if (const int at = core.findAttrib(step.query.text); at >= 0) {
            core.removeAttrib(at);
            ++removed;
        }
    }
    return removed;
}

struct Gone {
    ZTBranch* parent;
    ZTBranch* branch;
    bool owned; // by the parent, and taken out of it
};
bool operator<(const Gone& a, const Gone& b) noexcept
{
    return std::less<>()(a.parent, b.parent) || (a.parent == b.parent && std::less<>()(a.branch, b.branch));
}

int removeBranches(const PathTarget& target, const Path::Body& path)
{
    const ZTBranch* const root = target.tree() ? target.tree()->root() : nullptr;
    platform::WorkStack<Gone> all;
    bool rootToo = false;
    PathSearch search(path, target, path.count);
    PathSearch::Found found;
    while (search.next(found)) {
        rootToo |= found.branch == root;
        if (found.branch != root && found.parent && !all.push({found.parent, found.branch, false}))
            throwNoMemory();
    }
    // All leave their parents, each parent's in one pass, before the first is deleted: one may stand below
    // another.
    int removed = rootToo;
    Gone* const end = &all[0] + all.size();
    std::sort(&all[0], end);
    for (Gone* first = &all[0]; first != end;) {
        Gone* last = first;
        while (last != end && last->parent == first->parent)
            ++last;
        Core::of(first->parent)->takeChildren([&](ZTBranch* child) -> bool* {
            Gone* at = std::lower_bound(first, last, Gone{first->parent, child, false});
            if (at == last || at->branch != child)
                return nullptr;
            ++removed;
            return &at->owned;
        });
        first = last;
    }
    if (target.tree() && removed)
        target.tree()->reset();
    for (; !all.empty(); all.pop())
        if (all.top().owned)
            delete all.top().branch;
    if (rootToo)
        target.tree()->clear();
    return removed;
}

// --- values as numbers ---

bool number(std::string_view text, long long& value) noexcept
{
    const auto [end, fault] = std::from_chars(text.data(), text.data() + text.size(), value);
    return fault == std::errc() && end == text.data() + text.size();
}

bool number(std::string_view text, double& value) noexcept
{
    char copy[ztree::detail::numberRoom];
    if (text.empty() || text.size() > sizeof copy)
        return false;
    text.copy(copy, text.size());
    char* const last = copy + text.size();
    char* const comma = std::find(copy, last, ',');
    if (comma != last && std::find(copy, last, '.') == last)
        *comma = '.';
    const auto [end, fault] = std::from_chars(static_cast<const char*>(copy), last, value);
    return fault == std::errc() && end == last && std::isfinite(value);
}

// The number that a branch of type 1 to 5 holds.
long long storedInteger(const Core& core) noexcept
{
    char c = 0;
    unsigned char uc = 0;
    short s = 0;
    int i = 0;
    long l = 0;
    switch (core.type()) {
    case 1:
        core.number(1, &c);
        return c;
    case 2:
        core.number(2, &uc);
        return uc;
    case 3:
        core.number(3, &s);
        return s;
    case 4:
        core.number(4, &i);
        return i;
    default:
        core.number(5, &l);
        return l;
    }
}

} // namespace

namespace ztree {

PathMatch findMatch(const PathStart& from, const Path& path)
{
    const Path::Body* body = Path::Body::of(path);
    PathSearch::Found found;
    if (!body || !PathSearch(*body, from, body->count).next(found))
        return PathMatch();
    return {found.branch, found.attrib};
}

bool set(const PathTarget& target, const Path& path, const PathValue& value, PathError* error)
{
    PathError scratch;
    PathError& fault = error ? *error : scratch;
    fault = path.error();
    const Path::Body* body = Path::Body::of(path);
    if (!body)
        return false;
    const PathStep& last = body->steps[body->count - 1];
    if (!canHold(value, last.kind == PathStep::attrib, last.column, fault))
        return false;
    const PathMatch match = findMatch(target, path);
    if (!match)
        return make(target, *body, value, fault);
    if (match.attrib)
        setAttrib(*Core::of(match.branch), match.attrib->getName() ? match.attrib->getName() : "", value);
    else
        setValue(*Core::of(match.branch), value);
    return true;
}

int remove(const PathTarget& target, const Path& path)
{
    const Path::Body* body = Path::Body::of(path);
    if (!body)
        return 0;
    return path.namesAttrib() ? removeAttribs(target, *body) : removeBranches(target, *body);
}

namespace detail {

bool forEachMatch(const PathStart& from, const Path& path, bool (*visit)(void*, const PathMatch&),
                  void* context)
{
    const Path::Body* body = Path::Body::of(path);
    if (!body)
        return false;
    PathSearch search(*body, from, body->count);
    PathSearch::Found found;
    while (search.next(found))
        if (!visit(context, {found.branch, found.attrib}))
            return false;
    return true;
}

bool storedText(const PathMatch& match, std::string_view& text)
{
    if (match.attrib) {
        text = std::string_view(match.attrib->getValue(),
                                static_cast<std::size_t>(ztree_impl::valueLength(*match.attrib)));
        return true;
    }
    const Core& core = *Core::of(match.branch);
    text = core.binary() ? std::string_view(core.binary(), core.binaryLength()) : std::string_view();
    return core.type() == 0 || core.type() >= 7; // what the older binary form left unknown is no value
}

std::string_view textOf(const PathMatch& match, char* room)
{
    std::string_view text;
    if (!storedText(match, text))
        text = std::string_view(room, static_cast<std::size_t>(Core::of(match.branch)->printNumber(room)));
    return text;
}

bool toInteger(const PathMatch& match, long long least, long long most, long long& value)
{
    std::string_view text;
    if (storedText(match, text)) {
        if (!number(text, value))
            return false;
    } else if (Core::of(match.branch)->type() == 6) {
        double real = 0;
        Core::of(match.branch)->number(6, &real);
        if (!(real >= -9223372036854775808.0 && real < 9223372036854775808.0) || real != std::trunc(real))
            return false;
        value = static_cast<long long>(real);
    } else {
        value = storedInteger(*Core::of(match.branch));
    }
    return value >= least && value <= most;
}

bool toDouble(const PathMatch& match, double& value)
{
    std::string_view text;
    if (storedText(match, text))
        return number(text, value);
    if (Core::of(match.branch)->number(6, &value) != 0)
        value = static_cast<double>(storedInteger(*Core::of(match.branch)));
    return true;
}

bool toBool(const PathMatch& match, bool& value)
{
    std::string_view text;
    if (!storedText(match, text)) {
        double real = 0;
        toDouble(match, real);
        value = real != 0;
        return true;
    }
    for (const std::string_view word : {"true", "1", "false", "0"})
        if (ztree_impl::equalNames(text.data(), static_cast<int>(std::min<std::size_t>(text.size(), 6)),
                                   word.data(), static_cast<int>(word.size()))) {
            value = word == "true" || word == "1";
            return true;
        }
    return false;
}

} // namespace detail
} // namespace ztree
