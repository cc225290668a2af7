#pragma once
/// @file expression.h
/// Integer expressions written as text.

#include <ztree/version.h>

class mExpression;

/// A view of a text that holds an integer expression, such as a condition or a count in an attribute.
/// Such texts live inside markup, so comparisons are written with square brackets: "[" less, "]" greater,
/// "[=" and "]=" with equality.
///
/// How a text is read: it is split at its loosest operator and the values of both parts are combined.
///     Loosest are "&&" "||" "==" "!=" "[" "[=" "]" "]=" (one common class), then "+" "-", then
///     "*" "/" "%" "&" "|" "^". Of several in one class the leftmost is taken, so a chain groups from the
///     right: 10-4-3 is 10-(4-3) = 9, and a==b&&c is a==(b&&c). Operators in parentheses come after all
///     outside them. A single "&" or "|" counts only when a character follows that is no bracket,
///     parenthesis or operator ("!" is allowed): in 6&(3) and at the end of a text it is no operator.
///     A text that starts with its loosest operator, such as -5, has the value 0.
///     A part without operators is a number: leading "(" and blanks are skipped, decimal digits are read,
///     the rest is ignored. "x" while the value is still 0 sets the radix to 16, but letters are no
///     digits: 0x10 is 16, 0x1F is 1. "!" and "~" are never applied.
///     ztree::checkedEval (ext/expression.h) reads the same operators the usual way and reports errors.
/// Arithmetic: 32-bit, wraps around. A quotient or remainder by 0 is 0.
/// Ownership: the text stays the caller's and has to outlive the view; nothing behind the view is read.
/// Threads: no locks; one object belongs to one thread at a time.
/// Failure: constructors and eval() throw structExcept 0x84201001 for lack of memory; nothing else fails.
class ZTREE_API expression : public ZVersion {
public:
    /// Operators; the comments give their texts.
    enum oper {
        opSum = 1,      ///< +
        opDifference,   ///< -
        opProduct,      ///< *
        opQuotient,     ///< /
        opRemainder,    ///< %
        opAnd,          ///< &
        opOr,           ///< |
        opXor,          ///< ^
        opNot,          ///< ~
        opLess,         ///< [
        opLessEqual,    ///< [=
        opGreater,      ///< ]
        opGreaterEqual, ///< ]=
        opEqual,        ///< ==
        opNotEqual,     ///< !=
        opLogicalNot,   ///< !
        opLogicalAnd,   ///< &&
        opLogicalOr,    ///< ||
        opNone          ///< no operator, text "?"
    };

    /// Views `length` bytes of text; a negative length means up to the terminating zero, a null text
    /// has length 0.
    expression(const char* text = nullptr, int length = -1);
    /// Copies the view, not the text.
    expression(const expression& other);
    expression& operator=(const expression& other);
    ~expression() override;
    unsigned int getLibVersion() const override;

    /// Sets the view as the constructor does; returns its length in bytes.
    int setString(const char* text, int length);
    /// Start of the viewed text.
    const char* getData() const;
    /// Its length in bytes.
    int getLength() const;
    /// Writes the viewed text to standard output; returns what printf returned.
    int print() const;

    /// The operator that the text starts with, opNone if it starts with another character or is null.
    /// "=" is opEqual whatever follows.
    static oper getOper(const char* text);
    /// The operator's text, "?" for any value outside 1 to 18. Static storage.
    static const char* getText(oper op);

    /// Finds the loosest operator: sets left and right to views of the parts around it and op (if not
    /// null) to the operator, and returns the offset of the operator's last byte. -1: there is none.
    /// 0: the text starts with it; then nothing is set, as for -1. Either operand may be this object.
    int split(expression& left, expression& right, oper* op) const;
    /// The value of the text, 0 for an empty one. Time grows with the length alone; short texts take no
    /// memory from the heap.
    int eval() const;

private:
    mExpression* m_pImpl;
};
