#include "Platform/Sound/AudioError.h"
#include "Platform/Sound/Device/PipeWireDuplexDevice.h"
#include "Platform/Sound/Device/RecordingRenderer.h"
#include "support/PrivatePipeWire.h"

#include <gtest/gtest.h>

#include <dlfcn.h>
#include <pipewire/extensions/metadata.h>
#include <pipewire/pipewire.h>

#include <algorithm>
#include <atomic>
#include <cstdlib>
#include <list>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <utility>

namespace {

// How many lists of default devices are still to be told without the speaker's name.
std::atomic<int> forgetfulLists{0};
const pw_metadata_events* listEvents = nullptr;

} // namespace

// Stands between us and the client library: a session manager that starts may tell a client only
// one of the two names, and never the other.
extern "C" void pw_proxy_add_object_listener(pw_proxy* proxy, spa_hook* listener, const void* funcs,
                                             void* data) {
    static auto* const next = reinterpret_cast<decltype(&pw_proxy_add_object_listener)>(
        dlsym(RTLD_NEXT, "pw_proxy_add_object_listener"));
    static pw_metadata_events forgetful{};
    if (pw_proxy_get_type(proxy, nullptr) == std::string_view(PW_TYPE_INTERFACE_Metadata) &&
        forgetfulLists-- > 0) {
        listEvents = static_cast<const pw_metadata_events*>(funcs);
        forgetful = *listEvents;
        forgetful.property = [](void* self, std::uint32_t subject, const char* key,
                                const char* type, const char* value) {
            return key != nullptr && key == std::string_view("default.audio.sink")
                       ? 0
                       : listEvents->property(self, subject, key, type, value);
        };
        funcs = &forgetful;
    }
    next(proxy, listener, funcs, data);
}

// Devices and servers that come and go under a device that runs.
namespace tessivo::test {

namespace {

using namespace std::chrono_literals;
using sound::PipeWireDuplexDevice;
using Clock = std::chrono::steady_clock;

const std::vector<std::string> kCalm{"--quantum", "1024"};

bool advances(const RecordingRenderer& renderer) {
    const std::uint64_t before = renderer.cycles();
    return eventually([&] { return renderer.cycles() > before + 3; });
}

bool has(const PrivatePipeWire& server, const char* link) {
    return server.links().find(link) != std::string::npos;
}

// A device with a renderer and a count of its notices.
struct Running {
    explicit Running(sound::AudioDevice::Request request = {}) {
        device.setChangeHandler([this] { ++notices; });
        device.start(renderer, request);
    }
    ~Running() {
        device.setChangeHandler({});
        device.stop();
    }
    Running(const Running&) = delete;
    Running& operator=(const Running&) = delete;

    std::atomic<int> notices{0};
    RecordingRenderer renderer{RecordingRenderer::Output::marks};
    PipeWireDuplexDevice device{"Tessivo"};
};

// The session then makes the speaker the default microphone: its monitor must never be ours.
TEST(PipeWireChangeTest, LostMicrophoneLeavesPlaybackAndIsReplacedWhenOneAppears) {
    PrivatePipeWire server(kCalm);
    Running running;
    ASSERT_TRUE(advances(running.renderer));
    ASSERT_EQ(running.renderer.inputChannels(), 2U);

    server.destroyDevice("mic");
    ASSERT_TRUE(eventually([&] { return running.renderer.inputChannels() == 0; }));
    EXPECT_TRUE(advances(running.renderer));
    EXPECT_TRUE(eventually([&] { return running.notices == 1; }));
    EXPECT_EQ(running.device.formats().input.channelCount(), 0U);
    EXPECT_EQ(running.renderer.outputChannels(), 2U);
    std::this_thread::sleep_for(300ms); // for the session to do what it likes
    EXPECT_FALSE(has(server, "Tessivo:input"));

    server.createMicrophone("other", 44100, "MONO");
    ASSERT_TRUE(eventually([&] { return running.renderer.inputChannels() == 2; }));
    EXPECT_TRUE(advances(running.renderer));
    EXPECT_EQ(running.device.formats().input, sound::AudioFormat(44100, 1));
    EXPECT_EQ(running.device.formats().renderRate, 48000);
    EXPECT_TRUE(eventually([&] { return has(server, "other:capture_MONO"); }));
}

TEST(PipeWireChangeTest, LostSpeakerLeavesCaptureAndItsSuccessorIsPlayedOn) {
    PrivatePipeWire server(kCalm);
    Running running;
    ASSERT_TRUE(advances(running.renderer));
    server.destroyDevice("speaker");
    ASSERT_TRUE(eventually([&] { return running.renderer.outputChannels() == 0; }));
    EXPECT_TRUE(advances(running.renderer));
    server.createSpeaker("headphones", 48000, "FL,FR");
    ASSERT_TRUE(eventually([&] { return running.renderer.outputChannels() == 2; }));
    EXPECT_TRUE(advances(running.renderer));
}

// One notice each, none on the way from one device to the other, and hardly a pause.
TEST(PipeWireChangeTest, FollowsWhatTheUserChooses) {
    PrivatePipeWire server(kCalm);
    server.createMicrophone("other", 44100, "MONO");
    server.createSpeaker("surround", 48000, "FL,FR,RL,RR");
    server.chooseMicrophone("mic");
    server.chooseSpeaker("speaker");
    Running running;
    ASSERT_TRUE(advances(running.renderer));
    ASSERT_TRUE(eventually([&] { return running.device.formats().input.channelCount() == 2; }));
    running.notices = 0;
    const auto expectNotice = [&](int number, std::size_t inputs) {
        EXPECT_TRUE(eventually([&] { return running.notices == number; }));
        EXPECT_TRUE(advances(running.renderer));
        EXPECT_EQ(running.renderer.inputChannels(), inputs);
        EXPECT_EQ(running.renderer.outputChannels(), 2U);
    };

    server.chooseMicrophone("other");
    expectNotice(1, 2);
    EXPECT_EQ(running.device.formats().input, sound::AudioFormat(44100, 1));
    EXPECT_TRUE(eventually([&] { return has(server, "|<- other:capture_MONO"); }));

    server.chooseSpeaker("surround");
    expectNotice(2, 2);
    EXPECT_EQ(running.device.formats().output, sound::AudioFormat(48000, 4));
    EXPECT_TRUE(eventually([&] { return has(server, "|-> surround:playback_FL"); }));
    EXPECT_EQ(running.notices, 2);

    // Another device of the same format is another device.
    server.createMicrophone("twin", 44100, "MONO");
    server.chooseMicrophone("twin");
    expectNotice(3, 2);

    // Who links is the session manager, which a busy machine may hold up, but not each time.
    int notices = 3;
    std::chrono::nanoseconds shortest = 1h;
    for (; notices < 13 && shortest >= 300ms; ++notices) {
        running.renderer.forgetPauses();
        server.chooseMicrophone(notices % 2 == 0 ? "twin" : "other");
        expectNotice(notices + 1, 2);
        shortest = std::min(shortest, running.renderer.longestPause());
    }
    EXPECT_LT(shortest, 300ms);

    // The user may choose the monitor; it is still no microphone.
    server.chooseMicrophone("surround");
    expectNotice(notices + 1, 0);
    EXPECT_EQ(running.device.formats().input.channelCount(), 0U);
    EXPECT_FALSE(has(server, "Tessivo:input"));
}

// In a mixer, for each stream: that holds for a program that is started again too, and a monitor is
// no microphone however it is chosen.
TEST(PipeWireChangeTest, FollowsWhatTheUserChoosesForOurStreamsAlone) {
    const char* const input = "Stream/Input/Audio";
    const char* const output = "Stream/Output/Audio";
    PrivatePipeWire server(kCalm);
    server.createMicrophone("other", 44100, "MONO");
    server.createSpeaker("headphones", 48000, "FL,FR");
    server.chooseMicrophone("mic");
    server.chooseSpeaker("speaker");
    std::optional<Running> running(std::in_place);
    ASSERT_TRUE(advances(running->renderer));
    const auto uses = [&](const std::string& microphone, const std::string& speaker) {
        const auto isUsed = [&] {
            const auto formats = running->device.formats();
            const std::string links = server.links();
            return formats.inputName == "Virtual " + microphone &&
                   formats.outputName == "Virtual " + speaker &&
                   links.find("|<- " + microphone + ":capture_") != links.npos &&
                   links.find("|-> " + speaker + ":playback_FL") != links.npos &&
                   running->renderer.inputChannels() == 2;
        };
        return eventually(isUsed) && advances(running->renderer)
                   ? ""
                   : running->device.formats().inputName + ", " +
                         running->device.formats().outputName + "\n" + server.links();
    };
    EXPECT_EQ(uses("mic", "speaker"), "");
    server.chooseTarget(input, "other");
    EXPECT_EQ(uses("other", "speaker"), "");
    EXPECT_EQ(running->device.formats().input, sound::AudioFormat(44100, 1));
    server.chooseTarget(output, "headphones");
    EXPECT_EQ(uses("other", "headphones"), "");
    running.emplace();
    EXPECT_EQ(uses("other", "headphones"), "") << "a new start";

    server.destroyDevice("other");
    EXPECT_EQ(uses("mic", "headphones"), "");
    server.createMicrophone("other", 44100, "MONO");
    EXPECT_EQ(uses("other", "headphones"), "") << "it is back";

    server.chooseTarget(input, "speaker");
    std::this_thread::sleep_for(300ms);
    EXPECT_EQ(uses("other", "headphones"), "");
    EXPECT_FALSE(has(server, "|<- speaker:monitor"));
    running.emplace();
    EXPECT_EQ(uses("mic", "headphones"), "") << "the session manager remembers the monitor";
    EXPECT_FALSE(has(server, "|<- speaker:monitor"));

    server.chooseTarget(output, "speaker");
    EXPECT_EQ(uses("mic", "speaker"), "");
    for (const auto& [stream, name] : {std::pair(input, "Input"), {output, "Loop"}}) {
        const std::string properties = server.properties(stream);
        for (const std::string& property :
             {std::string("application.id = \"org.tessivo.Tessivo\""),
              std::string("application.icon-name = \"org.tessivo.Tessivo\""),
              std::string("application.name = \"Tessivo\""),
              std::string("media.name = \"") + name + '"',
              std::string("node.description = \"Tessivo ") + name + '"'}) {
            EXPECT_NE(properties.find(property), properties.npos) << property << properties;
        }
        EXPECT_EQ(properties.find("media.role"), properties.npos);
    }
}

TEST(PipeWireServerTest, WithoutOneStartFailsAndSaysWhy) {
    {
        const PrivatePipeWire gone; // leaves an environment that leads nowhere
    }
    RecordingRenderer renderer;
    PipeWireDuplexDevice device("Tessivo");
    EXPECT_EQ(device.formats().input.channelCount(), 0U);
    EXPECT_EQ(device.formats().output.channelCount(), 0U);
    EXPECT_EQ(device.formats().renderRate, 48000);
    try {
        device.start(renderer, {});
        FAIL() << "started without a server";
    } catch (const sound::AudioError& error) {
        EXPECT_NE(std::string(error.what()).find("Host is down"), std::string::npos)
            << error.what();
    }

    // The failed start left nothing behind that a later one would stumble over.
    const PrivatePipeWire server(kCalm);
    device.start(renderer, {});
    EXPECT_TRUE(advances(renderer));
    EXPECT_EQ(device.formats().input.channelCount(), 2U);
}

TEST(PipeWireServerTest, SpeakerThatTheSessionManagerDidNotNameIsAskedFor) {
    PrivatePipeWire server(kCalm);
    forgetfulLists = 2; // one with the settings, one with the devices
    Running running;
    EXPECT_TRUE(eventually([&] { return running.renderer.outputChannels() == 2; }));
    EXPECT_EQ(running.renderer.inputChannels(), 2U);
}

TEST(PipeWireServerTest, OutageIsNoChangeOfFormatsAndHoldsUpNoStop) {
    PrivatePipeWire server(kCalm);
    auto running = std::make_unique<Running>();
    ASSERT_TRUE(advances(running->renderer));
    const auto formats = running->device.formats();
    const auto killed = Clock::now();
    server.kill();
    std::this_thread::sleep_for(300ms);
    EXPECT_EQ(running->device.formats(), formats);
    server.restart();
    ASSERT_TRUE(advances(running->renderer));
    EXPECT_EQ(running->device.formats(), formats);
    // Devices that stay away for five seconds are gone, as when a busy machine is slow to start
    // them.
    EXPECT_TRUE(running->notices == 0 || Clock::now() - killed > 5s);
    server.kill();
    const auto before = Clock::now();
    running.reset();
    EXPECT_LT(Clock::now() - before, 2s);
}

// Whose devices are its own, so that they go with it.
TEST(PipeWireServerTest, SessionManagerThatDiesTakesTheDevicesAndItsSuccessorBringsThemBack) {
    PrivatePipeWire server(kCalm);
    Running running;
    ASSERT_TRUE(advances(running.renderer));
    server.restartSession();
    server.createSpeaker("headphones", 48000, "FL,FR");
    server.createMicrophone("other", 48000, "FL,FR");
    EXPECT_TRUE(eventually([&] { return has(server, "|-> headphones:playback_FR"); }));
    EXPECT_TRUE(eventually([&] { return has(server, "|<- other:capture_FR"); }));
    EXPECT_TRUE(advances(running.renderer));
    EXPECT_EQ(running.renderer.inputChannels(), 2U);
    EXPECT_EQ(running.renderer.outputChannels(), 2U);
}

TEST(PipeWireServerTest, FrozenServerHangsNothingAndGoesOnWhereItWas) {
    PrivatePipeWire server(kCalm);
    Running running;
    ASSERT_TRUE(advances(running.renderer));
    server.freeze();
    const auto frozen = Clock::now();
    std::list<Running> late;
    for (const auto start : {0ms, 2300ms, 3200ms, 4500ms}) {
        std::this_thread::sleep_until(frozen + start);
        const auto before = Clock::now();
        late.emplace_back();
        EXPECT_LT(Clock::now() - before, 1500ms); // who waited would wait for the thaw
        EXPECT_EQ(late.back().device.formats().output.channelCount(), 0U);
    }
    std::this_thread::sleep_until(frozen + 6500ms);
    server.thaw();
    EXPECT_TRUE(advances(running.renderer));
    for (Running& other : late) {
        EXPECT_TRUE(advances(other.renderer));
        EXPECT_EQ(other.renderer.inputChannels(), 2U);
        EXPECT_EQ(other.device.formats().input.channelCount(), 2U);
        EXPECT_GE(other.notices, 1);
    }
    EXPECT_EQ(running.renderer.inputChannels(), 2U);

    server.freeze();
    const auto again = Clock::now();
    running.device.stop();
    EXPECT_LT(Clock::now() - again, 2s);
    server.thaw();
}

} // namespace

} // namespace tessivo::test
