#include "Platform/Sound/Tap/TapQueue.h"

#include "Platform/Sound/Limits.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <span>

namespace tessivo::sound {

namespace {

// Room for holes in the input while the reader waits for a disk.
constexpr std::uint32_t kExtraRuns = 1024;

std::uint32_t chunksFor(double sampleRate) {
    const double frames = (kTapQueueSeconds + kTapHistorySeconds) * sampleRate;
    return static_cast<std::uint32_t>(std::ceil(frames / kTapChunkFrames)) + 1;
}

} // namespace

TapQueue::TapQueue(double sampleRate)
    : chunkCount_(chunksFor(sampleRate))
    , memory_(std::make_unique_for_overwrite<float[]>(static_cast<std::size_t>(chunkCount_) *
                                                      kTapChunkFrames * kGraphChannels))
    , runs_(chunkCount_ + kExtraRuns)
    , free_(chunkCount_) {}

float* TapQueue::samplesAt(std::uint32_t chunk, std::uint32_t channel,
                           std::uint32_t offset) const TESSIVO_REALTIME {
    const auto row = static_cast<std::size_t>(chunk) * kGraphChannels + channel;
    return memory_.get() + row * kTapChunkFrames + offset;
}

// Goes on in the current chunk, or takes the next one when that is full.
bool TapQueue::beginRun(std::int64_t position) TESSIVO_REALTIME {
    if (!hasChunk_) {
        if (!free_.tryPop(chunk_)) {
            if (firstUnused_ == chunkCount_) {
                return false;
            }
            chunk_ = firstUnused_++;
        }
        hasChunk_ = true;
        written_ = 0;
    }
    if (!runs_.tryPush({position, stored_, chunk_, written_})) {
        return false;
    }
    runEnd_ = position;
    return true;
}

void TapQueue::push(std::int64_t position, const float* left, const float* right,
                    std::uint32_t frames) TESSIVO_REALTIME {
    const std::array<const float*, kGraphChannels> sources{left, right};
    std::uint32_t done = 0;
    while (done < frames) {
        if ((!hasChunk_ || position + done != runEnd_) && !beginRun(position + done)) {
            overrunFrames_.fetch_add(frames - done, std::memory_order_relaxed);
            break;
        }
        const std::uint32_t count = std::min(frames - done, kTapChunkFrames - written_);
        for (std::uint32_t channel = 0; channel < kGraphChannels; ++channel) {
            float* target = samplesAt(chunk_, channel, written_);
            if (left == nullptr) {
                std::fill_n(target, count, 0.0F);
            } else {
                std::copy_n(sources[channel] + done, count, target);
            }
        }
        written_ += count;
        stored_ += count;
        runEnd_ += count;
        done += count;
        hasChunk_ = written_ < kTapChunkFrames;
    }
    storedTotal_.store(stored_, std::memory_order_release);
    pushedEnd_.store(position + frames, std::memory_order_release);
}

void TapQueue::receive() {
    // The runs come last: those of all frames that the two counts name are there by then.
    end_ = pushedEnd_.load(std::memory_order_acquire);
    readable_ = storedTotal_.load(std::memory_order_acquire);
    for (Run run; runs_.tryPop(run);) {
        kept_.push_back(run);
    }
}

std::int64_t TapQueue::lengthOf(std::size_t run) const {
    const std::int64_t next = run + 1 < kept_.size() ? kept_[run + 1].storedBefore : readable_;
    return std::max<std::int64_t>(0, next - kept_[run].storedBefore);
}

// Calls the work with what is there of those frames, in pieces that lie one behind the other: where
// a piece begins, and how many frames it has.
template <typename Work>
void TapQueue::forEachPiece(std::int64_t from, std::uint32_t frames, const Work& work) const {
    const auto after = std::upper_bound(
        kept_.begin(), kept_.end(), from,
        [](std::int64_t position, const Run& run) { return position < run.position; });
    auto index = static_cast<std::size_t>(after - kept_.begin());
    index -= index > 0 ? 1 : 0;
    for (; index < kept_.size() && kept_[index].position < from + frames; ++index) {
        const Run& run = kept_[index];
        const std::int64_t begin = std::max(from, run.position);
        const std::int64_t end = std::min(from + frames, run.position + lengthOf(index));
        if (begin < end) {
            const auto count = static_cast<std::uint32_t>(end - begin);
            const auto offset = run.offset + static_cast<std::uint32_t>(begin - run.position);
            work(Run{begin, 0, run.chunk, offset}, count);
        }
    }
}

std::uint32_t TapQueue::copy(std::int64_t from, std::uint32_t frames, std::uint32_t channel,
                             float* target) const {
    std::fill_n(target, frames, 0.0F);
    std::uint32_t silent = frames;
    forEachPiece(from, frames, [&](const Run& piece, std::uint32_t count) {
        std::copy_n(samplesAt(piece.chunk, channel, piece.offset), count,
                    target + (piece.position - from));
        silent -= count;
    });
    return silent;
}

bool TapQueue::reaches(std::int64_t from, std::uint32_t frames, float amplitude) const {
    bool reached = false;
    forEachPiece(from, frames, [&](const Run& piece, std::uint32_t count) {
        for (std::uint32_t channel = 0; channel < kGraphChannels; ++channel) {
            const std::span samples(samplesAt(piece.chunk, channel, piece.offset), count);
            reached = reached || std::any_of(samples.begin(), samples.end(), [&](float sample) {
                          return std::abs(sample) >= amplitude;
                      });
        }
    });
    return reached;
}

void TapQueue::release(std::int64_t before) {
    // The last run may still grow. A chunk is free when its last run is.
    while (kept_.size() > 1 && kept_.front().position + lengthOf(0) <= before) {
        const std::uint32_t chunk = kept_.front().chunk;
        kept_.pop_front();
        if (kept_.front().chunk != chunk) {
            free_.tryPush(chunk);
        }
    }
}

} // namespace tessivo::sound
