#include "support.h"

#include <ztree/ext/containers.h>

#include <limits>
#include <memory>
#include <numeric>

namespace {

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
    void resize(int n)
    {
        if (n == capacity())
            return;
        count = std::min(count, n);
        slots.resize(static_cast<std::size_t>(count));
        slots.resize(static_cast<std::size_t>(n), nullptr);
    }
    const void*& at(int i) { return slots[static_cast<std::size_t>(i)]; }
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
    const bool equal = array.size() == model.count && array.capacity() == model.capacity() &&
                       array.growth() == model.growth && !array.getAt(-1) && !array.getAt(model.count);
    static const void* entries[1000];
    return equal && model.count <= 1000 && array.copyEntries(entries, 1000) == model.count &&
           std::equal(entries, entries + model.count, model.slots.begin());
}

class ArrayTest : public HeapTest {};

} // namespace

TEST_F(ArrayTest, followsThePlainModel)
{
    Random random(1);
    ArrayProbe arrays[2];
    Model models[2];
    int differences = 0;
    const int operations = 400000;
    for (int n = 0; n < operations && differences == 0; ++n) {
        const int which = random.below(2);
        ArrayProbe& a = arrays[which];
        Model& m = models[which];
        const int i = random.below(m.count + 3) - 1;
        const void* p = thing(random.below(60));
        switch (random.below(16)) {
        case 0:
        case 1:
        case 2:
        case 3:
            differences += a.add(p) != 0;
            m.add(p);
            break;
        case 4:
        case 5:
        case 6:
            differences += a.remove(i) != m.remove(i);
            break;
        case 7:
            a.remove(p);
            m.remove(m.find(p));
            break;
        case 8:
        case 9:
        case 10: {
            const int place = std::max(0, i) + random.below(8);
            differences += a.setAt(place, p) != 0;
            m.setAt(place, p);
            break;
        }
        case 11:
            differences += a.find(p) != m.find(p);
            break;
        case 12: {
            const int step = random.below(14);
            differences += a.setGrowth(step) != m.growth;
            m.growth = step ? step : m.growth;
            break;
        }
        case 13: {
            const int size = random.below(40);
            differences += a.resize(size) != 0;
            m.resize(size);
            break;
        }
        case 14:
            differences += a.compact() != 0;
            m.resize(m.count);
            break;
        default:
            if (random.below(4) == 0) {
                a = arrays[1 - which];
                m = models[1 - which];
            } else if (random.below(4) == 0) {
                a.removeAll();
                std::fill_n(m.slots.begin(), m.count, nullptr);
                m.count = 0;
            }
        }
        differences += !same(a, m);
    }
    EXPECT_EQ(differences, 0);
}

TEST_F(ArrayTest, statedFigures)
{
    ArrayProbe a;
    for (int i = 0; i < 11; ++i)
        a.add(thing(i));
    EXPECT_EQ(a.capacity(), 20);
    EXPECT_EQ(a.setGrowth(0), 10);
    EXPECT_EQ(a.setGrowth(7), 10);
    EXPECT_EQ(a.setGrowth(0), 7);

    ArrayProbe gap;
    gap.setAt(25, thing(1));
    EXPECT_EQ(gap.capacity(), 35);
    EXPECT_EQ(gap.size(), 26);
    EXPECT_EQ(gap.find(nullptr), 0);
    EXPECT_EQ(gap.getAt(24), nullptr);
    EXPECT_EQ(gap.find(thing(1)), 25);
    EXPECT_EQ(gap.getLibVersion(), 2U);
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
    EXPECT_EQ(a.remove(-1), nullptr);
    EXPECT_EQ(a.remove(1), nullptr);
    a.remove(thing(5));
    const auto code = [&](auto act) {
        try {
            act();
        } catch (const structExcept& e) {
            return e.getCode();
        }
        return 0U;
    };
    EXPECT_EQ(code([&] { a.setAt(most, thing(2)); }), ztree::errOutOfMemory);
    EXPECT_EQ(code([&] { a.setAt(most - 9, thing(2)); }), ztree::errOutOfMemory);
    a.setGrowth(most);
    a.resize(1);
    EXPECT_EQ(code([&] { a.add(thing(2)); }), ztree::errOutOfMemory);
    a = *&a;
    EXPECT_EQ(a.size(), 1);
    EXPECT_EQ(a.capacity(), 1);
    EXPECT_EQ(a.getAt(0), thing(1));
}

TEST_F(ArrayTest, failingAllocationsLeaveItAsItWas)
{
    const auto full = [] {
        auto a = std::make_unique<ArrayProbe>();
        for (int i = 0; i < 10; ++i)
            a->add(thing(i));
        return a;
    };
    const auto unchanged = [](const ArrayProbe& a) {
        EXPECT_EQ(a.size(), 10);
        EXPECT_EQ(a.capacity(), 10);
        for (int i = 0; i < 10; ++i)
            EXPECT_EQ(a.getAt(i), thing(i));
        // The lock was left: another thread gets in.
        std::thread([&] { EXPECT_EQ(a.find(thing(3)), 3); }).join();
    };
    ZArray other;
    other.setAt(100, thing(7));
    const unsigned code = ztree::errOutOfMemory;
    long injected = sweep(
        full, [](ZArray& a) { a.add(thing(10)); }, unchanged, code);
    injected += sweep(
        full, [](ZArray& a) { a.setAt(50, thing(10)); }, unchanged, code);
    injected += sweep(
        full, [](ZArray& a) { a.resize(100); }, unchanged, code);
    injected += sweep(
        full, [](ZArray& a) { a.resize(5); }, unchanged, code);
    injected += sweep(
        full, [&](ZArray& a) { a = other; }, unchanged, code);
    const auto spare = [] {
        auto a = std::make_unique<ArrayProbe>();
        a->add(thing(0));
        return a;
    };
    const auto stillOne = [](const ArrayProbe& a) { EXPECT_EQ(a.capacity(), 10 * a.size()); };
    injected += sweep(
        spare, [](ZArray& a) { a.compact(); }, stillOne, code);

    const auto nothing = [] { return std::make_unique<int>(); };
    injected += sweep(
        nothing, [](int&) { ZArray a; }, [](int) {});
    for (long nth : {1, 2}) { // the implementation object, then the entries
        platform::Hooks::failAt(platform::Site::heap, nth);
        try {
            ZArray copy(other);
            copy.removeAll();
            ADD_FAILURE() << "copied without memory";
        } catch (const structExcept& e) {
            EXPECT_EQ(e.getCode(), nth == 1 ? unsigned(ztree::errMemory) : code);
            ++injected;
        }
    }
    platform::Hooks::failAt(platform::Site::heap, 0);
    expectLockFailure([] { ZArray a; });
    expectLockFailure([&] { ZArray(other).removeAll(); });
    EXPECT_EQ(injected, 16);
    std::printf("ZArray: %ld failing allocations, 2 failing locks\n", injected);
}

// Two million appends with the default step: a copy of the block every ten would take minutes.
TEST_F(ArrayTest, appendsDoNotCopyEveryStep)
{
    ArrayProbe a;
    platform::Hooks::failAt(platform::Site::heap, 0);
    for (int i = 0; i < 2000000; ++i)
        a.add(thing(i % 4096));
    EXPECT_EQ(a.capacity(), 2000000);
    EXPECT_LT(platform::Hooks::calls(platform::Site::heap), 60);
    EXPECT_EQ(a.getAt(1999999), thing(1999999 % 4096));
}

// Every thing that goes in comes out exactly once, whoever takes it.
TEST_F(ArrayTest, threadsShareIt)
{
    const int threads = 8;
    const int each = static_cast<int>(stressOperations() / threads);
    std::vector<unsigned char> tokens(static_cast<std::size_t>(each) * threads);
    std::vector<const void*> taken[threads];
    ZArray a;
    onThreads(threads, [&](int thread) {
        Random random(static_cast<unsigned>(thread));
        for (int n = 0; n < each; ++n) {
            switch (random.below(8)) {
            case 0:
            case 1:
            case 2:
                a.add(&tokens[static_cast<std::size_t>(thread) * static_cast<std::size_t>(each) +
                              static_cast<std::size_t>(n)]);
                break;
            case 3:
            case 4:
            case 5:
                if (const void* p = a.remove(a.size() - 1 - random.below(20)))
                    taken[thread].push_back(p);
                break;
            case 6:
                a.find(a.getAt(random.below(a.size() + 1)));
                break;
            default:
                a.compact();
            }
        }
    });
    for (const auto& list : taken) {
        for (const void* p : list)
            ++*static_cast<unsigned char*>(const_cast<void*>(p));
    }
    for (int i = 0; i < a.size(); ++i)
        ++*static_cast<unsigned char*>(const_cast<void*>(a.getAt(i)));
    EXPECT_EQ(std::count_if(tokens.begin(), tokens.end(), [](unsigned char n) { return n > 1; }), 0);
    std::size_t out = static_cast<std::size_t>(a.size());
    for (const auto& list : taken)
        out += list.size();
    EXPECT_EQ(std::accumulate(tokens.begin(), tokens.end(), std::size_t{0}), out);
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
        a.remove(n); // does not disturb the loop
    }
    EXPECT_EQ(sum, 300);
    EXPECT_TRUE(view.empty());
    EXPECT_EQ(view[0], nullptr);
    view.add(&numbers[3]);
    platform::Hooks::failAt(platform::Site::heap, 1);
    EXPECT_THROW(view.snapshot(), structExcept);
}
