// Copyright (c) 2026 The glissa authors
// SPDX-License-Identifier: MIT

// Writes the clip in data/ to standard output: ten seconds of a walking figure, 25 joints, 120
// frames per second, with the small errors of a recording. `make_clip > data/walk.bvh`
//
// The output is the same on every machine: the sine, the random generator and the rounding of
// numbers are computed here, in double arithmetic without contraction.
//
// The gait follows the angles of hip, knee and ankle in the sagittal plane from textbooks on normal
// walking. Height and speed of the hips are computed from the legs so that the supporting foot does
// not move.

#include <cmath>
#include <cstdint>
#include <cstdio>
#include <string>
#include <vector>

namespace
{
constexpr int kFrames = 1200;
constexpr double kFramesPerSecond = 120.0;
constexpr double kCycleSeconds = 1.1;
constexpr double kPi = 3.14159265358979323846;

// Centimetres.
constexpr double kThigh = 42.0;
constexpr double kShank = 41.5;
constexpr double kAnkleHeight = 8.0;
constexpr double kHeelBack = 5.0;
constexpr double kBallAhead = 13.5;

// Sine of an angle in turns: reduced to a quarter turn, then the power series, whose first omitted
// term is below 1e-12.
double SineOfTurns(double pTurns)
{
    double turns = pTurns - std::floor(pTurns + 0.5);
    turns = turns > 0.25 ? 0.5 - turns : turns < -0.25 ? -0.5 - turns : turns;
    const double x = 2.0 * kPi * turns;
    double term = x;
    double sum = x;
    for (int n = 1; n <= 8; ++n) {
        term *= -x * x / ((2.0 * n) * (2.0 * n + 1.0));
        sum += term;
    }
    return sum;
}

double CosineOfTurns(double pTurns)
{
    return SineOfTurns(pTurns + 0.25);
}

// SplitMix64 by Steele, Lea and Flood 2014.
class Generator
{
public:
    explicit Generator(std::uint64_t pSeed) : mState(pSeed) {}

    // Uniform in -1 to 1.
    double Next()
    {
        mState += 0x9E3779B97F4A7C15u;
        std::uint64_t z = mState;
        z = (z ^ (z >> 30)) * 0xBF58476D1CE4E5B9u;
        z = (z ^ (z >> 27)) * 0x94D049BB133111EBu;
        z ^= z >> 31;
        return static_cast<double>(z >> 11) * 0x1p-52 - 1.0;
    }

private:
    std::uint64_t mState;
};

// A smooth random curve of about -1 to 1: random values at equal distances, connected by the cubic
// of Catmull and Rom 1974.
class Drift
{
public:
    Drift(Generator& pGenerator, double pSeconds) : mSeconds(pSeconds)
    {
        mKnots.resize(static_cast<std::size_t>(kFrames / kFramesPerSecond / pSeconds) + 5);
        for (double& each : mKnots) {
            each = pGenerator.Next();
        }
    }

    double At(double pTime) const
    {
        const double place = pTime / mSeconds;
        const auto knot = static_cast<std::size_t>(place);
        const double t = place - std::floor(place);
        const double* const p = &mKnots[knot];
        return p[1] + 0.5 * t *
                          (p[2] - p[0] +
                           t * (2.0 * p[0] - 5.0 * p[1] + 4.0 * p[2] - p[3] +
                                t * (3.0 * (p[1] - p[2]) + p[3] - p[0])));
    }

private:
    double mSeconds;
    std::vector<double> mKnots;
};

// A function of the gait cycle as a short Fourier series, which is smooth even if the tables below
// are not.
class Cyclic
{
public:
    Cyclic(const std::vector<double>& pSamples, int pHarmonics)
    {
        const auto count = static_cast<double>(pSamples.size());
        for (int k = 0; k <= pHarmonics; ++k) {
            double cosine = 0.0;
            double sine = 0.0;
            for (std::size_t i = 0; i < pSamples.size(); ++i) {
                const double turns = k * static_cast<double>(i) / count;
                cosine += pSamples[i] * CosineOfTurns(turns);
                sine += pSamples[i] * SineOfTurns(turns);
            }
            mCosines.push_back((k == 0 ? 1.0 : 2.0) * cosine / count);
            mSines.push_back((k == 0 ? 1.0 : 2.0) * sine / count);
        }
    }

    double At(double pPhase) const
    {
        double sum = mCosines[0];
        for (std::size_t k = 1; k < mCosines.size(); ++k) {
            const double turns = static_cast<double>(k) * pPhase;
            sum += mCosines[k] * CosineOfTurns(turns) + mSines[k] * SineOfTurns(turns);
        }
        return sum;
    }

    // From phase 0.
    double IntegralTo(double pPhase) const
    {
        double sum = mCosines[0] * pPhase;
        for (std::size_t k = 1; k < mCosines.size(); ++k) {
            const double turns = static_cast<double>(k) * pPhase;
            sum += (mCosines[k] * SineOfTurns(turns) + mSines[k] * (1.0 - CosineOfTurns(turns))) /
                   (2.0 * kPi * static_cast<double>(k));
        }
        return sum;
    }

private:
    std::vector<double> mCosines;
    std::vector<double> mSines;
};

// Degrees at each twentieth of the cycle, which starts when the heel of the leg touches the ground.
// Forward and up are positive.
const Cyclic kHip({30, 29, 27, 23, 18, 13, 8, 3, -2, -6, -9, -9, -4, 5, 15, 24, 30, 33, 33, 31}, 5);
const Cyclic kKnee({5, 12, 17, 18, 16, 12, 9, 7, 6, 8, 14, 25, 39, 53, 61, 61, 52, 36, 18, 7}, 6);
const Cyclic kAnkle({0, -4, -3, 1, 4, 6, 8, 9, 10, 10, 6, -4, -15, -17, -10, -3, 1, 2, 2, 1}, 6);
const Cyclic kToes({0, 0, 0, 0, 0, 0, 0, 1, 4, 10, 19, 25, 20, 9, 3, 1, 0, 0, 0, 0}, 5);

struct Point
{
    double mAhead;
    double mUp;
};

Point Turned(Point pPoint, double pDegrees)
{
    const double c = CosineOfTurns(pDegrees / 360.0);
    const double s = SineOfTurns(pDegrees / 360.0);
    return {c * pPoint.mAhead - s * pPoint.mUp, s * pPoint.mAhead + c * pPoint.mUp};
}

// The lower one of heel and ball of the foot, seen from the hip joint.
Point LowestOfFoot(double pPhase, bool pHeel)
{
    const double thigh = kHip.At(pPhase);
    const double shank = thigh - kKnee.At(pPhase);
    const double foot = shank + kAnkle.At(pPhase);
    const Point knee = Turned({0.0, -kThigh}, thigh);
    const Point ankle = Turned({0.0, -kShank}, shank);
    const Point sole = Turned({pHeel ? -kHeelBack : kBallAhead, -kAnkleHeight}, foot);
    return {knee.mAhead + ankle.mAhead + sole.mAhead, knee.mUp + ankle.mUp + sole.mUp};
}

// The motion of the hips over the supporting foot at each phase: height above the ground, and
// distance forward for a whole cycle.
struct Support
{
    std::vector<double> mHeight;
    std::vector<double> mSpeed;
};

Support FindSupport()
{
    constexpr int kSamples = 120;
    constexpr double kStep = 1e-4;
    Support support;
    for (int i = 0; i < kSamples; ++i) {
        const double phase = static_cast<double>(i) / kSamples;
        double height = 0.0;
        double speed = 0.0;
        for (int side = 0; side < 4; ++side) {
            const double leg = phase + (side & 1) * 0.5;
            const bool heel = side < 2;
            const Point point = LowestOfFoot(leg, heel);
            if (-point.mUp > height) {
                height = -point.mUp;
                speed = (LowestOfFoot(leg - kStep, heel).mAhead -
                         LowestOfFoot(leg + kStep, heel).mAhead) /
                        (2.0 * kStep);
            }
        }
        support.mHeight.push_back(height);
        support.mSpeed.push_back(speed);
    }
    return support;
}

// An angle of a joint in degrees: a mean, a wave with the period of the cycle, a wave with the
// period of a step, and a part of one of the curves above. A wave has its maximum at its phase.
struct Angle
{
    double mMean = 0.0;
    double mCycle = 0.0;
    double mCyclePhase = 0.0;
    double mStep = 0.0;
    double mStepPhase = 0.0;
    const Cyclic* mCurve = nullptr;
    double mShare = 0.0;
};

double ValueOf(const Angle& pAngle, double pPhase)
{
    return pAngle.mMean + pAngle.mCycle * CosineOfTurns(pPhase - pAngle.mCyclePhase) +
           pAngle.mStep * CosineOfTurns(2.0 * (pPhase - pAngle.mStepPhase)) +
           (pAngle.mCurve != nullptr ? pAngle.mShare * pAngle.mCurve->At(pPhase) : 0.0);
}

struct Joint
{
    const char* mName;
    int mDepth;
    double mOffset[3];
    const char* mOrder;  // of the rotation channels
    Angle mAngles[3];    // X, Y, Z
    double mNoise;       // factor of the noise, greater for extremities
    double mEnd[3];      // end site; none if all are 0
};

// Y is up, the figure walks along Z, its left is X. A positive X turns a hanging limb backwards.
// A joint has two lines, its position and its motion.
// clang-format off

// The trunk: phases count from the heel of the left leg.
const Joint kTrunk[] = {
    {"Hips", 0, {0, 0, 0}, "ZXY",
     {{0, 0, 0, 0.8, 0.1}, {0, 4.5, 0.5}, {0, 2.6, 0.2, 0.4, 0.1}}, 0.6, {}},
    {"Spine", 1, {0, 9.5, -0.6}, "ZXY",
     {{2.5, 0, 0, 0.7, 0.2}, {0, 3.2, 0.02}, {0, 1.9, 0.7}}, 0.6, {}},
    {"Chest", 2, {0, 11.8, -0.9}, "ZXY",
     {{2.0, 0, 0, 0.6, 0.22}, {0, 3.4, 0.03}, {0, 1.4, 0.71}}, 0.6, {}},
    {"UpperChest", 3, {0, 12.6, 0.3}, "ZXY",
     {{-1.0, 0, 0, 0.5, 0.25}, {0, 2.6, 0.04}, {0, 0.7, 0.72}}, 0.6, {}},
    {"Neck", 4, {0, 13.9, 0.4}, "ZYX",
     {{9.0, 0, 0, 0.5, 0.0}, {0, 2.0, 0.54}, {0, 0.5, 0.22}}, 0.8, {}},
    {"Neck1", 5, {0, 5.1, 1.2}, "ZYX",
     {{-4.0, 0, 0, 0.5, 0.02}, {0, 1.5, 0.55}, {0, 0.5, 0.24}}, 0.8, {}},
    {"Head", 6, {0, 5.4, 1.0}, "YXZ",
     {{-7.0, 0, 0, 0.9, 0.03}, {0, 1.1, 0.56}, {0, 0.7, 0.25}}, 1.0, {0, 18.2, 1.5}},
};

// The limbs of the left side: phases count from the heel of the leg of the same side. The waves of
// the thigh about Y and Z are the inverse of those of the hips, so that the foot does not move.
const Joint kArm[] = {
    {"Shoulder", 4, {3.4, 10.6, 1.1}, "XYZ",
     {{1.0, 1.2, 0.55}, {-2.0, 2.4, 0.05}, {1.5, 0.6, 0.3}}, 0.7, {}},
    {"Arm", 5, {13.4, 0.2, -1.2}, "XYZ",
     {{4.0, 19.0, 0.03, 1.2, 0.1}, {-4.0, 2.0, 0.5}, {7.5, 1.2, 0.25}}, 1.0, {}},
    {"ForeArm", 6, {1.6, -27.4, -0.5}, "YXZ",
     {{-26.0, 11.0, 0.07, 1.5, 0.1}, {6.0, 3.0, 0.1}, {-1.5, 0.5, 0.2}}, 1.2, {}},
    {"Hand", 7, {0.8, -24.6, 1.4}, "ZYX",
     {{-4.0, 4.0, 0.16}, {9.0, 2.5, 0.2}, {-3.0, 2.2, 0.12}}, 2.0, {}},
    {"Fingers", 8, {0.3, -9.2, 0.6}, "XZY",
     {{-1.0, 0.6, 0.2}, {0.0}, {-19.0, 3.0, 0.15}}, 1.5, {0.2, -8.4, 0.3}},
};
const Joint kLeg[] = {
    {"UpLeg", 1, {9.2, -1.5, 0.4}, "ZXY",
     {{0, 0, 0, 0, 0, &kHip, -1.0}, {4.0, 4.2, 0.02}, {1.0, 4.0, 0.74}}, 0.7, {}},
    {"Leg", 2, {0, -kThigh, 0}, "XYZ",
     {{0, 0, 0, 0, 0, &kKnee, 1.0}, {1.0, 0.8, 0.7}, {-0.5, 0.5, 0.6}}, 0.7, {}},
    {"Foot", 3, {0, -kShank, 0}, "YXZ",
     {{0, 0, 0, 0, 0, &kAnkle, -1.0}, {5.0, 0.8, 0.6}, {-1.0, 1.5, 0.3}}, 1.0, {}},
    {"ToeBase", 4, {0.4, -5.8, 13.5}, "XYZ",
     {{0, 0, 0, 0, 0, &kToes, -1.0}, {0.0}, {0.0}}, 0.8, {0, 0, 6.5}},
};
// clang-format on

// A joint of the figure with its motion.
struct Actor
{
    Joint mJoint;
    std::string mName;
    double mPhase;
    double mMirror;  // -1 on the right side, for the offsets along X and the angles about Y and Z
};

std::vector<Actor> MakeFigure()
{
    std::vector<Actor> figure;
    for (const Joint& each : kTrunk) {
        figure.push_back({each, each.mName, 0.0, 1.0});
    }
    const auto addLimb = [&](const auto& pLimb, const char* pSide, double pPhase, double pMirror) {
        for (const Joint& each : pLimb) {
            figure.push_back({each, std::string(pSide) + each.mName, pPhase, pMirror});
        }
    };
    addLimb(kArm, "Left", 0.0, 1.0);
    addLimb(kArm, "Right", 0.5, -1.0);
    addLimb(kLeg, "Left", 0.0, 1.0);
    addLimb(kLeg, "Right", 0.5, -1.0);
    return figure;
}

// Fixed point with a given number of digits; no "-0.00".
void AppendNumber(std::string& pText, double pValue, int pDigits)
{
    long long scale = 1;
    for (int i = 0; i < pDigits; ++i) {
        scale *= 10;
    }
    const long long number = std::llround(pValue * static_cast<double>(scale));
    const long long size = number < 0 ? -number : number;
    const std::string fraction = std::to_string(size % scale + scale).substr(1);
    pText += number < 0 ? "-" : "";
    pText += std::to_string(size / scale) + '.' + fraction;
}

void AppendOffset(std::string& pText, const std::string& pIndent, const double (&pOffset)[3],
                  double pMirror)
{
    pText += pIndent + "OFFSET";
    for (int axis = 0; axis < 3; ++axis) {
        pText += ' ';
        AppendNumber(pText, axis == 0 ? pMirror * pOffset[axis] : pOffset[axis], 2);
    }
    pText += '\n';
}

void AppendHierarchy(std::string& pText, const std::vector<Actor>& pFigure)
{
    const auto tabs = [](int pDepth) {
        return std::string(static_cast<std::size_t>(pDepth), '\t');
    };
    pText += "HIERARCHY\n";
    for (std::size_t i = 0; i < pFigure.size(); ++i) {
        const Actor& actor = pFigure[i];
        const Joint& joint = actor.mJoint;
        const std::string outer = tabs(joint.mDepth);
        const std::string inner = tabs(joint.mDepth + 1);
        pText += outer + (i == 0 ? "ROOT " : "JOINT ") + actor.mName + '\n' + outer + "{\n";
        AppendOffset(pText, inner, joint.mOffset, actor.mMirror);
        pText += inner + (i == 0 ? "CHANNELS 6 Xposition Yposition Zposition" : "CHANNELS 3");
        for (const char* axis = joint.mOrder; *axis != '\0'; ++axis) {
            pText += std::string(" ") + *axis + "rotation";
        }
        pText += '\n';
        if (joint.mEnd[0] != 0.0 || joint.mEnd[1] != 0.0 || joint.mEnd[2] != 0.0) {
            pText += inner + "End Site\n" + inner + "{\n";
            AppendOffset(pText, tabs(joint.mDepth + 2), joint.mEnd, actor.mMirror);
            pText += inner + "}\n";
        }
        const int next = i + 1 < pFigure.size() ? pFigure[i + 1].mJoint.mDepth : 0;
        for (int depth = joint.mDepth; depth >= next; --depth) {
            pText += tabs(depth) + "}\n";
        }
    }
}

// Noise of one channel: variations of a person, motion of markers on skin, and errors of
// measurement in each frame.
class Noise
{
public:
    Noise(Generator& pGenerator, double pSize)
        : mSway(pGenerator, 0.83), mWobble(pGenerator, 0.061), mSize(pSize)
    {}

    double At(double pTime, Generator& pGenerator) const
    {
        return mSize *
               (0.7 * mSway.At(pTime) + 0.09 * mWobble.At(pTime) + 0.02 * pGenerator.Next());
    }

private:
    Drift mSway;
    Drift mWobble;
    double mSize;
};

void AppendFrames(std::string& pText, const std::vector<Actor>& pFigure)
{
    Generator generator(25);
    const Drift pace(generator, 1.9);      // steps vary in duration
    const Drift strength(generator, 2.3);  // and in length
    const Drift heading(generator, 4.0);
    std::vector<Noise> noises;
    for (const Actor& actor : pFigure) {
        for (int axis = 0; axis < 3; ++axis) {
            noises.emplace_back(generator, actor.mJoint.mNoise);
        }
    }
    const Noise places[3] = {{generator, 0.5}, {generator, 0.15}, {generator, 0.4}};

    const Support support = FindSupport();
    const Cyclic height(support.mHeight, 4);
    const Cyclic speed(support.mSpeed, 6);
    double ahead = 0.0;
    double aside = 0.0;
    double lastWay = 0.0;
    for (int frame = 0; frame < kFrames; ++frame) {
        const double time = frame / kFramesPerSecond;
        const double phase = 0.15 + time / kCycleSeconds + 0.012 * pace.At(time);
        const double size = 1.0 + 0.025 * strength.At(time);
        const double turn = 5.0 * heading.At(time);

        const double way = size * speed.IntegralTo(phase);
        const double step = frame == 0 ? 0.0 : way - lastWay;
        lastWay = way;
        ahead += step * CosineOfTurns(turn / 360.0);
        aside += step * SineOfTurns(turn / 360.0);
        // Over the supporting foot: the left one in the first half of the cycle.
        const double sway = 2.2 * CosineOfTurns(phase - 0.3);
        const double place[3] = {aside + sway, height.At(phase) + 1.5, ahead};
        for (int axis = 0; axis < 3; ++axis) {
            pText += axis == 0 ? "" : " ";
            AppendNumber(pText, place[axis] + places[axis].At(time, generator), 3);
        }
        for (std::size_t i = 0; i < pFigure.size(); ++i) {
            const Actor& actor = pFigure[i];
            for (const char* letter = actor.mJoint.mOrder; *letter != '\0'; ++letter) {
                const int axis = *letter - 'X';
                double angle = size * ValueOf(actor.mJoint.mAngles[axis], phase + actor.mPhase);
                angle *= axis == 0 ? 1.0 : actor.mMirror;
                angle += i == 0 && axis == 1 ? turn : 0.0;
                const Noise& noise = noises[3 * i + static_cast<std::size_t>(axis)];
                pText += ' ';
                AppendNumber(pText, angle + noise.At(time, generator), 2);
            }
        }
        pText += '\n';
    }
}
}  // namespace

int main()
{
    const std::vector<Actor> figure = MakeFigure();
    std::string text;
    AppendHierarchy(text, figure);
    text += "MOTION\nFrames: " + std::to_string(kFrames) + "\nFrame Time: 0.0083333\n";
    AppendFrames(text, figure);
    const bool written = std::fwrite(text.data(), 1, text.size(), stdout) == text.size();
    return written && std::fflush(stdout) == 0 ? 0 : 1;
}
