#include "Platform/Sound/AudioEngine.h"

#include "Platform/Sound/AudioError.h"
#include "Platform/Sound/Decode/ReaderThread.h"

#include <cmath>
#include <utility>

namespace tessivo::sound {

AudioEngine::AudioEngine(std::unique_ptr<AudioDevice> device, MainExecutor mainExecutor,
                         DiagnosticSink diagnostics)
    : device_(std::move(device))
    , mainExecutor_(std::move(mainExecutor))
    , diagnostics_(std::move(diagnostics))
    , alive_(std::make_shared<AudioEngine*>(this))
    , formats_(device_->formats())
    , renderRate_(formats_.renderRate)
    , capture_(timeline_, diagnostics_, [this] {
        updatePlan();
        plans_.waitForCallback();
    }) {
    for (AudioNode* node :
         {static_cast<AudioNode*>(&input_), static_cast<AudioNode*>(mainMixer_.get()),
          static_cast<AudioNode*>(&output_)}) {
        node->host_ = this;
    }
    connections_[mainMixer_.get()] = &output_;
    AudioEngine::updatePlan();
    capture_.setFormats(formats_.input, renderRate_);
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
    capture_.removeTap({});
    capture_.release();
    capture_.setMeter(0, {});
    stop();
    // The thread ends before what it uses, and the last notices come.
    readerThread_.reset();
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
    inputUseChanged();
}

bool AudioEngine::isConnected(const AudioNode& node) const {
    return connections_.contains(const_cast<AudioNode*>(&node));
}

void AudioEngine::start() {
    if (running_) {
        return;
    }
    capturing_ = usesInput();
    timeline_.forgetClock();
    lastCommand_.reset();
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
    renderRate_ = renderRate;
    updatePlan();
    capture_.setFormats(formats_.input, renderRate_);
}

bool AudioEngine::usesInput() const {
    return isConnected(input_) || capture_.isUsed();
}

// An engine that started while nobody used the input opened no capture stream.
void AudioEngine::inputUseChanged() {
    if (running_ && !capturing_ && usesInput()) {
        device_->stop();
        timeline_.forgetClock();
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
            capture_.overrunFrames(), timeline_.losses(), timeline_.next()};
}

bool AudioEngine::isReading() const {
    return readerThread_ && readerThread_->isDecoding();
}

ReaderThread& AudioEngine::readerThread() {
    if (!readerThread_) {
        readerThread_ = std::make_unique<ReaderThread>(output_.limit(), diagnostics_);
    }
    return *readerThread_;
}

// A moment that is asked for again keeps its frames, however the clock has been corrected since:
// what is heard of a take and what is in its file are of the same length.
CommandFrames AudioEngine::framesOf(Moment moment) {
    if (!lastCommand_ || lastCommand_->moment != moment) {
        const auto latency = [this](double seconds) {
            return std::llround(seconds * renderRate_);
        };
        CommandFrames frames;
        if (const auto position = timeline_.positionAt(moment, renderRate_)) {
            frames = {*position + latency(device_->inputLatency()),
                      *position - latency(device_->outputLatency())};
        } else {
            frames = {timeline_.next(), timeline_.next()};
        }
        lastCommand_ = {moment, frames};
    }
    return lastCommand_->frames;
}

void AudioEngine::devicesChanged() {
    formats_ = device_->formats();
    if (!running_) {
        followRate(formats_.renderRate);
    }
    capture_.setFormats(formats_.input, renderRate_);
    if (configurationChangeHandler_) {
        configurationChangeHandler_();
    }
}

void AudioEngine::updatePlan() {
    PlanBuilder builder(connections_, running_);
    plans_.replace(builder.build(output_, capture_.targets(), renderRate_));
}

void AudioEngine::render(const RenderCycle& cycle) TESSIVO_REALTIME {
    const std::int64_t position = timeline_.beginCycle(cycle);
    plans_.enter().render(cycle, position);
    plans_.leave();
}

} // namespace tessivo::sound
