// How soon a one-hour loop sounds after play, and what it costs in resident memory.

#include "RealTimeTurner.h"

#include "Platform/Sound/AudioEngine.h"
#include "Platform/Sound/File/AudioFile.h"
#include "Platform/Sound/PlayerNode.h"

#include <cstdio>
#include <filesystem>
#include <fstream>
#include <unistd.h>

using namespace tessivo::sound;
using tessivo::benchmark::RealTimeTurner;

namespace {

constexpr double kRate = 48000.0;

double residentMegabytes() {
    std::ifstream statm("/proc/self/statm");
    long total = 0;
    long resident = 0;
    statm >> total >> resident;
    return static_cast<double>(resident * sysconf(_SC_PAGESIZE)) / 1e6;
}

void writeHour(const std::filesystem::path& path) {
    AudioFileWriter writer(path, {kRate, 2});
    AudioPCMBuffer buffer({kRate, 2}, 48'000);
    buffer.setFrameLength(48'000);
    for (std::uint32_t c = 0; c < 2; ++c) {
        std::fill(buffer.channel(c).begin(), buffer.channel(c).end(), 0.25F);
    }
    for (int second = 0; second < 3600; ++second) {
        writer.write(buffer);
    }
}

} // namespace

int main(int argc, char** argv) {
    const std::filesystem::path folder =
        argc > 1 ? argv[1] : std::filesystem::temp_directory_path();
    const auto path = folder / "tessivo-one-hour.wav";
    writeHour(path);

    auto owned = std::make_unique<OfflineDevice>(
        AudioDevice::Formats{AudioFormat(kRate, 2), AudioFormat(kRate, 2), kRate});
    auto* device = owned.get();
    AudioEngine engine(std::move(owned), [](const std::function<void()>&) {});
    engine.start();
    RealTimeTurner turner(*device);
    std::this_thread::sleep_for(std::chrono::milliseconds(200));
    const double before = residentMegabytes();

    const auto pressed = std::chrono::steady_clock::now();
    auto player = std::make_shared<PlayerNode>();
    engine.attach(player);
    engine.connect(*player, *engine.mainMixerNode());
    const auto file = std::make_shared<AudioFileReader>(path);
    player->scheduleFile(file, NoticeWhen::read, {}, 2);
    player->play();
    std::this_thread::sleep_for(std::chrono::seconds(10));
    const double after = residentMegabytes();
    turner.stop();
    std::filesystem::remove(path);

    if (turner.firstSound() == std::chrono::steady_clock::time_point{}) {
        std::puts("The loop was never heard.");
        return 1;
    }
    const std::chrono::duration<double, std::milli> delay = turner.firstSound() - pressed;
    std::printf("one-hour loop: heard %.1f ms after play, resident memory %+.1f MB "
                "after 10 s of playing\n",
                delay.count(), after - before);
    return 0;
}
