#pragma once
/// @file winnames.h
/// The system names that appear in public signatures: GUID, IUnknown, HKEY, SYSTEMTIME, EXCEPTION_RECORD,
/// CONTEXT, EXCEPTION_POINTERS and their codes.
///
/// On Windows they are the system's own. Elsewhere this header defines them with the layouts of 32-bit
/// Windows, so that stored records and codes compare alike; what a 64-bit process needs on top follows
/// behind the last field of the original (names ending in 64).

#include <ztree/types.h>

#if defined(_WIN32)

#if !defined(WIN32_LEAN_AND_MEAN)
#define WIN32_LEAN_AND_MEAN
#endif
#if !defined(NOMINMAX)
#define NOMINMAX
#endif
#include <windows.h>
// combaseapi.h defines IUnknown; without this it would pull in all of OLE.
#if defined(COM_NO_WINDOWS_H)
#include <combaseapi.h>
#else
#define COM_NO_WINDOWS_H
#include <combaseapi.h>
#undef COM_NO_WINDOWS_H
#endif

#else

// --- identifiers and results ---
/// 16 bytes, the first three fields in the byte order of the machine.
struct GUID {
    std::uint32_t Data1;
    std::uint16_t Data2;
    std::uint16_t Data3;
    unsigned char Data4[8];
};
static_assert(sizeof(GUID) == 16, "layout of GUID");
constexpr bool operator==(const GUID& a, const GUID& b) noexcept
{
    for (int i = 0; i < 8; ++i)
        if (a.Data4[i] != b.Data4[i])
            return false;
    return a.Data1 == b.Data1 && a.Data2 == b.Data2 && a.Data3 == b.Data3;
}
constexpr bool operator!=(const GUID& a, const GUID& b) noexcept
{
    return !(a == b);
}
typedef GUID IID;
typedef GUID CLSID;

/// Result of a COM-style operation: below 0 is a failure.
typedef zlong HRESULT;

/// The base of COM-style interfaces: three slots, no virtual destructor.
struct IUnknown {
    virtual HRESULT ZTREE_COMCALL QueryInterface(const GUID& iid, void** object) = 0;
    virtual zulong ZTREE_COMCALL AddRef() = 0;
    virtual zulong ZTREE_COMCALL Release() = 0;
};
inline constexpr GUID IID_IUnknown = {0x00000000, 0x0000, 0x0000, {0xC0, 0, 0, 0, 0, 0, 0, 0x46}};

#if !defined(S_OK)
#define S_OK static_cast<HRESULT>(0)
#define S_FALSE static_cast<HRESULT>(1)
#define E_NOTIMPL static_cast<HRESULT>(0x80004001u)
#define E_NOINTERFACE static_cast<HRESULT>(0x80004002u)
#define E_POINTER static_cast<HRESULT>(0x80004003u)
#define E_FAIL static_cast<HRESULT>(0x80004005u)
#define E_UNEXPECTED static_cast<HRESULT>(0x8000FFFFu)
#define E_OUTOFMEMORY static_cast<HRESULT>(0x8007000Eu)
#define E_INVALIDARG static_cast<HRESULT>(0x80070057u)
#define SUCCEEDED(hr) (static_cast<HRESULT>(hr) >= 0)
#define FAILED(hr) (static_cast<HRESULT>(hr) < 0)
#endif

// --- registry ---
/// Handle of an open registry key.
typedef struct HKEY__* HKEY;
#if !defined(HKEY_CLASSES_ROOT)
#define HKEY_CLASSES_ROOT (reinterpret_cast<HKEY>(static_cast<std::uintptr_t>(0x80000000u)))
#define HKEY_CURRENT_USER (reinterpret_cast<HKEY>(static_cast<std::uintptr_t>(0x80000001u)))
#define HKEY_LOCAL_MACHINE (reinterpret_cast<HKEY>(static_cast<std::uintptr_t>(0x80000002u)))
#define HKEY_USERS (reinterpret_cast<HKEY>(static_cast<std::uintptr_t>(0x80000003u)))
#endif
#if !defined(REG_SZ)
#define REG_NONE 0
#define REG_SZ 1
#define REG_EXPAND_SZ 2
#define REG_BINARY 3
#define REG_DWORD 4
#define REG_MULTI_SZ 7
#endif

// --- clock ---
/// A moment in calendar fields; month from 1, wDayOfWeek 0 is Sunday.
struct SYSTEMTIME {
    std::uint16_t wYear;
    std::uint16_t wMonth;
    std::uint16_t wDayOfWeek;
    std::uint16_t wDay;
    std::uint16_t wHour;
    std::uint16_t wMinute;
    std::uint16_t wSecond;
    std::uint16_t wMilliseconds;
};
static_assert(sizeof(SYSTEMTIME) == 16, "layout of SYSTEMTIME");

// --- hardware faults ---
#if !defined(EXCEPTION_MAXIMUM_PARAMETERS)
#define EXCEPTION_MAXIMUM_PARAMETERS 15
#endif
/// What happened. Addresses are cut to 32 bits in the fields of the original layout and whole behind it.
struct EXCEPTION_RECORD {
    std::uint32_t ExceptionCode;
    std::uint32_t ExceptionFlags;
    std::uint32_t ExceptionRecord;  ///< a pointer on Windows; always 0 here
    std::uint32_t ExceptionAddress; ///< the faulting instruction, low 32 bits
    std::uint32_t NumberParameters;
    /// For an access violation: [0] 0 read, 1 write, 8 execute; [1] the address touched, low 32 bits.
    std::uint32_t ExceptionInformation[EXCEPTION_MAXIMUM_PARAMETERS];
    std::uint64_t ExceptionAddress64;
    std::uint64_t ExceptionInformation64[2];
};
static_assert(offsetof(EXCEPTION_RECORD, ExceptionAddress) == 12 &&
                  offsetof(EXCEPTION_RECORD, ExceptionInformation) == 20 &&
                  offsetof(EXCEPTION_RECORD, ExceptionAddress64) == 80,
              "layout of EXCEPTION_RECORD");

/// Saved x87 state inside CONTEXT.
struct FLOATING_SAVE_AREA {
    std::uint32_t ControlWord;
    std::uint32_t StatusWord;
    std::uint32_t TagWord;
    std::uint32_t ErrorOffset;
    std::uint32_t ErrorSelector;
    std::uint32_t DataOffset;
    std::uint32_t DataSelector;
    unsigned char RegisterArea[80];
    std::uint32_t Cr0NpxState;
};
/// Processor registers. ContextFlags says which groups are filled; the 32-bit fields hold the low halves.
struct CONTEXT {
    std::uint32_t ContextFlags;
    std::uint32_t Dr0, Dr1, Dr2, Dr3, Dr6, Dr7;
    FLOATING_SAVE_AREA FloatSave;
    std::uint32_t SegGs, SegFs, SegEs, SegDs;
    std::uint32_t Edi, Esi, Ebx, Edx, Ecx, Eax;
    std::uint32_t Ebp, Eip, SegCs, EFlags, Esp, SegSs;
    unsigned char ExtendedRegisters[512];
    std::uint32_t Reserved64; ///< 0; keeps the fields below at a multiple of 8
    std::uint64_t Rdi64, Rsi64, Rbx64, Rdx64, Rcx64, Rax64;
    std::uint64_t Rbp64, Rip64, EFlags64, Rsp64;
    std::uint64_t R864, R964, R1064, R1164, R1264, R1364, R1464, R1564;
};
static_assert(offsetof(CONTEXT, FloatSave) == 28 && offsetof(CONTEXT, SegGs) == 140 &&
                  offsetof(CONTEXT, Edi) == 156 && offsetof(CONTEXT, Eip) == 184 &&
                  offsetof(CONTEXT, SegSs) == 200 && offsetof(CONTEXT, ExtendedRegisters) == 204 &&
                  offsetof(CONTEXT, Reserved64) == 716,
              "layout of CONTEXT");

struct EXCEPTION_POINTERS {
    EXCEPTION_RECORD* ExceptionRecord;
    CONTEXT* ContextRecord;
};

#if !defined(EXCEPTION_ACCESS_VIOLATION)
#define EXCEPTION_ACCESS_VIOLATION 0xC0000005u
#define EXCEPTION_IN_PAGE_ERROR 0xC0000006u
#define EXCEPTION_DATATYPE_MISALIGNMENT 0x80000002u
#define EXCEPTION_ILLEGAL_INSTRUCTION 0xC000001Du
#define EXCEPTION_PRIV_INSTRUCTION 0xC0000096u
#define EXCEPTION_ARRAY_BOUNDS_EXCEEDED 0xC000008Cu
#define EXCEPTION_FLT_DENORMAL_OPERAND 0xC000008Du
#define EXCEPTION_FLT_DIVIDE_BY_ZERO 0xC000008Eu
#define EXCEPTION_FLT_INEXACT_RESULT 0xC000008Fu
#define EXCEPTION_FLT_INVALID_OPERATION 0xC0000090u
#define EXCEPTION_FLT_OVERFLOW 0xC0000091u
#define EXCEPTION_FLT_STACK_CHECK 0xC0000092u
#define EXCEPTION_FLT_UNDERFLOW 0xC0000093u
#define EXCEPTION_INT_DIVIDE_BY_ZERO 0xC0000094u
#define EXCEPTION_INT_OVERFLOW 0xC0000095u
#define EXCEPTION_STACK_OVERFLOW 0xC00000FDu
#define EXCEPTION_BREAKPOINT 0x80000003u
#define EXCEPTION_SINGLE_STEP 0x80000004u
#define EXCEPTION_GUARD_PAGE 0x80000001u
#endif
#if !defined(EXCEPTION_CONTINUE_SEARCH)
#define EXCEPTION_EXECUTE_HANDLER 1
#define EXCEPTION_CONTINUE_SEARCH 0
#define EXCEPTION_CONTINUE_EXECUTION (-1)
#endif
#if !defined(CONTEXT_i386)
#define CONTEXT_i386 0x00010000u
#define CONTEXT_CONTROL 0x00010001u            ///< SegSs Esp SegCs Eip EFlags Ebp
#define CONTEXT_INTEGER 0x00010002u            ///< Eax Ebx Ecx Edx Esi Edi
#define CONTEXT_SEGMENTS 0x00010004u           ///< SegDs SegEs SegFs SegGs
#define CONTEXT_FLOATING_POINT 0x00010008u     ///< FloatSave
#define CONTEXT_DEBUG_REGISTERS 0x00010010u    ///< Dr0-Dr7
#define CONTEXT_EXTENDED_REGISTERS 0x00010020u ///< ExtendedRegisters
#define CONTEXT_FULL 0x00010007u
#endif

#endif
