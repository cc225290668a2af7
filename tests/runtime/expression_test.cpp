#include "support/heap_fixture.h"

#include <ztree/expression.h>
#include <ztree/ext/expression.h>

#include <climits>
#include <cstring>
#include <random>
#include <string>
#include <string_view>

namespace {

int eval(const std::string& text)
{
    return expression(text.data(), static_cast<int>(text.size())).eval();
}

// The rules as one would state them: scan with a previous character, split at the best candidate,
// evaluate both parts. Slow and recursive; what the library does in one pass has to agree with it.
namespace model {

struct Best {
    int nesting = INT_MIN;
    int at = -1;
    int rank = 0;
    void offer(int n, int position, int r)
    {
        if (n > nesting || (n == nesting && r < rank && r < 3)) {
            nesting = n;
            at = position;
            rank = r;
        }
    }
};

bool oneOf(char c, const char* set)
{
    return c && std::strchr(set, c);
}

int findSplit(std::string_view v, int& right)
{
    Best best;
    int nesting = 0;
    char previous = 0;
    for (int i = 0; i < static_cast<int>(v.size()); ++i) {
        const char c = v[static_cast<std::size_t>(i)];
        const char next =
            static_cast<std::size_t>(i) + 1 < v.size() ? v[static_cast<std::size_t>(i) + 1] : '\0';
        if (c == ')')
            ++nesting;
        else if (c == '(')
            --nesting;
        else if (oneOf(c, "%*/^"))
            best.offer(nesting, i, 3);
        else if (oneOf(c, "&|") && previous == c)
            best.offer(nesting, i - 1, 1);
        else if (oneOf(c, "+-"))
            best.offer(nesting, i, 2);
        else if (c == '=' && oneOf(previous, "[]!="))
            best.offer(nesting, i - 1, 1);
        else if (oneOf(c, "[]") && next != '=')
            best.offer(nesting, i, 1);
        else if (oneOf(previous, "&|") && !oneOf(c, "()%*/^&|+-=[]"))
            best.offer(nesting, i - 1, 3);
        previous = c;
    }
    if (best.at < 0)
        return -1;
    right = best.at + 1;
    if (static_cast<std::size_t>(right) < v.size() && oneOf(v[static_cast<std::size_t>(right)], "&|="))
        ++right;
    return best.at;
}

int number(std::string_view v)
{
    while (!v.empty() && (v[0] == '(' || v[0] == ' '))
        v.remove_prefix(1);
    unsigned value = 0, radix = 10;
    for (const char c : v) {
        if (c >= '0' && c <= '9')
            value = value * radix + static_cast<unsigned>(c - '0');
        else if ((c == 'x' || c == 'X') && value == 0)
            radix = 16;
        else
            break;
    }
    return static_cast<int>(value);
}

int eval(std::string_view v)
{
    int right = 0;
    const int at = findSplit(v, right);
    if (at < 0)
        return number(v);
    if (at == 0)
        return 0;
    const std::string op(v.substr(static_cast<std::size_t>(at), 2));
    const int a = eval(v.substr(0, static_cast<std::size_t>(at))),
              b = eval(v.substr(static_cast<std::size_t>(right)));
    const unsigned ua = static_cast<unsigned>(a), ub = static_cast<unsigned>(b);
    switch (expression::getOper(op.c_str())) {
    case 1:
        return static_cast<int>(ua + ub);
    case 2:
        return static_cast<int>(ua - ub);
    case 3:
        return static_cast<int>(ua * ub);
    case 4:
        return b == 0 ? 0 : b == -1 ? static_cast<int>(0u - ua) : a / b;
    case 5:
        return b == 0 || b == -1 ? 0 : a % b;
    case 6:
        return a & b;
    case 7:
        return a | b;
    case 8:
        return a ^ b;
    case 10:
        return a < b;
    case 11:
        return a <= b;
    case 12:
        return a > b;
    case 13:
        return a >= b;
    case 14:
        return a == b;
    case 15:
        return a != b;
    case 17:
        return a && b;
    case 18:
        return a || b;
    default:
        return 0;
    }
}

} // namespace model

} // namespace

TEST(Expression, values)
{
    struct Case {
        const char* text;
        int value;
    };
    const Case cases[] = {
        {"1+2*3", 7},      {"(1+2)*3", 9},     {"2*(3+4)", 14}, {"", 0},       {"10-4-3", 9},
        {"20/2/2", 20},    {"1==1&&0", 0},     {"2||0==5", 1}, // chains from the right
        {"3[5", 1},        {"5]=5", 1},        {"4!=4", 0},     {"5[=4", 0},   {"7/0", 0},
        {"7%0", 0},        {"0-7/2", -3},      {"(0-7)%4", -3}, {"0x10", 16},  {"0x1F", 1},
        {"0xff", 0},       {"12abc", 12},                                      // letters are no digits
        {"-5", 0},         {"!1", 0},          {"~1", 0},       {"( -5)", -5}, // unary: never applied
        {"3*-5", -5},      {"3&!1", 0},        {"7!", 7},       {"6&3", 2},    {"6&(3)", 6},
        {"6|(1)+2", 8},    {"6&", 6},                                         // & and | before "(" are text
        {"3+=4", 7},       {"3*&4", 12},       {"5==", 0},      {"5&&&3", 0}, // one character skipped
        {"1+2)*3", 9},     {"((7", 7},         {" ( 12 )", 12}, {") 5", 0},    {"2147483647+1", INT_MIN},
        {"4294967297", 1}, {"65536*65536", 0},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.text);
        EXPECT_EQ(eval(c.text), model::eval(c.text));
        EXPECT_EQ(eval(c.text), c.value);
    }
    // The one quotient that does not fit, and its remainder.
    EXPECT_EQ(eval("(2147483647+1)/(0-1)"), INT_MIN);
    EXPECT_EQ(eval("(2147483647+1)%(0-1)"), 0);
}

TEST(Expression, split)
{
    expression::oper op = expression::opNone;
    expression left, right;
    const auto parts = [&] {
        return std::string(left.getData(), static_cast<std::size_t>(left.getLength())) + " . " +
               std::string(right.getData(), static_cast<std::size_t>(right.getLength()));
    };
    EXPECT_EQ(expression("a+b").split(left, right, &op), 1);
    EXPECT_EQ(parts(), "a . b");
    EXPECT_EQ(op, 1);
    EXPECT_EQ(expression("a&&b").split(left, right, &op), 2);
    EXPECT_EQ(parts(), "a . b");
    EXPECT_EQ(op, 17);
    EXPECT_EQ(expression("(a-b)*c]=d[e").split(left, right, nullptr), 8);
    EXPECT_EQ(parts(), "(a-b)*c . d[e");
    for (const char* whole : {"-5", "abc", "", "(((", "a&(b)"}) {
        SCOPED_TRACE(whole);
        EXPECT_EQ(expression(whole).split(left, right, &op), *whole == '-' ? 0 : -1);
        EXPECT_EQ(parts(), "(a-b)*c . d[e"); // nothing is set
        EXPECT_EQ(op, 17);
    }
    // The operand may be the text itself; what stands behind the view counts as its end.
    expression self("1+2+3==9", 5);
    EXPECT_EQ(self.split(self, right, &op), 1);
    EXPECT_EQ(self.eval(), 1);
    EXPECT_EQ(right.eval(), 5);
    EXPECT_EQ(expression("5[=5", 2).eval(), 0);
    EXPECT_EQ(expression("5==5", 2).eval(), 5);
}

TEST(Expression, viewAndOperators)
{
    expression e;
    EXPECT_EQ(e.getData(), nullptr);
    EXPECT_EQ(e.getLength(), 0);
    EXPECT_EQ(e.eval(), 0);
    EXPECT_EQ(e.print(), 0);
    const char* text = "1+2";
    EXPECT_EQ(e.setString(text, -1), 3);
    const expression copy(e);
    EXPECT_EQ(e.setString(nullptr, 7), 0);
    EXPECT_EQ(copy.getData(), text);
    e = copy;
    EXPECT_EQ(e.eval(), 3);
    EXPECT_EQ(e.getLibVersion(), 2u);
    testing::internal::CaptureStdout();
    EXPECT_EQ(expression("1+2+3", 3).print(), 3);
    EXPECT_EQ(testing::internal::GetCapturedStdout(), "1+2");
    // Every operator's text leads back to it.
    for (int i = 1; i <= 18; ++i)
        EXPECT_EQ(expression::getOper(expression::getText(static_cast<expression::oper>(i))), i);
    for (const int i : {-1, 0, 19, 20})
        EXPECT_STREQ(expression::getText(static_cast<expression::oper>(i)), "?");
    EXPECT_EQ(expression::getOper("a+"), 19);
    EXPECT_EQ(expression::getOper(""), 19);
    EXPECT_EQ(expression::getOper("=]"), 14);
    EXPECT_EQ(expression::getOper("&="), 6);
}

// Any text at all, with the alphabets that make operators meet.
TEST(Expression, agreesWithTheModel)
{
    const char* const alphabets[] = {
        "&|=[]!+*(1",  "0123456789+-*/%&|^[]=!()",   "&=1", "&|1x ", "=![]1(", "+-*()12&", "()+1*& ",
        "0xX17a~ (&|", "12+-*/%()[]=&|^! x~abc.\t\n"};
    std::mt19937 random(20240611);
    const auto below = [&](std::size_t n) { return random() % n; };
    std::string text;
    int splits = 0;
    for (int round = 0; round < 240000; ++round) {
        const std::string alphabet = alphabets[below(sizeof alphabets / sizeof *alphabets)];
        text.resize(round % 50 == 0 ? below(300) : below(round % 3 ? 12 : 40));
        for (char& c : text)
            c = alphabet[below(alphabet.size())];
        int right = 0;
        const int at = model::findSplit(text, right);
        splits += at > 0;
        expression l, r;
        ASSERT_EQ(expression(text.data(), static_cast<int>(text.size())).split(l, r, nullptr),
                  at > 0 ? right - 1 : at)
            << text;
        ASSERT_EQ(r.getLength(), at > 0 ? static_cast<int>(text.size()) - right : 0) << text;
        ASSERT_EQ(eval(text), model::eval(text)) << text;
    }
    EXPECT_GT(splits, 100000);
}

// A recursive reading would end the program here.
TEST(Expression, depthAndLength)
{
    const std::size_t n = 1000000;
    const auto repeat = [&](const char* unit, std::size_t count) {
        std::string s;
        for (std::size_t i = 0; i < count; ++i)
            s += unit;
        return s;
    };
    EXPECT_EQ(eval(repeat("1-", n) + "1"), 1);
    EXPECT_EQ(eval(repeat("(", n) + "7+1" + repeat(")", n)), 8);
    EXPECT_EQ(eval(repeat("(1+", n) + "1" + repeat(")", n)), static_cast<int>(n) + 1);
    EXPECT_EQ(eval(repeat("(", n) + "1" + repeat("+1)", n)), static_cast<int>(n) + 1);
    EXPECT_EQ(eval(repeat(")1*2+", n)), 0);

    using ztree::checkedEval;
    EXPECT_EQ(checkedEval(repeat("1-", n) + "1").value, -static_cast<int>(n) + 1);
    EXPECT_EQ(checkedEval(repeat("(1+", n) + "1" + repeat(")", n)).value, static_cast<int>(n) + 1);
    EXPECT_EQ(checkedEval(repeat("-", n) + "1").value, 1);
}

struct ExpressionHeap : HeapTest {};

TEST_F(ExpressionHeap, shortTextsTakeNothing)
{
    const expression e("(1+2)*3[=4&&5-6");
    platform::Hooks::failAt(platform::Site::heap, 0);
    EXPECT_EQ(e.eval(), 0);
    EXPECT_TRUE(ztree::checkedEval("((1+2)*3[=4&&5-6||-1)"));
    EXPECT_EQ(platform::Hooks::calls(platform::Site::heap), 0);
}

TEST(CheckedExpression, values)
{
    struct Case {
        const char* text;
        int value;
    };
    const Case cases[] = {
        {"10-4-3", 3},      {"20/2/2", 5}, {"1+2*3", 7},   {"-5+2", -3},
        {"!0+~0", 0},       {"0x1F", 31},  {"1==1&&0", 0}, {"5&3==3", 1},
        {"3 [ 5", 1},       {"5 ]= 6", 0}, {"- - 3", 3},   {"6&(3)", 2},
        {"1|6^4&5", 3},     {"0&&1/0", 0}, {"1||1/0", 1},  {"-2147483648", INT_MIN},
        {"\t( 7 )\r\n", 7}, {"-7/2", -3},  {"-7%4", -3},
    };
    for (const Case& c : cases) {
        const ztree::ExprResult r = ztree::checkedEval(c.text);
        EXPECT_TRUE(r) << c.text << ": " << ztree::exprErrorText(r.error) << " at " << r.position;
        EXPECT_EQ(r.value, c.value) << c.text;
    }
}

TEST(CheckedExpression, errors)
{
    using E = ztree::ExprError;
    struct Case {
        const char* text;
        E error;
        std::size_t position;
    };
    const Case cases[] = {
        {"", E::missingOperand, 0},
        {"1+", E::missingOperand, 2},
        {"*2", E::missingOperand, 0},
        {"()", E::missingOperand, 1},
        {"1 2", E::missingOperator, 2},
        {"2(3)", E::missingOperator, 1},
        {"1!2", E::missingOperator, 1},
        {"(1+2", E::unbalanced, 0},
        {"1+(2*(3)", E::unbalanced, 2},
        {"1)", E::unbalanced, 1},
        {"12abc", E::unknownCharacter, 2},
        {"1=2", E::unknownCharacter, 1},
        {"$", E::unknownCharacter, 0},
        {"0x", E::missingOperand, 2},
        {"0xg", E::unknownCharacter, 2},
        {"2147483648", E::overflow, 0},
        {"1+99999999999999999999", E::overflow, 2},
        {"2147483647+1", E::overflow, 10},
        {"65536*65536", E::overflow, 5},
        {"-2147483648/-1", E::overflow, 11},
        {"1+7/0", E::divisionByZero, 3},
        {"7%(1-1)", E::divisionByZero, 1},
        {"1/0+", E::missingOperand, 4},
        {"-(-2147483648)", E::overflow, 0},
    };
    for (const Case& c : cases) {
        const ztree::ExprResult r = ztree::checkedEval(c.text);
        EXPECT_EQ(r.error, c.error) << c.text << ": " << ztree::exprErrorText(r.error);
        EXPECT_EQ(r.position, c.position) << c.text;
        EXPECT_EQ(r.value, 0) << c.text;
    }
}
