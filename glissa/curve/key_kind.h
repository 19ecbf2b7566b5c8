// Copyright (c) 2026 The glissa authors
// SPDX-License-Identifier: MIT
// Not for hosts: the kinds of keys, by their flags.
#pragma once

#include "glissa/curve/curve.h"

inline bool IsCubic(const GlissaKeyAttributes& pKey)
{
    return pKey.GetInterpolation() == eInterpolationCubic;
}

inline bool IsCustom(const GlissaKeyAttributes& pKey)
{
    return pKey.GetInterpolation() == eInterpolationCustom;
}

/// Cubic with exactly one of two kinds of tangent (mask 0xF00). The same bits in a key that is not
/// cubic have another meaning, or are left over from a time when it was.
inline bool IsCubicWith(const GlissaKeyAttributes& pKey, unsigned pKind, unsigned pOtherKind)
{
    const unsigned kind = pKey.GetTangeantMode(false);
    return IsCubic(pKey) && (kind == pKind || kind == pOtherKind);
}

inline bool IsCubicWith(const GlissaKeyAttributes& pKey, unsigned pKind)
{
    return IsCubicWith(pKey, pKind, pKind);
}

inline bool IsCubicAuto(const GlissaKeyAttributes& pKey)
{
    return IsCubicWith(pKey, eTangentAuto, eTangentAutoBreak);
}

inline bool IsCubicUser(const GlissaKeyAttributes& pKey)
{
    return IsCubicWith(pKey, eTangentUser, eTangentUserBreak);
}

inline bool IsCubicTcb(const GlissaKeyAttributes& pKey)
{
    return IsCubicWith(pKey, eTangentTCB);
}

// The same for a key of a curve.

inline bool IsCubic(const Glissa& pCurve, int pIndex)
{
    return IsCubic(*pCurve.InternalPriKeyAttrGetPtr(pIndex));
}

inline bool IsCustom(const Glissa& pCurve, int pIndex)
{
    return IsCustom(*pCurve.InternalPriKeyAttrGetPtr(pIndex));
}

inline bool IsCubicWith(const Glissa& pCurve, int pIndex, unsigned pKind)
{
    return IsCubicWith(*pCurve.InternalPriKeyAttrGetPtr(pIndex), pKind);
}

inline bool IsCubicAuto(const Glissa& pCurve, int pIndex)
{
    return IsCubicAuto(*pCurve.InternalPriKeyAttrGetPtr(pIndex));
}

inline bool IsCubicUser(const Glissa& pCurve, int pIndex)
{
    return IsCubicUser(*pCurve.InternalPriKeyAttrGetPtr(pIndex));
}

inline bool IsCubicTcb(const Glissa& pCurve, int pIndex)
{
    return IsCubicTcb(*pCurve.InternalPriKeyAttrGetPtr(pIndex));
}
