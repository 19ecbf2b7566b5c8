// Copyright (c) 2026 The glissa authors
// SPDX-License-Identifier: MIT

// Writing is a walk over joints and curves. Reading goes the same way and checks each step: what
// the rest of the program takes for granted about a clip holds for one that comes from here.

#include "io/clip_store.h"

#include "corvekit/store/tdf.h"
#include "glissa/curve/curve.h"
#include "io/bvh_reader.h"
#include "io/frame_period.h"
#include "io/text_scanner.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <limits>
#include <new>
#include <span>

namespace
{
constexpr int kClipVersion = 1;
constexpr std::string_view kMagic = "KTDF";

void WriteOffset(KTdf& pTdf, const std::array<double, 3>& pOffset)
{
    for (const double each : pOffset) {
        pTdf.FieldWriteD(each);
    }
}

void WriteJoint(KTdf& pTdf, const ClipJoint& pJoint)
{
    pTdf.FieldWriteBegin("Joint");
    pTdf.FieldWriteS(KString(std::string_view(pJoint.mName)));
    pTdf.FieldWriteI(pJoint.mParent);
    WriteOffset(pTdf, pJoint.mOffset);
    pTdf.FieldWriteBlockBegin();
    pTdf.FieldWriteBegin("Channels");
    for (const EClipChannel channel : pJoint.mChannels) {
        pTdf.FieldWriteI(channel);
    }
    pTdf.FieldWriteEnd();
    for (const ClipEndSite& site : pJoint.mEndSites) {
        pTdf.FieldWriteBegin("EndSite");
        pTdf.FieldWriteS(KString(std::string_view(site.mLabel)));
        pTdf.FieldWriteI(site.mChildrenBefore);
        WriteOffset(pTdf, site.mOffset);
        pTdf.FieldWriteEnd();
    }
    pTdf.FieldWriteBlockEnd();
    pTdf.FieldWriteEnd();
}

class ClipStoreReader
{
public:
    explicit ClipStoreReader(KTdf& pTdf) : mTdf(pTdf) {}

    bool Read();
    StoredClip& GetClip() { return mStored; }
    const std::string& GetReason() const { return mReason; }

private:
    bool Fail(std::string pReason)
    {
        if (mReason.empty()) {
            mReason = std::move(pReason);
        }
        return false;
    }
    // Takes a value of exactly that type.
    bool Int(int& pValue) { return Is(KTdf::kTypeInt) && (pValue = mTdf.FieldReadI(), true); }
    bool Text(std::string& pText)
    {
        return Is(KTdf::kTypeText) && (pText = mTdf.FieldReadS().GetView(), true);
    }
    bool Is(char pType) const { return mTdf.FieldReadGetType() == pType; }
    bool Offset(std::array<double, 3>& pOffset);

    bool ReadFrames();
    bool ReadJoints();
    bool ReadJoint(int pIndex);
    bool ReadChannels(ClipJoint& pJoint);
    bool ReadEndSites(ClipJoint& pJoint);
    bool CheckTree();
    bool ReadCurves();
    bool ReadCurve(ClipCurve& pCurve);
    void CheckCurve(const ClipCurve& pCurve, int pStoredKeys);
    int CountStoredKeys();

    KTdf& mTdf;
    StoredClip mStored;
    std::string mReason;
};

bool ClipStoreReader::Offset(std::array<double, 3>& pOffset)
{
    for (double& each : pOffset) {
        if (!Is(KTdf::kTypeDouble)) {
            return false;
        }
        each = mTdf.FieldReadD();
        if (!(std::fabs(each) <= static_cast<double>(std::numeric_limits<float>::max()))) {
            return false;
        }
    }
    return true;
}

bool ClipStoreReader::Read()
{
    int version = 0;
    if (!mTdf.FieldReadBegin("Clip") || !Int(version)) {
        return Fail("holds no clip: there is no field \"Clip\" with a version");
    }
    if (version != kClipVersion) {
        return Fail("is a clip of version " + std::to_string(version) + ", known is version " +
                    std::to_string(kClipVersion));
    }
    if (!mTdf.FieldReadBlockBegin()) {
        return Fail("field \"Clip\" has no block");
    }
    return ReadJoints() && CheckTree() && ReadFrames() && ReadCurves();
}

bool ClipStoreReader::ReadFrames()
{
    Clip& clip = mStored.mClip;
    if (!mTdf.FieldReadBegin("Frames") || !Int(clip.mFrameCount) || clip.mFrameCount < 0 ||
        (clip.mFrameCount > 0 && clip.mChannelCount == 0)) {
        return Fail("field \"Frames\": no frame count that makes sense");
    }
    mTdf.FieldReadEnd();
    if (!mTdf.FieldReadBegin("FrameTime") || !Is(KTdf::kTypeTime)) {
        return Fail("field \"FrameTime\": no period");
    }
    clip.mFramePeriod = mTdf.FieldReadT();
    if (!Text(clip.mFrameTimeText)) {
        return Fail("field \"FrameTime\": no text");
    }
    mTdf.FieldReadEnd();
    double seconds = 0.0;
    TextScanner scan(clip.mFrameTimeText);
    if (scan.TakeNumber(seconds) != eScanNumber || !scan.AtEnd() || !(seconds > 0.0) ||
        FramePeriodFromText(seconds, clip.mFrameTimeText) != clip.mFramePeriod) {
        return Fail("field \"FrameTime\": the text " + TextScanner::Quote(clip.mFrameTimeText) +
                    " does not say the period of " + std::to_string(clip.mFramePeriod.Get()) +
                    " ticks");
    }
    if (clip.mFramePeriod <= KTime() ||
        clip.mFramePeriod > KTime::Infinite() / KTime(std::int64_t{clip.mFrameCount} + 1)) {
        return Fail("field \"FrameTime\": the period is out of range");
    }
    return true;
}

bool ClipStoreReader::ReadJoints()
{
    const int count = mTdf.FieldGetInstanceCount("Joint");
    for (int i = 0; i < count; ++i) {
        mTdf.FieldReadBegin("Joint");
        if (!ReadJoint(i)) {
            return Fail("joint " + std::to_string(i) +
                        ": name, parent and offset do not stand "
                        "there, or are out of range");
        }
        mTdf.FieldReadEnd();
    }
    AssignAddresses(mStored.mClip.mJoints);
    return count > 0 || Fail("holds no joint");
}

bool ClipStoreReader::ReadJoint(int pIndex)
{
    ClipJoint joint;
    if (!Text(joint.mName) || !Int(joint.mParent) || joint.mParent < -1 ||
        joint.mParent >= pIndex || !Offset(joint.mOffset) || !mTdf.FieldReadBlockBegin()) {
        return false;
    }
    if (!ReadChannels(joint) || !ReadEndSites(joint)) {
        return Fail("joint " + std::to_string(pIndex) + ": channels or end sites make no sense");
    }
    mTdf.FieldReadBlockEnd();
    mStored.mClip.mJoints.push_back(std::move(joint));
    return true;
}

bool ClipStoreReader::ReadChannels(ClipJoint& pJoint)
{
    Clip& clip = mStored.mClip;
    pJoint.mFirstChannel = clip.mChannelCount;
    if (!mTdf.FieldReadBegin("Channels")) {
        return false;
    }
    unsigned used = 0;
    for (int kind = 0; Int(kind);) {
        if (kind < 0 || kind >= kClipChannelKinds || (used & 1u << kind) != 0) {
            return false;
        }
        used |= 1u << kind;
        pJoint.mChannels.push_back(static_cast<EClipChannel>(kind));
    }
    if (mTdf.FieldReadGetRemain() > 0) {
        return false;
    }
    mTdf.FieldReadEnd();
    clip.mChannelCount += static_cast<int>(pJoint.mChannels.size());
    pJoint.mRotationOrder = RotationOrderOf(pJoint.mChannels);
    return true;
}

bool ClipStoreReader::ReadEndSites(ClipJoint& pJoint)
{
    while (mTdf.FieldReadBegin("EndSite")) {
        ClipEndSite site;
        const int least = pJoint.mEndSites.empty() ? 0 : pJoint.mEndSites.back().mChildrenBefore;
        if (!Text(site.mLabel) || !Int(site.mChildrenBefore) || site.mChildrenBefore < least ||
            !Offset(site.mOffset)) {
            return false;
        }
        pJoint.mEndSites.push_back(std::move(site));
        mTdf.FieldReadEnd();
    }
    return true;
}

// Branch after branch, as a file with braces would list them, and no deeper than one may.
bool ClipStoreReader::CheckTree()
{
    const std::vector<ClipJoint>& joints = mStored.mClip.mJoints;
    std::vector<int> children(joints.size(), 0);
    std::vector<int> open;
    for (std::size_t i = 0; i < joints.size(); ++i) {
        const int parent = joints[i].mParent;
        while (!open.empty() && open.back() != parent) {
            open.pop_back();
        }
        if ((open.empty() && parent != -1) ||
            open.size() >= static_cast<std::size_t>(kBvhDeepestNesting)) {
            return Fail("joint " + std::to_string(i) +
                        ": does not stand in its parent's branch, or is nested too deep");
        }
        open.push_back(static_cast<int>(i));
        if (parent >= 0) {
            ++children[static_cast<std::size_t>(parent)];
        }
    }
    for (std::size_t i = 0; i < joints.size(); ++i) {
        if (!joints[i].mEndSites.empty() &&
            joints[i].mEndSites.back().mChildrenBefore > children[i]) {
            return Fail("joint " + std::to_string(i) +
                        ": an end site stands behind more children than there are");
        }
    }
    return true;
}

bool ClipStoreReader::ReadCurves()
{
    const Clip& clip = mStored.mClip;
    if (mTdf.FieldGetInstanceCount("Curve") != clip.mChannelCount) {
        return Fail("holds " + std::to_string(mTdf.FieldGetInstanceCount("Curve")) +
                    " curves for " + std::to_string(clip.mChannelCount) + " channels");
    }
    std::vector<ClipCurve> curves;
    for (std::size_t i = 0; i < clip.mJoints.size(); ++i) {
        const ClipJoint& joint = clip.mJoints[i];
        for (int channel = 0; channel < static_cast<int>(joint.mChannels.size()); ++channel) {
            ClipCurve curve;
            curve.mName = clip.GetCurveName(joint, channel);
            curve.mJoint = static_cast<int>(i);
            curve.mChannel = joint.mChannels[static_cast<std::size_t>(channel)];
            if (!ReadCurve(curve)) {
                return false;
            }
            curves.push_back(std::move(curve));
        }
    }
    mStored.mCurves = CurveClip(std::move(curves));
    return true;
}

bool ClipStoreReader::ReadCurve(ClipCurve& pCurve)
{
    std::string name;
    if (!mTdf.FieldReadBegin("Curve") || !Text(name) || name != pCurve.mName ||
        !mTdf.FieldReadBlockBegin()) {
        return Fail("curve " + pCurve.mName + ": expected here, found " + TextScanner::Quote(name));
    }
    const int storedKeys = CountStoredKeys();
    mTdf.FieldReadRewind();
    pCurve.mCurve.reset(GlissaCreate());
    if (!pCurve.mCurve->TdfRetrieve(&mTdf, false, true)) {
        return Fail("curve " + pCurve.mName + ": has no \"Default\"");
    }
    CheckCurve(pCurve, storedKeys);
    mTdf.FieldReadBlockEnd();
    mTdf.FieldReadEnd();
    return true;
}

// Times begin keys, whatever the count beside them says.
int ClipStoreReader::CountStoredKeys()
{
    const int said = mTdf.FieldReadI("KeyCount", 0);
    int found = 0;
    if (mTdf.FieldReadBegin("Key")) {
        while (mTdf.FieldReadGetRemain() > 0) {
            found += Is(KTdf::kTypeTime) ? 1 : 0;
            mTdf.FieldReadT();
        }
        mTdf.FieldReadEnd();
    }
    return std::max(said, found);
}

void ClipStoreReader::CheckCurve(const ClipCurve& pCurve, int pStoredKeys)
{
    const Glissa& curve = *pCurve.mCurve;
    const auto fault = [&](const std::string& pText) {
        mStored.mFaults.push_back("curve " + pCurve.mName + ": " + pText);
    };
    if (curve.KeyGetCount() != pStoredKeys) {
        fault(std::to_string(pStoredKeys) + " keys are stored, " +
              std::to_string(curve.KeyGetCount()) + " of them make sense");
    }
    if (!std::isfinite(curve.GetValue())) {
        fault("the default value is no finite number");
    }
    for (int i = 0; i < curve.KeyGetCount(); ++i) {
        const KPriFCurveKeyAttr& attributes = *curve.InternalPriKeyAttrGetPtr(i);
        const bool slots = attributes.GetInterpolation() == eInterpolationCubic;
        const bool bias = slots && attributes.GetTangeantMode(false) == eTangentTCB;
        const char* what =
            !std::isfinite(curve.KeyGetValue(i)) ? "value"
            : slots && !(std::isfinite(attributes.mData[0]) && std::isfinite(attributes.mData[1]) &&
                         (!bias || std::isfinite(attributes.mData[eDataTCBBias])))
                ? "tangent"
                : nullptr;
        if (what) {
            fault("key " + std::to_string(i) + " at tick " +
                  std::to_string(curve.KeyGetTime(i).Get()) + ": the " + what +
                  " is no finite number");
        }
    }
}
}  // namespace

bool IsStore(std::string_view pBytes)
{
    return pBytes.substr(0, kMagic.size()) == kMagic;
}

void StoreClip(const Clip& pClip, const CurveClip& pCurves, KTdf& pTdf)
{
    pTdf.FieldWriteBegin("Clip");
    pTdf.FieldWriteI(kClipVersion);
    pTdf.FieldWriteBlockBegin();
    pTdf.FieldWriteBegin("Frames");
    pTdf.FieldWriteI(pClip.mFrameCount);
    pTdf.FieldWriteEnd();
    pTdf.FieldWriteBegin("FrameTime");
    pTdf.FieldWriteT(pClip.mFramePeriod);
    pTdf.FieldWriteS(KString(std::string_view(pClip.mFrameTimeText)));
    pTdf.FieldWriteEnd();
    for (const ClipJoint& joint : pClip.mJoints) {
        WriteJoint(pTdf, joint);
    }
    for (const ClipCurve& each : pCurves.GetCurves()) {
        pTdf.FieldWriteBegin("Curve");
        pTdf.FieldWriteS(KString(std::string_view(each.mName)));
        pTdf.FieldWriteBlockBegin();
        each.mCurve->TdfStore(&pTdf, false, true, false);
        pTdf.FieldWriteBlockEnd();
        pTdf.FieldWriteEnd();
    }
    pTdf.FieldWriteBlockEnd();
    pTdf.FieldWriteEnd();
}

IoResult<StoredClip> ParseClipStore(std::string_view pBytes, const std::string& pFileName)
{
    try {
        KTdf tdf;
        if (!tdf.Load(
                std::span(reinterpret_cast<const std::uint8_t*>(pBytes.data()), pBytes.size()))) {
            return IoError{pFileName, 0, tdf.GetError().GetLastErrorString()};
        }
        ClipStoreReader reader(tdf);
        if (reader.Read()) {
            return std::move(reader.GetClip());
        }
        return IoError{pFileName, 0, reader.GetReason()};
    } catch (const std::bad_alloc&) {
        return IoError{pFileName, 0, "does not fit into memory"};
    }
}

Clip SampleClip(const Clip& pClip, const CurveClip& pCurves)
{
    Clip sampled = pClip;
    const auto channels = static_cast<std::size_t>(pClip.mChannelCount);
    sampled.mValues.assign(static_cast<std::size_t>(pClip.mFrameCount) * channels, 0.0);
    for (std::size_t channel = 0; channel < channels; ++channel) {
        Glissa& curve = *pCurves.GetCurves()[channel].mCurve;
        int hint = 0;
        for (int frame = 0; frame < pClip.mFrameCount; ++frame) {
            const float value = curve.Evaluate(pClip.GetTime(frame), &hint);
            double& out = sampled.mValues[static_cast<std::size_t>(frame) * channels + channel];
            out = static_cast<double>(value);
            char digits[32];
            const auto written = std::to_chars(digits, digits + sizeof digits, value);
            if (std::isfinite(value)) {
                std::from_chars(digits, written.ptr, out);
            }
        }
    }
    return sampled;
}
