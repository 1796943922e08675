#include "Platform/Midi/MidiThread.h"

#include <chrono>
#include <utility>

namespace tessivo::midi {

namespace {

// Inaudible as a delay, and hardly any load.
constexpr std::chrono::milliseconds kPollInterval{1};

// Packets in one call of the handler. The next notice waits for no more than these.
constexpr std::size_t kPacketsAtOnce = 256;

// A packet's memory is freed when a long system message made it larger than this.
constexpr std::size_t kKeptBytes = 256;

} // namespace

MidiThread::MidiThread()
    : bytes_(kPacketsAtOnce)
    , thread_([this] { run(); }) {
    packets_.reserve(kPacketsAtOnce);
}

MidiThread::~MidiThread() {
    {
        const std::scoped_lock lock(mutex_);
        quit_ = true;
    }
    changed_.notify_all();
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

void MidiThread::setListening(bool listening) {
    {
        const std::scoped_lock lock(mutex_);
        listening_ = listening;
    }
    changed_.notify_all();
}

void MidiThread::notify(SetupChange change) {
    {
        const std::scoped_lock lock(mutex_);
        notices_.push_back(change);
    }
    changed_.notify_all();
}

void MidiThread::run() {
    std::unique_lock lock(mutex_);
    const auto isNeeded = [this] {
        return quit_ || !notices_.empty();
    };
    while (!quit_) {
        if (listening_) {
            changed_.wait_for(lock, kPollInterval, isNeeded);
        } else {
            changed_.wait(lock, [this, &isNeeded] { return isNeeded() || listening_; });
        }
        const std::deque<SetupChange> notices = std::exchange(notices_, {});
        lock.unlock();
        deliverPackets();
        for (const SetupChange notice : notices) {
            const std::scoped_lock handling(handlersMutex_);
            if (setupHandler_) {
                setupHandler_(notice);
            }
        }
        lock.lock();
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
