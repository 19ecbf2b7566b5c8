// Copyright (c) 2026 The glissa authors
// SPDX-License-Identifier: MIT

// Saving to a path: whatever happens, the old file or the new one stands there whole.

#include "corvekit/store/tdf.h"

#include <gtest/gtest.h>

#include <chrono>
#include <csignal>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <random>
#include <string>
#include <thread>

#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

namespace
{
namespace fs = std::filesystem;

constexpr std::size_t kSize = 500000;

// A document whose first and last bytes tell which one it is.
void Fill(KTdf& pTdf, int pNumber)
{
    pTdf.Clear();
    pTdf.FieldWriteBegin("Number");
    pTdf.FieldWriteI(pNumber);
    pTdf.FieldWriteS(KString(std::string(kSize, 'x')));
    pTdf.FieldWriteI(pNumber);
    pTdf.FieldWriteEnd();
}

// The number of the document at a path, or -1 if it is not whole.
int NumberAt(const std::string& pPath)
{
    KTdf tdf;
    if (!tdf.Load(pPath.c_str()) || !tdf.FieldReadBegin("Number")) {
        return -1;
    }
    const int number = tdf.FieldReadI();
    const bool whole = tdf.FieldReadS().GetLength() == kSize && tdf.FieldReadI() == number;
    return whole ? number : -1;
}

class TdfSave : public testing::Test
{
protected:
    TdfSave()
    {
        std::string name = (fs::temp_directory_path() / "tdf-XXXXXX").string();
        mFolder = mkdtemp(name.data());
        mPath = mFolder + "/document";
    }
    ~TdfSave() override { fs::remove_all(mFolder); }

    int CountFiles() const
    {
        return static_cast<int>(std::distance(fs::directory_iterator(mFolder), {}));
    }

    std::string mFolder;
    std::string mPath;
    KTdf mTdf;
};

TEST_F(TdfSave, ReplacesTheTargetAndLeavesNothingElse)
{
    for (const int number : {1, 2}) {
        Fill(mTdf, number);
        ASSERT_TRUE(mTdf.Save(mPath.c_str())) << mTdf.GetError().GetLastErrorString();
        EXPECT_EQ(number, NumberAt(mPath));
        EXPECT_EQ(1, CountFiles());
    }
    // Permissions and links of the target stay.
    fs::permissions(mPath, fs::perms::owner_read | fs::perms::owner_write);
    const std::string link = mFolder + "/link";
    fs::create_symlink("document", link);
    Fill(mTdf, 3);
    ASSERT_TRUE(mTdf.Save(link.c_str()));
    EXPECT_TRUE(fs::is_symlink(link));
    EXPECT_EQ(3, NumberAt(mPath));
    EXPECT_EQ(fs::perms::owner_read | fs::perms::owner_write, fs::status(mPath).permissions());
    EXPECT_EQ(2, CountFiles());
}

TEST_F(TdfSave, ARefusalLeavesTheOldFileAndNoTemporary)
{
    Fill(mTdf, 1);
    ASSERT_TRUE(mTdf.Save(mPath.c_str()));

    // The device is full in the middle of the file.
    std::signal(SIGXFSZ, SIG_IGN);
    rlimit before = {};
    getrlimit(RLIMIT_FSIZE, &before);
    const rlimit limit = {200000, before.rlim_max};
    ASSERT_EQ(0, setrlimit(RLIMIT_FSIZE, &limit));
    Fill(mTdf, 2);
    const bool saved = mTdf.Save(mPath.c_str());
    setrlimit(RLIMIT_FSIZE, &before);
    EXPECT_FALSE(saved);
    EXPECT_EQ(eTdfErrorCannotWrite, mTdf.GetError().GetLastErrorID());
    EXPECT_NE(KString::kNotFound, KString(mTdf.GetError().GetLastErrorString()).Find(mPath));
    EXPECT_EQ(1, NumberAt(mPath));
    EXPECT_EQ(1, CountFiles());

    // A folder, a device and a place that is not there; the document is still good after all.
    EXPECT_FALSE(mTdf.Save(mFolder.c_str()));
    EXPECT_FALSE(mTdf.Save((mFolder + "/none/document").c_str()));
    EXPECT_FALSE(mTdf.Save("/dev/null"));
    EXPECT_FALSE(mTdf.Save(""));
    const char* const none = nullptr;
    EXPECT_FALSE(mTdf.Save(none));
    mTdf.FieldWriteBegin("open");
    EXPECT_FALSE(mTdf.Save(mPath.c_str()));
    mTdf.FieldWriteEnd();
    EXPECT_EQ(1, NumberAt(mPath));
    EXPECT_TRUE(mTdf.Save(mPath.c_str()));
    EXPECT_EQ(1, CountFiles());
}

TEST_F(TdfSave, AKillAtAnyMomentLeavesTheOldFileOrTheNewOne)
{
    Fill(mTdf, 0);
    ASSERT_TRUE(mTdf.Save(mPath.c_str()));
    std::mt19937 random(1);
    int killedWithin = 0;
    int last = 0;
    for (int round = 1; round <= 100; ++round) {
        SCOPED_TRACE(round);
        const pid_t child = fork();
        ASSERT_GE(child, 0);
        if (child == 0) {
            for (int number = last + 1;; ++number) {
                Fill(mTdf, number);
                mTdf.Save(mPath.c_str());
            }
        }
        std::this_thread::sleep_for(std::chrono::microseconds(random() % 20000));
        kill(child, SIGKILL);
        int status = 0;
        ASSERT_EQ(child, waitpid(child, &status, 0));
        const int number = NumberAt(mPath);
        ASSERT_GE(number, last);
        last = number;
        // A process that dies within a save leaves its temporary, under the name that is promised.
        for (const auto& each : fs::directory_iterator(mFolder)) {
            if (each.path() != mPath) {
                ASSERT_TRUE(each.path().filename().string().starts_with("document.saving-"));
                fs::remove(each.path());
                ++killedWithin;
            }
        }
    }
    EXPECT_GT(last, 0);
    EXPECT_GT(killedWithin, 0);  // else the kills did not hit what they are aimed at
}
}  // namespace
