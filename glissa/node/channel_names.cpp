// Copyright (c) 2026 The glissa authors
// SPDX-License-Identifier: MIT

// From the name of a stored channel to a child. Other writers name channels by letters of a colour,
// and add remarks in brackets.

#include "glissa/node/channel_names.h"

#include "glissa/node/transform_names.h"

namespace
{
// The index of a child of a colour by a name of one letter, or -1.
int ColorChannelOf(std::string_view pName)
{
    constexpr std::string_view kLetters[] = {"RX", "GY", "BZ", " A"};
    for (int i = 0; i < 4 && pName.size() == 1; ++i) {
        if (kLetters[i].find(pName[0]) != std::string_view::npos) {
            return i;
        }
    }
    return -1;
}

bool IsColor(const GlissaNode& pNode)
{
    KDataType* const type = pNode.GetDataType();
    return type == KDataTypeColor || type == KDataTypeColorAndAlpha;
}

// The text before a bracket without up to two blanks: "Gain (old)" becomes "Gain".
std::string BeforeBracket(std::string_view pName)
{
    std::string_view text = pName.substr(0, pName.find('('));
    for (int i = 0; i < 2 && text.ends_with(' '); ++i) {
        text.remove_suffix(1);
    }
    return std::string(text);
}
}  // namespace

GlissaNode* FindChannel(GlissaNode& pParent, ChildNames& pNames, const KString& pName,
                        bool pByLetter)
{
    GlissaNode* child = nullptr;
    if (KDataType* const type = TransformOf(pName.GetView())) {
        child = pParent.Find(type);
    }
    if (!child) {
        child = pNames.Find(pName.GetBuffer());
    }
    if (!child && pByLetter && IsColor(pParent)) {
        child = pParent.Get(ColorChannelOf(pName.GetView()));
    }
    if (!child && pName.Find("(") != KString::kNotFound) {
        child = pNames.Find(BeforeBracket(pName.GetView()).c_str());
    }
    return child;
}
