// Copyright (c) 2026 The glissa authors
// SPDX-License-Identifier: MIT
// Not for hosts: a value for the length of a call.
#pragma once

/// Sets a value and puts the old one back at its end.
template <typename T>
class ValueScope
{
public:
    ValueScope(T& pPlace, const T& pValue) : mPlace(pPlace), mBefore(pPlace) { mPlace = pValue; }
    ~ValueScope() { mPlace = mBefore; }
    ValueScope(const ValueScope&) = delete;
    ValueScope& operator=(const ValueScope&) = delete;

private:
    T& mPlace;
    const T mBefore;
};
