#include "log/print_format.h"

#include <cstring>

namespace {

bool isOneOf(char c, const char* set) noexcept
{
    return c != 0 && std::strchr(set, c) != nullptr;
}

const char* skipNumber(const char* at) noexcept
{
    if (*at == '*')
        return at + 1;
    while (*at >= '0' && *at <= '9')
        ++at;
    return at;
}

} // namespace

bool isPrintFormat(const char* fmt) noexcept
{
    if (!fmt)
        return false;
    for (const char* at = fmt; (at = std::strchr(at, '%')) != nullptr; ++at) {
        ++at;
        while (isOneOf(*at, "-+ #0"))
            ++at;
        at = skipNumber(at);
        if (*at == '.')
            at = skipNumber(at + 1);
        if (std::strncmp(at, "I64", 3) == 0 || std::strncmp(at, "I32", 3) == 0)
            at += 3;
        else if (std::strncmp(at, "hh", 2) == 0 || std::strncmp(at, "ll", 2) == 0)
            at += 2;
        else if (isOneOf(*at, "hljztLIw"))
            ++at;
        if (!isOneOf(*at, "diouxXeEfFgGaAcCsSp%"))
            return false;
    }
    return true;
}
