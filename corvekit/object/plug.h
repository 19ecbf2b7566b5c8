// Copyright (c) 2026 The glissa authors
// SPDX-License-Identifier: MIT
#pragma once

#include "corvekit/array.h"
#include "corvekit/export.h"
#include "corvekit/object/iobject.h"

/// An object with connections: each is from a source to a destination, and both have it in a list.
/// A connection ends when one of them is destroyed. Its meaning is defined by the user. Without a
/// lock.
class CORVEKIT_API KPlug : public IObject
{
public:
    virtual ~KPlug();

    /// Connects this plug, as source, to a destination. False for null, for this plug itself, and
    /// for an existing connection.
    bool Connect(KPlug* pDestination);
    /// Ends the connection to a destination. False if there is none.
    bool Disconnect(KPlug* pDestination);
    /// Ends every connection, in both directions.
    void DisconnectAll();

    int GetDestinationCount() const { return mDestinations.GetCount(); }
    /// Null for an index out of range.
    KPlug* GetDestination(int pIndex) const;
    int GetSourceCount() const { return mSources.GetCount(); }
    /// Null for an index out of range.
    KPlug* GetSource(int pIndex) const;

protected:
    KPlug() = default;
    // Connections are not copied: a copy has none, an assignment keeps those of the object.
    KPlug(const KPlug&) : IObject() {}
    KPlug& operator=(const KPlug&) { return *this; }

private:
    KArrayTemplate<KPlug*, 4> mDestinations;
    KArrayTemplate<KPlug*, 4> mSources;
};
