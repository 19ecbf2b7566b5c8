// Copyright (c) 2026 The glissa authors
// SPDX-License-Identifier: MIT
#pragma once

#include "corvekit/object/class_frame.h"
#include "corvekit/string.h"
#include "glissa/export.h"

#include <cstdint>

/// One interpolation that a host adds: two names and a slot. The host computes it. See
/// GlissaCustomTangentManager, which makes and owns the types.
class GLISSA_API GlissaCustomTangent : public KClassFrame<GlissaCustomTangent, KObject>
{
public:
    static constexpr char kClassName[] = "GlissaCustomTangent";

    /// pName         the name for display, by which the type is also removed.
    /// pStoredName   the name under which files know keys of this type.
    /// Both are copied; null becomes an empty text.
    GlissaCustomTangent(const char* pName, const char* pStoredName);

    const char* GetTangentName() const { return mName.c_str(); }
    const char* GetTangentTDFName() const { return mStoredName.c_str(); }
    /// Slot number; -1 until the manager sets one.
    int GetTangentIndex() const { return mIndex; }
    void SetTangentIndex(int pIndex) { mIndex = pIndex; }
    /// 64-bit FNV-1a over the bytes of the stored name (KHash64).
    std::uint64_t GetTangentTDFChecksum() const { return mChecksum; }

private:
    KString mName;
    KString mStoredName;
    std::int32_t mIndex = -1;
    std::uint64_t mChecksum;
};

extern template class KClassFrame<GlissaCustomTangent, KObject>;
