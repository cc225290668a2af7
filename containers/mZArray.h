#pragma once

#include "containers/array_core.h"
#include "platform/lock.h"

#include <ztree/containers.h>

/// The state of a ZArray, made with it.
class mZArray : public platform::HeapObject {
public:
    explicit mZArray(ZArray* publicArray) noexcept : owner(publicArray) {}
    mZArray(const mZArray&) = delete;
    mZArray& operator=(const mZArray&) = delete;
    virtual ~mZArray();

    /// Makes the implementation object and its lock; throws structExcept 0x84201001, 0x84201002.
    static mZArray* make(ZArray* publicArray);

    ZArray* owner;
    ArrayCore core;
    platform::Lock lock;
};
