// Copyright (c) 2026 The glissa authors
// SPDX-License-Identifier: MIT

#include "io/filter_table.h"

#include "glissa/glissa.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <type_traits>
#include <utility>

namespace
{
constexpr double kGreatestFloat = std::numeric_limits<float>::max();
/// The shortest time, and the longest one that users mean.
constexpr double kTick = 1.0 / 141120000.0;
constexpr double kMostSeconds = 1e9;
constexpr double kLeastRate = 1e-6;
constexpr double kMostRate = 1e6;
constexpr double kMostCount = 1000.0;

template <typename T>
T FromNumber(double pNumber)
{
    if constexpr (std::is_same_v<T, KTime>) {
        return KTime::FromSeconds(pNumber);
    } else if constexpr (std::is_same_v<T, bool>) {
        return pNumber != 0.0;
    } else {
        return static_cast<T>(pNumber);
    }
}

template <typename T>
double ToNumber(const T& pValue)
{
    if constexpr (std::is_same_v<T, KTime>) {
        return pValue.GetSecondDouble();
    } else {
        return static_cast<double>(pValue);
    }
}

template <typename T>
constexpr FilterValue kValueOf = std::is_same_v<T, KTime>  ? FilterValue::seconds
                                 : std::is_same_v<T, bool> ? FilterValue::flag
                                 : std::is_same_v<T, int>  ? FilterValue::whole
                                                           : FilterValue::number;

/// Where the value of a parameter is read and written: a pair of accessors of the filter's class.
template <typename Filter, auto Get, auto Set>
struct Accessors
{
    using Type = std::decay_t<std::invoke_result_t<decltype(Get), Filter&>>;
    static double Read(GlissaFilter& pFilter)
    {
        return ToNumber<Type>((static_cast<Filter&>(pFilter).*Get)());
    }
    static void Write(GlissaFilter& pFilter, double pNumber)
    {
        Type value = FromNumber<Type>(pNumber);
        (static_cast<Filter&>(pFilter).*Set)(value);
    }
};

struct Range
{
    double mLeast;
    double mGreatest;
};
constexpr Range kAny = {-kGreatestFloat, kGreatestFloat};
constexpr Range kNotNegative = {0.0, kGreatestFloat};
constexpr Range kTimes = {-kMostSeconds, kMostSeconds};
constexpr Range kPeriods = {kTick, kMostSeconds};
constexpr Range kRates = {kLeastRate, kMostRate};
constexpr Range kFlag = {0.0, 1.0};

/// A parameter that a pair of accessors holds.
template <typename Filter, auto Get, auto Set>
FilterParameter Parameter(const char* pName, const char* pUnit, Range pRange, const char* pMeaning)
{
    using Pair = Accessors<Filter, Get, Set>;
    return {pName,         kValueOf<typename Pair::Type>,
            pUnit,         pMeaning,
            pRange.mLeast, pRange.mGreatest,
            0.0,           false,
            &Pair::Read,   &Pair::Write};
}

FilterParameter Required(FilterParameter pParameter, std::vector<double> pIdle = {})
{
    pParameter.mRequired = true;
    pParameter.mIdle = std::move(pIdle);
    return pParameter;
}

FilterParameter InFrames(FilterParameter pParameter, double pFrames)
{
    pParameter.mFrames = pFrames;
    return pParameter;
}

FilterParameter MovesTime(FilterParameter pParameter)
{
    pParameter.mMovesTime = true;
    return pParameter;
}

FilterParameter Dense(FilterDensity pDensity, FilterParameter pParameter)
{
    pParameter.mDensity = pDensity;
    return pParameter;
}

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
void WriteProperty(GlissaFilter& pFilter, double pNumber)
{
    pFilter.FastFindPropertyByName(Name)->SetPropertyConstant(&pNumber);
}

template <const char* Name>
FilterParameter Property(const char* pName, FilterValue pValue, const char* pUnit, Range pRange,
                         const char* pMeaning)
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

void SetSpan(GlissaFilter& pFilter, KTime pStart, KTime pStop)
{
    pFilter.SetStartTime(pStart);
    pFilter.SetStopTime(pStop);
}

// The limits of a clamp and of a removal are off until they are given.

void SetCeil(GlissaFilter& pFilter, double pNumber)
{
    auto& clamp = static_cast<GlissaFilterClamp&>(pFilter);
    clamp.SetCeil(pNumber);
    clamp.SetApplyCeilClamping(true);
}

void SetFloor(GlissaFilter& pFilter, double pNumber)
{
    auto& clamp = static_cast<GlissaFilterClamp&>(pFilter);
    clamp.SetFloor(pNumber);
    clamp.SetApplyFloorClamping(true);
}

// One tolerance for all channels, in place of one by the kind of channel.
void SetThresholds(GlissaFilter& pFilter, double pNumber)
{
    auto& reducer = static_cast<GlissaFilterConstantKeyReducer&>(pFilter);
    reducer.SetValueTolerance(pNumber);
    reducer.SetTranslationThreshold(pNumber);
    reducer.SetRotationThreshold(pNumber);
    reducer.SetScalingThreshold(pNumber);
    reducer.SetDefaultThreshold(pNumber);
}

// A limit of one angle of a joint, off until it is given.

enum class Bound
{
    min,
    max
};

template <Bound Side, int Axis>
void SetLimit(GlissaFilter& pFilter, double pNumber)
{
    using Dof = GlissaFilterUnrollDof;
    auto& unroll = static_cast<Dof&>(pFilter);
    constexpr bool kIsMin = Side == Bound::min;
    double limits[3];
    kIsMin ? unroll.GetMinFreedom(limits[0], limits[1], limits[2])
           : unroll.GetMaxFreedom(limits[0], limits[1], limits[2]);
    limits[Axis] = pNumber;
    kIsMin ? unroll.SetMinFreedom(limits[0], limits[1], limits[2])
           : unroll.SetMaxFreedom(limits[0], limits[1], limits[2]);
    constexpr void (Dof::*kEnable[2][3])(bool) = {
        {&Dof::SetEnableMinX, &Dof::SetEnableMinY, &Dof::SetEnableMinZ},
        {&Dof::SetEnableMaxX, &Dof::SetEnableMaxY, &Dof::SetEnableMaxZ}};
    (unroll.*kEnable[kIsMin ? 0 : 1][Axis])(true);
}

double NoDefault(GlissaFilter&)
{
    return std::numeric_limits<double>::quiet_NaN();
}

template <Bound Side, int Axis>
FilterParameter Limit(const char* pName, const char* pMeaning)
{
    constexpr double kMostDegrees = 1e6;
    return {pName,         FilterValue::number,  "degrees", pMeaning,
            -kMostDegrees, kMostDegrees,         0.0,       false,
            &NoDefault,    &SetLimit<Side, Axis>};
}

/// How unroll chooses what the next key is brought next to.
template <typename Filter>
std::vector<FilterParameter> UnrollParameters()
{
    return {Parameter<Filter, &Filter::GetTestForPath, &Filter::SetTestForPath>(
                "path", "", kFlag,
                "whether a key far away as angles and near as a rotation is no reference for the "
                "next"),
            Parameter<Filter, &Filter::GetQualityTolerance, &Filter::SetQualityTolerance>(
                "quality", "", kNotNegative,
                "with path: the squared turn over the squared distance of angles that makes a key "
                "a reference")};
}

std::vector<FilterParameter> LimitParameters()
{
    using Dof = GlissaFilterUnrollDof;
    std::vector<FilterParameter> parameters = {Limit<Bound::min, 0>("minx", "the least X"),
                                               Limit<Bound::max, 0>("maxx", "the greatest X"),
                                               Limit<Bound::min, 1>("miny", "the least Y"),
                                               Limit<Bound::max, 1>("maxy", "the greatest Y"),
                                               Limit<Bound::min, 2>("minz", "the least Z"),
                                               Limit<Bound::max, 2>("maxz", "the greatest Z")};
    for (const FilterParameter& each : UnrollParameters<Dof>()) {
        parameters.push_back(each);
    }
    return parameters;
}

template <typename Filter>
std::unique_ptr<GlissaFilter> Make(const FilterProgress&)
{
    auto filter = std::make_unique<Filter>();
    // Not every constructor sets the unbounded span.
    filter->Reset();
    return filter;
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

std::vector<FilterEntry> MakeTable()
{
    using Butterworth = GlissaFilterButterworth;
    using Clamp = GlissaFilterClamp;
    using Constant = GlissaFilterConstantKeyReducer;
    using Delete = GlissaFilterDeleteKey;
    using Gaussian = GlissaFilterGaussian;
    using Inverse = GlissaFilterInverse;
    using Killer = GlissaFilterGimbleKiller;
    using Killer2 = GlissaFilterGimbleKiller2;
    using OnFrame = GlissaFilterKeysOnFrame;
    using Offset = GlissaFilterOffset;
    using Peak = GlissaFilterPeakRemover;
    using Reducer = GlissaFilterKeyReducer;
    using Resample = GlissaFilterResample;
    using Scale = GlissaFilterScale;
    using Smooth = GlissaFilterSmooth;
    using Smooth2 = GlissaFilterSmooth2;
    using Sync = GlissaFilterKeySync;
    using Retime = GlissaFilterTimeShiftAndScale;
    using TimeClamp = GlissaFilterTimeClamp;

    const Range orders = {0.0, Butterworth::kGreatestOrder};
    const Range counts = {0.0, kMostCount};

    return {
        {"unroll", "Removes jumps of 360 degrees from rotations",
         "Whole turns between two keys are taken away, and the first key comes next to 0. Keys "
         "after a span follow by whole turns.",
         FilterScope::rotation, FilterSpan::inward, false, UnrollParameters<GlissaFilterUnroll>(),
         &Make<GlissaFilterUnroll>, &SetSpan},
        {"unroll-limits", "Removes jumps as unroll does, with angles within limits where possible",
         "A key that has no angles within all limits ignores them.", FilterScope::rotation,
         FilterSpan::inward, false, LimitParameters(), &Make<GlissaFilterUnrollDof>, &SetSpan},
        {"gimbal",
         "Adds keys to rotations so that they take the shortest way from key to key",
         "A key at each 8 degrees or so. Every key of the span becomes automatic: steps become "
         "ramps.",
         FilterScope::rotation,
         FilterSpan::inward,
         false,
         {Parameter<Killer, &Killer::GetApplyKeySyncFilter, &Killer::SetApplyKeySyncFilter>(
             "sync", "", kFlag, "whether the angles get keys at the same times first")},
         &Make<Killer>,
         &SetSpan},
        {"gimbal2",
         "Brings rotations after a run of keys near gimbal lock next to those before it",
         "Unrolls between such runs and adds no key; keys in them keep their angles.",
         FilterScope::rotation,
         // Only the search for runs keeps to a span.
         FilterSpan::none,
         false,
         {Parameter<Killer2, &Killer2::GetInterpolationQualityTolerance,
                    &Killer2::SetInterpolationQualityTolerance>(
             "quality", "", kNotNegative,
             "the squared turn over the squared distance of angles below which a key is in a run")},
         &Make<Killer2>,
         &SetSpan},
        {"roll",
         "Folds rotations into -180 to 180 degrees and holds the steps",
         "Keys around a step become linear and constant. A constant key that was automatic holds "
         "the next value.",
         FilterScope::rotation,
         FilterSpan::none,
         false,
         {},
         &Make<GlissaFilterRoll>,
         &SetSpan},
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
        {"gaussian",
         "Smooths without delay, keys keep their times and kinds",
         "A wave of f hertz keeps exp(-2 (pi f width)^2) of its amplitude. A curve arrives flat at "
         "its first and last key.",
         FilterScope::curve,
         FilterSpan::inward,
         true,
         {InFrames(
              Parameter<Gaussian, &Gaussian::GetStandardDeviation, &Gaussian::SetStandardDeviation>(
                  "width", "s", kPeriods, "the standard deviation of the Gaussian"),
              1.0),
          Dense(
              FilterDensity::samples,
              InFrames(Parameter<Gaussian, &Gaussian::GetSamplingRate, &Gaussian::SetSamplingRate>(
                           "rate", "Hz", kRates, "samples of the curve a second"),
                       4.0))},
         &Make<Gaussian>,
         &SetSpan},
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
        {"smooth",
         "Replaces each key by the mean of a window around it (for results of older scenes)",
         "The rim of the window weighs more than its middle: waves as long as the window come out "
         "inverted, and each run delays. The angles of a rotation are smoothed one by one. Take "
         "gaussian for new work.",
         FilterScope::curve,
         FilterSpan::inward,
         true,
         {Parameter<Smooth, &Smooth::GetWidth, &Smooth::SetWidth>("width", "s", kPeriods,
                                                                  "the length of the window"),
          Parameter<Smooth, &Smooth::GetSampleCount, &Smooth::SetSampleCount>(
              "samples", "", counts, "samples in the window, less one")},
         &Make<Smooth>,
         &SetSpan},
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
              "samples", "", counts, "samples in the window")},
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
                    [](GlissaFilter& pFilter, double pNumber) {
                        KTime period = KTime::FromSeconds(pNumber);
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
