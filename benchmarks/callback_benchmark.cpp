// What one cycle of the audio callback costs, in thread CPU time, at 64 frames with
// metering, recording, monitoring and playing all on.

#include "Platform/Sound/AudioEngine.h"
#include "Platform/Sound/File/AudioFile.h"
#include "Platform/Sound/PlayerNode.h"
#include "support/OfflineDevice.h"

#include <algorithm>
#include <cstdio>
#include <ctime>
#include <filesystem>
#include <numeric>
#include <thread>

using namespace tessivo::sound;

namespace {

constexpr std::uint32_t kQuantum = 64;
constexpr double kRate = 48000.0;
constexpr int kCycles = 400'000;

std::int64_t threadNanoseconds() {
    timespec time{};
    clock_gettime(CLOCK_THREAD_CPUTIME_ID, &time);
    return time.tv_sec * 1'000'000'000LL + time.tv_nsec;
}

double percentile(const std::vector<std::int64_t>& sorted, double part) {
    const auto index = static_cast<std::size_t>(part * static_cast<double>(sorted.size() - 1));
    return static_cast<double>(sorted[index]) / 1000.0;
}

} // namespace

int main() {
    const auto folder = std::filesystem::temp_directory_path() / "tessivo-callback-benchmark";
    std::filesystem::create_directories(folder);
    {
        AudioPCMBuffer loop({kRate, 2}, 96'000);
        loop.setFrameLength(96'000);
        for (std::uint32_t c = 0; c < 2; ++c) {
            std::fill(loop.channel(c).begin(), loop.channel(c).end(), 0.25F);
        }
        AudioFileWriter(folder / "loop.wav", {kRate, 2}).write(loop);
    }

    auto owned = std::make_unique<OfflineDevice>(
        AudioDevice::Formats{AudioFormat(kRate, 2), AudioFormat(kRate, 2), kRate});
    auto* device = owned.get();
    AudioEngine engine(std::move(owned), [](const std::function<void()>&) {});
    auto monitor = std::make_shared<MixerNode>();
    auto player = std::make_shared<PlayerNode>();
    engine.attach(monitor);
    engine.attach(player);
    engine.connect(engine.inputNode(), *monitor);
    engine.connect(*monitor, *engine.mainMixerNode());
    engine.connect(*player, *engine.mainMixerNode());
    AudioFileWriter take(folder / "take.wav", {kRate, 2});
    float level = 0.0F;
    engine.inputNode().installTap(2048, AudioFormat(kRate, 2),
                                  [&](const AudioPCMBuffer& buffer, const AudioTime&) {
                                      take.write(buffer);
                                      const auto samples = buffer.channel(0);
                                      level = std::accumulate(samples.begin(), samples.end(), 0.0F);
                                  });
    engine.start();
    const auto file = std::make_shared<AudioFileReader>(folder / "loop.wav");
    player->scheduleFile(file, NoticeWhen::read, {}, 1'000'000);
    player->play();

    const OfflineDevice::Channels input(2, std::vector<float>(kQuantum, 0.5F));
    std::vector<std::int64_t> costs;
    costs.reserve(kCycles);
    std::int64_t overhead = 1'000'000;
    for (int i = 0; i < 1000; ++i) {
        const auto begin = threadNanoseconds();
        overhead = std::min(overhead, threadNanoseconds() - begin);
    }
    for (int i = 0; i < kCycles; ++i) {
        while (player->queuedFrames() < kQuantum) {
            std::this_thread::sleep_for(std::chrono::milliseconds(1));
        }
        const auto begin = threadNanoseconds();
        const auto output = device->turn(kQuantum, input);
        costs.push_back(std::max<std::int64_t>(0, threadNanoseconds() - begin - overhead));
        if (output[0][0] == 0.0F) {
            std::puts("The callback put out silence: the figures are worthless.");
            return 1;
        }
        if (i % 20'000 == 0) {
            std::this_thread::sleep_for(std::chrono::milliseconds(20));
        }
    }
    engine.inputNode().removeTap();
    std::sort(costs.begin(), costs.end());
    const double period = 1e6 * kQuantum / kRate;
    std::printf("audio callback, %d cycles of %u frames at %.0f Hz (period %.1f us)\n", kCycles,
                kQuantum, kRate, period);
    for (const double part : {0.5, 0.99, 0.999, 0.9999}) {
        const double cost = percentile(costs, part);
        std::printf("  p%-6g %7.2f us  %6.3f %% of the period\n", 100.0 * part, cost,
                    100.0 * cost / period);
    }
    std::printf("  (includes the offline device's own two allocations a cycle)\n");
    std::filesystem::remove_all(folder);
    return 0;
}
