#include "Audio/LoopPreviewEngine.h"
#include "Audio/SimpleAudioEngine.h"
#include "Audio/SimplePlayer.h"
#include "Models/LibraryRig.h"
#include "SystemDevices.h"
#include "support/GraphProbe.h"
#include "support/PrivatePipeWire.h"

using namespace tessivo;
using namespace tessivo::test;

TEST(LoopPreviewServerTest, SoundsBesideTheLooperWithoutAnInputAndOutlivesTheServer) {
    PrivatePipeWire server({"--quantum", "1024"});
    const auto becomesHeard = [&](float level) {
        const GraphProbe listener("listener", 0, 1);
        server.link("speaker:monitor_FL", "listener:in_0");
        float last = 0.0F;
        const bool isHeard = runUntil([&] {
            const auto heard = listener.recording(0);
            last = heard.empty() ? 0.0F : heard.back();
            return std::abs(last - level) < 1e-3F;
        });
        return (isHeard ? testing::AssertionSuccess() : testing::AssertionFailure())
               << last << '\n'
               << server.links();
    };
    const LibraryRig library;
    const SavedLoop loop = library.loop("loop", 0);
    const auto file = library.folder / loop.filename().toStdString();
    writeFile(file, 48000, {std::vector<float>(5 * 48000, 0.5F)});
    SimpleAudioEngine looper(makeLooperDevice());
    looper.start();
    looper.createPlayer().loadAudioFile(urlOf(file), sound::openForPlaying(file));
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
