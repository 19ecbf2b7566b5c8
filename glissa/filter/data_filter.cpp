// Copyright (c) 2026 The glissa authors
// SPDX-License-Identifier: MIT

#include "glissa/filter/data_filter.h"

#include "corvekit/object/data_type.h"
#include "glissa/filter/init_property.h"

#include <algorithm>
#include <cmath>
#include <cstring>

template class KClassFrame<KDataFilterBase, KObject>;

namespace
{
constexpr std::size_t kTextSize = 256;  // with the zero at its end
thread_local char tPropertyText[kTextSize];
}  // namespace

KDataFilterBase::KDataFilterBase(const char* pName) : KClassFrame(pName)
{
    StartInit(this);
    StopInit(this);
}

KDataFilterBase::KDataFilterBase(const KDataFilterBase& pOther)
    : KClassFrame(pOther), Start(pOther.Start), Stop(pOther.Stop)
{
    StartInit(this);
    StopInit(this);
}

KDataFilterBase& KDataFilterBase::operator=(const KDataFilterBase& pOther)
{
    KClassFrame::operator=(pOther);
    Start = pOther.Start;
    Stop = pOther.Stop;
    return *this;
}

void KDataFilterBase::StartInit(KObject* pFilter)
{
    static const KPropertyInfo info("Start", KDataTypeTime);
    InitProperty(pFilter, static_cast<KDataFilterBase*>(pFilter)->Start, info);
}

void KDataFilterBase::StopInit(KObject* pFilter)
{
    static const KPropertyInfo info("Stop", KDataTypeTime);
    InitProperty(pFilter, static_cast<KDataFilterBase*>(pFilter)->Stop, info);
}

double KDataFilterBase::GetDefaultRate()
{
    KTime frame;
    frame.SetTime(0, 0, 0, 1, 0, eTimeModeDefault);
    return 1.0 / frame.GetSecondDouble();
}

IObject* KDataFilterBase::IQuery(unsigned long pId, int pArgument)
{
    return pId == kIQueryFilter ? static_cast<IFilter*>(this) : KObject::IQuery(pId, pArgument);
}

// Both sides declare it.
void KDataFilterBase::Destroy(int pArgument)
{
    KClassFrame::Destroy(pArgument);
}

bool KDataFilterBase::Apply(GlissaNode*, GlissaNode*)
{
    return false;
}

const char* KDataFilterBase::GetPropertySheetName()
{
    return GetObjectName();
}

int KDataFilterBase::GetPropertyCount()
{
    return KObject::GetPropertyCount();
}

const char* KDataFilterBase::GetPropertyName(int pIndex)
{
    const KProperty* property = GetPropertyAt(pIndex);
    return property ? property->GetPropertyName() : "";
}

KDataType* KDataFilterBase::GetProperty(int pIndex)
{
    const KProperty* property = GetPropertyAt(pIndex);
    return property ? property->GetDataType() : nullptr;
}

const char* KDataFilterBase::GetPropertyString(int pIndex)
{
    const KProperty* property = GetPropertyAt(pIndex);
    const KString text = property ? property->GetPropertyString() : KString();
    const std::size_t length = std::min(std::strlen(text.c_str()), kTextSize - 1);
    std::memcpy(tPropertyText, text.c_str(), length);
    tPropertyText[length] = '\0';
    return tPropertyText;
}

bool KDataFilterBase::SetPropertyString(int pIndex, const char* pText)
{
    KProperty* property = GetPropertyAt(pIndex);
    return property && property->SetPropertyString(pText);
}

bool KDataFilterBase::SetPropertyConstant(int pIndex, double* pValue)
{
    KProperty* property = GetPropertyAt(pIndex);
    if (!property || !pValue) {
        return false;
    }
    if (property == mRate && !(*pValue >= 0.0 && std::isfinite(*pValue))) {
        mRate->SetValue(GetDefaultRate());
        return false;
    }
    property->SetPropertyConstant(pValue);
    return true;
}

bool KDataFilterBase::GetPropertyConstant(int pIndex, double* pValue)
{
    const KProperty* property = GetPropertyAt(pIndex);
    return property && property->GetPropertyConstant(pValue);
}
