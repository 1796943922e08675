#include "Platform/Sound/Tap/Tap.h"

#include "Platform/Sound/Decode/RateConverter.h"
#include "Platform/Sound/Limits.h"

#include <algorithm>
#include <cmath>
#include <utility>

namespace tessivo::sound {

Tap::Tap(Request request, double queueRate)
    : request_(std::move(request))
    , queueRate_(queueRate)
    , next_(request_.begin)
    , buffer_(request_.format, request_.bufferSize)
    , captured_(AudioFormat(queueRate, request_.format.channelCount()), kTapChunkFrames) {}

Tap::~Tap() = default;

bool Tap::completeHead(const TapQueue& queue, std::int64_t limit) {
    if (!request_.head) {
        return true;
    }
    TakeHead& head = *request_.head;
    const std::int64_t callbackBegin = head.callbackBegin();
    const std::int64_t captured =
        std::clamp<std::int64_t>(limit - head.begin(), 0, head.capacity());
    const std::int64_t end = callbackBegin >= 0 ? std::min(callbackBegin, captured) : captured;
    if (const std::int64_t missing = end - head.pastEnd(); missing > 0) {
        const auto frames = static_cast<std::uint32_t>(missing);
        const auto [left, right] = head.nextPast();
        queue.copy(head.begin() + head.pastEnd(), frames, 0, left);
        queue.copy(head.begin() + head.pastEnd(), frames, head.isMono() ? 0 : 1, right);
        head.endPast(missing);
    }
    return callbackBegin >= 0 && head.pastEnd() >= callbackBegin;
}

bool Tap::step(const TapQueue& queue, std::int64_t limit) {
    if (buffer_.format().sampleRate() != queueRate_) {
        convert(queue, limit);
    } else {
        take(queue, buffer_, limit);
    }
    if (buffer_.frameLength() == buffer_.frameCapacity()) {
        callBlock();
    }
    return next_ < limit;
}

void Tap::finish() {
    if (converter_) {
        interleaved_.clear();
        append(converter_->process(interleaved_, true));
    }
    if (buffer_.frameLength() > 0) {
        callBlock();
    }
}

void Tap::take(const TapQueue& queue, AudioPCMBuffer& into, std::int64_t limit) {
    const std::uint32_t begin = into.frameLength();
    const auto count = static_cast<std::uint32_t>(
        std::clamp<std::int64_t>(limit - next_, 0, into.frameCapacity() - begin));
    into.setFrameLength(begin + count);
    for (std::uint32_t channel = 0; channel < into.format().channelCount(); ++channel) {
        const auto silent = queue.copy(next_, count, channel, into.channel(channel).data() + begin);
        silent_ += channel == 0 ? silent : 0;
    }
    next_ += count;
}

void Tap::convert(const TapQueue& queue, std::int64_t limit) {
    const auto channels = captured_.format().channelCount();
    if (!converter_) {
        converter_ =
            std::make_unique<RateConverter>(queueRate_, buffer_.format().sampleRate(), channels);
    }
    captured_.setFrameLength(0);
    take(queue, captured_, limit);
    captured_.interleave(interleaved_);
    append(converter_->process(interleaved_));
}

void Tap::append(std::span<const float> interleaved) {
    const auto channels = buffer_.format().channelCount();
    while (!interleaved.empty()) {
        const auto begin = buffer_.frameLength();
        const auto count =
            std::min<std::size_t>(interleaved.size() / channels, buffer_.frameCapacity() - begin);
        buffer_.setFrameLength(begin + static_cast<std::uint32_t>(count));
        for (std::uint32_t channel = 0; channel < channels; ++channel) {
            const auto samples = buffer_.channel(channel).subspan(begin);
            for (std::size_t i = 0; i < count; ++i) {
                samples[i] = interleaved[i * channels + channel];
            }
        }
        interleaved = interleaved.subspan(count * channels);
        if (buffer_.frameLength() == buffer_.frameCapacity() && !interleaved.empty()) {
            callBlock();
        }
    }
}

void Tap::callBlock() {
    request_.block(buffer_, {delivered_, buffer_.format().sampleRate()});
    delivered_ += buffer_.frameLength();
    buffer_.setFrameLength(0);
}

std::int64_t Tap::deliveredBefore(std::int64_t position) const {
    const auto frames = static_cast<double>(std::max<std::int64_t>(0, position - request_.begin));
    return std::min<std::int64_t>(
        delivered_, std::llround(frames / queueRate_ * buffer_.format().sampleRate()));
}

std::int64_t Tap::delivered() const {
    return next_ - static_cast<std::int64_t>(buffer_.frameLength() * queueRate_ /
                                             buffer_.format().sampleRate());
}

double Tap::secondsToNextBuffer() const {
    const double missing = buffer_.frameCapacity() - buffer_.frameLength();
    return missing / buffer_.format().sampleRate();
}

} // namespace tessivo::sound
