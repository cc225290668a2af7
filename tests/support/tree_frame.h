#pragma once
// The frame around the body of a binary tree, made step by step.

#include <cstdint>
#include <string>

namespace tree_frame {

inline std::string little(std::uint64_t n, int bytes)
{
    std::string text;
    for (int i = 0; i < bytes; ++i)
        text += static_cast<char>(n >> (8 * i) & 255);
    return text;
}

/// Head, body, checksum.
inline std::string framed(const std::string& body)
{
    const std::string all = "ZTR2" + little(1, 4) + little(body.size(), 8) + body;
    std::uint32_t crc = 0xFFFFFFFFu;
    for (const char c : all) {
        crc ^= static_cast<unsigned char>(c);
        for (int i = 0; i < 8; ++i)
            crc = (crc >> 1) ^ (crc & 1 ? 0xEDB88320u : 0u);
    }
    return all + little(~crc, 4);
}

} // namespace tree_frame
