#pragma once
// Ways to make the processor fault, hidden from optimizers and sanitizers.

#include <ztree/winnames.h>

#define NO_SANITIZER __attribute__((no_sanitize_address, no_sanitize_thread, no_sanitize_undefined))

#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
constexpr bool isSanitized = true; // its own fault handler was there first and ends the process
#else
constexpr bool isSanitized = false;
#endif

/// A value that the compiler knows nothing about.
template <class T> T opaque(T value)
{
    asm volatile("" : "+r"(value));
    return value;
}

struct Fault {
    const char* name;
    void (*make)();
    unsigned code;
    unsigned information[2]; // of an access violation
};

NO_SANITIZER __attribute__((noinline)) inline void readNull()
{
    static_cast<void>(*opaque(static_cast<volatile int*>(nullptr)));
}
NO_SANITIZER __attribute__((noinline)) inline void writeNear()
{
    *opaque(reinterpret_cast<volatile int*>(16)) = 1;
}
NO_SANITIZER __attribute__((noinline)) inline void divideByZero()
{
    volatile int quotient = 7 / opaque(0);
    static_cast<void>(quotient);
}
__attribute__((noinline)) inline void illegalInstruction()
{
    asm volatile("ud2");
}
NO_SANITIZER __attribute__((noinline)) inline void callNull()
{
    opaque(static_cast<void (*)()>(nullptr))();
    asm volatile(""); // no tail call
}

static const Fault faults[] = {
    {"read", &readNull, EXCEPTION_ACCESS_VIOLATION, {0, 0}},
    {"write", &writeNear, EXCEPTION_ACCESS_VIOLATION, {1, 16}},
    {"divide", &divideByZero, EXCEPTION_INT_DIVIDE_BY_ZERO, {0, 0}},
    {"illegal", &illegalInstruction, EXCEPTION_ILLEGAL_INSTRUCTION, {0, 0}},
    {"call", &callNull, EXCEPTION_ACCESS_VIOLATION, {8, 0}},
};
