// Copyright (c) 2026 The glissa authors
// SPDX-License-Identifier: MIT
#pragma once

class KProperty;

/// Whether the property that a node animates is locked. Implemented by the host and not owned by
/// the nodes; called on the thread that edits the node.
class ILockQuery
{
public:
    virtual bool IsLocked(KProperty* pProperty) = 0;

protected:
    ~ILockQuery() = default;
};
