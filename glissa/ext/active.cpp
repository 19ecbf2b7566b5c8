// Copyright (c) 2026 The glissa authors
// SPDX-License-Identifier: MIT

#include "glissa/ext/active.h"

// Initialised before any code runs: curves of a host's static objects read it too.
constinit ExtActivity gExtActivity;
