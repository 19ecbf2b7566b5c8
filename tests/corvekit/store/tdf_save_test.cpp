// Copyright (c) 2026 The glissa authors
// SPDX-License-Identifier: MIT

// Saving to a path: after any failure the path names the complete old file or the complete new one.

#include "corvekit/store/atomic_file.h"
#include "corvekit/store/tdf.h"

#include <gtest/gtest.h>

#include <chrono>
#include <csignal>
#include <cstdlib>
#include <filesystem>
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

// A document with its number in the first and in the last bytes.
void Fill(KTdf& pTdf, int pNumber)
{
    pTdf.Clear();
    pTdf.FieldWriteBegin("Number");
    pTdf.FieldWriteI(pNumber);
    pTdf.FieldWriteS(KString(std::string(kSize, 'x')));
    pTdf.FieldWriteI(pNumber);
    pTdf.FieldWriteEnd();
}

// The number of the document at a path, or -1 if it is not complete.
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

    // A folder, a missing folder and a device. The document itself can still be saved.
    EXPECT_FALSE(mTdf.Save(mFolder.c_str()));
    EXPECT_FALSE(mTdf.Save((mFolder + "/none/document").c_str()));
    EXPECT_FALSE(mTdf.Save("/dev/null"));
    const char* const none = nullptr;
    EXPECT_FALSE(mTdf.Save(none));
    mTdf.FieldWriteBegin("open");
    EXPECT_FALSE(mTdf.Save(mPath.c_str()));
    mTdf.FieldWriteEnd();
    EXPECT_EQ(1, NumberAt(mPath));
    EXPECT_TRUE(mTdf.Save(mPath.c_str()));
    EXPECT_EQ(1, CountFiles());
}

// Targets that a simple write and rename handles wrongly.
TEST_F(TdfSave, TakesLongNamesAndDanglingLinksAndRespectsWriteProtection)
{
    Fill(mTdf, 1);
    for (const std::size_t length : {1u, 246u, 247u, 255u}) {
        mPath = mFolder + '/' + std::string(length, 'n');
        ASSERT_TRUE(mTdf.Save(mPath.c_str())) << mTdf.GetError().GetLastErrorString();
        EXPECT_EQ(1, NumberAt(mPath));
        fs::remove(mPath);
    }
    mPath = mFolder + "/document";
    fs::create_symlink("second", mFolder + "/first");
    fs::create_symlink(mPath, mFolder + "/second");
    fs::create_symlink("circle", mFolder + "/circle");
    ASSERT_TRUE(mTdf.Save((mFolder + "/first").c_str())) << mTdf.GetError().GetLastErrorString();
    EXPECT_TRUE(fs::is_symlink(mFolder + "/first") && fs::is_symlink(mFolder + "/second"));
    EXPECT_EQ(1, NumberAt(mPath));
    EXPECT_FALSE(mTdf.Save((mFolder + "/circle").c_str()));

    fs::permissions(mPath, fs::perms::owner_read);
    fs::permissions(mFolder, fs::perms::all);
    const uid_t user = geteuid();
    ASSERT_TRUE(user != 0 || (chown(mPath.c_str(), 65534, 65534) == 0 && seteuid(65534) == 0));
    Fill(mTdf, 2);
    const bool isSaved = mTdf.Save(mPath.c_str());
    ASSERT_EQ(0, seteuid(user));
    EXPECT_FALSE(isSaved);
    EXPECT_EQ(1, NumberAt(mPath));
    EXPECT_EQ(4, CountFiles());
}

// A temporary file of another writer of the same target stays as long as that writer runs.
TEST_F(TdfSave, TwoWritersOfOneTargetDoNotDisturbEachOther)
{
    KAtomicFile slow(mPath.c_str());
    EXPECT_EQ(mPath + ".saving-0", slow.GetTemporary());
    ASSERT_TRUE(slow.Write("whole", 5));
    Fill(mTdf, 1);
    ASSERT_TRUE(mTdf.Save(mPath.c_str()));
    EXPECT_EQ(1, NumberAt(mPath));
    ASSERT_TRUE(slow.Commit()) << slow.GetReason();
    EXPECT_EQ(5u, fs::file_size(mPath));
    EXPECT_EQ(1, CountFiles());
}

TEST_F(TdfSave, AKillAtAnyMomentLeavesTheOldFileOrTheNewOne)
{
    Fill(mTdf, 0);
    ASSERT_TRUE(mTdf.Save(mPath.c_str()));
    std::mt19937 random(1);
    int killedInSave = 0;
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
        // A process that dies during a save leaves its temporary file, under the documented name.
        // The next save removes it.
        const bool isLeft = fs::exists(mPath + ".saving-0");
        killedInSave += isLeft ? 1 : 0;
        ASSERT_EQ(isLeft ? 2 : 1, CountFiles());
    }
    Fill(mTdf, last);
    ASSERT_TRUE(mTdf.Save(mPath.c_str()));
    EXPECT_EQ(1, CountFiles());
    EXPECT_GT(last, 0);
    EXPECT_GT(killedInSave, 0);  // else no kill came during a save
}
}  // namespace
