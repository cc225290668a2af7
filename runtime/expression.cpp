#include "runtime/expression_core.h"

#include <cstdio>

expression::expression(const char* text, int length) : m_pImpl(new mExpression(text, length))
{
    if (!m_pImpl)
        throw structExcept(ztree::errMemory);
}

expression::expression(const expression& other) : expression()
{
    m_pImpl->copy(*other.m_pImpl);
}

expression& expression::operator=(const expression& other)
{
    if (this != &other)
        m_pImpl->copy(*other.m_pImpl);
    return *this;
}

expression::~expression()
{
    delete m_pImpl;
}

unsigned int expression::getLibVersion() const
{
    return 2;
}

int expression::setString(const char* text, int length)
{
    return m_pImpl->set(text, length);
}

const char* expression::getData() const
{
    return m_pImpl->text;
}

int expression::getLength() const
{
    return m_pImpl->length;
}

int expression::print() const
{
    return std::printf("%.*s", m_pImpl->length, m_pImpl->text ? m_pImpl->text : "");
}

expression::oper expression::getOper(const char* text)
{
    if (!text || !*text)
        return opNone;
    return expr::operAt(text, text + 2); // the second byte is at most the terminator
}

const char* expression::getText(oper op)
{
    static const char* const texts[] = {"?", "+",  "-", "*",  "/",  "%",  "&", "|",  "^", "~",
                                        "[", "[=", "]", "]=", "==", "!=", "!", "&&", "||"};
    const auto i = static_cast<unsigned>(op);
    return i < sizeof texts / sizeof *texts ? texts[i] : "?";
}

int expression::split(expression& left, expression& right, oper* op) const
{
    const char* text = m_pImpl->text;
    const int length = m_pImpl->length;
    const expr::SplitPoint found = expr::findSplit(text, length);
    // Kept: a text that starts with its loosest operator is not split: 0, and nothing is set.
    if (found.at <= 0)
        return found.at;
    if (op)
        *op = expr::operAt(text + found.at, text + length);
    left.m_pImpl->set(text, found.at);
    right.m_pImpl->set(text + found.right, length - found.right);
    return found.right - 1;
}

int expression::eval() const
{
    return expr::evaluate(m_pImpl->text, m_pImpl->length);
}
