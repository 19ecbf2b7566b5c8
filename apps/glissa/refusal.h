// Copyright (c) 2026 The glissa authors
// SPDX-License-Identifier: MIT
#pragma once

#include "io/result.h"

#include <stdexcept>
#include <utility>

/// The command fails: exit status 1. The text has the file, the place and the reason.
struct Refusal : std::runtime_error
{
    using std::runtime_error::runtime_error;
};

/// The arguments are wrong: exit status 2.
struct WrongArguments : std::runtime_error
{
    using std::runtime_error::runtime_error;
};

/// The reader of standard output closed the pipe: the command ends without a message, with status
/// 0.
struct OutputClosed
{};

/// The value of a result of io. An error is thrown as a Refusal with its text.
template <typename T>
T ValueOrRefusal(IoResult<T> pResult)
{
    if (!pResult) {
        throw Refusal(pResult.GetError().GetText());
    }
    return std::move(*pResult);
}
