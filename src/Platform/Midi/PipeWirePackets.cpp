#include "Platform/Midi/PipeWirePackets.h"

#include <spa/control/control.h>
#include <spa/pod/pod.h>
#include <spa/utils/type.h>

#include <algorithm>
#include <cstddef>
#include <cstring>

namespace tessivo::midi {

namespace {

// Reads a value and removes it from the front; false when there are too few bytes.
template <typename T> bool read(std::span<const std::uint8_t>& bytes, T& value) TESSIVO_REALTIME {
    if (bytes.size() < sizeof(T)) {
        return false;
    }
    std::memcpy(&value, bytes.data(), sizeof(T));
    bytes = bytes.subspan(sizeof(T));
    return true;
}

} // namespace

bool copyPackets(std::span<const std::uint8_t> buffer, const CycleTime& cycle,
                 PacketQueue& queue) TESSIVO_REALTIME {
    spa_pod sequence{};
    spa_pod_sequence_body body{};
    if (!read(buffer, sequence) || sequence.type != SPA_TYPE_Sequence) {
        return false;
    }
    // A sender whose messages did not fit states a size beyond the end of the buffer.
    std::span<const std::uint8_t> rest =
        buffer.first(std::min<std::size_t>(sequence.size, buffer.size()));
    if (!read(rest, body)) {
        return false;
    }
    struct {
        std::uint32_t offset; // frames after the start of the cycle
        std::uint32_t type;
        spa_pod value;
    } control{};
    bool hasPackets = false;
    while (read(rest, control) && control.value.size <= rest.size()) {
        if (control.type == SPA_CONTROL_Midi) {
            hasPackets = true;
            const double delay = control.offset * cycle.frame;
            queue.push(cycle.start + static_cast<std::uint64_t>(delay),
                       rest.first(control.value.size));
        }
        // Values are padded to multiples of eight bytes.
        const std::size_t padded = (std::size_t{control.value.size} + 7) / 8 * 8;
        rest = rest.subspan(padded < rest.size() ? padded : rest.size());
    }
    return hasPackets;
}

} // namespace tessivo::midi
