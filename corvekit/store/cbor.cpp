// Copyright (c) 2026 The glissa authors
// SPDX-License-Identifier: MIT

#include "corvekit/store/cbor.h"

namespace
{
// Length of the sequence that starts with a byte above 0x7F, and the range of its second byte;
// length 0 for an invalid first byte. Table 3-7 of the Unicode standard.
struct Sequence
{
    int length;
    cbor::Byte low;
    cbor::Byte high;
};

Sequence GetSequence(cbor::Byte pFirst)
{
    if (pFirst < 0xC2 || pFirst > 0xF4) {
        return {0, 0, 0};
    }
    if (pFirst < 0xE0) {
        return {2, 0x80, 0xBF};
    }
    if (pFirst < 0xF0) {
        return {3, static_cast<cbor::Byte>(pFirst == 0xE0 ? 0xA0 : 0x80),
                static_cast<cbor::Byte>(pFirst == 0xED ? 0x9F : 0xBF)};
    }
    return {4, static_cast<cbor::Byte>(pFirst == 0xF0 ? 0x90 : 0x80),
            static_cast<cbor::Byte>(pFirst == 0xF4 ? 0x8F : 0xBF)};
}
}  // namespace

bool cbor::IsUtf8(std::string_view pText)
{
    const char* at = pText.data();
    const char* const end = at + pText.size();
    while (at != end) {
        // Most text is ASCII, which is checked eight bytes at a time.
        std::uint64_t word = 0;
        while (end - at >= 8 && (std::memcpy(&word, at, 8), (word & 0x8080808080808080u) == 0)) {
            at += 8;
        }
        if (at == end) {
            break;
        }
        if (static_cast<Byte>(*at) < 0x80) {
            ++at;
            continue;
        }
        const Sequence sequence = GetSequence(static_cast<Byte>(*at));
        if (sequence.length == 0 || end - at < sequence.length) {
            return false;
        }
        const Byte second = static_cast<Byte>(at[1]);
        if (second < sequence.low || second > sequence.high) {
            return false;
        }
        for (int i = 2; i < sequence.length; ++i) {
            if ((static_cast<Byte>(at[i]) & 0xC0) != 0x80) {
                return false;
            }
        }
        at += sequence.length;
    }
    return true;
}
