#pragma once
// What the shells of the field classes are made of.

#include "csv/field_value.h"

#include <ztree/runtime.h>

namespace ztree_impl {

constexpr int refused = static_cast<int>(ztree::errFail);
constexpr int badArgument = static_cast<int>(ztree::errInvalidArg);
constexpr int noMemory = static_cast<int>(ztree::errOutOfMemory);

int readText(const varnik::ztree::csvField& field, Kind kind, ZStringW& text) noexcept;
int writeText(const varnik::ztree::csvField& field, Kind kind, const ZStringW& text) noexcept;

inline bool isReadOnly(const varnik::ztree::csvField& field) noexcept
{
    return field.getFlags() & varnik::ztree::csvFlagReadOnly;
}

template <class T> int readValue(const varnik::ztree::csvField& field, T* value) noexcept
{
    if (!value)
        return badArgument;
    const char* at = field.getBuffer(nullptr);
    if (!at)
        return refused;
    std::memcpy(value, at, sizeof *value);
    return 0;
}

template <class T> int writeValue(const varnik::ztree::csvField& field, T value) noexcept
{
    char* at = field.getBuffer(nullptr);
    if (!at || isReadOnly(field))
        return refused;
    std::memcpy(at, &value, sizeof value);
    return 0;
}

template <class Field> varnik::ztree::csvField* cloneOf(const Field& field) noexcept
{
    try {
        return new Field(field);
    } catch (const structExcept&) {
        return nullptr;
    }
}

template <class T> char* bytesOf(T* value) noexcept
{
    return reinterpret_cast<char*>(value);
}
template <class T> const char* bytesOf(const T* value) noexcept
{
    return reinterpret_cast<const char*>(value);
}

} // namespace ztree_impl
