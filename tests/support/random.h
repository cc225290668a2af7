#pragma once
// Random choices that are the same on every target, and threads.

#include <cstdlib>
#include <random>
#include <string>
#include <thread>
#include <vector>

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
