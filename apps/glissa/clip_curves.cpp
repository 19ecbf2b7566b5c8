// Copyright (c) 2026 The glissa authors
// SPDX-License-Identifier: MIT

#include "apps/glissa/clip_curves.h"

#include "apps/glissa/refusal.h"
#include "io/bvh_reader.h"
#include "io/text_file.h"

#include <fmt/format.h>

#include <algorithm>

StoredClip LoadAnyClip(const std::string& pPath)
{
    const IoResult<std::string> bytes = ReadTextFile(pPath);
    if (!bytes) {
        throw Refusal(bytes.GetError().GetText());
    }
    if (IsStore(*bytes)) {
        IoResult<StoredClip> stored = ParseClipStore(*bytes, pPath);
        if (!stored) {
            throw Refusal(stored.GetError().GetText());
        }
        return std::move(*stored);
    }
    IoResult<Clip> read = ParseBvh(*bytes, pPath);
    if (!read) {
        throw Refusal(read.GetError().GetText());
    }
    StoredClip clip;
    clip.mClip = std::move(*read);
    clip.mCurves = CurveClip(clip.mClip);
    return clip;
}

ClipCurves LoadClip(const std::string& pPath)
{
    const unsigned before = GetRecordingMemory();
    StoredClip stored = LoadAnyClip(pPath);
    if (!stored.mFaults.empty()) {
        throw Refusal(fmt::format("{}: {}; 'glissa check' tells all that is wrong", pPath,
                                  stored.mFaults.front()));
    }
    ClipCurves loaded;
    loaded.recordingBytes = GetRecordingMemory() - before;
    loaded.path = pPath;
    loaded.clip = std::move(stored.mClip);
    loaded.owner = std::move(stored.mCurves);
    const ClipRate rate = loaded.clip.GetRate();
    loaded.framesASecond =
        static_cast<double>(rate.mNumerator) / static_cast<double>(rate.mDenominator);
    for (const ClipCurve& each : loaded.owner.GetCurves()) {
        loaded.curves.push_back({each.mName,
                                 IsRotation(each.mChannel) ? Unit::degrees : Unit::sceneUnits,
                                 each.mCurve});
    }
    return loaded;
}

std::vector<NamedCurve*> ChooseCurves(ClipCurves& pClip, const CurveChoice& pChoice,
                                      std::vector<std::string>* pMissing)
{
    if (pChoice.patterns.empty() && !pChoice.all) {
        throw WrongArguments("no curve is chosen: name one with --curve, or take --all");
    }
    std::vector<std::string> patterns = pChoice.patterns;
    if (pChoice.all) {
        patterns.push_back("*");
    }
    std::vector<NamedCurve*> chosen;
    std::vector<bool> taken(pClip.curves.size(), false);
    for (const std::string& pattern : patterns) {
        const std::vector<std::size_t> found = pClip.owner.Match(pattern);
        for (const std::size_t index : found) {
            if (!taken[index]) {
                taken[index] = true;
                chosen.push_back(&pClip.curves[index]);
            }
        }
        if (found.empty() && pMissing) {
            pMissing->push_back(pattern);
        } else if (found.empty()) {
            throw Refusal(fmt::format(
                "{}: no curve of the {} there matches '{}'; 'glissa info --list' names them",
                pClip.path, pClip.curves.size(), pattern));
        }
    }
    for (NamedCurve* const each : chosen) {
        SetExtrapolation(*each->curve, pChoice);
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

std::optional<TimeSpan> KeySpan(const std::vector<NamedCurve*>& pCurves)
{
    std::optional<TimeSpan> span;
    for (const NamedCurve* const each : pCurves) {
        if (each->HasKeys()) {
            span = span ? TimeSpan{std::min(span->from, each->First()),
                                   std::max(span->to, each->Last())}
                        : TimeSpan{each->First(), each->Last()};
        }
    }
    return span;
}
