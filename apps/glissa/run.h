// Copyright (c) 2026 The glissa authors
// SPDX-License-Identifier: MIT
#pragma once

/// Runs the command with the arguments of main and returns the exit status: 0 success, 1 refused, 2
/// wrong arguments. Failures are reported in a line on standard error. Throws nothing.
int RunCommand(int pCount, char** pArguments);
