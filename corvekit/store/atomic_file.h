// Copyright (c) 2026 The glissa authors
// SPDX-License-Identifier: MIT
#pragma once

#include "corvekit/export.h"

#include <cstddef>
#include <string>

/// A file that is replaced completely or not at all.
///
/// The bytes are written to a temporary file in the folder of the target. Commit flushes it to the
/// device, renames it over the target and flushes the folder. Until then the target is unchanged,
/// and the destructor removes the temporary file. If the process is killed it remains; the next
/// KAtomicFile for the same target removes it.
///
/// The temporary file is named like the target with ".saving-<number>" appended, the number from 0
/// to 15, so up to 16 writers of one target can run at a time. A name that would be too long for
/// the file system is cut, and the part cut off is replaced by a hash of the whole name. The writer
/// has a lock (flock) on the file; a temporary file without a lock is abandoned.
///
/// If the target is a symbolic link, the file that it refers to is replaced, or created if the link
/// is dangling. An existing target keeps its permissions. A target that is not a regular file, or
/// that this process may not write to, is refused. After a failure all operations return false, and
/// GetReason has the reason.
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
    /// Replaces the target. If it returns false the target is unchanged, unless only the flush of
    /// the folder failed: the target is then the new file, but may be the old one after a power
    /// failure.
    bool Commit();
    /// Closes and removes the temporary file, if there is one.
    void Discard();

    /// Path of the temporary file, or "". For programs that remove it in a signal handler.
    const char* GetTemporary() const { return mTemporary.c_str(); }
    /// "cannot write: <system error>" or similar, without the path. "" before a failure.
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
    int mMode = -1;  // permissions of an existing target, or -1
};
