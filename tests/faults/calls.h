#pragma once
// The system's own file calls, made to fail below the library.

namespace faults {

struct SystemCalls {
    enum class How {
        fail,      ///< with an error
        interrupt, ///< with EINTR, those that a signal may interrupt
        part       ///< no failure: a read or write moves a half
    };
    static bool available(); ///< false on Windows
    /// The nth call from now, with `onward` every later one too; error is an errno.
    static void failAt(long nth, bool onward, How how, int error);
    /// Back to normal; returns how many failed.
    static long stop();
    /// In its scope calls are the test's own.
    struct Pause {
        Pause();
        ~Pause();
    };
    /// Standard error is a terminal that swallows what it is shown.
    static void pretendTerminal(bool on);
};

} // namespace faults
