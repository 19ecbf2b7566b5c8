// Copyright (c) 2026 The glissa authors
// SPDX-License-Identifier: MIT
#pragma once

#include "corvekit/export.h"

/// The function that a failed assertion calls. The default writes the place to standard error and
/// aborts; a test can install one that counts and returns.
using KAssertHandler = void (*)(const char* pExpression, const char* pFile, int pLine);

/// Installs a handler and returns the previous one. Null installs the default.
CORVEKIT_API KAssertHandler KSetAssertHandler(KAssertHandler pHandler);

/// Calls the installed handler.
CORVEKIT_API void KAssertFailed(const char* pExpression, const char* pFile, int pLine);

/// Checks a precondition or an invariant. Not evaluated in release builds (NDEBUG).
#if defined(NDEBUG)
#    define CORVEKIT_ASSERT(condition) static_cast<void>(0)
#else
#    define CORVEKIT_ASSERT(condition)                                                             \
        ((condition) ? static_cast<void>(0) : KAssertFailed(#condition, __FILE__, __LINE__))
#endif
