// Whether a loop repeats without a seam: what arrives at the speaker of a private sound server
// is compared, frame by frame, with the file that the real engine and player loop.
//
//   seam_benchmark [passes] [quantum] [free|blocked]
//
// Without a quantum both 256 and 1024 are tried, without the last word both a main thread that
// is free and one that is blocked for 400 ms at a time.

#include "Common.h"

#include "Audio/SimpleAudioEngine.h"
#include "Audio/SimplePlayer.h"
#include "Platform/Sound/AudioFile.h"
#include "Platform/Sound/PipeWireDevice.h"
#include "Platform/System/LogLine.h"
#include "support/GraphProbe.h"
#include "support/PrivatePipeWire.h"

#include <cstdio>
#include <string_view>
#include <thread>

using namespace tessivo;
using namespace std::chrono_literals;
using test::GraphProbe;
using test::Mark;
using test::PrivatePipeWire;

namespace {

constexpr std::int64_t kRate = 48000;
constexpr std::int64_t kLoopFrames = 12'345; // no multiple of anything

struct Case {
    int passes = 1000;
    int quantum = 256;
    bool isMainThreadBlocked = false;
};

std::filesystem::path writeLoop(const std::filesystem::path& folder) {
    const sound::AudioFormat format(static_cast<double>(kRate), 2);
    sound::AudioPCMBuffer loop(format, static_cast<std::uint32_t>(kLoopFrames));
    loop.setFrameLength(static_cast<std::uint32_t>(kLoopFrames));
    for (std::uint32_t channel = 0; channel < 2; ++channel) {
        for (std::int64_t frame = 0; frame < kLoopFrames; ++frame) {
            loop.channel(channel)[static_cast<std::size_t>(frame)] = Mark::sample(channel, frame);
        }
    }
    const auto path = folder / "loop.wav";
    sound::AudioFileWriter(path, format.settings()).write(loop);
    return path;
}

// Frames of the feeder's own signal that did not arrive in order: cycles in which the server or
// the listener was late, whatever the loop did.
std::int64_t framesLostByServer(const std::vector<float>& reference) {
    std::int64_t lost = 0;
    for (std::size_t i = 1; i < reference.size(); ++i) {
        if (reference[i - 1] != 0.0F) {
            const auto expected = (Mark::frame(reference[i - 1]) + 1) % Mark::kFrames;
            lost += reference[i] != Mark::sample(0, expected) ? 1 : 0;
        }
    }
    return lost;
}

int run(const Case& wanted) {
    const auto loopPath =
        writeLoop(std::filesystem::path(qEnvironmentVariable("HOME").toStdString()));
    PrivatePipeWire server({"--quantum", std::to_string(wanted.quantum)});
    const std::int64_t needed = kLoopFrames * (wanted.passes + 1);
    GraphProbe feeder("feeder", 1, 0);
    GraphProbe listener("listener", 0, 3, static_cast<std::size_t>(needed + 20 * kRate));
    server.link("speaker:monitor_FL", "listener:in_0");
    server.link("speaker:monitor_FR", "listener:in_1");
    server.link("feeder:out_0", "listener:in_2");

    SimpleAudioEngine engine(std::make_unique<sound::PipeWireDevice>("Tessivo"));
    engine.start();
    SimplePlayer& player = engine.createPlayer();
    player.loadAudioFile(QUrl::fromLocalFile(QString::fromStdString(loopPath.string())));
    benchmark::runEventsFor(1s); // for the session manager to link us
    player.startPlaying();
    const std::int64_t enough = listener.frames() + needed + kRate;
    while (listener.frames() < enough) {
        if (wanted.isMainThreadBlocked) {
            std::this_thread::sleep_for(400ms);
        }
        benchmark::runEventsFor(wanted.isMainThreadBlocked ? 1ms : 100ms);
    }
    const auto left = listener.recording(0);
    const auto right = listener.recording(1);
    const std::int64_t lost = framesLostByServer(listener.recording(2));
    engine.stop();

    const auto first = static_cast<std::size_t>(
        std::find_if(left.begin(), left.end(), [](float sample) { return sample != 0.0F; }) -
        left.begin());
    std::int64_t wrong = 0;
    int wholePasses = 0;
    for (int pass = 0; pass < wanted.passes; ++pass) {
        std::int64_t wrongHere = 0;
        for (std::int64_t frame = 0; frame < kLoopFrames; ++frame) {
            const auto i = first + static_cast<std::size_t>(pass * kLoopFrames + frame);
            const bool isRight = i < left.size() && left[i] == Mark::sample(0, frame) &&
                                 right[i] == Mark::sample(1, frame);
            wrongHere += isRight ? 0 : 1;
        }
        wrong += wrongHere;
        wholePasses += wrongHere == 0 ? 1 : 0;
    }
    std::printf("seam, quantum %d, main thread %s: %d of %d passes of %lld frames equal bit for "
                "bit at the period of the file, %lld wrong frames; %lld breaks in a signal that "
                "does not pass through us\n",
                wanted.quantum,
                wanted.isMainThreadBlocked ? "blocked for 400 ms at a time" : "free", wholePasses,
                wanted.passes, static_cast<long long>(kLoopFrames), static_cast<long long>(wrong),
                static_cast<long long>(lost));
    std::fflush(stdout);
    return wholePasses == wanted.passes ? 0 : 1;
}

} // namespace

int main(int argc, char** argv) {
    const benchmark::PrivateHome home;
    const QCoreApplication application(argc, argv);
    setLogSink([](std::string_view) {});
    const int passes = argc > 1 ? std::atoi(argv[1]) : 1000;
    const std::string_view thread = argc > 3 ? argv[3] : "";
    if (passes <= 0 || (!thread.empty() && thread != "free" && thread != "blocked")) {
        std::puts("usage: seam_benchmark [passes] [quantum] [free|blocked]");
        return 2;
    }
    int faults = 0;
    for (const int quantum : {256, 1024}) {
        if (argc > 2 && std::atoi(argv[2]) != quantum) {
            continue;
        }
        for (const bool isBlocked : {false, true}) {
            if (thread.empty() || isBlocked == (thread == "blocked")) {
                faults += run({passes, quantum, isBlocked});
            }
        }
    }
    return faults == 0 ? 0 : 1;
}
