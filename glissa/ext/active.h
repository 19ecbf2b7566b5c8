// Copyright (c) 2026 The glissa authors
// SPDX-License-Identifier: MIT
// Not for hosts: inside glissa only, not installed.
#pragma once

/// What evaluation and every key write need to know of the extension managers, as plain data that
/// the managers update: reading it costs one load, no call and no guard of a singleton.
struct ExtActivity
{
    int mCustomTangentTypeCount = 0;
    bool mInvalidKeyCheck = false;
    bool mKeyAddListened = false;
    bool mKeyChangeListened = false;
};

// Hidden at the declaration too: otherwise the load would use the table of symbols that another
// library can replace.
[[gnu::visibility("hidden")]] extern ExtActivity gExtActivity;

/// How many custom tangent types are registered.
inline int CustomTangentTypeCount()
{
    return gExtActivity.mCustomTangentTypeCount;
}

/// Whether the custom tangent manager has a listener for added keys.
inline bool IsKeyAddListened()
{
    return gExtActivity.mKeyAddListened;
}

/// Whether the custom tangent manager has a listener for changed keys.
inline bool IsKeyChangeListened()
{
    return gExtActivity.mKeyChangeListened;
}

/// Whether there is a listener for invalid key values.
inline bool IsInvalidKeyCheckActive()
{
    return gExtActivity.mInvalidKeyCheck;
}

/// CheckedKeyValue where there is a listener.
[[gnu::cold]] float ReportedKeyValue(float pValue);

/// The value that is stored when a key's value is written. With a listener, a value that is
/// infinite or not a number is reported and 0 is stored; without one any value is stored.
inline float CheckedKeyValue(float pValue)
{
    if (IsInvalidKeyCheckActive()) [[unlikely]] {
        return ReportedKeyValue(pValue);
    }
    return pValue;
}
