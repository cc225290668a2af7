#pragma once
// Names of the twins for typed tests, literals of either width, random choices.

#include "attrib/models.h"
#include "support/heap_fixture.h"

#include <ztree/attrib.h>

#include <random>
#include <string>

struct Narrow {
    using Ch = char;
    using Attrib = ZAttrib;
    using List = ZAttribList;
    using Tokenizer = ZTokenizer;
};
struct Wide {
    using Ch = zwchar;
    using Attrib = ZAttribW;
    using List = ZAttribWList;
    using Tokenizer = ZTokenizerW;
};
using BothWidths = ::testing::Types<Narrow, Wide>;

/// An ASCII literal in the width of the kind.
template <class K> Text<typename K::Ch> lit(const std::string& s)
{
    return Text<typename K::Ch>(s.begin(), s.end());
}
/// Random choices with a fixed seed.
class Dice {
public:
    explicit Dice(unsigned seed) : m_engine(seed) {}
    int below(int n) { return static_cast<int>(m_engine() % static_cast<unsigned>(n)); }
    template <class Ch> Text<Ch> text(const Text<Ch>& alphabet, int most)
    {
        Text<Ch> s;
        for (int n = below(most + 1); n > 0; --n)
            s += alphabet[static_cast<std::size_t>(below(static_cast<int>(alphabet.size())))];
        return s;
    }

private:
    std::mt19937 m_engine;
};
