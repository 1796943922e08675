#include "Platform/Sound/Tap/InputCapture.h"

#include "Platform/Sound/Limits.h"

#include <algorithm>
#include <utility>

namespace tessivo::sound {

namespace {

// How long the end of a take waits for frames of a server that may have fallen silent, beside
// the time after which they are due: this, and two cycles.
constexpr double kPatience = 0.1; // seconds

bool hasChannels(const AudioFormat& format) {
    return AudioFormat::standard(format.sampleRate(), format.channelCount()).has_value();
}

} // namespace

InputCapture::InputCapture(const Timeline& timeline, DiagnosticSink diagnostics,
                           std::function<void()> follow)
    : timeline_(timeline)
    , diagnostics_(std::move(diagnostics))
    , follow_(std::move(follow)) {}

InputCapture::~InputCapture() = default;

bool InputCapture::hasInput() const {
    return hasChannels(input_);
}

void InputCapture::setFormats(const AudioFormat& input, double renderRate) {
    input_ = input;
    if (renderRate != renderRate_) {
        const bool running = tap_ && tap_->running;
        stopTap({});
        stopThread();
        renderRate_ = renderRate;
        held_.reset();
        if (running) {
            tap_->begin.reset();
            startTap();
        }
    }
    if (tap_ && !tap_->running && hasInput()) {
        tap_->format = AudioFormat(input.sampleRate(), input.channelCount());
        startTap();
    }
    if (meter_.block && !thread_ && hasInput()) {
        startThread();
    }
}

std::int64_t InputCapture::overrunFrames() const {
    return earlierOverruns_ + (thread_ ? thread_->queue()->overrunFrames() : 0);
}

void InputCapture::startThread() {
    if (thread_) {
        return;
    }
    targets_.queue = std::make_shared<TapQueue>(renderRate_);
    follow_();
    queueBegin_ = timeline_.next();
    thread_ = std::make_unique<TapThread>(targets_.queue, renderRate_, timeline_, diagnostics_);
    thread_->setMeter(meter_.bufferSize, meter_.block);
}

// What was captured at that position, or the oldest that is still there.
std::int64_t InputCapture::kept(std::int64_t position) const {
    const auto history = static_cast<std::int64_t>(kTapHistorySeconds * renderRate_);
    return std::max({position, timeline_.next() - history, queueBegin_});
}

void InputCapture::stopThread() {
    if (!thread_) {
        return;
    }
    earlierOverruns_ += thread_->queue()->overrunFrames();
    targets_ = {};
    follow_();
    thread_.reset();
}

void InputCapture::stopThreadIfUnused() {
    if (!isUsed()) {
        stopThread();
    }
}

void InputCapture::installTap(std::uint32_t bufferSize, const AudioFormat& format, TapHandler block,
                              std::optional<std::int64_t> begin) {
    tap_ = InstalledTap{bufferSize, format, std::move(block), begin};
    if (hasChannels(format)) {
        startTap();
    }
    held_.reset();
}

void InputCapture::startTap() {
    startThread();
    const std::int64_t begin = held_ ? *held_ : kept(tap_->begin.value_or(timeline_.next()));
    const auto channels = std::min(tap_->format.channelCount(), kGraphChannels);
    targets_.head = std::make_shared<TakeHead>(begin, renderRate_, channels == 1);
    follow_();
    thread_->install({begin, tap_->bufferSize, AudioFormat(tap_->format.sampleRate(), channels),
                      tap_->block, targets_.head});
    tap_->running = true;
}

std::optional<std::int64_t> InputCapture::removeTap(std::optional<std::int64_t> end) {
    const auto length = stopTap(end);
    tap_.reset();
    stopThreadIfUnused();
    return length;
}

std::optional<std::int64_t> InputCapture::stopTap(std::optional<std::int64_t> end) {
    if (!tap_ || !std::exchange(tap_->running, false)) {
        return std::nullopt;
    }
    const std::int64_t next = timeline_.next();
    const std::int64_t last = std::max(end.value_or(next), targets_.head->begin());
    const double frames = 2.0 * timeline_.cycleFrames() + static_cast<double>(last - next);
    const auto length =
        thread_->remove(last, std::chrono::duration<double>(frames / renderRate_ + kPatience));
    targets_.head = nullptr;
    follow_();
    return length;
}

void InputCapture::hold(std::int64_t since) {
    startThread();
    // What is held already is there, however long ago it was. The same moment may count as a frame
    // less now: the clocks drift.
    held_ = held_ ? std::max(*held_, since) : kept(since);
    thread_->hold(*held_);
}

void InputCapture::release() {
    held_.reset();
    if (thread_) {
        thread_->release();
    }
    stopThreadIfUnused();
}

void InputCapture::setMeter(std::uint32_t bufferSize, MeterBlock block) {
    meter_ = {bufferSize, std::move(block)};
    if (thread_) {
        thread_->setMeter(bufferSize, meter_.block);
    } else if (meter_.block && hasInput()) {
        startThread();
    }
    stopThreadIfUnused();
}

} // namespace tessivo::sound
