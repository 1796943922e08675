#include "Platform/Midi/PipeWirePackets.h"

#include <spa/control/control.h>
#include <spa/utils/type.h>

#include <gtest/gtest.h>

#include <cstring>
#include <vector>

namespace tessivo::test {

namespace {

using Bytes = std::vector<std::uint8_t>;

void append(Bytes& bytes, std::initializer_list<std::uint32_t> words) {
    for (const std::uint32_t word : words) {
        bytes.resize(bytes.size() + sizeof(word));
        std::memcpy(bytes.data() + bytes.size() - sizeof(word), &word, sizeof(word));
    }
}

Bytes sequence(std::uint32_t size) {
    Bytes bytes;
    append(bytes, {size, SPA_TYPE_Sequence, 0, 0});
    return bytes;
}

void appendControl(Bytes& bytes, std::uint32_t type, std::uint32_t frame, const Bytes& value) {
    append(bytes, {frame, type, static_cast<std::uint32_t>(value.size()), SPA_TYPE_Bytes});
    bytes.insert(bytes.end(), value.begin(), value.end());
    bytes.resize((bytes.size() + 7) / 8 * 8);
}

// What is taken out of a buffer, which has no byte more than these.
std::vector<Bytes> taken(const Bytes& buffer, std::uint64_t* time = nullptr) {
    midi::PacketQueue queue;
    const std::vector<std::uint8_t> exact(buffer);
    midi::copyPackets(exact, {.start = 1000, .frame = 10.0}, queue);
    std::vector<Bytes> all;
    Bytes bytes;
    std::uint64_t at = 0;
    while (queue.pop(at, bytes)) {
        all.push_back(bytes);
        if (time != nullptr) {
            *time = at;
        }
    }
    return all;
}

TEST(PipeWirePacketsTest, TakesWhatIsWholeAndNothingElse) {
    Bytes buffer = sequence(120);
    appendControl(buffer, SPA_CONTROL_Midi, 0, {0x90, 60, 100});
    appendControl(buffer, SPA_CONTROL_OSC, 0, {1, 2, 3, 4, 5, 6, 7, 8, 9});
    appendControl(buffer, SPA_CONTROL_Midi, 3, {});
    appendControl(buffer, SPA_CONTROL_Midi, 7, {0xC0, 1});
    const std::vector<Bytes> all{{0x90, 60, 100}, {}, {0xC0, 1}};
    std::uint64_t time = 0;
    EXPECT_EQ(taken(buffer, &time), all);
    EXPECT_EQ(time, 1070U);

    // The same, ending too early at any byte, behind a header that promises everything.
    for (std::size_t size = 0; size < buffer.size(); ++size) {
        const auto part = taken(Bytes(buffer.begin(), buffer.begin() + std::ptrdiff_t(size)));
        ASSERT_LE(part.size(), all.size()) << size;
        ASSERT_TRUE(std::equal(part.begin(), part.end(), all.begin())) << size;
    }

    Bytes liar = sequence(UINT32_MAX);
    appendControl(liar, SPA_CONTROL_Midi, UINT32_MAX, {0x90, 1, 2});
    append(liar, {0, SPA_CONTROL_Midi, UINT32_MAX, SPA_TYPE_Bytes, 0, 0});
    EXPECT_EQ(taken(liar), (std::vector<Bytes>{{0x90, 1, 2}}));
    Bytes other = sequence(24);
    other[4] = SPA_TYPE_Object;
    appendControl(other, SPA_CONTROL_Midi, 0, {0x90, 60, 100});
    EXPECT_TRUE(taken(other).empty());
}

} // namespace

} // namespace tessivo::test
