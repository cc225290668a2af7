#pragma once
// Short ways to hand texts to fields and buffers and to get them back, as UTF-8.

#include <ztree/csv.h>
#include <ztree/ext/strings.h>

#include <gtest/gtest.h>

#include <string>

using namespace varnik::ztree;

constexpr int refused = static_cast<int>(0x80004005);
constexpr int badArgument = static_cast<int>(0x80070057);

inline std::string utf8(const ZStringW& wide)
{
    return ztree::toUtf8(wide);
}

inline std::string textOf(const csvField& field)
{
    ZStringW text;
    const int result = field.read(text);
    return result == 0 ? utf8(text) : "error " + std::to_string(result);
}

inline int put(const csvField& field, const std::string& text)
{
    return field.write(ztree::wide(text));
}

/// The line of the record, without its line end.
inline std::string lineOf(csvBuffer& buffer, const void* record = nullptr)
{
    ZString line;
    const int result = buffer.createLine(line, record);
    if (result != 0)
        return "error " + std::to_string(result);
    std::string text(ztree::view(line));
    while (!text.empty() && (text.back() == '\n' || text.back() == '\r'))
        text.pop_back();
    return text;
}

inline int setData(csvBuffer& buffer, const std::string& text)
{
    return buffer.setData(text.data(), static_cast<int>(text.size()), 65001);
}
