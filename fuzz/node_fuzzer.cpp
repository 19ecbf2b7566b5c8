// Copyright (c) 2026 The glissa authors
// SPDX-License-Identifier: MIT

// Reads nodes from random documents and edits them. The input is a script of fields, so that
// mutations are not rejected by a checksum; edits follow the end of the first block. For any input
// the result is a tree, each chain has the structure of its base, evaluation writes only the values
// of a node, and the tree is stored and read back as the same bytes. After edits ids ascend along
// chains, and all nodes can be evaluated and destroyed.

#include "corvekit/store/tdf.h"
#include "fuzz/clip_checks.h"
#include "glissa/curve/curve.h"
#include "glissa/node/eti.h"
#include "glissa/node/node.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <memory>
#include <span>
#include <sstream>
#include <string>
#include <vector>

namespace
{
struct DestroyNode
{
    void operator()(GlissaNode* pNode) const { pNode->Destroy(); }
};
using NodeHandle = std::unique_ptr<GlissaNode, DestroyNode>;

class Script
{
public:
    Script(const std::uint8_t* pData, std::size_t pSize) : mAt(pData), mEnd(pData + pSize) {}

    bool HasMore() const { return mAt != mEnd; }
    std::uint8_t Byte() { return HasMore() ? *mAt++ : 0; }

private:
    const std::uint8_t* mAt;
    const std::uint8_t* mEnd;
};

constexpr const char* kNames[] = {"X",     "Y", "Z",    "R",  "S",    "T", "A",        " ",
                                  "x (1)", "",  "Turn", "t(", "Move", "W", "long (a)", "long"};

void WriteInt(KTdf& pTdf, const char* pName, int pValue)
{
    pTdf.FieldWriteBegin(pName);
    pTdf.FieldWriteI(pValue);
    pTdf.FieldWriteEnd();
}

// Writes linear keys, their number in the low bits. With the highest bit the count is one too high.
void WriteKeys(Script& pScript, KTdf& pTdf, int pCode)
{
    const int count = 1 + pCode % 8;
    WriteInt(pTdf, "KeyVer", 4007);
    WriteInt(pTdf, "KeyCount", count + (pCode >= 8 ? 1 : 0));
    pTdf.FieldWriteBegin("Key");
    for (int i = 0; i < count; ++i) {
        const std::uint8_t byte = pScript.Byte();
        pTdf.FieldWriteT(KTime(std::int64_t{i} * 16 + byte % 32));  // one of them can be too early
        pTdf.FieldWriteD(byte);
        pTdf.FieldWriteCH('L');
    }
    pTdf.FieldWriteEnd();
}

// Writes fields up to the byte that ends a block. Returns the number of nodes.
std::size_t WriteBlock(Script& pScript, KTdf& pTdf, int pDepth)
{
    std::size_t nodes = 0;
    while (pScript.HasMore()) {
        const std::uint8_t code = pScript.Byte();
        const char* const name = kNames[code >> 4];
        switch (code & 15) {
        case 0:
            return nodes;
        case 1:
        case 2:
        case 3:
        case 4:
            if (pDepth < KTdf::kMaxNesting) {
                pTdf.FieldWriteBegin((code & 15) == 4 ? "LayerChannel" : "Channel");
                pTdf.FieldWriteC(name);
                pTdf.FieldWriteBlockBegin();
                nodes += 1 + WriteBlock(pScript, pTdf, pDepth + 1);
                pTdf.FieldWriteBlockEnd();
                pTdf.FieldWriteEnd();
            }
            break;
        case 5:
            WriteInt(pTdf, "LayerID", code >> 4);
            break;
        case 6:
            WriteInt(pTdf, "LayerID", static_cast<std::int8_t>(pScript.Byte()));
            break;
        case 7:
            WriteInt(pTdf, "LayerType", (code >> 4) - 2);
            break;
        case 8:
            WriteInt(pTdf, "TimeWarpID", code >> 4);
            break;
        case 9:
            pTdf.FieldWriteBegin("UserName");
            pTdf.FieldWriteC(name);
            pTdf.FieldWriteEnd();
            break;
        case 10:
            WriteInt(pTdf, (code & 16) != 0 ? "Channel" : "LayerChannel", 1);  // without a block
            ++nodes;
            break;
        case 11:
        case 12:
            pTdf.FieldWriteBegin("Default");
            pTdf.FieldWriteD(static_cast<std::int8_t>(pScript.Byte()));
            pTdf.FieldWriteEnd();
            if ((code & 15) == 12) {
                WriteKeys(pScript, pTdf, code >> 4);
            }
            break;
        default:
            pTdf.FieldWriteBegin("Default");
            pTdf.FieldWriteC(name);
            pTdf.FieldWriteEnd();
            break;
        }
    }
    return nodes;
}

// Checks that a layer has the structure of its base, and that the bases of its channels are the
// channels of the base.
void CheckLayer(GlissaNode& pLayer, GlissaNode& pBase)
{
    Require(pLayer.ObjectLayerGet() == &pBase);
    Require(pLayer.GetCount() == (pBase.FCurveGet() ? 0 : pBase.GetCount()));
    for (int i = 0; i < pLayer.GetCount(); ++i) {
        Require(KCompareNoCase(pLayer.Get(i)->GetName(), pBase.Get(i)->GetName()) == 0);
        for (GlissaNode* node = pLayer.Get(i); node; node = node->LayerGet()) {
            CheckLayer(*node, *pBase.Get(i));
        }
    }
}

void Evaluate(GlissaNode& pNode, std::size_t pRoom, KTime pTime)
{
    const std::unique_ptr<double[]> values(new double[pRoom]());
    pNode.GeneralEvaluate(values.get(), pTime);
    pNode.GeneralEvaluate(values.get(), pTime, nullptr, true);
    pNode.CandidateClear(0, true);
}

// Checks the tree of a document. Returns the number of nodes.
std::size_t CheckTree(GlissaNode& pNode, GlissaNode* pParent, bool pIsInLayer)
{
    std::size_t nodes = 1;
    Require(pNode.GetParent() == pParent);
    Require(!pNode.FCurveGet() || pNode.FCurveGet()->GetOwner() == &pNode);
    bool plain = true;
    for (int i = 0; i < pNode.GetCount(); ++i) {
        nodes += CheckTree(*pNode.Get(i), &pNode, pIsInLayer);
        plain = plain && pNode.Get(i)->GetCount() == 0;
    }
    for (int i = 0; i < pNode.GetUnmatchedCount(); ++i) {
        Require(pIsInLayer && pNode.GetUnmatched(i)->KeyGetCount(true) > 0);
        nodes += CheckTree(*pNode.GetUnmatched(i), &pNode, true);
    }
    int last = pNode.GetLayerID();
    for (GlissaNode* layer = pNode.LayerGet(); layer; layer = layer->LayerGet()) {
        Require(layer->GetLayerID() > last);
        last = layer->GetLayerID();
        if (!pIsInLayer) {
            CheckLayer(*layer, pNode);
        }
        nodes += 1;
        for (int i = 0; i < layer->GetCount(); ++i) {
            nodes += CheckTree(*layer->Get(i), layer, true);
        }
        for (int i = 0; i < layer->GetUnmatchedCount(); ++i) {
            nodes += CheckTree(*layer->GetUnmatched(i), layer, true);
        }
    }
    if (plain && !pIsInLayer) {
        Evaluate(pNode, static_cast<std::size_t>(std::max(pNode.GetValueCount(), 1)), KTime(20));
    }
    return nodes;
}

void Collect(GlissaNode& pNode, std::vector<GlissaNode*>& pNodes)
{
    constexpr std::size_t kMost = 48;
    for (GlissaNode* node = &pNode; node && pNodes.size() < kMost; node = node->LayerGet()) {
        pNodes.push_back(node);
        for (int i = 0; i < node->GetCount(); ++i) {
            Collect(*node->Get(i), pNodes);
        }
    }
}

int CountLeaves(GlissaNode& pNode)
{
    int leaves = pNode.GetCount() == 0 ? 1 : 0;
    for (int i = 0; i < pNode.GetCount(); ++i) {
        leaves += CountLeaves(*pNode.Get(i));
    }
    return leaves;
}

// An edit of a node, possibly with another node.
void Edit(GlissaNode& pRoot, GlissaNode& pNode, GlissaNode& pOther, int pCode)
{
    double values[64] = {1, 2, 3, 4};
    switch (pCode & 15) {
    case 0:
        if (!pNode.FCurveGet()) {
            pNode.FindOrCreate(kNames[pCode >> 4], (pCode & 16) != 0);
        }
        break;
    case 1:
        pNode.CreateLayerAt(GlissaLayerInfo((pCode >> 4) - 2, nullptr));
        break;
    case 2:
        // A layer that is used as a warp is not destroyed with its owner.
        if (pOther.ObjectLayerGet() == &pOther) {
            pNode.TimeWarpSet(&pOther);
        }
        break;
    case 3:
        // Moved to another parent, unless that is a cycle.
        if (GlissaNode* const parent = pNode.GetParent(); parent && parent->Find(&pNode) >= 0) {
            parent->Remove(parent->Find(&pNode));
            if (pOther.FCurveGet() || pOther.Add(&pNode) < 0) {
                pNode.Destroy();
            }
        }
        break;
    case 4:
        if (&pNode != &pRoot) {
            pNode.Destroy();
        }
        break;
    case 5:
        pNode.RemoveLayerNode(pCode >> 4);
        break;
    case 6:
        pNode.CopyFrom(&pOther, false);
        break;
    case 7:
        NodeHandle(pNode.Copy());
        NodeHandle(pNode.Clone((pCode & 16) != 0));
        break;
    case 8:
        pNode.SetUseQuaternion((pCode & 16) != 0);
        pNode.SetRotationOrder((pCode >> 5) % 6);
        break;
    case 9:
        if ((pCode & 16) != 0) {
            pNode.LayerSet(nullptr, true);
        } else if (&pOther == &pNode || pOther.IsChild(&pNode, true)) {
            pNode.LayerSet(&pOther, true);
            Require(pNode.LayerGet() != &pOther && pNode.Add(&pOther) < 0);
        }
        break;
    case 10:
        pNode.Delete(KTime(), KTime(40), true);
        break;
    case 11:
        pNode.SetLayerType(pCode >> 4);
        break;
    case 12:
        if (CountLeaves(pNode) <= 16) {
            pNode.CandidateSet(KTime(5), values, GlissaLayerInfo(pCode >> 5, nullptr));
            pNode.CandidateKey(nullptr, GlissaLayerInfo(pCode >> 5, nullptr), nullptr,
                               (pCode & 16) != 0, eInterpolationLinear, 0, eContinuityDefault, true,
                               KTime(5));
        }
        break;
    default:
        if (CountLeaves(pNode) <= 16) {
            pNode.KeyAdd(KTime(pCode), values, 0, eInterpolationLinear, 0);
            pNode.EvaluateSpecificLayer(values, KTime(3), pCode >> 4, nullptr, true);
        }
        break;
    }
}

// Edits by a host, after which layers may have another structure than their base.
void EditTree(Script& pScript, GlissaNode& pRoot)
{
    constexpr int kMostEdits = 24;
    std::vector<GlissaNode*> nodes;
    for (int edits = 0; edits < kMostEdits && pScript.HasMore(); ++edits) {
        nodes.clear();
        Collect(pRoot, nodes);
        GlissaNode& node = *nodes[pScript.Byte() % nodes.size()];
        GlissaNode& other = *nodes[pScript.Byte() % nodes.size()];
        Edit(pRoot, node, other, pScript.Byte());
    }
    Evaluate(pRoot, static_cast<std::size_t>(CountLeaves(pRoot)) + 64, KTime(7));
    nodes.clear();
    Collect(pRoot, nodes);
    for (GlissaNode* const node : nodes) {
        node->ETIGlobalTime2NodeTime(KTime(9));
        node->IsNodeLocked();
    }
}

// Places a node on a timeline.
struct Timeline final : IGlissaETI
{
    void AddReference() override { ++mReferences; }
    void ReleaseReference() override { --mReferences; }
    bool IsValid() override { return true; }
    KTime GetActiveStart() override { return KTime(2); }
    KTime GetGlobalOffset() override { return KTime(3); }
    KTime GetDuration() override { return KTime(50); }
    KTime GetTrimOffset() override { return KTime(1); }
    double GetScaleFactor() override { return 0.5; }
    bool IsSelectedDuration() override { return false; }
    KgeRGBVector GetColor() override { return {}; }
    IObject* IQuery(unsigned long, int) override { return nullptr; }
    void Destroy(int) override {}

    int mReferences = 0;
};

void Store(GlissaNode& pNode, KTdf& pTdf)
{
    pNode.TdfStore(&pTdf, false, false, false, "Channel", false, false);
}

std::string Saved(KTdf& pTdf)
{
    std::ostringstream stream;
    Require(pTdf.Save(stream));
    return stream.str();
}

NodeHandle EmptyNode()
{
    return NodeHandle(GlissaNodeCreate("", nullptr, eLayerTypeValue, GlissaLayerInfo::Base));
}

NodeHandle Structure()
{
    NodeHandle root = EmptyNode();
    for (const auto& [type, name] :
         {std::pair(KDataTypeLclTranslation, "Move"), std::pair(KDataTypeLclRotation, "Turn"),
          std::pair(KDataTypeColorAndAlpha, "R"), std::pair(KDataTypeNumber, "W")}) {
        root->Add(FCurveNodeCreateFromDataType(type, name));
        root->Get(root->GetCount() - 1)->CreateFCurve();
    }
    root->Get(0)->CreateLayerAt(GlissaLayerInfo(3, nullptr));
    return root;
}
// Layers of the tree have their own names; after reading they share the names of their base.
// Further reading changes only warps: those of an axis are moved to its parent.
void CheckRoundTrip(KTdf& pFirst)
{
    const NodeHandle back = EmptyNode();
    Require(back->TdfRetrieve(&pFirst, false, true, true));
    CheckTree(*back, nullptr, false);
    KTdf second;
    Store(*back, second);
    const std::string stored = Saved(second);
    Require(second.Load(
        std::span(reinterpret_cast<const std::uint8_t*>(stored.data()), stored.size())));
    const NodeHandle again = EmptyNode();
    Require(again->TdfRetrieve(&second, false, true, true));
    KTdf third;
    Store(*again, third);
    Require(Saved(third) == stored);
}
}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* pData, std::size_t pSize)
{
    Script script(pData, pSize);
    const std::uint8_t flags = script.Byte();
    KTdf tdf;
    tdf.FieldWriteBegin("Channel");
    tdf.FieldWriteC("root");
    tdf.FieldWriteBlockBegin();
    const std::size_t written = WriteBlock(script, tdf, 2);
    tdf.FieldWriteBlockEnd();
    tdf.FieldWriteEnd();

    Timeline timeline;
    {
        const NodeHandle warp(FCurveNodeCreateFromDataType(KDataTypeTimeWarp, "warp"));
        warp->CreateFCurve();
        KSet<int, GlissaNode*> warps;
        warps.Add(3, warp.get());
        const NodeHandle node = (flags & 1) != 0 ? EmptyNode() : Structure();
        warps.Add(4, node.get());
        Glissa_SetTWSet(&warps);
        if ((flags & 8) != 0) {
            node->SetETI(&timeline);
            (node->GetCount() > 0 ? node->Get(0) : node.get())->SetETI(&timeline);
        }
        std::vector<GlissaStoreFault> faults;
        Require(node->TdfRetrieve(&tdf, (flags & 2) != 0, (flags & 4) != 0, true, &faults));
        const std::size_t made = CheckTree(*node, nullptr, false);
        // Layers get the structure of their base, which may have more channels than stored.
        Require(made <= 32 + (written + 16) * (written + 16));
        Require(faults.size() <= 16 + 4 * made + 4 * written);

        Glissa_SetTWSet(nullptr);
        KTdf first;
        Store(*node, first);
        if ((flags & 16) != 0) {
            EditTree(script, *node);
        }
        if ((flags & 32) != 0) {
            CheckRoundTrip(first);
        }
    }
    Require(timeline.mReferences == 0);
    return 0;
}
