// Copyright (c) 2026 The glissa authors
// SPDX-License-Identifier: MIT
#pragma once

#include "corvekit/export.h"

#include <cstddef>
#include <string>

/// A file that is replaced as a whole or not at all.
///
/// The bytes are written to a temporary file in the folder of the target. Commit flushes it to the
/// device, renames it over the target and flushes the folder. Until then the target is unchanged,
/// and the destructor removes the temporary file. Only a process that is killed leaves it; the next
/// KAtomicFile for the same target removes it.
///
/// The temporary file is named like the target with ".saving-<number>" appended, the number from 0
/// to 15, so up to 16 writers of one target can run at a time. A name that would be too long for
/// the file system is cut, and a hash of the whole name is put in place of the part cut off. The
/// writer holds a lock (flock) on the file; a temporary file without a lock belongs to no process.
///
/// A symbolic link as target stays a link: the file that it leads to is replaced or, where the link
/// is dangling, created. An existing target keeps its permissions. A target that is not a regular
/// file, or that this process may not write to, is refused. Every operation returns false on
/// failure, and so do all later ones; GetReason then says why.
class CORVEKIT_API KAtomicFile
{
public:
    /// Creates the temporary file. pPath is the target; null and "" are refused.
    explicit KAtomicFile(const char* pPath);
    ~KAtomicFile();
    KAtomicFile(const KAtomicFile&) = delete;
    KAtomicFile& operator=(const KAtomicFile&) = delete;

    /// True until a failure, Commit or Discard.
    bool IsOpen() const { return mFile >= 0; }
    bool Write(const void* pBytes, std::size_t pSize);
    /// Replaces the target. False with the target unchanged, except where only the flush of the
    /// folder failed: the target is then the new file, but may be the old one after a power cut.
    bool Commit();
    /// Closes and removes the temporary file, if there is one.
    void Discard();

    /// Path of the temporary file, "" without one. For a program that removes it when a signal ends
    /// it.
    const char* GetTemporary() const { return mTemporary.c_str(); }
    /// "cannot write: <reason of the system>" or similar, without the path. "" before a failure.
    const char* GetReason() const { return mReason.c_str(); }

private:
    KAtomicFile() = default;

    bool ResolveTarget(const char* pPath);
    bool OpenTemporary();
    bool Fail(const char* pAction, int pError);

    std::string mTarget;
    std::string mTemporary;
    std::string mReason;
    int mFile = -1;
    int mMode = -1;  // permissions of the existing target, or -1
};
