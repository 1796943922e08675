#include "Platform/Sound/Tap/TapQueue.h"

#include "Platform/Sound/Limits.h"

#include <algorithm>
#include <cmath>
#include <utility>

namespace tessivo::sound {

namespace {

// While the reader keeps up, every cycle is handed over at once; when it lags by more than
// this many stretches, whole chunks are, so that the queue of stretches needs no more room
// than there are chunks.
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

float* TapQueue::frameAt(std::uint32_t chunk, std::uint32_t offset) TESSIVO_REALTIME {
    return memory_.get() + (static_cast<std::size_t>(chunk) * kTapChunkFrames + offset) * channels_;
}

bool TapQueue::takeChunk() TESSIVO_REALTIME {
    if (!free_.tryPop(chunk_)) {
        if (fresh_ == chunkCount_) {
            return false;
        }
        chunk_ = fresh_++;
    }
    hasChunk_ = true;
    written_ = 0;
    published_ = 0;
    return true;
}

void TapQueue::publish(bool endsChunk) TESSIVO_REALTIME {
    filled_.tryPush({chunk_, published_, written_ - published_, endsChunk, pendingLost_});
    pendingLost_ = 0;
    published_ = written_;
    hasChunk_ = !endsChunk;
}

void TapQueue::push(const float* left, const float* right, std::uint32_t frames) TESSIVO_REALTIME {
    std::uint32_t done = 0;
    while (done < frames) {
        if (!hasChunk_ && !takeChunk()) {
            pendingLost_ += frames - done;
            lostFrames_.fetch_add(frames - done, std::memory_order_relaxed);
            return;
        }
        const std::uint32_t count = std::min(frames - done, kTapChunkFrames - written_);
        float* target = frameAt(chunk_, written_);
        if (left == nullptr) {
            std::fill_n(target, static_cast<std::size_t>(count) * channels_, 0.0F);
        } else if (channels_ == 1) {
            std::copy_n(left + done, count, target);
        } else {
            for (std::uint32_t i = 0; i < count; ++i) {
                target[2 * i] = left[done + i];
                target[2 * i + 1] = right[done + i];
            }
        }
        written_ += count;
        done += count;
        if (written_ == kTapChunkFrames) {
            publish(true);
        }
    }
    if (hasChunk_ && written_ > published_ && filled_.size() < kEagerSegments) {
        publish(false);
    }
}

void TapQueue::flush() {
    if (hasChunk_ && written_ > published_) {
        publish(false);
    }
    if (pendingLost_ > 0) {
        filled_.tryPush({0, 0, 0, false, pendingLost_});
        pendingLost_ = 0;
    }
}

std::uint32_t TapQueue::emit(std::vector<float>& interleaved, std::uint32_t maxFrames) {
    if (current_.lostBefore > 0) {
        const auto count =
            static_cast<std::uint32_t>(std::min<std::int64_t>(current_.lostBefore, maxFrames));
        interleaved.insert(interleaved.end(), static_cast<std::size_t>(count) * channels_, 0.0F);
        current_.lostBefore -= count;
        return count;
    }
    const std::uint32_t count = std::min(current_.frames, maxFrames);
    const float* source = frameAt(current_.chunk, current_.offset);
    interleaved.insert(interleaved.end(), source,
                       source + static_cast<std::size_t>(count) * channels_);
    current_.offset += count;
    current_.frames -= count;
    return count;
}

std::uint32_t TapQueue::pop(std::vector<float>& interleaved, std::uint32_t maxFrames) {
    std::uint32_t total = 0;
    while (total < maxFrames) {
        if (current_.frames == 0 && current_.lostBefore == 0) {
            if (std::exchange(current_.endsChunk, false)) {
                free_.tryPush(current_.chunk);
            }
            if (!filled_.tryPop(current_)) {
                current_ = {};
                break;
            }
        }
        total += emit(interleaved, maxFrames - total);
    }
    return total;
}

} // namespace tessivo::sound
