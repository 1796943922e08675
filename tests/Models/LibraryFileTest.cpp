#include "Models/LibraryFile.h"
#include "Models/LibraryRig.h"
#include "support/TracedChild.h"

using namespace tessivo;
using namespace tessivo::test;
namespace fs = std::filesystem;

TEST(LibraryFileTest, SaveInterruptedAnywhereLeavesTheOldOrTheNewFile) {
    const LibraryRig rig;
    const SavedLoop loop("Beat", "Beat.wav", SecondsSince2001(1), 1.0, 44);
    const std::vector<SavedLoop> oldList(300, loop);
    const std::vector<SavedLoop> newList(500, loop);
    const auto oldBytes = LibraryMetadata::encode(oldList).toStdString();
    const auto newBytes = LibraryMetadata::encode(newList).toStdString();
    for (const bool firstSave : {false, true}) {
        int oldSeen = 0;
        int newSeen = 0;
        for (bool over = false; !over;) {
            const auto prepare = [&] {
                LibraryFile::write(newList); // once it has what it needs, it takes equal ways
                fs::remove(rig.metadata);
                if (!firstSave) {
                    LibraryFile::write(oldList);
                }
            };
            int callsLeft = oldSeen + newSeen + 1;
            const int status = traceSystemCalls(
                prepare, [&] { LibraryFile::write(newList); },
                [&](const auto& call) {
                    return call.op != PTRACE_SYSCALL_INFO_ENTRY || --callsLeft > 0;
                });
            over = WIFEXITED(status);
            EXPECT_TRUE(!over || WEXITSTATUS(status) == 0) << "the save failed";
            const std::string bytes = bytesOf(rig.metadata);
            const bool isOld = firstSave ? !fs::exists(rig.metadata) : bytes == oldBytes;
            ++(isOld ? oldSeen : newSeen);
            ASSERT_TRUE(isOld || bytes == newBytes) << "killed at call " << oldSeen + newSeen;
            ASSERT_TRUE(!isOld || !over) << "a save that ended has saved";
            LoopFileManager::removeStaleCopies();
            ASSERT_EQ(rig.files().size(), isOld && firstSave ? 0U : 1U)
                << "the next start tidies up";
        }
        EXPECT_GT(oldSeen, 5);
        EXPECT_GT(newSeen, 3) << "also behind the rename, when the folder is synced";
        RecordProperty(firstSave ? "killsOfFirstSave" : "kills", oldSeen + newSeen - 1);
    }
}

TEST(LibraryFileTest, WhatIsReplacedUnreadIsKept) {
    const LibraryRig rig;
    LibraryFile::keepBeside();
    EXPECT_TRUE(rig.files().empty());
    writeBytes(rig.metadata, "first");
    LibraryFile::keepBeside();
    LibraryFile::keepBeside();
    fs::permissions(rig.metadata, fs::perms{0640});
    LibraryFile::write({});
    EXPECT_EQ(bytesOf(rig.metadata), "[]");
    EXPECT_EQ(fs::status(rig.metadata).permissions(), fs::perms{0640});
    EXPECT_EQ(rig.files().size(), 2U);
    EXPECT_EQ(rig.filesWith("first"), 1);
}

// A link in the file's place is read, and kept as what it is; its target is somebody else's.
TEST(LibraryFileTest, WritesThroughNoLink) {
    for (const char* content : {"[]", "alias ll='ls -l'", ""}) {
        const LibraryRig rig;
        const fs::path other = rig.home.path() / ".bashrc";
        if (*content != 0) {
            writeBytes(other, content);
        }
        fs::create_symlink("../../.bashrc", rig.metadata);
        LibraryFile::change([](auto& loops) {
            loops.push_back({"n", "n.wav", SecondsSince2001(0), 1.0, 1});
        });
        EXPECT_EQ(bytesOf(other), content);
        EXPECT_EQ(fs::exists(other), *content != 0);
        EXPECT_FALSE(fs::is_symlink(rig.metadata));
        EXPECT_EQ(rig.read().size(), 1U);
        ASSERT_EQ(rig.files().size(), 2U);
        EXPECT_EQ(fs::read_symlink(rig.folder / rig.files().front()), "../../.bashrc");
    }
}

TEST(LibraryFileTest, TellsMissingFromUnreadable) {
    const LibraryRig rig;
    EXPECT_FALSE(LibraryFile::read().isOnDisk);
    fs::create_directory(rig.metadata);
    EXPECT_THROW(LibraryFile::read(), std::exception);
    writeBytes(rig.metadata / "inside", "kept");
    LibraryFile::write({});
    EXPECT_TRUE(LibraryFile::read().isOnDisk);
    const std::string aside = rig.files().front();
    EXPECT_EQ(bytesOf(rig.folder / aside / "inside"), "kept");

    fs::remove_all(rig.folder);
    EXPECT_FALSE(LibraryFile::read().isOnDisk);
    EXPECT_THROW(LibraryFile::write({}), std::exception);
    writeBytes(rig.folder, "in the way");
    EXPECT_FALSE(LibraryFile::read().isOnDisk);
    EXPECT_THROW(LibraryFile::write({}), std::exception);
}
