#pragma once
/// @file types.h
/// Fixed-width names, the wide text unit and the export macro: what every public header stands on.

#include <cstddef>
#include <cstdint>

// --- export ---
/// @def ZTREE_API
/// Marks what the library exports, and imports where ZTREE_BUILD is not defined.
/// @def ZTREE_COMCALL
/// Calling convention of COM-style operations.
#if defined(_WIN32)
#if defined(ZTREE_BUILD)
#define ZTREE_API __declspec(dllexport)
#else
#define ZTREE_API __declspec(dllimport)
#endif
#define ZTREE_COMCALL __stdcall
#else
#define ZTREE_API __attribute__((visibility("default")))
#define ZTREE_COMCALL
#endif

/// Lets the compiler check a printf-like argument list: fmt and first are 1-based, `this` counts.
#if defined(__GNUC__)
#define ZTREE_PRINTF(fmt, first) __attribute__((format(printf, fmt, first)))
#else
#define ZTREE_PRINTF(fmt, first)
#endif

// --- wide text ---
/// @def ZTEXT
/// A literal of zwchar: ZTEXT("abc").
/// @typedef zwchar
/// The unit of wide text, UTF-16 on every target.
/// @typedef zwcharOther
/// The remaining spelling of a wide literal: char16_t on Windows (UTF-16), the 32-bit wchar_t elsewhere
/// (UTF-32). Only ZStringW takes it.
#if defined(_WIN32)
typedef wchar_t zwchar;
typedef char16_t zwcharOther;
#define ZTEXT(literal) L##literal
#else
typedef char16_t zwchar;
typedef wchar_t zwcharOther;
#define ZTEXT(literal) u##literal
#endif
static_assert(sizeof(zwchar) == 2, "wide text is UTF-16");

// --- the 32-bit long of the interface ---
/// @typedef zlong
/// Results of COM-style operations, reference counts and record memory have 32 bits on every
/// target, so that a code such as 0x80004005 compares alike.
/// @typedef zulong
/// The same without a sign.
#if defined(_WIN32)
typedef long zlong;
typedef unsigned long zulong;
#else
typedef int zlong;
typedef unsigned int zulong;
#endif
static_assert(sizeof(zlong) == 4 && sizeof(zulong) == 4, "the interface's long has 32 bits");
