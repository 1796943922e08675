#include "Models/LibraryRig.h"
#include "Platform/Files/AtomicFile.h"

#include <cerrno>
#include <cstddef>
#include <future>
#include <linux/filter.h>
#include <linux/seccomp.h>
#include <set>
#include <sys/prctl.h>
#include <sys/syscall.h>

using namespace tessivo;
using namespace tessivo::test;
namespace fs = std::filesystem;
using Files = LoopFileManager;

namespace {

// Runs work on a thread on which those system calls fail with those errors.
template <class Work>
void withRefused(const std::vector<std::pair<unsigned, unsigned>>& calls, Work&& work) {
    std::vector<sock_filter> program{
        BPF_STMT(BPF_LD | BPF_W | BPF_ABS, offsetof(seccomp_data, nr))};
    for (const auto& [call, error] : calls) {
        program.push_back(BPF_JUMP(BPF_JMP | BPF_JEQ | BPF_K, call, 0, 1));
        program.push_back(BPF_STMT(BPF_RET | BPF_K, SECCOMP_RET_ERRNO | error));
    }
    program.push_back(BPF_STMT(BPF_RET | BPF_K, SECCOMP_RET_ALLOW));
    const sock_fprog filter{static_cast<unsigned short>(program.size()), program.data()};
    std::async(std::launch::async, [&] {
        ASSERT_EQ(::prctl(PR_SET_NO_NEW_PRIVS, 1, 0, 0, 0), 0);
        ASSERT_EQ(::prctl(PR_SET_SECCOMP, SECCOMP_MODE_FILTER, &filter), 0);
        work();
    }).get();
}

struct FilesRig : LibraryRig {
    FilesRig() { writeFile(take, 48000, samples); }

    SavedLoop save(const QString& name) const {
        return Files::saveTemporaryLoopAs(name, urlOf(take));
    }

    Channels samples{noise(12000, 1), noise(12000, 2)};
    fs::path take = home.path() / "take.wav";
};

} // namespace

TEST(LoopFileManagerTest, CleansNamesForTheFileSystem) {
    const FilesRig rig;
    const QString family = QString::fromUtf8("👨‍👩‍👧");
    const QString accented = QString::fromUtf8("e\u0301");
    const std::vector<std::pair<QString, QString>> expected{
        {"My: Loop?", "My_ Loop_"},
        {"//<>:\"|?*\\", "__________"},
        {QString(60, u'a'), QString(50, u'a')},
        {QString(49, u'a') + " bc", QString(49, u'a') + ' '},
        {accented.repeated(51), accented.repeated(50)},
        {QString::fromUtf8("🥁").repeated(51), QString::fromUtf8("🥁").repeated(50)},
        {family.repeated(51), family.repeated(240 / 18)},
        {"", ""},
        {u"\u00a0 \u2028\t"_qs, ""},
        {"../../etc/passwd", ".._.._etc_passwd"},
        {QString(u"a\0b"_qs), "a_b"},
        {"tab\there\x7f", "tab\there\x7f"},
        {"100%41 #1; ~.wav", "100%41 #1; ~.wav"}};
    for (const auto& [name, base] : expected) {
        EXPECT_EQ(Files::generateUniqueFilename(name), base + ".wav") << name.toStdString();
    }
    // Whatever a name is, a file of it can be made, and a thousand more.
    for (const QString& name :
         {QString(10000, u'x'), QString(10000, u'語'), family.repeated(1000),
          'e' + QString(9999, u'\u0301'), QString(QChar(0xd83e)), QString(QChar(0xdd41)) + 'a'}) {
        const QString filename = Files::generateUniqueFilename(name);
        EXPECT_LE(filename.toUtf8().size() + 5, 255);
        const SavedLoop loop = rig.save(name);
        EXPECT_EQ(loop.filename(), filename);
        EXPECT_EQ(loop.name(), name);
        EXPECT_EQ(readFile(rig.folder / filename.toStdString()), rig.samples);
    }
}

TEST(LoopFileManagerTest, NumbersNamesThatAreTaken) {
    const FilesRig rig;
    const auto next = [](const char* name) {
        return Files::generateUniqueFilename(name).toStdString();
    };
    writeBytes(rig.folder / "Beat_1.wav", "");
    EXPECT_EQ(next("Beat"), "Beat.wav");
    fs::create_directory(rig.folder / "Beat.wav");
    EXPECT_EQ(next("Beat"), "Beat_2.wav");
    fs::create_symlink("nowhere", rig.folder / "Beat_2.wav");
    EXPECT_EQ(next(" Beat "), "Beat_3.wav");
    EXPECT_EQ(rig.save("  ").filename(), ".wav");
    EXPECT_EQ(rig.save("").filename(), "_1.wav");
}

TEST(LoopFileManagerTest, SavesACopyWithItsRecordAndDeletesIt) {
    const FilesRig rig;
    const double before = secondsSince2001Now().count();
    const SavedLoop loop = rig.save(" My/Loop ");
    EXPECT_EQ(loop.name(), " My/Loop ");
    EXPECT_EQ(loop.filename(), "My_Loop.wav");
    EXPECT_EQ(loop.duration(), 0.25);
    EXPECT_EQ(loop.fileSize(), static_cast<qint64>(fs::file_size(rig.take)));
    EXPECT_GE(loop.createdDate().count(), before);
    EXPECT_LE(loop.createdDate().count(), secondsSince2001Now().count());
    EXPECT_EQ(bytesOf(rig.folder / "My_Loop.wav"), bytesOf(rig.take));
    EXPECT_EQ(fs::status(rig.folder / "My_Loop.wav").permissions(),
              fs::status(rig.take).permissions());
    EXPECT_EQ(rig.files(), (std::vector<std::string>{"My_Loop.wav"}));

    Files::deleteLoopFile(loop);
    EXPECT_TRUE(rig.files().empty());
    EXPECT_EQ(readFile(rig.home.trash() / "My_Loop.wav"), rig.samples);
    EXPECT_EQ(loopErrorOf([&] { Files::deleteLoopFile(loop); }), "Loop file not found");
    fs::create_directories(rig.folder / "My_Loop.wav" / "kept");
    EXPECT_EQ(loopErrorOf([&] { Files::deleteLoopFile(loop); }).left(43),
              "Failed to save loop: Failed to delete file:");
    EXPECT_TRUE(fs::exists(rig.folder / "My_Loop.wav" / "kept"));
}

// Shares and removable disks.
TEST(LoopFileManagerTest, WhatADiskDoesNotKnowCostsNoTakeNoSaveAndNoExport) {
    const FilesRig rig;
    const fs::path target = rig.home.path() / "export.wav";
    for (const unsigned error : {1U * EPERM, 1U * ENOSYS, 1U * EOPNOTSUPP}) {
        withRefused(
            {{SYS_fchmod, error}, {SYS_fsync, EINVAL}, {SYS_link, error}, {SYS_renameat2, EINVAL}},
            [&] {
                writeFile(rig.take, 48000, rig.samples);
                Files::exportLoop(rig.save("Beat"), urlOf(target));
            });
        EXPECT_EQ(readFile(target), rig.samples) << error;
    }
    EXPECT_EQ(rig.files().size(), 3U);
    withRefused({{SYS_fsync, EIO}}, [&] {
        EXPECT_EQ(loopErrorOf([&] { rig.save("Beat"); }),
                  "Failed to save loop: Input/output error");
    });
    EXPECT_EQ(rig.files().size(), 3U);
}

// The sheet of a long save may be cancelled and another save begun.
TEST(LoopFileManagerTest, SavesOfOneNameAtOneTimeGetFilesOfTheirOwn) {
    const FilesRig rig;
    std::vector<std::future<SavedLoop>> saves;
    for (int i = 0; i < 8; ++i) {
        saves.push_back(std::async(std::launch::async, [&rig] { return rig.save("Beat"); }));
    }
    std::set<QString> names;
    for (auto& save : saves) {
        names.insert(save.get().filename());
    }
    EXPECT_EQ(names.size(), 8U);
    EXPECT_EQ(rig.files().size(), 8U);
}

TEST(LoopFileManagerTest, RefusesWhatIsNoAudio) {
    const FilesRig rig;
    const auto errorOf = [&](const fs::path& file) {
        EXPECT_FALSE(Files::validateLoopFile(urlOf(file)));
        return loopErrorOf([&] { Files::saveTemporaryLoopAs("a", urlOf(file)); });
    };
    EXPECT_EQ(errorOf(rig.home.path() / "missing"), "Loop file not found");
    const fs::path frameless = rig.home.path() / "frameless";
    writeFile(frameless, 48000, Channels(1));
    EXPECT_EQ(errorOf(frameless), "Invalid or corrupted audio file");
    EXPECT_TRUE(rig.files().empty());
    fs::resize_file(rig.take, fs::file_size(rig.take) / 2);
    EXPECT_NEAR(Files::getLoopMetadata(urlOf(rig.take)).duration, 0.125, 0.001)
        << "what is left of it can be played";
}

TEST(LoopFileManagerTest, ChecksThatFileAndReserveFit) {
    const FilesRig rig;
    const QUrl file = urlOf(rig.take);
    fs::resize_file(rig.take, 5'000'000);
    Files::checkDiskSpaceForFile(file);
    Files::checkDiskSpaceForFile(file, 15'485'760);
    const QString full = "Insufficient disk space to save loop";
    EXPECT_EQ(loopErrorOf([&] { Files::checkDiskSpaceForFile(file, 15'485'759); }), full);
    EXPECT_THROW(Files::checkDiskSpaceForFile(urlOf(rig.folder / "missing.wav")),
                 std::system_error);
    // Documents may go and come back while the program runs.
    fs::remove_all(rig.folder.parent_path());
    Files::checkDiskSpaceForFile(file);
    fs::remove_all(rig.folder.parent_path());
    writeBytes(rig.folder.parent_path(), "in the way");
    EXPECT_EQ(Files::getAvailableDiskSpace(), 0);
    EXPECT_EQ(loopErrorOf([&] { Files::checkDiskSpaceForFile(file); }), full);
}

TEST(LoopFileManagerTest, CopyReplacesOrLeavesWhatWasThere) {
    const FilesRig rig;
    const SavedLoop loop = rig.save("Beat");
    const fs::path target = rig.home.path() / "export.wav";
    const auto exportTo = [&](const fs::path& path) {
        return loopErrorOf([&] { Files::exportLoop(loop, urlOf(path)); });
    };
    writeBytes(target, "old");
    EXPECT_EQ(exportTo(target), "no error");
    EXPECT_EQ(bytesOf(target), bytesOf(rig.take));
    EXPECT_EQ(exportTo(rig.home.path() / "missing" / "a.wav"),
              "Failed to save loop: No such file or directory");
    EXPECT_TRUE(exportTo(rig.folder / "Beat.wav").startsWith("Failed to save loop: "));
    EXPECT_TRUE(exportTo(rig.home.path()).startsWith("Failed to save loop: "));
    EXPECT_EQ(bytesOf(rig.folder / "Beat.wav"), bytesOf(rig.take));

    fs::resize_file(rig.folder / "Beat.wav", 3'000'000);
    const fs::path full = rig.home.path() / "full";
    fs::create_directory(full);
    const SmallDisk disk(full);
    writeBytes(full / "a.wav", "old");
    EXPECT_EQ(exportTo(full / "a.wav"), "Failed to save loop: No space left on device");
    EXPECT_EQ(bytesOf(full / "a.wav"), "old");
    EXPECT_EQ(std::distance(fs::directory_iterator(full), fs::directory_iterator()), 1);
}

TEST(LoopFileManagerTest, RemovesOnlyWhatIsSurelyLeftByAKilledCopy) {
    const FilesRig rig;
    const files::AtomicFile inProgress(rig.folder, ".copy-", 0600);
    for (const char* name : {".copy-2", ".copy-aB3xY9", ".copy-of mine", ".copy-", "x.copy-4"}) {
        writeBytes(rig.folder / name, "half");
    }
    fs::create_directory(rig.folder / ".copy-3");
    fs::create_symlink(rig.take, rig.folder / ".copy-4");
    Files::removeStaleCopies();
    EXPECT_EQ(rig.files(), (std::vector<std::string>{".copy-", ".copy-1", ".copy-3", ".copy-4",
                                                     ".copy-of mine", "x.copy-4"}));
    const fs::path left = rig.home.path() / ".tessivo-export-1";
    writeBytes(left, "half");
    Files::exportLoop(rig.save("Beat"), urlOf(rig.home.path() / "export.wav"));
    EXPECT_FALSE(fs::exists(left));
}

TEST(LoopFileManagerTest, NothingThatIsBeginningCountsAsLeft) {
    const FilesRig rig;
    const std::jthread remover([](const std::stop_token& stop) {
        while (!stop.stop_requested()) {
            Files::removeStaleCopies();
        }
    });
    for (int i = 0; i < 2000; ++i) {
        files::AtomicFile beginning(rig.folder, ".copy-", 0600);
        ASSERT_NO_THROW(beginning.replace(rig.folder / "Beat.wav")) << i;
    }
}

TEST(LoopFileManagerTest, FullDiskKeepsNoHalfLoopAndAMissingFolderIsMadeAgain) {
    const FilesRig rig;
    fs::resize_file(rig.take, 3'000'000);
    {
        const SmallDisk disk(rig.folder);
        EXPECT_EQ(loopErrorOf([&] { rig.save("Beat"); }),
                  "Failed to save loop: No space left on device");
        EXPECT_TRUE(rig.files().empty());
    }
    fs::remove_all(rig.folder.parent_path());
    rig.save("Beat");
    EXPECT_EQ(rig.files(), (std::vector<std::string>{"Beat.wav"}));
    fs::remove_all(rig.folder);
    writeBytes(rig.folder, "in the way");
    EXPECT_EQ(loopErrorOf([&] { rig.save("Beat"); }), "Failed to save loop: Not a directory");
}

TEST(LoopFileManagerTest, RecordsLeadNowhereButIntoTheFolder) {
    const FilesRig rig;
    fs::create_directory(rig.folder / "sub");
    fs::copy_file(rig.take, rig.folder / "sub" / "a.wav");
    fs::create_symlink(rig.home.path() / "gone.wav", rig.folder / "link.wav");
    writeBytes(rig.folder / "text.wav", "not audio");
    const fs::path target = rig.home.path() / "export.wav";
    for (const QString& filename :
         {u"../../take.wav"_qs, QString::fromStdString(rig.take.string()), u"sub/a.wav"_qs,
          u"./sub/../link.wav"_qs, u".."_qs, u"."_qs, u""_qs, QString(u"text.wav\0x"_qs),
          QString(QChar(0xd800)) + ".wav", u"missing.wav"_qs, QString(300, u'a'), u"link.wav"_qs,
          u"text.wav"_qs, u"sub"_qs}) {
        const SavedLoop loop("n", filename, SecondsSince2001(0), 1.0, 1);
        EXPECT_FALSE(Files::validateLoopFile(loop)) << filename.toStdString();
        EXPECT_EQ(loopErrorOf([&] { Files::exportLoop(loop, urlOf(target)); }),
                  "Loop file not found");
        // What is in the folder can be deleted, and nothing else.
        const QString failure = loopErrorOf([&] { Files::deleteLoopFile(loop); });
        const bool isThere = filename == "link.wav" || filename == "text.wav";
        EXPECT_EQ(failure.section(": ", 0, 1), isThere ? "no error"
                                               : filename == "sub"
                                                   ? "Failed to save loop: Failed to delete file"
                                                   : "Loop file not found");
    }
    EXPECT_FALSE(fs::exists(target) || fs::is_symlink(rig.folder / "link.wav"));

    // The loops may lie on another disk: the link is a loop, and what it names is never deleted.
    fs::create_symlink(rig.take, rig.folder / "link.wav");
    const SavedLoop linked("n", "link.wav", SecondsSince2001(0), 1.0, 1);
    EXPECT_TRUE(Files::validateLoopFile(linked));
    Files::exportLoop(linked, urlOf(target));
    EXPECT_EQ(readFile(target), rig.samples);
    Files::deleteLoopFile(linked);
    EXPECT_FALSE(fs::is_symlink(rig.folder / "link.wav"));
    EXPECT_EQ(readFile(rig.take), rig.samples);
    EXPECT_EQ(readFile(rig.folder / "sub" / "a.wav"), rig.samples);
}
