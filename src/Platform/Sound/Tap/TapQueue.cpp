#include "Platform/Sound/Tap/TapQueue.h"

#include "Platform/Sound/Limits.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <utility>

namespace tessivo::sound {

namespace {

// As long as fewer segments than this wait, every cycle is handed over at once. Behind a slow
// reader only whole chunks are, so that the queue of segments needs hardly more room than there
// are chunks.
constexpr std::size_t kEagerSegments = 64;

} // namespace

TapQueue::TapQueue(std::uint32_t channels, double sampleRate)
    : channels_(channels)
    , chunkCount_(
          static_cast<std::uint32_t>(std::ceil(kTapQueueSeconds * sampleRate / kTapChunkFrames)) +
          1)
    , memory_(std::make_unique_for_overwrite<float[]>(static_cast<std::size_t>(chunkCount_) *
                                                      kTapChunkFrames * channels))
    , filled_(chunkCount_ + kEagerSegments + 1)
    , free_(chunkCount_) {}

float* TapQueue::samplesAt(std::uint32_t chunk, std::uint32_t channel,
                           std::uint32_t offset) TESSIVO_REALTIME {
    const auto row = static_cast<std::size_t>(chunk) * channels_ + channel;
    return memory_.get() + row * kTapChunkFrames + offset;
}

bool TapQueue::takeChunk() TESSIVO_REALTIME {
    if (!free_.tryPop(chunk_)) {
        if (firstUnused_ == chunkCount_) {
            return false;
        }
        chunk_ = firstUnused_++;
    }
    hasChunk_ = true;
    written_ = 0;
    handedOver_ = 0;
    return true;
}

void TapQueue::handOver(bool endsChunk) TESSIVO_REALTIME {
    filled_.tryPush({chunk_, handedOver_, written_ - handedOver_, endsChunk, dropped_});
    dropped_ = 0;
    handedOver_ = written_;
    hasChunk_ = !endsChunk;
}

void TapQueue::push(const float* left, const float* right, std::uint32_t frames) TESSIVO_REALTIME {
    const std::array<const float*, 2> sources{left, right};
    std::uint32_t done = 0;
    while (done < frames) {
        if (!hasChunk_ && !takeChunk()) {
            dropped_ += frames - done;
            overrunFrames_.fetch_add(frames - done, std::memory_order_relaxed);
            return;
        }
        const std::uint32_t count = std::min(frames - done, kTapChunkFrames - written_);
        for (std::uint32_t channel = 0; channel < channels_; ++channel) {
            float* target = samplesAt(chunk_, channel, written_);
            if (left == nullptr) {
                std::fill_n(target, count, 0.0F);
            } else {
                std::copy_n(sources[channel] + done, count, target);
            }
        }
        written_ += count;
        done += count;
        if (written_ == kTapChunkFrames) {
            handOver(true);
        }
    }
    if (hasChunk_ && written_ > handedOver_ && filled_.size() < kEagerSegments) {
        handOver(false);
    }
}

void TapQueue::flush() {
    if (hasChunk_ && written_ > handedOver_) {
        handOver(false);
    }
    if (dropped_ > 0) {
        filled_.tryPush({0, 0, 0, false, dropped_});
        dropped_ = 0;
    }
}

void TapQueue::popSegment(AudioPCMBuffer& buffer) {
    const std::uint32_t begin = buffer.frameLength();
    const std::uint32_t room = buffer.frameCapacity() - begin;
    const bool isSilence = current_.droppedBefore > 0;
    const auto count =
        isSilence ? static_cast<std::uint32_t>(std::min<std::int64_t>(current_.droppedBefore, room))
                  : std::min(current_.frames, room);
    buffer.setFrameLength(begin + count);
    for (std::uint32_t channel = 0; channel < channels_; ++channel) {
        float* target = buffer.channel(channel).data() + begin;
        if (isSilence) {
            std::fill_n(target, count, 0.0F);
        } else {
            std::copy_n(samplesAt(current_.chunk, channel, current_.offset), count, target);
        }
    }
    if (isSilence) {
        current_.droppedBefore -= count;
    } else {
        current_.offset += count;
        current_.frames -= count;
    }
}

void TapQueue::pop(AudioPCMBuffer& buffer) {
    while (buffer.frameLength() < buffer.frameCapacity()) {
        if (current_.frames == 0 && current_.droppedBefore == 0) {
            if (std::exchange(current_.endsChunk, false)) {
                free_.tryPush(current_.chunk);
            }
            if (!filled_.tryPop(current_)) {
                current_ = {};
                return;
            }
        }
        popSegment(buffer);
    }
}

} // namespace tessivo::sound
