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
        if (hi >= capacity() - 1)
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
    Random random(5);
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
        switch (random.below(16)) {
        case 0:
        case 1:
        case 2:
        case 3:
            differences += a.add(object(number)) != 0;
            m.add(number);
            break;
        case 4:
        case 5:
            differences += a.remove(i) != object(m.remove(i));
            break;
        case 6:
            differences += (a.remove(object(number)) == 0) != (m.remove(m.find(number)) >= 0);
            break;
        case 7:
        case 8:
        case 9: {
            const int place = std::max(i, 0) + random.below(8);
            const int put = random.below(3) ? number : -1;
            differences += (a.setAt(place, object(put)) == 0) != m.setAt(place, put);
            break;
        }
        case 10: {
            const bool addRef = random.below(2) == 1;
            const int found = m.find(number);
            differences += a.find(object(number), addRef) != found;
            if (found >= 0 && addRef)
                m.ref(number, 1);
            break;
        }
        case 11: {
            const int size = random.below(4) ? m.hi + 1 + random.below(9) : random.below(m.capacity() + 1);
            a.resize(size);
            m.resize(size);
            break;
        }
        case 12: {
            const bool pack = random.below(4) != 0;
            const bool shrink = random.below(2) == 1;
            differences += a.compact(pack, shrink) != 0;
            if (m.capacity() > 0)
                m.compact(pack, shrink);
            break;
        }
        case 13:
            if (random.below(8) == 0) {
                a = arrays[1 - which];
                m.assign(models[1 - which]);
            } else if (random.below(8) == 0) {
                a.removeAll();
                m.removeAll();
            }
            break;
        case 14: {
            int up = i;
            int down = i;
            int forward = i;
            while (forward >= 0 && forward <= m.hi && m.get(forward) < 0)
                ++forward;
            int reverse = std::min(i, m.hi);
            while (reverse >= 0 && m.get(reverse) < 0)
                --reverse;
            const ztree::Ref<> next(a.getForward(&up));
            const ztree::Ref<> previous(a.getReverse(&down));
            differences +=
                next.get() != object(m.get(forward)) || (next && up != forward + 1) || (!next && up != i);
            differences += previous.get() != object(m.get(reverse)) || down != (previous ? reverse - 1 : i);
            break;
        }
        default: {
            const int step = random.below(5);
            differences += a.setGrowth(step) != m.growth;
            m.growth = step ? step : m.growth;
        }
        }
        differences += a.hi() != m.hi || a.elements() != m.elements || a.capacity() != m.capacity();
        differences += ztree::Ref<>(a.getAt(i)).get() != object(m.get(i));
        const ztree::ComSnapshot entries(a);
        std::size_t seen = 0;
        for (int k = 0; k <= m.hi; ++k) {
            if (m.get(k) >= 0)
                differences += seen >= entries.size() || entries[seen++] != object(m.get(k));
        }
        differences += seen != entries.size();
        for (const IUnknown* p : entries) // the snapshot's own references
            ++refs[static_cast<std::size_t>(static_cast<const Counted*>(p) - objects)];
        for (std::size_t k = 0; k < refs.size(); ++k)
            differences += objects[k].refs != refs[k];
        for (const IUnknown* p : entries)
            --refs[static_cast<std::size_t>(static_cast<const Counted*>(p) - objects)];
    }
    EXPECT_EQ(differences, 0);
}

TEST_F(ComArrayTest, holesAndCursors)
{
    Counted p[3];
    ComProbe a;
    EXPECT_EQ(a.add(nullptr), -1);
    for (Counted& c : p)
        a.add(&c);
    EXPECT_EQ(a.remove(1), &p[1]);
    EXPECT_EQ(p[1].refs, 1) << "the array's reference is the caller's now";
    EXPECT_EQ(a.hi(), 1);
    EXPECT_EQ(a.elements(), 2);
    // Kept: nor does removing by pointer release.
    EXPECT_EQ(a.remove(&p[0]), 0);
    EXPECT_EQ(p[0].refs, 1);
    EXPECT_EQ(a.remove(&p[0]), static_cast<int>(ztree::errFail));

    ComProbe holes;
    holes.setAt(5, &p[0]);
    EXPECT_EQ(holes.capacity(), 15);
    int pos = 0;
    EXPECT_EQ(holes.getForward(&pos), &p[0]);
    EXPECT_EQ(pos, 6);
    EXPECT_EQ(holes.getForward(&pos), nullptr);
    pos = 100;
    EXPECT_EQ(holes.getReverse(&pos), &p[0]);
    EXPECT_EQ(pos, 4);
    EXPECT_EQ(holes.setAt(15, nullptr), static_cast<int>(ztree::errFail));
    EXPECT_EQ(holes.setAt(-1, &p[0]), static_cast<int>(ztree::errInvalidArg));
    std::thread([&] {
        EXPECT_EQ(holes.hi(), 5);
        EXPECT_EQ(holes.find(&p[0], false), 5);
    }).join();
    holes.setAt(1, &p[1]);
    EXPECT_EQ(ztree::ComSnapshot(holes).size(), 2U);
    EXPECT_EQ(holes.setAt(5, nullptr), 0);
    EXPECT_EQ(holes.hi(), 1);
    EXPECT_EQ(p[0].refs, 1 + 2) << "one from the removal, two from the cursors";
    holes.setAt(3, &p[2]);
    EXPECT_EQ(holes.compact(true, true), 0);
    EXPECT_EQ(holes.capacity(), 2);
    EXPECT_EQ(ztree::Ref<>(holes.getAt(1)).get(), &p[2]);
    EXPECT_EQ(holes.getLibVersion(), 2U);
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

TEST_F(ComArrayTest, failuresLeaveItAsItWas)
{
    Counted object;
    ComProbe other;
    other.setAt(100, &object);
    const auto full = [&] {
        object.refs = 1; // other's
        auto a = std::make_unique<ComProbe>();
        for (int i = 0; i < 10; ++i)
            a->add(&object);
        return a;
    };
    const auto unchanged = [&](const ComProbe& a) {
        EXPECT_EQ(a.capacity(), 10);
        EXPECT_EQ(a.elements(), 10);
        EXPECT_EQ(object.refs, 11);
        std::thread([&] { EXPECT_EQ(a.find(&object, false), 0); }).join();
    };
    const unsigned code = ztree::errOutOfMemory;
    long injected = sweep(
        full, [&](ComProbe& a) { a.add(&object); }, unchanged, code);
    injected += sweep(
        full, [&](ComProbe& a) { a.setAt(20, &object); }, unchanged, code);
    injected += sweep(
        full, [](ComProbe& a) { a.resize(20); }, unchanged, code);
    injected += sweep(
        full, [](ComProbe& a) { a.resize(5); }, unchanged, code);
    injected += sweep(
        full,
        [&](ComProbe& a) {
            a = other;
            object.AddRef();
        },
        unchanged, code);
    EXPECT_EQ(injected, 10);
    expectLockFailure([] { ZComArray a; });
    expectLockFailure([&] { ZComArray(other).setGrowth(1); });
    std::printf("ZComArray: %ld failing allocations, 2 failing locks\n", injected);
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
            Random random(static_cast<unsigned>(thread));
            for (int n = 0; n < each; ++n) {
                int pos = random.below(40);
                switch (random.below(8)) {
                case 0:
                case 1:
                    a.add(new Object);
                    break;
                case 2:
                    a.setAt(pos, new Object);
                    break;
                case 3:
                case 4:
                    ztree::Ref<>(a.remove(pos));
                    break;
                case 5:
                    ztree::Ref<>(a.getForward(&pos));
                    break;
                case 6:
                    if (const ztree::Ref<> last{a.getReverse(&pos)})
                        a.find(last.get(), false);
                    break;
                default:
                    if (a.hi() > 60)
                        a.compact(true, true), a.removeAll();
                }
            }
        });
        EXPECT_LE(a.elements(), alive.load());
    }
    EXPECT_EQ(alive.load(), 0);
}
