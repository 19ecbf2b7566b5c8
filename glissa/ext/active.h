// Copyright (c) 2026 The glissa authors
// SPDX-License-Identifier: MIT
// Not for hosts: inside glissa only, not installed.
#pragma once

/// What evaluation and every key write ask of the extension managers, as plain data: the managers
/// keep it true, and asking costs one load, with no call and no guard of a singleton.
struct ExtActivity
{
    int mCustomTangentTypeCount = 0;
    bool mInvalidKeyCheck = false;
    bool mKeyAddListened = false;
    bool mKeyChangeListened = false;
};

// Hidden where it is declared too, so that the load does not go through the table of symbols that
// another library could replace.
[[gnu::visibility("hidden")]] extern ExtActivity gExtActivity;

/// How many custom tangent types are registered.
inline int CustomTangentTypeCount()
{
    return gExtActivity.mCustomTangentTypeCount;
}

/// Whether anybody listens at the custom tangent manager for keys that are added.
inline bool IsKeyAddListened()
{
    return gExtActivity.mKeyAddListened;
}

/// Whether anybody listens at the custom tangent manager for keys that change.
inline bool IsKeyChangeListened()
{
    return gExtActivity.mKeyChangeListened;
}

/// Whether anybody listens for invalid key values.
inline bool IsInvalidKeyCheckActive()
{
    return gExtActivity.mInvalidKeyCheck;
}

/// The part of CheckedKeyValue that runs when somebody listens.
[[gnu::cold]] float ReportedKeyValue(float pValue);

/// The value that is stored when a key's value is written. Where somebody listens, a value that is
/// infinite or not a number is reported and 0 is stored; where nobody does, any value is.
inline float CheckedKeyValue(float pValue)
{
    return IsInvalidKeyCheckActive() ? ReportedKeyValue(pValue) : pValue;
}
