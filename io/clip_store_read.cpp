// Copyright (c) 2026 The glissa authors
// SPDX-License-Identifier: MIT

// Everything is checked, so that a clip that was read meets all that the rest of the program
// requires of a clip.

#include "corvekit/store/tdf.h"
#include "glissa/curve/curve.h"
#include "glissa/node/node.h"
#include "io/bvh_reader.h"
#include "io/clip_store.h"
#include "io/frame_period.h"
#include "io/text_scanner.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <map>
#include <new>
#include <span>

namespace
{
// Version 1 has a field "Curve" for each channel in place of layers and a tree.
constexpr int kClipVersionCurves = 1;
constexpr int kClipVersion = 2;

std::string KeyFault(const std::string& pName, int pStored, int pRead)
{
    return "curve " + pName + ": " + std::to_string(pRead) + " of " + std::to_string(pStored) +
           " stored keys were read, the others are damaged";
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
    // Reads a value if it is of this type.
    bool ReadInt(int& pValue) { return Is(KTdf::kTypeInt) && (pValue = mTdf.FieldReadI(), true); }
    bool ReadText(std::string& pText)
    {
        return Is(KTdf::kTypeText) && (pText = mTdf.FieldReadS().GetView(), true);
    }
    bool Is(char pType) const { return mTdf.FieldReadGetType() == pType; }
    bool ReadOffset(std::array<double, 3>& pOffset);

    bool ReadFrames();
    bool ReadJoints();
    bool ReadJoint(int pIndex);
    bool ReadChannels(ClipJoint& pJoint);
    bool ReadEndSites(ClipJoint& pJoint);
    bool CheckTree();
    bool ReadLayers();
    bool ReadTree();
    std::string PathOf(GlissaNode& pNode) const;
    std::string InLayer(const std::string& pPath, int pLayer) const;
    bool AddFault(const GlissaStoreFault& pFault);
    std::string NameOf(GlissaNode& pNode, const std::string& pParent);
    bool CheckNode(GlissaNode& pNode, int pLayer, const std::string& pPath);

    bool ReadCurves();
    bool ReadCurve(const std::string& pName, Glissa& pCurve);
    void CheckCurve(const std::string& pName, const Glissa& pCurve);

    KTdf& mTdf;
    StoredClip mStored;
    NodeClip mNodes;
    std::size_t mNextJoint = 0;
    std::map<const GlissaNode*, std::string> mAddresses;  // of the joints, if there are faults
    std::string mReason;
};

bool ClipStoreReader::ReadOffset(std::array<double, 3>& pOffset)
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
    if (!mTdf.FieldReadBegin("Clip") || !ReadInt(version)) {
        return Fail("holds no clip: there is no field \"Clip\" with a version");
    }
    if (version != kClipVersion && version != kClipVersionCurves) {
        return Fail("is a clip of version " + std::to_string(version) +
                    "; versions 1 and 2 are known");
    }
    if (!mTdf.FieldReadBlockBegin()) {
        return Fail("field \"Clip\" has no block");
    }
    if (!ReadJoints() || !CheckTree() || !ReadFrames()) {
        return false;
    }
    mNodes = NodeClip(mStored.mClip);
    if (version == kClipVersionCurves ? !ReadCurves() : !ReadLayers() || !ReadTree()) {
        return false;
    }
    mStored.mCurves = CurveClip(mStored.mClip, std::move(mNodes));
    return true;
}

bool ClipStoreReader::ReadFrames()
{
    Clip& clip = mStored.mClip;
    if (!mTdf.FieldReadBegin("Frames") || !ReadInt(clip.mFrameCount) || clip.mFrameCount < 0 ||
        (clip.mFrameCount > 0 && clip.mChannelCount == 0)) {
        return Fail("field \"Frames\": the frame count is missing or invalid");
    }
    mTdf.FieldReadEnd();
    if (!mTdf.FieldReadBegin("FrameTime") || !Is(KTdf::kTypeTime)) {
        return Fail("field \"FrameTime\": the period is missing");
    }
    clip.mFramePeriod = mTdf.FieldReadT();
    if (!ReadText(clip.mFrameTimeText)) {
        return Fail("field \"FrameTime\": the text is missing");
    }
    mTdf.FieldReadEnd();
    double seconds = 0.0;
    TextScanner scan(clip.mFrameTimeText);
    if (scan.TakeNumber(seconds) != eScanNumber || !scan.AtEnd() || !(seconds > 0.0) ||
        FramePeriodFromText(seconds, clip.mFrameTimeText) != clip.mFramePeriod) {
        return Fail("field \"FrameTime\": the text " + TextScanner::Quote(clip.mFrameTimeText) +
                    " does not match the period of " + std::to_string(clip.mFramePeriod.Get()) +
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
                        ": name, parent or offset is missing or out of range");
        }
        mTdf.FieldReadEnd();
    }
    AssignAddresses(mStored.mClip.mJoints);
    return count > 0 || Fail("holds no joint");
}

bool ClipStoreReader::ReadJoint(int pIndex)
{
    ClipJoint joint;
    if (!ReadText(joint.mName) || !ReadInt(joint.mParent) || joint.mParent < -1 ||
        joint.mParent >= pIndex || !ReadOffset(joint.mOffset) || !mTdf.FieldReadBlockBegin()) {
        return false;
    }
    if (!ReadChannels(joint) || !ReadEndSites(joint)) {
        return Fail("joint " + std::to_string(pIndex) + ": its channels or end sites are invalid");
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
    for (int kind = 0; ReadInt(kind);) {
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
        if (!ReadText(site.mLabel) || !ReadInt(site.mChildrenBefore) ||
            site.mChildrenBefore < least || !ReadOffset(site.mOffset)) {
            return false;
        }
        pJoint.mEndSites.push_back(std::move(site));
        mTdf.FieldReadEnd();
    }
    return true;
}

// Joints must be in depth-first order, as a file with braces lists them, and not too deep.
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
                        ": does not follow its parent's branch, or is nested too deep");
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
                        ": an end site follows more children than there are");
        }
    }
    return true;
}

bool ClipStoreReader::ReadLayers()
{
    std::string reason;
    return mNodes.GetLayers().Retrieve(mTdf, reason) || Fail(reason);
}

// A tree that does not match the joints is an error, as nodes would be lost. A mismatch within a
// layer is listed: the channel is kept, left out, or has zero values.
bool ClipStoreReader::ReadTree()
{
    std::vector<GlissaStoreFault> faults;
    if (mTdf.FieldGetInstanceCount("Channel") != 1 ||
        !mNodes.GetRoot()->TdfRetrieve(&mTdf, false, false, true, &faults)) {
        return Fail("holds no tree of nodes, or several");
    }
    if (!faults.empty()) {
        for (std::size_t i = 0; i < mNodes.GetJointCount(); ++i) {
            mAddresses.emplace(mNodes.GetJoint(i), mStored.mClip.mJoints[i].mAddress);
        }
    }
    for (const GlissaStoreFault& fault : faults) {
        if (!AddFault(fault)) {
            return false;
        }
    }
    return CheckNode(*mNodes.GetRoot(), 0, "") &&
           (mNodes.GetLayers().AttachTo(*mNodes.GetRoot()) ||
            Fail("the tree has a layer that is not in the list"));
}

// The path of a node in the form of the curve names, "Hips/R/Z". Empty for the root.
std::string ClipStoreReader::PathOf(GlissaNode& pNode) const
{
    std::string path;
    for (GlissaNode* node = &pNode; node && node->GetParent(); node = node->GetParent()) {
        const auto joint = mAddresses.find(node);
        const std::string name = joint != mAddresses.end() ? joint->second : node->GetName();
        path = path.empty() ? name : name + '/' + path;
        if (joint != mAddresses.end()) {
            break;
        }
    }
    return path;
}

std::string ClipStoreReader::InLayer(const std::string& pPath, int pLayer) const
{
    const HostLayer* const layer = mNodes.GetLayers().Find(pLayer);
    return layer ? pPath + '@' + layer->mName : pPath;
}

// Lists a fault. False, with the error set, for one that makes the file unusable.
bool ClipStoreReader::AddFault(const GlissaStoreFault& pFault)
{
    std::string path = PathOf(*pFault.mNode);
    const std::string channel(pFault.mChannel.GetView());
    const auto list = [&](const std::string& pText) {
        mStored.mFaults.push_back(pText);
        return true;
    };
    if (pFault.mKind == eStoreFaultKeys) {
        path += channel.empty() ? "" : '/' + channel;
        return list(KeyFault(InLayer(path, pFault.mLayerID), pFault.mStoredKeys, pFault.mReadKeys));
    }
    const std::string node =
        (path.empty() ? "the tree" : "node " + InLayer(path, pFault.mLayerID)) + ": ";
    const std::string name = "channel " + TextScanner::Quote(channel);
    const bool isInLayer = pFault.mLayerID != 0;
    switch (pFault.mKind) {
    case eStoreFaultChannelKept:
        return list(node + name + " is not in the base: it is kept without effect");
    case eStoreFaultChannelMade:
        return list(node + name + " is not stored: it has zero values");
    case eStoreFaultCurveMissing:
        if (isInLayer) {
            return list(node + "a curve" + (channel.empty() ? "" : " of " + name) +
                        " is not stored: it has zero values");
        }
        return Fail("curve " + path + ": has no \"Default\"");
    case eStoreFaultChannelUnknown:
        if (isInLayer) {
            return list(node + name + " is not in the base and has no keys: it is left out");
        }
        return Fail(node + name + " does not belong to the joints of the clip");
    case eStoreFaultChannelTwice:
        return Fail(node + name + " is stored twice");
    case eStoreFaultChannelMissing:
        return Fail(node + name + " is not stored");
    case eStoreFaultLayerLeftOut:
        return Fail(node + "a layer id must be greater than that of the layer before it");
    default:
        return Fail(node + "a curve is stored for a node that has channels");
    }
}

// The tree was made from the joints, so its nodes are visited in their order.
std::string ClipStoreReader::NameOf(GlissaNode& pNode, const std::string& pParent)
{
    if (mNextJoint < mNodes.GetJointCount() && mNodes.GetJoint(mNextJoint) == &pNode) {
        return mStored.mClip.mJoints[mNextJoint++].mAddress;
    }
    return pParent.empty() ? pNode.GetName() : pParent + '/' + pNode.GetName();
}

// pLayer  id of the layer that the node belongs to.
bool ClipStoreReader::CheckNode(GlissaNode& pNode, int pLayer, const std::string& pPath)
{
    if (pNode.GetLayerID() != pLayer) {
        return Fail("node " + pPath + ": is not of the layer of its parent");
    }
    if (const Glissa* const curve = pNode.FCurveGet()) {
        const std::string name = InLayer(pPath, pLayer);
        if (pNode.GetLayerType() != eLayerTypeValue) {
            return Fail("curve " + name + ": the layer type of its node must be 0");
        }
        CheckCurve(name, *curve);
    }
    for (int i = 0; i < pNode.GetCount(); ++i) {
        GlissaNode& child = *pNode.Get(i);
        if (!CheckNode(child, pLayer, NameOf(child, pPath))) {
            return false;
        }
    }
    GlissaNode* const next = pNode.LayerGet();
    if (next && !pNode.GetDataType()) {
        return Fail("node " + pPath + ": only a translation or a rotation can have layers");
    }
    return !next || CheckNode(*next, next->GetLayerID(), pPath);
}

bool ClipStoreReader::ReadCurves()
{
    const Clip& clip = mStored.mClip;
    if (mTdf.FieldGetInstanceCount("Curve") != clip.mChannelCount) {
        return Fail("holds " + std::to_string(mTdf.FieldGetInstanceCount("Curve")) +
                    " curves for " + std::to_string(clip.mChannelCount) + " channels");
    }
    for (std::size_t i = 0; i < clip.mJoints.size(); ++i) {
        const ClipJoint& joint = clip.mJoints[i];
        for (int channel = 0; channel < static_cast<int>(joint.mChannels.size()); ++channel) {
            const EClipChannel kind = joint.mChannels[static_cast<std::size_t>(channel)];
            if (!ReadCurve(clip.GetCurveName(joint, channel),
                           *mNodes.GetChannel(i, kind)->FCurveGet())) {
                return false;
            }
        }
    }
    return true;
}

bool ClipStoreReader::ReadCurve(const std::string& pName, Glissa& pCurve)
{
    std::string name;
    if (!mTdf.FieldReadBegin("Curve") || !ReadText(name) || name != pName ||
        !mTdf.FieldReadBlockBegin()) {
        return Fail("curve " + pName + ": expected, found " + TextScanner::Quote(name));
    }
    int storedKeys = 0;
    if (!pCurve.TdfRetrieve(&mTdf, false, true, &storedKeys)) {
        return Fail("curve " + pName + ": has no \"Default\"");
    }
    if (storedKeys != pCurve.KeyGetCount()) {
        mStored.mFaults.push_back(KeyFault(pName, storedKeys, pCurve.KeyGetCount()));
    }
    CheckCurve(pName, pCurve);
    mTdf.FieldReadBlockEnd();
    mTdf.FieldReadEnd();
    return true;
}

void ClipStoreReader::CheckCurve(const std::string& pName, const Glissa& pCurve)
{
    const Glissa& curve = pCurve;
    const auto fault = [&](const std::string& pText) {
        mStored.mFaults.push_back("curve " + pName + ": " + pText);
    };
    if (!std::isfinite(curve.GetValue())) {
        fault("the default value is not finite");
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
                  std::to_string(curve.KeyGetTime(i).Get()) + ": the " + what + " is not finite");
        }
    }
}
}  // namespace

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
