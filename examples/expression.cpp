// Expressions written as text, the one exception type, and hardware faults turned into it.

#include <ztree/ext/expression.h>
#include <ztree/runtime.h>

#include <cstdio>

namespace {

void evaluate(const char* text)
{
    // The classic evaluator reads as it always did; the checked one reads as C would and tells what is wrong.
    const int classic = expression(text).eval();
    const ztree::ExprResult checked = ztree::checkedEval(text);
    if (checked)
        std::printf("%-12s %4d %4d\n", text, classic, checked.value);
    else
        std::printf("%-12s %4d %s at %u\n", text, classic, ztree::exprErrorText(checked.error),
                    static_cast<unsigned>(checked.position));
}

// Built with ztree::faults, so that the destructors on the way run.
int divide(int a, volatile int b)
{
    return a / b;
}

} // namespace

int main()
{
    for (const char* text : {"2+3*4", "10-4-3", "5]3&&1", "0x1F", "6/(3-3)", "(1+2", "7 8"})
        evaluate(text);

    // An error of the library carries a code.
    try {
        throw structExcept(ztree::errOutOfMemory);
    } catch (const structExcept& e) {
        std::printf("code %08X\n", e.getCode());
    }

    // A fault of this thread becomes the same exception, with the address and the registers in it.
    void* before = structExcept::install();
    try {
        std::printf("%d\n", divide(7, 0));
    } catch (const structExcept& e) {
        std::printf("%s, %s\n",
                    e.getCode() == EXCEPTION_INT_DIVIDE_BY_ZERO ? "division by zero" : "another fault",
                    e.getAddress() ? "address known" : "no address");
    }
    structExcept::uninstall(before);
}
