// Copyright (c) 2026 The glissa authors
// SPDX-License-Identifier: MIT

#include "apps/glissa/json_report.h"

#include "io/clip_store.h"

#include <cmath>

std::string JsonReportText(const Json& pReport)
{
    return pReport.dump(2, ' ', false, Json::error_handler_t::replace) + '\n';
}

Json JsonNumber(double pNumber, bool pIsSingle)
{
    if (!std::isfinite(pNumber)) {
        return nullptr;
    }
    return pIsSingle ? ShortestDouble(static_cast<float>(pNumber)) : pNumber;
}

std::string JsonText(std::string_view pText, bool pOnlyAscii)
{
    return Json(pText).dump(-1, ' ', pOnlyAscii, Json::error_handler_t::replace);
}
