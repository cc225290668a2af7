#include "faults/calls.h"

namespace faults {

bool SystemCalls::available()
{
    return false;
}
void SystemCalls::failAt(long, bool, How, int) {}
long SystemCalls::stop()
{
    return 0;
}
SystemCalls::Pause::Pause() = default;
SystemCalls::Pause::~Pause() {} // NOLINT
void SystemCalls::pretendTerminal(bool) {}

} // namespace faults
