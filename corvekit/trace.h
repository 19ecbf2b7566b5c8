// Copyright (c) 2026 The glissa authors
// SPDX-License-Identifier: MIT
#pragma once

#include "corvekit/export.h"

/// Receives the text of a KTrace call.
using KTraceSink = void (*)(const char* pText);

/// Installs a sink and returns the previous one. Null installs the default, which writes to
/// standard error.
CORVEKIT_API KTraceSink KSetTraceSink(KTraceSink pSink);

/// Sends formatted text, of any length, to the sink. The format is that of printf.
[[gnu::format(printf, 1, 2)]] CORVEKIT_API void KTrace(const char* pFormat, ...);
