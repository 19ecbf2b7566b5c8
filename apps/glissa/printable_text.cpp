// Copyright (c) 2026 The glissa authors
// SPDX-License-Identifier: MIT

#include "apps/glissa/printable_text.h"

#include <algorithm>
#include <cstdint>

namespace
{
// Length of the UTF-8 sequence at the start of a text; 0 for an invalid sequence and for a control
// character.
std::size_t SequenceLength(std::string_view pText)
{
    const auto byte = [pText](std::size_t pIndex) {
        return static_cast<unsigned>(static_cast<unsigned char>(pText[pIndex]));
    };
    const unsigned lead = byte(0);
    if (lead < 0x80) {
        return lead < 0x20 || lead == 0x7F ? 0 : 1;
    }
    const std::size_t length = lead >= 0xC2 && lead <= 0xDF   ? 2
                               : lead >= 0xE0 && lead <= 0xEF ? 3
                               : lead >= 0xF0 && lead <= 0xF4 ? 4
                                                              : 0;
    if (length == 0 || pText.size() < length) {
        return 0;
    }
    std::uint32_t code = lead & (0x7Fu >> length);
    for (std::size_t i = 1; i < length; ++i) {
        if ((byte(i) & 0xC0u) != 0x80u) {
            return 0;
        }
        code = code << 6 | (byte(i) & 0x3Fu);
    }
    const bool isOverlong = (length == 3 && code < 0x800) || (length == 4 && code < 0x10000);
    const bool isSurrogate = code >= 0xD800 && code <= 0xDFFF;
    const bool isControl = code < 0xA0;
    return isOverlong || isSurrogate || isControl || code > 0x10FFFF ? 0 : length;
}
}  // namespace

std::string PrintableText(std::string_view pText)
{
    std::string text;
    while (!pText.empty()) {
        text += TakePrintable(pText);
    }
    return text;
}

std::string_view TakePrintable(std::string_view& pText)
{
    const std::size_t length = SequenceLength(pText);
    const std::string_view character = length == 0 ? "\uFFFD" : pText.substr(0, length);
    pText.remove_prefix(std::max<std::size_t>(length, 1));
    return character;
}

std::size_t CharacterCount(std::string_view pText)
{
    return static_cast<std::size_t>(std::count_if(pText.begin(), pText.end(), [](char pEach) {
        return (static_cast<unsigned char>(pEach) & 0xC0u) != 0x80u;
    }));
}
