// Copyright (c) 2026 The glissa authors
// SPDX-License-Identifier: MIT

#include "corvekit/event/event.h"

// Out of line, so that the tables of virtual functions exist once, in this library.
KEventBase::~KEventBase() = default;
ICallback::~ICallback() = default;
