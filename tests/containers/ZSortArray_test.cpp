#include "support.h"

#include <memory>

namespace {

int s_deleted = 0;

struct Item : ZSortObject {
    explicit Item(int k, int n = 0) : key(k), id(n) {}
    ~Item() override { ++s_deleted; }
    int compare(const ZSortObject* other) const override
    {
        return key - static_cast<const Item*>(other)->key;
    }
    int key;
    int id; // tells equal ones apart
};

using Items = std::vector<const Item*>;

const Item* item(const ZArray& a, int i)
{
    return static_cast<const Item*>(static_cast<const ZSortObject*>(a.getAt(i)));
}

Items all(const ZArray& a)
{
    std::vector<const void*> entries(static_cast<std::size_t>(a.size()));
    a.copyEntries(entries.data(), a.size());
    Items items;
    items.reserve(entries.size());
    for (const void* p : entries)
        items.push_back(static_cast<const Item*>(static_cast<const ZSortObject*>(p)));
    return items;
}

// --- the rules in their plainest form ---
const Item* at(const Items& items, int i)
{
    return items[static_cast<std::size_t>(i)];
}

int plainInsert(Items& items, const Item* obj)
{
    int i = static_cast<int>(items.size()) - 1;
    while (i >= 0 && !(at(items, i) && at(items, i)->compare(obj) < 0))
        --i;
    items.insert(items.begin() + i + 1, obj);
    return i + 1;
}

int plainSearch(const Items& items, const Item& key)
{
    int lo = 0;
    int hi = static_cast<int>(items.size());
    while (lo < hi) {
        int mid = lo + (hi - lo) / 2;
        const int r = key.compare(at(items, mid));
        if (r == 0) {
            while (mid > 0 && key.compare(at(items, mid - 1)) == 0)
                --mid;
            return mid;
        }
        if (r > 0 ? lo == mid : hi == mid)
            return -1;
        (r > 0 ? lo : hi) = mid;
    }
    return -1;
}

const Item* plainGet(const Items& items, const Item& key, int offset)
{
    for (int i = static_cast<int>(items.size()); i-- > 0;) {
        const int r = key.compare(at(items, i));
        if (r > 0)
            return nullptr;
        if (r == 0)
            return i + offset >= 0 && i + offset < static_cast<int>(items.size()) ? at(items, i + offset)
                                                                                  : nullptr;
    }
    return nullptr;
}

void plainSort(Items& e, int first, int last)
{
    if (last <= first)
        return;
    const Item* pivot = at(e, (first + last) / 2);
    int i = first;
    int j = last;
    do {
        while (i < last && pivot->compare(at(e, i)) >= 1)
            ++i;
        while (j > first && pivot->compare(at(e, j)) < 0)
            --j;
        if (i <= j) {
            if (i != j && at(e, i)->compare(at(e, j)) != 0)
                std::swap(e[static_cast<std::size_t>(i)], e[static_cast<std::size_t>(j)]);
            ++i;
            --j;
        }
    } while (j >= i);
    plainSort(e, first, j);
    plainSort(e, i, last);
}

class SortArrayTest : public HeapTest {};

} // namespace

TEST_F(SortArrayTest, followsThePlainModel)
{
    for (bool disturbed : {false, true}) { // with entries that stand where the order does not want them
        SCOPED_TRACE(disturbed);
        Random random(disturbed ? 2 : 3);
        std::vector<std::unique_ptr<Item>> pool;
        pool.reserve(300);
        for (int i = 0; i < 300; ++i)
            pool.push_back(std::make_unique<Item>(random.below(60), i));
        ZSortArray a;
        Items model;
        int differences = 0;
        for (int n = 0; n < 100000 && differences == 0; ++n) {
            const int size = static_cast<int>(model.size());
            const Item* obj = pool[static_cast<std::size_t>(random.below(300))].get();
            const Item key(random.below(62) - 1);
            const ZSortObject* found = &key;
            switch (random.below(disturbed ? 13 : 8)) {
            case 0:
            case 1:
            case 2:
                differences += a.insert(obj) != plainInsert(model, obj);
                break;
            case 3:
            case 4: {
                const int i = a.search(&key, &found);
                differences += i != plainSearch(model, key) || found != (i < 0 ? nullptr : at(model, i));
                break;
            }
            case 5:
            case 6: {
                const int offset = random.below(3) - 1;
                const Item* wanted = plainGet(model, key, offset);
                differences += a.get(&key, offset, &found) != (wanted ? 0 : -1) || found != wanted;
                break;
            }
            case 7:
            case 8:
                if (size > 0) {
                    const int i = random.below(size);
                    differences += a.remove(i) != at(model, i);
                    model.erase(model.begin() + i);
                }
                if (size > 150) {
                    model.resize(static_cast<std::size_t>(random.below(20)));
                    a.resize(static_cast<int>(model.size()));
                }
                break;
            case 9:
                a.add(obj);
                model.push_back(obj);
                break;
            case 10:
                if (size > 0) {
                    const int i = random.below(size);
                    a.setAt(i, obj);
                    model[static_cast<std::size_t>(i)] = obj;
                }
                break;
            case 11: {
                ZSortArray copy(a);
                a = copy;
                copy.removeAll();
                break;
            }
            default:
                if (random.below(20) == 0) {
                    differences += a.sort() != 0;
                    plainSort(model, 0, size - 1);
                }
            }
            differences += all(a) != model;
        }
        EXPECT_EQ(differences, 0);
        a.removeAll();
    }
}

// Large enough for the array to make room at both ends.
TEST_F(SortArrayTest, insertsAtEitherEnd)
{
    const int n = 4000;
    for (int kind = 0; kind < 4; ++kind) { // descending, ascending, random, outside in
        SCOPED_TRACE(kind);
        Random random(6);
        std::vector<Item> pool;
        pool.reserve(static_cast<std::size_t>(n));
        for (int i = 0; i < n; ++i)
            pool.emplace_back(kind == 0   ? n - i
                              : kind == 1 ? i
                              : kind == 2 ? random.below(n)
                              : i % 2     ? n - i
                                          : i,
                              i);
        ZSortArray a;
        Items model;
        int differences = 0;
        for (const Item& i : pool) {
            differences += a.insert(&i) != plainInsert(model, &i);
            if (i.id % 500 == 499) {
                a.remove(i.id / 3);
                model.erase(model.begin() + i.id / 3);
                if (i.id % 1000 == 999)
                    a.compact();
            }
        }
        EXPECT_EQ(differences, 0);
        EXPECT_TRUE(all(a) == model);
        ZSortArray copy(a);
        a.resize(100);
        a.setAt(300, nullptr);
        EXPECT_TRUE(all(copy) == model);
        EXPECT_EQ(a.getAt(99), model[99]);
        EXPECT_EQ(a.getAt(200), nullptr);
        copy.removeAll();
        a.removeAll();
    }
}

TEST_F(SortArrayTest, sortsAsTheRecursiveSortDoes)
{
    Random random(4);
    for (int n : {0, 1, 2, 3, 10, 1000, 30000}) {
        for (int kinds : {2, 50, 1000000}) {
            std::vector<Item> pool;
            pool.reserve(static_cast<std::size_t>(n));
            for (int i = 0; i < n; ++i)
                pool.emplace_back(random.below(kinds), i);
            ZSortArray a;
            for (const Item& i : pool)
                a.add(&i);
            Items expected = all(a);
            plainSort(expected, 0, n - 1);
            a.sort();
            EXPECT_TRUE(all(a) == expected) << n << " of " << kinds;
            a.removeAll();
        }
    }
}

// Arranged so that each pivot is the greatest of its part: the plain sort would recurse n / 2 deep and
// compare n * n / 4 times.
TEST_F(SortArrayTest, sortsTheWorstArrangement)
{
    const int n = 100000;
    std::vector<int> place(n);
    for (int i = 0; i < n; ++i)
        place[static_cast<std::size_t>(i)] = i;
    std::vector<Item> pool(static_cast<std::size_t>(n), Item(0));
    for (int last = n - 1; last > 0; --last) { // undo the swap that a pass makes
        const auto middle = static_cast<std::size_t>(last / 2);
        pool[static_cast<std::size_t>(place[middle])].key = last;
        std::swap(place[middle], place[static_cast<std::size_t>(last)]);
    }
    ZSortArray a;
    for (const Item& i : pool)
        a.add(&i);
    a.sort();
    int wrong = 0;
    for (int i = 0; i < n; ++i)
        wrong += item(a, i)->key != i;
    EXPECT_EQ(wrong, 0);
    a.removeAll();
}

TEST_F(SortArrayTest, equalOnesAndNeighbours)
{
    ZSortArray a;
    const auto b1 = new Item(2, 1);
    EXPECT_EQ(a.insert(b1), 0);
    EXPECT_EQ(a.insert(new Item(1)), 0);
    EXPECT_EQ(a.insert(new Item(3)), 2);
    const auto b2 = new Item(2, 2);
    EXPECT_EQ(a.insert(b2), 1) << "in front of its equal";
    EXPECT_EQ(item(a, 2), b1);
    const Item two(2);
    const Item three(3);
    const Item nine(9);
    const ZSortObject* found = nullptr;
    EXPECT_EQ(a.search(&two, &found), 1);
    EXPECT_EQ(found, b2);
    EXPECT_EQ(a.get(&two, 1, &found), 0);
    EXPECT_EQ(static_cast<const Item*>(found)->key, 3);
    EXPECT_EQ(a.get(&three, 1, &found), -1);
    EXPECT_EQ(found, nullptr);
    EXPECT_EQ(a.get(&two, 2, &found), -1);
    EXPECT_EQ(a.search(&nine, nullptr), -1);
    EXPECT_EQ(a.insert(nullptr), -1);
    EXPECT_EQ(a.size(), 4);

    // Entries equal by thousands are not walked one by one on the way to the first.
    for (int i = 0; i < 1000; ++i)
        a.insert(new Item(2));
    EXPECT_EQ(a.search(&two, &found), 1);
    a.setAt(500, nullptr); // owned no more; the test frees what stood there
    EXPECT_EQ(a.insert(new Item(4)), 1004);
    EXPECT_EQ(a.insert(new Item(0)), 0);
}

// The destructor nulls a slot before it deletes the object, so that an object may look at the array.
TEST_F(SortArrayTest, deletesWhatIsLeft)
{
    struct Watcher : Item {
        Watcher(const ZArray& a, int k) : Item(k), array(a) {}
        ~Watcher() override { EXPECT_EQ(array.find(static_cast<ZSortObject*>(this)), -1); }
        const ZArray& array;
    };
    s_deleted = 0;
    {
        ZSortArray a;
        for (int i = 0; i < 50; ++i)
            a.insert(new Watcher(a, i % 7));
        const Item* tenth = item(a, 10);
        a.setAt(10, nullptr);
        delete tenth;
        ZSortArray copy(a);
        EXPECT_EQ(copy.size(), 50);
        copy.removeAll();
    }
    EXPECT_EQ(s_deleted, 50);
}

TEST_F(SortArrayTest, failuresLeaveItAsItWas)
{
    const auto full = [] {
        auto a = std::make_unique<ZSortArray>();
        for (int i = 0; i < 10; ++i)
            a->insert(new Item(i));
        return a;
    };
    const auto unchanged = [](const ZSortArray& a) {
        EXPECT_EQ(a.size(), 10);
        for (int i = 0; i < a.size(); ++i)
            EXPECT_EQ(item(a, i)->key, i);
    };
    const Item outside(5);
    const long injected = sweep(
        full,
        [&](ZSortArray& a) {
            a.insert(&outside);
            a.remove(static_cast<const ZSortObject*>(&outside));
        },
        unchanged, ztree::errOutOfMemory);
    EXPECT_EQ(injected, 2);
    expectLockFailure([] { ZSortArray a; });

    struct Thrower : Item {
        using Item::Item;
        int compare(const ZSortObject*) const override { throw 1; }
    };
    const auto a = full();
    const Thrower thrower(3);
    EXPECT_THROW(a->search(&thrower, nullptr), int);
    a->add(&thrower);
    EXPECT_THROW(a->insert(&outside), int);
    a->remove(static_cast<const ZSortObject*>(&thrower));
    std::thread([&] { unchanged(*a); }).join();
}
