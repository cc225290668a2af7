#pragma once
// Random choices that are the same on every target, and threads.

#include <cstdint>
#include <cstdlib>
#include <random>
#include <string>
#include <thread>
#include <vector>

/// 64 bits at a time.
class Bits {
public:
    explicit Bits(std::uint64_t seed) : m_state(seed) {}
    std::uint64_t next()
    {
        std::uint64_t z = m_state += 0x9E3779B97F4A7C15u;
        z = (z ^ (z >> 30)) * 0xBF58476D1CE4E5B9u;
        z = (z ^ (z >> 27)) * 0x94D049BB133111EBu;
        return z ^ (z >> 31);
    }

private:
    std::uint64_t m_state;
};

class Dice {
public:
    explicit Dice(unsigned seed) : m_engine(seed) {}
    /// 0 to n - 1.
    int below(int n) { return static_cast<int>(m_engine() % static_cast<unsigned>(n)); }
    /// Up to `most` units of the alphabet.
    template <class Ch> std::basic_string<Ch> text(const std::basic_string<Ch>& alphabet, int most)
    {
        std::basic_string<Ch> s;
        for (int n = below(most + 1); n > 0; --n)
            s += alphabet[static_cast<std::size_t>(below(static_cast<int>(alphabet.size())))];
        return s;
    }

private:
    std::mt19937 m_engine;
};

/// Runs body(number) on n threads.
template <class Body> void onThreads(int n, Body body)
{
    std::vector<std::thread> threads;
    threads.reserve(static_cast<std::size_t>(n));
    for (int i = 0; i < n; ++i)
        threads.emplace_back(body, i);
    for (std::thread& t : threads)
        t.join();
}

/// Operations that all threads of a test make together; ZTREE_STRESS sets another number.
inline long stressOperations()
{
    const char* wanted = std::getenv("ZTREE_STRESS");
    return wanted ? std::atol(wanted) : 200000;
}
