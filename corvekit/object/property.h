// Copyright (c) 2026 The glissa authors
// SPDX-License-Identifier: MIT
#pragma once

#include "corvekit/export.h"
#include "corvekit/object/data_type.h"
#include "corvekit/string.h"
#include "corvekit/time.h"

#include <cstddef>

class KObject;

/// Bits of a property's flag word that the system reads. The others belong to the host.
enum EPropertyFlag : unsigned int
{
    // Any of the four locks what the property animates.
    ePropertyFlagLockMember0 = 0x1000,
    ePropertyFlagLockMember1 = 0x2000,
    ePropertyFlagLockMember2 = 0x4000,
    ePropertyFlagLockAll = 0x8000,
    ePropertyFlagLockMask = 0xF000,
    ePropertyFlagPlotDisallowed = 0x200000  ///< bit 21: plotting leaves it out
};

/// Name and type of a property, shared by the objects of a class.
class CORVEKIT_API KPropertyInfo
{
public:
    /// The name is copied; null reads as "".
    KPropertyInfo(const char* pName, KDataType* pDataType);

    /// Never null, and valid as long as the process: equal names share one text.
    const char* GetName() const { return mName; }
    KDataType* GetDataType() const { return mDataType; }

private:
    const char* mName;
    KDataType* mDataType;
};

/// Members of the owner through which a value goes: they write it to, or read it from, a variable
/// of the property's type.
using KPropertyGetter = void (KObject::*)(void* pValue) const;
using KPropertySetter = void (KObject::*)(const void* pValue);

/// A value of an object that is known by name, with a flag word. The value's type is that of the
/// derived KPropertyTemplate. Copying one copies value and flags; info, owner and accessors stay
/// with the property, since they belong to its place in an object.
class CORVEKIT_API KProperty
{
public:
    virtual ~KProperty();

    /// Name and type, null until they are set. Not owned.
    const KPropertyInfo* GetPropertyInfo() const { return mInfo; }
    void SetPropertyInfo(const KPropertyInfo* pInfo) { mInfo = pInfo; }
    /// Says whose property it is and how its value is reached. Null accessors: the property holds
    /// the value itself.
    void SetPropertyInfo(KObject* pOwner, KPropertyGetter pGetter, KPropertySetter pSetter);
    KObject* GetOwner() const { return mOwner; }
    /// "" and null without an info.
    const char* GetPropertyName() const { return mInfo ? mInfo->GetName() : ""; }
    KDataType* GetDataType() const { return mInfo ? mInfo->GetDataType() : nullptr; }

    /// Bits of EPropertyFlag and of the host.
    unsigned int GetFlags() const { return mFlags; }
    void SetFlags(unsigned int pFlags) { mFlags = pFlags; }
    bool IsLocked() const { return (mFlags & ePropertyFlagLockMask) != 0; }
    bool IsPlotDisallowed() const { return (mFlags & ePropertyFlagPlotDisallowed) != 0; }

    /// The value as text, from which SetPropertyString reads it back without loss: decimal numbers
    /// with a point in every locale, "true" and "false", times in ticks.
    virtual KString GetPropertyString() const = 0;
    /// Reads the value from text. A bool is also read from "1" and "0", a time from a number of
    /// seconds with an "s" behind it. False, and no change, for null or for text that is not
    /// wholly such a value or out of range.
    virtual bool SetPropertyString(const char* pText) = 0;
    /// The value as a number: a time in seconds, a bool as 0 or 1. False, and pValue untouched,
    /// for null or a value that is no number.
    virtual bool GetPropertyConstant(double* pValue) const = 0;
    /// Sets the value from a number: an int rounds half away from zero and stops at its ends, NaN
    /// gives it 0; a bool is whether the number is not 0. False for null or a value that is no
    /// number.
    virtual bool SetPropertyConstant(const double* pValue) = 0;

protected:
    KProperty() = default;
    KProperty(const KProperty& pOther) : mFlags(pOther.mFlags) {}
    KProperty& operator=(const KProperty& pOther)
    {
        mFlags = pOther.mFlags;
        return *this;
    }

    bool HasGetter() const { return mOwner && mGetter; }
    bool HasSetter() const { return mOwner && mSetter; }
    void CallGetter(void* pValue) const;
    void CallSetter(const void* pValue);

private:
    friend class KObject;

    const KPropertyInfo* mInfo = nullptr;
    KObject* mOwner = nullptr;
    KObject* mListedIn = nullptr;  // the object whose list it stands in
    KPropertyGetter mGetter = nullptr;
    KPropertySetter mSetter = nullptr;
    unsigned int mFlags = 0;
};

/// A property of type bool, int, double, KTime or KString.
template <typename T>
class CORVEKIT_API KPropertyTemplate : public KProperty
{
public:
    KPropertyTemplate() = default;
    explicit KPropertyTemplate(const T& pValue) : mValue(pValue) {}
    KPropertyTemplate(const KPropertyTemplate& pOther)
        : KProperty(pOther), mValue(pOther.GetValue())
    {}
    KPropertyTemplate& operator=(const KPropertyTemplate& pOther)
    {
        KProperty::operator=(pOther);
        SetValue(pOther.GetValue());
        return *this;
    }
    /// Names the property: see SetPropertyInfo.
    KPropertyTemplate& operator=(const KPropertyInfo& pInfo)
    {
        SetPropertyInfo(&pInfo);
        return *this;
    }
    KPropertyTemplate& operator=(const T& pValue)
    {
        SetValue(pValue);
        return *this;
    }

    T GetValue() const
    {
        if (!HasGetter()) {
            return mValue;
        }
        T value{};
        CallGetter(&value);
        return value;
    }
    void SetValue(const T& pValue)
    {
        if (HasSetter()) {
            CallSetter(&pValue);
        } else {
            mValue = pValue;
        }
    }
    operator T() const { return GetValue(); }

    KString GetPropertyString() const override;
    bool SetPropertyString(const char* pText) override;
    bool GetPropertyConstant(double* pValue) const override;
    bool SetPropertyConstant(const double* pValue) override;

private:
    T mValue{};
};

// Exported here too: a plain value type as argument would otherwise keep the instance hidden.
extern template class CORVEKIT_API KPropertyTemplate<bool>;
extern template class CORVEKIT_API KPropertyTemplate<int>;
extern template class CORVEKIT_API KPropertyTemplate<double>;
extern template class CORVEKIT_API KPropertyTemplate<KTime>;
extern template class CORVEKIT_API KPropertyTemplate<KString>;
