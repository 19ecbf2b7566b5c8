// Copyright (c) 2026 The glissa authors
// SPDX-License-Identifier: MIT
#pragma once

// CORVEKIT_API marks exported symbols of the shared library. Static builds define CORVEKIT_STATIC.
#if defined(CORVEKIT_STATIC)
#    define CORVEKIT_API
#elif defined(_WIN32)
#    if defined(CORVEKIT_BUILD)
#        define CORVEKIT_API __declspec(dllexport)
#    else
#        define CORVEKIT_API __declspec(dllimport)
#    endif
#else
#    define CORVEKIT_API __attribute__((visibility("default")))
#endif
