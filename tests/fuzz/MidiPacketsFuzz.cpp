#include "Platform/Midi/PipeWirePackets.h"

#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <vector>

using namespace tessivo;

// Whatever a server's buffer contains, the packets read from it are consecutive parts of it.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    static midi::PacketQueue queue;
    midi::copyPackets({data, size}, {1'000, 20'833.3}, queue);
    const std::uint8_t* rest = data;
    std::uint64_t time = 0;
    for (std::vector<std::uint8_t> bytes; queue.pop(time, bytes);) {
        const auto* const found = std::search(rest, data + size, bytes.begin(), bytes.end());
        if (found == data + size && !bytes.empty()) {
            std::abort();
        }
        rest = found + bytes.size();
    }
    if (queue.lost() != 0) {
        std::abort();
    }
    return 0;
}
