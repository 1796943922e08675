#pragma once

#include "Platform/Sound/AudioPCMBuffer.h"
#include "Platform/Sound/Tap/TakeHead.h"
#include "Platform/Sound/Tap/TapHandler.h"
#include "Platform/Sound/Tap/TapQueue.h"

#include <cstdint>
#include <memory>
#include <span>
#include <vector>

namespace tessivo::sound {

class RateConverter;

// One tap at work: takes frames from the queue, cuts them into buffers in the tap's format and
// gives them to its block; before that it completes the take's head. Tap thread.
class Tap {
public:
    struct Request {
        std::int64_t begin = 0; // the position of its first frame
        std::uint32_t bufferSize = 0;
        AudioFormat format; // one or two channels
        TapHandler block;
        std::shared_ptr<TakeHead> head; // or none
    };

    Tap(Request request, double queueRate); // Hz
    ~Tap();
    Tap(const Tap&) = delete;
    Tap& operator=(const Tap&) = delete;

    // Writes what the head lacks of the past, up to `limit`. Returns whether the head now has
    // all that the callback does not write: the block gets nothing before, as it may wait for a
    // disk.
    bool completeHead(const TapQueue& queue, std::int64_t limit);

    // Gives the block about a buffer's worth of the queue's frames, none from `limit` on.
    // Returns whether there are more. Throws what the conversion throws.
    bool step(const TapQueue& queue, std::int64_t limit);
    // Gives the block what is left, in a short buffer.
    void finish();

    // How many of the frames that the block has had, at the format's rate, lie before that
    // position: some more may have been delivered when a take's end is told late.
    std::int64_t deliveredBefore(std::int64_t position) const;

    // The position of the first frame that the block has not had.
    std::int64_t delivered() const;
    // The position of the first frame that it has not taken from the queue.
    std::int64_t next() const { return next_; }
    // Frames of the take that were never captured; silence takes their place.
    std::int64_t silentFrames() const { return silent_; }
    // How long the next buffer will take, seconds.
    double secondsToNextBuffer() const;

private:
    void take(const TapQueue& queue, AudioPCMBuffer& into, std::int64_t limit);
    void convert(const TapQueue& queue, std::int64_t limit);
    void append(std::span<const float> interleaved);
    void callBlock();

    Request request_;
    const double queueRate_;
    std::int64_t next_;
    std::int64_t silent_ = 0;
    AudioPCMBuffer buffer_;      // being filled
    std::int64_t delivered_ = 0; // frames, at the format's rate
    // Where the format's rate is another one.
    std::unique_ptr<RateConverter> converter_;
    AudioPCMBuffer captured_;
    std::vector<float> interleaved_;
};

} // namespace tessivo::sound
