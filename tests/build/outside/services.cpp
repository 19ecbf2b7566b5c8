// Copyright (c) 2026 The glissa authors
// SPDX-License-Identifier: MIT

#include "corvekit/time.h"

// Needs the services alone, without the system on top of them.
int main()
{
    return KTime::FromSeconds(2.0).GetFrame(eTimeMode25) == 50 ? 0 : 1;
}
