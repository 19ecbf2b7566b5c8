// Copyright (c) 2026 The glissa authors
// SPDX-License-Identifier: MIT

#include "corvekit/event/event.h"

// Not inline, so that the virtual tables exist once, in this library.
KEventBase::~KEventBase() = default;
ICallback::~ICallback() = default;
