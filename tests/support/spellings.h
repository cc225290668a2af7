#pragma once
// Cases for the narrow and the wide class, and for the second spelling of wide text, whose shells could call
// themselves.

#include "support/heap_fixture.h"
#include "support/twins.h"

#include <set>

template <class Twin> class SpellingTest : public HeapTest {
protected:
    using Ch = typename Twin::Ch;

    /// The text in the units of the spelling; it stays.
    static const Ch* w(const std::string& s)
    {
        static std::set<std::basic_string<Ch>> kept;
        return kept.insert(widen<Ch>(s)).first->c_str();
    }
};
using Spellings = ::testing::Types<Twin<char>, Twin<zwchar>, Twin<unsigned short>>;
