#include "Platform/Sound/PlayerNode.h"

#include "Platform/Sound/AudioError.h"
#include "Platform/Sound/Decode/ReaderThread.h"
#include "Platform/Sound/NodeHost.h"
#include "Platform/Sound/PlanBuilder.h"
#include "Platform/Sound/Render/GainUnit.h"
#include "Platform/Sound/Render/PlayerVoice.h"

#include <algorithm>
#include <utility>

namespace tessivo::sound {

namespace {

class PlayerStep final : public RenderStep {
public:
    PlayerStep(std::shared_ptr<GainUnit> gain, std::vector<std::shared_ptr<PlayerVoice>> voices)
        : gain_(std::move(gain))
        , voices_(std::move(voices)) {}

    StereoBlock render(const RenderContext& context,
                       StereoBuffer& buffer) TESSIVO_REALTIME override {
        StereoBlock sum;
        for (const auto& voice : voices_) {
            if (voice->render(context, buffer, sum.isSilent())) {
                sum = buffer.block();
            }
        }
        return gain_->apply(sum, context, buffer);
    }

private:
    std::shared_ptr<GainUnit> gain_;
    std::vector<std::shared_ptr<PlayerVoice>> voices_;
};

} // namespace

PlayerNode::PlayerNode()
    : gain_(std::make_shared<GainUnit>(volume_)) {}

PlayerNode::~PlayerNode() {
    stop();
}

void PlayerNode::startReading(std::optional<TakeLoop> loop) {
    auto ring = std::make_shared<PlayerRing>(host()->renderRate());
    std::optional<PlayerReader::Sounding> sounding;
    zero_.reset();
    if (loop) {
        zero_ = loop->zero;
        sounding = {loop->length, loop->zero, [host = host()] {
                        return host->timeline().next();
                    }};
    }
    voice_ =
        std::make_shared<PlayerVoice>(ring, host()->readerThread().underruns(), std::move(loop));
    reader_ = std::make_shared<PlayerReader>(
        ring, host()->renderRate(), [host = host()] { return host->outputLatency(); },
        std::move(sounding));
    host()->readerThread().add(reader_);
    if (playing_) {
        host()->updatePlan();
    }
}

std::uint64_t PlayerNode::scheduleFile(std::shared_ptr<AudioFileReader> file, NoticeWhen when,
                                       NoticeHandler handler, std::uint32_t passes) {
    if (!isAttached()) {
        throw AudioError("The player is not attached to an engine");
    }
    if (!reader_) {
        startReading({});
    }
    const auto id = nextPassId_++;
    reader_->schedule({std::move(file), when, std::move(handler), passes, id});
    host()->readerThread().wake();
    return id;
}

bool PlayerNode::loopTake(std::shared_ptr<const TakeHead> head, Moment end) {
    stop();
    if (!isAttached() || !head || head->renderRate() != host()->renderRate()) {
        return false;
    }
    const CommandFrames frames = host()->framesOf(end);
    const std::int64_t length = frames.captured - head->begin();
    if (length <= 0) {
        return false;
    }
    playing_ = true;
    startReading(TakeLoop{std::move(head), length, frames.rendered});
    return true;
}

void PlayerNode::discardUpcoming() {
    if (reader_ && isAttached()) {
        reader_->discardUpcoming();
        host()->readerThread().wake();
    }
}

void PlayerNode::play() {
    if (!std::exchange(playing_, true) && voice_ && isAttached()) {
        host()->updatePlan();
    }
}

void PlayerNode::stop() {
    const bool sounded = std::exchange(playing_, false);
    if (!reader_) {
        return;
    }
    std::exchange(reader_, nullptr)->stop();
    const auto voice = std::exchange(voice_, nullptr);
    if (!isAttached()) {
        return;
    }
    if (sounded) {
        fading_.push_back(voice);
    }
    host()->updatePlan();
    host()->readerThread().wake();
}

void PlayerNode::setVolume(float gain) {
    volume_ = gain;
    gain_->setTarget(gain);
}

std::int64_t PlayerNode::queuedFrames() const {
    return voice_ ? voice_->ring().queuedFrames() : 0;
}

std::int64_t PlayerNode::playedFrames() const {
    return voice_ ? voice_->ring().playedFrames() : 0;
}

double PlayerNode::heardTime() const {
    if (!voice_ || !playing_ || !isAttached()) {
        return 0.0;
    }
    const std::int64_t rendered = zero_ ? host()->timeline().next() - *zero_ : playedFrames();
    const double seconds = static_cast<double>(rendered) / host()->renderRate();
    return std::max(0.0, seconds - host()->outputLatency());
}

bool PlayerNode::isFading() const {
    return std::any_of(fading_.begin(), fading_.end(),
                       [](const auto& voice) { return !voice->ring().isFinished(); });
}

std::unique_ptr<RenderStep> PlayerNode::compile(PlanBuilder& builder) {
    std::erase_if(fading_, [&](const auto& voice) {
        return !builder.isRunning() || voice->ring().isFinished();
    });
    auto voices = fading_;
    if (voice_ && playing_) {
        voices.push_back(voice_);
    }
    return std::make_unique<PlayerStep>(gain_, std::move(voices));
}

} // namespace tessivo::sound
