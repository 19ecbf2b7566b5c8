// Copyright (c) 2026 The glissa authors
// SPDX-License-Identifier: MIT

#include "corvekit/assert.h"

#include <cstdio>
#include <cstdlib>

namespace
{
void AbortWithPlace(const char* pExpression, const char* pFile, int pLine)
{
    std::fprintf(stderr, "%s:%d: assertion failed: %s\n", pFile, pLine, pExpression);
    std::abort();
}

KAssertHandler sHandler = AbortWithPlace;
}  // namespace

KAssertHandler KSetAssertHandler(KAssertHandler pHandler)
{
    const KAssertHandler previous = sHandler;
    sHandler = pHandler ? pHandler : AbortWithPlace;
    return previous;
}

void KAssertFailed(const char* pExpression, const char* pFile, int pLine)
{
    sHandler(pExpression, pFile, pLine);
}
