// Copyright (c) 2026 The glissa authors
// SPDX-License-Identifier: MIT
// Not for hosts: the children that stored channels belong to, by name.
#pragma once

#include "glissa/node/node.h"

#include <map>
#include <string>
#include <string_view>

/// Whether a name comes before another one, without regard to case.
struct NoCaseLess
{
    using is_transparent = void;
    bool operator()(std::string_view pLeft, std::string_view pRight) const
    {
        return KCompareNoCase(pLeft, pRight) < 0;
    }
};

/// The children of a node by name, as GlissaNode::Find finds them. For a node of many children the
/// names are sorted, since a document can have as many channels.
class ChildNames
{
public:
    explicit ChildNames(GlissaNode& pNode) : mNode(pNode) {}

    int FindIndex(const char* pName)
    {
        CORVEKIT_ASSERT(pName);
        const int count = mNode.GetCount();
        if (count <= kFew) {
            return mNode.Find(pName);
        }
        if (count < mKnown) {
            mFirst.clear();
            mKnown = 0;
        }
        for (; mKnown < count; ++mKnown) {
            mFirst.emplace(mNode.Get(mKnown)->GetName(), mKnown);
        }
        const auto found = mFirst.find(std::string_view(pName));
        return found == mFirst.end() ? -1 : found->second;
    }
    GlissaNode* Find(const char* pName) { return mNode.Get(FindIndex(pName)); }

private:
    static constexpr int kFew = 16;

    GlissaNode& mNode;
    std::map<std::string, int, NoCaseLess> mFirst;
    int mKnown = 0;
};

/// The child that a stored channel belongs to, or null: by the short name of its type, by its name,
/// with pByLetter by the letter of a colour, and by its name up to a bracket.
GlissaNode* FindChannel(GlissaNode& pParent, ChildNames& pNames, const KString& pName,
                        bool pByLetter);
