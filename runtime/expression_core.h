#pragma once
// The work behind `expression`.

#include "platform/small_block.h"

#include <ztree/expression.h>
#include <ztree/runtime.h>

/// The view that an expression owns.
class mExpression final : public platform::SmallObject {
public:
    mExpression(const char* s, int n) noexcept { set(s, n); }
    virtual ~mExpression();
    int set(const char* s, int n) noexcept;
    void copy(const mExpression& other) noexcept;

    const char* text;
    int length;
    std::int32_t reserved; // 0 whenever the view is set, copied with it
};

namespace expr {

/// Where a view splits: offsets of the operator and of the right operand, both -1 for none.
struct SplitPoint {
    int at;
    int right;
};
SplitPoint findSplit(const char* text, int length) noexcept;
/// The operator at the start of [text, end).
expression::oper operAt(const char* text, const char* end) noexcept;
/// The value of a view, without recursion. Throws structExcept 0x84201001.
int evaluate(const char* text, int length);

} // namespace expr
