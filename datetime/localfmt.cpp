#include <ztree/datetime.h>

#include <cstring>

static_assert(sizeof(void*) != 4 || sizeof(tagLocalFmt) == 92, "the record has 23 words on 32-bit targets");

void tagLocalFmt::init() noexcept
{
    std::memset(static_cast<void*>(this), 0, sizeof *this);
    cDecimal = '.';
    cThousand = ',';
    cTimeSep = ':';
    cDateSep = '.';
    std::memcpy(szTimeFmt, "HHMMSS", 6);
    std::memcpy(szDateFmt, "DDMMYYYY", 8);
}
