// Copyright (c) 2026 The glissa authors
// SPDX-License-Identifier: MIT

#include "corvekit/trace.h"

#include "corvekit/assert.h"

#include <atomic>
#include <cstdarg>
#include <cstdio>
#include <string>

namespace
{
void WriteToStandardError(const char* pText)
{
    std::fputs(pText, stderr);
}

std::atomic<KTraceSink> gSink{WriteToStandardError};
}  // namespace

KTraceSink KSetTraceSink(KTraceSink pSink)
{
    return gSink.exchange(pSink ? pSink : WriteToStandardError);
}

void KTrace(const char* pFormat, ...)
{
    CORVEKIT_ASSERT(pFormat);
    char line[256];
    std::va_list arguments;
    va_start(arguments, pFormat);
    std::va_list again;
    va_copy(again, arguments);
    const int length = std::vsnprintf(line, sizeof(line), pFormat, arguments);
    va_end(arguments);
    if (length < 0) {
        gSink.load()(pFormat);  // the text cannot be formatted
    } else if (static_cast<std::size_t>(length) < sizeof(line)) {
        gSink.load()(line);
    } else {
        std::string text(static_cast<std::size_t>(length), '\0');
        std::vsnprintf(text.data(), text.size() + 1, pFormat, again);
        gSink.load()(text.c_str());
    }
    va_end(again);
}
