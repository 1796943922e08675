#include "Audio/MIDIManager.h"
#include "Audio/SimpleRecorder.h"
#include "Utils/TakeMarker.h"
#include "ViewModels/LooperRig.h"
#include "ViewModels/Main/LooperWatch.h"
#include "support/VirtualMidi.h"

#include <csignal>
#include <fstream>
#include <sys/resource.h>

using namespace tessivo;
using namespace tessivo::test;
using std::chrono::milliseconds;
using Kind = Notices::Kind;

TEST(NoticesTest, TheMostImportantOneShowsUntilItsReasonOrItsTimeIsOver) {
    Notices notices(milliseconds(100));
    int changes = 0;
    QObject::connect(&notices, &Notices::changed, [&] { ++changes; });
    const auto expect = [&](const char* text, const char* detail, int change) {
        EXPECT_EQ(std::tuple(notices.text(), notices.detail(), changes),
                  std::tuple(QString(text), QString(detail), change));
    };
    const char* const failed = "The loop could not be played.";
    const char* const waits = "Controller found: My Keys";
    expect("", "", 0);
    notices.set(Kind::controllerWaiting, true, "My\nKeys ");
    expect(waits, "", 1);
    EXPECT_EQ(notices.button(), "MIDI Settings");
    notices.tell(Kind::playFailed, "busy");
    expect(failed, "busy", 2);
    EXPECT_EQ(notices.button(), "");
    notices.set(Kind::noMicrophone, true);
    notices.set(Kind::noMicrophone, false);
    expect(failed, "busy", 2);
    const auto tellAgain = [&] {
        notices.tell(Kind::playFailed, "busy"); // its time begins anew
        return true;
    };
    EXPECT_TRUE(holdsAfter(milliseconds(60), tellAgain));
    EXPECT_TRUE(holdsAfter(milliseconds(60), [&] { return notices.text() == failed; }));
    EXPECT_TRUE(runUntil([&] { return notices.text() == waits; }));
    notices.tell(Kind::controllerWaiting, "My Keys");
    notices.set(Kind::controllerWaiting, true, "My Keys"); // for longer than a while
    runFor(milliseconds(150));
    expect(waits, "", 3);
    notices.set(Kind::controllerWaiting, false);
    expect("", "", 4);
}

TEST(NoticesTest, FaultsAreToldWhenTheyHappen) {
    {
        const LooperRig silent("no server");
        const Notices& notices = *silent.looper->notices();
        EXPECT_EQ(notices.text(), "No sound server. Start it, then Tessivo again.");
        EXPECT_EQ(notices.detail(), "no server");
    }
    {
        LooperRig unwritable;
        std::ofstream(unwritable.home.recordings()) << "in the way";
        unwritable.record();
        EXPECT_EQ(unwritable.looper->notices()->text(), "The recording could not be started.");
    }
    {
        LooperRig library;
        settle();
        std::ofstream(TemporaryHome::savedLoops() / "library.json") << "[";
        library.looper->loopLibrary().refreshLibrary();
        settle();
        EXPECT_EQ(library.looper->notices()->text(), "The list of loops was damaged.");
        std::filesystem::remove_all(TemporaryHome::savedLoops());
        std::ofstream(TemporaryHome::savedLoops()) << "in the way";
        LoopLibrary().saveLoop({"x", "x.wav", SecondsSince2001(1), 1.0, 1}); // a window that closes
        settle();
        EXPECT_EQ(library.looper->notices()->text(),
                  "The list of loops could not be written. It is tried again.");
    }
    LooperRig rig;
    const Notices& notices = *rig.looper->notices();
    const auto tells = [&](const char* text) {
        const bool told = runUntil([&] { return notices.text() == QString(text); });
        EXPECT_TRUE(told) << notices.text().toStdString() << " instead of " << text;
    };
    rig.device->startClock();
    const auto lose = [&] {
        rig.feed(Channels(2, noise(480, 1)));
        rig.device->lose(100);
        rig.feed(Channels(2, noise(480, 1)));
    };
    lose(); // which nobody hears
    rig.press(&SimpleLooperViewModel::toggleInputMonitoring);
    runFor(milliseconds(600));
    tells("");
    lose();
    tells("The sound was interrupted for a moment.");
    rig.record();
    lose();
    tells("This take has a gap: some sound was lost.");

    rlimit saved{};
    getrlimit(RLIMIT_FSIZE, &saved);
    auto* const previous = std::signal(SIGXFSZ, SIG_IGN);
    const rlimit full{1000, saved.rlim_max};
    setrlimit(RLIMIT_FSIZE, &full);
    rig.feed(Channels(2, noise(4096, 1)));
    const auto pressed = std::chrono::steady_clock::now();
    tells("Part of this take could not be written.");
    EXPECT_LT(std::chrono::steady_clock::now() - pressed, milliseconds(1000));
    setrlimit(RLIMIT_FSIZE, &saved);
    std::signal(SIGXFSZ, previous);
    rig.stop();
    tells("Part of this take could not be written."); // for a while longer
    rig.record();
    rig.stop();
    EXPECT_FALSE(notices.has(Kind::takeIncomplete) || notices.has(Kind::takeHasGap));

    rig.device->changeFormats({{}, {}, 48000.0});
    tells("No microphone and no speaker were found.");
    rig.device->changeFormats(formats(0));
    tells("No microphone was found to record from.");
    std::ofstream(pathOf(rig.state->fileURL())) << "not a wave";
    rig.play();
    tells("The loop could not be played.");
    EXPECT_NE(notices.detail(), "");

    rig.record();
    EXPECT_TRUE(notices.has(Kind::recordFailed));
    rig.device->changeFormats(formats(2));
    runPosted();
    EXPECT_FALSE(notices.has(Kind::recordFailed)) << "it may work now";
    rig.record();
    rig.feed(Channels(2, noise(480, 1)));
    rig.stop();
    rig.play();
    EXPECT_FALSE(notices.has(Kind::playFailed));
    tells("No sound arrives: nothing is recorded or heard.");
    rig.feed(Channels(2, noise(480, 1)));
    EXPECT_TRUE(runUntil([&] { return !notices.has(Kind::soundStopped); }));
    rig.looper->notices()->tell(Kind::loadFailed);
    rig.state->setCurrentSavedLoop(SavedLoop());
    EXPECT_FALSE(notices.has(Kind::loadFailed));
}

TEST(NoticesTest, ADiskThatRunsFullAndAControllerThatWaitsAreTold) {
    const TemporaryHome home;
    const CapturedLines lines;
    SimpleAudioEngine engine(std::make_unique<sound::OfflineDevice>(formats(2)));
    SimpleLoopState state;
    Notices notices;
    std::atomic<std::uintmax_t> freeBytes = 0;
    LooperWatch watch(engine, state, notices, [&](const std::filesystem::path& folder) {
        EXPECT_EQ(folder, home.recordings());
        return std::optional(freeBytes.load());
    });
    constexpr std::uintmax_t kSecond = 2 * 48000 * sizeof(float); // bytes
    SimpleRecorder& recorder = engine.createRecorder();
    for (const auto& [seconds, text] : std::initializer_list<std::pair<int, const char*>>{
             {0, "The disk is full. Nothing more is recorded."},
             {59, "Disk almost full: room for less than a minute of recording."},
             {119, "Disk almost full: room for a minute of recording."},
             {299, "Disk almost full: room for 4 minutes of recording."},
             {301, ""}}) {
        freeBytes = static_cast<std::uintmax_t>(seconds) * kSecond;
        watch.followTake(recorder);
        recorder.startRecording();
        settle();
        EXPECT_EQ(notices.text(), text);
        recorder.stopRecording();
    }
    state.setIsRecording(true);
    watch.followTake(recorder);
    settle();
    freeBytes = 0;
    EXPECT_TRUE(runUntil([&] { return !notices.text().isEmpty(); })) << "asked again";

    freeBytes = 1U << 30U;
    state.setIsRecording(false);
    EXPECT_TRUE(runUntil([&] { return notices.text().isEmpty(); })) << "until there is room";

    const auto midi = std::make_shared<midi::VirtualMidi>();
    const auto pedal = midi->addSource("Pedal");
    const auto manager = MIDIManager::make(midi);
    bool hasChanged = false;
    QObject::connect(&notices, &Notices::changed, [&] { hasChanged = true; });
    watch.followController(*manager);
    runFor(milliseconds(1200));
    EXPECT_FALSE(hasChanged) << "it connects itself";
    midi->removeSource(pedal);
    EXPECT_TRUE(runUntil([&] { return !manager->isConnected(); }));
    const auto keys = midi->addSource("Keys");
    EXPECT_TRUE(runUntil([&] { return notices.text() == "Controller found: Keys"; }));
    manager->connectToDevice(keys, "Keys");
    EXPECT_TRUE(runUntil([&] { return notices.text().isEmpty(); }));
}

TEST(NoticesTest, ATakeThatWasCutOffIsOfferedOnce) {
    LooperRig rig;
    const auto folder = rig.home.recordings();
    const auto marks = [&] {
        std::string names;
        for (const auto& entry : std::filesystem::directory_iterator(folder)) {
            const auto name = entry.path().filename().string();
            names += name[0] == '.' ? name : "";
        }
        return names;
    };
    const auto expect = [&](const Notices& notices, const char* detail, const char* left) {
        settle();
        EXPECT_EQ(std::tuple(notices.detail(), notices.button(), marks()),
                  std::tuple(QString(detail), *detail != 0 ? "Use It" : "", left));
    };
    const auto cutOff = [&](const std::string& name, std::size_t frames) {
        writeFile(folder / name, 48000.0, Channels(2, std::vector<float>(frames, 0.5F)));
        std::ofstream(folder / ("." + name + ".recording")).flush();
        return folder / name;
    };
    rig.record();
    rig.feed(Channels(2, noise(2000, 1)));
    EXPECT_NE(marks(), "");
    EXPECT_EQ(TakeMarker::findCutOff(folder), std::nullopt) << "it goes on";
    rig.stop();
    rig.start();
    expect(*rig.looper->notices(), "", "");

    const auto newest = cutOff("a.wav", 100);
    const auto older = cutOff("b.wav", 100);
    last_write_time(older, last_write_time(newest) - std::chrono::hours(1));
    cutOff("empty.wav", 0);
    remove(cutOff("gone.wav", 100));
    rig.start();
    expect(*rig.looper->notices(), "a.wav", ".b.wav.recording");
    writeFile(rig.home.savedLoops() / "loop.wav", 48000.0, Channels(2, noise(100, 1)));
    {
        const StalledDisk disk;
        rig.looper->loadLoop({"loop", "loop.wav", SecondsSince2001(0), 1.0, 1});
        rig.looper->notices()->press();
        runPosted();
    }
    expect(*rig.looper->notices(), "", ".b.wav.recording");
    EXPECT_EQ(pathOf(rig.state->fileURL()), newest);
    EXPECT_TRUE(exists(newest)) << "not cleared by the load before";
    EXPECT_TRUE(rig.state->canSave() && !rig.state->currentSavedLoop());
    rig.play();
    EXPECT_EQ(rig.state->transportState(), TransportState::playing);
    rig.stop();
    rig.clear();
    EXPECT_FALSE(exists(newest)) << "as any take that is cleared";

    rig.start();
    expect(*rig.looper->notices(), "b.wav", "");
    rig.record();
    EXPECT_EQ(rig.looper->notices()->text(), "");
    rig.stop();
    EXPECT_TRUE(exists(older));

    SimpleLoopState state;
    Notices notices;
    TakeOffer offer(state, notices, milliseconds(100));
    const auto hidden = cutOff("c.wav", 100);
    notices.set(Kind::noSoundServer, true);
    offer.make(urlOf(hidden));
    runFor(milliseconds(150));
    notices.set(Kind::noSoundServer, false);
    EXPECT_EQ(marks(), ".c.wav.recording") << "nobody has read it";
    expect(notices, "c.wav", "");
    EXPECT_TRUE(runUntil([&] { return notices.text().isEmpty(); }));
}
