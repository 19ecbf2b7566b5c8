// Copyright (c) 2026 The glissa authors
// SPDX-License-Identifier: MIT

// Two sections, read in one pass: the hierarchy word by word, with a stack of open joints, then the
// frames line by line. The first error ends the reading: it is kept in mError, and each function
// returns false.

#include "io/bvh_reader.h"

#include "io/bvh_words.h"
#include "io/frame_period.h"
#include "io/text_file.h"
#include "io/text_scanner.h"

#include <charconv>
#include <new>
#include <optional>

namespace
{
constexpr int kMostChannels = 6;

std::optional<EClipChannel> ChannelFromWord(std::string_view pWord)
{
    for (int i = 0; i < kClipChannelKinds; ++i) {
        if (TextScanner::SameText(kBvhChannelWords[i], pWord)) {
            return static_cast<EClipChannel>(i);
        }
    }
    return std::nullopt;
}

class BvhParser
{
public:
    explicit BvhParser(std::string_view pText) : mScan(pText) {}

    bool Parse() { return ParseHierarchy() && ParseMotionHead() && ParseFrames(); }
    Clip& GetClip() { return mClip; }
    const IoError& GetError() const { return mError; }

private:
    // The hierarchy: joints and their end sites.
    bool ParseHierarchy();
    bool OpenJoint();
    bool CloseJoint();
    bool ParseJointEntry();
    bool ParseOffset(std::array<double, 3>& pOffset);
    bool ParseChannels(ClipJoint& pJoint);
    bool ParseEndSite(ClipJoint& pJoint);

    // The head of the motion: frame count and frame time.
    bool ParseMotionHead();
    bool ParseFrameCount();
    bool ParseFrameTime();
    void SkipColon();

    // The frames.
    bool ParseFrames();
    bool ParseFrame(int pFrame, double* pRow);
    bool FailShortFrame(int pFrame, std::int64_t pLine, int pCount);
    bool FailLongLine(int pFrame, std::int64_t pLine, int pFirstLineCount);

    bool Expect(bool pTaken, const char* pWhat)
    {
        return pTaken || Fail(std::string(pWhat) + " expected, found " + mScan.Quote());
    }
    // Turns the result of TakeNumber into an error message unless it is a number.
    bool Accept(EScan pScan);
    bool Fail(std::string pReason) { return Fail(std::move(pReason), mScan.GetLine()); }
    bool Fail(std::string pReason, std::int64_t pLine)
    {
        mError.mLine = pLine;
        mError.mReason = std::move(pReason);
        return false;
    }

    // A joint whose closing brace has not been read.
    struct Open
    {
        int mJoint;
        int mChildren = 0;
        bool mHasOffset = false;
        bool mHasChannels = false;
    };

    ClipJoint& Joint() { return mClip.mJoints[static_cast<std::size_t>(mOpen.back().mJoint)]; }

    TextScanner mScan;
    std::vector<Open> mOpen;
    bool mWrapped = false;  // frames span several lines
    Clip mClip;
    IoError mError;
};

bool BvhParser::Accept(EScan pScan)
{
    switch (pScan) {
    case eScanNumber:
        return true;
    case eScanNotFinite:
        return Fail("number is not finite: " + mScan.Quote());
    case eScanTooLarge:
        return Fail("number is beyond the range of a float: " + mScan.Quote());
    case eScanNotANumber:
        break;
    }
    return Fail("number expected, found " + mScan.Quote());
}

bool BvhParser::ParseHierarchy()
{
    mScan.SkipSpace();
    if (mScan.AtEnd()) {
        return Fail("file is empty", 0);
    }
    if (!Expect(mScan.TakeWord("hierarchy"), "HIERARCHY at the start of a BVH file")) {
        return false;
    }
    for (mScan.SkipSpace(); mScan.TakeWord("root"); mScan.SkipSpace()) {
        if (!OpenJoint()) {
            return false;
        }
        while (!mOpen.empty()) {
            if (!ParseJointEntry()) {
                return false;
            }
        }
    }
    if (mClip.mJoints.empty()) {
        return Expect(false, "ROOT");
    }
    AssignAddresses(mClip.mJoints);
    return true;
}

// Reads from after ROOT or JOINT to after the opening brace.
bool BvhParser::OpenJoint()
{
    if (mOpen.size() >= static_cast<std::size_t>(kBvhDeepestNesting)) {
        return Fail("joints are nested deeper than " + std::to_string(kBvhDeepestNesting));
    }
    ClipJoint joint;
    joint.mName = mScan.TakeLabel();
    mScan.SkipSpace();
    if (!Expect(mScan.TakeChar('{'), "'{'")) {
        return false;
    }
    if (!mOpen.empty()) {
        joint.mParent = mOpen.back().mJoint;
        ++mOpen.back().mChildren;
    }
    joint.mFirstChannel = mClip.mChannelCount;
    mOpen.push_back({static_cast<int>(mClip.mJoints.size())});
    mClip.mJoints.push_back(std::move(joint));
    return true;
}

bool BvhParser::CloseJoint()
{
    if (!mOpen.back().mHasOffset) {
        return Fail("joint " + TextScanner::Quote(Joint().mName) + " has no OFFSET");
    }
    mOpen.pop_back();
    return true;
}

bool BvhParser::ParseJointEntry()
{
    mScan.SkipSpace();
    if (mScan.TakeWord("joint")) {
        return OpenJoint();
    }
    if (mScan.TakeWord("end")) {
        return ParseEndSite(Joint());
    }
    Open& open = mOpen.back();
    if (mScan.TakeWord("offset")) {
        if (open.mHasOffset) {
            return Fail("second OFFSET of a joint");
        }
        open.mHasOffset = true;
        return ParseOffset(Joint().mOffset);
    }
    if (mScan.TakeWord("channels")) {
        if (open.mHasChannels) {
            return Fail("second CHANNELS of a joint");
        }
        // The columns of a frame follow the order of the CHANNELS lines.
        if (open.mChildren > 0) {
            return Fail("CHANNELS of a joint must precede its child joints");
        }
        open.mHasChannels = true;
        return ParseChannels(Joint());
    }
    if (mScan.TakeChar('}')) {
        return CloseJoint();
    }
    if (mScan.AtEnd() || mScan.TakeWord("motion")) {
        return Fail("'}' of joint " + TextScanner::Quote(Joint().mName) + " is missing");
    }
    if (ChannelFromWord(TextScanner(mScan).TakeToken())) {
        return Fail("more channels than the count of CHANNELS: " + mScan.Quote());
    }
    return Expect(false, "OFFSET, CHANNELS, JOINT, End Site or '}'");
}

bool BvhParser::ParseOffset(std::array<double, 3>& pOffset)
{
    for (double& each : pOffset) {
        mScan.SkipSpace();
        if (!Accept(mScan.TakeNumber(each))) {
            return false;
        }
    }
    return true;
}

bool BvhParser::ParseChannels(ClipJoint& pJoint)
{
    mScan.SkipSpace();
    const std::string_view word = TextScanner(mScan).TakeToken();
    int count = 0;
    const auto [stop, error] = std::from_chars(word.data(), word.data() + word.size(), count);
    if (error == std::errc::invalid_argument || stop != word.data() + word.size()) {
        return Expect(false, "channel count");
    }
    if (error != std::errc() || count < 0 || count > kMostChannels) {
        return Fail("channel count must be 0 to 6, found " + mScan.Quote());
    }
    mScan.TakeToken();
    for (int i = 0; i < count; ++i) {
        mScan.SkipSpace();
        const std::optional<EClipChannel> channel = ChannelFromWord(TextScanner(mScan).TakeToken());
        if (!channel) {
            return Fail("channel " + std::to_string(i + 1) + " of " + std::to_string(count) +
                        " expected (Xposition to Zrotation), found " + mScan.Quote());
        }
        for (const EClipChannel other : pJoint.mChannels) {
            if (other == *channel) {
                return Fail("channel named twice: " + mScan.Quote());
            }
        }
        mScan.TakeToken();
        pJoint.mChannels.push_back(*channel);
    }
    mClip.mChannelCount += count;
    pJoint.mRotationOrder = RotationOrderOf(pJoint.mChannels);
    return true;
}

// Reads from after "End" to after the closing brace.
bool BvhParser::ParseEndSite(ClipJoint& pJoint)
{
    ClipEndSite site;
    site.mLabel = mScan.TakeLabel();
    site.mChildrenBefore = mOpen.back().mChildren;
    mScan.SkipSpace();
    if (!Expect(mScan.TakeChar('{'), "'{' of an End Site")) {
        return false;
    }
    mScan.SkipSpace();
    if (!Expect(mScan.TakeWord("offset"), "OFFSET of an End Site") || !ParseOffset(site.mOffset)) {
        return false;
    }
    mScan.SkipSpace();
    if (!Expect(mScan.TakeChar('}'), "'}' of an End Site")) {
        return false;
    }
    pJoint.mEndSites.push_back(std::move(site));
    return true;
}

void BvhParser::SkipColon()
{
    mScan.SkipBlanks();
    mScan.TakeChar(':');
    mScan.SkipBlanks();
}

bool BvhParser::ParseMotionHead()
{
    if (mScan.Peek() == '}') {
        return Fail("'}' without a joint to close");
    }
    if (!Expect(mScan.TakeWord("motion"), "MOTION or ROOT")) {
        return false;
    }
    mScan.SkipSpace();
    if (!Expect(mScan.TakeWord("frames"), "\"Frames:\"") || !ParseFrameCount()) {
        return false;
    }
    mScan.SkipSpace();
    const bool frame = mScan.TakeWord("frame");
    mScan.SkipBlanks();
    return Expect(frame && mScan.TakeWord("time"), "\"Frame Time:\"") && ParseFrameTime();
}

bool BvhParser::ParseFrameCount()
{
    SkipColon();
    const std::string_view word = TextScanner(mScan).TakeToken();
    int count = 0;
    const auto [stop, error] = std::from_chars(word.data(), word.data() + word.size(), count);
    if (error == std::errc::invalid_argument || stop != word.data() + word.size() || count < 0) {
        return Expect(false, "frame count");
    }
    if (error != std::errc()) {
        return Fail("frame count is out of range: " + mScan.Quote());
    }
    const std::string quoted = mScan.Quote();
    mScan.TakeToken();
    if (count > 0 && mClip.mChannelCount == 0) {
        return Fail("the frame count is not 0, but no joint has channels");
    }
    // A number takes at least two bytes, a digit and a separator.
    const std::int64_t numbers = std::int64_t{count} * mClip.mChannelCount;
    if (numbers > static_cast<std::int64_t>(mScan.GetRemaining() + 1) / 2) {
        return Fail("the rest of the file is too short for " + quoted + " frames of " +
                    std::to_string(mClip.mChannelCount) + " channels");
    }
    mClip.mFrameCount = count;
    return true;
}

bool BvhParser::ParseFrameTime()
{
    SkipColon();
    TextScanner word(mScan);
    double seconds = 0.0;
    if (!Accept(mScan.TakeNumber(seconds))) {
        return false;
    }
    mClip.mFrameTimeText = word.TakeToken();
    if (!(seconds > 0.0)) {
        return Fail("frame time must be greater than 0 seconds, found " +
                    TextScanner::Quote(mClip.mFrameTimeText));
    }
    mClip.mFramePeriod = FramePeriodFromText(seconds, mClip.mFrameTimeText);
    if (mClip.mFramePeriod <= KTime()) {
        return Fail("frame time is shorter than a tick: " +
                    TextScanner::Quote(mClip.mFrameTimeText));
    }
    if (mClip.mFramePeriod > KTime::Infinite() / KTime(std::int64_t{mClip.mFrameCount} + 1)) {
        return Fail("frame time is too long: " + TextScanner::Quote(mClip.mFrameTimeText));
    }
    mScan.SkipBlanks();
    return Expect(mScan.AtLineEnd(), "end of the line after the frame time");
}

bool BvhParser::ParseFrames()
{
    const auto channels = static_cast<std::size_t>(mClip.mChannelCount);
    mClip.mValues.resize(static_cast<std::size_t>(mClip.mFrameCount) * channels);
    double* row = mClip.mValues.data();
    for (int frame = 0; frame < mClip.mFrameCount; ++frame, row += channels) {
        mScan.SkipSpace();
        if (mScan.AtEnd()) {
            return Fail("the frame count is " + std::to_string(mClip.mFrameCount) +
                        ", the file has " + std::to_string(frame) + " frames");
        }
        if (!ParseFrame(frame, row)) {
            return false;
        }
    }
    mScan.SkipSpace();
    double ignored = 0.0;
    const std::int64_t line = mScan.GetLine();
    if (mScan.AtEnd()) {
        return true;
    }
    if (mScan.TakeNumber(ignored) == eScanNumber) {
        return Fail("more frames than the frame count, " + std::to_string(mClip.mFrameCount), line);
    }
    return Expect(false, "end of the file after the last frame");
}

// A frame is a line. Some programs break long lines: if the first line is too short, all frames may
// span lines, but each must still end at a line end, so that a missing or an extra number is
// reported for its own frame.
bool BvhParser::ParseFrame(int pFrame, double* pRow)
{
    const std::int64_t line = mScan.GetLine();
    int firstLineCount = mClip.mChannelCount;
    for (int i = 0; i < mClip.mChannelCount; ++i) {
        mScan.SkipBlanks();
        if (mScan.AtLineEnd()) {
            if (pFrame == 0 && !mWrapped) {
                mWrapped = true;
                firstLineCount = i;
            }
            mScan.SkipSpace();
            if (!mWrapped || mScan.AtEnd()) {
                return FailShortFrame(pFrame, line, i);
            }
        }
        if (const EScan scan = mScan.TakeNumber(pRow[i]); scan != eScanNumber) {
            return Accept(scan);
        }
    }
    mScan.SkipBlanks();
    return mScan.AtLineEnd() || FailLongLine(pFrame, line, firstLineCount);
}

bool BvhParser::FailShortFrame(int pFrame, std::int64_t pLine, int pCount)
{
    return Fail("too few numbers in frame " + std::to_string(pFrame) + ": " +
                    std::to_string(pCount) + " for " + std::to_string(mClip.mChannelCount) +
                    " channels",
                pLine);
}

bool BvhParser::FailLongLine(int pFrame, std::int64_t pLine, int pFirstLineCount)
{
    if (mWrapped && pFirstLineCount < mClip.mChannelCount) {
        return FailShortFrame(pFrame, pLine, pFirstLineCount);
    }
    int count = mClip.mChannelCount;
    double ignored = 0.0;
    for (; !mScan.AtLineEnd(); ++count) {
        if (const EScan scan = mScan.TakeNumber(ignored); scan != eScanNumber) {
            return Accept(scan);
        }
        mScan.SkipBlanks();
    }
    return Fail("too many numbers in frame " + std::to_string(pFrame) + ": " +
                    std::to_string(count) + " for " + std::to_string(mClip.mChannelCount) +
                    " channels",
                pLine);
}
}  // namespace

IoResult<Clip> ParseBvh(std::string_view pText, const std::string& pFileName)
{
    try {
        BvhParser parser(pText);
        if (parser.Parse()) {
            return std::move(parser.GetClip());
        }
        IoError error = parser.GetError();
        error.mFile = pFileName;
        return error;
    } catch (const std::bad_alloc&) {
        return IoError{pFileName, 0, "does not fit into memory"};
    }
}

IoResult<Clip> ReadBvh(const std::string& pPath)
{
    const IoResult<std::string> text = ReadTextFile(pPath);
    return text ? ParseBvh(*text, pPath) : IoResult<Clip>(text.GetError());
}
