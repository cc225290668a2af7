#pragma once
// What the suites of both strings share: one spelling for narrow and wide texts.

#include "support/heap_fixture.h"
#include "support/twins.h"

#include <ztree/text.h>

#include <memory>
#include <string>

template <class S>
using Unit = std::remove_cv_t<std::remove_pointer_t<decltype(std::declval<const S&>().getBuffer())>>;
template <class S> using Text = std::basic_string<Unit<S>>;

/// ASCII text as units of the string class.
template <class S> Text<S> lit(const std::string& ascii)
{
    return widen<Unit<S>>(ascii);
}
template <class S> Text<S> text(const S& s)
{
    const Unit<S>* p = s.getBuffer();
    EXPECT_EQ(p == nullptr, s.length() == 0);
    if (p) {
        EXPECT_EQ(p[s.length()], Unit<S>{});
    }
    return p ? Text<S>(p, static_cast<std::size_t>(s.length())) : Text<S>();
}
inline int put(ZString& s, const std::string& t, int n)
{
    return s.set(t.data(), n, 65001);
}
inline int put(ZStringW& s, const std::basic_string<zwchar>& t, int n)
{
    return s.set(t.data(), n);
}
template <class S> int put(S& s, const Text<S>& t)
{
    return put(s, t, static_cast<int>(t.size()));
}
template <class S> S make(const std::string& ascii)
{
    S s;
    put(s, lit<S>(ascii));
    return s;
}

using BothStrings = ::testing::Types<ZString, ZStringW>;
