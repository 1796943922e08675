#include "Platform/Midi/MidiThread.h"
#include "support/Basics.h"

#include <gtest/gtest.h>

#include <atomic>

namespace tessivo::test {

namespace {

using namespace std::chrono_literals;
using Bytes = std::vector<std::uint8_t>;

// Both handlers on one thread, in order; and a handler that is replaced while it runs has ended
// and is released when that returns.
TEST(MidiThreadTest, CallsHandlersInOrderOnItsOwnThreadUntilTheyAreReplaced) {
    midi::MidiThread thread;
    std::vector<Bytes> packets;             // the rest is written by the MIDI thread and
    std::vector<midi::SetupChange> notices; // read when its handlers are gone
    std::vector<std::thread::id> threads(2);
    std::atomic<std::size_t> calls{0};
    std::atomic<bool> isHandling{false};
    const auto token = std::make_shared<int>();
    thread.setSetupHandler([&](midi::SetupChange change) {
        threads[0] = std::this_thread::get_id();
        notices.push_back(change);
        ++calls;
    });
    thread.setPacketHandler([&, held = token](midi::PacketList list) {
        isHandling = true;
        threads[1] = std::this_thread::get_id();
        for (const midi::Packet& packet : list) {
            packets.emplace_back(packet.bytes.begin(), packet.bytes.end());
        }
        std::this_thread::sleep_for(100ms);
        isHandling = false;
    });
    std::vector<Bytes> sent{{}, {0xF8}, {0x3C, 0x64, 0x50}, Bytes(65'536, 0xF0)};
    sent.resize(400, {0x90, 60, 1}); // more than one call takes
    for (const Bytes& packet : sent) {
        ASSERT_TRUE(thread.queue().push(0, packet));
    }
    thread.notify(midi::SetupChange::objectAdded);
    thread.notify(midi::SetupChange::propertyChanged);
    ASSERT_TRUE(eventually([&] { return calls == 2; }));
    EXPECT_EQ(packets, sent) << "they came before the notices";
    ASSERT_TRUE(thread.queue().push(0, sent.back()));
    thread.wake();
    ASSERT_TRUE(eventually([&] { return isHandling.load(); }));
    thread.setPacketHandler({});
    EXPECT_FALSE(isHandling);
    EXPECT_EQ(token.use_count(), 1);
    EXPECT_EQ(packets.size(), sent.size() + 1);
    EXPECT_EQ(notices,
              (std::vector{midi::SetupChange::objectAdded, midi::SetupChange::propertyChanged}));
    EXPECT_EQ(threads[0], threads[1]);
    EXPECT_NE(threads[0], std::this_thread::get_id());
}

} // namespace

} // namespace tessivo::test
