// Copyright (c) 2026 The glissa authors
// SPDX-License-Identifier: MIT

// A table owns its entries in the order they were added, and has an index of them sorted by name.
// The default colours are data at the end of the first part.

#include "glissa/ext/color_manager.h"

#include "corvekit/assert.h"
#include "corvekit/store/tdf.h"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstring>
#include <memory>
#include <string>
#include <vector>

namespace
{
using Entry = IFCurveColorManager::Entry;

constexpr float kUnset = -1.0f;
constexpr double kUnsetTolerance = 1e-6;
constexpr char kStoreField[] = "PropertiesColor";

bool IsUnset(const float (&pColor)[3])
{
    return std::all_of(std::begin(pColor), std::end(pColor), [](float pEach) {
        return std::fabs(static_cast<double>(pEach) - kUnset) <= kUnsetTolerance;
    });
}

struct DefaultColor
{
    const char* name;
    float color[3];
};

constexpr DefaultColor kNumber = {"Default Number", {0.75f, 0.0f, 0.0f}};
constexpr char kVector[] = "Default Vector";
constexpr float kVectorColors[IFCurveColorManager::kColorCount][3] = {
    {1.0f, 0.0f, 0.0f}, {0.0f, 1.0f, 0.0f}, {0.0f, 0.0f, 1.0f}, {1.0f, 1.0f, 1.0f}};

constexpr DefaultColor kChannels[] = {
    {"TimeWarp", {0.75f, 0.0f, 0.0f}},
    {"Quaternion", {0.75f, 0.0f, 0.0f}},
    {"Cone angle", {0.82f, 0.1f, 0.71f}},
    {"Fog", {0.82f, 0.38f, 0.1f}},
    {"Intensity", {0.97f, 0.91f, 0.11f}},
    {"FieldOfView", {0.55f, 0.55f, 0.81f}},
    {"FieldOfViewX", {0.06f, 0.06f, 0.94f}},
    {"FieldOfViewY", {0.04f, 0.04f, 0.4f}},
    {"OpticalCenterX", {0.5f, 0.88f, 0.73f}},
    {"OpticalCenterY", {0.13f, 0.56f, 0.34f}},
    {"Roll", {0.13f, 0.18f, 0.4f}},
    {"TurnTable", {0.4f, 0.13f, 0.18f}},
    {"Pose", {0.0f, 1.0f, 1.0f}},
    {"RootR", {1.0f, 0.0f, 1.0f}},
    {"RootH", {1.0f, 1.0f, 0.0f}},
    {"RootXZ", {0.0f, 1.0f, 0.0f}},
    {"RootSpeed", {1.0f, 0.0f, 0.0f}},
};

// "Shape 01" and on.
constexpr float kShapes[][3] = {
    {1.0f, 0.0f, 0.0f},    {0.0f, 1.0f, 0.0f},    {0.0f, 0.0f, 1.0f},    {1.0f, 1.0f, 0.0f},
    {0.0f, 1.0f, 1.0f},    {1.0f, 0.0f, 1.0f},    {0.47f, 0.0f, 0.0f},   {0.3f, 0.61f, 0.0f},
    {0.51f, 0.75f, 1.0f},  {1.0f, 0.49f, 0.0f},   {0.57f, 0.0f, 1.0f},   {1.0f, 0.78f, 1.0f},
    {0.0f, 0.35f, 0.0f},   {1.0f, 0.98f, 0.61f},  {0.65f, 0.49f, 0.31f}, {0.8f, 0.8f, 0.8f},
    {0.78f, 1.0f, 0.61f},  {1.0f, 0.86f, 0.73f},  {0.37f, 0.0f, 0.37f},  {0.65f, 0.65f, 0.0f},
    {1.0f, 0.68f, 0.02f},  {0.51f, 1.0f, 0.0f},   {0.34f, 0.34f, 0.34f}, {0.71f, 0.49f, 0.56f},
    {0.63f, 0.33f, 0.0f},  {0.0f, 1.0f, 0.44f},   {0.29f, 0.65f, 0.65f}, {0.16f, 0.13f, 0.58f},
    {0.14f, 0.35f, 0.38f}, {0.35f, 0.02f, 0.72f}, {0.82f, 0.19f, 0.48f}, {0.48f, 0.0f, 0.34f},
    {0.89f, 0.76f, 0.29f}, {0.85f, 0.91f, 0.72f}, {1.0f, 0.0f, 0.6f},    {0.3f, 0.62f, 0.45f},
    {0.29f, 1.0f, 0.82f},  {0.46f, 0.48f, 0.68f}, {0.81f, 0.24f, 0.86f}, {0.58f, 0.69f, 0.08f},
};

constexpr const char* kCustomNumbers[] = {"CustomBool", "CustomInteger", "CustomNumber",
                                          "CustomAction", "CustomEnum"};
constexpr const char* kCustomVectors[] = {"CustomTranslation", "CustomColor",
                                          "CustomColorAndAlpha"};
}  // namespace

class GlissaColorManager final : public IFCurveColorManager
{
public:
    constexpr GlissaColorManager() = default;
    ~GlissaColorManager() override = default;

    IObject* IQuery(unsigned long pInterfaceId, int) override
    {
        return pInterfaceId == kIQueryObject || pInterfaceId == kInterfaceId ? this : nullptr;
    }
    void Destroy(int) override {}

    bool Initialize() override;
    bool IsInitialized() override { return mInitialized; }
    Entry* AddColor(const char* pTable, const char* pName, const Entry* pCopyFrom) override;
    Entry* AddColorAutoName(const char* pTable, const Entry* pCopyFrom) override;
    bool RemoveColor(const char* pTable, const KString& pName) override;
    void ClearTable(const char* pTable) override;
    Entry* FindColor(const char* pTable, const char* pName) override;
    void SetColor(Entry* pEntry, const float* pRGB, int pIndex) override;
    float* GetColor(Entry* pEntry, int pIndex) override;
    void Store(KTdf* pStore) override;
    void Retrieve(KTdf* pStore) override;

private:
    class Table;

    Table* FindTable(const char* pName);
    Table* GetTable(const char* pName);
    void WriteTable(KTdf& pStore, const Table& pTable);
    void ReadTable(KTdf& pStore);

    std::vector<std::unique_ptr<Table>> mTables;
    bool mInitialized = false;
};

class GlissaColorManager::Table
{
public:
    explicit Table(const char* pName) : mName(pName) {}

    const KString& GetName() const { return mName; }
    const std::vector<std::unique_ptr<Entry>>& GetEntries() const { return mEntries; }

    Entry* Find(const char* pName)
    {
        if (!pName || (mLast && mLast->mName == pName)) {
            return mLast;
        }
        mLast = Search(pName);
        return mLast;
    }

    Entry* Add(const char* pName, const Entry* pCopyFrom)
    {
        if (Entry* const found = Find(pName)) {
            return found;
        }
        mLast = Append(pName, pCopyFrom);
        std::rotate(std::upper_bound(mIndex.begin(), mIndex.end() - 1, mLast, &IsBefore),
                    mIndex.end() - 1, mIndex.end());
        return mLast;
    }

    // Without a test for the name, and not yet in its place in the index.
    Entry* Append(const char* pName, const Entry* pCopyFrom)
    {
        mEntries.emplace_back(new Entry(pName, pCopyFrom));
        mIndex.push_back(mEntries.back().get());
        return mEntries.back().get();
    }

    // Equal names stay in the order they were added.
    void SortIndex() { std::stable_sort(mIndex.begin(), mIndex.end(), &IsBefore); }

    bool Remove(const char* pName)
    {
        Entry* const entry = Find(pName);
        if (!entry) {
            return false;
        }
        mLast = nullptr;
        std::erase(mIndex, entry);
        std::erase_if(mEntries, [entry](const auto& pEach) { return pEach.get() == entry; });
        return true;
    }

    void Clear()
    {
        mLast = nullptr;
        mIndex.clear();
        mEntries.clear();
    }

    std::string FreeNumber() const
    {
        int number = 0;
        while (Search(std::to_string(number).c_str())) {
            ++number;
        }
        return std::to_string(number);
    }

private:
    static bool IsBefore(const Entry* pLeft, const Entry* pRight)
    {
        return pLeft->mName.CompareNoCase(pRight->mName) < 0;
    }

    Entry* Search(const char* pName) const
    {
        const auto found = std::lower_bound(
            mIndex.begin(), mIndex.end(), pName, [](const Entry* pEntry, const char* pText) {
                return KCompareNoCase(pEntry->mName.GetBuffer(), pText) < 0;
            });
        const bool same =
            found != mIndex.end() && KCompareNoCase((*found)->mName.GetBuffer(), pName) == 0;
        return same ? *found : nullptr;
    }

    std::vector<std::unique_ptr<Entry>> mEntries;
    KString mName;
    std::vector<Entry*> mIndex;
    Entry* mLast = nullptr;  // the last answer of Find, or the last entry added
};

namespace
{
constinit GlissaColorManager gManager;
}  // namespace

IFCurveColorManager* GlissaColor_GetManager()
{
    gManager.Initialize();
    return &gManager;
}

IFCurveColorManager::Entry::Entry(const char* pName, const Entry* pCopyFrom) : mName(pName)
{
    if (pCopyFrom) {
        std::memcpy(mColors, pCopyFrom->mColors, sizeof mColors);
    } else {
        std::fill_n(&mColors[0][0], sizeof mColors / sizeof(float), kUnset);
    }
}

bool GlissaColorManager::Initialize()
{
    if (mInitialized) {
        return true;
    }
    mInitialized = true;
    const auto add = [this](const char* pName, const float* pColor) {
        Entry* const entry = AddColor(kDefaultTable, pName, nullptr);
        SetColor(entry, pColor, 0);
        return entry;
    };
    const Entry* const number = add(kNumber.name, kNumber.color);
    Entry* const vector = add(kVector, kVectorColors[0]);
    for (int i = 1; i < kColorCount; ++i) {
        SetColor(vector, kVectorColors[i], i);
    }
    for (const DefaultColor& each : kChannels) {
        add(each.name, each.color);
    }
    int shape = 0;
    for (const auto& color : kShapes) {
        char name[16];
        std::snprintf(name, sizeof name, "Shape %02d", ++shape);
        add(name, color);
    }
    for (const char* const each : kCustomNumbers) {
        AddColor(kDefaultTable, each, number);
    }
    for (const char* const each : kCustomVectors) {
        AddColor(kDefaultTable, each, vector);
    }
    return true;
}

GlissaColorManager::Table* GlissaColorManager::FindTable(const char* pName)
{
    const auto found = std::find_if(mTables.begin(), mTables.end(), [pName](const auto& pEach) {
        return pName && pEach->GetName() == pName;
    });
    return found == mTables.end() ? nullptr : found->get();
}

// Made where it is missing; null without a name.
GlissaColorManager::Table* GlissaColorManager::GetTable(const char* pName)
{
    Table* const found = FindTable(pName);
    if (found || !pName) {
        return found;
    }
    mTables.push_back(std::make_unique<Table>(pName));
    return mTables.back().get();
}

Entry* GlissaColorManager::AddColor(const char* pTable, const char* pName, const Entry* pCopyFrom)
{
    Table* const table = GetTable(pTable);
    return table ? table->Add(pName, pCopyFrom) : nullptr;
}

Entry* GlissaColorManager::AddColorAutoName(const char* pTable, const Entry* pCopyFrom)
{
    Table* const table = GetTable(pTable);
    return table ? table->Add(table->FreeNumber().c_str(), pCopyFrom) : nullptr;
}

bool GlissaColorManager::RemoveColor(const char* pTable, const KString& pName)
{
    Table* const table = FindTable(pTable);
    return table && table->Remove(pName.GetBuffer());
}

void GlissaColorManager::ClearTable(const char* pTable)
{
    if (Table* const table = FindTable(pTable)) {
        table->Clear();
    }
}

Entry* GlissaColorManager::FindColor(const char* pTable, const char* pName)
{
    Table* const table = FindTable(pTable);
    return table ? table->Find(pName) : nullptr;
}

void GlissaColorManager::SetColor(Entry* pEntry, const float* pRGB, int pIndex)
{
    if (pRGB && pEntry) {
        std::copy_n(pRGB, 3, GetColor(pEntry, pIndex));
    }
}

float* GlissaColorManager::GetColor(Entry* pEntry, int pIndex)
{
    CORVEKIT_ASSERT(pIndex >= 0 && pIndex < kColorCount);
    return pEntry ? pEntry->mColors[pIndex] : nullptr;
}

// The fields are listed in docs/curve-format.md.

void GlissaColorManager::Store(KTdf* pStore)
{
    pStore->FieldWriteBegin(kStoreField);
    pStore->FieldWriteBlockBegin();
    const Table* const table = FindTable(kUserTable);
    if (table && !table->GetEntries().empty()) {
        WriteTable(*pStore, *table);
    }
    pStore->FieldWriteBlockEnd();
    pStore->FieldWriteEnd();
}

void GlissaColorManager::WriteTable(KTdf& pStore, const Table& pTable)
{
    pStore.FieldWriteBegin("Table");
    pStore.FieldWriteS(pTable.GetName());
    pStore.FieldWriteBlockBegin();
    for (const auto& entry : pTable.GetEntries()) {
        pStore.FieldWriteBegin("Color");
        pStore.FieldWriteS(entry->mName);
        pStore.FieldWriteBlockBegin();
        for (int i = 0; i < kColorCount; ++i) {
            if (IsUnset(entry->mColors[i])) {
                continue;
            }
            pStore.FieldWriteBegin(std::to_string(i).c_str());
            for (const float each : entry->mColors[i]) {
                pStore.FieldWriteF(each);
            }
            pStore.FieldWriteEnd();
        }
        pStore.FieldWriteBlockEnd();
        pStore.FieldWriteEnd();
    }
    pStore.FieldWriteBlockEnd();
    pStore.FieldWriteEnd();
}

void GlissaColorManager::Retrieve(KTdf* pStore)
{
    if (!pStore->FieldReadBegin(kStoreField)) {
        return;
    }
    if (pStore->FieldReadBlockBegin()) {
        if (pStore->FieldReadBegin("Table")) {
            if (pStore->FieldReadS() == kUserTable) {
                ReadTable(*pStore);
            }
            pStore->FieldReadEnd();
        }
        pStore->FieldReadBlockEnd();
    }
    pStore->FieldReadEnd();
}

void GlissaColorManager::ReadTable(KTdf& pStore)
{
    Table& table = *GetTable(kUserTable);
    if (!pStore.FieldReadBlockBegin()) {
        return;
    }
    while (pStore.FieldReadBegin("Color")) {
        const KString text = pStore.FieldReadS();
        Entry* const entry = table.Append(text.Substring(0, text.Find(";")).GetBuffer(), nullptr);
        if (pStore.FieldReadBlockBegin()) {
            for (int i = 0; i < kColorCount; ++i) {
                if (pStore.FieldReadBegin(std::to_string(i).c_str())) {
                    for (float& each : entry->mColors[i]) {
                        each = pStore.FieldReadF();
                    }
                    pStore.FieldReadEnd();
                }
            }
            pStore.FieldReadBlockEnd();
        }
        pStore.FieldReadEnd();
    }
    pStore.FieldReadBlockEnd();
    // Once for all: a place in the index for each entry would cost the square of their number.
    table.SortIndex();
}
