#pragma once
// Cases that run for the narrow and the wide class alike: texts are written once, in ASCII.

#include <ztree/types.h>

#include <gtest/gtest.h>

#include <string>

template <class Ch> std::basic_string<Ch> widen(const std::string& ascii)
{
    return std::basic_string<Ch>(ascii.begin(), ascii.end());
}
template <class Ch> std::string narrow(const Ch* text)
{
    std::string out;
    for (; text && *text; ++text)
        out += static_cast<char>(*text);
    return text ? out : "(null)";
}
