// Copyright (c) 2026 The glissa authors
// SPDX-License-Identifier: MIT
#pragma once

#include "corvekit/export.h"
#include "corvekit/object/data_type.h"
#include "corvekit/string.h"
#include "corvekit/time.h"

#include <cstddef>

class KObject;

/// Bits of the flag word of a property that the library uses. The others are free for the host.
enum EPropertyFlag : unsigned int
{
    // Each of these four locks the property.
    ePropertyFlagLockMember0 = 0x1000,
    ePropertyFlagLockMember1 = 0x2000,
    ePropertyFlagLockMember2 = 0x4000,
    ePropertyFlagLockAll = 0x8000,
    ePropertyFlagLockMask = 0xF000,
    ePropertyFlagPlotDisallowed = 0x200000  ///< bit 21: excluded from plotting
};

/// Name and type of a property, shared by the objects of a class.
class CORVEKIT_API KPropertyInfo
{
public:
    /// The name is copied; null is read as "".
    KPropertyInfo(const char* pName, KDataType* pDataType);

    /// Never null, and valid until the process ends: equal names share one string.
    const char* GetName() const { return mName; }
    KDataType* GetDataType() const { return mDataType; }

private:
    const char* mName;
    KDataType* mDataType;
};

/// Member functions of the owner that return or set the value, through a pointer to a variable of
/// the type of the property.
using KPropertyGetter = void (KObject::*)(void* pValue) const;
using KPropertySetter = void (KObject::*)(const void* pValue);

/// A named value of an object, with a flag word. KPropertyTemplate has the type of the value. A
/// copy or an assignment copies value and flags, but not info, owner and accessors, which belong to
/// the property of one object.
class CORVEKIT_API KProperty
{
public:
    virtual ~KProperty();

    /// Name and type, initially null. Not owned.
    const KPropertyInfo* GetPropertyInfo() const { return mInfo; }
    void SetPropertyInfo(const KPropertyInfo* pInfo) { mInfo = pInfo; }
    /// Sets the owner and the accessors of the value. With null accessors the property stores the
    /// value.
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

    /// The value as text, which SetPropertyString reads back without loss: decimal numbers with a
    /// point in all locales, "true" and "false", times in ticks.
    virtual KString GetPropertyString() const = 0;
    /// Reads the value from text. A bool may also be "1" or "0", a time a number of seconds
    /// followed by "s". False, without a change, for null, for text that is not exactly one value,
    /// and for a value out of range.
    virtual bool SetPropertyString(const char* pText) = 0;
    /// The value as a number: a time in seconds, a bool as 0 or 1. False, with pValue unchanged,
    /// for null or a value that is not a number.
    virtual bool GetPropertyConstant(double* pValue) const = 0;
    /// Sets the value from a number: an int is rounded, halves away from zero, and clamped to its
    /// range, NaN is 0; a bool is true for a number other than 0. False for null or a value that is
    /// not a number.
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
    KObject* mListedIn = nullptr;  // the object with this property in its list
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
    /// Sets the info: see SetPropertyInfo.
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

// Exported here too, as the visibility of an instance also depends on its template argument.
extern template class CORVEKIT_API KPropertyTemplate<bool>;
extern template class CORVEKIT_API KPropertyTemplate<int>;
extern template class CORVEKIT_API KPropertyTemplate<double>;
extern template class CORVEKIT_API KPropertyTemplate<KTime>;
extern template class CORVEKIT_API KPropertyTemplate<KString>;
