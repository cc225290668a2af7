#include "runtime/expression_core.h"

#include "platform/work_stack.h"

#include <climits>
#include <cstring>

mExpression::~mExpression() = default;

int mExpression::set(const char* s, int n) noexcept
{
    if (!s) {
        n = 0;
    } else if (n < 0) {
        const std::size_t all = std::strlen(s);
        n = all > INT_MAX ? INT_MAX : static_cast<int>(all);
    }
    text = s;
    length = n;
    reserved = 0;
    return n;
}

void mExpression::copy(const mExpression& other) noexcept
{
    text = other.text;
    length = other.length;
    reserved = other.reserved;
}

namespace expr {

namespace {

using Op = expression;

enum Kind : unsigned char { plain, bang, opening, closing, product, sum, bits, equals, bracket };

struct KindTable {
    Kind of[256] = {};
    constexpr KindTable()
    {
        const struct {
            const char* chars;
            Kind kind;
        } rows[] = {{"!", bang}, {"(", opening}, {")", closing}, {"*/%^", product},
                    {"+-", sum}, {"&|", bits},   {"=", equals},  {"[]", bracket}};
        for (const auto& row : rows)
            for (const char* c = row.chars; *c; ++c)
                of[static_cast<unsigned char>(*c)] = row.kind;
    }
};
constexpr KindTable s_kinds;

Kind kindOf(char c) noexcept
{
    return s_kinds.of[static_cast<unsigned char>(c)];
}

// A larger number binds looser; 0 is no operator. Kept: comparisons and logic share one rank, so
// a==b&&c is a==(b&&c).
enum Rank : int { rankNone, rankProduct, rankSum, rankLogic };

// The character after an operator belongs to it when it is one of these, whatever the operator.
bool isSecond(char c) noexcept
{
    return c == '&' || c == '|' || c == '=';
}

// The rank of the operator that starts at p. Every rule looks forward, so that the answer holds in
// every part that the text is split into: where a part could end between the two characters it looks
// at, an operator further left is always taken first.
Rank rankAt(const char* p, const char* end) noexcept
{
    const char next = end - p > 1 ? p[1] : '\0';
    switch (kindOf(*p)) {
    case product:
        return rankProduct;
    case sum:
        return rankSum;
    case bracket:
        return rankLogic;
    case equals:
    case bang:
        return next == '=' ? rankLogic : rankNone;
    case bits:
        if (end - p < 2)
            return rankNone;
        if (next == *p)
            return rankLogic;
        // Kept: before a parenthesis, bracket or operator a single & or | is text, so 6&(3) is 6.
        // "!=" stands for itself and always splits first.
        if (kindOf(next) == plain || (kindOf(next) == bang && !(end - p > 2 && p[2] == '=')))
            return rankProduct;
        return rankNone;
    default:
        return rankNone;
    }
}

// Where the right operand begins. Kept: one of & | = after any operator is skipped as part of it, so
// 3+=4 is 7.
const char* behind(const char* p, const char* end) noexcept
{
    ++p;
    return p != end && isSecond(*p) ? p + 1 : p;
}

std::uint32_t wrapped(std::int64_t v) noexcept
{
    return static_cast<std::uint32_t>(v);
}

int apply(Op::oper op, int left, int right) noexcept
{
    const std::int64_t a = left, b = right; // no 32-bit step can overflow in 64 bits
    switch (op) {
    case Op::opSum:
        return static_cast<int>(wrapped(a + b));
    case Op::opDifference:
        return static_cast<int>(wrapped(a - b));
    case Op::opProduct:
        return static_cast<int>(wrapped(a * b));
    case Op::opQuotient:
        return b ? static_cast<int>(wrapped(a / b)) : 0;
    case Op::opRemainder:
        return b ? static_cast<int>(a % b) : 0;
    case Op::opAnd:
        return left & right;
    case Op::opOr:
        return left | right;
    case Op::opXor:
        return left ^ right;
    case Op::opLess:
        return left < right;
    case Op::opLessEqual:
        return left <= right;
    case Op::opGreater:
        return left > right;
    case Op::opGreaterEqual:
        return left >= right;
    case Op::opEqual:
        return left == right;
    case Op::opNotEqual:
        return left != right;
    case Op::opLogicalAnd:
        return left && right;
    case Op::opLogicalOr:
        return left || right;
    default:
        return 0;
    }
}

// Reads the number that an operand starts with and steps over it, keeping the nesting count.
// Kept: nothing in front of a number is applied to it; "!" and "~" only end it.
int readNumber(const char*& at, const char* end, std::int64_t& nesting) noexcept
{
    const char* p = at;
    for (; p != end && (*p == '(' || *p == ' '); ++p)
        nesting -= *p == '(';
    std::uint32_t value = 0;
    std::uint32_t radix = 10;
    for (; p != end; ++p) {
        const unsigned digit = static_cast<unsigned char>(*p) - static_cast<unsigned>('0');
        if (digit < 10)
            value = value * radix + digit;
        // Kept: only decimal digits count after 0x, so 0x10 is 16 and 0x1F is 1.
        else if (value == 0 && (*p == 'x' || *p == 'X'))
            radix = 16;
        else
            break;
    }
    at = p;
    return static_cast<int>(value);
}

// An operator that waits for its right operand.
struct Pending {
    std::int64_t key; // nesting count, then rank: the larger key binds looser
    int left;
    Op::oper op; // opNone: the part starts with this operator and so has the value 0
};

} // namespace

expression::oper operAt(const char* text, const char* end) noexcept
{
    if (text == end)
        return Op::opNone;
    const char next = end - text > 1 ? text[1] : '\0';
    switch (*text) {
    case '+':
        return Op::opSum;
    case '-':
        return Op::opDifference;
    case '*':
        return Op::opProduct;
    case '/':
        return Op::opQuotient;
    case '%':
        return Op::opRemainder;
    case '&':
        return next == '&' ? Op::opLogicalAnd : Op::opAnd;
    case '|':
        return next == '|' ? Op::opLogicalOr : Op::opOr;
    case '^':
        return Op::opXor;
    case '~':
        return Op::opNot;
    case '[':
        return next == '=' ? Op::opLessEqual : Op::opLess;
    case ']':
        return next == '=' ? Op::opGreaterEqual : Op::opGreater;
    case '=':
        return Op::opEqual;
    case '!':
        return next == '=' ? Op::opNotEqual : Op::opLogicalNot;
    default:
        return Op::opNone;
    }
}

SplitPoint findSplit(const char* text, int length) noexcept
{
    const char* end = text + length;
    const char* best = nullptr;
    std::int64_t bestKey = INT64_MIN;
    std::int64_t nesting = 0;
    for (const char* p = text; p != end; ++p) {
        const Kind kind = kindOf(*p);
        if (kind == plain)
            continue;
        if (kind == opening || kind == closing) {
            nesting += kind == closing ? 1 : -1;
            continue;
        }
        const Rank rank = rankAt(p, end);
        // Kept: of equal operators the leftmost splits, so chains group from the right.
        if (rank != rankNone && nesting * 4 + rank > bestKey) {
            best = p;
            bestKey = nesting * 4 + rank;
        }
    }
    if (!best)
        return {-1, -1};
    return {static_cast<int>(best - text), static_cast<int>(behind(best, end) - text)};
}

// Splitting at the loosest operator again and again yields a tree whose every operator binds looser
// than those below it. Such a tree is built from left to right with a stack: an operator that is looser
// than the waiting one completes it and takes its value as left operand, else it starts its right one.
int evaluate(const char* text, int length)
{
    platform::WorkStack<Pending, 32> waiting;
    const char* const end = text + length;
    const char* p = text;
    std::int64_t nesting = 0;
    for (;;) {
        const char* const start = p;
        int value = readNumber(p, end, nesting);
        Rank rank = rankNone;
        for (; p != end; ++p) {
            const Kind kind = kindOf(*p);
            if (kind == plain)
                continue;
            if (kind == opening || kind == closing)
                nesting += kind == closing ? 1 : -1;
            else if ((rank = rankAt(p, end)) != rankNone)
                break;
        }
        const std::int64_t key = p != end ? nesting * 4 + rank : INT64_MAX;
        bool isFirst = p == start;
        for (; !waiting.empty() && key > waiting.top().key; waiting.pop()) {
            value = apply(waiting.top().op, waiting.top().left, value);
            isFirst = false;
        }
        if (p == end)
            return value;
        if (!waiting.push({key, value, isFirst ? Op::opNone : operAt(p, end)}))
            throw structExcept(ztree::errMemory);
        // The skipped character may itself start an operator. That one is lost with it, unless it binds
        // looser than this one: then it splits first and this one has nothing on its right.
        const char* next = behind(p, end);
        if (next - p == 2 && rank != rankLogic && rankAt(p + 1, end) == rankLogic)
            next = p + 1;
        p = next;
    }
}

} // namespace expr
