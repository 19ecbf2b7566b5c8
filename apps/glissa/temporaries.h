// Copyright (c) 2026 The glissa authors
// SPDX-License-Identifier: MIT
#pragma once

#include <atomic>
#include <csignal>
#include <pthread.h>
#include <shared_mutex>
#include <thread>

// Temporary files that are removed when SIGINT, SIGTERM or SIGHUP ends the program.

/// Blocks signals for the thread, and restores those that were blocked before.
class BlockedSignals
{
public:
    explicit BlockedSignals(const sigset_t& pSignals)
    {
        pthread_sigmask(SIG_BLOCK, &pSignals, &mBefore);
    }
    ~BlockedSignals() { pthread_sigmask(SIG_SETMASK, &mBefore, nullptr); }
    BlockedSignals(const BlockedSignals&) = delete;
    BlockedSignals& operator=(const BlockedSignals&) = delete;

private:
    sigset_t mBefore;
};

/// Files that can be guarded at a time, and so the most jobs that write files.
inline constexpr int kMostGuards = 256;

/// Makes the signals wait while a temporary file is made or removed together with its guard.
class TemporarySection
{
public:
    TemporarySection();
    TemporarySection(const TemporarySection&) = delete;
    TemporarySection& operator=(const TemporarySection&) = delete;

private:
    BlockedSignals mBlocked;
    std::shared_lock<std::shared_mutex> mLock;  // released before the signals
};

/// Within a TemporarySection. The index of the guard, for ReleaseTemporary; -1 where there is none
/// left.
int GuardTemporary(const char* pPath);
/// Within a TemporarySection. Sets pGuard to -1.
void ReleaseTemporary(int& pGuard);

/// A thread that takes the three signals as long as several threads write files. It is started
/// before these, by the thread that starts them: they block the signals as that one then does.
///
/// A handler would run in the middle of one thread while the others make files.
class SignalThread
{
public:
    /// Throws std::system_error where the thread cannot be started.
    SignalThread();
    ~SignalThread();
    SignalThread(const SignalThread&) = delete;
    SignalThread& operator=(const SignalThread&) = delete;

private:
    void Run();

    sigset_t mTaken;
    BlockedSignals mBlocked;
    std::atomic<bool> mIsDone = false;
    std::thread mThread;
};
