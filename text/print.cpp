// The exported print functions: shells that check the arguments and adapt the spelling.

#include <ztree/print.h>

#include "text/print_core.h"
#include "text/units.h"

namespace {

template <class Ch> int print(Ch* buffer, int limit, unsigned int codepage, const Ch* fmt, va_list args)
{
    if (!buffer || !fmt || limit < 1)
        return 0;
    return ztree::Printer<Ch>(buffer, limit, codepage).run(fmt, args);
}

} // namespace

int vsprintfn(char* buffer, int limit, unsigned int codepage, const char* fmt, va_list args)
{
    return print(buffer, limit, codepage, fmt, args);
}

int sprintfn(char* buffer, int limit, unsigned int codepage, const char* fmt, ...)
{
    va_list args;
    va_start(args, fmt);
    const int written = print(buffer, limit, codepage, fmt, args);
    va_end(args);
    return written;
}

int vswprintfn(zwchar* buffer, int limit, unsigned int codepage, const zwchar* fmt, va_list args)
{
    return print(buffer, limit, codepage, fmt, args);
}

int vswprintfn(unsigned short* buffer, int limit, unsigned int codepage, const unsigned short* fmt,
               va_list args)
{
    return print(units(buffer), limit, codepage, units(fmt), args);
}

int swprintfn(zwchar* buffer, int limit, unsigned int codepage, const zwchar* fmt, ...)
{
    va_list args;
    va_start(args, fmt);
    const int written = print(buffer, limit, codepage, fmt, args);
    va_end(args);
    return written;
}

int swprintfn(unsigned short* buffer, int limit, unsigned int codepage, const unsigned short* fmt, ...)
{
    va_list args;
    va_start(args, fmt);
    const int written = vswprintfn(buffer, limit, codepage, fmt, args);
    va_end(args);
    return written;
}
