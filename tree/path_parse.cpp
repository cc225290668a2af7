// Paths as text.

#include "tree/path.h"

#include <algorithm>
#include <climits>
#include <cstdio>
#include <cstring>

namespace {

using ztree::PathError;
using ztree_impl::PathCondition;
using ztree_impl::PathQuery;
using ztree_impl::PathStep;

class Parser {
public:
    Parser(const char* text, std::size_t n, char* room, PathError& error) noexcept
        : m_begin(text), m_at(text), m_end(text + n), m_lastClose(m_end), m_room(room), m_error(error)
    {
        while (m_lastClose != m_begin && m_lastClose[-1] != ')')
            --m_lastClose;
    }
    bool path(ztree::Path::Body& body, PathCondition* conditions) noexcept;

private:
    bool fail(const char* at, const char* message) noexcept
    {
        m_error.column = static_cast<int>(std::min<std::ptrdiff_t>(at - m_begin + 1, INT_MAX));
        std::snprintf(m_error.message, sizeof m_error.message, "%s", message);
        return false;
    }
    bool is(char c) const noexcept { return m_at < m_end && *m_at == c; }
    bool endsStep(const char* at) const noexcept { return at == m_end || *at == '/' || *at == '['; }
    void blanks() noexcept
    {
        while (is(' '))
            ++m_at;
    }
    // A terminated copy that lives as long as the path.
    const char* keep(const char* from, std::size_t n) noexcept
    {
        char* copy = m_room;
        std::memcpy(copy, from, n);
        copy[n] = 0;
        m_room += n + 1;
        return copy;
    }
    bool quoted(const char*& text, int& n) noexcept;
    bool name(const char* stops, const char*& text, int& n) noexcept;
    bool step(PathStep& step, bool deep, PathCondition* conditions) noexcept;
    bool condition(PathStep& step, PathCondition& condition) noexcept;

    const char* m_begin;
    const char* m_at;
    const char* m_end;
    const char* m_lastClose; // behind the last ')'
    char* m_room;
    PathError& m_error;
};

bool Parser::quoted(const char*& text, int& n) noexcept
{
    const char* const open = m_at++;
    const char* const close = std::find(m_at, m_end, *open);
    if (close == m_end)
        return fail(open, "this quote is not closed");
    n = static_cast<int>(close - m_at);
    text = keep(m_at, static_cast<std::size_t>(n));
    m_at = close + 1;
    return true;
}

// A name in quotes, or as it stands up to one of the stops; what is in round brackets belongs to it.
bool Parser::name(const char* stops, const char*& text, int& n) noexcept
{
    const char* const start = m_at;
    if (is('\'') || is('"')) {
        if (!quoted(text, n))
            return false;
    } else {
        for (; m_at < m_end && !std::strchr(stops, *m_at); ++m_at)
            if (*m_at == '(' && m_at < m_lastClose)
                m_at = std::find(m_at, m_end, ')');
        const char* end = m_at;
        while (*stops == '=' && end > start && end[-1] == ' ')
            --end;
        n = static_cast<int>(end - start);
        text = keep(start, static_cast<std::size_t>(n));
    }
    return n > 0 || fail(start, "a name is missing");
}

bool Parser::condition(PathStep& step, PathCondition& condition) noexcept
{
    const char* const open = m_at++;
    condition.column = static_cast<int>(open - m_begin + 1);
    blanks();
    const bool attrib = is('@');
    m_at += attrib;
    const char* const start = m_at;
    const bool plain = !attrib && !is('\'') && !is('"');
    const char* text = nullptr;
    int n = 0;
    if (!name("=]", text, n))
        return false;
    condition.query = PathQuery(text);
    const bool self = plain && n == 1 && *text == '.';
    blanks();
    if (is('=')) {
        ++m_at;
        blanks();
        if (!is('\'') && !is('"'))
            return fail(m_at, "a value stands in quotes");
        if (!quoted(condition.value, condition.valueLength))
            return false;
        condition.kind = attrib ? PathCondition::attribIs
                         : self ? PathCondition::selfIs
                                : PathCondition::childIs;
        blanks();
    } else if (self) {
        return fail(m_at, "'.' asks for a value: [.='v']");
    } else if (plain && std::all_of(text, text + n, [](char c) { return c >= '0' && c <= '9'; })) {
        std::int64_t value = 0;
        for (const char* digit = text; *digit && value <= INT_MAX; ++digit)
            value = value * 10 + (*digit - '0');
        if (value < 1 || value > INT_MAX)
            return fail(start, "positions count from 1");
        if (step.position)
            return fail(start, "a step takes one position");
        condition.kind = PathCondition::position;
        condition.n = step.position = static_cast<int>(value);
    } else {
        condition.kind = attrib ? PathCondition::hasAttrib : PathCondition::hasChild;
    }
    if (!is(']'))
        return fail(m_at < m_end ? m_at : open,
                    m_at < m_end ? "']' is missing here" : "this '[' is not closed");
    ++m_at;
    return true;
}

bool Parser::step(PathStep& step, bool deep, PathCondition* conditions) noexcept
{
    step.column = static_cast<int>(m_at - m_begin + 1);
    step.deep = deep;
    step.conditions = conditions;
    const char* text = nullptr;
    int n = 0;
    if (is('@')) {
        step.kind = PathStep::attrib;
        if (deep)
            return fail(m_at, "an attribute stands behind a single '/'");
        ++m_at;
        step.any = is('*') && m_at + 1 == m_end;
        if (step.any)
            ++m_at;
        else if (name("/[", text, n))
            step.query = PathQuery(text);
        else
            return false;
        return m_at == m_end || fail(m_at, "nothing follows an attribute");
    }
    const int dots = !is('.') ? 0 : endsStep(m_at + 1) ? 1 : m_at[1] == '.' && endsStep(m_at + 2) ? 2 : 0;
    if (dots) {
        step.kind = dots == 1 ? PathStep::self : PathStep::parent;
        if (deep)
            return fail(m_at, "behind '//' stands a name or '*'");
        m_at += dots;
        return !is('[') || fail(m_at, "conditions follow a name or '*'");
    }
    if (is('*') && endsStep(m_at + 1)) {
        step.any = true;
        ++m_at;
    } else {
        if (!name("/[]", text, n))
            return false;
        step.query = PathQuery(text);
    }
    while (is('[')) {
        if (!condition(step, *::new (&conditions[step.conditionCount])
                                 PathCondition{PathCondition::position, 0, PathQuery(""), nullptr, 0, 0}))
            return false;
        ++step.conditionCount;
    }
    return true;
}

bool Parser::path(ztree::Path::Body& body, PathCondition* conditions) noexcept
{
    if (m_at == m_end)
        return fail(m_at, "the path is empty");
    if (const void* zero = std::memchr(m_begin, 0, static_cast<std::size_t>(m_end - m_begin)))
        return fail(static_cast<const char*>(zero), "a path holds no zero byte");
    body.absolute = is('/');
    m_at += body.absolute;
    bool deep = body.absolute && is('/');
    m_at += deep;
    bool deepBefore = false;
    for (;;) {
        if (m_at == m_end || *m_at == '/')
            return fail(m_at, "a step is missing here");
        PathStep& fresh = *::new (&body.steps[body.count]) PathStep;
        if (!step(fresh, deep, conditions))
            return false;
        ++body.count;
        conditions += fresh.conditionCount;
        // Below nested branches the same ones are met again.
        fresh.merge = fresh.kind == PathStep::parent || (deep && deepBefore);
        deepBefore |= deep;
        if (m_at == m_end)
            return true;
        if (*m_at != '/')
            return fail(m_at, "'/' or the end is missing here");
        ++m_at;
        deep = is('/');
        m_at += deep;
    }
}

} // namespace

namespace ztree {

void Path::parse(const char* text, std::size_t n)
{
    const std::size_t steps = static_cast<std::size_t>(std::count(text, text + n, '/')) + 1;
    const std::size_t conditions = static_cast<std::size_t>(std::count(text, text + n, '['));
    // Every name and every value gets a terminator.
    const std::size_t texts = n + steps + 2 * conditions;
    const std::size_t head = sizeof(Body) + steps * sizeof(PathStep) + conditions * sizeof(PathCondition);
    if (n > INT_MAX / 256) {
        m_error.column = 1;
        std::snprintf(m_error.message, sizeof m_error.message, "the path is too long");
        return;
    }
    const bool inBlock = head + texts > inlineBytes;
    void* room = inBlock ? platform::heapAlloc(head + texts) : m_inline;
    if (!room)
        detail::throwNoMemory();
    m_body = ::new (room) Body{nullptr, 0, false, inBlock};
    m_body->steps = reinterpret_cast<PathStep*>(m_body + 1);
    PathCondition* firstCondition = reinterpret_cast<PathCondition*>(m_body->steps + steps);
    Parser parser(text, n, reinterpret_cast<char*>(firstCondition + conditions), m_error);
    parser.path(*m_body, firstCondition);
}

Path::~Path()
{
    if (m_body && m_body->inBlock)
        platform::heapFree(m_body);
}

bool Path::namesAttrib() const noexcept
{
    return ok() && m_body->steps[m_body->count - 1].kind == PathStep::attrib;
}

} // namespace ztree
