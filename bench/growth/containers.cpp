// Pointer arrays, sorted arrays, arrays of COM-style objects.

#include "growth.h"

#include <ztree/ext/containers.h>

namespace growth {
namespace {

struct Item : ZSortObject {
    explicit Item(int k = 0) : key(k) {}
    int compare(const ZSortObject* other) const override
    {
        const int theirs = static_cast<const Item*>(other)->key;
        return key < theirs ? -1 : key > theirs;
    }
    int key;
};

/// Lets the objects go: they belong to a vector.
struct Sorted : ZSortArray {
    ~Sorted() override { removeAll(); }
};

void arrays(Cases& add)
{
    static const char thing = 0;
    add.group("ZArray");
    add("add n, read n, take n from the end", [](int n) {
        return once([&] {
            ZArray a;
            for (int i = 0; i < n; ++i)
                a.add(&thing);
            for (int i = 0; i < n; ++i)
                keep(a.getAt(i));
            for (int i = n; i-- > 0;)
                keep(a.remove(i));
        });
    });
    add("remove from the front", [](int n) {
        return once([&] {
            ZArray a;
            for (int i = 0; i < n; ++i)
                a.add(&thing);
            for (int i = 0; i < n; i += 2) { // as a queue, then all
                keep(a.remove(0));
                a.add(&thing);
            }
            while (a.size())
                keep(a.remove(0));
        });
    });
    add("setAt behind the end, n times", [](int n) {
        return once([&] {
            ZArray a;
            for (int i = 0; i < n; ++i)
                a.setAt(i, &thing);
            check(a.size() == n, "stored");
        });
    });
    add("resize by steps of 100", [](int n) {
        return once([&] {
            ZArray a;
            for (int i = 0; i < n; i += 100)
                a.resize(i);
        });
    });
    add("find, remove, copy, compact, snapshot", [](int n) {
        ZArray a;
        a.setAt(n - 1, &thing);
        return often([&] {
            check(a.find(&thing) == n - 1, "found");
            ZArray copy(a);
            copy.remove(0);
            copy.remove(&thing);
            copy.compact();
            keep(ztree::Snapshot<const char>(copy).size());
        });
    });
}

void sortedArrays(Cases& add)
{
    add.group("ZSortArray");
    struct Order {
        const char* name;
        int (*key)(int i, int n, int random);
    };
    static const Order orders[] = {
        {"sort, no order", [](int, int, int random) { return random; }},
        {"sort, sorted", [](int i, int, int) { return i; }},
        {"sort, backwards", [](int i, int, int) { return -i; }},
        {"sort, all equal", [](int, int, int) { return 1; }},
        {"sort, up and down", [](int i, int n, int) { return std::min(i, n - i); }},
        {"sort, sawtooth", [](int i, int, int) { return i % 1000; }}};
    for (const Order& order : orders) {
        add(order.name, [key = order.key](int n) {
            const auto random = shuffled(n);
            std::vector<Item> items(n);
            Sorted a;
            for (int i = 0; i < n; ++i) {
                items[i].key = key(i, n, random[i]);
                a.add(&items[i]);
            }
            return once([&] { a.sort(); });
        });
    }
    add("insert n in order, search n, get n", [](int n) {
        std::vector<Item> items(n);
        for (int i = 0; i < n; ++i)
            items[i].key = i;
        return once([&] {
            Sorted a;
            for (const Item& item : items)
                a.insert(&item);
            for (const Item& item : items) {
                check(a.search(&item, nullptr) == item.key, "found");
                keep(a.get(&item, 1, nullptr));
            }
        });
    });
    add("insert and search among n equal ones", [](int n) {
        std::vector<Item> items(n + 1);
        Sorted a;
        for (int i = 0; i < n; ++i)
            a.add(&items[i]);
        return often([&] {
            check(a.insert(&items[n]) == 0, "in front of all");
            keep(a.search(&items[n], nullptr) + a.get(&items[n], -1, nullptr));
            a.remove(0);
        });
    });
}

void comArrays(Cases& add)
{
    add.group("ZComArray");
    const auto fill = [](ZComArray& a, sharedObject& object, int n, int step) {
        a.setGrowth(n);
        for (int i = 0; i < n; i += step)
            a.setAt(i, &object);
    };
    const auto withObject = [](auto act) {
        sharedObject object;
        object.AddRef();
        return act(object);
    };
    add("add n, read n, take n from the end", [=](int n) {
        return withObject([&](sharedObject& object) {
            return once([&] {
                ZComArray a;
                for (int i = 0; i < n; ++i)
                    a.add(&object);
                for (int i = 0; i < n; ++i)
                    a.getAt(i)->Release();
                for (int i = n; i-- > n / 2;)
                    a.remove(i)->Release();
                a.removeAll();
            });
        });
    });
    add("setAt behind the end, n times", [=](int n) {
        return withObject([&](sharedObject& object) {
            return once([&] {
                ZComArray a;
                for (int i = 0; i < n; ++i)
                    a.setAt(i, &object);
                check(a.elements() == n, "stored");
            });
        });
    });
    add("forward and back over holes", [=](int n) {
        return withObject([&](sharedObject& object) {
            ZComArray a;
            fill(a, object, n, 4);
            return once([&] {
                int pos = 0;
                while (IUnknown* p = a.getForward(&pos))
                    p->Release();
                pos = a.hi();
                while (IUnknown* p = a.getReverse(&pos))
                    p->Release();
            });
        });
    });
    add("find, remove, copy, snapshot, compact", [=](int n) {
        return withObject([&](sharedObject& object) {
            sharedObject last;
            last.AddRef();
            ZComArray a;
            fill(a, object, n - 1, 2);
            a.setAt(n - 1, &last);
            return once([&] {
                check(a.find(&last, false) == n - 1, "found");
                keep(ztree::ComSnapshot(a).size());
                a.remove(0);
                a.remove(&last);
                a.compact(true, true);
            });
        });
    });
}

} // namespace

void addContainers(Cases& add)
{
    arrays(add);
    sortedArrays(add);
    comArrays(add);
}

} // namespace growth
