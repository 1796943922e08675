#include "Audio/LoopPreviewEngine.h"

#include "Models/LibraryRig.h"

#include <QCoreApplication>
#include <QPointer>

#include <atomic>
#include <cmath>
#include <future>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <thread>
#include <unistd.h>

using namespace tessivo;
using namespace tessivo::test;
using std::chrono::milliseconds;

namespace {

std::atomic<bool> readsWait = false;

} // namespace

// What is read of files waits, as on a disk that does not answer.
extern "C" ssize_t read(int descriptor, void* data, std::size_t size) {
    struct stat status {};
    while (readsWait && fstat(descriptor, &status) == 0 && S_ISREG(status.st_mode)) {
        std::this_thread::sleep_for(milliseconds(1));
    }
    return syscall(SYS_read, descriptor, data, size);
}

namespace {

struct PreviewRig : LibraryRig {
    SavedLoop save(const QString& name, const std::vector<float>& samples) const {
        SavedLoop record = loop(name, 0);
        writeFile(folder / record.filename().toStdString(), 48000, {samples});
        return record;
    }
    // Returns when the disk has answered, with what went wrong.
    std::string preview(const SavedLoop& loop) const {
        std::string failure;
        const auto failed =
            QObject::connect(engine.get(), &LoopPreviewEngine::previewFailed,
                             [&](const QString& reason) { failure = reason.toStdString(); });
        engine->previewLoop(loop);
        settle();
        QObject::disconnect(failed);
        return failure;
    }
    bool isIdle() const { return !engine->isPlaying() && !engine->currentPreviewLoop(); }
    // The lines, without what they all begin with.
    Lines said() {
        Lines all = lines.take();
        for (std::string& line : all) {
            EXPECT_EQ(line.rfind("🎵 [PREVIEW] ", 0), 0U) << line;
            line.erase(0, line.find("] ") + 2);
        }
        return all;
    }

    sound::OfflineDevice* device = new sound::OfflineDevice(formats(2));
    std::unique_ptr<LoopPreviewEngine> engine =
        std::make_unique<LoopPreviewEngine>(std::unique_ptr<sound::AudioDevice>(device));
};

// From that level down to silence within 3 ms, and silent from there on.
void expectFadeOut(const std::vector<float>& heard, float level) {
    EXPECT_GT(heard[0], 0.9F * level);
    for (std::size_t i = 1; i < 144; ++i) {
        ASSERT_LT(heard[i], heard[i - 1]) << i;
    }
    EXPECT_EQ(slice(heard, 144, heard.size() - 144), std::vector<float>(heard.size() - 144));
}

} // namespace

TEST(LoopPreviewEngineTest, PlaysOneLoopOnceAndMarksItUntilItsLastFrameHasBeenHeard) {
    PreviewRig rig;
    auto once = noise(4800, 1);
    const SavedLoop first = rig.save("first", once);
    const SavedLoop second = rig.save("second", std::vector<float>(48000, 0.5F));
    rig.engine->setPreviewVolume(1.0F);
    rig.device->setLatencies(0.0, 1.0);
    rig.preview(first);
    EXPECT_FALSE(rig.device->capturing());
    once.resize(15000); // and then nothing
    EXPECT_EQ(firstDifference(hearStart(*rig.device, 15000)[0], once), -1);
    EXPECT_TRUE(rig.engine->isPreviewingLoop(first)) << "its end is still on its way";
    EXPECT_TRUE(runUntil([&] { return rig.isIdle(); }));
    EXPECT_EQ(rig.said(),
              (Lines{"Preview engine started", "Started previewing: first", "Preview completed"}));

    rig.preview(second);
    hearStart(*rig.device, 4800);
    rig.preview(first);
    EXPECT_TRUE(rig.engine->isPreviewingLoop(first));
    rig.preview(*rig.engine->currentPreviewLoop());
    EXPECT_EQ(rig.engine->currentPreviewLoop(), first);
    rig.engine->stopPreview();
    rig.engine->stopPreview();
    EXPECT_TRUE(rig.isIdle());
    rig.engine.reset();
    EXPECT_EQ(rig.said(),
              (Lines{"Started previewing: second", "Stopped preview", "Started previewing: first",
                     "Stopped preview", "Started previewing: first", "Stopped preview",
                     "Preview engine cleaned up"}));
}

TEST(LoopPreviewEngineTest, NoticeThatComesTooLateEndsNothing) {
    PreviewRig rig;
    const SavedLoop loop = rig.save("short", noise(2400, 1));
    for (const bool again : {true, false}) {
        rig.preview(loop);
        hearStart(*rig.device, 960);
        rig.device->turn(4800); // now it ends, and says so, while the main thread is busy
        std::this_thread::sleep_for(milliseconds(200));
        again ? void(rig.preview(loop)) : rig.engine->stopPreview();
        rig.said();
        runFor(milliseconds(100));
        EXPECT_EQ(rig.engine->isPreviewingLoop(loop), again);
        EXPECT_EQ(rig.said(), Lines());
    }
}

TEST(LoopPreviewEngineTest, VolumeIsBroughtIntoItsRangeAndRampsInTheSound) {
    PreviewRig rig;
    EXPECT_EQ(rig.engine->previewVolume(), 0.7F);
    rig.engine->setPreviewVolume(1.5F);
    rig.engine->setPreviewVolume(std::nanf(""));
    EXPECT_EQ(rig.engine->previewVolume(), 1.0F);
    rig.preview(rig.save("loud", std::vector<float>(96000, 0.5F)));
    EXPECT_EQ(hearStart(*rig.device, 960)[0].back(), 0.5F);
    rig.engine->setPreviewVolume(-0.2F);
    EXPECT_EQ(rig.engine->previewVolume(), 0.0F);
    expectFadeOut(rig.device->turn(960)[0], 0.5F);
}

TEST(LoopPreviewEngineTest, WhatCannotBePlayedIsRefusedWithAReasonAndEndsTheOneBefore) {
    PreviewRig rig;
    const SavedLoop good = rig.save("good", noise(48000, 1));
    rig.device->failToStart("The sound server could not be reached.");
    EXPECT_EQ(rig.preview(good), "The sound server could not be reached.");
    EXPECT_TRUE(rig.isIdle());
    EXPECT_EQ(rig.said(), Lines());
    rig.device->failToStart({});

    writeFile(TemporaryHome::path() / "outside.wav", 48000, {noise(480, 1)});
    writeFile(rig.folder / "slow.wav", 100, {noise(480, 1)});
    for (const char* name : {"missing.wav", "slow.wav", "../../outside.wav", ""}) {
        rig.preview(good);
        rig.said();
        const std::string reason = rig.preview({"bad", name, SecondsSince2001(0), 1.0, 1});
        EXPECT_TRUE(!reason.empty() && reason.find(name) != reason.npos) << name << reason;
        EXPECT_TRUE(rig.isIdle()) << name;
        EXPECT_EQ(rig.said(), Lines{"Stopped preview"}) << name;
    }
}

TEST(LoopPreviewEngineTest, OnASlowDiskTheLastCommandCountsAndNobodyWaits) {
    PreviewRig rig;
    const SavedLoop first = rig.save("first", noise(48000, 1));
    const SavedLoop second = rig.save("second", noise(48000, 2));
    rig.preview(first);
    rig.said();
    for (const bool stop : {false, true}) {
        {
            const StalledDisk disk;
            rig.engine->previewLoop(first);
            rig.engine->previewLoop(second);
            EXPECT_TRUE(rig.engine->isOpening());
            stop ? rig.engine->stopPreview() : void();
            EXPECT_TRUE(rig.isIdle() && rig.engine->isOpening() == !stop);
        }
        EXPECT_FALSE(rig.engine->isOpening());
        EXPECT_EQ(rig.engine->isPreviewingLoop(second), !stop);
        EXPECT_EQ(rig.said(), stop ? Lines{"Stopped preview"}
                                   : (Lines{"Stopped preview", "Started previewing: second"}));
    }
    rig.engine->previewLoop(first);
    rig.engine.reset();
    settle();
    EXPECT_EQ(rig.said(), Lines{"Preview engine cleaned up"});
}

TEST(LoopPreviewEngineTest, EngineThatGoesFadesOutAndIsGoneSoonAlsoWithoutCycles) {
    for (const bool turns : {true, false}) {
        PreviewRig rig;
        rig.preview(rig.save("long", std::vector<float>(96000, 0.5F)));
        hearStart(*rig.device, 960);
        rig.engine.reset();
        const QPointer fading = QCoreApplication::instance()->children().last();
        if (turns) {
            expectFadeOut(rig.device->turn(480)[0], 0.5F * 0.7F);
        }
        const auto isGone = [&] {
            QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
            return fading.isNull();
        };
        EXPECT_TRUE(runUntil(isGone, milliseconds(500)));
    }
}

TEST(LoopPreviewEngineTest, EngineThatGoesWhileADiskDoesNotAnswerLeavesTheWindowAlone) {
    PreviewRig rig;
    rig.preview(rig.save("long", noise(960'000, 1)));
    hearStart(*rig.device, 960);
    readsWait = true;
    hear(*rig.device, 48000); // more is wanted of the file
    rig.engine->stopPreview();
    std::promise<void> served;
    const auto answer = std::async(std::launch::async, [end = served.get_future()] {
        end.wait_for(kPatience);
        readsWait = false;
    });
    rig.engine.reset();
    runFor(milliseconds(400));
    EXPECT_TRUE(readsWait) << "the window was served before the disk answered";
    served.set_value();
}

TEST(LoopPreviewEngineTest, PreviewThatNobodyHearsEndsByItself) {
    PreviewRig rig;
    rig.preview(rig.loop("unheard", 0));
    runFor(milliseconds(3000));
    EXPECT_TRUE(rig.engine->isPlaying()) << "a sleeping speaker may take that long";
    EXPECT_TRUE(runUntil([&] { return rig.isIdle(); }, milliseconds(3000)));
}
