// Arrays that threads share, arrays that sort their objects, arrays that count references.

#include <ztree/ext/containers.h>

#include <cstdio>
#include <thread>
#include <vector>

namespace {

struct Part : ZSortObject {
    Part(const char* partName, int partPrice) : name(partName), price(partPrice) {}
    int compare(const ZSortObject* other) const override
    {
        return price - static_cast<const Part*>(other)->price;
    }
    const char* name;
    int price;
};

struct Session : sharedObject {
    ~Session() override { std::puts("session ends"); }
};

} // namespace

int main()
{
    // Four threads append to one array; a snapshot is one state of it, read without its lock.
    static int numbers[4000];
    ZArray found;
    std::vector<std::thread> threads;
    for (int t = 0; t < 4; ++t)
        threads.emplace_back([&found, t] {
            for (int i = 0; i < 1000; ++i) {
                numbers[t * 1000 + i] = i;
                found.add(&numbers[t * 1000 + i]);
            }
        });
    for (std::thread& thread : threads)
        thread.join();
    long sum = 0;
    for (const int* n : ztree::ArrayView<int>(found).snapshot())
        sum += *n;
    std::printf("%d entries, sum %ld\n", found.size(), sum);

    // The sorted array owns its objects. Equal ones stay together; their neighbours are one call away.
    ZSortArray parts;
    parts.insert(new Part("nut", 3));
    parts.insert(new Part("screw", 9));
    parts.insert(new Part("bolt", 5));
    for (int i = 0; i < parts.size(); ++i) {
        const auto* part = static_cast<const Part*>(parts.getAt(i));
        std::printf("%d %s\n", part->price, part->name);
    }
    const Part wanted("?", 5);
    const ZSortObject* next = nullptr;
    if (parts.get(&wanted, 1, &next) == 0)
        std::printf("after 5 comes %s\n", static_cast<const Part*>(next)->name);

    // The COM-style array holds a reference on each object; the last one to let go deletes it.
    ZComArray sessions;
    sessions.add(new Session);
    {
        ztree::Ref<> held(sessions.getAt(0));
        sessions.removeAll();
        std::printf("%d in the array, still held\n", sessions.elements());
    }
    std::puts("done");
}
