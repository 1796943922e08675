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

std::string uniqueGroup(const std::string& applicationName) {
    static std::atomic<unsigned> count{0};
    return applicationName + "-" + std::to_string(getpid()) + "-" + std::to_string(++count);
}

} // namespace

void PipeWireStreams::FailedDevice::expire() {
    if (Clock::now() >= since + kRetryTime) {
        serial.clear();
    }
}

PipeWireStreams::PipeWireStreams(const std::string& applicationName, PipeWireCycles& cycles,
                                 std::function<void()> changed)
    : settings_{applicationName, uniqueGroup(applicationName)}
    , cycles_(cycles)
    , changed_(std::move(changed)) {}

void PipeWireStreams::start(double renderRate, const AudioDevice::Request& request) {
    settings_.renderRate = renderRate;
    request_ = request;
}

void PipeWireStreams::close() {
    capture_.reset();
    playback_.reset();
    cycleFrames_ = 0;
    // Their streams may have felt the server's end first, and the next server counts its devices
    // from the same number.
    failedSource_ = {};
    failedSink_ = {};
}

void PipeWireStreams::follow(pw_context* context, const PipeWireDefaults& defaults) {
    using Kind = PipeWireStream::Kind;
    failedSource_.expire();
    failedSink_.expire();
    if (capture_ != nullptr && capture_->hasFailed()) {
        failedSource_ = {capture_->target(), Clock::now()};
    }
    if (playback_ != nullptr && playback_->hasFailed()) {
        failedSink_ = {playback_->target(), Clock::now()};
    }
    const PipeWireDefaults::Device source = defaults.source();
    const PipeWireDefaults::Device sink = defaults.sink();
    const bool captures = request_.capture && source.format.channelCount() > 0 &&
                          !failedSource_.matches(source.serial);
    const bool plays = !sink.serial.empty() && !failedSink_.matches(sink.serial);
    const std::uint32_t channels = std::min(source.format.channelCount(), kGraphChannels);
    const auto open = [&](Kind kind, std::uint32_t channelCount, const std::string& target) {
        return std::make_unique<PipeWireStream>(context, settings_, kind, channelCount, target,
                                                cycles_, changed_);
    };

    if (capture_ != nullptr && (!captures || capture_->target() != source.serial ||
                                capture_->channelCount() != channels)) {
        capture_.reset();
    }
    if (captures && capture_ == nullptr) {
        capture_ = open(Kind::capture, channels, source.serial);
    }
    const Kind kind = drivesPlayback() ? Kind::triggeredPlayback : Kind::directPlayback;
    if (playback_ != nullptr &&
        (!plays || playback_->target() != sink.serial || playback_->kind() != kind)) {
        playback_.reset();
    }
    if (plays && playback_ == nullptr) {
        playback_ = open(kind, kGraphChannels, sink.serial);
    }
    applyCycles();
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
           (capture_->isRunning() || Clock::now() < capture_->openedAt() + kCaptureGrace);
}

bool PipeWireStreams::decideCycles() const {
    return (capture_ != nullptr && !capture_->isLatencySet()) ||
           (playback_ != nullptr && !playback_->isLatencySet());
}

bool PipeWireStreams::isPollNeeded() const {
    const bool captureStarts = capture_ != nullptr && !capture_->isRunning() && drivesPlayback();
    return captureStarts || !failedSource_.serial.empty() || !failedSink_.serial.empty();
}

} // namespace tessivo::sound
