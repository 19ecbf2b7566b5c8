// Copyright (c) 2026 The glissa authors
// SPDX-License-Identifier: MIT

#include "corvekit/object/class_definition.h"

#include "corvekit/assert.h"
#include "corvekit/set.h"

#include <mutex>

namespace
{
// Libraries may load and unload on any thread.
struct Registry
{
    std::mutex mLock;
    KSet<int, const KClassDefinition*> mClasses;
    int mLastId = 0;
};

// Never destroyed, as definitions in other libraries remove themselves at process exit.
Registry& Classes()
{
    static Registry& registry = *new Registry;
    return registry;
}
}  // namespace

KClassDefinition::~KClassDefinition()
{
    if (mRegisteredId != 0) {
        Registry& registry = Classes();
        const std::lock_guard guard(registry.mLock);
        registry.mClasses.Remove(mRegisteredId);
    }
}

int KClassDefinition::RegisterClassId()
{
    Registry& registry = Classes();
    const std::lock_guard guard(registry.mLock);
    if (mRegisteredId == 0) {
        CORVEKIT_ASSERT(mName && mParent != this);
        mRegisteredId = ++registry.mLastId;
        registry.mClasses.Add(mRegisteredId, this);
    }
    return mRegisteredId;
}

bool KClassDefinition::Is(int pClassId) const
{
    for (const KClassDefinition* each = this; each; each = each->mParent) {
        if (each->mRegisteredId != 0 && each->mRegisteredId == pClassId) {
            return true;
        }
    }
    return false;
}

const KClassDefinition* KClassDefinition::Find(const char* pName)
{
    if (!pName) {
        return nullptr;
    }
    Registry& registry = Classes();
    const std::lock_guard guard(registry.mLock);
    for (const auto& each : registry.mClasses) {
        if (std::strcmp(each.mValue->GetName(), pName) == 0) {
            return each.mValue;
        }
    }
    return nullptr;
}

const KClassDefinition* KClassDefinition::Find(int pClassId)
{
    Registry& registry = Classes();
    const std::lock_guard guard(registry.mLock);
    const KClassDefinition* const* found = registry.mClasses.Find(pClassId);
    return found ? *found : nullptr;
}
