#include "platform/clock.h"
#include "platform/fault.h"
#include "platform/stack_trace.h"
#include "platform/thread.h"
#include "runtime/boundedPrint.h"

#include <ztree/runtime.h>

#include <cstring>

namespace {

constexpr unsigned reportLevel = 2;

// Set and read without a lock: the filter is installed and uninstalled by one thread.
IMCWLog* s_filterLog = nullptr;

// A 64-bit process keeps the shape of the lines, with 16 digits for what has 64 bits.
constexpr bool isWide = sizeof(platform::Register) > sizeof(unsigned);

unsigned narrow(platform::Register r)
{
    return static_cast<unsigned>(r);
}
unsigned long long wide(platform::Register r)
{
    return r;
}

void printHeading(IMCWLog* log, const SYSTEMTIME& t, const EXCEPTION_RECORD& record, unsigned code)
{
    const platform::Register at = platform::faultAddress(record);
    if (record.ExceptionCode == 0)
        log->printfEntry(reportLevel, "Exception at: %02d:%02d:%02d:%03d. Private: %X. Address: %X\r\n",
                         t.wHour, t.wMinute, t.wSecond, t.wMilliseconds, code, 0u);
    else if (isWide)
        log->printfEntry(reportLevel, "Exception at: %02d:%02d:%02d:%03d. Code: %X. Address: %llX\r\n",
                         t.wHour, t.wMinute, t.wSecond, t.wMilliseconds, narrow(record.ExceptionCode),
                         wide(at));
    else
        log->printfEntry(reportLevel, "Exception at: %02d:%02d:%02d:%03d. Code: %X. Address: %X\r\n", t.wHour,
                         t.wMinute, t.wSecond, t.wMilliseconds, narrow(record.ExceptionCode), narrow(at));
}

void printIntegers(IMCWLog* log, const platform::RegisterSet& r)
{
    if (isWide)
        log->printf("  eax:%016llX  ebx:%016llX  ecx:%016llX  edx:%016llX  esi:%016llX  edi:%016llX\r\n",
                    wide(r.ax), wide(r.bx), wide(r.cx), wide(r.dx), wide(r.si), wide(r.di));
    else
        log->printf("  eax:%08X  ebx:%08X  ecx:%08X  edx:%08X  esi:%08X  edi:%08X\r\n", narrow(r.ax),
                    narrow(r.bx), narrow(r.cx), narrow(r.dx), narrow(r.si), narrow(r.di));
}

void printControl(IMCWLog* log, const platform::RegisterSet& r)
{
    if (isWide)
        log->printf("  esp:%016llX  eip:%016llX  ebp:%016llX  efl:%016llX\r\n", wide(r.sp), wide(r.ip),
                    wide(r.bp), wide(r.flags));
    else
        log->printf("  esp:%08X  eip:%08X  ebp:%08X  efl:%08X\r\n", narrow(r.sp), narrow(r.ip), narrow(r.bp),
                    narrow(r.flags));
}

void printSegments(IMCWLog* log, const platform::RegisterSet& r, bool control)
{
    char line[96];
    int length = 0;
    if (control)
        length = std::snprintf(line, sizeof line, "   cs:    %04X   ss:    %04X", r.cs, r.ss);
    length +=
        std::snprintf(line + length, sizeof line - static_cast<std::size_t>(length),
                      "   ds:    %04X   es:    %04X   fs:    %04X   gs:    %04X\r\n", r.ds, r.es, r.fs, r.gs);
    log->write(line, length);
}

void printPlaces(IMCWLog* log, const CONTEXT& context)
{
    platform::CodePlace places[32];
    const int count = platform::returnAddresses(context, places, 32);
    for (int i = 0; i < count; ++i) {
        const platform::CodePlace& p = places[i];
        if (isWide)
            log->printf("  %s:%016llX  %s+%llX\r\n", i ? "ret" : "at", wide(p.address), p.module,
                        wide(p.offset));
        else
            log->printf("  %s:%08X  %s+%X\r\n", i ? "ret" : "at", narrow(p.address), p.module,
                        narrow(p.offset));
    }
}

// What faults or throws ends alone: a log that fails in a broken process must not hide the fault that is
// being reported, nor the rest of the report.
template <class Part> void reportPart(Part part) noexcept
{
    platform::guarded([&part] {
        try {
            part();
        } catch (...) {
        }
    });
}

void writeReport(void* p) noexcept
{
    const auto* const pointers = static_cast<const EXCEPTION_POINTERS*>(p);
    IMCWLog* const log = s_filterLog;
    reportPart([&] {
        structExcept(ztree::errUnhandled, pointers)
            .dump(log, "%s", "BRAX has been terminated due to an unhandled exception");
    });
    reportPart([&] { printPlaces(log, *pointers->ContextRecord); });
    reportPart([&] { log->writeln("  end of report", -1); });
}

} // namespace

structExcept::structExcept(unsigned int code, const EXCEPTION_POINTERS* pointers) noexcept
    : m_thread(platform::threadId()), m_time(platform::utcTime()), m_code(code)
{
    if (pointers) {
        m_record = *pointers->ExceptionRecord;
        m_context = *pointers->ContextRecord;
    } else {
        std::memset(&m_record, 0, sizeof m_record);
        std::memset(&m_context, 0, sizeof m_context);
    }
}

unsigned int structExcept::getAddress() const noexcept
{
    return narrow(platform::faultAddress(m_record));
}

void structExcept::dump(IMCWLog* log, const char* fmt, ...) const
{
    va_list args;
    va_start(args, fmt);
    dump(log, fmt, args);
    va_end(args);
}

void structExcept::dump(IMCWLog* log, const char* fmt, va_list args) const
{
    if (!log)
        return;
    printHeading(log, m_time, m_record, m_code);
    char message[512 + 1];
    const int length = boundedPrint(message, 512, fmt, args);
    log->writeln(message, length); // Kept: -1 for a cut text is passed on as the length.

    // Kept: any bit of a group's mask counts, so the processor's own bit alone prints all lines.
    const auto flags = m_context.ContextFlags;
    const bool control = (flags & 0x10001u) != 0;
    const platform::RegisterSet registers = platform::registersOf(m_context);
    if (flags & 0x10002u)
        printIntegers(log, registers);
    if (control)
        printControl(log, registers);
    if (flags & 0x10004u)
        printSegments(log, registers, control);
}

void structExcept::raise(unsigned int code, EXCEPTION_POINTERS* pointers)
{
    throw structExcept(code, pointers);
}

void* structExcept::install() noexcept
{
    return reinterpret_cast<void*>(platform::setFaultTranslator(&raise));
}

void structExcept::uninstall(void* previous) noexcept
{
    platform::setFaultTranslator(reinterpret_cast<platform::FaultTranslator>(previous));
}

void* structExcept::installTopLevelFilter(IMCWLog* log) noexcept
{
    if (log != s_filterLog) {
        if (s_filterLog)
            s_filterLog->Release();
        s_filterLog = log;
    }
    if (s_filterLog)
        s_filterLog->AddRef(); // Kept: one reference a call, also for the log that is there already.
    platform::localTime();     // so that a log knows the time zone, which it cannot ask for in a report
    return reinterpret_cast<void*>(platform::setFaultFilter(&uhxFilter));
}

void structExcept::uninstallTopLevelFilter(void* previous) noexcept
{
    // Kept: the pointer stays, so a later install with another log releases this one once more.
    if (s_filterLog)
        s_filterLog->Release();
    platform::setFaultFilter(reinterpret_cast<platform::FaultFilter>(previous));
}

zlong ZTREE_COMCALL structExcept::uhxFilter(EXCEPTION_POINTERS* pointers) noexcept
{
    if (s_filterLog && platform::enterFaultReport()) {
        platform::onSpareStack(&writeReport, pointers);
        platform::leaveFaultReport();
    }
    platform::showSystemErrorReport();
    return EXCEPTION_CONTINUE_SEARCH;
}

void structExcept::uhxDump(IMCWLog* log, const char* fmt, ...) noexcept
{
    if (!log)
        return;
    va_list args;
    va_start(args, fmt);
    char text[1020 + 1];
    int length = 0;
    const unsigned fault = platform::guarded([&] { length = boundedPrint(text, 1020, fmt, args); });
    va_end(args);
    if (fault) {
        static constexpr char invalid[] = "--- invalid arguments for structExcept::uhxDump ---";
        std::memcpy(text, invalid, sizeof invalid);
        length = sizeof invalid - 1;
    }
    log->writelnEntry(reportLevel, text, length);
}
