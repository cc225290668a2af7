// Integer expressions: the evaluator against recursive splitting with its own split(), and the checked
// evaluator for its promises: blanks and parentheses around a text change nothing but places.

#include <ztree/expression.h>
#include <ztree/ext/expression.h>

#include <cstdlib>
#include <memory>
#include <string>

namespace {

unsigned wrapped(int v)
{
    return static_cast<unsigned>(v);
}

int bySplitting(const expression& e)
{
    expression left, right;
    expression::oper op = expression::opNone;
    const int at = e.split(left, right, &op);
    if (at < 0)
        return e.eval(); // a number
    if (at == 0)
        return 0;
    if (left.getLength() + right.getLength() >= e.getLength())
        std::abort();
    const int a = bySplitting(left), b = bySplitting(right);
    switch (op) {
    case expression::opSum:
        return static_cast<int>(wrapped(a) + wrapped(b));
    case expression::opDifference:
        return static_cast<int>(wrapped(a) - wrapped(b));
    case expression::opProduct:
        return static_cast<int>(wrapped(a) * wrapped(b));
    case expression::opQuotient:
        return b == 0 ? 0 : b == -1 ? static_cast<int>(0 - wrapped(a)) : a / b;
    case expression::opRemainder:
        return b == 0 || b == -1 ? 0 : a % b;
    case expression::opAnd:
        return a & b;
    case expression::opOr:
        return a | b;
    case expression::opXor:
        return a ^ b;
    case expression::opLess:
        return a < b;
    case expression::opLessEqual:
        return a <= b;
    case expression::opGreater:
        return a > b;
    case expression::opGreaterEqual:
        return a >= b;
    case expression::opEqual:
        return a == b;
    case expression::opNotEqual:
        return a != b;
    case expression::opLogicalAnd:
        return a && b;
    case expression::opLogicalOr:
        return a || b;
    default:
        std::abort();
    }
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const unsigned char* data, std::size_t size)
{
    // A copy without a terminator: whatever reads behind it is found.
    const std::unique_ptr<char[]> copy(new char[size]);
    for (std::size_t i = 0; i < size; ++i)
        copy[i] = static_cast<char>(data[i]);
    const expression e(copy.get(), static_cast<int>(size));
    const int value = e.eval();
    if (size <= 2000 && value != bySplitting(e))
        std::abort();
    const ztree::ExprResult r = ztree::checkedEval({copy.get(), size});
    if (r.position > size || (!r && r.value != 0) || !ztree::exprErrorText(r.error)[0])
        std::abort();
    const std::string text(copy.get(), size);
    const ztree::ExprResult blank = ztree::checkedEval(" \t" + text + "\n");
    if (blank.value != r.value || static_cast<bool>(blank) != static_cast<bool>(r) ||
        (r.position < size && !r && (blank.error != r.error || blank.position != r.position + 2)))
        std::abort(); // where the text ends too soon, the line end is what may be wrong
    const ztree::ExprResult inner = ztree::checkedEval("(" + text + ")");
    if (r && (!inner || inner.value != r.value))
        std::abort();
    return 0;
}
