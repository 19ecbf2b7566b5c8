// Copyright (c) 2026 The glissa authors
// SPDX-License-Identifier: MIT

#include "apps/glissa/clip_curves.h"

#include "apps/glissa/name_choice.h"
#include "apps/glissa/refusal.h"
#include "io/bvh_reader.h"
#include "io/text_file.h"

#include <fmt/format.h>

#include <algorithm>
#include <cmath>
#include <limits>

void ClipCurves::NameCurves()
{
    curves.clear();
    for (const ClipCurve& each : owner.GetCurves()) {
        curves.push_back({each.mName, IsRotation(each.mChannel) ? Unit::degrees : Unit::sceneUnits,
                          each.mCurve});
    }
}

void ClipCurves::FitFrameCount()
{
    KTime last = KTime::MinusInfinite();
    for (const NamedCurve& each : curves) {
        if (each.HasKeys()) {
            last = std::max(last, each.Last());
        }
    }
    if (last == KTime::MinusInfinite()) {
        return;
    }
    // A key less than a hundredth of a frame behind a frame, as rounded times are, is on it.
    const double frames = std::ceil(last.GetSecondDouble() * framesASecond - 0.01);
    if (frames >= static_cast<double>(std::numeric_limits<int>::max())) {
        throw Refusal(fmt::format("{}: the last key would be at {:g} s, which is too many frames",
                                  path, last.GetSecondDouble()));
    }
    clip.mFrameCount = std::max(static_cast<int>(frames), 0) + 1;
}

StoredClip LoadAnyClip(const std::string& pPath)
{
    const std::string bytes = ValueOrRefusal(ReadTextFile(pPath));
    if (IsStore(bytes)) {
        return ValueOrRefusal(ParseClipStore(bytes, pPath));
    }
    StoredClip clip;
    clip.mClip = ValueOrRefusal(ParseBvh(bytes, pPath));
    clip.mCurves = CurveClip(clip.mClip);
    return clip;
}

ClipCurves LoadClip(const std::string& pPath)
{
    const unsigned before = GetRecordingMemory();
    StoredClip stored = LoadAnyClip(pPath);
    if (!stored.mFaults.empty()) {
        throw Refusal(
            fmt::format("{}: {}; 'glissa check' lists all faults", pPath, stored.mFaults.front()));
    }
    ClipCurves loaded;
    loaded.recordingBytes = GetRecordingMemory() - before;
    loaded.path = pPath;
    loaded.clip = std::move(stored.mClip);
    loaded.owner = std::move(stored.mCurves);
    const ClipRate rate = loaded.clip.GetRate();
    loaded.framesASecond =
        static_cast<double>(rate.mNumerator) / static_cast<double>(rate.mDenominator);
    loaded.NameCurves();
    return loaded;
}

void CurveChoice::RequireCurves() const
{
    if (patterns.empty() && !all) {
        throw WrongArguments("no curve is chosen: give --curve NAME or --all");
    }
}

std::vector<NamedCurve*> ChooseCurves(ClipCurves& pClip, const CurveChoice& pChoice,
                                      std::vector<std::string>* pMissing)
{
    pChoice.RequireCurves();
    std::vector<std::string> patterns = pChoice.patterns;
    if (pChoice.all) {
        patterns.push_back("*");
    }
    std::vector<std::string> names;
    for (const NamedCurve& each : pClip.curves) {
        names.push_back(each.name);
    }
    std::vector<NamedCurve*> chosen;
    for (const std::size_t index : ChooseNames(names, patterns, pClip.path, "curve", pMissing)) {
        chosen.push_back(&pClip.curves[index]);
        SetExtrapolation(*chosen.back()->curve, pChoice);
    }
    return chosen;
}

void SetExtrapolation(Glissa& pCurve, const CurveChoice& pChoice)
{
    if (pChoice.before) {
        pCurve.SetPreExtrapolation(pChoice.before->mode);
        pCurve.SetPreExtrapolationCount(pChoice.before->count);
    }
    if (pChoice.after) {
        pCurve.SetPostExtrapolation(pChoice.after->mode);
        pCurve.SetPostExtrapolationCount(pChoice.after->count);
    }
}

std::optional<TimeSpan> SpanOfBoth(const std::optional<TimeSpan>& pLeft,
                                   const std::optional<TimeSpan>& pRight)
{
    if (!pLeft || !pRight) {
        return pLeft ? pLeft : pRight;
    }
    return TimeSpan{std::min(pLeft->from, pRight->from), std::max(pLeft->to, pRight->to)};
}

std::optional<TimeSpan> KeySpan(const std::vector<Glissa*>& pCurves)
{
    std::optional<TimeSpan> span;
    for (const Glissa* const each : pCurves) {
        if (const int count = each->KeyGetCount()) {
            span = SpanOfBoth(span, TimeSpan{each->KeyGetTime(0), each->KeyGetTime(count - 1)});
        }
    }
    return span;
}

std::optional<TimeSpan> KeySpan(const std::vector<NamedCurve*>& pCurves)
{
    std::vector<Glissa*> curves;
    for (const NamedCurve* const each : pCurves) {
        curves.push_back(each->curve);
    }
    return KeySpan(curves);
}
