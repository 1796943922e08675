#include "Platform/Sound/Device/PipeWireStreams.h"

#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <utility>

namespace tessivo::sound {

namespace {

using Clock = std::chrono::steady_clock;
using namespace std::chrono_literals;

// How long a capture stream may take to run. After that, playback no longer waits for it.
constexpr auto kCaptureGrace = 300ms;
// A device that failed is tried again after this time.
constexpr auto kRetryTime = 30s;

std::string uniqueGroup(const std::string& nodeName) {
    static std::atomic<unsigned> count{0};
    return nodeName + "-" + std::to_string(getpid()) + "-" + std::to_string(++count);
}

} // namespace

void PipeWireStreams::FailedDevice::expire() {
    if (Clock::now() >= since + kRetryTime) {
        serial.clear();
    }
}

PipeWireStreams::PipeWireStreams(const std::string& nodeName, const std::string& playbackName,
                                 PipeWireCycles& cycles, std::function<void()> changed)
    : settings_{nodeName, playbackName, uniqueGroup(nodeName)}
    , cycles_(cycles)
    , changed_(std::move(changed)) {}

void PipeWireStreams::start(double renderRate, const AudioDevice::Request& request) {
    settings_.renderRate = renderRate;
    request_ = request;
}

void PipeWireStreams::close() {
    capture_.reset();
    playback_.reset();
    mayRestore_ = true;
    cycleFrames_ = 0;
    // Their streams may have felt the server's end first, and the next server counts its devices
    // from the same number.
    failedSource_ = {};
    failedSink_ = {};
}

void PipeWireStreams::follow(pw_context* context, PipeWireDefaults& defaults) {
    failedSource_.expire();
    failedSink_.expire();
    const auto idOf = [](const auto& stream) {
        return stream != nullptr ? stream->nodeId() : SPA_ID_INVALID;
    };
    defaults.setStreams(idOf(capture_), idOf(playback_));
    followSource(context, defaults);
    followSink(context, defaults);
    applyCycles();
}

// The first stream is left to the session manager, which restores what was chosen for it earlier,
// and tells us. All others have a target: it would move them to the speaker's monitor sooner or
// later. For the same reason nothing is heard of a stream that is linked to a monitor.
void PipeWireStreams::followSource(pw_context* context, const PipeWireDefaults& defaults) {
    using Origin = PipeWireDefaults::Origin;
    const Origin origin =
        capture_ != nullptr ? defaults.originOf(capture_->nodeId()) : Origin::unlinked;
    if (capture_ != nullptr && capture_->target().isFree &&
        (capture_->hasFailed() || origin == Origin::monitor)) {
        capture_.reset();
    } else if (capture_ != nullptr && capture_->hasFailed()) {
        failedSource_ = {capture_->target().serial, Clock::now()};
    }
    const PipeWireDefaults::Device source = defaults.source();
    const bool captures = request_.capture && source.format.channelCount() > 0 &&
                          !failedSource_.matches(source.serial);
    const std::uint32_t channels = std::min(source.format.channelCount(), kGraphChannels);
    if (capture_ != nullptr && (!captures || capture_->target().serial != source.serial ||
                                capture_->channelCount() != channels)) {
        capture_.reset();
    }
    isInputLinked_ = capture_ != nullptr && origin == Origin::other;
    if (captures && capture_ == nullptr) {
        const bool isFree = std::exchange(mayRestore_, false) && !source.isChosen;
        capture_ = open(context, PipeWireStream::Kind::capture, channels, {source.serial, isFree});
    }
    cycles_.setInputHeard(isInputLinked_);
}

// It follows the default speaker together with the session manager, which restores what was chosen
// earlier and would forget that if we named the default speaker as a target.
void PipeWireStreams::followSink(pw_context* context, const PipeWireDefaults& defaults) {
    using Kind = PipeWireStream::Kind;
    if (playback_ != nullptr && playback_->hasFailed()) {
        failedSink_ = {playback_->target().serial, Clock::now()};
    }
    const PipeWireDefaults::Device sink = defaults.sink();
    const bool plays = !sink.serial.empty() && !failedSink_.matches(sink.serial);
    const Kind kind = drivesPlayback() ? Kind::triggeredPlayback : Kind::directPlayback;
    if (playback_ != nullptr &&
        (!plays || playback_->target().serial != sink.serial || playback_->kind() != kind)) {
        playback_.reset();
    }
    if (plays && playback_ == nullptr) {
        playback_ = open(context, kind, kGraphChannels, {sink.serial, !sink.isChosen});
    }
}

std::unique_ptr<PipeWireStream> PipeWireStreams::open(pw_context* context,
                                                      PipeWireStream::Kind kind,
                                                      std::uint32_t channelCount,
                                                      PipeWireStream::Target target) {
    return std::make_unique<PipeWireStream>(context, settings_, kind, channelCount,
                                            std::move(target), cycles_, changed_);
}

// The server keeps the last length that a stream has asked for: a stream that wants no short
// cycles any more asks for the server's own.
void PipeWireStreams::requestCycles(std::uint32_t frames, const PipeWireDefaults::Clock& server) {
    if (frames == 0 && cycleFrames_ == 0) {
        return;
    }
    cycleFrames_ = frames > 0 ? frames : server.quantum;
    cycleRate_ = frames > 0 ? settings_.renderRate : server.rate;
    applyCycles();
}

void PipeWireStreams::applyCycles() {
    for (PipeWireStream* const stream : {capture_.get(), playback_.get()}) {
        if (stream != nullptr && cycleFrames_ > 0) {
            stream->requestCycles(cycleFrames_, cycleRate_);
        }
    }
}

// Whether the capture stream triggers the playback stream. A capture stream that the session
// manager does not link must not keep the loops from being heard.
bool PipeWireStreams::drivesPlayback() const {
    return capture_ != nullptr &&
           (isHeard() || Clock::now() < capture_->openedAt() + kCaptureGrace);
}

bool PipeWireStreams::isHeard() const {
    return isInputLinked_ && capture_->isRunning();
}

bool PipeWireStreams::decideCycles() const {
    return (capture_ != nullptr && !capture_->isLatencySet()) ||
           (playback_ != nullptr && !playback_->isLatencySet());
}

bool PipeWireStreams::isPollNeeded() const {
    const bool captureStarts = capture_ != nullptr && !isHeard() && drivesPlayback();
    return captureStarts || !failedSource_.serial.empty() || !failedSink_.serial.empty();
}

} // namespace tessivo::sound
