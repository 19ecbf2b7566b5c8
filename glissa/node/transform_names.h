// Copyright (c) 2026 The glissa authors
// SPDX-License-Identifier: MIT
// Not for hosts: the short names of the local transforms, by which they are found and stored.
#pragma once

#include "corvekit/object/data_type.h"

#include <string_view>

/// The local transform of a short name, or null. The case counts.
inline KDataType* TransformOf(std::string_view pShortName)
{
    return pShortName == "T"   ? KDataTypeLclTranslation
           : pShortName == "R" ? KDataTypeLclRotation
           : pShortName == "S" ? KDataTypeLclScaling
                               : nullptr;
}

/// The short name of a local transform, or null.
inline const char* ShortNameOf(const KDataType* pType)
{
    return pType == KDataTypeLclTranslation ? "T"
           : pType == KDataTypeLclRotation  ? "R"
           : pType == KDataTypeLclScaling   ? "S"
                                            : nullptr;
}
