// Copyright (c) 2026 The glissa authors
// SPDX-License-Identifier: MIT

#include "apps/glissa/table.h"

#include "apps/glissa/json_report.h"
#include "apps/glissa/progress.h"

#include <fmt/format.h>

#include <cmath>
#include <iterator>

namespace
{
// Collects text for larger writes.
class TextBuffer
{
public:
    explicit TextBuffer(Output& pOutput) : mOutput(pOutput) {}

    template <typename... Parts>
    void Text(const Parts&... pParts)
    {
        (mText.append(std::string_view(pParts)), ...);
    }

    template <typename T>
    void Number(T pNumber)
    {
        fmt::format_to(std::back_inserter(mText), "{}", pNumber);
    }

    template <typename T>
    void JsonNumber(T pNumber)
    {
        if (std::isfinite(pNumber)) {
            Number(pNumber);
        } else {
            Text("null");
        }
    }

    /// pIsSingle  whether the number is the value of a float.
    void NodeNumber(double pNumber, bool pIsSingle)
    {
        if (pIsSingle) {
            Number(static_cast<float>(pNumber));
        } else {
            Number(pNumber);
        }
    }

    void FlushIfFull()
    {
        if (mText.size() >= kBufferSize) {
            Flush();
        }
    }
    void Flush()
    {
        mOutput.Write({mText.data(), mText.size()});
        mText.clear();
    }

private:
    static constexpr std::size_t kBufferSize = 1 << 14;

    Output& mOutput;
    fmt::memory_buffer mText;
};

// An array for each curve. The grid is evaluated again for each, so that values need no memory.
template <typename Evaluate>
void WriteJsonArray(TextBuffer& pBuffer, const SampleGrid& pGrid, Progress& pProgress,
                    std::uint64_t& pDone, Evaluate pEvaluate)
{
    const std::uint64_t count = pGrid.Count();
    pBuffer.Text("[");
    for (std::uint64_t i = 0; i < count; ++i) {
        pBuffer.Text(i == 0 ? "" : ",");
        pEvaluate(pGrid.At(i));
        pBuffer.FlushIfFull();
        pProgress.At(++pDone);
    }
    pBuffer.Text("]");
}

void WriteJsonChannel(TextBuffer& pBuffer, const NodeSeries& pNode, int pIndex,
                      const char* pSeparator, const SampleGrid& pGrid, Progress& pProgress,
                      std::uint64_t& pDone)
{
    pBuffer.Text(pSeparator, "{\"name\":", JsonText(pNode.GetName(pIndex)));
    if (!pNode.IsBlended()) {
        pBuffer.Text(",\"layer\":", JsonText(pNode.GetLayerName()));
    }
    pBuffer.Text(",\"unit\":\"", UnitName(pNode.GetNode().unit), "\",\"values\":");
    NodeValues values{};
    int hint = 0;
    WriteJsonArray(pBuffer, pGrid, pProgress, pDone, [&](KTime pTime) {
        pNode.Evaluate(values, pTime, &hint);
        const double value = values[static_cast<std::size_t>(pIndex)];
        if (pNode.IsSingle()) {
            pBuffer.JsonNumber(static_cast<float>(value));
        } else {
            pBuffer.JsonNumber(value);
        }
    });
    pBuffer.Text("}");
}
}  // namespace

std::uint64_t Table::CountColumns() const
{
    std::uint64_t columns = curves.size() * (slopes ? 3 : 1);
    for (const NodeSeries& each : nodes) {
        columns += static_cast<std::uint64_t>(each.GetCount());
    }
    return columns;
}

std::string CsvField(std::string_view pText)
{
    const bool hasBlankEnd = !pText.empty() && (pText.front() == ' ' || pText.back() == ' ');
    if (pText.find_first_of(",\"\r\n") == std::string_view::npos && !hasBlankEnd) {
        return std::string(pText);
    }
    std::string field = "\"";
    for (const char each : pText) {
        field += each;
        if (each == '"') {
            field += each;
        }
    }
    return field + '"';
}

void WriteCsv(const Table& pTable, Output& pOutput)
{
    TextBuffer buffer(pOutput);
    buffer.Text("time");
    for (const NamedCurve* const each : pTable.curves) {
        buffer.Text(",", CsvField(each->name));
        if (pTable.slopes) {
            buffer.Text(",", CsvField(each->name + " left slope"));
            buffer.Text(",", CsvField(each->name + " right slope"));
        }
    }
    for (const NodeSeries& each : pTable.nodes) {
        for (int i = 0; i < each.GetCount(); ++i) {
            buffer.Text(",", CsvField(each.GetName(i)));
        }
    }
    buffer.Text("\n");

    const std::uint64_t count = pTable.grid.Count();
    std::vector<int> hints(pTable.curves.size(), 0);
    std::vector<int> nodeHints(pTable.nodes.size(), 0);
    NodeValues values{};
    Progress progress("evaluating", count);
    for (std::uint64_t i = 0; i < count; ++i) {
        const KTime time = pTable.grid.At(i);
        buffer.Number(time.GetSecondDouble());
        for (std::size_t c = 0; c < pTable.curves.size(); ++c) {
            Glissa& curve = *pTable.curves[c]->curve;
            int* const hint = &hints[c];
            buffer.Text(",");
            buffer.Number(curve.Evaluate(time, hint));
            if (pTable.slopes) {
                buffer.Text(",");
                buffer.Number(curve.EvaluateLeftDerivative(time, hint));
                buffer.Text(",");
                buffer.Number(curve.EvaluateRightDerivative(time, hint));
            }
        }
        for (std::size_t n = 0; n < pTable.nodes.size(); ++n) {
            const NodeSeries& node = pTable.nodes[n];
            node.Evaluate(values, time, &nodeHints[n]);
            for (int v = 0; v < node.GetCount(); ++v) {
                buffer.Text(",");
                buffer.NodeNumber(values[static_cast<std::size_t>(v)], node.IsSingle());
            }
        }
        buffer.Text("\n");
        buffer.FlushIfFull();
        progress.At(i);
    }
    buffer.Flush();
}

void WriteJson(const Table& pTable, Output& pOutput)
{
    TextBuffer buffer(pOutput);
    Progress progress("evaluating", pTable.grid.Count() * (1 + pTable.CountColumns()));
    std::uint64_t done = 0;

    buffer.Text("{\"clip\":", JsonText(pTable.clip->path), ",\n\"rate\":");
    buffer.Number(pTable.grid.samplesASecond);
    buffer.Text(",\n\"times\":");
    WriteJsonArray(buffer, pTable.grid, progress, done,
                   [&](KTime pTime) { buffer.Number(pTime.GetSecondDouble()); });
    buffer.Text(",\n\"curves\":[");
    for (std::size_t c = 0; c < pTable.curves.size(); ++c) {
        Glissa& curve = *pTable.curves[c]->curve;
        int hint = 0;
        buffer.Text(c == 0 ? "\n" : ",\n");
        buffer.Text("{\"name\":", JsonText(pTable.curves[c]->name), ",\"unit\":\"",
                    UnitName(pTable.curves[c]->unit), "\",\"values\":");
        WriteJsonArray(buffer, pTable.grid, progress, done,
                       [&](KTime pTime) { buffer.JsonNumber(curve.Evaluate(pTime, &hint)); });
        if (pTable.slopes) {
            buffer.Text(",\"left_slopes\":");
            WriteJsonArray(buffer, pTable.grid, progress, done, [&](KTime pTime) {
                buffer.JsonNumber(curve.EvaluateLeftDerivative(pTime, &hint));
            });
            buffer.Text(",\"right_slopes\":");
            WriteJsonArray(buffer, pTable.grid, progress, done, [&](KTime pTime) {
                buffer.JsonNumber(curve.EvaluateRightDerivative(pTime, &hint));
            });
        }
        buffer.Text("}");
    }
    const char* separator = pTable.curves.empty() ? "\n" : ",\n";
    for (const NodeSeries& node : pTable.nodes) {
        for (int v = 0; v < node.GetCount(); ++v) {
            WriteJsonChannel(buffer, node, v, separator, pTable.grid, progress, done);
            separator = ",\n";
        }
    }
    buffer.Text("]}\n");
    buffer.Flush();
}
