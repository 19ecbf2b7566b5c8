// Copyright (c) 2026 The glissa authors
// SPDX-License-Identifier: MIT
#pragma once

/// Runs the command with the arguments of main. Every failure is a line on standard error and an
/// exit status: 0 done, 1 refused, 2 wrong arguments. Throws nothing.
int RunCommand(int pCount, char** pArguments);
