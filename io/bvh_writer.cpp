// Copyright (c) 2026 The glissa authors
// SPDX-License-Identifier: MIT

// Joints are in the order of the file, so one pass with a stack of open joints writes the
// hierarchy; a line for each frame follows.

#include "io/bvh_writer.h"

#include "io/bvh_words.h"
#include "io/text_scanner.h"

#include <charconv>
#include <cmath>
#include <limits>

namespace
{
bool IsLabel(const std::string& pText)
{
    return pText.find_first_of("{\r\n") == std::string::npos &&
           (pText.empty() ||
            (!TextScanner::IsBlank(pText.front()) && !TextScanner::IsBlank(pText.back())));
}

bool FitsFloat(double pValue)
{
    return std::fabs(pValue) <= static_cast<double>(std::numeric_limits<float>::max());
}

class BvhFormatter
{
public:
    explicit BvhFormatter(const Clip& pClip) : mClip(pClip) {}

    bool Format() { return FormatHierarchy() && FormatMotion(); }
    std::string& GetText() { return mText; }
    const std::string& GetReason() const { return mReason; }

private:
    struct Open
    {
        int mJoint = 0;
        int mChildren = 0;
        std::size_t mEndSite = 0;  ///< the next end site to write
    };

    bool Fail(std::string pReason)
    {
        mReason = std::move(pReason);
        return false;
    }
    void Indent() { mText.append(mOpen.size() * 2, ' '); }
    void Number(double pValue)
    {
        char digits[32];
        const auto result = std::to_chars(digits, digits + sizeof digits, pValue);
        mText.append(digits, result.ptr);
    }

    bool FormatHierarchy();
    bool OpenJoint(int pJoint);
    bool CloseJoint();
    bool FormatEndSites(bool pAll);
    bool FormatHead(const char* pWord, const std::string& pLabel);
    bool FormatOffset(const std::array<double, 3>& pOffset);
    bool FormatMotion();

    const Clip& mClip;
    std::vector<Open> mOpen;
    std::string mText;
    std::string mReason;
};

bool BvhFormatter::FormatHierarchy()
{
    if (mClip.mJoints.empty()) {
        return Fail("a clip without joints cannot be written as BVH");
    }
    mText = "HIERARCHY\n";
    for (int i = 0; i < static_cast<int>(mClip.mJoints.size()); ++i) {
        const int parent = mClip.mJoints[static_cast<std::size_t>(i)].mParent;
        while (!mOpen.empty() && mOpen.back().mJoint != parent) {
            if (!CloseJoint()) {
                return false;
            }
        }
        if (mOpen.empty() && parent != -1) {
            return Fail("joint " + std::to_string(i) + " does not follow its parent's branch");
        }
        if (!OpenJoint(i)) {
            return false;
        }
    }
    while (!mOpen.empty()) {
        if (!CloseJoint()) {
            return false;
        }
    }
    return true;
}

bool BvhFormatter::OpenJoint(int pJoint)
{
    if (!mOpen.empty()) {
        if (!FormatEndSites(false)) {
            return false;
        }
        ++mOpen.back().mChildren;
    }
    const ClipJoint& joint = mClip.mJoints[static_cast<std::size_t>(pJoint)];
    if (!FormatHead(mOpen.empty() ? "ROOT" : "JOINT", joint.mName)) {
        return false;
    }
    mOpen.push_back({pJoint});
    if (!FormatOffset(joint.mOffset)) {
        return false;
    }
    Indent();
    mText += "CHANNELS " + std::to_string(joint.mChannels.size());
    for (const EClipChannel channel : joint.mChannels) {
        mText += ' ';
        mText += kBvhChannelWords[channel];
    }
    mText += '\n';
    return true;
}

bool BvhFormatter::CloseJoint()
{
    if (!FormatEndSites(true)) {
        return false;
    }
    mOpen.pop_back();
    Indent();
    mText += "}\n";
    return true;
}

bool BvhFormatter::FormatEndSites(bool pAll)
{
    Open& open = mOpen.back();
    const std::vector<ClipEndSite>& sites =
        mClip.mJoints[static_cast<std::size_t>(open.mJoint)].mEndSites;
    for (; open.mEndSite < sites.size(); ++open.mEndSite) {
        const ClipEndSite& site = sites[open.mEndSite];
        if (!pAll && site.mChildrenBefore > open.mChildren) {
            break;
        }
        if (!FormatHead("End", site.mLabel)) {
            return false;
        }
        mText.append(2, ' ');
        if (!FormatOffset(site.mOffset)) {
            return false;
        }
        Indent();
        mText += "}\n";
    }
    return true;
}

bool BvhFormatter::FormatHead(const char* pWord, const std::string& pLabel)
{
    if (!IsLabel(pLabel)) {
        return Fail("the name " + TextScanner::Quote(pLabel) + " cannot be written as BVH");
    }
    Indent();
    mText += pWord;
    if (!pLabel.empty()) {
        mText += ' ';
        mText += pLabel;
    }
    mText += '\n';
    Indent();
    mText += "{\n";
    return true;
}

bool BvhFormatter::FormatOffset(const std::array<double, 3>& pOffset)
{
    Indent();
    mText += "OFFSET";
    for (const double each : pOffset) {
        if (!FitsFloat(each)) {
            return Fail("an offset of joint " +
                        mClip.mJoints[static_cast<std::size_t>(mOpen.back().mJoint)].mAddress +
                        " is beyond the range of a float");
        }
        mText += ' ';
        Number(each);
    }
    mText += '\n';
    return true;
}

bool BvhFormatter::FormatMotion()
{
    mText += "MOTION\nFrames: " + std::to_string(mClip.mFrameCount) + "\nFrame Time: ";
    if (mClip.mFrameTimeText.empty()) {
        Number(mClip.mFramePeriod.GetSecondDouble());
    } else {
        mText += mClip.mFrameTimeText;
    }
    mText += '\n';
    for (int frame = 0; frame < mClip.mFrameCount; ++frame) {
        for (int channel = 0; channel < mClip.mChannelCount; ++channel) {
            const double value = mClip.GetValue(frame, channel);
            if (!FitsFloat(value)) {
                return Fail("the value of channel " + std::to_string(channel) + " in frame " +
                            std::to_string(frame) + " is beyond the range of a float");
            }
            if (channel > 0) {
                mText += ' ';
            }
            Number(value);
        }
        mText += '\n';
    }
    return true;
}
}  // namespace

IoResult<std::string> FormatBvh(const Clip& pClip, const std::string& pFileName)
{
    BvhFormatter formatter(pClip);
    if (formatter.Format()) {
        return std::move(formatter.GetText());
    }
    return IoError{pFileName, 0, formatter.GetReason()};
}
