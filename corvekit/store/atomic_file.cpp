// Copyright (c) 2026 The glissa authors
// SPDX-License-Identifier: MIT

// Temporary file in the folder of the target, fsync, rename, fsync of the folder: rename replaces
// the name in one step, and the first flush ensures that the bytes are stored before the new
// name.

#include "corvekit/store/atomic_file.h"

#include "corvekit/assert.h"
#include "corvekit/string.h"

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <filesystem>
#include <system_error>

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

namespace
{
constexpr int kMostTemporaries = 16;
constexpr int kMostLinks = 40;  // the limit of Linux
constexpr std::size_t kUsualNameLimit = 255;

std::string DirectoryOf(const std::string& pPath)
{
    const std::size_t slash = pPath.rfind('/');
    if (slash == std::string::npos) {
        return ".";
    }
    return slash == 0 ? "/" : pPath.substr(0, slash);
}

// The errors of file systems that cannot flush folders or files.
bool MeansNotSupported(int pError)
{
    return pError == EINVAL || pError == ENOTSUP || pError == ENOSYS;
}

// The path of the temporary files of a target, without their number.
std::string TemporaryStem(const std::string& pTarget)
{
    constexpr std::size_t kSuffix = sizeof(".saving-15") - 1;
    constexpr std::size_t kHash = 17;
    const std::size_t begin = pTarget.rfind('/') + 1;  // 0 without a slash
    const std::size_t size = pTarget.size() - begin;
    const long limit = pathconf(DirectoryOf(pTarget).c_str(), _PC_NAME_MAX);
    const std::size_t longest = limit > static_cast<long>(kSuffix + kHash)
                                    ? static_cast<std::size_t>(limit)
                                    : kUsualNameLimit;
    if (size + kSuffix <= longest) {
        return pTarget + ".saving-";
    }
    std::size_t kept = begin + std::min(size, longest - kSuffix - kHash);
    while (kept > begin && (static_cast<unsigned char>(pTarget[kept]) & 0xC0) == 0x80) {
        --kept;  // does not split a character of UTF-8
    }
    char hash[kHash + 1] = {};
    std::snprintf(hash, sizeof(hash), "~%016llx",
                  static_cast<unsigned long long>(KHash64(pTarget.substr(begin))));
    return pTarget.substr(0, kept) + hash + ".saving-";
}

bool IsSameFile(const struct stat& pLeft, const struct stat& pRight)
{
    return pLeft.st_dev == pRight.st_dev && pLeft.st_ino == pRight.st_ino;
}

// Removes the temporary file of a process that was killed, unless it is locked, and so in use, or
// belongs to another user.
void RemoveAbandoned(const std::string& pName)
{
    const int file = open(pName.c_str(), O_RDONLY | O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC);
    if (file < 0) {
        return;
    }
    struct stat opened = {};
    struct stat named = {};
    // The name is checked again under the lock, as the writer may have renamed the file.
    if (fstat(file, &opened) == 0 && S_ISREG(opened.st_mode) && opened.st_uid == geteuid() &&
        flock(file, LOCK_EX | LOCK_NB) == 0 && lstat(pName.c_str(), &named) == 0 &&
        IsSameFile(opened, named)) {
        unlink(pName.c_str());
    }
    close(file);
}

// Locks a new file. False if another process has removed it as an abandoned one.
bool Claim(int pFile)
{
    if (flock(pFile, LOCK_EX | LOCK_NB) != 0 && errno == EWOULDBLOCK) {
        return false;
    }
    struct stat status = {};
    return fstat(pFile, &status) == 0 && status.st_nlink > 0;
}
}  // namespace

// Delegates, so that the destructor runs if an allocation fails.
KAtomicFile::KAtomicFile(const char* pPath) : KAtomicFile()
{
    if (ResolveTarget(pPath)) {
        OpenTemporary();
    }
}

KAtomicFile::~KAtomicFile()
{
    Discard();
}

bool KAtomicFile::Write(const void* pBytes, std::size_t pSize)
{
    CORVEKIT_ASSERT(pBytes || pSize == 0);
    const char* at = static_cast<const char*>(pBytes);
    while (mFile >= 0 && pSize > 0) {
        const ssize_t written = write(mFile, at, pSize);
        if (written < 0 && errno == EINTR) {
            continue;
        }
        if (written <= 0) {
            return Fail("cannot write", written < 0 ? errno : EIO);
        }
        at += written;
        pSize -= static_cast<std::size_t>(written);
    }
    return mFile >= 0;
}

bool KAtomicFile::Commit()
{
    if (mFile < 0) {
        return false;
    }
    CORVEKIT_ASSERT(!mTemporary.empty());
    if (fsync(mFile) != 0 && !MeansNotSupported(errno)) {
        return Fail("cannot flush", errno);
    }
    // Allocated before the rename, after which nothing may throw.
    const std::string folderName = DirectoryOf(mTarget);
    // Closed before the rename, as close may report a write error; the copy keeps the lock.
    const int written = mFile;
    mFile = fcntl(written, F_DUPFD_CLOEXEC, 0);
    if (close(written) != 0 || mFile < 0) {
        return Fail("cannot close", errno);
    }
    if (rename(mTemporary.c_str(), mTarget.c_str()) != 0) {
        return Fail("cannot write", errno);
    }
    mTemporary.clear();
    Discard();

    // A folder without read permission cannot be flushed; the file is complete nevertheless.
    const int folder = open(folderName.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    if (folder < 0) {
        return true;
    }
    const int error = fsync(folder) != 0 && !MeansNotSupported(errno) ? errno : 0;
    close(folder);
    return error == 0 || Fail("cannot flush its folder", error);
}

void KAtomicFile::Discard()
{
    if (!mTemporary.empty()) {
        unlink(mTemporary.c_str());
        mTemporary.clear();
    }
    if (mFile >= 0) {
        close(mFile);
        mFile = -1;
    }
}

bool KAtomicFile::ResolveTarget(const char* pPath)
{
    mTarget = pPath ? pPath : "";
    struct stat status = {};
    for (int links = 0;; ++links) {
        if (lstat(mTarget.c_str(), &status) != 0) {
            // The target need not exist, but the path must not be empty.
            return (errno == ENOENT && !mTarget.empty()) || Fail("cannot write", errno);
        }
        if (!S_ISLNK(status.st_mode)) {
            break;
        }
        std::error_code error;
        const std::string link = std::filesystem::read_symlink(mTarget, error).string();
        if (error || links == kMostLinks) {
            return Fail("cannot follow the link", error ? error.value() : ELOOP);
        }
        mTarget = link.starts_with('/') ? link : DirectoryOf(mTarget) + '/' + link;
    }
    if (!S_ISREG(status.st_mode)) {
        return Fail("cannot write", S_ISDIR(status.st_mode) ? EISDIR : EINVAL);
    }
    // A rename does not check the permissions of the file that it replaces.
    if (faccessat(AT_FDCWD, mTarget.c_str(), W_OK, AT_EACCESS) != 0) {
        return Fail("cannot write", errno);
    }
    mMode = static_cast<int>(status.st_mode & 07777);
    return true;
}

bool KAtomicFile::OpenTemporary()
{
    CORVEKIT_ASSERT(mFile < 0 && mTemporary.empty());
    const std::string stem = TemporaryStem(mTarget);
    for (int number = 0; number < kMostTemporaries; ++number) {
        RemoveAbandoned(stem + std::to_string(number));
    }
    int error = EBUSY;
    for (int number = 0; mFile < 0 && number < kMostTemporaries; ++number) {
        std::string name = stem + std::to_string(number);
        const int file = open(name.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0666);
        if (file < 0 && errno != EEXIST) {
            error = errno;
            break;
        }
        if (file >= 0 && !Claim(file)) {
            close(file);
        } else if (file >= 0) {
            mFile = file;
            mTemporary = std::move(name);
        }
    }
    if (mFile < 0) {
        return Fail("cannot write", error);
    }
    if (mMode >= 0 && fchmod(mFile, static_cast<mode_t>(mMode)) != 0) {
        return Fail("cannot keep the permissions", errno);
    }
    return true;
}

bool KAtomicFile::Fail(const char* pAction, int pError)
{
    Discard();
    mReason = std::string(pAction) + ": " + std::strerror(pError);
    return false;
}
