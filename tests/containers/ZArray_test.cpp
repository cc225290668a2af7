#include "support.h"

#include <ztree/ext/containers.h>

#include <limits>
#include <memory>
#include <numeric>

namespace {

struct ArrayProbe : ZArray { // the figures that callers cannot ask for
    int capacity() const { return m_pImpl->core.capacity(); }
    int growth() const { return m_pImpl->core.growth(); }
};

char s_things[4096];
const void* thing(int i)
{
    return s_things + i;
}

/// The array's rules in their plainest form: every slot exists.
struct Model {
    int growth = 10;
    int count = 0;
    std::vector<const void*> slots;

    int capacity() const { return static_cast<int>(slots.size()); }
    const void*& at(int i) { return slots[static_cast<std::size_t>(i)]; }
    void resize(int n)
    {
        if (n == capacity())
            return;
        count = std::min(count, n);
        slots.resize(static_cast<std::size_t>(count));
        slots.resize(static_cast<std::size_t>(n), nullptr);
    }
    void add(const void* p)
    {
        if (count >= capacity())
            resize(capacity() + growth);
        at(count++) = p;
    }
    const void* remove(int i)
    {
        if (i < 0 || i >= count)
            return nullptr;
        const void* p = at(i);
        std::copy(slots.begin() + i + 1, slots.begin() + count, slots.begin() + i);
        --count;
        return p;
    }
    void removeAll()
    {
        std::fill_n(slots.begin(), count, nullptr);
        count = 0;
    }
    int find(const void* p) const
    {
        const auto end = slots.begin() + count;
        const auto hit = std::find(slots.begin(), end, p);
        return hit == end ? -1 : static_cast<int>(hit - slots.begin());
    }
    void setAt(int i, const void* p)
    {
        if (i >= capacity())
            resize(i + growth);
        count = std::max(count, i + 1);
        at(i) = p;
    }
};

bool same(const ArrayProbe& array, const Model& model)
{
    static const void* entries[1000];
    return array.size() == model.count && array.capacity() == model.capacity() &&
           array.growth() == model.growth && !array.getAt(-1) && !array.getAt(model.count) &&
           model.count <= 1000 && array.copyEntries(entries, 1000) == model.count &&
           std::equal(entries, entries + model.count, model.slots.begin());
}

class ArrayTest : public HeapTest {};

} // namespace

TEST_F(ArrayTest, followsThePlainModel)
{
    Dice random(1);
    ArrayProbe arrays[2];
    Model models[2];
    int differences = 0;
    for (int n = 0; n < 400000 && differences == 0; ++n) {
        const int which = random.below(2);
        ArrayProbe& a = arrays[which];
        Model& m = models[which];
        const int i = random.below(m.count + 3) - 1;
        const void* p = thing(random.below(60));
        const int operation = random.below(64);
        if (operation < 16) {
            differences += a.add(p) != 0;
            m.add(p);
        } else if (operation < 28) {
            differences += a.remove(i) != m.remove(i);
        } else if (operation < 32) {
            a.remove(p);
            m.remove(m.find(p));
        } else if (operation < 44) {
            const int place = std::max(0, i) + random.below(8);
            differences += a.setAt(place, p) != 0;
            m.setAt(place, p);
        } else if (operation < 48) {
            differences += a.find(p) != m.find(p);
        } else if (operation < 52) {
            const int step = random.below(14);
            differences += a.setGrowth(step) != m.growth;
            m.growth = step ? step : m.growth;
        } else if (operation < 56) {
            const int size = random.below(40);
            differences += a.resize(size) != 0;
            m.resize(size);
        } else if (operation < 60) {
            differences += a.compact() != 0;
            m.resize(m.count);
        } else if (operation < 62) {
            a = arrays[1 - which];
            m = models[1 - which];
        } else {
            a.removeAll();
            m.removeAll();
        }
        differences += !same(a, m);
    }
    EXPECT_EQ(differences, 0);
    EXPECT_EQ(arrays[0].getLibVersion(), 2U);
}

// Large enough for those in front of a removed entry to move instead of those behind it.
TEST_F(ArrayTest, removesFromTheFrontAsThePlainModel)
{
    Dice random(2);
    int differences = 0;
    for (int round = 0; round < 60; ++round) {
        ArrayProbe a;
        Model m;
        const int fresh = 80 + random.below(300);
        for (int i = 0; i < fresh; ++i) {
            const void* p = thing(random.below(round % 2 ? 2 : 4000));
            a.add(p);
            m.add(p);
        }
        if (round % 3 == 0) {
            a.compact(); // no free slots but those that removing makes
            m.resize(m.count);
        }
        for (int step = 0; step < 500; ++step) {
            const void* p = thing(random.below(4000));
            const int operation = random.below(round % 5 ? 40 : 1000);
            if (operation == 0) {
                a.add(p);
                m.add(p);
            } else if (operation == 1) {
                differences += a.remove(m.count - 1) != m.remove(m.count - 1);
            } else if (operation == 2) {
                const int place = m.count + random.below(9);
                a.setAt(place, p);
                m.setAt(place, p);
            } else if (operation == 3) {
                ArrayProbe copy;
                copy = a;
                a = copy;
            } else {
                const int i = random.below(3) ? 0 : random.below(m.count / 2 + 1);
                differences += a.remove(i) != m.remove(i);
            }
            differences += !same(a, m);
        }
        const int end = m.capacity() - 1;
        a.setAt(end, thing(1)); // shows what removing left behind
        m.setAt(end, thing(1));
        differences += !same(a, m);
    }
    EXPECT_EQ(differences, 0);
}

// Kept: the slot that remove(int) vacates keeps its value, and setAt() behind it brings it back.
TEST_F(ArrayTest, removeLeavesTheVacatedSlot)
{
    ZArray a;
    for (int i = 0; i < 3; ++i)
        a.add(thing(i));
    a.remove(1);
    a.setAt(4, thing(9));
    EXPECT_EQ(a.getAt(2), thing(2));
    EXPECT_EQ(a.getAt(3), nullptr);
    a.remove(0);
    a.resize(30); // growing clears the spare slots
    a.setAt(6, thing(8));
    EXPECT_EQ(a.getAt(4), nullptr);
}

TEST_F(ArrayTest, refusesWhatCannotBe)
{
    const int invalid = static_cast<int>(ztree::errInvalidArg);
    const int most = std::numeric_limits<int>::max();
    ArrayProbe a;
    a.add(thing(1));
    EXPECT_EQ(a.resize(-1), invalid);
    EXPECT_EQ(a.setAt(-1, thing(2)), invalid);
    EXPECT_EQ(a.setGrowth(-5), 10);
    EXPECT_EQ(codeOf([&] { a.setAt(most, thing(2)); }), ztree::errOutOfMemory);
    EXPECT_EQ(codeOf([&] { a.setAt(most - 9, thing(2)); }), ztree::errOutOfMemory);
    a.setGrowth(most);
    a.resize(1);
    EXPECT_EQ(codeOf([&] { a.add(thing(2)); }), ztree::errOutOfMemory);
    a = *&a;
    EXPECT_EQ(a.size(), 1);
    EXPECT_EQ(a.capacity(), 1);
    EXPECT_EQ(a.getAt(0), thing(1));
}

TEST_F(ArrayTest, codesOfFailures)
{
    ZArray other;
    other.add(thing(7));
    const struct {
        long nth; // the implementation object, the entries
        unsigned code;
    } allocations[] = {{1, ztree::errMemory}, {2, ztree::errOutOfMemory}};
    for (const auto& a : allocations) {
        platform::Hooks::failAt(platform::Site::heap, a.nth);
        EXPECT_EQ(codeOf([&] { ZArray copy(other); }), a.code);
    }
    platform::Hooks::failAt(platform::Site::heap, 1);
    EXPECT_EQ(codeOf([&] { other.resize(100); }), ztree::errOutOfMemory);
    platform::Hooks::failAt(platform::Site::heap, 0);
    expectLockFailure([] { ZArray a; });
    expectLockFailure([&] { ZArray copy(other); });
    expectLockFailure([] { ZSortArray a; });
    expectLockFailure([] { ZComArray a; });
    const ZComArray coms;
    expectLockFailure([&] { ZComArray copy(coms); });
}

// With the default step: a new block every ten appends would copy for minutes.
TEST_F(ArrayTest, appendsDoNotCopyEveryStep)
{
    ArrayProbe a;
    platform::Hooks::failAt(platform::Site::heap, 0);
    for (int i = 0; i < 1000000; ++i)
        a.add(thing(i % 4096));
    EXPECT_EQ(a.capacity(), 1000000);
    EXPECT_LT(platform::Hooks::calls(platform::Site::heap), 60);
    EXPECT_EQ(a.getAt(999999), thing(999999 % 4096));
}

// Everything that goes in comes out exactly once, whoever takes it.
TEST_F(ArrayTest, threadsShareIt)
{
    const int threads = 8;
    const auto each = static_cast<std::size_t>(stressOperations() / threads);
    std::vector<unsigned char> tokens(each * threads);
    std::vector<const void*> out[threads];
    ZArray a;
    onThreads(threads, [&](int thread) {
        Dice random(static_cast<unsigned>(thread));
        for (std::size_t n = 0; n < each; ++n) {
            const int operation = random.below(8);
            if (operation < 3)
                a.add(&tokens[static_cast<std::size_t>(thread) * each + n]);
            else if (operation < 6)
                out[thread].push_back(a.remove(a.size() - 1 - random.below(20)));
            else if (operation < 7)
                a.find(a.getAt(random.below(a.size() + 1)));
            else
                a.compact();
        }
    });
    std::size_t count = 0;
    while (const void* p = a.remove(a.size() - 1))
        out[0].push_back(p);
    for (const auto& list : out) {
        for (const void* p : list) {
            count += p != nullptr;
            if (p)
                ++*static_cast<unsigned char*>(const_cast<void*>(p));
        }
    }
    EXPECT_EQ(std::count_if(tokens.begin(), tokens.end(), [](unsigned char n) { return n > 1; }), 0);
    EXPECT_EQ(std::accumulate(tokens.begin(), tokens.end(), std::size_t{0}), count);
}

TEST_F(ArrayTest, viewsAndSnapshots)
{
    ZArray a;
    int numbers[25];
    const ztree::ArrayView<int> view(a);
    EXPECT_TRUE(view.snapshot().empty());
    for (int i = 0; i < 25; ++i) {
        numbers[i] = i;
        view.add(&numbers[i]);
    }
    int sum = 0;
    for (int* n : view.snapshot()) {
        sum += *n;
        view.remove(n); // does not disturb the loop
    }
    EXPECT_EQ(sum, 300);
    EXPECT_EQ(view[0], nullptr);
    view.add(&numbers[3]);
    platform::Hooks::failAt(platform::Site::heap, 1);
    EXPECT_EQ(codeOf([&] { view.snapshot(); }), ztree::errMemory);
}
