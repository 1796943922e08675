#include "support/VirtualMidi.h"
#include "Platform/Midi/MidiListener.h"
#include "support/Basics.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cerrno>

// The virtual system has the queue and the thread of the real one.
namespace tessivo::test {

namespace {

using midi::SetupChange;
using midi::SourceRef;
using midi::VirtualMidi;

TEST(VirtualMidiTest, DeliversPacketsAsTheyAreAndNoticesInOrderOnOneThreadOfItsOwn) {
    VirtualMidi system;
    MidiListener listener(system);
    const SourceRef keys = system.addSource("Keys");
    const SourceRef nameless = system.addSource(std::nullopt);
    EXPECT_FALSE(system.send(keys, {0x90, 60, 1})); // not connected yet
    listener.input->connect(keys);
    EXPECT_FALSE(system.send(nameless, {0x90, 60, 1}));

    std::vector<Bytes> sent{{}, {0xF8}, {0xC0, 5}, {0x3C, 0x64, 0x50}, Bytes(65'536, 0xF0)};
    for (std::uint8_t i = 0; i < 250; ++i) {
        sent.insert(sent.end(), {{0x90, i, 1}, {}});
    }
    EXPECT_TRUE(system.send(keys, sent));
    EXPECT_TRUE(eventually([&] { return listener.packets().size() >= sent.size(); }));
    system.removeSource(nameless);
    system.notify(SetupChange::propertyChanged);
    EXPECT_TRUE(eventually([&] { return listener.notices().size() >= 4; }));

    EXPECT_EQ(listener.packets(), sent);
    const auto times = listener.times();
    EXPECT_TRUE(std::is_sorted(times.begin(), times.end()));
    EXPECT_EQ(listener.notices(),
              (std::vector{SetupChange::objectAdded, SetupChange::objectAdded,
                           SetupChange::objectRemoved, SetupChange::propertyChanged}));
    const auto threads = listener.threads();
    EXPECT_EQ(threads.size(), 1U);
    EXPECT_FALSE(threads.contains(std::this_thread::get_id()));
    EXPECT_EQ(system.lostPackets(), 0U);
}

TEST(VirtualMidiTest, AClosedInputHasReleasedItsHandlerAndAnotherOneCanBeOpened) {
    VirtualMidi system;
    MidiListener listener(system, std::chrono::milliseconds(100));
    const SourceRef keys = system.addSource("Keys");
    EXPECT_EQ(errorOf([&] { MidiListener second(system); }), EBUSY);
    EXPECT_EQ(errorOf([&] { system.openInput("", "", {}); }), EBUSY);
    EXPECT_EQ(errorOf([&] { listener.input->connect(keys + 100); }), ENOENT);
    listener.input->connect(keys);

    system.send(keys, {0x90, 60, 1});
    EXPECT_TRUE(eventually([&] { return listener.isHandling.load(); }));
    listener.input.reset();
    EXPECT_FALSE(listener.isHandling);
    EXPECT_EQ(listener.token.use_count(), 1);
    EXPECT_EQ(listener.packets().size(), 1U);
    EXPECT_FALSE(system.send(keys, {0x90, 60, 1}));
    listener.observer.reset();
    EXPECT_EQ(errorOf([&] { MidiListener next(system); }), 0);
}

} // namespace

} // namespace tessivo::test
