// Copyright (c) 2026 The glissa authors
// SPDX-License-Identifier: MIT
#pragma once

#include "io/result.h"

#include <stdexcept>
#include <utility>

/// The command cannot do what was asked: exit status 1. The text names the file, the place and the
/// reason.
struct Refusal : std::runtime_error
{
    using std::runtime_error::runtime_error;
};

/// The command line is wrong: exit status 2.
struct WrongArguments : std::runtime_error
{
    using std::runtime_error::runtime_error;
};

/// The reader of standard output closed the pipe: the command exits silently, with status 0.
struct OutputClosed
{};

/// What a reader of io returned. An error is thrown as a Refusal with its text.
template <typename T>
T ValueOrRefusal(IoResult<T> pResult)
{
    if (!pResult) {
        throw Refusal(pResult.GetError().GetText());
    }
    return std::move(*pResult);
}
