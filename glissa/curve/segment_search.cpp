// Copyright (c) 2026 The glissa authors
// SPDX-License-Identifier: MIT

#include "glissa/curve/segment_search.h"

SegmentPlace FindByWalk(KeyList& pKeys, KTime pTime, int& pHint)
{
    CORVEKIT_ASSERT(pKeys.Count() >= 2);
    pKeys.PagesChangedFrom(0);
    const int last = pKeys.Count() - 1;
    const int start = std::clamp(pHint, 0, last);
    const bool isUpward = pKeys[start].mTime < pTime;
    int i = std::min(start, last - 1);
    if (isUpward) {
        while (i < last - 1 && pKeys[i + 1].mTime < pTime) {
            ++i;
        }
    } else {
        while (i > 0 && pTime < pKeys[i].mTime) {
            --i;
        }
    }
    SegmentPlace place = PlaceInSegment(pKeys, i, static_cast<unsigned>(i) % KeyList::kKeysPerPage,
                                        &pKeys[i], pTime);
    if (!(place.fraction >= 0.0 && place.fraction <= 1.0)) {
        place.fraction = place.fraction > 1.0 ? 1.0 : 0.0;
    }
    pHint = i + static_cast<int>(isUpward ? place.fraction > 0.0 : place.fraction == 1.0);
    return place;
}
