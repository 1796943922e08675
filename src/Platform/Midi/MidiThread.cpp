#include "Platform/Midi/MidiThread.h"

#include <sys/eventfd.h>
#include <unistd.h>

#include <cerrno>
#include <system_error>

namespace tessivo::midi {

namespace {

// Packets in one call of the handler. The next notice waits for no more than these.
constexpr std::size_t kPacketsAtOnce = 256;

// A packet's memory is freed when a long system exclusive message made it larger than this.
constexpr std::size_t kKeptBytes = 256;

int newEvent() {
    const int event = eventfd(0, EFD_CLOEXEC);
    if (event < 0) {
        throw std::system_error(errno, std::system_category());
    }
    return event;
}

} // namespace

MidiThread::MidiThread()
    : event_(newEvent())
    , bytes_(kPacketsAtOnce)
    , thread_([this] { run(); }) {
    packets_.reserve(kPacketsAtOnce);
}

MidiThread::~MidiThread() {
    {
        const std::scoped_lock lock(mutex_);
        quit_ = true;
    }
    wake();
    thread_.join();
}

void MidiThread::setSetupHandler(SetupHandler handler) {
    const std::scoped_lock lock(handlersMutex_);
    setupHandler_.swap(handler);
}

void MidiThread::setPacketHandler(PacketHandler handler) {
    const std::scoped_lock lock(handlersMutex_);
    packetHandler_.swap(handler);
}

void MidiThread::wake() TESSIVO_REALTIME {
    const std::uint64_t one = 1;
    // It fails only when the thread has not looked for 2^64 wake-ups.
    [[maybe_unused]] const auto written = write(event_.get(), &one, sizeof(one));
}

void MidiThread::notify(SetupChange change) {
    {
        const std::scoped_lock lock(mutex_);
        notices_.push_back(change);
    }
    wake();
}

void MidiThread::run() {
    for (;;) {
        std::uint64_t count = 0;
        // Waits until something was written, and resets the count. A signal only lets it look.
        [[maybe_unused]] const auto bytes = read(event_.get(), &count, sizeof(count));
        std::deque<SetupChange> notices;
        {
            const std::scoped_lock lock(mutex_);
            if (quit_) {
                return;
            }
            notices.swap(notices_);
        }
        deliverPackets();
        for (const SetupChange notice : notices) {
            const std::scoped_lock handling(handlersMutex_);
            if (setupHandler_) {
                setupHandler_(notice);
            }
        }
    }
}

void MidiThread::deliverPackets() {
    for (;;) {
        packets_.clear();
        while (packets_.size() < kPacketsAtOnce) {
            std::vector<std::uint8_t>& bytes = bytes_[packets_.size()];
            if (bytes.capacity() > kKeptBytes) {
                std::vector<std::uint8_t>().swap(bytes);
            }
            std::uint64_t time = 0;
            if (!queue_.pop(time, bytes)) {
                break;
            }
            packets_.push_back({time, bytes});
        }
        if (packets_.empty()) {
            return;
        }
        const std::scoped_lock handling(handlersMutex_);
        if (packetHandler_) {
            packetHandler_(packets_);
        }
    }
}

} // namespace tessivo::midi
