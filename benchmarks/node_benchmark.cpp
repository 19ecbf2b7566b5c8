// Copyright (c) 2026 The glissa authors
// SPDX-License-Identifier: MIT

// Operations of trees, compared with those of their parts: storing 10000 curves of 100 keys with
// one curve of as many keys, a search by name with the comparison of as many strings, a clone with
// a copy of the same pages.

#include "benchmarks/paired.h"
#include "corvekit/store/tdf.h"
#include "corvekit/string.h"
#include "glissa/curve/curve.h"
#include "glissa/node/node.h"

#include <benchmark/benchmark.h>

#include <cmath>
#include <cstdio>
#include <cstring>
#include <memory>
#include <string>
#include <vector>

namespace
{
constexpr const char* kTreePath = "node_benchmark_tree.tmp";
constexpr const char* kCurvePath = "node_benchmark_curve.tmp";
constexpr int kCurves = 10000;
constexpr int kKeys = 100;

struct DestroyNode
{
    void operator()(GlissaNode* pNode) const { pNode->Destroy(); }
};
using NodeHandle = std::unique_ptr<GlissaNode, DestroyNode>;
struct DestroyCurve
{
    void operator()(Glissa* pCurve) const { pCurve->Destroy(); }
};
using CurveHandle = std::unique_ptr<Glissa, DestroyCurve>;

void Fill(Glissa& pCurve, int pKeys)
{
    pCurve.ResizeKeyBuffer(pKeys, false);
    for (int i = 0; i < pKeys; ++i) {
        pCurve.KeyAppendFast(KTime(4704000LL * i), std::sin(0.1f * static_cast<float>(i)));
    }
}

// Objects in two levels, each with translation, rotation and scaling of three curves.
NodeHandle MakeTree(int& pNodes)
{
    NodeHandle root(GlissaNodeCreate("Scene", nullptr, eLayerTypeValue, GlissaLayerInfo::Base));
    GlissaNode* group = nullptr;
    pNodes = 0;
    for (int curves = 0, object = 0; curves < kCurves; ++object) {
        GlissaNode* const node = GlissaNodeCreate(("Object" + std::to_string(object)).c_str(),
                                                  nullptr, eLayerTypeValue, GlissaLayerInfo::Base);
        (object % 30 == 0 ? root.get() : group)->Add(node);
        group = object % 30 == 0 ? node : group;
        ++pNodes;
        for (const auto& [type, name] :
             {std::pair(KDataTypeLclTranslation, "T"), std::pair(KDataTypeLclRotation, "R"),
              std::pair(KDataTypeLclScaling, "S")}) {
            GlissaNode* const channel = FCurveNodeCreateFromDataType(type, name);
            node->Add(channel);
            channel->CreateFCurve();
            pNodes += 4;
            for (int i = 0; i < 3 && curves < kCurves; ++i, ++curves) {
                Fill(*channel->Get(i)->FCurveGet(), kKeys);
            }
        }
    }
    return root;
}

std::uint64_t SaveTree(GlissaNode& pTree)
{
    KTdf tdf;
    pTree.TdfStore(&tdf, false, false, false, "Channel", false, false);
    return tdf.Save(kTreePath) ? kCurves * kKeys : 0;
}

std::uint64_t SaveCurve(Glissa& pCurve)
{
    KTdf tdf;
    pCurve.TdfStore(&tdf, false, false, false);
    return tdf.Save(kCurvePath) ? static_cast<std::uint64_t>(pCurve.KeyGetCount()) : 0;
}

struct TreeAndCurve
{
    TreeAndCurve() : tree(MakeTree(nodes)), curve(GlissaCreate()) { Fill(*curve, kCurves * kKeys); }
    ~TreeAndCurve()
    {
        std::remove(kTreePath);
        std::remove(kCurvePath);
    }
    int nodes = 0;
    NodeHandle tree;
    CurveHandle curve;
};

void SaveATree(benchmark::State& pState)
{
    const TreeAndCurve both;
    RunPaired(
        pState, kCurves * kKeys, [&] { return SaveTree(*both.tree); },
        [&] { return SaveCurve(*both.curve); });
}
BENCHMARK(SaveATree)->UseManualTime();

std::uint64_t CountKeys(GlissaNode& pNode)
{
    std::uint64_t keys =
        pNode.FCurveGet() ? static_cast<std::uint64_t>(pNode.FCurveGet()->KeyGetCount()) : 0;
    for (int i = 0; i < pNode.GetCount(); ++i) {
        keys += CountKeys(*pNode.Get(i));
    }
    return keys;
}

void LoadATree(benchmark::State& pState)
{
    const TreeAndCurve both;
    SaveTree(*both.tree);
    SaveCurve(*both.curve);
    NodeHandle node;
    CurveHandle curve;
    RunPaired(
        pState, kCurves * kKeys,
        [&]() -> std::uint64_t {
            node.reset(GlissaNodeCreate("", nullptr, eLayerTypeValue, GlissaLayerInfo::Base));
            KTdf tdf;
            const bool read = tdf.Load(kTreePath) && node->TdfRetrieve(&tdf, false, true, false);
            return read ? CountKeys(*node) : 0;
        },
        [&]() -> std::uint64_t {
            curve.reset(GlissaCreate());
            KTdf tdf;
            const bool read = tdf.Load(kCurvePath) && curve->TdfRetrieve(&tdf, false, false);
            return read ? static_cast<std::uint64_t>(curve->KeyGetCount()) : 0;
        },
        [&] {
            node.reset();
            curve.reset();
        });
}
BENCHMARK(LoadATree)->UseManualTime();

void CollectNames(GlissaNode& pNode, std::vector<std::string>& pNames)
{
    for (int i = 0; i < pNode.GetCount(); ++i) {
        pNames.emplace_back(pNode.Get(i)->GetName());
        CollectNames(*pNode.Get(i), pNames);
    }
}

// A name that does not exist, of the length of many others.
void FindByName(benchmark::State& pState)
{
    int nodes = 0;
    const NodeHandle tree = MakeTree(nodes);
    std::vector<std::string> names;
    CollectNames(*tree, names);
    const char* const wanted = "object9999";
    RunPaired(
        pState, nodes, [&] { return tree->FindRecursive(wanted) ? 1u : 0u; },
        [&] {
            for (const std::string& each : names) {
                if (KCompareNoCase(each.c_str(), wanted) == 0) {
                    return 1u;
                }
            }
            return 0u;
        });
}
BENCHMARK(FindByName)->UseManualTime();

void CloneATree(benchmark::State& pState)
{
    int nodes = 0;
    const NodeHandle tree = MakeTree(nodes);
    constexpr std::size_t kPageBytes = 1024;
    constexpr int kPagesOfACurve = 3;
    const std::vector<char> page(kPageBytes, 'p');
    std::vector<std::vector<char>> source(kCurves * kPagesOfACurve, page);
    std::vector<std::unique_ptr<char[]>> pages;
    NodeHandle clone;
    RunPaired(
        pState, kCurves * kKeys,
        [&] {
            clone.reset(tree->Clone(false));
            return static_cast<std::uint64_t>(clone->GetCount() > 0);
        },
        [&] {
            pages.reserve(source.size());
            for (const std::vector<char>& each : source) {
                pages.emplace_back(new char[kPageBytes]);
                std::memcpy(pages.back().get(), each.data(), kPageBytes);
            }
            benchmark::DoNotOptimize(pages.data());
            return static_cast<std::uint64_t>(!pages.empty());
        },
        [&] {
            clone.reset();
            pages.clear();
        });
}
BENCHMARK(CloneATree)->UseManualTime();
}  // namespace
