#pragma once

#include "containers/array_core.h"
#include "platform/lock.h"

#include <ztree/containers.h>

/// The state of a ZComArray, made with it. The highest index in use is slots.size() - 1; slots behind
/// it are null. Operations whose name ends in Held rely on the lock.
class mZComArray : public platform::HeapObject {
public:
    explicit mZComArray(ZComArray* publicArray) noexcept : owner(publicArray) {}
    mZComArray(const mZComArray&) = delete;
    mZComArray& operator=(const mZComArray&) = delete;
    virtual ~mZComArray();

    /// Makes the implementation object and its lock; throws structExcept 0x84201001, 0x84201002.
    static mZComArray* make(ZComArray* publicArray);

    int hi() const noexcept { return slots.size() - 1; }
    IUnknown* atHeld(int i) const noexcept;
    int findHeld(IUnknown* p) const noexcept;
    void resizeHeld(int n);
    void addHeld(IUnknown* p);
    void setAtHeld(int i, IUnknown* p);
    IUnknown* removeHeld(int i) noexcept;
    void removeAllHeld();
    void compactHeld(bool pack, bool shrink);
    void assignHeld(const mZComArray& other);

    ZComArray* owner;
    ArrayCore slots;
    SharedInt elements{0};
    platform::Lock lock;

private:
    void putHeld(int i, IUnknown* p) noexcept { slots.entries()[i] = p; }
    void packHeld() noexcept;
    void recomputeHiHeld(int k) noexcept;
};
