#include "support/VirtualMidi.h"
#include "support/Basics.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cerrno>
#include <mutex>
#include <set>
#include <thread>

using namespace tessivo::midi;
using namespace tessivo::test;
using std::chrono::milliseconds;

namespace {

using Bytes = std::vector<std::uint8_t>;

// A client that writes down what it is told, and may take its time over packets.
struct Listener {
    explicit Listener(VirtualMidi& system, milliseconds pause = {}) {
        system.createClient(
            "client",
            [this](SetupChange change) {
                const std::scoped_lock lock(mutex);
                threads.insert(std::this_thread::get_id());
                notices.push_back(change);
            },
            client);
        system.createInputPort(
            client, "port",
            [this, pause, held = token](PacketList list) {
                running = true;
                std::this_thread::sleep_for(pause);
                const std::scoped_lock lock(mutex);
                threads.insert(std::this_thread::get_id());
                for (const Packet& packet : list) {
                    packets.emplace_back(packet.bytes.begin(), packet.bytes.end());
                    times.push_back(packet.time);
                }
                running = false;
            },
            port);
    }

    template <class Condition> bool waitUntil(Condition&& condition) {
        return eventually([&] {
            const std::scoped_lock lock(mutex);
            return condition();
        });
    }

    ClientRef client = 0;
    PortRef port = 0;
    std::shared_ptr<int> token = std::make_shared<int>();
    std::atomic<bool> running{false};
    std::mutex mutex; // of what follows
    std::vector<Bytes> packets;
    std::vector<std::uint64_t> times;
    std::vector<SetupChange> notices;
    std::set<std::thread::id> threads;
};

} // namespace

TEST(VirtualMidiTest, DeliversPacketsAsTheyAreAndNoticesInOrderOnOneThreadOfItsOwn) {
    VirtualMidi system;
    Listener listener(system);
    const EndpointRef keys = system.addSource("Keys");
    const EndpointRef nameless = system.addSource(std::nullopt);
    EXPECT_FALSE(system.send(keys, {0x90, 60, 1})); // nobody listens yet
    ASSERT_EQ(system.connectSource(listener.port, keys), 0);
    EXPECT_FALSE(system.send(nameless, {0x90, 60, 1}));

    std::vector<Bytes> sent{{}, {0xF8}, {0xC0, 5}, {0x3C, 0x64, 0x50}, Bytes(65'536, 0xF0)};
    for (std::uint8_t i = 0; i < 250; ++i) {
        sent.insert(sent.end(), {{0x90, i, 1}, {}});
    }
    EXPECT_TRUE(system.send(keys, sent));
    EXPECT_TRUE(listener.waitUntil([&] { return listener.packets.size() >= sent.size(); }));
    system.removeSource(nameless);
    system.notify(SetupChange::propertyChanged);
    EXPECT_TRUE(listener.waitUntil([&] { return listener.notices.size() >= 4; }));

    const std::scoped_lock lock(listener.mutex);
    EXPECT_EQ(listener.packets, sent);
    EXPECT_TRUE(std::is_sorted(listener.times.begin(), listener.times.end()));
    EXPECT_EQ(listener.notices,
              (std::vector{SetupChange::objectAdded, SetupChange::objectAdded,
                           SetupChange::objectRemoved, SetupChange::propertyChanged}));
    EXPECT_EQ(listener.threads.size(), 1U);
    EXPECT_EQ(listener.threads.count(std::this_thread::get_id()), 0U);
    EXPECT_EQ(system.lostPackets(), 0U);
}

TEST(VirtualMidiTest, LetsGoOfAHandlerOnceItHasReturnedAndKnowsOnlyWhatIsThere) {
    VirtualMidi system;
    Listener listener(system, milliseconds(100));
    const EndpointRef keys = system.addSource("Keys");
    ClientRef client = 9;
    PortRef port = 9;
    EXPECT_EQ(system.createClient("second", {}, client), -EBUSY);
    EXPECT_EQ(system.createInputPort(listener.client, "second", {}, port), -EBUSY);
    EXPECT_EQ(client + port, 0U);
    EXPECT_EQ(system.connectSource(listener.port, keys + 100), -ENOENT);
    EXPECT_EQ(system.connectSource(0, keys), -EINVAL);
    EXPECT_EQ(system.disconnectSource(listener.port, keys), -EINVAL);
    EXPECT_EQ(system.source(1), 0U);
    ASSERT_EQ(system.connectSource(listener.port, keys), 0);

    system.send(keys, {0x90, 60, 1});
    EXPECT_TRUE(eventually([&] { return listener.running.load(); }));
    system.disposeClient(listener.client); // and its port
    EXPECT_FALSE(listener.running);
    EXPECT_EQ(listener.token.use_count(), 1);
    EXPECT_EQ(listener.packets.size(), 1U);
    EXPECT_FALSE(system.send(keys, {0x90, 60, 1}));
    EXPECT_FALSE(system.hasPort());
    EXPECT_EQ(system.createClient("next", {}, client), 0);
}
