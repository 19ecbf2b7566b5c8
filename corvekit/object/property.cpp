// Copyright (c) 2026 The glissa authors
// SPDX-License-Identifier: MIT

// The conversions between values, text and numbers are four overloaded functions for each type; the
// template calls them.

#include "corvekit/object/property.h"

#include "corvekit/assert.h"
#include "corvekit/object/object.h"

#include <charconv>
#include <cmath>
#include <cstdint>
#include <limits>
#include <mutex>
#include <set>
#include <string>
#include <string_view>

namespace
{
// Strings that are never freed, as maps of properties have them as keys.
const char* InternName(const char* pName)
{
    struct Names
    {
        std::mutex mLock;
        std::set<std::string> mTexts;
    };
    static Names& names = *new Names;
    const std::lock_guard guard(names.mLock);
    return names.mTexts.emplace(pName ? pName : "").first->c_str();
}

template <typename Number>
KString NumberText(Number pValue)
{
    char text[40];  // the shortest exact text has at most 24 characters
    const std::to_chars_result end = std::to_chars(text, text + sizeof(text), pValue);
    return KString(text, static_cast<std::size_t>(end.ptr - text));
}

// The whole text must be a number in the form of from_chars, without blanks and plus sign.
template <typename Number>
bool ReadNumber(std::string_view pText, Number& pValue)
{
    Number value{};
    const char* end = pText.data() + pText.size();
    const std::from_chars_result result = std::from_chars(pText.data(), end, value);
    if (result.ec != std::errc() || result.ptr != end) {
        return false;
    }
    pValue = value;
    return true;
}

KString ToText(bool pValue)
{
    return KString(pValue ? "true" : "false");
}
KString ToText(int pValue)
{
    return NumberText(pValue);
}
KString ToText(double pValue)
{
    return NumberText(pValue);
}
KString ToText(KTime pValue)
{
    return NumberText(pValue.Get());
}
KString ToText(const KString& pValue)
{
    return pValue;
}

bool FromText(std::string_view pText, bool& pValue)
{
    const bool yes = pText == "true" || pText == "1";
    if (!yes && pText != "false" && pText != "0") {
        return false;
    }
    pValue = yes;
    return true;
}
bool FromText(std::string_view pText, int& pValue)
{
    return ReadNumber(pText, pValue);
}
bool FromText(std::string_view pText, double& pValue)
{
    return ReadNumber(pText, pValue);
}
bool FromText(std::string_view pText, KTime& pValue)
{
    double seconds = 0.0;
    if (pText.ends_with('s')) {
        if (!ReadNumber(pText.substr(0, pText.size() - 1), seconds) || std::isnan(seconds)) {
            return false;
        }
        pValue.SetSecondDouble(seconds);
        return true;
    }
    std::int64_t ticks = 0;
    if (!ReadNumber(pText, ticks)) {
        return false;
    }
    pValue.Set(ticks);
    return true;
}
bool FromText(std::string_view pText, KString& pValue)
{
    pValue = KString(pText);
    return true;
}

bool ToNumber(bool pValue, double& pNumber)
{
    pNumber = pValue ? 1.0 : 0.0;
    return true;
}
bool ToNumber(int pValue, double& pNumber)
{
    pNumber = pValue;
    return true;
}
bool ToNumber(double pValue, double& pNumber)
{
    pNumber = pValue;
    return true;
}
bool ToNumber(KTime pValue, double& pNumber)
{
    pNumber = pValue.GetSecondDouble();
    return true;
}
bool ToNumber(const KString&, double&)
{
    return false;
}

bool FromNumber(double pNumber, bool& pValue)
{
    pValue = pNumber != 0.0;
    return true;
}
bool FromNumber(double pNumber, int& pValue)
{
    const double rounded = std::round(std::isnan(pNumber) ? 0.0 : pNumber);
    const double least = std::numeric_limits<int>::min();
    const double greatest = std::numeric_limits<int>::max();
    pValue = static_cast<int>(std::fmin(std::fmax(rounded, least), greatest));
    return true;
}
bool FromNumber(double pNumber, double& pValue)
{
    pValue = pNumber;
    return true;
}
bool FromNumber(double pNumber, KTime& pValue)
{
    pValue.SetSecondDouble(pNumber);
    return true;
}
bool FromNumber(double, KString&)
{
    return false;
}
}  // namespace

KPropertyInfo::KPropertyInfo(const char* pName, KDataType* pDataType)
    : mName(InternName(pName)), mDataType(pDataType)
{}

KProperty::~KProperty()
{
    if (mListedIn) {
        mListedIn->RemoveProperty(this);
    }
}

void KProperty::SetPropertyInfo(KObject* pOwner, KPropertyGetter pGetter, KPropertySetter pSetter)
{
    mOwner = pOwner;
    mGetter = pGetter;
    mSetter = pSetter;
}

void KProperty::CallGetter(void* pValue) const
{
    CORVEKIT_ASSERT(HasGetter() && pValue);
    (mOwner->*mGetter)(pValue);
}

void KProperty::CallSetter(const void* pValue)
{
    CORVEKIT_ASSERT(HasSetter() && pValue);
    (mOwner->*mSetter)(pValue);
}

template <typename T>
KString KPropertyTemplate<T>::GetPropertyString() const
{
    return ToText(GetValue());
}

template <typename T>
bool KPropertyTemplate<T>::SetPropertyString(const char* pText)
{
    T value{};
    if (!pText || !FromText(pText, value)) {
        return false;
    }
    SetValue(value);
    return true;
}

template <typename T>
bool KPropertyTemplate<T>::GetPropertyConstant(double* pValue) const
{
    return pValue && ToNumber(GetValue(), *pValue);
}

template <typename T>
bool KPropertyTemplate<T>::SetPropertyConstant(const double* pValue)
{
    T value{};
    if (!pValue || !FromNumber(*pValue, value)) {
        return false;
    }
    SetValue(value);
    return true;
}

template class KPropertyTemplate<bool>;
template class KPropertyTemplate<int>;
template class KPropertyTemplate<double>;
template class KPropertyTemplate<KTime>;
template class KPropertyTemplate<KString>;
