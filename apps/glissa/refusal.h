// Copyright (c) 2026 The glissa authors
// SPDX-License-Identifier: MIT
#pragma once

#include <stdexcept>

/// The command cannot do what it was asked: exit status 1. The text names the file, the place and
/// the reason.
struct Refusal : std::runtime_error
{
    using std::runtime_error::runtime_error;
};

/// The command line makes no sense: exit status 2.
struct WrongArguments : std::runtime_error
{
    using std::runtime_error::runtime_error;
};

/// Whoever read standard output has gone: the command ends without a word.
struct ReaderGone
{};
