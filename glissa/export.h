// Copyright (c) 2026 The glissa authors
// SPDX-License-Identifier: MIT
#pragma once

// GLISSA_API marks what the shared library exports. Static builds define GLISSA_STATIC.
#if defined(GLISSA_STATIC)
#    define GLISSA_API
#elif defined(_WIN32)
#    if defined(GLISSA_BUILD)
#        define GLISSA_API __declspec(dllexport)
#    else
#        define GLISSA_API __declspec(dllimport)
#    endif
#else
#    define GLISSA_API __attribute__((visibility("default")))
#endif
