#include "Models/LoopLibrary.h"
#include "Models/LibraryRig.h"
#include "Platform/System/BackgroundQueue.h"
#include "Platform/System/LogLine.h"

#include <cmath>
#include <future>
#include <limits>

using namespace tessivo;
using namespace tessivo::test;
namespace fs = std::filesystem;

namespace {

using Names = std::vector<QString>;

QString errorOf(const LoopLibrary& library) {
    return library.lastError() ? library.lastError()->errorDescription() : QString();
}

std::optional<SavedLoop> found(const LoopLibrary& library, const QString& name) {
    for (const SavedLoop& loop : library.savedLoops()) {
        if (loop.name() == name) {
            return loop;
        }
    }
    return std::nullopt;
}

const QString kCorrupted = "Loop library is corrupted and needs to be rebuilt";

} // namespace

TEST(LoopLibraryTest, LoadsNewestFirstAndLeavesASoundFileAlone) {
    LibraryRig rig;
    const SavedLoop a = rig.loop("a", 1);
    const SavedLoop b = rig.loop("b", 2);
    const SavedLoop c = rig.loop("c", 2);
    rig.write({a, b, c});
    writeBytes(rig.folder / "unlisted.wav", "not ours to add");
    const std::string bytes = bytesOf(rig.metadata);
    const auto written = fs::last_write_time(rig.metadata);
    LoopLibrary library;
    EXPECT_TRUE(library.isLoading());
    EXPECT_TRUE(library.savedLoops().empty());
    settle();
    EXPECT_FALSE(library.isLoading());
    EXPECT_EQ(library.savedLoops(), (std::vector{b, c, a}));
    EXPECT_EQ(bytesOf(rig.metadata), bytes);
    EXPECT_EQ(fs::last_write_time(rig.metadata), written);
    EXPECT_EQ(rig.lines.take(), Lines());
    EXPECT_EQ(library.totalSize(), 3 * a.fileSize());
}

TEST(LoopLibraryTest, DropsOrphansAndWritesTheFileBack) {
    LibraryRig rig;
    const SavedLoop kept = rig.loop("kept", 1);
    const SavedLoop gone("gone", "gone.wav", SecondsSince2001(2), 1.0, 44);
    const SavedLoop outside("outside", "../../take.wav", SecondsSince2001(2), 1.0, 44);
    writeFile(rig.home.path() / "take.wav", 48000, Channels(1, noise(960, 1)));
    rig.write({gone, kept, outside});
    const LoopLibrary library;
    settle();
    EXPECT_EQ(library.savedLoops(), std::vector{kept});
    EXPECT_EQ(rig.read(), std::vector{kept});
    EXPECT_EQ(rig.lines.take(),
              (Lines{"Removing orphaned loop: gone", "Removing orphaned loop: outside"}));
    EXPECT_EQ(errorOf(library), "");
}

TEST(LoopLibraryTest, RebuildsFromTheFolderWhatCannotBeRead) {
    LibraryRig rig;
    rig.loop("Beat", 0);
    runFor(std::chrono::milliseconds(20)); // files know when they were made
    rig.loop("Pad", 0, "Pad.WAV");
    runFor(std::chrono::milliseconds(20));
    rig.loop(".hidden", 0);
    const SecondsSince2001 made = secondsSince2001Now();
    runFor(std::chrono::milliseconds(20));
    writeBytes(rig.folder / "broken.wav", "not audio");
    fs::create_directory(rig.folder / "folder.wav");
    fs::create_symlink("nowhere.wav", rig.folder / "link.wav");
    rig.loop("other", 0, "other.mp3");
    writeBytes(rig.metadata, "not JSON");
    const LoopLibrary library;
    std::vector<QString> errors;
    QObject::connect(&library, &LoopLibrary::lastErrorChanged,
                     [&] { errors.push_back(errorOf(library)); });
    settle();
    EXPECT_EQ(errors, (std::vector<QString>{kCorrupted, ""}));
    EXPECT_EQ(namesOf(library.savedLoops()), (Names{".hidden", "Pad", "Beat"}));
    const SavedLoop& pad = library.savedLoops()[1];
    EXPECT_EQ(pad.filename(), "Pad.WAV");
    EXPECT_EQ(pad.duration(), 0.02);
    EXPECT_EQ(pad.fileSize(), static_cast<qint64>(fs::file_size(rig.folder / "Pad.WAV")));
    EXPECT_LT(pad.createdDate(), made);
    EXPECT_NEAR(pad.createdDate().count(), made.count(), 30.0);
    EXPECT_EQ(rig.read(), library.savedLoops());
    Lines lines = rig.lines.take();
    ASSERT_EQ(lines.size(), 5U);
    EXPECT_EQ(lines.front().rfind("Failed to load loop library: Not JSON", 0), 0U);
    EXPECT_EQ(lines.back(), "Successfully rebuilt library with 3 loops");
    std::sort(lines.begin() + 1, lines.end() - 1);
    EXPECT_EQ(lines[1], "Failed to process file broken.wav: Invalid or corrupted audio file");
    EXPECT_EQ(lines[2].rfind("Failed to process file folder.wav: ", 0), 0U);
    EXPECT_EQ(rig.filesWith("not JSON"), 1) << "kept beside the new one";
}

TEST(LoopLibraryTest, FolderThatIsGoneOrNoneIsReported) {
    LibraryRig rig;
    fs::remove(rig.folder);
    writeBytes(rig.folder, "in the way");
    LoopLibrary library;
    settle();
    const QString failure = "Failed to save loop: Failed to save library metadata: ";
    EXPECT_EQ(errorOf(library).left(failure.size()), failure);
    const Lines lines = rig.lines.take();
    ASSERT_EQ(lines.size(), 1U);
    EXPECT_EQ(lines[0].rfind("Failed to save loop library: ", 0), 0U);

    fs::remove(rig.folder);
    fs::create_directory(rig.folder);
    writeBytes(rig.metadata, "[");
    library.refreshLibrary();
    EXPECT_EQ(errorOf(library), "") << "cleared when a load begins";
    BackgroundQueue::waitForAll(); // the file is found unreadable
    fs::remove_all(rig.folder);
    settle();
    EXPECT_EQ(errorOf(library), kCorrupted);
    EXPECT_EQ(rig.lines.take().back().rfind("Failed to rebuild library from files: ", 0), 0U);
}

// Neither the unreadable file is lost when the rebuild fails, nor what is changed meanwhile.
TEST(LoopLibraryTest, LaterSaveKeepsAFileThatCouldNotBeRebuilt) {
    const LibraryRig rig;
    writeBytes(rig.metadata, "[");
    LoopLibrary library;
    BackgroundQueue::waitForAll();
    const SavedLoop meanwhile = rig.loop("meanwhile", 1);
    fs::rename(rig.folder, rig.home.path() / "moved");
    runPosted();
    library.saveLoop(meanwhile.renamed("changed"));
    settle();
    fs::rename(rig.home.path() / "moved", rig.folder);
    library.saveLoop(rig.loop("new", 2));
    settle();
    EXPECT_EQ(namesOf(rig.read()), (Names{"new", "changed"}));
    EXPECT_EQ(rig.filesWith("["), 1);
}

TEST(LoopLibraryTest, SavesRenamesAndDeletesInALibraryThatWasEmpty) {
    LibraryRig rig;
    rig.loop("unlisted", 1);
    LoopLibrary library;
    settle();
    EXPECT_TRUE(library.savedLoops().empty());
    EXPECT_EQ(errorOf(library), "");
    EXPECT_EQ(bytesOf(rig.metadata), "[]");
    for (const auto& [name, date] : {std::pair("b", 2), std::pair("c", 3), std::pair("a", 1)}) {
        library.saveLoop(rig.loop(name, date));
    }
    EXPECT_EQ(namesOf(library.savedLoops()), (Names{"c", "b", "a"}));
    const SavedLoop b = *found(library, "b");
    const auto renamed = [&](const SavedLoop& loop, const QString& name) {
        return loopErrorOf([&] { library.renameLoop(loop, name); });
    };
    EXPECT_EQ(renamed(b, " \u2028\n"), "Failed to save loop: Loop name cannot be empty");
    EXPECT_EQ(renamed(b, "a"), "A loop with this name already exists");
    EXPECT_EQ(renamed(b, "A"), "no error");
    EXPECT_EQ(renamed(b, "x"), "Loop file not found") << "the id is another one now";
    const SavedLoop second = *found(library, "A");
    EXPECT_EQ(renamed(second, "A"), "no error");
    const SavedLoop third = library.savedLoops()[1];
    EXPECT_NE(third.id(), second.id());
    EXPECT_EQ(third.filename(), "b.wav");
    EXPECT_EQ(third.createdDate(), b.createdDate());
    EXPECT_EQ(renamed(third, QString::fromUtf8("ü ")), "no error");
    EXPECT_EQ(renamed(*found(library, "c"), QString::fromUtf8("u\u0308 ")),
              "A loop with this name already exists")
        << "it reads the same";

    EXPECT_EQ(deleteLoop(library, *found(library, "c")), "");
    EXPECT_FALSE(fs::exists(rig.folder / "c.wav"));
    fs::remove(rig.folder / "a.wav");
    EXPECT_EQ(deleteLoop(library, *found(library, "a")), "Loop file not found");
    EXPECT_EQ(namesOf(library.savedLoops()), (Names{QString::fromUtf8("ü "), "a"}));
    EXPECT_EQ(rig.read(), library.savedLoops());
    library.refreshLibrary();
    settle();
    EXPECT_EQ(rig.read().size(), 1U);
    EXPECT_EQ(rig.lines.take(), Lines{"Removing orphaned loop: a"});
}

TEST(LoopLibraryTest, NumbersFromTheFileOverflowNothing) {
    LibraryRig rig;
    constexpr auto kLargest = std::numeric_limits<qint64>::max();
    LoopLibrary library;
    library.saveLoop({"a", "a.wav", SecondsSince2001(1e300), 1.0, kLargest});
    library.saveLoop({"b", "b.wav", SecondsSince2001(-1e300), 1.0, kLargest});
    EXPECT_EQ(library.totalSize(), kLargest);
    settle();
    library.saveLoop({"c", "c.wav", SecondsSince2001(0), std::nan(""), 1});
    settle();
    EXPECT_EQ(errorOf(library).left(52), "Failed to save loop: Failed to save library metadata");
    EXPECT_EQ(library.savedLoops().size(), 3U);
    EXPECT_EQ(rig.read().size(), 2U) << "the file before";
}

TEST(LoopLibraryTest, ChangesThatOvertakeAReadingAreNotLost) {
    for (const bool readable : {true, false}) {
        for (const bool storeGoes : {false, true}) {
            const LibraryRig rig;
            const SavedLoop old = rig.loop("old", 1);
            rig.write({old, rig.loop("deleted", 2)});
            if (!readable) {
                writeBytes(rig.metadata, "[");
            }
            auto library = std::make_unique<LoopLibrary>();
            library->saveLoop(rig.loop("new", 3));
            EXPECT_EQ(namesOf(library->savedLoops()), Names{"new"});
            library->renameLoop(library->savedLoops()[0], "newer");
            library->deleteLoop({"deleted", "deleted.wav", SecondsSince2001(2), 1.0, 1},
                                [](const QString&) {});
            if (storeGoes) {
                library.reset();
            }
            settle();
            Names names = namesOf(rig.read());
            std::sort(names.begin(), names.end());
            EXPECT_EQ(names, (Names{"newer", "old"})) << readable << storeGoes;
        }
    }
}

// What one store does must not come back with the other's list: not with the one that it was
// reading at that time and then writes for an orphan or for a new loop, nor with an older one.
TEST(LoopLibraryTest, StoresDoNotUndoEachOther) {
    enum class Case { orphan, savedInLoad, savedBefore, savedAfter };
    for (const Case when : {Case::orphan, Case::savedInLoad, Case::savedBefore, Case::savedAfter}) {
        const LibraryRig rig;
        const SavedLoop renamed = rig.loop("before", 1);
        const SavedLoop deleted = rig.loop("deleted", 2);
        rig.write({renamed, deleted});
        LoopLibrary window;
        settle();
        if (when == Case::orphan) {
            rig.write({renamed, deleted, {"gone", "gone.wav", SecondsSince2001(0), 1.0, 1}});
        }
        LoopLibrary looper;
        BackgroundQueue::waitForAll(); // its list is read, and on its way
        if (when == Case::savedBefore || when == Case::savedAfter) {
            settle();
        }
        if (when == Case::savedBefore) {
            looper.saveLoop(rig.loop("new", 3));
        }
        window.renameLoop(renamed, "after");
        window.deleteLoop(deleted, [](const QString&) {});
        if (when == Case::savedInLoad || when == Case::savedAfter) {
            looper.saveLoop(rig.loop("new", 3));
        }
        settle();
        EXPECT_EQ(namesOf(rig.read()),
                  when == Case::orphan ? Names{"after"} : (Names{"new", "after"}));
        looper.refreshLibrary();
        window.refreshLibrary();
        settle();
        EXPECT_EQ(looper.savedLoops(), rig.read());
        EXPECT_EQ(window.savedLoops(), rig.read());
    }
}

TEST(LoopLibraryTest, WhatCannotBeWrittenIsToldKeptAndTriedAgain) {
    LibraryRig rig;
    LoopLibrary library;
    settle();
    int round = 0;
    for (const std::function<void()>& tryAgain : std::initializer_list<std::function<void()>>{
             [] { LibraryFile::postKeptChanges(); }, // as at the end of the program
             [&] { library.refreshLibrary(); },
             [&] {
                 LoopLibrary().saveLoop(rig.loop("next", 4));
             }}) {
        rig.write({rig.loop("deleted", 1), rig.loop("before", 2)});
        library.refreshLibrary();
        settle();
        const std::string old = bytesOf(rig.metadata);
        {
            const BusyFile busy(rig.metadata);
            library.saveLoop(rig.loop("new", 3));
            library.renameLoop(*found(library, "before"), "after");
            deleteLoop(library, *found(library, "deleted"));
            const QString failure = "Failed to save loop: Failed to save library metadata: ";
            EXPECT_EQ(errorOf(library).left(failure.size()), failure);
            library.refreshLibrary();
            settle();
            EXPECT_EQ(namesOf(library.savedLoops()), (Names{"new", "after"}));
            EXPECT_EQ(bytesOf(rig.metadata), old);
        }
        tryAgain();
        settle();
        const Names names{"new", "after"};
        EXPECT_EQ(namesOf(rig.read()), ++round < 3 ? names : (Names{"next", "new", "after"}));
    }
}

TEST(LoopLibraryTest, NothingWaitsForTheCheckingOfFiles) {
    const LibraryRig rig;
    rig.write({{"gone", "gone.wav", SecondsSince2001(0), 1.0, 1}});
    std::promise<void> gate;
    setLogSink([checked = gate.get_future().share()](auto) { checked.wait(); });
    LoopLibrary library;
    library.saveLoop(rig.loop("new", 1));
    EXPECT_TRUE(eventually([&] { return rig.read().size() == 2; }));
    EXPECT_TRUE(library.isLoading());
    gate.set_value();
    settle();
    EXPECT_EQ(namesOf(library.savedLoops()), Names{"new"});
    EXPECT_EQ(rig.read(), library.savedLoops());
}

TEST(LoopLibraryTest, LatestLoadCountsAndNoneAfterTheStoreHasGone) {
    LibraryRig rig;
    rig.write({rig.loop("first", 1)});
    auto library = std::make_unique<LoopLibrary>();
    BackgroundQueue::waitForAll();
    rig.write({rig.loop("second", 1)});
    library->refreshLibrary();
    int published = 0;
    QObject::connect(library.get(), &LoopLibrary::savedLoopsChanged, [&] { ++published; });
    settle();
    EXPECT_EQ(published, 1);
    EXPECT_EQ(namesOf(library->savedLoops()), Names{"second"});
    library->refreshLibrary();
    library.reset();
    settle();
    EXPECT_EQ(rig.lines.take(), Lines());
}
