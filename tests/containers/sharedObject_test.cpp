#include "support.h"

namespace {

struct Noted : sharedObject {
    explicit Noted(std::atomic<int>& n) : deleted(n) {}
    Noted(const Noted& other) = default;
    ~Noted() override { ++deleted; }
    std::atomic<int>& deleted;
};

const GUID unknownId = {0, 0, 0, {0xC0, 0, 0, 0, 0, 0, 0, 0x46}};

} // namespace

TEST(SharedObject, countsAndDeletesItself)
{
    std::atomic<int> deleted{0};
    auto* object = new Noted(deleted);
    EXPECT_EQ(object->Release(), 0U);
    EXPECT_EQ(deleted, 0) << "never added to";
    EXPECT_EQ(object->AddRef(), 1U);
    void* found = nullptr;
    EXPECT_EQ(object->QueryInterface(unknownId, &found), 0);
    EXPECT_EQ(found, static_cast<IUnknown*>(object));
    GUID other = unknownId;
    other.Data4[7] = 0x47;
    EXPECT_EQ(object->QueryInterface(other, &found), static_cast<HRESULT>(0x80004002u));
    EXPECT_EQ(found, nullptr);
    object->AddRef();

    {
        // Kept: a copy takes over the count; callers copy prototypes with their references.
        Noted copy(*object);
        EXPECT_EQ(copy.Release(), 2U);
        Noted assigned(deleted);
        static_cast<sharedObject&>(assigned) = *object;
        EXPECT_EQ(assigned.AddRef(), 4U);
        assigned.resetRef();
        EXPECT_EQ(assigned.Release(), 0U);
    }
    EXPECT_EQ(deleted, 2);
    EXPECT_EQ(object->Release(), 2U);
    EXPECT_EQ(object->Release(), 1U);
    EXPECT_EQ(object->Release(), 0U);
    EXPECT_EQ(deleted, 3);
}

TEST(SharedObject, threadsShareIt)
{
    std::atomic<int> deleted{0};
    auto* object = new Noted(deleted);
    const int threads = 8;
    for (int i = 0; i < threads; ++i)
        object->AddRef();
    const long each = stressOperations() / threads;
    onThreads(threads, [&](int) {
        for (long n = 1; n < each; ++n) {
            object->AddRef();
            object->Release();
        }
        EXPECT_EQ(deleted, 0);
        object->Release();
    });
    EXPECT_EQ(deleted, 1);
}
