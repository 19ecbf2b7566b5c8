// Copyright (c) 2026 The glissa authors
// SPDX-License-Identifier: MIT

// Writes the document field by field, without interpretation. Equal documents have equal text.

#include "apps/glissa/clip_curves.h"
#include "apps/glissa/clip_reading.h"
#include "apps/glissa/command.h"
#include "apps/glissa/json_report.h"
#include "apps/glissa/output.h"
#include "apps/glissa/shared_options.h"
#include "corvekit/store/tdf.h"
#include "io/clip_store.h"
#include "io/text_file.h"

#include <fmt/format.h>

#include <cmath>
#include <iterator>
#include <memory>
#include <span>

namespace
{
struct DumpOptions
{
    std::string path;
    bool unroll = false;
    std::string output;
    std::string format;
};

std::string QuotedText(std::string_view pText)
{
    return JsonText(pText, true);
}

// A double has a point or an exponent, an int has neither.
std::string DoubleText(double pValue)
{
    std::string text = fmt::format("{}", pValue);
    if (text.find_first_not_of("-0123456789") == std::string::npos) {
        text += ".0";
    }
    return text;
}

// The floats of curves are stored as doubles. Such a number is written with the digits of the float
// and an f, if that is shorter.
std::string NumberText(double pValue)
{
    std::string text = DoubleText(pValue);
    if (std::fabs(pValue) <= 3.0e38) {
        const auto asFloat = static_cast<float>(pValue);
        const std::string shorter = fmt::format("{}f", asFloat);
        if (static_cast<double>(asFloat) == pValue && shorter.size() + 2 < text.size()) {
            text = shorter;
        }
    }
    return text;
}

class Dump
{
public:
    Dump(KTdf& pTdf, Output& pOutput, bool pJson) : mTdf(pTdf), mOutput(pOutput), mJson(pJson) {}

    void Write()
    {
        if (mJson) {
            Put("[");
        }
        Fields(0);
        if (mJson) {
            Put("\n]\n");
        }
    }

private:
    void Put(std::string_view pText) { mOutput.Write(pText); }
    void Line(int pDepth) { Put('\n' + std::string(static_cast<std::size_t>(pDepth) * 2, ' ')); }

    void Fields(int pDepth)
    {
        for (bool isFirst = true; mTdf.FieldReadBeginNext(); isFirst = false) {
            const std::string name = QuotedText(mTdf.FieldReadGetName().GetView());
            if (mJson) {
                Put(isFirst ? "" : ",");
                Line(pDepth + 1);
                Put("{\"name\":" + name + ",\"values\":[");
            } else {
                Put(std::string(static_cast<std::size_t>(pDepth) * 2, ' ') + name);
            }
            Values(pDepth + 1);
            Put(mJson ? "]" : "\n");
            if (mTdf.FieldReadBlockBegin()) {
                Put(mJson ? ",\"fields\":[" : "");
                Fields(pDepth + 1);
                Put(mJson ? "]" : "");
                mTdf.FieldReadBlockEnd();
            }
            Put(mJson ? "}" : "");
            mTdf.FieldReadEnd();
        }
    }

    // Of many values each time starts a line.
    void Values(int pDepth)
    {
        const bool isRun = mTdf.FieldReadGetRemain() > 4;
        for (bool isFirst = true; mTdf.FieldReadGetRemain() > 0; isFirst = false) {
            if (mJson && !isFirst) {
                Put(",");
            }
            if (isRun && mTdf.FieldReadGetType() == KTdf::kTypeTime) {
                Line(pDepth + 1);
            } else if (!mJson) {
                Put(" ");
            }
            Put(mJson ? JsonValue() : TextValue());
        }
    }

    std::string TextValue()
    {
        switch (mTdf.FieldReadGetType()) {
        case KTdf::kTypeDouble:
            return NumberText(mTdf.FieldReadD());
        case KTdf::kTypeInt:
            return fmt::format("{}", mTdf.FieldReadI());
        case KTdf::kTypeTime: {
            const KTime time = mTdf.FieldReadT();
            return fmt::format("{}t ({:.6f} s)", time.Get(), time.GetSecondDouble());
        }
        case KTdf::kTypeCharacter:
            return Character();
        default:
            return QuotedText(mTdf.FieldReadS().GetView());
        }
    }

    std::string JsonValue()
    {
        switch (mTdf.FieldReadGetType()) {
        case KTdf::kTypeDouble: {
            const double value = mTdf.FieldReadD();
            return std::isfinite(value) ? DoubleText(value)
                                        : fmt::format("{{\"double\":\"{}\"}}", value);
        }
        case KTdf::kTypeInt:
            return fmt::format("{}", mTdf.FieldReadI());
        case KTdf::kTypeTime:
            return fmt::format("{{\"ticks\":{}}}", mTdf.FieldReadT().Get());
        case KTdf::kTypeCharacter:
            return fmt::format("{{\"character\":{}}}",
                               static_cast<int>(static_cast<unsigned char>(mTdf.FieldReadCH())));
        default:
            return QuotedText(mTdf.FieldReadS().GetView());
        }
    }

    std::string Character()
    {
        const char value = mTdf.FieldReadCH();
        return value > ' ' && value < 0x7F
                   ? fmt::format("'{}'", value)
                   : fmt::format("'\\x{:02x}'",
                                 static_cast<unsigned>(static_cast<unsigned char>(value)));
    }

    KTdf& mTdf;
    Output& mOutput;
    const bool mJson;
};

// Any document of the field store can be shown, also without a clip. A BVH clip is shown as it
// would be stored, and so is a clip whose jumps are mended.
void LoadDocument(const std::string& pPath, bool pUnroll, KTdf& pTdf)
{
    const std::string bytes = ValueOrRefusal(ReadTextFile(pPath));
    if (pUnroll || !IsStore(bytes)) {
        const ClipCurves clip = LoadClip(pPath, pUnroll);
        StoreClip(clip.clip, clip.owner, pTdf);
    } else if (!pTdf.Load(
                   std::span(reinterpret_cast<const std::uint8_t*>(bytes.data()), bytes.size()))) {
        throw Refusal(fmt::format("{}: {}", pPath, pTdf.GetError().GetLastErrorString()));
    }
}

void RunDump(const DumpOptions& pOptions)
{
    KTdf tdf;
    LoadDocument(pOptions.path, pOptions.unroll, tdf);
    Output output(pOptions.output, pOptions.path);
    Dump(tdf, output, pOptions.format == "json").Write();
    output.Commit();
}
}  // namespace

void AddDumpCommand(CLI::App& pApp, Action& pAction)
{
    const auto options = std::make_shared<DumpOptions>();
    CLI::App* const command =
        pApp.add_subcommand("dump", "Show all fields and values of a .glissa file");
    AddClipArgument(*command, options->path);
    AddUnrollOption(*command, options->unroll);
    AddJsonOptions(*command, options->format);
    AddOutputOption(*command, options->output);
    command->footer("Examples:\n"
                    "  glissa dump clip.glissa\n"
                    "  glissa dump clip.glissa --json -o clip.json");
    command->callback([options, &pAction] { pAction = [options] { RunDump(*options); }; });
}
