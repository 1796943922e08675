#include "Platform/Sound/AudioEngine.h"

#include "Platform/Sound/AudioError.h"
#include "Platform/Sound/Decode/ReaderThread.h"
#include "Platform/Sound/Limits.h"

#include <algorithm>
#include <utility>

namespace tessivo::sound {

AudioEngine::AudioEngine(std::unique_ptr<AudioDevice> device, MainExecutor mainExecutor,
                         DiagnosticSink diagnostics)
    : device_(std::move(device))
    , mainExecutor_(std::move(mainExecutor))
    , diagnostics_(std::move(diagnostics))
    , alive_(std::make_shared<AudioEngine*>(this))
    , formats_(device_->formats())
    , renderRate_(formats_.renderRate) {
    for (AudioNode* node :
         {static_cast<AudioNode*>(&input_), static_cast<AudioNode*>(mainMixer_.get()),
          static_cast<AudioNode*>(&output_)}) {
        node->host_ = this;
    }
    connections_[mainMixer_.get()] = &output_;
    AudioEngine::updatePlan();
    device_->setChangeHandler([executor = mainExecutor_, weak = std::weak_ptr(alive_)] {
        executor([weak] {
            if (const auto engine = weak.lock()) {
                (*engine)->devicesChanged();
            }
        });
    });
}

AudioEngine::~AudioEngine() {
    device_->setChangeHandler({});
    AudioEngine::removeTap();
    stop();
    // The threads end before what they use, and the last notices come.
    readerThread_.reset();
    tapThread_.reset();
    for (const auto& node : attached_) {
        node->host_ = nullptr;
    }
    mainMixer_->host_ = nullptr;
}

void AudioEngine::attach(std::shared_ptr<AudioNode> node) {
    if (node->isAttached()) {
        throw AudioError("The node is attached already");
    }
    node->host_ = this;
    attached_.push_back(std::move(node));
}

void AudioEngine::detach(AudioNode& node) {
    connections_.erase(&node);
    std::erase_if(connections_, [&](const auto& entry) { return entry.second == &node; });
    updatePlan();
    node.host_ = nullptr;
    std::erase_if(attached_, [&](const auto& other) { return other.get() == &node; });
}

void AudioEngine::connect(AudioNode& from, AudioNode& to) {
    if (from.host_ != this || to.host_ != this || !to.takesConnections() || &from == &to) {
        throw AudioError("These nodes cannot be connected");
    }
    connections_[&from] = &to;
    updatePlan();
    captureIfUsed();
}

bool AudioEngine::isConnected(const AudioNode& node) const {
    return connections_.contains(const_cast<AudioNode*>(&node));
}

void AudioEngine::start() {
    if (running_) {
        return;
    }
    capturing_ = usesInput();
    device_->start(*this, {capturing_});
    running_ = true;
    // A server that came only now may run at another rate than was expected before.
    followRate(device_->formats().renderRate);
}

// Ramps, the tap's queue and whatever a node derives from the rate are made anew for it.
void AudioEngine::followRate(double renderRate) {
    if (renderRate == renderRate_) {
        return;
    }
    stopTap();
    renderRate_ = renderRate;
    startTap();
    updatePlan();
}

bool AudioEngine::usesInput() const {
    return isConnected(input_) || tap_.has_value();
}

// An engine that started while nobody used the input opened no capture stream.
void AudioEngine::captureIfUsed() {
    if (running_ && !capturing_ && usesInput()) {
        device_->stop();
        device_->start(*this, {true});
        capturing_ = true;
    }
}

void AudioEngine::stop() {
    if (!running_) {
        return;
    }
    device_->stop();
    running_ = false;
    updatePlan();
}

void AudioEngine::setConfigurationChangeHandler(std::function<void()> handler) {
    configurationChangeHandler_ = std::move(handler);
}

AudioEngine::Statistics AudioEngine::statistics() const {
    return {readerThread_ ? readerThread_->underruns()->load(std::memory_order_relaxed) : 0,
            earlierOverruns_ + (tap_ && tap_->queue ? tap_->queue->overrunFrames() : 0)};
}

ReaderThread& AudioEngine::readerThread() {
    if (!readerThread_) {
        readerThread_ = std::make_unique<ReaderThread>(diagnostics_);
    }
    return *readerThread_;
}

void AudioEngine::installTap(std::uint32_t bufferSize, const AudioFormat& format,
                             TapHandler block) {
    removeTap();
    tap_ = InstalledTap{bufferSize, format, std::move(block), nullptr};
    startTap();
    updatePlan();
    captureIfUsed();
}

void AudioEngine::removeTap() {
    stopTap();
    tap_.reset();
}

void AudioEngine::startTap() {
    // A device that names no rate is as good as none.
    if (!tap_ || !AudioFormat::standard(tap_->format.sampleRate(), tap_->format.channelCount())) {
        return;
    }
    const auto channels = std::min(tap_->format.channelCount(), kGraphChannels);
    const AudioFormat format(tap_->format.sampleRate(), channels);
    if (!tapThread_) {
        tapThread_ = std::make_unique<TapThread>(diagnostics_);
    }
    tap_->queue = std::make_shared<TapQueue>(channels, renderRate_);
    tapThread_->install(tap_->queue, renderRate_, tap_->bufferSize, format, tap_->block);
}

// The block has all frames when the callback has left the plan that fills the queue and the
// tap thread has emptied it.
void AudioEngine::stopTap() {
    if (!tap_ || !tap_->queue) {
        return;
    }
    const auto queue = std::exchange(tap_->queue, nullptr);
    updatePlan();
    plans_.waitForCallback();
    tapThread_->remove();
    earlierOverruns_ += queue->overrunFrames();
}

void AudioEngine::devicesChanged() {
    formats_ = device_->formats();
    if (!running_) {
        followRate(formats_.renderRate);
    }
    // A tap that was installed while there was no input begins with the first one.
    if (tap_ && tap_->format.channelCount() == 0 && formats_.input.channelCount() > 0) {
        tap_->format = input_.outputFormat();
        startTap();
        updatePlan();
    }
    if (configurationChangeHandler_) {
        configurationChangeHandler_();
    }
}

void AudioEngine::updatePlan() {
    PlanBuilder builder(connections_, running_);
    plans_.replace(builder.build(output_, tap_ ? tap_->queue : nullptr, renderRate_));
}

void AudioEngine::render(const RenderCycle& cycle) TESSIVO_REALTIME {
    plans_.enter().render(cycle);
    plans_.leave();
}

} // namespace tessivo::sound
