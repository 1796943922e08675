#include "Platform/Midi/PipeWireMidi.h"
#include "Platform/Sound/Device/PipeWireDuplexDevice.h"
#include "Platform/Sound/PlayerNode.h"
#include "Platform/Sound/RealtimeGuard.h"
#include "support/MidiSender.h"
#include "support/OfflineRig.h"
#include "support/PrivatePipeWire.h"

#include <gtest/gtest.h>

#include <dlfcn.h>
#include <pipewire/filter.h>
#include <pipewire/pipewire.h>

#include <atomic>
#include <cstdlib>
#include <future>
#include <list>
#include <map>
#include <mutex>
#include <string_view>
#include <unistd.h>

using namespace tessivo::sound;
using namespace tessivo::test;

namespace {

// The calls of one process function, under the guard. Made while streams are opened, read when
// they are closed.
struct GuardedProcess {
    template <typename Process> void run(Process&& process) {
        ++calls;
        thread_local const bool watched = realtime::watchSystemCalls();
        realtime::begin();
        process();
        const realtime::Violations seen = realtime::end();
        violations += seen;
        violations.systemCalls += watched ? 0 : 1;
        mostWakeUps = std::max(mostWakeUps, seen.wakeUps);
    }

    std::string name;
    void* data = nullptr;
    pw_stream_events stream{};
    pw_filter_events filter{};
    std::atomic<int> calls{0};
    int mostWakeUps = 0; // in one call
    realtime::Violations violations{};
};

std::mutex guardedMutex;
std::list<GuardedProcess> guarded;

GuardedProcess& guard(const char* name, void* data) {
    const std::scoped_lock lock(guardedMutex);
    GuardedProcess& process = guarded.emplace_back();
    process.name = name;
    process.data = data;
    return process;
}

template <typename Function> Function* clientLibrary(Function* /*type*/, const char* name) {
    return reinterpret_cast<Function*>(dlsym(RTLD_NEXT, name));
}

} // namespace

// These stand between our streams and filters and the client library, and put the guard around
// the process functions: only our own code, and what it calls, is watched.
extern "C" void pw_stream_add_listener(pw_stream* stream, spa_hook* hook,
                                       const pw_stream_events* events, void* data) {
    static auto* const next = clientLibrary(&pw_stream_add_listener, "pw_stream_add_listener");
    if (events->process == nullptr) {
        next(stream, hook, events, data);
        return;
    }
    const pw_properties* properties = pw_stream_get_properties(stream);
    GuardedProcess& process = guard(pw_properties_get(properties, PW_KEY_MEDIA_CATEGORY), data);
    process.stream = *events;
    static pw_stream_events guardedEvents = *events;
    guardedEvents.process = [](void* self) {
        auto& us = *static_cast<GuardedProcess*>(self);
        us.run([&us] { us.stream.process(us.data); });
    };
    next(stream, hook, &guardedEvents, &process);
}

extern "C" void pw_filter_add_listener(pw_filter* filter, spa_hook* hook,
                                       const pw_filter_events* events, void* data) {
    static auto* const next = clientLibrary(&pw_filter_add_listener, "pw_filter_add_listener");
    if (pw_filter_get_name(filter) != std::string_view("Tessivo")) {
        next(filter, hook, events, data); // a controller of the test
        return;
    }
    GuardedProcess& process = guard("MIDI", data);
    process.filter = *events;
    static pw_filter_events guardedEvents = *events;
    guardedEvents.state_changed = [](void* self, pw_filter_state old, pw_filter_state state,
                                     const char* error) {
        auto& us = *static_cast<GuardedProcess*>(self);
        us.filter.state_changed(us.data, old, state, error);
    };
    guardedEvents.process = [](void* self, spa_io_position* position) {
        auto& us = *static_cast<GuardedProcess*>(self);
        us.run([&us, position] { us.filter.process(us.data, position); });
    };
    next(filter, hook, &guardedEvents, &process);
}

// Wakes the playback stream. At that opportunity the client library does on this thread what other
// threads have ordered meanwhile, as adding a stream, which is not ours to answer for.
extern "C" int pw_stream_trigger_process(pw_stream* stream) {
    static auto* const next =
        clientLibrary(&pw_stream_trigger_process, "pw_stream_trigger_process");
    realtime::Violations ours = realtime::end();
    ++ours.wakeUps;
    const int result = next(stream);
    realtime::begin(ours);
    return result;
}

TEST(RealtimeGuardTest, SeesAllocationsLocksAndSystemCalls) {
    realtime::Violations violations;
    bool installed = false;
    bool sameParent = false;
    std::thread([&] {
        installed = realtime::watchSystemCalls();
        std::mutex mutex;
        const pid_t parent = getppid();
        const std::uint64_t eight = 8;
        realtime::begin();
        void* volatile block = std::malloc(16);
        std::free(block);
        { const std::lock_guard lock(mutex); }
        sameParent = getppid() == parent;
        const bool failed = write(-1, &eight, sizeof(eight)) < 0;
        violations = realtime::end();
        sameParent = sameParent && failed;
    }).join();
    ASSERT_TRUE(installed) << "the kernel cannot report system calls";
    EXPECT_TRUE(sameParent) << "a call has another result than without the guard";
    EXPECT_EQ(violations.allocations, 2);
    EXPECT_EQ(violations.locks, 1);
    EXPECT_EQ(violations.systemCalls, 1);
    EXPECT_EQ(violations.wakeUps, 1);
}

// Everything at once that the main thread and the server can ask of the callbacks: metering,
// recording to a disk so slow that the queue grows, monitoring, playing at another rate, stops
// with their ramps, notes, and streams that come and go.
TEST(RealtimeTest, TheCallbacksAllocateNothingLockNothingAndMakeOneSystemCall) {
    PrivatePipeWire server({"--quantum", "256"});
    const TemporaryFolder folder;
    ManualExecutor main;
    AudioEngine engine(std::make_unique<PipeWireDuplexDevice>("Tessivo"), main.executor());
    auto monitor = std::make_shared<MixerNode>();
    auto player = std::make_shared<PlayerNode>();
    engine.attach(monitor);
    engine.attach(player);
    engine.connect(engine.inputNode(), *monitor);
    engine.connect(*monitor, *engine.mainMixerNode());
    engine.connect(*player, *engine.mainMixerNode());
    engine.start();

    MidiSender keys;
    tessivo::midi::PipeWireMidi midi("Tessivo");
    std::atomic<int> notes{0};
    std::promise<void> ready;
    midi.whenReady([&ready] { ready.set_value(); });
    ready.get_future().wait();
    auto input = midi.openInput("Tessivo", "TessivoInput", [&](tessivo::midi::PacketList packets) {
        notes += static_cast<int>(packets.size());
    });
    ASSERT_TRUE(eventually([&] { return !midi.sources().empty(); }));
    input->connect(midi.sources().front().reference, [](int error) { EXPECT_EQ(error, 0); });

    auto samples = noise(20'000, 1);
    samples[100] = 1e10F; // to be limited
    writeFile(folder / "loop.wav", 44100.0, {samples});
    const auto file = std::make_shared<AudioFileReader>(folder / "loop.wav");
    AudioFileWriter take(folder / "take.wav", {48000.0, 2});
    const auto limit = std::chrono::steady_clock::now() + std::chrono::seconds(4);
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
        keys.play(60);
        std::this_thread::sleep_for(std::chrono::milliseconds(30));
        player->setVolume(round % 2 == 0 ? 0.5F : 1.0F);
        std::this_thread::sleep_for(std::chrono::milliseconds(30));
        player->stop();
        engine.inputNode().removeTap();
        if (round == 30) {
            engine.stop();
            engine.start();
        }
    }
    engine.stop();
    input.reset();
    EXPECT_GT(take.framesWritten(), 10'000);
    EXPECT_GT(notes, 10);
    std::map<std::string, int> calls;
    for (const GuardedProcess& process : guarded) {
        SCOPED_TRACE(process.name);
        calls[process.name] += process.calls;
        EXPECT_EQ(process.violations.allocations, 0);
        EXPECT_EQ(process.violations.locks, 0);
        EXPECT_EQ(process.violations.systemCalls, 0)
            << "call number " << process.violations.lastSystemCall;
        // Taking and returning buffers and asking for the time make no system call; triggering
        // the playback stream makes one. The playback callback runs within that, or behind it.
        // The MIDI thread is woken by the notes, and by nothing else.
        EXPECT_LE(process.mostWakeUps, process.name == "Playback" ? 0 : 1);
        EXPECT_LE(process.name == "MIDI" ? process.violations.wakeUps : 0, notes);
    }
    for (const char* const name : {"Capture", "Playback", "MIDI"}) {
        EXPECT_GT(calls[name], 100) << name;
    }
}
