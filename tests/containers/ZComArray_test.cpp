#include "support.h"

#include <ztree/ext/containers.h>

#include <memory>

namespace {

/// Counts what the array does to it, and lives as long as the test.
struct Counted : IUnknown {
    HRESULT ZTREE_COMCALL QueryInterface(const GUID&, void**) override { return 1; }
    zulong ZTREE_COMCALL AddRef() override { return static_cast<zulong>(++refs); }
    zulong ZTREE_COMCALL Release() override { return static_cast<zulong>(--refs); }
    int refs = 0;
};

struct ComProbe : ZComArray {
    using ZComArray::resize;
    int capacity() const { return m_pImpl->slots.capacity(); }
};

/// The rules in their plainest form; `refs` holds what each object's count has to be.
struct Model {
    explicit Model(std::vector<int>& references) : refs(references) {}
    Model(const Model&) = default;
    Model& operator=(const Model&) = delete;
    std::vector<int>& refs;
    std::vector<int> slots; // number of the object, -1 for none
    int growth = 10;
    int elements = 0;
    int hi = -1;

    int capacity() const { return static_cast<int>(slots.size()); }
    int& at(int i) { return slots[static_cast<std::size_t>(i)]; }
    void ref(int object, int by) { refs[static_cast<std::size_t>(object)] += by; }
    int get(int i) { return i >= 0 && i <= hi ? at(i) : -1; }
    void recompute(int k)
    {
        hi = elements == 0 ? -1 : k;
        while (hi >= 0 && at(hi) < 0)
            --hi;
    }
    void removeAll()
    {
        for (int i = 0; i < capacity() && elements > 0; ++i) {
            if (at(i) >= 0) {
                ref(at(i), -1);
                --elements;
            }
        }
        slots.clear();
        elements = 0;
        hi = -1;
    }
    void resize(int n)
    {
        if (n == 0)
            return removeAll();
        if (n == capacity())
            return;
        const std::vector<int> old = slots;
        slots.resize(static_cast<std::size_t>(n), -1);
        for (int i = hi; i-- > n && elements > 0;) {
            const int object = old[static_cast<std::size_t>(i) + 1];
            if (object >= 0) {
                ref(object, -1);
                --elements;
            }
        }
        recompute(n - 1);
    }
    void add(int object)
    {
        if (hi >= capacity() - 1)
            resize(capacity() + growth);
        ref(object, 1);
        at(++hi) = object;
        ++elements;
    }
    int remove(int i)
    {
        const int object = get(i);
        if (object < 0)
            return -1;
        --elements;
        if (i == hi) {
            at(i) = -1;
            recompute(hi - 1);
        } else {
            std::copy(slots.begin() + i + 1, slots.begin() + hi + 1, slots.begin() + i);
            at(hi--) = -1;
        }
        return object;
    }
    bool setAt(int i, int object)
    {
        if (i >= capacity()) {
            if (object < 0)
                return false;
            resize(i + growth);
        }
        const int before = at(i);
        at(i) = object;
        if (object < 0 && i >= hi)
            recompute(i - 1);
        if (object >= 0) {
            ref(object, 1);
            ++elements;
            hi = std::max(hi, i);
        }
        if (before >= 0) {
            ref(before, -1);
            --elements;
        }
        return true;
    }
    int find(int object)
    {
        for (int i = 0; i <= hi; ++i) {
            if (at(i) == object)
                return i;
        }
        return -1;
    }
    void compact(bool pack, bool shrink)
    {
        if (pack) {
            const std::size_t before = slots.size();
            slots.erase(std::remove(slots.begin(), slots.end(), -1), slots.end());
            hi = static_cast<int>(slots.size()) - 1;
            slots.resize(before, -1);
        }
        if (hi >= capacity() - 1 || capacity() == 0)
            return;
        if (shrink)
            return resize(elements);
        for (int i = elements; i < capacity(); ++i)
            at(i) = -1;
    }
    void assign(const Model& other)
    {
        removeAll();
        slots = other.slots;
        growth = other.growth;
        elements = other.elements;
        hi = other.hi;
        for (int i = 0; i < hi; ++i) {
            if (at(i) >= 0)
                ref(at(i), 1);
        }
    }
};

class ComArrayTest : public HeapTest {};

} // namespace

TEST_F(ComArrayTest, followsThePlainModel)
{
    Dice random(5);
    Counted objects[20];
    std::vector<int> refs(20);
    const auto object = [&](int number) { return number < 0 ? nullptr : &objects[number]; };
    ComProbe arrays[2];
    Model models[2] = {Model(refs), Model(refs)};
    int differences = 0;
    for (int n = 0; n < 300000 && differences == 0; ++n) {
        const int which = random.below(2);
        ComProbe& a = arrays[which];
        Model& m = models[which];
        const int i = random.below(m.hi + 4) - 1;
        const int number = random.below(20);
        const bool yes = random.below(2) == 1;
        const int operation = random.below(64);
        if (operation < 16) {
            differences += a.add(object(number)) != 0;
            m.add(number);
        } else if (operation < 24) {
            differences += a.remove(i) != object(m.remove(i));
        } else if (operation < 28) {
            differences += (a.remove(object(number)) == 0) != (m.remove(m.find(number)) >= 0);
        } else if (operation < 40) {
            const int place = std::max(i, 0) + random.below(8);
            const int put = random.below(3) ? number : -1;
            differences += (a.setAt(place, object(put)) == 0) != m.setAt(place, put);
        } else if (operation < 44) {
            const int hit = m.find(number);
            differences += a.find(object(number), yes) != hit;
            if (hit >= 0 && yes)
                m.ref(number, 1);
        } else if (operation < 47) {
            const int size = random.below(4) ? m.hi + 1 + random.below(9) : random.below(m.capacity() + 1);
            a.resize(size);
            m.resize(size);
        } else if (operation < 50) {
            const bool pack = random.below(4) != 0;
            differences += a.compact(pack, yes) != 0;
            m.compact(pack, yes);
        } else if (operation < 51) {
            a = arrays[1 - which];
            m.assign(models[1 - which]);
        } else if (operation < 52) {
            a.removeAll();
            m.removeAll();
        } else if (operation < 60) {
            int up = i;
            int down = i;
            const ztree::Ref<> next(a.getForward(&up));
            const ztree::Ref<> previous(a.getReverse(&down));
            int forward = i;
            while (forward >= 0 && forward <= m.hi && m.get(forward) < 0)
                ++forward;
            int reverse = std::min(i, m.hi);
            while (reverse >= 0 && m.get(reverse) < 0)
                --reverse;
            differences += next.get() != object(m.get(forward)) || up != (next ? forward + 1 : i);
            differences += previous.get() != object(m.get(reverse)) || down != (previous ? reverse - 1 : i);
        } else {
            const int step = random.below(5);
            differences += a.setGrowth(step) != m.growth;
            m.growth = step ? step : m.growth;
        }
        differences += a.hi() != m.hi || a.elements() != m.elements || a.capacity() != m.capacity();
        differences += ztree::Ref<>(a.getAt(i)).get() != object(m.get(i));
        const ztree::ComSnapshot entries(a); // has references of its own
        std::size_t seen = 0;
        for (int k = 0; k <= m.hi; ++k) {
            if (m.get(k) >= 0)
                differences += seen >= entries.size() || entries[seen++] != object(m.get(k));
        }
        differences += seen != entries.size();
        std::vector<int> counts = refs;
        for (const IUnknown* p : entries)
            ++counts[static_cast<std::size_t>(static_cast<const Counted*>(p) - objects)];
        for (std::size_t k = 0; k < counts.size(); ++k)
            differences += objects[k].refs != counts[k];
    }
    EXPECT_EQ(differences, 0);
    EXPECT_EQ(arrays[0].getLibVersion(), 2U);
}

// Kept: removing leaves the array's reference to the caller, by index and by pointer.
TEST_F(ComArrayTest, removingAndRefusing)
{
    Counted p[2];
    ComProbe a;
    a.add(&p[0]);
    a.setAt(5, &p[1]);
    EXPECT_EQ(a.remove(5), &p[1]);
    EXPECT_EQ(a.remove(&p[0]), 0);
    EXPECT_EQ(p[0].refs + p[1].refs, 2);
    EXPECT_EQ(a.remove(&p[0]), static_cast<int>(ztree::errFail));
    EXPECT_EQ(a.add(nullptr), -1);
    EXPECT_EQ(a.setAt(-1, &p[0]), static_cast<int>(ztree::errInvalidArg));
    EXPECT_EQ(a.resize(-1), static_cast<int>(ztree::errInvalidArg));
    EXPECT_EQ(a.setAt(a.capacity(), nullptr), static_cast<int>(ztree::errFail));
    std::thread([&] { EXPECT_EQ(a.find(&p[0], false), -1); }).join(); // the lock was left
    a = *&a;
}

// Kept: a copy has no reference on its last entry, and a cut drops the entry at the new size.
TEST_F(ComArrayTest, oddReferences)
{
    Counted p[4];
    ComProbe a;
    for (Counted& c : p)
        a.add(&c);
    {
        ZComArray copy(a);
        copy.setGrowth(1);
        EXPECT_EQ(p[2].refs, 2);
        EXPECT_EQ(p[3].refs, 1);
        p[3].AddRef(); // what the copy is going to release
    }
    a.resize(2);
    EXPECT_EQ(p[1].refs, 1);
    EXPECT_EQ(p[2].refs, 1);
    EXPECT_EQ(p[3].refs, 0);
    EXPECT_EQ(a.elements(), 3);
    EXPECT_EQ(a.hi(), 1);
    EXPECT_EQ(a.compact(true, true), 0);
    EXPECT_EQ(a.hi(), 1) << "from the entries, not from their number";
    a.removeAll();
    EXPECT_EQ(a.elements(), 0);
    EXPECT_EQ(p[0].refs + p[1].refs, 0);
}

// A Release that comes back to the array finds it whole.
TEST_F(ComArrayTest, releaseMayComeBack)
{
    struct Returning : Counted {
        zulong ZTREE_COMCALL Release() override
        {
            EXPECT_EQ(array->find(this, false), -1);
            array->setGrowth(3);
            return Counted::Release();
        }
        ZComArray* array = nullptr;
    };
    Returning p[31];
    ComProbe a;
    for (Returning& r : p) {
        r.array = &a;
        a.add(&r);
    }
    a.remove(30);
    a.setAt(4, &p[30]);
    p[30].Counted::Release();
    a.remove(0)->Release();
    a.resize(8);
    a = ComProbe();
    int left = 0;
    for (const Returning& r : p)
        left += r.refs;
    EXPECT_EQ(left, 1) << "the entry at index 8";
}

TEST_F(ComArrayTest, threadsShareIt)
{
    const int threads = 8;
    const int each = static_cast<int>(stressOperations() / threads);
    static std::atomic<int> alive;
    alive = 0;
    struct Object : sharedObject {
        Object() { ++alive; }
        ~Object() override { --alive; }
    };
    {
        ZComArray a;
        onThreads(threads, [&](int thread) {
            Dice random(static_cast<unsigned>(thread));
            for (int n = 0; n < each; ++n) {
                int pos = random.below(40);
                const int operation = random.below(8);
                if (operation < 2)
                    a.add(new Object);
                else if (operation < 3)
                    a.setAt(pos, new Object);
                else if (operation < 5)
                    ztree::Ref<>(a.remove(pos));
                else if (operation < 6)
                    ztree::Ref<>(a.getForward(&pos));
                else if (operation < 7)
                    a.find(ztree::Ref<>(a.getReverse(&pos)).get(), false);
                else if (a.hi() > 60)
                    a.removeAll();
                else
                    a.compact(true, true);
            }
        });
        EXPECT_LE(a.elements(), alive.load());
    }
    EXPECT_EQ(alive.load(), 0);
}
