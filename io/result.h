// Copyright (c) 2026 The glissa authors
// SPDX-License-Identifier: MIT
// Host side, not installed.
#pragma once

#include <cassert>
#include <cstdint>
#include <string>
#include <utility>
#include <variant>

/// Why a file could not be read: which file, where in it, and the reason as a sentence.
struct IoError
{
    std::string mFile;
    std::int64_t mLine = 0;  ///< 1 is the first line; 0 where no line is to blame
    std::string mReason;

    /// "walk.bvh:12: reason", without the line where there is none.
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

/// What a reader gives back: the value, or the error. Ask before either is taken.
template <typename T>
class IoResult
{
public:
    IoResult(T pValue) : mContent(std::move(pValue)) {}
    IoResult(IoError pError) : mContent(std::move(pError)) {}

    /// True when there is a value.
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
