#include "Models/LibraryFile.h"
#include "Models/LibraryRig.h"

#include <csignal>
#include <sys/ptrace.h>
#include <sys/wait.h>
#include <unistd.h>

using namespace tessivo;
using namespace tessivo::test;
namespace fs = std::filesystem;

namespace {

// Prepares and then runs an action in a child, and kills that as the action's n-th system
// call begins. True when the action was over before.
template <class Preparation, class Action>
bool outlivesKillAt(int n, Preparation&& prepare, Action&& action) {
    const pid_t child = ::fork();
    if (child == 0) {
        prepare();
        ::ptrace(PTRACE_TRACEME, 0, nullptr, nullptr);
        ::raise(SIGSTOP);
        try {
            action();
            ::_exit(0);
        } catch (const std::exception&) {
            ::_exit(1);
        }
    }
    int status = 0;
    ::waitpid(child, &status, 0);
    ::ptrace(PTRACE_SETOPTIONS, child, nullptr, PTRACE_O_EXITKILL);
    // Each call stops the child twice, as it begins and as it ends.
    for (int stop = 0; stop < 2 * n - 1 && WIFSTOPPED(status); ++stop) {
        EXPECT_EQ(::ptrace(PTRACE_SYSCALL, child, nullptr, nullptr), 0);
        ::waitpid(child, &status, 0);
    }
    if (WIFSTOPPED(status)) {
        ::kill(child, SIGKILL);
        ::waitpid(child, &status, 0);
    }
    EXPECT_TRUE(WIFSIGNALED(status) || WEXITSTATUS(status) == 0) << "the action failed";
    return WIFEXITED(status);
}

} // namespace

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
            // Children have one sequence of random names; what one leaves is in the next's way.
            fs::remove_all(rig.folder);
            fs::create_directory(rig.folder);
            const auto prepare = [&] {
                LibraryFile::write(newList); // once it has what it needs, it takes equal ways
                fs::remove(rig.metadata);
                if (!firstSave) {
                    LibraryFile::write(oldList);
                }
            };
            const int call = oldSeen + newSeen + 1;
            over = outlivesKillAt(call, prepare, [&] { LibraryFile::write(newList); });
            const std::string bytes = bytesOf(rig.metadata);
            const bool isOld = firstSave ? !fs::exists(rig.metadata) : bytes == oldBytes;
            ASSERT_TRUE(isOld || bytes == newBytes) << "killed at call " << call;
            ASSERT_TRUE(!isOld || !over) << "a save that ended has saved";
            ++(isOld ? oldSeen : newSeen);
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
    LibraryFile::write({});
    EXPECT_EQ(bytesOf(rig.metadata), "[]");
    auto names = rig.files();
    ASSERT_EQ(names.size(), 3U);
    EXPECT_EQ(bytesOf(rig.folder / names[0]), "first");
    EXPECT_EQ(bytesOf(rig.folder / names[1]), "first");

    // Kept by its content also when the name is a link, which a write goes through.
    fs::rename(rig.metadata, rig.folder / "elsewhere.json");
    fs::create_symlink("elsewhere.json", rig.metadata);
    LibraryFile::keepBeside();
    LibraryFile::write({{"n", "n.wav", SecondsSince2001(0), 1.0, 1}});
    names = rig.files();
    ASSERT_EQ(names.size(), 5U);
    EXPECT_EQ(std::count_if(names.begin(), names.end(),
                            [&](const auto& name) { return bytesOf(rig.folder / name) == "[]"; }),
              1);
    EXPECT_EQ(rig.read().size(), 1U);
}

TEST(LibraryFileTest, TellsMissingFromUnreadable) {
    const LibraryRig rig;
    EXPECT_FALSE(LibraryFile::read().has_value());
    fs::create_directory(rig.metadata);
    EXPECT_THROW(LibraryFile::read(), std::exception);
    writeBytes(rig.metadata / "inside", "kept");
    LibraryFile::write({});
    EXPECT_EQ(LibraryFile::read()->size(), 0U);
    const std::string aside = rig.files().front();
    EXPECT_EQ(bytesOf(rig.folder / aside / "inside"), "kept");

    fs::remove_all(rig.folder);
    EXPECT_FALSE(LibraryFile::read().has_value());
    EXPECT_THROW(LibraryFile::write({}), std::exception);
    writeBytes(rig.folder, "in the way");
    EXPECT_FALSE(LibraryFile::read().has_value());
    EXPECT_THROW(LibraryFile::write({}), std::exception);
}
