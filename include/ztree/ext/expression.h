#pragma once
/// @file ext/expression.h
/// Integer expressions with the usual precedence and with errors.

#include <ztree/types.h>

#include <string_view>

namespace ztree {

/// Why an expression has no value.
enum class ExprError : unsigned char {
    none,             ///< it has one
    missingOperand,   ///< an operator, a parenthesis or the end stands where a value should
    missingOperator,  ///< two values without an operator between
    unbalanced,       ///< a parenthesis without its partner
    unknownCharacter, ///< a character that means nothing here
    overflow,         ///< a number or a result does not fit 32 bits
    divisionByZero,   ///< a quotient or remainder by 0
};

/// A value, or the place and the reason of the first error.
struct ExprResult {
    int value = 0;                     ///< 0 with an error
    ExprError error = ExprError::none; ///< why there is no value
    std::size_t position = 0; ///< with an error: byte offset of the character at fault, of the operator
                              ///< whose result has no value, or the text's length for a missing rest
    /// True for a value.
    explicit operator bool() const noexcept { return error == ExprError::none; }
};

/// Evaluates an integer expression as C would group it. From tight to loose, chains group from the left:
///     + - ! ~ before a value     * / %     + -     [ [= ] ]=     == !=     &     ^     |     &&     ||
/// where "[" is less and "]" greater. Numbers are decimal or, after 0x, hexadecimal with letters; values
/// are 32-bit signed. Blanks, tabs and line ends may stand between; comparisons and logic give 1 or 0.
/// The right side of && and || counts only when the left side does not settle the result: 0&&1/0 is 0.
/// A malformed text is reported before any fault of its arithmetic.
/// Throws structExcept 0x84201001 when deep nesting needs memory that is not there.
ZTREE_API ExprResult checkedEval(std::string_view text);

/// English text of an error, for example "division by zero". Static storage.
ZTREE_API const char* exprErrorText(ExprError error) noexcept;

} // namespace ztree
