// Copyright (c) 2026 The glissa authors
// SPDX-License-Identifier: MIT

// Reads nodes from mutated documents. The input is a script of fields, so that each mutation makes
// another document and none is lost to a checksum. Whatever is in it, the tree that was read is a
// tree and its chains are chains, it evaluates within the values that it says it has, and it stores
// into a document that reads back as the same bytes.

#include "corvekit/store/tdf.h"
#include "fuzz/clip_checks.h"
#include "glissa/curve/curve.h"
#include "glissa/node/node.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <memory>
#include <span>
#include <sstream>
#include <string>

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

// Fields until the byte that ends a block. Gives how many nodes there are.
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
            break;
        default:
            pTdf.FieldWriteBegin("Default");
            pTdf.FieldWriteD(static_cast<std::int8_t>(pScript.Byte()));
            pTdf.FieldWriteEnd();
            break;
        }
    }
    return nodes;
}

std::size_t CheckTree(GlissaNode& pNode, GlissaNode* pParent)
{
    std::size_t nodes = 1;
    Require(pNode.GetParent() == pParent);
    Require(!pNode.FCurveGet() || pNode.FCurveGet()->GetOwner() == &pNode);
    bool plain = true;
    for (int i = 0; i < pNode.GetCount(); ++i) {
        nodes += CheckTree(*pNode.Get(i), &pNode);
        plain = plain && pNode.Get(i)->GetCount() == 0;
    }
    if (pNode.ObjectLayerGet() == &pNode) {
        int last = pNode.GetLayerID();
        for (GlissaNode* layer = pNode.LayerGet(); layer; layer = layer->LayerGet()) {
            Require(layer->GetLayerID() > last && layer->ObjectLayerGet() == &pNode);
            Require(layer->GetCount() == (pNode.FCurveGet() ? 0 : pNode.GetCount()));
            for (int i = 0; i < layer->GetCount(); ++i) {
                Require(KCompareNoCase(layer->Get(i)->GetName(), pNode.Get(i)->GetName()) == 0);
            }
            last = layer->GetLayerID();
            nodes += CheckTree(*layer, nullptr);
        }
        if (plain) {
            const int count = std::max(pNode.GetValueCount(), 1);
            const std::unique_ptr<double[]> values(new double[static_cast<std::size_t>(count)]());
            pNode.GeneralEvaluate(values.get(), KTime(1));
        }
    }
    return nodes;
}

std::string Stored(GlissaNode& pNode)
{
    KTdf tdf;
    pNode.TdfStore(&tdf, false, false, false, "Channel", false, false);
    std::ostringstream stream;
    Require(tdf.Save(stream));
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

    const NodeHandle warp = Structure();
    KSet<int, GlissaNode*> warps;
    warps.Add(3, warp->Get(3));
    const NodeHandle node = (flags & 1) != 0 ? EmptyNode() : Structure();
    warps.Add(4, node.get());
    Glissa_SetTWSet(&warps);
    Require(node->TdfRetrieve(&tdf, (flags & 2) != 0, (flags & 4) != 0, true));
    const std::size_t made = CheckTree(*node, nullptr);
    // Layers take the structure of their base, which may be wider than what they say themselves.
    Require(made <= 32 + (written + 16) * (written + 16));

    // Layers that stood in the tree have names of their own; read from a document they share those
    // of their base. From then on nothing changes any more, but for warps: those of an axis move to
    // its parent.
    Glissa_SetTWSet(nullptr);
    std::string stored = Stored(*node);
    for (int i = 0; i < 2; ++i) {
        KTdf again;
        Require(again.Load(
            std::span(reinterpret_cast<const std::uint8_t*>(stored.data()), stored.size())));
        const NodeHandle back = EmptyNode();
        Require(back->TdfRetrieve(&again, false, true, true));
        CheckTree(*back, nullptr);
        const std::string once_more = Stored(*back);
        Require(i == 0 || once_more == stored);
        stored = once_more;
    }
    return 0;
}
