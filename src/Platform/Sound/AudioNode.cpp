#include "Platform/Sound/AudioNode.h"

#include "Platform/Sound/AudioEngineImpl.h"
#include "Platform/Sound/AudioError.h"

#include <algorithm>
#include <utility>

namespace tessivo::sound {

AudioNode::~AudioNode() = default;

AudioFormat InputNode::inputFormat() const {
    return engine()->impl_->inputDeviceFormat();
}

AudioFormat InputNode::outputFormat() const {
    return engine()->impl_->inputConnectionFormat();
}

void InputNode::installTap(std::uint32_t bufferSize, const AudioFormat& format, TapBlock block) {
    engine()->impl_->installTap(bufferSize, format, std::move(block));
}

void InputNode::removeTap() {
    engine()->impl_->removeTap();
}

AudioFormat OutputNode::inputFormat() const {
    return engine()->impl_->outputDeviceFormat();
}

MixerNode::MixerNode()
    : unit_(std::make_shared<GainUnit>(outputVolume_)) {}

void MixerNode::setOutputVolume(float gain) {
    outputVolume_ = gain;
    unit_->setTarget(gain);
}

PlayerNode::PlayerNode()
    : unit_(std::make_shared<PlayerUnit>(volume_)) {}

PlayerNode::~PlayerNode() {
    stop();
}

PlayerStream& PlayerNode::stream() {
    if (engine() == nullptr) {
        throw AudioError("The player is not attached to an engine");
    }
    if (!stream_) {
        stream_ = engine()->impl_->makeStream();
        if (playing_) {
            engine()->impl_->publish();
        }
    }
    return *stream_;
}

std::uint64_t PlayerNode::scheduleFile(std::shared_ptr<AudioFileReader> file, NoticeWhen when,
                                       NoticeHandler handler, std::uint32_t passes) {
    const auto id = nextPassId_++;
    stream().schedule({std::move(file), when, std::move(handler), passes, id});
    engine()->impl_->reader().wake();
    return id;
}

void PlayerNode::discardUpcoming() {
    if (stream_) {
        stream_->discardUpcoming();
        engine()->impl_->reader().wake();
    }
}

void PlayerNode::play() {
    if (!playing_) {
        playing_ = true;
        if (stream_) {
            engine()->impl_->publish();
        }
    }
}

void PlayerNode::stop() {
    const bool sounded = std::exchange(playing_, false);
    if (!stream_) {
        return;
    }
    const auto stream = std::exchange(stream_, nullptr);
    stream->stop();
    if (engine() == nullptr) {
        return;
    }
    if (sounded) {
        fading_.push_back(stream);
    }
    engine()->impl_->publish();
    engine()->impl_->reader().wake();
}

void PlayerNode::setVolume(float gain) {
    volume_ = gain;
    unit_->gain.setTarget(gain);
}

std::int64_t PlayerNode::queuedFrames() const {
    return stream_ ? stream_->queuedFrames() : 0;
}

std::int64_t PlayerNode::playedFrames() const {
    return stream_ ? stream_->playedFrames() : 0;
}

bool PlayerNode::isFading() const {
    return std::any_of(fading_.begin(), fading_.end(),
                       [](const auto& stream) { return !stream->isFinished(); });
}

} // namespace tessivo::sound
