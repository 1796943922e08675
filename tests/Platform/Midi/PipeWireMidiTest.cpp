#include "Platform/Midi/PipeWireMidi.h"
#include "support/MidiSender.h"
#include "support/PrivatePipeWire.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <cstdlib>
#include <future>
#include <mutex>
#include <string>
#include <system_error>
#include <vector>

// The real server, with controllers that are plugged in and out.
namespace tessivo::test {

namespace {

using namespace std::chrono_literals;
using midi::PipeWireMidi;
using midi::SetupChange;
using midi::SourceRef;
using Bytes = std::vector<std::uint8_t>;

const std::vector<std::string> kCalm{"--quantum", "1024"};

// The errno value with which an operation fails; 0 when it succeeds.
template <typename Operation> int errorOf(Operation&& operation) {
    try {
        operation();
    } catch (const std::system_error& error) {
        return error.code().value();
    }
    return 0;
}

bool awaitReady(PipeWireMidi& system) {
    std::promise<void> ready;
    system.whenReady([&ready] { ready.set_value(); });
    return ready.get_future().wait_for(kPatience) == std::future_status::ready;
}

// A system whose sources are observed and whose input is open, and what its handlers are told.
class Listening {
public:
    SourceRef source(std::size_t index) { return system.sources().at(index).reference; }
    int connect(SourceRef ref) {
        std::promise<int> outcome;
        const int error = errorOf(
            [&] { input->connect(ref, [&outcome](int told) { outcome.set_value(told); }); });
        return error != 0 ? error : outcome.get_future().get();
    }
    std::vector<SetupChange> notices() {
        const std::scoped_lock lock(mutex_);
        return notices_;
    }
    std::vector<Bytes> packets() {
        const std::scoped_lock lock(mutex_);
        return packets_;
    }
    std::chrono::nanoseconds lastTime() {
        const std::scoped_lock lock(mutex_);
        return lastTime_;
    }
    bool lists(const std::vector<std::string>& expected) {
        const auto names = [this] {
            std::vector<std::string> all;
            for (const midi::Source& source : system.sources()) {
                all.push_back(source.name.value_or("(none)"));
            }
            return all;
        };
        const bool does = eventually([&] { return names() == expected; });
        EXPECT_EQ(names(), expected);
        return does;
    }
    // Plays the note again until it is heard: the first cycles after a link is made are lost.
    bool hears(MidiSender& sender, std::uint8_t note) {
        const auto heard = [&] {
            return !packets().empty() && packets().back() == Bytes{0x90, note, 100};
        };
        return eventually([&] {
            sender.play(note);
            return eventually(heard, 500ms);
        });
    }

private:
    std::mutex mutex_;
    std::vector<SetupChange> notices_;
    std::vector<Bytes> packets_;
    std::chrono::nanoseconds lastTime_{0};

public:
    PipeWireMidi system{"Tessivo"};
    const bool isReady = awaitReady(system);
    std::unique_ptr<midi::SourceObserver> observer = system.observeSources([this](SetupChange c) {
        const std::scoped_lock lock(mutex_);
        notices_.push_back(c);
    });
    std::unique_ptr<midi::MidiInput> input =
        system.openInput("Tessivo", "TessivoInput", [this](midi::PacketList packets) {
            const std::scoped_lock lock(mutex_);
            for (const midi::Packet& packet : packets) {
                packets_.emplace_back(packet.bytes.begin(), packet.bytes.end());
                lastTime_ = std::chrono::nanoseconds(packet.time);
            }
        });
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
    ASSERT_TRUE(us.lists({"Pads Mk2"}));
    MidiSender keys({"keys", {{"node.description", "Stage Keys"}}, {}});
    ASSERT_TRUE(us.lists({"Pads Mk2", "Stage Keys"}));
    MidiSender twin({"keys-2", {{"node.description", "Stage Keys"}}, {}});
    ASSERT_TRUE(us.lists({"Pads Mk2", "Stage Keys", "Stage Keys"}));
    MidiSender nameless({"", {{"node.description", ""}, {"node.nick", ""}, {"node.name", ""}}, {}});
    ASSERT_TRUE(us.lists({"Pads Mk2", "Stage Keys", "Stage Keys", "(none)"}));
    EXPECT_NE(us.source(1), us.source(2));
}

TEST(PipeWireMidiTest, PacketsArriveAsTheyWereSent) {
    PrivatePipeWire server(kCalm);
    Listening us;
    MidiSender keys("keys");
    ASSERT_TRUE(us.lists({"keys"}));
    MidiSender other("other");
    ASSERT_TRUE(us.lists({"keys", "other"}));
    EXPECT_EQ(us.connect(999), ENOENT);
    EXPECT_EQ(errorOf([&] { us.system.openInput("", "", {}); }), EBUSY);
    EXPECT_EQ(errorOf([&] { us.system.observeSources({}); }), EBUSY);
    ASSERT_EQ(us.connect(us.source(0)), 0);

    Bytes longest(2000, 0x11);
    longest.front() = 0xF0;
    longest.back() = 0xF7;
    const std::vector<Bytes> sent{
        {0x90, 1, 2}, {0x3C}, {0xC0, 5}, longest, {0x80, 1, 2, 0x90, 3, 4}};
    ASSERT_TRUE(us.hears(keys, 6));
    std::vector<Bytes> expected = us.packets();
    expected.insert(expected.end(), sent.begin(), sent.end());
    std::size_t cycle = 0;
    EXPECT_TRUE(eventually([&] { // a cycle that the graph loses is lost as a whole
        cycle = keys.send(sent);
        return eventually([&] { return us.packets() == expected; }, 2s);
    })) << us.packets().size();
    EXPECT_EQ(us.lastTime(), keys.dueAt(cycle).time_since_epoch());

    // Only one at a time, and nothing once it is disconnected.
    ASSERT_EQ(us.connect(us.source(1)), 0);
    ASSERT_TRUE(us.hears(other, 7));
    const std::size_t heard = us.packets().size();
    keys.play(8);
    ASSERT_TRUE(us.hears(other, 9));
    EXPECT_EQ(us.packets().size(), heard + 1);
    us.input->disconnect();
    EXPECT_TRUE(eventually([&] {
        return server.links().find("TessivoInput") == std::string::npos ||
               server.links().find("|") == std::string::npos;
    }));
}

TEST(PipeWireMidiTest, PluggingInAndOutIsTold) {
    PrivatePipeWire server(kCalm);
    Listening us;
    EXPECT_TRUE(us.system.sources().empty());
    std::optional<MidiSender> keys(std::in_place, "keys");
    ASSERT_TRUE(us.lists({"keys"}));
    EXPECT_TRUE(eventually([&] { return us.notices() == std::vector{SetupChange::objectAdded}; }));
    const SourceRef source = us.source(0);
    ASSERT_EQ(us.connect(source), 0);
    ASSERT_TRUE(us.hears(*keys, 1));
    keys.reset();
    EXPECT_TRUE(eventually([&] { return us.notices().size() == 2; }));
    EXPECT_EQ(us.notices().back(), SetupChange::objectRemoved);
    keys.emplace("keys");
    ASSERT_TRUE(us.lists({"keys"}));
    EXPECT_EQ(us.source(0), source) << "nobody has disconnected it";
    EXPECT_TRUE(us.hears(*keys, 2));
    // Somebody takes the link away, with a patchbay or by accident.
    runProgram({"pw-link", "-d", "keys:out_0", "Tessivo:TessivoInput"});
    EXPECT_TRUE(us.hears(*keys, 3)) << "linked again";
    keys.reset();
    EXPECT_TRUE(eventually([&] { return us.notices().size() == 4; }));
    us.input->disconnect();
    EXPECT_EQ(us.connect(source), ENOENT) << "it has just vanished";
}

TEST(PipeWireMidiTest, OutageOfTheServerIsNoNews) {
    PrivatePipeWire server(kCalm);
    Listening us;
    std::optional<MidiSender> pads(std::in_place, "pads");
    ASSERT_TRUE(us.lists({"pads"}));
    std::optional<MidiSender> keys(std::in_place, "keys");
    ASSERT_TRUE(us.lists({"pads", "keys"}));
    ASSERT_TRUE(eventually([&] { return us.notices().size() == 2; }));
    const SourceRef source = us.source(1);
    ASSERT_EQ(us.connect(source), 0);
    ASSERT_TRUE(us.hears(*keys, 1));

    server.kill();
    EXPECT_TRUE(us.lists({"keys"})) << "only the connected one is awaited";
    EXPECT_EQ(us.connect(source), EHOSTDOWN);
    pads.reset();
    keys.reset();
    server.restart();
    pads.emplace("pads");
    ASSERT_TRUE(us.lists({"pads", "keys"}));
    std::this_thread::sleep_for(300ms);
    EXPECT_EQ(us.notices().size(), 2U) << "the connected one is awaited";
    keys.emplace("keys");
    ASSERT_TRUE(us.lists({"pads", "keys"}));
    EXPECT_EQ(us.source(1), source);
    EXPECT_TRUE(us.hears(*keys, 2));
    EXPECT_TRUE(eventually([&] { return us.notices().size() == 4; }));
    EXPECT_EQ(us.notices(), std::vector(4, SetupChange::objectAdded));

    // One that does not return is gone, five seconds later.
    server.kill();
    keys.reset();
    pads.reset();
    server.restart();
    EXPECT_TRUE(eventually([&] { return us.notices().size() == 6; }));
    EXPECT_EQ(us.notices().back(), SetupChange::objectRemoved);
}

TEST(PipeWireMidiTest, WithoutAServerThereIsNoClientAndNoSource) {
    setenv("PIPEWIRE_REMOTE", "nowhere", 1);
    PipeWireMidi system("Tessivo");
    EXPECT_TRUE(awaitReady(system));
    EXPECT_EQ(errorOf([&] { system.observeSources({}); }), EHOSTDOWN);
    EXPECT_EQ(errorOf([&] { system.openInput("Tessivo", "TessivoInput", {}); }), EHOSTDOWN);
    EXPECT_TRUE(system.sources().empty());
    unsetenv("PIPEWIRE_REMOTE");
}

// Whoever asks is the main thread, with a window to serve.
TEST(PipeWireMidiTest, NobodyWaitsForAServerThatDoesNotAnswer) {
    PrivatePipeWire server(kCalm);
    MidiSender keys("keys");
    std::chrono::nanoseconds longest{0};
    const auto timed = [&longest](auto&& operation) {
        const auto begin = std::chrono::steady_clock::now();
        const int error = errorOf(operation);
        longest =
            std::max(longest, std::chrono::nanoseconds(std::chrono::steady_clock::now() - begin));
        return error;
    };
    server.freeze();
    PipeWireMidi system("Tessivo");
    std::promise<void> ready;
    auto isReady = ready.get_future();
    EXPECT_EQ(timed([&] { system.whenReady([&ready] { ready.set_value(); }); }), 0);
    EXPECT_EQ(timed([&] { system.observeSources({}); }), EHOSTDOWN);
    EXPECT_EQ(isReady.wait_for(1s), std::future_status::timeout);
    server.thaw();
    ASSERT_EQ(isReady.wait_for(kPatience), std::future_status::ready);

    ASSERT_TRUE(eventually([&] { return system.sources().size() == 1; }));
    const SourceRef source = system.sources().front().reference;
    std::atomic<int> packets{0};
    const auto input =
        system.openInput("Tessivo", "TessivoInput", [&](midi::PacketList) { ++packets; });
    server.freeze();
    std::promise<int> outcome;
    auto told = outcome.get_future();
    EXPECT_EQ(
        timed([&] { input->connect(source, [&outcome](int error) { outcome.set_value(error); }); }),
        0);
    EXPECT_EQ(timed([&] { (void)system.sources(); }), 0);
    EXPECT_EQ(told.wait_for(1s), std::future_status::timeout);
    server.thaw();
    ASSERT_EQ(told.wait_for(kPatience), std::future_status::ready);
    EXPECT_EQ(told.get(), 0);
    EXPECT_TRUE(eventually([&] {
        keys.play(60);
        return eventually([&] { return packets > 0; }, 300ms);
    }));
    EXPECT_LT(longest, 900ms) << "the server was frozen for longer";
}

} // namespace

} // namespace tessivo::test
