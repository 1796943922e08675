#include "Platform/Midi/PipeWireMidi.h"
#include "support/MidiSender.h"
#include "support/PrivatePipeWire.h"

#include <gtest/gtest.h>

#include <cerrno>
#include <cstdlib>
#include <mutex>
#include <string>
#include <vector>

// The real server, with controllers that are plugged in and out.
namespace tessivo::test {

namespace {

using namespace std::chrono_literals;
using midi::EndpointRef;
using midi::PipeWireMidi;
using midi::SetupChange;
using Bytes = std::vector<std::uint8_t>;

const std::vector<std::string> kCalm{"--quantum", "1024"};

std::vector<std::string> names(PipeWireMidi& system) {
    std::vector<std::string> all;
    for (std::size_t i = 0; i < system.sourceCount(); ++i) {
        all.push_back(system.displayName(system.source(i)).value_or("(none)"));
    }
    return all;
}

bool lists(PipeWireMidi& system, const std::vector<std::string>& expected,
           std::chrono::milliseconds limit = 3s) {
    const bool does = eventually([&] { return names(system) == expected; }, limit);
    EXPECT_EQ(names(system), expected);
    return does;
}

// A client with a port that keeps what it is told.
class Listening {
public:
    Listening() {
        EXPECT_EQ(system.createClient(
                      "Tessivo",
                      [this](SetupChange change) {
                          const std::scoped_lock lock(mutex_);
                          notices_.push_back(change);
                      },
                      client),
                  0);
        EXPECT_EQ(system.createInputPort(
                      client, "TessivoInput",
                      [this](midi::PacketList packets) {
                          const std::scoped_lock lock(mutex_);
                          for (const midi::Packet& packet : packets) {
                              packets_.emplace_back(packet.bytes.begin(), packet.bytes.end());
                              times_.push_back(packet.time);
                          }
                      },
                      port),
                  0);
    }
    ~Listening() { system.disposeClient(client); }
    Listening(const Listening&) = delete;
    Listening& operator=(const Listening&) = delete;

    std::vector<SetupChange> notices() {
        const std::scoped_lock lock(mutex_);
        return notices_;
    }
    std::vector<Bytes> packets() {
        const std::scoped_lock lock(mutex_);
        return packets_;
    }
    // Plays it again as long as it is not heard: the first cycles after a link was made are lost.
    bool hears(MidiSender& sender, std::uint8_t note) {
        const auto heard = [&] {
            return !packets().empty() && packets().back() == Bytes{0x90, note, 100};
        };
        return eventually(
            [&] {
                sender.play(note);
                return eventually(heard, 500ms);
            },
            4s);
    }
    std::vector<std::uint64_t> times() {
        const std::scoped_lock lock(mutex_);
        return times_;
    }

private:
    std::mutex mutex_;
    std::vector<SetupChange> notices_;
    std::vector<Bytes> packets_;
    std::vector<std::uint64_t> times_;

public:
    PipeWireMidi system{"Tessivo"};
    midi::ClientRef client = 0;
    midi::PortRef port = 0;
};

TEST(PipeWireMidiTest, ControllersAreListedAsTheirUserKnowsThem) {
    PrivatePipeWire server(kCalm);
    const auto bridge = [](const std::string& node, const std::string& alias,
                           const std::string& path) {
        return MidiSender::Identity{
            node,
            {{"media.class", "Midi/Bridge"}},
            {{"port.alias", alias}, {"object.path", path}, {"port.name", alias + " (capture)"}}};
    };
    Listening us;
    MidiSender through(bridge("bridge-a", "Midi Through:Midi Through Port-0", "alsa:14:capture_0"));
    MidiSender pads(bridge("bridge-b", "Pads Mk2:Pads Mk2 MIDI 1", "alsa:20:capture_0"));
    ASSERT_TRUE(lists(us.system, {"Pads Mk2"}));
    MidiSender keys({"keys", {{"node.description", "Stage Keys"}}, {}});
    ASSERT_TRUE(lists(us.system, {"Pads Mk2", "Stage Keys"}));
    MidiSender twin({"keys-2", {{"node.description", "Stage Keys"}}, {}});
    ASSERT_TRUE(lists(us.system, {"Pads Mk2", "Stage Keys", "Stage Keys"}));
    MidiSender nameless({"", {{"node.description", ""}, {"node.nick", ""}, {"node.name", ""}}, {}});
    ASSERT_TRUE(lists(us.system, {"Pads Mk2", "Stage Keys", "Stage Keys", "(none)"}));
    EXPECT_NE(us.system.source(1), us.system.source(2));
    EXPECT_EQ(us.system.source(4), 0U);
    EXPECT_FALSE(us.system.displayName(12345));
}

TEST(PipeWireMidiTest, PacketsArriveAsTheyWereSent) {
    PrivatePipeWire server(kCalm);
    Listening us;
    MidiSender keys("keys");
    ASSERT_TRUE(lists(us.system, {"keys"}));
    MidiSender other("other");
    ASSERT_TRUE(lists(us.system, {"keys", "other"}));
    EXPECT_EQ(us.system.connectSource(us.port, 999), -ENOENT);
    EXPECT_EQ(us.system.connectSource(us.port + 1, us.system.source(0)), -EINVAL);
    ASSERT_EQ(us.system.connectSource(us.port, us.system.source(0)), 0);

    Bytes longest(2000, 0x11);
    longest.front() = 0xF0;
    longest.back() = 0xF7;
    const std::vector<Bytes> sent{
        {0x90, 1, 2}, {0x3C}, {0xC0, 5}, longest, {0x80, 1, 2, 0x90, 3, 4}};
    ASSERT_TRUE(us.hears(keys, 6));
    std::vector<Bytes> expected = us.packets();
    expected.insert(expected.end(), sent.begin(), sent.end());
    const auto before = std::chrono::steady_clock::now();
    keys.send(sent);
    EXPECT_TRUE(eventually([&] { return us.packets() == expected; })) << us.packets().size();
    const std::chrono::nanoseconds time(us.times().back());
    EXPECT_GT(time, before.time_since_epoch() - 1s);
    EXPECT_LT(time, std::chrono::steady_clock::now().time_since_epoch() + 1s);

    // Only one at a time, and nothing once it is disconnected.
    ASSERT_EQ(us.system.connectSource(us.port, us.system.source(1)), 0);
    ASSERT_TRUE(us.hears(other, 7));
    const std::size_t heard = us.packets().size();
    keys.play(8);
    ASSERT_TRUE(us.hears(other, 9));
    EXPECT_EQ(us.packets().size(), heard + 1);
    ASSERT_EQ(us.system.disconnectSource(us.port, us.system.source(1)), 0);
    EXPECT_EQ(us.system.disconnectSource(us.port, us.system.source(1)), -EINVAL);
    EXPECT_TRUE(eventually([&] {
        return server.links().find("TessivoInput") == std::string::npos ||
               server.links().find("|") == std::string::npos;
    }));
}

TEST(PipeWireMidiTest, PluggingInAndOutIsTold) {
    PrivatePipeWire server(kCalm);
    Listening us;
    EXPECT_EQ(us.system.sourceCount(), 0U);
    std::optional<MidiSender> keys(std::in_place, "keys");
    ASSERT_TRUE(lists(us.system, {"keys"}));
    EXPECT_TRUE(eventually([&] { return us.notices() == std::vector{SetupChange::objectAdded}; }));
    const EndpointRef source = us.system.source(0);
    ASSERT_EQ(us.system.connectSource(us.port, source), 0);
    ASSERT_TRUE(us.hears(*keys, 1));
    keys.reset();
    EXPECT_TRUE(eventually([&] { return us.notices().size() == 2; }));
    EXPECT_EQ(us.notices().back(), SetupChange::objectRemoved);
    keys.emplace("keys");
    ASSERT_TRUE(lists(us.system, {"keys"}));
    EXPECT_EQ(us.system.source(0), source) << "nobody has disconnected it";
    EXPECT_TRUE(us.hears(*keys, 2));
    // Somebody takes the link away, with a patchbay or by accident.
    runProgram({"pw-link", "-d", "keys:out_0", "Tessivo:TessivoInput"});
    EXPECT_TRUE(us.hears(*keys, 3)) << "linked again";
    keys.reset();
    EXPECT_TRUE(eventually([&] { return us.notices().size() == 4; }));
    EXPECT_EQ(us.system.disconnectSource(us.port, source), 0);
    EXPECT_EQ(us.system.connectSource(us.port, source), -ENOENT) << "it has just vanished";
}

TEST(PipeWireMidiTest, OutageOfTheServerIsNoNews) {
    PrivatePipeWire server(kCalm);
    Listening us;
    std::optional<MidiSender> pads(std::in_place, "pads");
    ASSERT_TRUE(lists(us.system, {"pads"}));
    std::optional<MidiSender> keys(std::in_place, "keys");
    ASSERT_TRUE(lists(us.system, {"pads", "keys"}));
    ASSERT_TRUE(eventually([&] { return us.notices().size() == 2; }));
    const EndpointRef source = us.system.source(1);
    ASSERT_EQ(us.system.connectSource(us.port, source), 0);
    ASSERT_TRUE(us.hears(*keys, 1));

    server.kill();
    EXPECT_TRUE(lists(us.system, {"keys"})) << "only the connected one is awaited";
    EXPECT_LT(us.system.connectSource(us.port, source), 0) << "there is nothing to connect to";
    pads.reset();
    keys.reset();
    server.restart();
    pads.emplace("pads");
    ASSERT_TRUE(lists(us.system, {"pads", "keys"}));
    std::this_thread::sleep_for(300ms);
    EXPECT_EQ(us.notices().size(), 2U) << "the connected one is awaited";
    keys.emplace("keys");
    ASSERT_TRUE(lists(us.system, {"pads", "keys"}));
    EXPECT_EQ(us.system.source(1), source);
    EXPECT_TRUE(us.hears(*keys, 2));
    EXPECT_TRUE(eventually([&] { return us.notices().size() == 4; }));
    EXPECT_EQ(us.notices(), std::vector(4, SetupChange::objectAdded));

    // One that does not return is gone, five seconds later.
    server.kill();
    keys.reset();
    pads.reset();
    server.restart();
    EXPECT_TRUE(eventually([&] { return us.notices().size() == 6; }, 8s));
    EXPECT_EQ(us.notices().back(), SetupChange::objectRemoved);
    EXPECT_EQ(us.system.disconnectSource(us.port, source), 0);
}

TEST(PipeWireMidiTest, WithoutAServerThereIsNoClientAndNoSource) {
    setenv("PIPEWIRE_REMOTE", "nowhere", 1);
    {
        PipeWireMidi system("Tessivo");
        midi::ClientRef client = 7;
        EXPECT_LT(system.createClient(
                      "Tessivo", [](SetupChange) {}, client),
                  0);
        EXPECT_EQ(client, 0U);
        EXPECT_EQ(system.sourceCount(), 0U);
        EXPECT_EQ(system.source(0), 0U);
        EXPECT_EQ(system.connectSource(1, 1), -EINVAL);
    }
    unsetenv("PIPEWIRE_REMOTE");

    // One that does not answer costs half a second, not the window.
    PrivatePipeWire server(kCalm);
    server.freeze();
    PipeWireMidi system("Tessivo");
    const auto started = std::chrono::steady_clock::now();
    EXPECT_EQ(system.sourceCount(), 0U);
    EXPECT_LT(std::chrono::steady_clock::now() - started, 1500ms);
    server.thaw();
    EXPECT_EQ(system.sourceCount(), 0U);
    midi::ClientRef client = 0;
    EXPECT_EQ(system.createClient(
                  "Tessivo", [](SetupChange) {}, client),
              0);
}

} // namespace

} // namespace tessivo::test
