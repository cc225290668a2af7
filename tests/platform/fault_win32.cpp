// Handlers of system libraries keep their turn.
#include "platform/fault.h"
#include "support/faults.h"

#include <gtest/gtest.h>
#include <ztree/runtime.h>

namespace {

TEST(SystemHandlers, lookAtFaultsOfTheirOwnCode)
{
    const void* const bad = opaque(reinterpret_cast<const void*>(8));
    EXPECT_TRUE(IsBadReadPtr(bad, 4));
    void* const previous = structExcept::install();
    EXPECT_TRUE(IsBadReadPtr(bad, 4));
    BOOL inGuard = FALSE;
    EXPECT_EQ(platform::guarded([&] { inGuard = IsBadReadPtr(bad, 4); }), 0u);
    EXPECT_TRUE(inGuard);
    structExcept::uninstall(previous);
}

TEST(SystemHandlers, lastErrorSurvivesATranslatedFault)
{
    void* const previous = structExcept::install();
    SetLastError(1234);
    EXPECT_THROW(readNull(), structExcept);
    SetLastError(1234);
    EXPECT_EQ(platform::guarded([] { readNull(); }), EXCEPTION_ACCESS_VIOLATION);
    EXPECT_EQ(GetLastError(), 1234u);
    structExcept::uninstall(previous);
}

} // namespace
