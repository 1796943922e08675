#include "Audio/LoopPreviewEngine.h"

#include "Models/LibraryRig.h"
#include "Platform/Sound/AudioError.h"

#include <QCoreApplication>
#include <QPointer>

#include <cmath>
#include <thread>

using namespace tessivo;
using namespace tessivo::test;
using std::chrono::milliseconds;

namespace {

struct PreviewRig : LibraryRig {
    SavedLoop save(const QString& name, const std::vector<float>& samples) const {
        SavedLoop record = loop(name, 0);
        writeFile(folder / record.filename().toStdString(), 48000, {samples});
        return record;
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
    rig.device->setLatencies(0.0, 0.3);
    rig.engine->previewLoop(first);
    EXPECT_FALSE(rig.device->capturing());
    once.resize(15000); // and then nothing
    EXPECT_EQ(firstDifference(hearStart(*rig.device, 15000)[0], once), -1);
    EXPECT_TRUE(rig.engine->isPreviewingLoop(first)) << "its end is still on its way";
    EXPECT_TRUE(runUntil([&] { return rig.isIdle(); }));
    EXPECT_EQ(rig.said(),
              (Lines{"Preview engine started", "Started previewing: first", "Preview completed"}));

    rig.engine->previewLoop(second);
    hearStart(*rig.device, 4800);
    rig.engine->previewLoop(first);
    EXPECT_TRUE(rig.engine->isPreviewingLoop(first));
    rig.engine->previewLoop(*rig.engine->currentPreviewLoop());
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
        rig.engine->previewLoop(loop);
        hearStart(*rig.device, 960);
        rig.device->turn(4800); // now it ends, and says so, while the main thread is busy
        std::this_thread::sleep_for(milliseconds(200));
        again ? rig.engine->previewLoop(loop) : rig.engine->stopPreview();
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
    rig.engine->previewLoop(rig.save("loud", std::vector<float>(96000, 0.5F)));
    EXPECT_EQ(hearStart(*rig.device, 960)[0].back(), 0.5F);
    rig.engine->setPreviewVolume(-0.2F);
    EXPECT_EQ(rig.engine->previewVolume(), 0.0F);
    expectFadeOut(rig.device->turn(960)[0], 0.5F);
}

TEST(LoopPreviewEngineTest, WhatCannotBePlayedIsRefusedWithAReasonAndEndsTheOneBefore) {
    PreviewRig rig;
    const SavedLoop good = rig.save("good", noise(48000, 1));
    rig.device->failToStart("The sound server could not be reached.");
    EXPECT_THROW(rig.engine->previewLoop(good), sound::AudioError);
    EXPECT_TRUE(rig.isIdle());
    EXPECT_EQ(rig.said(), Lines());
    rig.device->failToStart({});

    writeBytes(rig.folder / "text.wav", "no audio at all");
    sound::AudioFileWriter(rig.folder / "empty.wav", {48000.0, 1});
    const auto outside = TemporaryHome::path() / "outside.wav";
    writeFile(outside, 48000, {noise(480, 1)});
    writeFile(rig.folder / "slow.wav", 100, {noise(480, 1)});
    for (const char* name :
         {"missing.wav", "text.wav", "empty.wav", "slow.wav", "../../outside.wav", ""}) {
        rig.engine->previewLoop(good);
        rig.said();
        try {
            rig.engine->previewLoop({"bad", name, SecondsSince2001(0), 1.0, 1});
            ADD_FAILURE() << name;
        } catch (const sound::AudioError& error) {
            EXPECT_NE(std::string(error.what()).find(name), std::string::npos) << error.what();
        }
        EXPECT_TRUE(rig.isIdle()) << name;
        EXPECT_EQ(rig.said(), Lines{"Stopped preview"}) << name;
    }
}

TEST(LoopPreviewEngineTest, EngineThatGoesFadesOutAndIsGoneSoonAlsoWithoutCycles) {
    for (const bool turns : {true, false}) {
        PreviewRig rig;
        rig.engine->previewLoop(rig.save("long", std::vector<float>(96000, 0.5F)));
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

TEST(LoopPreviewEngineTest, PreviewThatNobodyHearsEndsByItself) {
    PreviewRig rig;
    rig.engine->previewLoop(rig.loop("unheard", 0));
    runFor(milliseconds(3000));
    EXPECT_TRUE(rig.engine->isPlaying()) << "a sleeping speaker may take that long";
    EXPECT_TRUE(runUntil([&] { return rig.isIdle(); }, milliseconds(3000)));
}
