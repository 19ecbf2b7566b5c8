// Copyright (c) 2026 The glissa authors
// SPDX-License-Identifier: MIT
#pragma once

#include "corvekit/array.h"
#include "corvekit/assert.h"

#include <algorithm>
#include <cstring>

/// Order of keys by their own less-than.
template <typename Key>
struct KLessCompare
{
    bool operator()(const Key& pLeft, const Key& pRight) const { return pLeft < pRight; }
};

/// Order of zero-terminated strings, byte by byte. The strings are not copied.
struct KCharPointerLessCompare
{
    bool operator()(const char* pLeft, const char* pRight) const
    {
        return std::strcmp(pLeft, pRight) < 0;
    }
};

/// One entry of a KMap.
template <typename Key, typename Value>
struct KMapEntry
{
    Key mKey;
    Value mValue;
};

/// A map in one sorted array: small, with a fast search and traversal in order of keys. Adding and
/// removing take linear time. The constructor is constexpr, so that a static map needs no
/// initialization at run time.
template <typename Key, typename Value, typename Compare = KLessCompare<Key>,
          typename Allocator = KBaseAllocator>
class KMap
{
public:
    using Entry = KMapEntry<Key, Value>;

    int GetCount() const { return mEntries.GetCount(); }
    bool IsEmpty() const { return mEntries.IsEmpty(); }

    /// Adds a pair. False, without a change, if the key exists.
    bool Add(const Key& pKey, const Value& pValue)
    {
        const int place = PlaceOf(pKey);
        if (Holds(place, pKey)) {
            return false;
        }
        mEntries.InsertAt(place, Entry{pKey, pValue});
        CORVEKIT_ASSERT(place == 0 || Compare()(mEntries[place - 1].mKey, pKey));
        CORVEKIT_ASSERT(place == GetCount() - 1 || Compare()(pKey, mEntries[place + 1].mKey));
        return true;
    }
    /// Adds a pair or replaces the value of the key.
    void Set(const Key& pKey, const Value& pValue)
    {
        Value* value = Find(pKey);
        if (value) {
            *value = pValue;
        } else {
            Add(pKey, pValue);
        }
    }
    /// False if there is no such key.
    bool Remove(const Key& pKey)
    {
        const int place = PlaceOf(pKey);
        return Holds(place, pKey) && mEntries.RemoveAt(place);
    }
    /// The value of a key, or null. Valid until the map changes.
    Value* Find(const Key& pKey)
    {
        const int place = PlaceOf(pKey);
        return Holds(place, pKey) ? &mEntries[place].mValue : nullptr;
    }
    const Value* Find(const Key& pKey) const
    {
        const int place = PlaceOf(pKey);
        return Holds(place, pKey) ? &mEntries[place].mValue : nullptr;
    }
    void Clear() { mEntries.Clear(); }

    /// Entry at an index, 0 to the count minus 1, in order of keys.
    const Entry& operator[](int pPlace) const { return mEntries[pPlace]; }
    /// From the first key to the last.
    const Entry* begin() const { return mEntries.begin(); }
    const Entry* end() const { return mEntries.end(); }

private:
    // The index of the key, or where it would be inserted.
    int PlaceOf(const Key& pKey) const
    {
        const auto less = [](const Entry& pEntry, const Key& pWanted) {
            return Compare()(pEntry.mKey, pWanted);
        };
        return static_cast<int>(std::lower_bound(mEntries.begin(), mEntries.end(), pKey, less) -
                                mEntries.begin());
    }
    bool Holds(int pPlace, const Key& pKey) const
    {
        return pPlace < mEntries.GetCount() && !Compare()(pKey, mEntries[pPlace].mKey);
    }

    KArrayTemplate<Entry, 16, Allocator> mEntries;
};

/// A map in the order of less-than of its keys.
template <typename Key, typename Value>
using KSet = KMap<Key, Value>;
