#include "support.h"
#include "tests/support/plain_sort.h"

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
    items.insert(items.begin() + (i + 1), obj);
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

void plainSort(Items& items)
{
    plainSort(items, 0, static_cast<int>(items.size()) - 1,
              [](const Item* a, const Item* b) { return a->compare(b); });
}

class SortArrayTest : public HeapTest {};

} // namespace

TEST_F(SortArrayTest, followsThePlainModel)
{
    for (bool disturbed : {false, true}) { // with entries that stand where the order does not want them
        SCOPED_TRACE(disturbed);
        Dice random(disturbed ? 2 : 3);
        std::vector<Item> pool;
        pool.reserve(300);
        for (int i = 0; i < 300; ++i)
            pool.emplace_back(random.below(60), i);
        ZSortArray a;
        Items model;
        int differences = 0;
        for (int n = 0; n < 100000 && differences == 0; ++n) {
            const int size = static_cast<int>(model.size());
            const int i = random.below(size + 1);
            const Item* obj = &pool[static_cast<std::size_t>(random.below(300))];
            const Item key(random.below(62) - 1);
            const ZSortObject* found = &key;
            const int operation = random.below(disturbed ? 120 : 80);
            if (operation < 30) {
                differences += a.insert(obj) != plainInsert(model, obj);
            } else if (operation < 50) {
                const int hit = a.search(&key, &found);
                differences +=
                    hit != plainSearch(model, key) || found != (hit < 0 ? nullptr : at(model, hit));
            } else if (operation < 70) {
                const int offset = random.below(3) - 1;
                const Item* wanted = plainGet(model, key, offset);
                differences += a.get(&key, offset, &found) != (wanted ? 0 : -1) || found != wanted;
            } else if (operation < 90 && i < size) {
                a.remove(i);
                model.erase(model.begin() + i);
                if (size > 150) {
                    model.resize(static_cast<std::size_t>(random.below(20)));
                    a.resize(static_cast<int>(model.size()));
                }
            } else if (operation < 100) {
                a.add(obj);
                model.push_back(obj);
            } else if (operation < 110 && i < size) {
                a.setAt(i, obj);
                model[static_cast<std::size_t>(i)] = obj;
            } else if (operation < 119) {
                ZSortArray copy(a);
                a = copy;
                copy.removeAll();
            } else {
                differences += a.sort() != 0;
                plainSort(model);
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
    const int n = 3000;
    for (int kind = 0; kind < 4; ++kind) { // descending, ascending, random, outside in
        SCOPED_TRACE(kind);
        Dice random(6);
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
                a.compact();
            }
        }
        EXPECT_EQ(differences, 0);
        EXPECT_TRUE(all(a) == model);
        ZSortArray copy(a);
        a.resize(100);
        EXPECT_TRUE(all(copy) == model);
        EXPECT_EQ(item(a, 99), model[99]);
        copy.removeAll();
        a.removeAll();
    }
}

TEST_F(SortArrayTest, sortsAsTheRecursiveSortDoes)
{
    Dice random(4);
    for (int n : {0, 1, 2, 3, 10, 1000, 30000}) {
        for (int kinds : {2, 50, 1000000}) {
            std::vector<Item> pool;
            pool.reserve(static_cast<std::size_t>(n));
            ZSortArray a;
            for (int i = 0; i < n; ++i)
                a.add(&pool.emplace_back(random.below(kinds), i));
            Items expected = all(a);
            plainSort(expected);
            a.sort();
            EXPECT_TRUE(all(a) == expected) << n << " of " << kinds;
            a.removeAll();
        }
    }
}

// Arranged so that each pivot is the greatest of its part: the plain sort would recurse 100,000 deep
// and compare five thousand million times.
TEST_F(SortArrayTest, sortsTheWorstArrangement)
{
    const int n = 100000;
    std::vector<std::size_t> place(n);
    for (std::size_t i = 0; i < n; ++i)
        place[i] = i;
    std::vector<Item> pool(n, Item(0));
    for (std::size_t last = n - 1; last > 0; --last) { // undo the swap that a pass makes
        pool[place[last / 2]].key = static_cast<int>(last);
        std::swap(place[last / 2], place[last]);
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

TEST_F(SortArrayTest, refusalsAndManyEqualOnes)
{
    ZSortArray a;
    for (int key : {2, 1, 3})
        a.insert(new Item(key));
    const Item two(2);
    const ZSortObject* found = &two;
    EXPECT_EQ(a.get(&two, 2, &found), -1);
    EXPECT_EQ(found, nullptr);
    EXPECT_EQ(a.search(nullptr, nullptr), -1);
    EXPECT_EQ(a.insert(nullptr), -1);
    EXPECT_EQ(a.size(), 3);
    for (int i = 0; i < 1000; ++i)
        EXPECT_EQ(a.insert(new Item(2)), 1) << "in front of its equals";
    EXPECT_EQ(a.search(&two, &found), 1);
    EXPECT_EQ(found, item(a, 1));
    delete item(a, 500);
    a.setAt(500, nullptr); // inserting skips it
    EXPECT_EQ(a.insert(new Item(4)), 1003);
    EXPECT_EQ(a.insert(new Item(0)), 0);
    EXPECT_EQ(a.getLibVersion(), 2U);
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
        a.setAt(60, nullptr);
        ZSortArray copy(a);
        copy.removeAll();
        EXPECT_EQ(s_deleted, 0);
    }
    EXPECT_EQ(s_deleted, 50);
}

// A comparison that throws leaves array and lock as they were.
TEST_F(SortArrayTest, comparisonsMayThrow)
{
    struct Thrower : Item {
        using Item::Item;
        int compare(const ZSortObject*) const override { throw 1; }
    };
    ZSortArray a;
    for (int i = 0; i < 10; ++i)
        a.insert(new Item(i));
    const Item outside(5);
    const Thrower thrower(3);
    EXPECT_THROW(a.search(&thrower, nullptr), int);
    a.add(&thrower);
    EXPECT_THROW(a.insert(&outside), int);
    a.remove(static_cast<const ZSortObject*>(&thrower));
    std::thread([&] {
        EXPECT_EQ(a.size(), 10);
        for (int i = 0; i < a.size(); ++i)
            EXPECT_EQ(item(a, i)->key, i);
    }).join();
}
