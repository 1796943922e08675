#include "Platform/Sound/PlayerNode.h"
#include "Platform/Sound/RealtimeGuard.h"
#include "support/OfflineRig.h"

#include <gtest/gtest.h>

#include <array>
#include <atomic>
#include <cstdlib>
#include <mutex>
#include <unistd.h>

using namespace tessivo::sound;
using namespace tessivo::test;

namespace {

// Stands between the engine and the test: runs the callback on a thread of its own, under
// the guard.
class GuardedDevice final : public AudioDevice {
public:
    Formats formats() const override { return tessivo::test::formats(2); }
    void start(AudioRenderer& renderer, const Request&) override { renderer_ = &renderer; }
    void stop() override { renderer_ = nullptr; }
    double outputLatency() const override { return 0.0; }
    void setChangeHandler(std::function<void()>) override {}

    AudioRenderer* renderer_ = nullptr;
};

realtime::Violations sum(realtime::Violations total, const realtime::Violations& more) {
    total.allocations += more.allocations;
    total.locks += more.locks;
    total.systemCalls += more.systemCalls;
    total.lastSystemCall = std::max(total.lastSystemCall, more.lastSystemCall);
    return total;
}

} // namespace

TEST(RealtimeTest, GuardSeesAllocationsLocksAndSystemCalls) {
    realtime::Violations violations;
    bool installed = false;
    std::thread([&] {
        installed = realtime::watchSystemCalls();
        std::mutex mutex;
        realtime::begin();
        void* volatile block = std::malloc(16);
        std::free(block);
        { const std::lock_guard lock(mutex); }
        getppid();
        violations = realtime::end();
    }).join();
    ASSERT_TRUE(installed);
    EXPECT_EQ(violations.allocations, 2);
    EXPECT_EQ(violations.locks, 1);
    EXPECT_EQ(violations.systemCalls, 1);
}

TEST(RealtimeTest, CallbackAllocatesNothingLocksNothingAndCallsNoSystem) {
    const TemporaryFolder folder;
    ManualExecutor main;
    auto owned = std::make_unique<GuardedDevice>();
    auto* device = owned.get();
    AudioEngine engine(std::move(owned), main.executor());
    auto monitor = std::make_shared<MixerNode>();
    auto player = std::make_shared<PlayerNode>();
    engine.attach(monitor);
    engine.attach(player);
    engine.connect(engine.inputNode(), *monitor);
    engine.connect(*monitor, *engine.mainMixerNode());
    engine.connect(*player, *engine.mainMixerNode());
    engine.start();

    std::atomic<bool> quit = false;
    std::atomic<int> cycles = 0;
    bool installed = false;
    realtime::Violations violations;
    std::thread callback([&] {
        const std::vector<float> samples(64, 0.5F);
        std::array<std::vector<float>, 2> out{std::vector<float>(64), std::vector<float>(64)};
        const std::array<const float*, 2> input{samples.data(), samples.data()};
        const std::array<float*, 2> output{out[0].data(), out[1].data()};
        installed = realtime::watchSystemCalls();
        while (!quit && installed) {
            realtime::begin();
            device->renderer_->render({input, output, 64});
            violations = sum(violations, realtime::end());
            ++cycles;
            // A pause without a system call.
            for (int i = 0; i < 20'000; ++i) {
                std::atomic_signal_fence(std::memory_order_seq_cst);
            }
        }
    });

    // Everything that the main thread can do meanwhile, with everything on: metering,
    // recording to a disk, monitoring, playing at another rate, stops with their ramps, and
    // a block so slow that the queue grows.
    writeFile(folder / "loop.wav", 44100.0, {noise(20'000, 1)});
    const auto file = std::make_shared<AudioFileReader>(folder / "loop.wav");
    AudioFileWriter take(folder / "take.wav", {48000.0, 2});
    const auto limit = std::chrono::steady_clock::now() + std::chrono::seconds(3);
    for (int round = 0; std::chrono::steady_clock::now() < limit; ++round) {
        engine.inputNode().installTap(
            2048, AudioFormat(48000.0, 2), [&](const AudioPCMBuffer& buffer, const AudioTime&) {
                take.write(buffer);
                if (round % 3 == 0) {
                    std::this_thread::sleep_for(std::chrono::milliseconds(5));
                }
            });
        player->scheduleFile(file, NoticeWhen::read, {}, 5);
        player->play();
        monitor->setOutputVolume(round % 2 == 0 ? 1.0F : 0.0F);
        std::this_thread::sleep_for(std::chrono::milliseconds(30));
        player->setVolume(round % 2 == 0 ? 0.5F : 1.0F);
        std::this_thread::sleep_for(std::chrono::milliseconds(30));
        player->stop();
        engine.inputNode().removeTap();
    }
    quit = true;
    callback.join();
    ASSERT_TRUE(installed) << "the kernel refused the filter";
    EXPECT_GT(cycles, 1000);
    EXPECT_GT(take.framesWritten(), 1000);
    EXPECT_EQ(violations.allocations, 0);
    EXPECT_EQ(violations.locks, 0);
    EXPECT_EQ(violations.systemCalls, 0) << "call number " << violations.lastSystemCall;
}
