// Copyright (c) 2026 The glissa authors
// SPDX-License-Identifier: MIT
#pragma once

#include "corvekit/export.h"

/// Takes the text of one KTrace call.
using KTraceSink = void (*)(const char* pText);

/// Installs a sink and gives the one that stood before. Null brings the default back, which writes
/// to standard error.
CORVEKIT_API KTraceSink KSetTraceSink(KTraceSink pSink);

/// Sends formatted text, of any length, to the sink. The format is that of printf.
[[gnu::format(printf, 1, 2)]] CORVEKIT_API void KTrace(const char* pFormat, ...);
