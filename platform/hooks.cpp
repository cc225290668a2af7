#include "platform/hooks.h"

#include <initializer_list>

namespace platform {

namespace {
struct SiteState {
    std::atomic<long> calls{0};
    std::atomic<long> failed{0};
    std::atomic<long> nth{0};
    std::atomic<bool> onward{false};
};
SiteState s_sites[3];
std::atomic<long> s_live{0};
std::atomic<unsigned> s_fileError{0};
std::atomic<bool> s_halfway{false};
std::atomic<Hooks::Witness> s_witness{nullptr};
SiteState& at(Site site) noexcept
{
    return s_sites[static_cast<int>(site)];
}
} // namespace

namespace hook {
std::atomic<bool> active{false};

bool slowFails(Site site, const void* caller) noexcept
{
    SiteState& s = at(site);
    const long call = s.calls.fetch_add(1) + 1;
    const long nth = s.nth.load();
    const bool fail = nth != 0 && (s.onward.load() ? call >= nth : call == nth);
    if (fail) {
        s.failed.fetch_add(1);
        if (const Hooks::Witness witness = s_witness.load())
            witness(site, caller);
    }
    return fail;
}
void blockTaken() noexcept
{
    s_live.fetch_add(1);
}
void blockGiven() noexcept
{
    s_live.fetch_sub(1);
}
} // namespace hook

void Hooks::on() noexcept
{
    for (Site site : {Site::heap, Site::lock, Site::file})
        failAt(site, 0);
    s_live = 0;
    s_halfway = false;
    hook::active = true;
}

void Hooks::off() noexcept
{
    hook::active = false;
    s_halfway = false;
    for (Site site : {Site::heap, Site::lock, Site::file})
        failAt(site, 0);
}

void Hooks::failAt(Site site, long nth, bool onward, unsigned error) noexcept
{
    SiteState& s = at(site);
    s.nth = nth;
    s.onward = onward;
    s.calls = 0;
    s.failed = 0;
    if (site == Site::file)
        s_fileError = error;
}

long Hooks::calls(Site site) noexcept
{
    return at(site).calls;
}
long Hooks::failed(Site site) noexcept
{
    return at(site).failed;
}
long Hooks::liveBlocks() noexcept
{
    return s_live;
}
unsigned Hooks::fileError() noexcept
{
    return s_fileError;
}
void Hooks::failHalfway(bool half) noexcept
{
    s_halfway = half;
}
std::size_t Hooks::movedBytes(std::size_t bytes) noexcept
{
    return s_halfway || s_fileError == endsEarly ? bytes / 2 : 0;
}
void Hooks::setWitness(Witness witness) noexcept
{
    s_witness = witness;
}

} // namespace platform
