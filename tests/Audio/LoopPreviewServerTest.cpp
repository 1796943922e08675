#include "Audio/LoopPreviewEngine.h"
#include "Audio/SimpleAudioEngine.h"
#include "Audio/SimplePlayer.h"
#include "Audio/SimpleRecorder.h"
#include "Models/LibraryRig.h"
#include "SystemDevices.h"
#include "support/GraphProbe.h"
#include "support/PrivatePipeWire.h"

#include <thread>

using namespace tessivo;
using namespace tessivo::test;

TEST(LoopPreviewServerTest, SoundsBesideTheLooperWithoutAnInputAndOutlivesTheServer) {
    PrivatePipeWire server({"--quantum", "1024"});
    const auto becomesHeard = [&](float level) {
        const GraphProbe listener("listener", 0, 1);
        server.link("speaker:monitor_FL", "listener:in_0");
        return runUntil([&] {
            const auto heard = listener.recording(0);
            return !heard.empty() && std::abs(heard.back() - level) < 1e-3F;
        });
    };
    const LibraryRig library;
    const SavedLoop loop = library.loop("loop", 0);
    const auto file = library.folder / loop.filename().toStdString();
    writeFile(file, 48000, {std::vector<float>(5 * 48000, 0.5F)});
    SimpleAudioEngine looper(makeLooperDevice());
    looper.start();
    looper.createPlayer().loadAudioFile(urlOf(file));
    looper.createPlayer().setVolume(0.25F);
    looper.createPlayer().startPlaying();
    LoopPreviewEngine preview(makePreviewDevice());
    preview.previewLoop(loop);
    EXPECT_TRUE(becomesHeard(0.5F * (0.25F + 0.7F)));
    EXPECT_NE(server.links().find("Tessivo Preview:output_FL"), std::string::npos);
    EXPECT_EQ(server.links().find("Tessivo Preview:input"), std::string::npos);

    server.kill();
    server.restart();
    EXPECT_TRUE(becomesHeard(0.5F * (0.25F + 0.7F))) << "it goes on where it was";
    EXPECT_TRUE(runUntil([&] { return !preview.isPlaying(); }));
    preview.previewLoop(loop);
    EXPECT_TRUE(becomesHeard(0.5F * (0.25F + 0.7F)));
}

// Nothing waits for a server that does not answer, and nothing is deaf when it does.
TEST(LoopPreviewServerTest, ALooperThatStartsBesideAFrozenServerRecordsWhenItIsBack) {
    PrivatePipeWire server({"--quantum", "1024"});
    const TemporaryHome home;
    for (const int frozen : {100, 1000, 2300}) {
        SCOPED_TRACE(frozen);
        server.freeze();
        const auto start = std::chrono::steady_clock::now();
        const auto elapsed = [start] {
            return std::chrono::steady_clock::now() - start;
        };
        std::thread thaws([&] {
            std::this_thread::sleep_for(std::chrono::milliseconds(frozen));
            server.thaw();
        });
        SimpleAudioEngine looper(makeLooperDevice());
        looper.enableLevelMonitoring();
        EXPECT_NO_THROW(looper.start());
        EXPECT_LT(elapsed(), std::chrono::milliseconds(600));
        int levels = 0;
        QObject::connect(&looper, &SimpleAudioEngine::inputLevelChanged, [&] { ++levels; });
        EXPECT_TRUE(runUntil([&] { return levels > 3; }));
        EXPECT_EQ(looper.inputNode().outputFormat().channelCount(), 2U);
        EXPECT_NO_THROW(looper.createRecorder().startRecording());
        looper.createRecorder().stopRecording();
        thaws.join();
    }
}
