// Copyright (c) 2026 The glissa authors
// SPDX-License-Identifier: MIT

#include "apps/glissa/output.h"
#include "apps/glissa/run.h"

int main(int pCount, char** pArguments)
{
    PrepareStandardStreams();
    return RunCommand(pCount, pArguments);
}
