#include "Audio/LoopPreviewEngine.h"

#include "Models/LibraryRig.h"
#include "Platform/Sound/AudioError.h"

#include <QCoreApplication>
#include <QPointer>

#include <gtest/gtest.h>

#include <limits>
#include <thread>

using namespace tessivo;
using namespace tessivo::test;
using std::chrono::milliseconds;

namespace {

const std::string kTag = "🎵 [PREVIEW] ";
const std::string kStarted = kTag + "Preview engine started";
const std::string kStopped = kTag + "Stopped preview";
const std::string kCompleted = kTag + "Preview completed";
const std::string kCleanedUp = kTag + "Preview engine cleaned up";
std::string previewing(const char* name) {
    return kTag + "Started previewing: " + name;
}

struct PreviewRig : LibraryRig {
    PreviewRig() {
        auto owned = std::make_unique<sound::OfflineDevice>(formats(2));
        device = owned.get();
        engine = std::make_unique<LoopPreviewEngine>(std::move(owned));
    }

    SavedLoop save(const QString& name, const std::vector<float>& samples) const {
        SavedLoop record = loop(name, 0);
        writeFile(folder / record.filename().toStdString(), 48000, {samples});
        return record;
    }
    std::vector<float> hear(std::size_t frames) const { return test::hear(*device, frames)[0]; }
    std::vector<float> hearStart(std::size_t frames) const {
        return test::hearStart(*device, frames)[0];
    }
    bool isIdle() const { return !engine->isPlaying() && !engine->currentPreviewLoop(); }

    sound::OfflineDevice* device = nullptr;
    std::unique_ptr<LoopPreviewEngine> engine;
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
    const auto pass = noise(4800, 1);
    const SavedLoop first = rig.save("first", pass);
    const SavedLoop second = rig.save("second", std::vector<float>(48000, 0.5F));
    rig.engine->stopPreview();
    EXPECT_FALSE(rig.device->isStarted());
    EXPECT_EQ(rig.lines.take(), Lines());

    rig.device->setOutputLatency(0.3);
    rig.engine->previewLoop(first);
    EXPECT_FALSE(rig.device->capturing());
    auto once = pass;
    for (float& sample : once) {
        sample *= 0.7F;
    }
    once.resize(6000);
    EXPECT_EQ(firstDifference(rig.hearStart(6000), once), -1);
    EXPECT_TRUE(rig.engine->isPreviewingLoop(first)) << "its end is still on its way";
    EXPECT_TRUE(runUntil([&] { return rig.isIdle(); }));
    EXPECT_EQ(rig.lines.take(), (Lines{kStarted, previewing("first"), kCompleted}));
    EXPECT_EQ(rig.hear(9600), std::vector<float>(9600)) << "previews do not loop";

    rig.engine->previewLoop(second);
    rig.hearStart(4800);
    rig.engine->previewLoop(first);
    EXPECT_FALSE(rig.engine->isPreviewingLoop(second));
    EXPECT_TRUE(rig.engine->isPreviewingLoop(first));
    rig.engine->previewLoop(*rig.engine->currentPreviewLoop());
    EXPECT_EQ(rig.engine->currentPreviewLoop(), first);
    rig.engine->stopPreview();
    rig.engine->stopPreview();
    EXPECT_TRUE(rig.isIdle());
    EXPECT_FALSE(rig.engine->isPreviewingLoop(first));
    EXPECT_EQ(rig.lines.take(), (Lines{previewing("second"), kStopped, previewing("first"),
                                       kStopped, previewing("first"), kStopped}));
    rig.engine.reset();
    EXPECT_EQ(rig.lines.take(), Lines{kCleanedUp});
}

TEST(LoopPreviewEngineTest, NoticeThatComesTooLateEndsNothing) {
    PreviewRig rig;
    const SavedLoop loop = rig.save("short", noise(2400, 1));
    for (const bool again : {true, false}) {
        rig.engine->previewLoop(loop);
        rig.hearStart(960);
        // Now it ends, and says so, while the main thread is busy.
        for (int i = 0; i < 20; ++i) {
            rig.device->turn(480);
            std::this_thread::sleep_for(milliseconds(10));
        }
        again ? rig.engine->previewLoop(loop) : rig.engine->stopPreview();
        rig.lines.take();
        runFor(milliseconds(100));
        EXPECT_EQ(rig.engine->isPreviewingLoop(loop), again);
        EXPECT_EQ(rig.lines.take(), Lines());
    }
}

TEST(LoopPreviewEngineTest, VolumeIsBroughtIntoItsRangeAndRampsInTheSound) {
    PreviewRig rig;
    int changes = 0;
    QObject::connect(rig.engine.get(), &LoopPreviewEngine::previewVolumeChanged,
                     [&] { ++changes; });
    EXPECT_EQ(rig.engine->previewVolume(), 0.7F);
    rig.engine->setPreviewVolume(1.5F);
    EXPECT_EQ(rig.engine->previewVolume(), 1.0F);
    rig.engine->setPreviewVolume(std::numeric_limits<float>::quiet_NaN());
    EXPECT_EQ(rig.engine->previewVolume(), 1.0F);
    rig.engine->previewLoop(rig.save("loud", std::vector<float>(96000, 0.5F)));
    EXPECT_EQ(rig.hearStart(960).back(), 0.5F);
    rig.engine->setPreviewVolume(-0.2F);
    EXPECT_EQ(rig.engine->previewVolume(), 0.0F);
    expectFadeOut(rig.hear(960), 0.5F);
    EXPECT_EQ(changes, 2);
}

TEST(LoopPreviewEngineTest, WhatCannotBePlayedIsRefusedWithAReasonAndEndsTheOneBefore) {
    PreviewRig rig;
    const SavedLoop good = rig.save("good", noise(48000, 1));
    rig.device->failToStart("The sound server could not be reached.");
    EXPECT_THROW(rig.engine->previewLoop(good), sound::AudioError);
    EXPECT_TRUE(rig.isIdle());
    EXPECT_EQ(rig.lines.take(), Lines());
    rig.device->failToStart({});

    writeBytes(rig.folder / "text.wav", "no audio at all");
    sound::AudioFileWriter(rig.folder / "empty.wav", {48000.0, 1});
    std::filesystem::create_directory(rig.folder / "folder.wav");
    writeFile(TemporaryHome::path() / "outside.wav", 48000, {noise(480, 1)});
    std::filesystem::create_symlink(TemporaryHome::path() / "outside.wav", rig.folder / "link.wav");
    for (const char* name : {"missing.wav", "text.wav", "empty.wav", "folder.wav", "link.wav",
                             "../../outside.wav", "..", ""}) {
        rig.engine->previewLoop(good);
        rig.lines.take();
        try {
            rig.engine->previewLoop({"bad", name, SecondsSince2001(0), 1.0, 1});
            ADD_FAILURE() << name;
        } catch (const sound::AudioError& error) {
            EXPECT_NE(std::string(error.what()).find(name), std::string::npos) << error.what();
        }
        EXPECT_TRUE(rig.isIdle()) << name;
        EXPECT_EQ(rig.lines.take(), Lines{kStopped}) << name;
    }
}

TEST(LoopPreviewEngineTest, EngineThatGoesFadesOutAndIsGoneSoonAlsoWithoutCycles) {
    for (const bool turns : {true, false}) {
        PreviewRig rig;
        rig.engine->previewLoop(rig.save("long", std::vector<float>(96000, 0.5F)));
        rig.hearStart(960);
        rig.lines.take();
        rig.engine.reset();
        EXPECT_EQ(rig.lines.take(), (Lines{kStopped, kCleanedUp}));
        const QPointer fading = QCoreApplication::instance()->children().last();
        if (turns) {
            expectFadeOut(rig.device->turn(480)[0], 0.5F * 0.7F);
        }
        EXPECT_TRUE(runUntil(
            [&] {
                QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
                return fading.isNull();
            },
            milliseconds(500)));
    }
}

TEST(LoopPreviewEngineTest, PreviewThatNobodyHearsEndsByItself) {
    PreviewRig rig;
    rig.engine->previewLoop(rig.save("unheard", noise(48000, 1)));
    rig.lines.take();
    runFor(milliseconds(3000));
    EXPECT_TRUE(rig.engine->isPlaying()) << "a sleeping speaker may take that long";
    EXPECT_TRUE(runUntil([&] { return rig.isIdle(); }, milliseconds(3000)));
    EXPECT_EQ(rig.lines.take(), Lines{kStopped});
}
