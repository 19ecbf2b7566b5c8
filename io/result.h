// Copyright (c) 2026 The glissa authors
// SPDX-License-Identifier: MIT
// Host side, not installed.
#pragma once

#include <cassert>
#include <cstdint>
#include <string>
#include <utility>
#include <variant>

/// Why a file could not be read: file, line and reason.
struct IoError
{
    std::string mFile;
    std::int64_t mLine = 0;  ///< from 1; 0 if the error has no line
    std::string mReason;

    /// "walk.bvh:12: reason", or "walk.bvh: reason" without a line.
    std::string GetText() const
    {
        std::string text = mFile;
        if (mLine > 0) {
            text += ':';
            text += std::to_string(mLine);
        }
        text += ": ";
        return text += mReason;
    }
};

/// The result of a reader: a value or an error. Test it before accessing either.
template <typename T>
class IoResult
{
public:
    IoResult(T pValue) : mContent(std::move(pValue)) {}
    IoResult(IoError pError) : mContent(std::move(pError)) {}

    /// Whether there is a value.
    explicit operator bool() const { return mContent.index() == 0; }

    T& operator*() { return Value(); }
    const T& operator*() const { return const_cast<IoResult*>(this)->Value(); }
    T* operator->() { return &Value(); }
    const T* operator->() const { return &const_cast<IoResult*>(this)->Value(); }

    const IoError& GetError() const
    {
        const IoError* const error = std::get_if<1>(&mContent);
        assert(error != nullptr);
        return *error;
    }

private:
    T& Value()
    {
        T* const value = std::get_if<0>(&mContent);
        assert(value != nullptr);
        return *value;
    }

    std::variant<T, IoError> mContent;
};
