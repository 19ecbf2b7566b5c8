// Copyright (c) 2026 The glissa authors
// SPDX-License-Identifier: MIT
#pragma once

#include "corvekit/object/class_frame.h"
#include "corvekit/object/property.h"
#include "corvekit/time.h"
#include "glissa/export.h"

class GlissaNode;

/// A filter as a sheet of properties, by their index in the object's list. An index out of range
/// gives null, false or "".
class GLISSA_API IFilter : public IObject
{
public:
    /// Filters one node into another.
    virtual bool Apply(GlissaNode* pSource, GlissaNode* pResult) = 0;
    virtual const char* GetPropertySheetName() = 0;
    virtual int GetPropertyCount() = 0;
    virtual const char* GetPropertyName(int pIndex) = 0;
    virtual KDataType* GetProperty(int pIndex) = 0;
    /// The value as text, in one buffer a thread that the next call for any filter overwrites;
    /// what is longer than 255 bytes is cut.
    virtual const char* GetPropertyString(int pIndex) = 0;
    virtual bool SetPropertyString(int pIndex, const char* pText) = 0;
    virtual bool SetPropertyConstant(int pIndex, double* pValue) = 0;
    virtual bool GetPropertyConstant(int pIndex, double* pValue) = 0;

protected:
    ~IFilter() = default;
};

/// The base of filters that hosts set up through IFilter: a span as two properties, "Start" and
/// "Stop", and a place for a rate in hertz. No filter of this library derives from it.
class GLISSA_API KDataFilterBase : public KClassFrame<KDataFilterBase, KObject>, public IFilter
{
public:
    static constexpr char kClassName[] = "KDataFilterBase";
    /// The interface id of the IFilter side.
    static constexpr unsigned long kIQueryFilter = 0xA8271C;

    explicit KDataFilterBase(const char* pName = nullptr);
    /// A copy has properties of its own with the same values; the rate property is its class's to
    /// set.
    KDataFilterBase(const KDataFilterBase& pOther);
    KDataFilterBase& operator=(const KDataFilterBase& pOther);

    IObject* IQuery(unsigned long pId, int pArgument) override;
    void Destroy(int pArgument) override;

    /// False.
    bool Apply(GlissaNode* pSource, GlissaNode* pResult) override;
    /// The name of the object.
    const char* GetPropertySheetName() override;
    int GetPropertyCount() override;
    const char* GetPropertyName(int pIndex) override;
    KDataType* GetProperty(int pIndex) override;
    const char* GetPropertyString(int pIndex) override;
    bool SetPropertyString(int pIndex, const char* pText) override;
    /// A rate below 0, or one that is not finite, is replaced by GetDefaultRate: false. Else true.
    bool SetPropertyConstant(int pIndex, double* pValue) override;
    bool GetPropertyConstant(int pIndex, double* pValue) override;

    /// Puts a property, named and without accessors, into the list of the object that has it.
    static void StartInit(KObject* pFilter);
    static void StopInit(KObject* pFilter);
    /// Frames a second of the default time mode.
    static double GetDefaultRate();

    KPropertyTemplate<KTime> Start{KTime::MinusInfinite()};
    KPropertyTemplate<KTime> Stop{KTime::Infinite()};

protected:
    KPropertyTemplate<double>* mRate = nullptr;
};

extern template class KClassFrame<KDataFilterBase, KObject>;
