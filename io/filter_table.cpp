// Copyright (c) 2026 The glissa authors
// SPDX-License-Identifier: MIT

#include "io/filter_table.h"

#include "glissa/glissa.h"
#include "io/filter_entries.h"
#include "io/transform_filter.h"

#include <algorithm>
#include <cmath>
#include <iterator>
#include <limits>

namespace
{
constexpr double kLeastRate = 1e-6;
constexpr double kMostRate = 1e6;
constexpr FilterRange kCounts = {0.0, 1000.0};
constexpr double kMostOfTransform = 1e9;
constexpr FilterRange kTimes = {-kMostSeconds, kMostSeconds};
constexpr FilterRange kRates = {kLeastRate, kMostRate};

// The properties of the low-pass. They are found by name, as its class has no accessors.

constexpr char kCutOff[] = "CutOffFreq";
constexpr char kOrder[] = "OrderOfFilter";
constexpr char kKeyRate[] = "SamplingRate";
constexpr char kInternalRate[] = "InternalRate";
constexpr char kOnFrames[] = "KeysOnFrame";

template <const char* Name>
double ReadProperty(GlissaFilter& pFilter)
{
    double value = 0.0;
    pFilter.FastFindPropertyByName(Name)->GetPropertyConstant(&value);
    return value;
}

template <const char* Name>
void WriteProperty(GlissaFilter& pFilter, const double* pNumbers)
{
    pFilter.FastFindPropertyByName(Name)->SetPropertyConstant(pNumbers);
}

template <const char* Name>
FilterParameter Property(const char* pName, FilterValue pValue, const char* pUnit,
                         FilterRange pRange, const char* pMeaning)
{
    return {pName,
            pValue,
            pUnit,
            pMeaning,
            pRange.mLeast,
            pRange.mGreatest,
            0.0,
            false,
            &ReadProperty<Name>,
            &WriteProperty<Name>};
}

void SetSpanProperties(GlissaFilter& pFilter, KTime pStart, KTime pStop)
{
    using TimeProperty = KPropertyTemplate<KTime>;
    static_cast<TimeProperty*>(pFilter.FastFindPropertyByName("Start"))->SetValue(pStart);
    static_cast<TimeProperty*>(pFilter.FastFindPropertyByName("Stop"))->SetValue(pStop);
}

// The limits of a clamp and of a removal are off until they are given.

void SetCeil(GlissaFilter& pFilter, const double* pNumbers)
{
    auto& clamp = static_cast<GlissaFilterClamp&>(pFilter);
    clamp.SetCeil(*pNumbers);
    clamp.SetApplyCeilClamping(true);
}

void SetFloor(GlissaFilter& pFilter, const double* pNumbers)
{
    auto& clamp = static_cast<GlissaFilterClamp&>(pFilter);
    clamp.SetFloor(*pNumbers);
    clamp.SetApplyFloorClamping(true);
}

// One tolerance for all channels, in place of one by the kind of channel.
void SetThresholds(GlissaFilter& pFilter, const double* pNumbers)
{
    auto& reducer = static_cast<GlissaFilterConstantKeyReducer&>(pFilter);
    reducer.SetValueTolerance(*pNumbers);
    reducer.SetTranslationThreshold(*pNumbers);
    reducer.SetRotationThreshold(*pNumbers);
    reducer.SetScalingThreshold(*pNumbers);
    reducer.SetDefaultThreshold(*pNumbers);
}

// Hands the span that is done, two key indices, to the host.
class WatchedReducer : public GlissaFilterKeyReducer
{
public:
    explicit WatchedReducer(const FilterProgress& pProgress) : mProgress(pProgress) {}

protected:
    void UpdateProgressInformation(KTime, KTime pStop) override
    {
        if (mProgress) {
            mProgress(pStop.Get());
        }
    }

private:
    FilterProgress mProgress;
};

std::unique_ptr<GlissaFilter> MakeReducer(const FilterProgress& pProgress)
{
    return std::make_unique<WatchedReducer>(pProgress);
}

std::unique_ptr<GlissaFilter> MakeDelete(const FilterProgress& pProgress)
{
    std::unique_ptr<GlissaFilter> filter = Make<GlissaFilterDeleteKey>(pProgress);
    static_cast<GlissaFilterDeleteKey&>(*filter).SetCutTimeInterval(false);
    return filter;
}

// Three numbers of the constant transform, of which none changes nothing.
template <void (GlissaFilterTRS::*Set)(double, double, double)>
FilterParameter Triple(const char* pName, const char* pUnit, const char* pMeaning, double pIdle)
{
    FilterParameter parameter = {pName,
                                 FilterValue::number,
                                 pUnit,
                                 pMeaning,
                                 -kMostOfTransform,
                                 kMostOfTransform,
                                 0.0,
                                 false,
                                 &NoDefault,
                                 [](GlissaFilter& pFilter, const double* pNumbers) {
                                     (static_cast<GlissaFilterTRS&>(pFilter).*
                                      Set)(pNumbers[0], pNumbers[1], pNumbers[2]);
                                 }};
    parameter.mIdle = {pIdle};
    parameter.mCount = 3;
    return parameter;
}

FilterEntry TransformEntry()
{
    using Trs = GlissaFilterTRS;
    FilterEntry entry = {
        "transform",
        "Moves, turns and scales a whole take: the nodes T, R and S of an object",
        "Take all nodes of the root, --node 'Hips/*': positions are scaled, turned about the "
        "origin "
        "and then moved, orientations are turned. Other joints are transformed within their "
        "parent. Each frame gets an automatic key, and keys between frames are lost. A turn about "
        "the "
        "middle axis of a rotation order may end near gimbal lock: convert to another order first.",
        FilterScope::vector,
        FilterSpan::none,
        false,
        {Triple<&Trs::SetT>("translate", "value", "added to positions; not 0,0,0", 0.0),
         Triple<&Trs::SetR>("rotate", "degrees", "the turn about X, then Y, then Z; not 0,0,0",
                            0.0),
         Triple<&Trs::SetS>("scale", "", "the factors of positions and scalings; not 1,1,1", 1.0)},
        &Make<TransformFilter>,
        &SetSpan,
        true};
    entry.mNeedsChoice = true;
    entry.mAtPlotPeriod = true;
    entry.mTurn = [](GlissaFilter& pFilter) {
        return static_cast<TransformFilter&>(pFilter).GetTurn();
    };
    return entry;
}

// A filter that always takes the angles of a rotation together.
FilterEntry ByOrientation(FilterEntry pEntry)
{
    pEntry.mByOrientation = [](GlissaFilter&) { return true; };
    return pEntry;
}

FilterEntry SmoothEntry()
{
    using Smooth = GlissaFilterSmooth;
    FilterEntry entry = {
        "smooth",
        "Replaces each key by the mean of a window around it (for results of older scenes)",
        "The rim of the window weighs more than its middle: waves as long as the window come out "
        "inverted, and each run delays. The angles of a rotation are smoothed one by one, unless "
        "quaternion is on and all three are chosen: then its orientations are smoothed, it gets an "
        "automatic key at each frame of the span, and keys between frames are lost. Take gaussian "
        "for new work.",
        FilterScope::curve,
        FilterSpan::inward,
        true,
        {Parameter<Smooth, &Smooth::GetWidth, &Smooth::SetWidth>("width", "s", kPeriods,
                                                                 "the length of the window"),
         Parameter<Smooth, &Smooth::GetSampleCount, &Smooth::SetSampleCount>(
             "samples", "", kCounts, "samples in the window, less one"),
         Parameter<Smooth, &Smooth::GetUseQuaternion, &Smooth::SetUseQuaternion>(
             "quaternion", "", kFlag, "whether orientations are smoothed instead of angles")},
        [](const FilterProgress&) -> std::unique_ptr<GlissaFilter> {
            // Off, unlike in the class: it replaces the keys of a rotation.
            auto smooth = std::make_unique<Smooth>();
            smooth->SetUseQuaternion(false);
            return smooth;
        },
        &SetSpan};
    entry.mAtPlotPeriod = true;
    entry.mByOrientation = [](GlissaFilter& pFilter) {
        return static_cast<Smooth&>(pFilter).GetUseQuaternion();
    };
    return entry;
}

std::vector<FilterEntry> OtherFilters()
{
    using Butterworth = GlissaFilterButterworth;
    using Clamp = GlissaFilterClamp;
    using Constant = GlissaFilterConstantKeyReducer;
    using Delete = GlissaFilterDeleteKey;
    using Gaussian = GlissaFilterGaussian;
    using Inverse = GlissaFilterInverse;
    using OnFrame = GlissaFilterKeysOnFrame;
    using Offset = GlissaFilterOffset;
    using Peak = GlissaFilterPeakRemover;
    using Reducer = GlissaFilterKeyReducer;
    using Resample = GlissaFilterResample;
    using Scale = GlissaFilterScale;
    using Smooth2 = GlissaFilterSmooth2;
    using Sync = GlissaFilterKeySync;
    using Retime = GlissaFilterTimeShiftAndScale;
    using TimeClamp = GlissaFilterTimeClamp;

    const FilterRange orders = {0.0, Butterworth::kGreatestOrder};

    return {
        {"unspike",
         "Puts keys that stick out on the line between their neighbours",
         "Every key of the span becomes automatic. A peak at the first or last key is kept.",
         FilterScope::curve,
         FilterSpan::inward,
         true,
         {Parameter<Peak, &Peak::GetValueTolerance, &Peak::SetValueTolerance>(
              "value", "", kNotNegative,
              "how many times the mean squared spread of slopes a spike exceeds; lower finds more, "
              "start at 4"),
          Parameter<Peak, &Peak::GetTimeTolerance, &Peak::SetTimeTolerance>(
              "time", "", {0.0, 1e6},
              "how far a key looks: the square root of this, in mean distances of keys")},
         &Make<Peak>,
         &SetSpan},
        ByOrientation(
            {"gaussian",
             "Smooths without delay, keys keep their times and kinds",
             "A wave of f hertz keeps exp(-2 (pi f width)^2) of its amplitude. A curve arrives "
             "flat at "
             "its first and last key. Rotations whose three angles are chosen are smoothed by "
             "their "
             "orientations, a single angle by itself.",
             FilterScope::curve,
             FilterSpan::inward,
             true,
             {InFrames(Parameter<Gaussian, &Gaussian::GetStandardDeviation,
                                 &Gaussian::SetStandardDeviation>(
                           "width", "s", kPeriods, "the standard deviation of the Gaussian"),
                       1.0),
              Dense(FilterDensity::samples,
                    InFrames(
                        Parameter<Gaussian, &Gaussian::GetSamplingRate, &Gaussian::SetSamplingRate>(
                            "rate", "Hz", kRates, "samples of the curve a second"),
                        4.0))},
             &Make<Gaussian>,
             &SetSpan}),
        {"butterworth",
         "A low-pass without delay; the span gets new keys at a rate",
         "The cut-off is where half of the amplitude is left (-6 dB). Keys become automatic. "
         "Angles with jumps of 360 degrees are smoothed across the jump. A span inside a curve "
         "ends "
         "in a step; gaussian has none.",
         FilterScope::curve,
         FilterSpan::inward,
         true,
         {Property<kCutOff>("cutoff", FilterValue::number, "Hz", kRates,
                            "frequency that keeps half of its amplitude"),
          Property<kOrder>("order", FilterValue::whole, "", orders, "the steepness"),
          Dense(FilterDensity::keys,
                InFrames(Property<kKeyRate>("rate", FilterValue::number, "Hz", kRates,
                                            "keys a second of the result"),
                         1.0)),
          Dense(FilterDensity::samples,
                Property<kInternalRate>(
                    "internal", FilterValue::number, "Hz", kRates,
                    "samples a second that are filtered; above twice the cut-off")),
          Property<kOnFrames>("onframe", FilterValue::flag, "", kFlag,
                              "whether the first new key moves to a whole period")},
         &Make<Butterworth>,
         &SetSpanProperties},
        SmoothEntry(),
        {"damp",
         "Smooths the three curves of a translation as one moving point",
         "Lags behind steady motion by a constant amount.",
         FilterScope::vector,
         FilterSpan::inward,
         true,
         {Parameter<Smooth2, &Smooth2::GetWidth, &Smooth2::SetWidth>(
              "width", "s", kPeriods, "the window that the velocity is measured in"),
          Parameter<Smooth2, &Smooth2::GetFactor, &Smooth2::SetFactor>(
              "factor", "", kNotNegative, "how many times the mean speed the point may reach"),
          Parameter<Smooth2, &Smooth2::GetSampleCount, &Smooth2::SetSampleCount>(
              "samples", "", kCounts, "samples in the window")},
         &Make<Smooth2>,
         &SetSpan},
        {"reduce",
         "Rebuilds the curve from few keys that pass within a precision of every old key",
         "Only the old keys are tested, not the curve between them, and all keys become cubic: a "
         "stepped curve becomes a smooth one.",
         FilterScope::curve,
         FilterSpan::inward,
         false,
         {Parameter<Reducer, &Reducer::GetPrecision, &Reducer::SetPrecision>(
             "precision", "value", kNotNegative, "the greatest distance from an old key")},
         &MakeReducer,
         &SetSpan},
        {"constant",
         "Removes keys where the curve has the same value",
         "A flat beginning or end is removed too, and so is the only key of a curve (unless "
         "keepone is on).",
         FilterScope::leaf,
         // Stepped curves are reduced whatever the span, and a flat stretch that fills the span
         // loses the keys at its ends: a span would not be kept.
         FilterSpan::none,
         false,
         {{"value", FilterValue::number, "value",
           "the greatest change of a flat stretch; without it 0.00009 for translations, 0.009 for "
           "rotations, 0.004 for scalings",
           0.0, kGreatestFloat, 0.0, false, &NoDefault, &SetThresholds},
          Parameter<Constant, &Constant::GetKeepOneKey, &Constant::SetKeepOneKey>(
              "keepone", "", kFlag, "whether a flat curve keeps its first key")},
         &Make<Constant>,
         &SetSpan},
        {"resample",
         "Puts keys at even distances",
         "Keys become automatic unless smart is on, which keeps kinds but drops weights.",
         FilterScope::curve,
         FilterSpan::inward,
         true,
         {Dense(FilterDensity::keys,
                InFrames(Parameter<Resample, &Resample::GetPeriodTime, &Resample::SetPeriodTime>(
                             "period", "s", kPeriods, "the distance of the new keys"),
                         1.0)),
          Parameter<Resample, &Resample::GetKeysOnFrame, &Resample::SetKeysOnFrame>(
              "onframe", "", kFlag, "whether the first new key moves to a whole period"),
          Parameter<Resample, &Resample::GetIntelligentMode, &Resample::SetIntelligentMode>(
              "smart", "", kFlag, "whether new keys take the kind of the key before them")},
         &Make<Resample>,
         &SetSpan},
        {"frames",
         "Moves keys to the nearest whole period",
         "A key that would reach another one is not moved, and neither is a last key that would "
         "move up. No key is taken away: resample has fewer keys.",
         FilterScope::curve,
         FilterSpan::inward,
         false,
         {InFrames({"period", FilterValue::seconds, "s", "the distance of whole periods", kTick,
                    kMostSeconds, 0.0, false, &NoDefault,
                    [](GlissaFilter& pFilter, const double* pNumbers) {
                        KTime period = KTime::FromSeconds(*pNumbers);
                        static_cast<OnFrame&>(pFilter).SetPeriod(period);
                    }},
                   1.0)},
         &Make<OnFrame>,
         &SetSpan},
        {"sync",
         "Gives the curves of a node keys at the same times",
         "Adds keys only; curves keep their shape.",
         FilterScope::vector,
         FilterSpan::inward,
         false,
         {},
         &Make<Sync>,
         &SetSpan},
        TransformEntry(),
        {"offset",
         "Adds a number to the values",
         "",
         FilterScope::curve,
         FilterSpan::outward,
         false,
         {Required(Parameter<Offset, &Offset::GetOffset, &Offset::SetOffset>("by", "value", kAny,
                                                                             "the number, not 0"),
                   {0.0})},
         &Make<Offset>,
         &SetSpan},
        {"scale",
         "Multiplies the values by a factor",
         "Slopes of user tangents are not multiplied unless tangents is on.",
         FilterScope::curve,
         FilterSpan::outward,
         false,
         {Required(Parameter<Scale, &Scale::GetScale, &Scale::SetScale>("by", "", kAny,
                                                                        "the factor, not 0 or 1"),
                   {0.0, 1.0}),
          Parameter<Scale, &Scale::GetApplyTangent, &Scale::SetApplyTangent>(
              "tangents", "", kFlag, "whether slopes are multiplied too")},
         &Make<Scale>,
         &SetSpan},
        {"inverse",
         "Mirrors the values: a top less the value",
         "Slopes of user tangents are kept: in the mirrored curve they have the wrong sign.",
         FilterScope::curve,
         FilterSpan::outward,
         false,
         {Required(Parameter<Inverse, &Inverse::GetTopRange, &Inverse::SetTopRange>(
             "top", "value", kAny, "the value that 0 becomes"))},
         &Make<Inverse>,
         &SetSpan},
        {"clamp",
         "Limits the values; keys are added where the curve crosses a limit",
         "Keys beyond a limit are removed, stepped ones too.",
         FilterScope::curve,
         FilterSpan::outward,
         false,
         {{"ceil", FilterValue::number, "value", "the greatest value; no limit without it",
           -kGreatestFloat, kGreatestFloat, 0.0, false, &NoDefault, &SetCeil},
          {"floor", FilterValue::number, "value", "the least value; no limit without it",
           -kGreatestFloat, kGreatestFloat, 0.0, false, &NoDefault, &SetFloor}},
         &Make<Clamp>,
         &SetSpan,
         true},
        {"delete",
         "Removes the keys of the span",
         "With cut the keys behind the span move to its start: filter all channels of a joint "
         "with the same span.",
         FilterScope::curve,
         FilterSpan::inward,
         false,
         // Off, unlike in the class: it shifts the curves that are filtered against the others.
         {MovesTime(Parameter<Delete, &Delete::GetCutTimeInterval, &Delete::SetCutTimeInterval>(
             "cut", "", kFlag, "whether the time of the span is removed as well"))},
         &MakeDelete,
         &SetSpan,
         false,
         true},
        {"timeclamp",
         "Removes the keys strictly between two times",
         "It removes the keys between them, not those outside. Without one of the two, from "
         "the first or up to the last key.",
         FilterScope::curve,
         FilterSpan::none,
         false,
         {Parameter<TimeClamp, &TimeClamp::GetMin, &TimeClamp::SetMin>("min", "s", kTimes,
                                                                       "the first time"),
          Parameter<TimeClamp, &TimeClamp::GetMax, &TimeClamp::SetMax>("max", "s", kTimes,
                                                                       "the last time")},
         &Make<TimeClamp>,
         &SetSpan,
         true},
        {"retime",
         "Shifts all keys in time, then scales their times around 0 seconds",
         "Slopes are units a second and are kept, so curves with user tangents change their shape "
         "when they "
         "are scaled.",
         FilterScope::curve,
         FilterSpan::none,
         false,
         {MovesTime(Parameter<Retime, &Retime::GetShift, &Retime::SetShift>("shift", "s", kTimes,
                                                                            "added to the times")),
          MovesTime(Parameter<Retime, &Retime::GetScale, &Retime::SetScale>(
              "scale", "", {kTick, 1e9}, "the factor of the times"))},
         &Make<Retime>,
         &SetSpan,
         true},
    };
}

std::vector<FilterEntry> MakeTable()
{
    std::vector<FilterEntry> table = RotationFilters();
    std::vector<FilterEntry> others = OtherFilters();
    std::move(others.begin(), others.end(), std::back_inserter(table));
    return table;
}
}  // namespace

bool FilterEntry::MakesKeys() const
{
    return std::any_of(mParameters.begin(), mParameters.end(), [](const FilterParameter& pEach) {
        return pEach.mDensity == FilterDensity::keys;
    });
}

const FilterParameter* FilterEntry::Find(std::string_view pName) const
{
    const auto found =
        std::find_if(mParameters.begin(), mParameters.end(),
                     [&](const FilterParameter& pEach) { return pEach.mName == pName; });
    return found == mParameters.end() ? nullptr : &*found;
}

double FilterEntry::DefaultOf(const FilterParameter& pParameter, KTime pFrame) const
{
    const double frame = pFrame.GetSecondDouble();
    if (pParameter.mFrames != 0.0 && frame > 0.0) {
        return pParameter.mUnit[0] == 's' ? pParameter.mFrames * frame : pParameter.mFrames / frame;
    }
    const double number = pParameter.mGet(*mMake({}));
    // An endless time is no value that can be set.
    return number < pParameter.mLeast || number > pParameter.mGreatest
               ? std::numeric_limits<double>::quiet_NaN()
               : number;
}

const std::vector<FilterEntry>& FilterTable()
{
    static const std::vector<FilterEntry> table = MakeTable();
    return table;
}

const FilterEntry* FindFilter(std::string_view pName)
{
    const std::vector<FilterEntry>& table = FilterTable();
    const auto found = std::find_if(table.begin(), table.end(),
                                    [&](const FilterEntry& pEach) { return pEach.mName == pName; });
    return found == table.end() ? nullptr : &*found;
}
