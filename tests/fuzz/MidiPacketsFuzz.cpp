#include "Audio/MIDIManager.h"
#include "Platform/Midi/PipeWirePackets.h"
#include "Platform/System/LogLine.h"
#include "support/VirtualMidi.h"

#include <QCoreApplication>

#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <string_view>
#include <utility>
#include <vector>

using namespace tessivo;

namespace {

// Hands packets to its client's handler without a thread between them.
class DirectMidi : public midi::VirtualMidi {
public:
    std::unique_ptr<midi::MidiInput> openInput(const std::string& clientName,
                                               const std::string& portName,
                                               midi::PacketHandler handler) override {
        handler_ = std::move(handler);
        return VirtualMidi::openInput(clientName, portName, {});
    }

    void deliver(midi::PacketList packets) const { handler_(packets); }

private:
    midi::PacketHandler handler_;
};

struct Listener {
    Listener() {
        setLogSink([this](std::string_view line) {
            notesTold += line.starts_with("🎵 MIDI Note On: ") ? 1U : 0U;
        });
        manager = MIDIManager::make(system);
        QCoreApplication::processEvents(); // it opens its input
    }

    int argumentCount = 0;
    QCoreApplication application{argumentCount, nullptr};
    std::shared_ptr<DirectMidi> system = std::make_shared<DirectMidi>();
    std::shared_ptr<MIDIManager> manager;
    midi::PacketQueue queue;
    std::size_t notesTold = 0;
};

} // namespace

// Whatever a server's buffer contains, the packets read from it are consecutive parts of it, and
// exactly those that begin with a note-on are taken for notes.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    static auto& listener = *new Listener; // beyond the end of the process's statics
    midi::PacketQueue& queue = listener.queue;
    midi::copyPackets({data, size}, {1'000, 20'833.3}, queue);

    std::vector<std::vector<std::uint8_t>> bytes(1);
    std::vector<std::uint64_t> times(1);
    while (queue.pop(times.back(), bytes.back())) {
        bytes.emplace_back();
        times.emplace_back();
    }
    std::vector<midi::Packet> packets;
    std::size_t notes = 0;
    const std::uint8_t* rest = data;
    for (std::size_t i = 0; i + 1 < bytes.size(); ++i) {
        const auto found = std::search(rest, data + size, bytes[i].begin(), bytes[i].end());
        if (found == data + size && !bytes[i].empty()) {
            std::abort();
        }
        rest = found + bytes[i].size();
        notes += bytes[i].size() >= 3 && (bytes[i][0] & 0xF0U) == 0x90 ? 1U : 0U;
        packets.push_back({times[i], bytes[i]});
    }
    listener.notesTold = 0;
    listener.system->deliver(packets);
    if (queue.lost() != 0 || listener.notesTold != notes) {
        std::abort();
    }
    QCoreApplication::processEvents();
    return 0;
}
