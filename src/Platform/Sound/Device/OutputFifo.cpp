#include "Platform/Sound/Device/OutputFifo.h"

#include <algorithm>

namespace tessivo::sound {

OutputFifo::OutputFifo() {
    for (std::vector<float>& channel : samples_) {
        channel.resize(kCapacity);
    }
}

void OutputFifo::clear() TESSIVO_REALTIME {
    size_ = 0;
    lowestFill_ = 0;
    cyclesWatched_ = 0;
    fetched_ = true;
}

std::uint32_t OutputFifo::beginCycle() TESSIVO_REALTIME {
    const std::uint32_t late = fetched_ ? 0 : size_;
    drop(late);
    fetched_ = false;
    return late;
}

void OutputFifo::push(std::span<const float* const> channels,
                      std::uint32_t frames) TESSIVO_REALTIME {
    const std::uint32_t count = std::min(frames, kCapacity);
    if (size_ + count > kCapacity) {
        drop(size_ + count - kCapacity);
    }
    const std::uint32_t start = (first_ + size_) % kCapacity;
    const std::uint32_t unwrapped = std::min(count, kCapacity - start);
    for (std::size_t c = 0; c < samples_.size(); ++c) {
        const float* from = channels[c] + (frames - count);
        std::copy_n(from, unwrapped, samples_[c].data() + start);
        std::copy_n(from + unwrapped, count - unwrapped, samples_[c].data());
    }
    size_ += count;
}

std::uint32_t OutputFifo::pop(std::span<float* const> channels,
                              std::uint32_t frames) TESSIVO_REALTIME {
    const std::uint32_t count = std::min(frames, size_);
    const std::uint32_t unwrapped = std::min(count, kCapacity - first_);
    for (std::size_t c = 0; c < samples_.size(); ++c) {
        float* to = channels[c];
        std::copy_n(samples_[c].data() + first_, unwrapped, to);
        std::copy_n(samples_[c].data(), count - unwrapped, to + unwrapped);
        std::fill_n(to + count, frames - count, 0.0F);
    }
    drop(count);
    fetched_ = true;
    lowestFill_ = cyclesWatched_ == 0 ? size_ : std::min(lowestFill_, size_);
    if (++cyclesWatched_ == kTrimCycles) {
        drop(lowestFill_);
        cyclesWatched_ = 0;
    }
    return frames - count;
}

void OutputFifo::drop(std::uint32_t frames) TESSIVO_REALTIME {
    first_ = (first_ + frames) % kCapacity;
    size_ -= frames;
}

} // namespace tessivo::sound
