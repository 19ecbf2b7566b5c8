// Copyright (c) 2026 The glissa authors
// SPDX-License-Identifier: MIT

// A channel of a rotation depends on all curves of the node and on the weights, so it has the
// breaks of all of them. Its marks are the keys of its own curves.

#include "apps/glissa/node_picture.h"

#include "apps/glissa/curve_picture.h"

#include <algorithm>

namespace
{
void SortUnique(std::vector<KTime>& pTimes)
{
    std::sort(pTimes.begin(), pTimes.end());
    pTimes.erase(std::unique(pTimes.begin(), pTimes.end()), pTimes.end());
}

std::vector<KTime> BreaksOf(const ClipCurves& pClip, GlissaNode& pNode, const TimeSpan& pSpan)
{
    std::vector<Glissa*> curves = CurvesOf(pNode);
    for (GlissaNode* layer = &pNode; layer; layer = layer->LayerGet()) {
        const HostLayer* const hostLayer =
            pClip.owner.GetNodes().GetLayers().Find(layer->GetLayerID());
        if (hostLayer) {
            curves.push_back(hostLayer->mWeight.get());
        }
    }
    std::vector<KTime> breaks;
    for (Glissa* const each : curves) {
        const std::vector<KTime> found = CurveBreaks(*each, pSpan);
        breaks.insert(breaks.end(), found.begin(), found.end());
    }
    SortUnique(breaks);
    return breaks;
}

// Times of the keys of a channel in a layer, or in all of them.
std::vector<KTime> KeyTimes(const NodeSeries& pSeries, int pChannel, const TimeSpan& pSpan)
{
    std::vector<KTime> times;
    for (GlissaNode* layer = pSeries.GetNode().node; layer; layer = layer->LayerGet()) {
        Glissa* const curve = layer->Get(pChannel)->FCurveGet();
        if (!curve || (!pSeries.IsBlended() && layer->GetLayerID() != pSeries.GetLayerId())) {
            continue;
        }
        for (int i = 0; i < curve->KeyGetCount(); ++i) {
            const KTime time = curve->KeyGetTime(i);
            if (time >= pSpan.from && time <= pSpan.to) {
                times.push_back(time);
            }
        }
    }
    SortUnique(times);
    return times;
}
}  // namespace

std::vector<PictureCurve> MakeNodePicture(const ClipCurves& pClip, const NamedNode& pNode,
                                          const TimeSpan& pSpan, bool pLayers)
{
    const std::vector<KTime> breaks = BreaksOf(pClip, *pNode.node, pSpan);
    const std::optional<TimeSpan> keys = KeySpan(std::vector<NamedNode>{pNode});
    std::vector<PictureCurve> curves;
    int part = 0;
    for (const NodeSeries& series : MakeSeries(pClip, pNode, pLayers)) {
        for (int i = 0; i < series.GetCount(); ++i) {
            PictureCurve curve;
            curve.name = series.GetName(i);
            curve.unit = pNode.unit;
            curve.value = [series, i, hint = 0](KTime pTime) mutable {
                NodeValues values{};
                series.Evaluate(values, pTime, &hint);
                return values[static_cast<std::size_t>(i)];
            };
            const GlissaNode* const channel = pNode.node->Get(i);
            curve.colour = OwnColour((channel ? channel : pNode.node)->GetColor());
            curve.breaks = breaks;
            curve.hasKeys = keys.has_value();
            if (keys) {
                curve.first = keys->from;
                curve.last = keys->to;
            }
            curve.strong = pLayers && series.IsBlended();
            curve.part = part;
            curve.whole = series.IsBlended() ? std::string() : series.GetChannelName(i);
            for (const KTime time :
                 curve.strong ? std::vector<KTime>() : KeyTimes(series, i, pSpan)) {
                curve.keys.push_back({time, curve.value(time), {}, {}});
            }
            curves.push_back(std::move(curve));
        }
        ++part;
    }
    return curves;
}
