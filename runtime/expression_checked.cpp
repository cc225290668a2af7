#include "platform/work_stack.h"
#include "runtime/expression_core.h"

#include <ztree/ext/expression.h>

#include <climits>

namespace ztree {

namespace {

using Op = expression;
using Reason = ExprError;

// A value, or why there is none. Faults of arithmetic travel as values, so that && and || can leave
// aside what they do not need.
struct Operand {
    std::int64_t value;
    std::size_t position;
    Reason fault;
};

enum Level : unsigned char {
    levelParen, // an open parenthesis: nothing is done across it
    levelOrElse,
    levelAndThen,
    levelOr,
    levelXor,
    levelAnd,
    levelEqual,
    levelCompare,
    levelSum,
    levelProduct,
    levelUnary
};

// What waits for the value on its right. A left operand without a value needs its own place only, one
// with a value the operator's.
struct Waiting {
    std::size_t position;
    std::int32_t left;
    Reason fault;
    Level level;
    unsigned char op;
};

Level levelOf(Op::oper op) noexcept
{
    switch (op) {
    case Op::opLogicalOr:
        return levelOrElse;
    case Op::opLogicalAnd:
        return levelAndThen;
    case Op::opOr:
        return levelOr;
    case Op::opXor:
        return levelXor;
    case Op::opAnd:
        return levelAnd;
    case Op::opEqual:
    case Op::opNotEqual:
        return levelEqual;
    case Op::opLess:
    case Op::opLessEqual:
    case Op::opGreater:
    case Op::opGreaterEqual:
        return levelCompare;
    case Op::opSum:
    case Op::opDifference:
        return levelSum;
    default:
        return levelProduct;
    }
}

Operand fit(std::int64_t value, std::size_t position) noexcept
{
    const bool fits = value >= INT_MIN && value <= INT_MAX;
    return {value, position, fits ? Reason::none : Reason::overflow};
}

Operand applyUnary(Op::oper op, Operand v, std::size_t position) noexcept
{
    // 2147483648 fits only behind a minus.
    if (op == Op::opDifference && v.fault == Reason::overflow &&
        v.value == -static_cast<std::int64_t>(INT_MIN))
        return {INT_MIN, position, Reason::none};
    if (v.fault != Reason::none)
        return v;
    switch (op) {
    case Op::opDifference:
        return fit(-v.value, position);
    case Op::opNot:
        return {~v.value, position, Reason::none};
    case Op::opLogicalNot:
        return {v.value == 0, position, Reason::none};
    default:
        return v;
    }
}

Operand applyBinary(Op::oper op, const Operand& l, const Operand& r, std::size_t position) noexcept
{
    if (l.fault != Reason::none)
        return l;
    const std::int64_t a = l.value, b = r.value;
    if (op == Op::opLogicalAnd && a == 0)
        return {0, position, Reason::none};
    if (op == Op::opLogicalOr && a != 0)
        return {1, position, Reason::none};
    if (r.fault != Reason::none)
        return r;
    switch (op) {
    case Op::opSum:
        return fit(a + b, position);
    case Op::opDifference:
        return fit(a - b, position);
    case Op::opProduct:
        return fit(a * b, position);
    case Op::opQuotient:
        return b ? fit(a / b, position) : Operand{0, position, Reason::divisionByZero};
    case Op::opRemainder:
        return b ? fit(a % b, position) : Operand{0, position, Reason::divisionByZero};
    case Op::opAnd:
        return {a & b, position, Reason::none};
    case Op::opOr:
        return {a | b, position, Reason::none};
    case Op::opXor:
        return {a ^ b, position, Reason::none};
    case Op::opLess:
        return {a < b, position, Reason::none};
    case Op::opLessEqual:
        return {a <= b, position, Reason::none};
    case Op::opGreater:
        return {a > b, position, Reason::none};
    case Op::opGreaterEqual:
        return {a >= b, position, Reason::none};
    case Op::opEqual:
        return {a == b, position, Reason::none};
    case Op::opNotEqual:
        return {a != b, position, Reason::none};
    default: // && and ||, decided by the right side
        return {b != 0, position, Reason::none};
    }
}

int digitOf(char c) noexcept
{
    if (c >= '0' && c <= '9')
        return c - '0';
    const char lower = static_cast<char>(c | 0x20);
    return lower >= 'a' && lower <= 'f' ? lower - 'a' + 10 : 99;
}

bool isBlank(char c) noexcept
{
    return c == ' ' || c == '\t' || c == '\r' || c == '\n';
}

class Reader {
public:
    explicit Reader(std::string_view text) : m_text(text) {}
    ExprResult run();

private:
    // Each reads one item; false: m_error and m_at say what is wrong.
    bool readOperand();
    bool readNumber();
    bool readOperator();
    bool closeParen();

    void reduce(Level down);
    void wait(const Operand& left, Op::oper op, Level level)
    {
        const std::size_t position = left.fault == Reason::none ? m_at : left.position;
        if (!m_waiting.push({position, static_cast<std::int32_t>(left.value), left.fault, level,
                             static_cast<unsigned char>(op)}))
            throw structExcept(errMemory);
    }
    bool fail(Reason error)
    {
        m_error = error;
        return false;
    }
    void skipBlanks()
    {
        while (m_at < m_text.size() && isBlank(m_text[m_at]))
            ++m_at;
    }
    Op::oper operHere() const
    {
        const char* p = m_text.data();
        const Op::oper op = expr::operAt(p + m_at, p + m_text.size());
        const bool isHalf = op == Op::opEqual && m_text.substr(m_at, 2) != "==";
        return isHalf ? Op::opNone : op;
    }

    std::string_view m_text;
    std::size_t m_at = 0;
    bool m_haveValue = false; // m_value is set, an operator comes next
    Operand m_value{};
    Reason m_error = Reason::none;
    platform::WorkStack<Waiting, 16> m_waiting;
};

// Completes what waits above an open parenthesis and binds at least as tightly as `down`.
void Reader::reduce(Level down)
{
    for (; !m_waiting.empty() && m_waiting.top().level >= down; m_waiting.pop()) {
        const Waiting& w = m_waiting.top();
        const auto op = static_cast<Op::oper>(w.op);
        m_value = w.level == levelUnary ? applyUnary(op, m_value, w.position)
                                        : applyBinary(op, {w.left, w.position, w.fault}, m_value, w.position);
    }
}

bool Reader::readNumber()
{
    const std::size_t start = m_at;
    int radix = 10;
    if (m_text[m_at] == '0' && m_at + 1 < m_text.size() && (m_text[m_at + 1] | 0x20) == 'x') {
        radix = 16;
        m_at += 2;
        if (m_at == m_text.size())
            return fail(Reason::missingOperand);
        if (digitOf(m_text[m_at]) >= radix)
            return fail(Reason::unknownCharacter);
    }
    std::int64_t value = 0;
    for (; m_at < m_text.size() && digitOf(m_text[m_at]) < radix; ++m_at)
        if (value <= UINT_MAX) // far enough beyond the range
            value = value * radix + digitOf(m_text[m_at]);
    m_value = fit(value, start);
    m_haveValue = true;
    return true;
}

bool Reader::readOperand()
{
    const char c = m_text[m_at];
    if (c >= '0' && c <= '9')
        return readNumber();
    if (c == '(') {
        wait({}, Op::opNone, levelParen);
        ++m_at;
        return true;
    }
    const Op::oper op = operHere();
    if (op == Op::opSum || op == Op::opDifference || op == Op::opNot || op == Op::opLogicalNot) {
        wait({}, op, levelUnary);
        ++m_at;
        return true;
    }
    return fail(op != Op::opNone || c == ')' ? Reason::missingOperand : Reason::unknownCharacter);
}

bool Reader::closeParen()
{
    reduce(levelOrElse);
    if (m_waiting.empty())
        return fail(Reason::unbalanced);
    m_waiting.pop();
    ++m_at;
    return true;
}

bool Reader::readOperator()
{
    const char c = m_text[m_at];
    if (c == ')')
        return closeParen();
    const Op::oper op = operHere();
    if (op == Op::opNone && (c < '0' || c > '9') && c != '(')
        return fail(Reason::unknownCharacter);
    if (op == Op::opNone || op == Op::opNot || op == Op::opLogicalNot)
        return fail(Reason::missingOperator);
    const Level level = levelOf(op);
    reduce(level);
    wait(m_value, op, level);
    m_at += std::char_traits<char>::length(Op::getText(op));
    m_haveValue = false;
    return true;
}

ExprResult Reader::run()
{
    for (skipBlanks(); m_at < m_text.size(); skipBlanks())
        if (!(m_haveValue ? readOperator() : readOperand()))
            return {0, m_error, m_at};
    if (!m_haveValue)
        return {0, Reason::missingOperand, m_at};
    reduce(levelOrElse);
    if (!m_waiting.empty())
        return {0, Reason::unbalanced, m_waiting.top().position};
    if (m_value.fault != Reason::none)
        return {0, m_value.fault, m_value.position};
    return {static_cast<int>(m_value.value), Reason::none, 0};
}

} // namespace

ExprResult checkedEval(std::string_view text)
{
    return Reader(text).run();
}

const char* exprErrorText(ExprError error) noexcept
{
    switch (error) {
    case ExprError::none:
        return "no error";
    case ExprError::missingOperand:
        return "a value is missing";
    case ExprError::missingOperator:
        return "an operator is missing";
    case ExprError::unbalanced:
        return "unbalanced parenthesis";
    case ExprError::unknownCharacter:
        return "unknown character";
    case ExprError::overflow:
        return "number too large";
    case ExprError::divisionByZero:
        return "division by zero";
    }
    return "unknown error";
}

} // namespace ztree
