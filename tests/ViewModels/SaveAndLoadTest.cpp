#include "Models/LibraryRig.h"
#include "ViewModels/LooperRig.h"
#include "ViewModels/Save/LoopMeasurement.h"
#include "ViewModels/Save/LoopSaver.h"

#include <future>

using namespace tessivo;
using namespace tessivo::test;
using std::chrono::milliseconds;
using T = TransportState;
namespace fs = std::filesystem;

namespace {

struct LibraryLooper : LooperRig {
    LibraryLooper() {
        settle();
        lines.take();
    }

    // Saves on another thread, as the sheet does; returns what went wrong.
    QString save(const QString& name) const {
        const auto call = [&] {
            return loopErrorOf([&] { looper->saveCurrentLoop(name); });
        };
        return std::async(std::launch::async, call).get();
    }
    // Returns when the disk has answered.
    void load(const SavedLoop& loop) const {
        looper->loadLoop(loop);
        settle();
    }

    // A loop of the library; the looper is empty afterwards.
    SavedLoop savedLoop(const QString& name) {
        makeTake();
        EXPECT_EQ(save(name), "no error");
        settle();
        clear();
        lines.take();
        return looper->loopLibrary().savedLoops().front();
    }
    // What the library on the disk has.
    std::vector<SavedLoop> listed() const {
        settle();
        return LibraryMetadata::decode(QByteArray::fromStdString(bytesOf(metadata)));
    }

    std::filesystem::path metadata = home.savedLoops() / "library.json";
};

} // namespace

TEST(SaveAndLoadTest, SaveCopiesTheTakeListsAndMarksIt) {
    LibraryLooper rig;
    rig.makeTake();
    EXPECT_EQ(rig.save("My/Loop"), "no error");
    EXPECT_NE(bytesOf(rig.metadata).find(R"("name":"My\/Loop")"), std::string::npos);
    EXPECT_EQ(rig.lines.take(), Lines{"Successfully saved loop: My/Loop"});
    EXPECT_TRUE(rig.looper->loopLibrary().savedLoops().empty());
    EXPECT_FALSE(rig.state->currentSavedLoop().has_value()) << "the state's writes are posted";
    runPosted();
    const auto& loops = rig.looper->loopLibrary().savedLoops();
    ASSERT_EQ(loops.size(), 1U);
    EXPECT_EQ(rig.state->currentSavedLoop(), loops[0]);
    EXPECT_TRUE(rig.state->canPlay() && rig.state->canClear() && !rig.state->canSave());
    EXPECT_EQ(pathOf(rig.state->fileURL()).parent_path(), rig.home.recordings());
    EXPECT_EQ(readFile(rig.home.savedLoops() / "My_Loop.wav"),
              readFile(pathOf(rig.state->fileURL())));
    EXPECT_EQ(rig.listed(), loops);
}

TEST(SaveAndLoadTest, FailedSaveChangesNothing) {
    LibraryLooper rig;
    const auto expectFailure = [&](const char* reason) {
        rig.transportLines();
        EXPECT_EQ(rig.save("a"), reason);
        runPosted();
        EXPECT_EQ(rig.lines.take(), Lines());
        EXPECT_TRUE(rig.looper->loopLibrary().savedLoops().empty());
        EXPECT_FALSE(rig.state->currentSavedLoop().has_value());
        EXPECT_FALSE(fs::exists(rig.home.savedLoops() / "a.wav"));
    };
    expectFailure("No audio recorded to save");
    rig.record();
    expectFailure("No audio recorded to save");
    rig.stop();
    expectFailure("Invalid or corrupted audio file"); // a take without frames
    const auto take = pathOf(rig.state->fileURL());
    fs::resize_file(take, fs::space(take).available + (10U << 20));
    expectFailure("Insufficient disk space to save loop");
    EXPECT_TRUE(rig.state->canSave());
    rig.clear();
    expectFailure("No audio recorded to save");
}

TEST(SaveAndLoadTest, SaveThatCannotBeListedIsToldAndRepeatedWithoutAnotherCopy) {
    LibraryLooper rig;
    rig.makeTake();
    {
        const BusyFile busy(rig.metadata);
        for (const char* name : {"first", "second"}) {
            EXPECT_TRUE(rig.save(name).startsWith("Failed to save loop: Failed to save library"));
            EXPECT_EQ(rig.transportLines().size(), 1U) << "and no line of success";
            settle();
            EXPECT_TRUE(rig.state->canSave());
            EXPECT_EQ(namesOf(rig.looper->loopLibrary().savedLoops()), std::vector<QString>{name});
        }
    }
    EXPECT_EQ(rig.save("third"), "no error");
    EXPECT_EQ(namesOf(rig.listed()), std::vector<QString>{"third"});
    EXPECT_EQ(rig.state->currentSavedLoop(), rig.listed().front());
    EXPECT_FALSE(fs::exists(rig.home.savedLoops() / "second.wav"));
    EXPECT_FALSE(fs::exists(rig.home.savedLoops() / "third.wav"));
}

TEST(SaveAndLoadTest, WhatFailsBehindAClosedSheetIsALine) {
    LibraryLooper rig;
    LoopSaver().save(rig.looper.get(), "a");
    settle();
    EXPECT_EQ(rig.lines.take(), Lines{"Failed to save loop: No audio recorded to save"});
    LoopMeasurement().measure(urlOf(rig.home.path() / "gone.wav"));
    settle();
    EXPECT_EQ(rig.lines.take(),
              Lines{"Failed to load metadata: The attributes of the file could not be read: "
                    "\"gone.wav\": No such file or directory"});
}

// Starting after the program was killed.
TEST(SaveAndLoadTest, StartRemovesWhatAKilledProgramLeftUnfinished) {
    LibraryLooper rig;
    fs::create_directories(rig.home.recordings());
    for (const fs::path& left :
         {rig.home.savedLoops() / ".copy-3", rig.home.recordings() / ".take-1"}) {
        writeBytes(left, "half");
        const SimpleLooperViewModel next(std::make_unique<sound::OfflineDevice>(formats(2)));
        settle();
        EXPECT_FALSE(fs::exists(left)) << left;
    }
}

TEST(SaveAndLoadTest, LoadStopsEverythingAndWaits) {
    LibraryLooper rig;
    const SavedLoop loop = rig.savedLoop("x");
    const std::string loaded = "Successfully loaded loop: x";
    const auto expectLoaded = [&](const Lines& lines) {
        rig.transportLines();
        rig.load(loop);
        EXPECT_EQ(rig.transportLines(), lines);
        runFor(milliseconds(200));
        EXPECT_EQ(rig.state->transportState(), T::stopped);
        EXPECT_FALSE(rig.state->isRecording());
        EXPECT_TRUE(rig.state->canPlay() && !rig.state->canSave());
        EXPECT_EQ(rig.state->currentSavedLoop(), loop);
        EXPECT_EQ(pathOf(rig.state->fileURL()), rig.home.savedLoops() / "x.wav");
        EXPECT_TRUE(fs::is_empty(rig.home.recordings())) << "the take's file is deleted";
        EXPECT_EQ(rig.transportLines(), Lines());
    };
    expectLoaded({loaded});
    rig.makeTake();
    expectLoaded({loaded});
    rig.makeTake();
    rig.play();
    expectLoaded({"Playback stopped", "Playback stopped", loaded});
    rig.record();
    expectLoaded({loaded});
    rig.record();
    rig.feed(Channels(2, noise(2000, 1)));
    rig.looper->recordButtonPressed(); // and would play in a moment
    runPosted();
    expectLoaded({loaded});
    rig.clear();
    EXPECT_FALSE(rig.state->hasAudio() || rig.state->currentSavedLoop().has_value());
    EXPECT_EQ(readFile(rig.home.savedLoops() / "x.wav"), Channels(2, noise(2000, 1)));
}

TEST(SaveAndLoadTest, FailedLoadLeavesEverythingAsItWas) {
    LibraryLooper rig;
    const SavedLoop loop = rig.savedLoop("x");
    fs::remove(rig.home.savedLoops() / "x.wav");
    rig.makeTake();
    for (const T transport : {T::stopped, T::playing, T::recording}) {
        if (transport == T::playing) {
            rig.play();
        } else if (transport == T::recording) {
            rig.stop();
            rig.record();
        }
        const QUrl take = rig.state->fileURL();
        rig.lines.take();
        rig.load(loop);
        EXPECT_EQ(rig.lines.take(), Lines{"Failed to load loop: Loop file not found"});
        EXPECT_EQ(rig.state->transportState(), transport);
        EXPECT_TRUE(rig.state->hasAudio() && fs::exists(pathOf(take)));
        EXPECT_EQ(rig.state->fileURL(), take);
    }
}

TEST(SaveAndLoadTest, OnASlowDiskALoadKeepsItsPlaceAmongTheCommands) {
    LibraryLooper rig;
    const SavedLoop kept = rig.savedLoop("kept");
    const SavedLoop gone = rig.savedLoop("gone");
    LoopLibrary window;
    rig.makeTake();
    settle();
    {
        const StalledDisk disk;
        window.deleteLoop(gone, [](const QString&) {});
        rig.looper->loadLoop(gone);
        rig.looper->loadLoop(kept);
        rig.looper->showSaveDialog();
        rig.looper->playButtonPressed();
        runPosted();
        EXPECT_TRUE(rig.looper->isWaitingForDisk());
        EXPECT_TRUE(rig.state->canSave());
    }
    EXPECT_FALSE(rig.looper->isWaitingForDisk());
    EXPECT_FALSE(rig.state->showingSaveDialog()) << "there is nothing to save by then";
    EXPECT_EQ(rig.state->transportState(), T::playing);
    EXPECT_EQ(rig.state->currentSavedLoop(), kept);
    const Lines lines = rig.transportLines();
    ASSERT_EQ(lines.size(), 5U);
    EXPECT_EQ(lines[0], "Failed to load loop: Loop file not found");
    EXPECT_EQ(lines[1], "Successfully loaded loop: kept");
    EXPECT_EQ(lines[4], "Playback started");
}

// The sheet of a long save was cancelled and the performer went on.
TEST(SaveAndLoadTest, LateSaveMarksNothingButItsOwnTake) {
    LibraryLooper rig;
    const SavedLoop other = rig.savedLoop("other");
    rig.makeTake();
    EXPECT_EQ(rig.save("first"), "no error");
    rig.record();
    EXPECT_FALSE(rig.state->currentSavedLoop().has_value()) << "the save was running";
    EXPECT_EQ(rig.save("second"), "no error");
    rig.feed(Channels(2, noise(2000, 2)));
    runPosted();
    EXPECT_EQ(rig.state->currentSavedLoop()->name(), "second") << "of what is still current";
    rig.stop();
    EXPECT_TRUE(rig.state->canSave()) << "a new take is a new loop";
    EXPECT_EQ(rig.save("third"), "no error");
    rig.clear();
    EXPECT_FALSE(rig.state->currentSavedLoop().has_value());
    rig.makeTake();
    EXPECT_EQ(rig.save("fourth"), "no error");
    rig.load(other);
    EXPECT_EQ(rig.state->currentSavedLoop(), other);
    EXPECT_EQ(namesOf(rig.listed()),
              (std::vector<QString>{"fourth", "third", "second", "first", "other"}));
}

TEST(SaveAndLoadTest, WhatTheLibraryWindowRemovedStaysRemoved) {
    LibraryLooper rig;
    const SavedLoop renamed = rig.savedLoop("before");
    const SavedLoop deleted = rig.savedLoop("deleted");
    LoopLibrary window;
    settle();
    window.renameLoop(renamed, "after");
    window.deleteLoop(deleted, [](const QString&) {});
    rig.makeTake();
    rig.looper->showSaveDialog();
    EXPECT_EQ(rig.save("new"), "no error"); // before the list is read
    EXPECT_EQ(namesOf(rig.listed()), (std::vector<QString>{"new", "after"}));
    EXPECT_EQ(rig.looper->loopLibrary().savedLoops(), rig.listed());
}
