// Copyright (c) 2026 The glissa authors
// SPDX-License-Identifier: MIT

#include "apps/glissa/temporaries.h"

#include <cstddef>
#include <cstring>
#include <mutex>
#include <unistd.h>

namespace
{
constexpr int kEnding[] = {SIGINT, SIGTERM, SIGHUP};

// A handler may not allocate or lock, so it reads plain arrays.
struct GuardedFile
{
    std::atomic<bool> isTaken = false;
    std::atomic<bool> isComplete = false;  // path can be read
    char path[4096] = {};
};
GuardedFile sGuarded[kMostGuards];

// Shared by sections, exclusive for the thread that ends the program.
std::shared_mutex sSections;

extern "C" void RemoveTemporaries(int pSignal)
{
    for (const GuardedFile& each : sGuarded) {
        if (each.isComplete) {
            unlink(each.path);
        }
    }
    signal(pSignal, SIG_DFL);
    raise(pSignal);
}

sigset_t EndingSignals()
{
    sigset_t ending;
    sigemptyset(&ending);
    for (const int each : kEnding) {
        sigaddset(&ending, each);
    }
    return ending;
}

// Those that a SignalThread waits for.
sigset_t TakenSignals()
{
    sigset_t taken = EndingSignals();
    sigaddset(&taken, SIGUSR1);  // ends the thread
    for (const int each : kEnding) {
        struct sigaction action = {};
        sigaction(each, nullptr, &action);
        if (action.sa_handler == SIG_IGN) {
            sigdelset(&taken, each);
        }
    }
    return taken;
}

void SetSignalHandlers()
{
    for (const int each : kEnding) {
        // A signal that was ignored at the start (nohup) is ignored.
        if (signal(each, &RemoveTemporaries) == SIG_IGN) {
            signal(each, SIG_IGN);
        }
    }
}
}  // namespace

TemporarySection::TemporarySection() : mBlocked(EndingSignals()), mLock(sSections) {}

int GuardTemporary(const char* pPath)
{
    static const bool isSet = (SetSignalHandlers(), true);
    static_cast<void>(isSet);
    const std::size_t size = std::strlen(pPath) + 1;
    for (int i = 0; i < kMostGuards && size <= sizeof(GuardedFile::path); ++i) {
        if (!sGuarded[i].isTaken.exchange(true)) {
            std::memcpy(sGuarded[i].path, pPath, size);
            sGuarded[i].isComplete = true;
            return i;
        }
    }
    return -1;
}

void ReleaseTemporary(int& pGuard)
{
    if (pGuard >= 0) {
        sGuarded[pGuard].isComplete = false;
        sGuarded[pGuard].isTaken = false;
        pGuard = -1;
    }
}

// The thread is started last: it uses the other fields.
SignalThread::SignalThread() : mTaken(TakenSignals()), mBlocked(mTaken), mThread([this] { Run(); })
{}

SignalThread::~SignalThread()
{
    mIsDone = true;
    pthread_kill(mThread.native_handle(), SIGUSR1);
    mThread.join();
}

void SignalThread::Run()
{
    int taken = 0;
    sigwait(&mTaken, &taken);
    if (taken == SIGUSR1 && mIsDone) {
        return;
    }
    // From here no thread makes, renames or removes a file.
    const std::unique_lock lock(sSections);
    pthread_sigmask(SIG_UNBLOCK, &mTaken, nullptr);
    RemoveTemporaries(taken);
}
