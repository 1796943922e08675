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
#include "Platform/Sound/Device/PipeWireDuplexDevice.h"
#include "Platform/Sound/File/AudioFile.h"
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

struct Seams {
    int wholePasses = 0;     // equal bit for bit, each right after what came before it
    std::int64_t lost = 0;   // places where whole cycles are missing: a machine that was late
    std::int64_t faults = 0; // places where anything else is wrong
    std::int64_t wrong = 0;  // frames that are no frame of the loop
};

// Follows the loop from its first frame to the end. Where a frame is not the next one, the loop
// is found again at the next frame that is one of its own. A late cycle of ours is silence of
// whole cycles after which the loop goes on where it was; a late cycle of the listener or the
// server takes whole cycles away, or is heard twice.
Seams examine(const std::vector<float>& left, const std::vector<float>& right, const Case& wanted) {
    const auto isLoop = [&](std::size_t i) {
        return Mark::isExact(left[i]) && Mark::channel(left[i]) == 0 &&
               Mark::frame(left[i]) < kLoopFrames &&
               right[i] == Mark::sample(1, Mark::frame(left[i]));
    };
    Seams seams;
    std::size_t i = 0;
    while (i < left.size() && left[i] == 0.0F) {
        ++i;
    }
    std::int64_t next = 0;
    std::int64_t inOrder = 0;
    while (i < left.size() && seams.wholePasses < wanted.passes) {
        if (isLoop(i) && Mark::frame(left[i]) == next) {
            next = (next + 1) % kLoopFrames;
            ++inOrder;
            ++i;
            if (next == 0) {
                seams.wholePasses += inOrder >= kLoopFrames ? 1 : 0;
            }
            continue;
        }
        const std::size_t begin = i;
        while (i < left.size() && !isLoop(i)) {
            ++i;
            ++seams.wrong;
        }
        if (i == left.size()) {
            break;
        }
        const auto silent = static_cast<std::int64_t>(i - begin);
        const std::int64_t skipped = (Mark::frame(left[i]) - next + kLoopFrames) % kLoopFrames;
        const bool isWholeCycles =
            silent % wanted.quantum == 0 &&
            (skipped % wanted.quantum == 0 || (kLoopFrames - skipped) % wanted.quantum == 0);
        ++(isWholeCycles ? seams.lost : seams.faults);
        next = Mark::frame(left[i]);
        inOrder = 0;
    }
    return seams;
}

int run(const Case& wanted) {
    const auto loopPath =
        writeLoop(std::filesystem::path(qEnvironmentVariable("HOME").toStdString()));
    PrivatePipeWire server({"--quantum", std::to_string(wanted.quantum)});
    const std::int64_t needed = kLoopFrames * (wanted.passes + 1);
    const GraphProbe listener("listener", 0, 2, static_cast<std::size_t>(needed + 20 * kRate));
    server.link("speaker:monitor_FL", "listener:in_0");
    server.link("speaker:monitor_FR", "listener:in_1");

    SimpleAudioEngine engine(std::make_unique<sound::PipeWireDuplexDevice>("Tessivo"));
    engine.start();
    SimplePlayer& player = engine.createPlayer();
    player.loadAudioFile(QUrl::fromLocalFile(QString::fromStdString(loopPath.string())),
                         sound::openForPlaying(loopPath));
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
    engine.stop();

    const Seams seams = examine(left, right, wanted);
    std::printf("seam, quantum %d, main thread %s: %d of %d passes of %lld frames equal bit for "
                "bit at the period of the file; wrong %lld times; whole cycles lost %lld times "
                "(%lld frames that are not the loop's)\n",
                wanted.quantum,
                wanted.isMainThreadBlocked ? "blocked for 400 ms at a time" : "free",
                seams.wholePasses, wanted.passes, static_cast<long long>(kLoopFrames),
                static_cast<long long>(seams.faults), static_cast<long long>(seams.lost),
                static_cast<long long>(seams.wrong));
    std::fflush(stdout);
    return seams.wholePasses == wanted.passes && seams.faults + seams.lost == 0 ? 0 : 1;
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
