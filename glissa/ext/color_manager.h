// Copyright (c) 2026 The glissa authors
// SPDX-License-Identifier: MIT
#pragma once

#include "corvekit/object/iobject.h"
#include "corvekit/string.h"
#include "glissa/export.h"

class GlissaColorManager;
class KTdf;

/// Named tables of named display colours.
///
/// An entry of a table has four colours, index 0 to 3. The library fills the table kDefaultTable
/// with an entry for each name of a node type; the table kUserTable is the one that is stored. A
/// host may add tables of its own. The library does not read colours when it evaluates.
///
/// Table names are compared exactly, names of entries without regard to case. One object for the
/// process, from GlissaColor_GetManager. No locks: a lookup writes the table's cache, so even
/// lookups belong to one thread at a time.
class IFCurveColorManager : public IObject
{
public:
    /// Interface id of this side.
    static constexpr unsigned long kInterfaceId = 0x3512EFB0;
    /// Colours of an entry.
    static constexpr int kColorCount = 4;
    static constexpr char kDefaultTable[] = "KDefaultColor";
    static constexpr char kUserTable[] = "KUserDefaultColor";

    /// An entry of a table, owned by it: valid until the entry is removed or its table is cleared.
    class Entry
    {
    public:
        const KString& GetName() const { return mName; }

    private:
        friend class GlissaColorManager;

        Entry(const char* pName, const Entry* pCopyFrom);

        KString mName;
        float mColors[kColorCount][3];
    };

    // The slots of the table follow the order of these declarations, behind those of IObject.

    /// Fills kDefaultTable at the first call. Always true.
    virtual bool Initialize() = 0;
    virtual bool IsInitialized() = 0;

    /// The entry of that name, added where the table has none. The table is made where it is
    /// missing. An entry that exists is returned as it is.
    ///
    /// pCopyFrom  colours of a new entry; null sets every number to -1.0, which means not set.
    /// Null without a table name.
    virtual Entry* AddColor(const char* pTable, const char* pName, const Entry* pCopyFrom) = 0;
    /// Adds an entry whose name is the smallest number from 0 on that no entry of the table has as
    /// its name. Otherwise as AddColor.
    virtual Entry* AddColorAutoName(const char* pTable, const Entry* pCopyFrom) = 0;
    /// Deletes an entry; false where there is none of that name.
    virtual bool RemoveColor(const char* pTable, const KString& pName) = 0;
    /// Deletes the entries of a table. The table stays.
    virtual void ClearTable(const char* pTable) = 0;
    /// The entry of that name, or null. A null name repeats the last answer for the table. Cost:
    /// a binary search, less where the name is that of the last answer.
    virtual Entry* FindColor(const char* pTable, const char* pName) = 0;

    /// Sets a colour: red, green, blue, 0.0 to 1.0 as a rule. The index is not checked in a release
    /// build. A null entry or colour is ignored.
    virtual void SetColor(Entry* pEntry, const float* pRGB, int pIndex) = 0;
    /// The three floats of a colour, which may be written. The index is not checked in a release
    /// build. Null for a null entry.
    virtual float* GetColor(Entry* pEntry, int pIndex) = 0;

    /// Writes kUserTable as a field "PropertiesColor" of the open block. A name is read back up to
    /// its first ';' only.
    virtual void Store(KTdf* pStore) = 0;
    /// Adds what Store wrote to kUserTable. An entry that is already there is not replaced but
    /// added once more: clear the table first to replace it. A document without the field, or with
    /// another table in it, changes nothing.
    virtual void Retrieve(KTdf* pStore) = 0;

protected:
    // Protected: the object ends with the process.
    virtual ~IFCurveColorManager() = default;
};

/// The one colour manager, with kDefaultTable filled.
GLISSA_API IFCurveColorManager* GlissaColor_GetManager();
