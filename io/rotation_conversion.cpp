// Copyright (c) 2026 The glissa authors
// SPDX-License-Identifier: MIT

// The matrix converter of the library replaces curves, and samples at even distances only. It is
// therefore applied to a copy of each rotation, keys between the frames are added, and the result
// is copied back to the curves of the clip. Then both clips are evaluated and compared.

#include "io/rotation_conversion.h"

#include "corvekit/math/rotation_order.h"
#include "glissa/curve/curve.h"
#include "glissa/filter/matrix_converter.h"
#include "glissa/filter/unroll.h"
#include "glissa/node/node.h"
#include "io/clip_store.h"

#include <algorithm>
#include <cmath>
#include <iterator>
#include <memory>
#include <utility>

namespace
{
constexpr int kAxes = 3;

struct DestroyNode
{
    void operator()(GlissaNode* pNode) const { pNode->Destroy(); }
};

/// A transform of its own with a copy of the rotation of a joint. Translation and scaling, which
/// the converter asks for, have no keys.
class RotationCopy
{
public:
    RotationCopy(GlissaNode& pRotation, std::size_t pJoint)
        : mJoint(pJoint),
          mRoot(GlissaNodeCreate("Copy", nullptr, eLayerTypeValue, GlissaLayerInfo::Base))
    {
        AddNode(KDataTypeLclTranslation, "T", 0.0);
        mRotation = AddNode(KDataTypeLclRotation, "R", 0.0);
        AddNode(KDataTypeLclScaling, "S", 1.0);
        mRotation->SetRotationOrder(pRotation.GetRotationOrder());
        for (int axis = 0; axis < kAxes; ++axis) {
            GetCurve(axis)->CopyFrom(*pRotation.Get(axis)->FCurveGet(), true);
        }
    }

    std::size_t GetJoint() const { return mJoint; }
    GlissaNode& GetRoot() { return *mRoot; }
    GlissaNode& GetRotation() { return *mRotation; }
    Glissa* GetCurve(int pAxis) const { return mRotation->Get(pAxis)->FCurveGet(); }
    KVdRotationOrder GetOrder() const { return KVdRotationOrder(mRotation->GetRotationOrder()); }
    RotationCurves GetCurves() const
    {
        return {{GetCurve(0), GetCurve(1), GetCurve(2)}, GetOrder(), {}};
    }

    /// The times of the keys of all three curves, ascending.
    std::vector<KTime> GetKeyTimes() const
    {
        std::vector<KTime> times;
        for (int axis = 0; axis < kAxes; ++axis) {
            for (int i = 0; i < GetCurve(axis)->KeyGetCount(); ++i) {
                times.push_back(GetCurve(axis)->KeyGetTime(i));
            }
        }
        std::sort(times.begin(), times.end());
        times.erase(std::unique(times.begin(), times.end()), times.end());
        return times;
    }

private:
    GlissaNode* AddNode(KDataType* pType, const char* pName, double pValue)
    {
        GlissaNode* const node = FCurveNodeCreateFromDataType(pType, pName);
        try {
            mRoot->Add(node);
        } catch (...) {
            node->Destroy();
            throw;
        }
        node->CreateFCurve();
        for (int axis = 0; axis < kAxes; ++axis) {
            node->Get(axis)->FCurveGet()->SetValue(static_cast<float>(pValue));
        }
        return node;
    }

    std::size_t mJoint;
    std::unique_ptr<GlissaNode, DestroyNode> mRoot;
    GlissaNode* mRotation = nullptr;
};

// Why a rotation cannot be converted, or nothing.
std::string ObstacleOf(GlissaNode& pRotation)
{
    if (pRotation.LayerGet()) {
        return "has layers, whose angles are those of its order; write the clip as BVH first, "
               "which "
               "blends the layers";
    }
    if (pRotation.GetUseQuaternion()) {
        return "is evaluated as a path of quaternions, which another order does not keep; write "
               "the "
               "clip as BVH first";
    }
    bool isLocked = pRotation.IsNodeLocked();
    for (int axis = 0; axis < kAxes; ++axis) {
        isLocked = isLocked || pRotation.Get(axis)->IsNodeLocked() ||
                   pRotation.Get(axis)->FCurveGet()->IsLocked();
    }
    return isLocked ? "is locked; unlock it first" : "";
}

// About the keys that a rotation will have.
double CountKeys(const std::vector<KTime>& pTimes, KTime pPeriod)
{
    if (pTimes.empty()) {
        return 0.0;
    }
    const double seconds = (pTimes.back() - pTimes.front()).GetSecondDouble();
    return kAxes * (seconds / pPeriod.GetSecondDouble() + static_cast<double>(pTimes.size()));
}

bool HasKeyAt(Glissa& pCurve, KTime pTime)
{
    const int index = static_cast<int>(std::lround(pCurve.KeyFind(pTime, nullptr)));
    return index >= 0 && index < pCurve.KeyGetCount() && pCurve.KeyGetTime(index) == pTime;
}

// Gives a converted rotation a key at a time of the old one where it has none.
void AddKey(RotationCurves& pBefore, RotationCurves& pAfter, KTime pTime,
            GlissaFilterMatrixConverter& pConverter)
{
    if (HasKeyAt(*pAfter.mCurves[0], pTime)) {
        return;
    }
    KgeRVector angles;
    pAfter.mOrder.M2V(angles, pBefore.At(pTime));
    unsigned interpolation[kAxes];
    unsigned tangentMode[kAxes];
    pConverter.FillInterpAndTangeant(pTime, pBefore.mCurves.data(), interpolation, tangentMode);
    int index = 0;
    for (Glissa* const each : pAfter.mCurves) {
        index = each->KeyAdd(pTime);
    }
    pConverter.SetDestFCurve(pAfter.mCurves.data(), index, pTime, angles.Data(), interpolation,
                             tangentMode);
}

// Slopes of user tangents, and the parameters of others, belong to the angles of the old order.
void MakeCubicKeysAutomatic(Glissa& pCurve)
{
    for (int i = 0; i < pCurve.KeyGetCount(); ++i) {
        if (pCurve.KeyGetInterpolation(i) == eInterpolationCubic) {
            pCurve.KeySetTangeantMode(i, eTangentAuto);
        }
    }
}

// Converts pAfter, an equal copy of pBefore.
void Convert(RotationCopy& pBefore, RotationCopy& pAfter, int pOrder, KTime pPeriod)
{
    GlissaFilterMatrixConverter converter;
    converter.SetResamplingPeriod(pPeriod);
    converter.SetSrcRotateOrder(pAfter.GetOrder().GetOrder());
    converter.SetDestRotateOrder(pOrder);
    converter.SetResampleTranslation(false);
    // These would work on the frames alone, and remove keys.
    converter.SetApplyUnroll(false);
    converter.SetApplyConstantKeyReducer(false);
    converter.Apply(pAfter.GetRoot(), true);

    const std::vector<KTime> times = pBefore.GetKeyTimes();
    RotationCurves before = pBefore.GetCurves();
    RotationCurves after = pAfter.GetCurves();
    for (const KTime time : times) {
        AddKey(before, after, time, converter);
    }
    for (int axis = 0; axis < kAxes && !times.empty(); ++axis) {
        // The samples begin at the frame before the first key.
        Glissa& curve = *pAfter.GetCurve(axis);
        while (curve.KeyGetTime(0) < times.front()) {
            curve.KeyRemove(0);
        }
    }
    GlissaFilterUnroll unroll;
    unroll.SetTestForPath(false);
    unroll.Apply(pAfter.GetRotation(), true);
    for (int axis = 0; axis < kAxes; ++axis) {
        MakeCubicKeysAutomatic(*pAfter.GetCurve(axis));
    }
}

// The rotation channels of an order in the places of those that there are, the others behind the
// last of these. The last channel is the one that is applied first.
std::vector<EClipChannel> ChannelsInOrder(const std::vector<EClipChannel>& pChannels, int pOrder)
{
    const KVdRotationOrder order(pOrder);
    int left = kAxes;
    const auto next = [&] {
        return static_cast<EClipChannel>(eClipRotationX + order.GetAxes()[--left]);
    };
    std::vector<EClipChannel> channels;
    std::size_t end = 0;
    for (const EClipChannel each : pChannels) {
        channels.push_back(IsRotation(each) ? next() : each);
        end = IsRotation(each) ? channels.size() : end;
    }
    while (left > 0) {
        channels.insert(channels.begin() + static_cast<std::ptrdiff_t>(end++), next());
    }
    return channels;
}

enum class Change
{
    none,
    channels,  // more channels, the same angles
    angles
};

// A clip with the rotation channels of an order for some joints. The recorded values, if there are
// any, are those of pClip, and those of the curves for new channels and changed angles.
Clip Rearranged(const Clip& pClip, const NodeClip& pNodes, const std::vector<Change>& pChanges,
                int pOrder)
{
    Clip clip = pClip;
    std::vector<int> sources;  // columns of pClip, or -1
    std::vector<Glissa*> curves;
    for (std::size_t i = 0; i < clip.mJoints.size(); ++i) {
        ClipJoint& joint = clip.mJoints[i];
        const std::vector<EClipChannel>& old = pClip.mJoints[i].mChannels;
        if (pChanges[i] != Change::none) {
            joint.mChannels = ChannelsInOrder(old, pOrder);
            joint.mRotationOrder = pOrder;
        }
        joint.mFirstChannel = static_cast<int>(sources.size());
        for (const EClipChannel each : joint.mChannels) {
            const auto found = std::find(old.begin(), old.end(), each);
            const bool isKept =
                found != old.end() && !(pChanges[i] == Change::angles && IsRotation(each));
            sources.push_back(isKept ? pClip.mJoints[i].mFirstChannel +
                                           static_cast<int>(found - old.begin())
                                     : -1);
            curves.push_back(pNodes.GetChannel(i, each)->FCurveGet());
        }
    }
    clip.mChannelCount = static_cast<int>(sources.size());
    if (pClip.mValues.empty()) {
        return clip;
    }
    clip.mValues.clear();
    clip.mValues.reserve(static_cast<std::size_t>(clip.mFrameCount) * sources.size());
    std::vector<int> hints(sources.size(), 0);
    for (int frame = 0; frame < clip.mFrameCount; ++frame) {
        for (std::size_t i = 0; i < sources.size(); ++i) {
            clip.mValues.push_back(sources[i] >= 0 ? pClip.GetValue(frame, sources[i])
                                                   : ShortestDouble(curves[i]->Evaluate(
                                                         clip.GetTime(frame), &hints[i])));
        }
    }
    return clip;
}

// The frames of a clip and the times of the keys of rotations, ascending.
std::vector<KTime> TimesToCompare(const Clip& pClip,
                                  const std::vector<std::unique_ptr<RotationCopy>>& pBefore)
{
    std::vector<KTime> times;
    for (int frame = 0; frame < pClip.mFrameCount; ++frame) {
        times.push_back(pClip.GetTime(frame));
    }
    for (const std::unique_ptr<RotationCopy>& each : pBefore) {
        const std::vector<KTime> keys = each->GetKeyTimes();
        std::vector<KTime> both;
        both.reserve(std::max(times.size(), keys.size()));
        std::set_union(times.begin(), times.end(), keys.begin(), keys.end(),
                       std::back_inserter(both));
        times = std::move(both);
    }
    return times;
}

/// Reports the parts of a work.
class Steps
{
public:
    Steps(const std::function<void(double)>& pProgress, std::size_t pCount)
        : mProgress(pProgress), mCount(static_cast<double>(pCount))
    {}

    void Done()
    {
        mDone += 1.0;
        if (mProgress) {
            mProgress(mDone / mCount);
        }
    }

private:
    const std::function<void(double)>& mProgress;
    double mCount;
    double mDone = 0.0;
};
}  // namespace

IoResult<RotationConversion> ConvertRotations(Clip& pClip, CurveClip& pCurves,
                                              const std::vector<std::size_t>& pJoints, int pOrder,
                                              std::int64_t pMostKeys, const std::string& pFileName,
                                              const std::function<void(double)>& pProgress)
{
    const NodeClip& nodes = pCurves.GetNodes();
    RotationConversion result;
    std::vector<std::unique_ptr<RotationCopy>> before;
    std::vector<Change> changes(pClip.mJoints.size(), Change::none);
    double keys = 0.0;
    for (const std::size_t index : pJoints) {
        const ClipJoint& joint = pClip.mJoints[index];
        const auto channels = std::count_if(joint.mChannels.begin(), joint.mChannels.end(),
                                            [](EClipChannel pEach) { return IsRotation(pEach); });
        result.mAddedChannels += kAxes - static_cast<int>(channels);
        if (joint.mRotationOrder == pOrder) {
            changes[index] = channels == kAxes ? Change::none : Change::channels;
            result.mUnchanged += 1;
            continue;
        }
        GlissaNode& rotation = *nodes.GetTransform(index, KDataTypeLclRotation);
        if (const std::string obstacle = ObstacleOf(rotation); !obstacle.empty()) {
            return IoError{pFileName, 0, joint.mAddress + "/R " + obstacle};
        }
        before.push_back(std::make_unique<RotationCopy>(rotation, index));
        for (int axis = 0; axis < kAxes; ++axis) {
            result.mJumps.Look(*rotation.Get(axis)->FCurveGet(),
                               joint.mAddress + "/R/" + rotation.Get(axis)->GetName(),
                               pClip.mFramePeriod);
        }
        changes[index] = Change::angles;
        result.mConvertedFrom[static_cast<std::size_t>(joint.mRotationOrder)] += 1;
        keys += CountKeys(before.back()->GetKeyTimes(), pClip.mFramePeriod);
        if (keys > static_cast<double>(pMostKeys)) {
            return IoError{pFileName, 0,
                           "the conversion would make more than " + std::to_string(pMostKeys) +
                               " keys, the limit of a run"};
        }
    }

    const std::vector<KTime> times = TimesToCompare(pClip, before);
    Steps steps(pProgress, before.size() + times.size());
    PoseComparison comparison(pClip, nodes);
    for (const std::unique_ptr<RotationCopy>& each : before) {
        GlissaNode& rotation = *nodes.GetTransform(each->GetJoint(), KDataTypeLclRotation);
        RotationCopy after(rotation, each->GetJoint());
        Convert(*each, after, pOrder, pClip.mFramePeriod);
        rotation.SetRotationOrder(pOrder);
        RotationCurves curves{{}, KVdRotationOrder(pOrder), {}};
        for (int axis = 0; axis < kAxes; ++axis) {
            Glissa* const curve = rotation.Get(axis)->FCurveGet();
            curve->CopyFrom(*after.GetCurve(axis), true);
            curves.mCurves[static_cast<std::size_t>(axis)] = curve;
        }
        comparison.SetRotation(each->GetJoint(), each->GetCurves(), curves);
        steps.Done();
    }
    for (std::size_t i = 0; i < times.size() && !before.empty(); ++i) {
        if (i > 0) {
            comparison.CompareBetween(times[i - 1] + (times[i] - times[i - 1]) / 2,
                                      result.mBetween);
        }
        comparison.Compare(times[i], result.mAtKeys);
        steps.Done();
    }
    pClip = Rearranged(pClip, nodes, changes, pOrder);
    pCurves = CurveClip(pClip, std::move(pCurves.GetNodes()));
    return result;
}
