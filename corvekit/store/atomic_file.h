// Copyright (c) 2026 The glissa authors
// SPDX-License-Identifier: MIT
// Not for hosts: used by the sources of this folder only.
#pragma once

#include <cstddef>
#include <string>

/// A file that appears whole or not at all.
///
/// The bytes go to a temporary file beside the target, named like the target with ".saving-", the
/// process id and a number behind it. Commit flushes it to the device, renames it over the target
/// and flushes the directory. Until then the target is untouched, and the destructor removes the
/// temporary; only a process killed in between leaves it behind.
///
/// A target that is a symbolic link stays one: the file that it leads to is replaced. A target
/// that exists keeps its permissions; one that is no regular file is refused. Every operation
/// answers false on failure, and all later ones too; GetReason then says what failed.
class AtomicFile
{
public:
    explicit AtomicFile(const char* pPath);
    ~AtomicFile();
    AtomicFile(const AtomicFile&) = delete;
    AtomicFile& operator=(const AtomicFile&) = delete;

    bool Write(const void* pBytes, std::size_t pSize);
    bool Commit();

    /// "cannot <do what> '<path>': <reason of the system>". Empty as long as nothing failed.
    const std::string& GetReason() const { return mReason; }

private:
    bool ResolveTarget(const char* pPath);
    bool OpenTemporary();
    bool Fail(const char* pDoing, const std::string& pPath);
    void Discard();

    std::string mTarget;
    std::string mTemporary;  // empty as long as there is none to remove
    std::string mReason;
    int mFile = -1;
    int mMode = -1;  // permissions of the target that stands, or -1
};
