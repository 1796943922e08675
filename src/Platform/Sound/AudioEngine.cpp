#include "Platform/Sound/AudioEngineImpl.h"

#include "Platform/Sound/AudioError.h"

#include <algorithm>
#include <cmath>
#include <thread>
#include <utility>

namespace tessivo::sound {

AudioEngine::AudioEngine(std::unique_ptr<AudioDevice> device, MainExecutor mainExecutor,
                         DiagnosticSink diagnostics)
    : impl_(std::make_unique<Impl>(*this, std::move(device), std::move(mainExecutor),
                                   std::move(diagnostics))) {}

AudioEngine::~AudioEngine() = default;

InputNode& AudioEngine::inputNode() {
    return impl_->input;
}
const std::shared_ptr<MixerNode>& AudioEngine::mainMixerNode() {
    return impl_->mainMixer;
}
OutputNode& AudioEngine::outputNode() {
    return impl_->output;
}
void AudioEngine::attach(std::shared_ptr<AudioNode> node) {
    impl_->attach(std::move(node));
}
void AudioEngine::detach(AudioNode& node) {
    impl_->detach(node);
}
void AudioEngine::connect(AudioNode& from, AudioNode& to, std::optional<AudioFormat> format) {
    impl_->connect(from, to, format);
}
void AudioEngine::start() {
    impl_->start();
}
void AudioEngine::stop() {
    impl_->stop();
}
bool AudioEngine::isRunning() const {
    return impl_->running;
}
void AudioEngine::setConfigurationChangeHandler(std::function<void()> handler) {
    impl_->configurationChangeHandler = std::move(handler);
}
AudioEngine::Statistics AudioEngine::statistics() const {
    return {impl_->starvedFrames->load(std::memory_order_relaxed), impl_->lostTapFrames()};
}

AudioEngine::Impl::Impl(AudioEngine& owner, std::unique_ptr<AudioDevice> device,
                        MainExecutor mainExecutor, DiagnosticSink diagnostics)
    : mainMixer(std::make_shared<MixerNode>())
    , device_(std::move(device))
    , mainExecutor_(std::move(mainExecutor))
    , diagnostics_(std::move(diagnostics))
    , alive_(std::make_shared<Impl*>(this))
    , formats_(device_->formats())
    , renderRate_(formats_.renderRate) {
    input.engine_ = &owner;
    output.engine_ = &owner;
    mainMixer->engine_ = &owner;
    publish();
    device_->setChangeHandler([executor = mainExecutor_, weak = std::weak_ptr(alive_)] {
        executor([weak] {
            if (const auto impl = weak.lock()) {
                (*impl)->devicesChanged();
            }
        });
    });
}

AudioEngine::Impl::~Impl() {
    device_->setChangeHandler({});
    removeTap();
    stop();
    // The threads end before what they use; notices still owed fire on the way.
    readerThread_.reset();
    tapThread_.reset();
    for (const auto& node : attached_) {
        node->engine_ = nullptr;
    }
    mainMixer->engine_ = nullptr;
}

void AudioEngine::Impl::attach(std::shared_ptr<AudioNode> node) {
    if (node->engine_ != nullptr) {
        throw AudioError("The node is attached already");
    }
    node->engine_ = input.engine_;
    attached_.push_back(std::move(node));
}

void AudioEngine::Impl::detach(AudioNode& node) {
    connections_.erase(&node);
    std::erase_if(connections_, [&](const auto& entry) { return entry.second.to == &node; });
    publish();
    node.engine_ = nullptr;
    std::erase_if(attached_, [&](const auto& other) { return other.get() == &node; });
}

void AudioEngine::Impl::connect(AudioNode& from, AudioNode& to, std::optional<AudioFormat> format) {
    if (from.engine_ != input.engine_ || to.engine_ != input.engine_ ||
        dynamic_cast<MixerNode*>(&to) == nullptr || &from == &to) {
        throw AudioError("These nodes cannot be connected");
    }
    connections_[&from] = {&to, format.value_or(AudioFormat(renderRate_, kGraphChannels))};
    publish();
    captureIfUsed();
}

void AudioEngine::Impl::start() {
    if (running) {
        return;
    }
    capturing_ = usesInput();
    device_->start(*this, {capturing_});
    running = true;
    // A server that came only now may run at another rate than was expected before.
    if (const double rate = device_->formats().renderRate; rate != renderRate_) {
        stopTap();
        renderRate_ = rate;
        startTap();
        publish();
    }
}

bool AudioEngine::Impl::usesInput() const {
    return connections_.contains(const_cast<InputNode*>(&input)) || tap_.has_value();
}

// An engine that started without anybody listening to the input opened no capture stream.
void AudioEngine::Impl::captureIfUsed() {
    if (running && !capturing_ && usesInput()) {
        device_->stop();
        device_->start(*this, {true});
        capturing_ = true;
    }
}

void AudioEngine::Impl::stop() {
    if (!running) {
        return;
    }
    device_->stop();
    running = false;
    publish();
}

AudioFormat AudioEngine::Impl::inputConnectionFormat() const {
    if (!connections_.contains(const_cast<InputNode*>(&input))) {
        return formats_.input;
    }
    return {formats_.input.sampleRate(), std::min(formats_.input.channelCount(), kGraphChannels)};
}

void AudioEngine::Impl::installTap(std::uint32_t bufferSize, const AudioFormat& format,
                                   TapBlock block) {
    removeTap();
    tap_ = InstalledTap{bufferSize, format, std::move(block), nullptr};
    startTap();
    publish();
    captureIfUsed();
}

void AudioEngine::Impl::removeTap() {
    stopTap();
    tap_.reset();
}

void AudioEngine::Impl::startTap() {
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

void AudioEngine::Impl::stopTap() {
    if (!tap_ || !tap_->queue) {
        return;
    }
    const auto queue = std::exchange(tap_->queue, nullptr);
    publish();
    waitUntilCallbackFollowsLivePlan();
    tapThread_->remove();
    lostByEarlierTaps_ += queue->lostFrames();
}

std::int64_t AudioEngine::Impl::lostTapFrames() const {
    return lostByEarlierTaps_ + (tap_ && tap_->queue ? tap_->queue->lostFrames() : 0);
}

std::shared_ptr<PlayerStream> AudioEngine::Impl::makeStream() {
    auto stream = std::make_shared<PlayerStream>(
        renderRate_, [this] { return device_->outputLatency(); }, starvedFrames);
    reader().add(stream);
    return stream;
}

ReaderThread& AudioEngine::Impl::reader() {
    if (!readerThread_) {
        readerThread_ = std::make_unique<ReaderThread>([this] { reportStarvation(); });
    }
    return *readerThread_;
}

void AudioEngine::Impl::reportStarvation() {
    const auto starved = starvedFrames->load(std::memory_order_relaxed);
    if (starved > reportedStarvation_ && diagnostics_) {
        diagnostics_("Playback was short of " + std::to_string(starved - reportedStarvation_) +
                     " frames: the disk did not deliver in time");
    }
    reportedStarvation_ = starved;
}

void AudioEngine::Impl::devicesChanged() {
    formats_ = device_->formats();
    if (!running) {
        renderRate_ = formats_.renderRate;
    }
    // A tap that was installed while there was no input begins with the first one.
    if (tap_ && tap_->format.channelCount() == 0 && formats_.input.channelCount() > 0) {
        tap_->format = inputConnectionFormat();
        startTap();
        publish();
    }
    if (configurationChangeHandler) {
        configurationChangeHandler();
    }
}

// Steps come in the order of a walk from the sources to the main mixer; returns the index of
// the node's own step.
std::size_t AudioEngine::Impl::compile(AudioNode& node,
                                       std::vector<RenderPlan::Step>& steps) const {
    if (auto* player = dynamic_cast<PlayerNode*>(&node)) {
        RenderPlan::Player step{player->unit_, {}};
        std::erase_if(player->fading_,
                      [&](const auto& stream) { return !running || stream->isFinished(); });
        step.streams = player->fading_;
        if (player->stream_ && player->playing_) {
            step.streams.push_back(player->stream_);
        }
        steps.emplace_back(std::move(step));
    } else if (auto* mixer = dynamic_cast<MixerNode*>(&node)) {
        RenderPlan::Mixer step{mixer->unit_, {}};
        for (const auto& [from, connection] : connections_) {
            if (connection.to == mixer) {
                step.sources.push_back(compile(*from, steps));
            }
        }
        steps.emplace_back(std::move(step));
    } else {
        steps.emplace_back(RenderPlan::Input{});
    }
    return steps.size() - 1;
}

std::unique_ptr<RenderPlan> AudioEngine::Impl::compile() const {
    std::vector<RenderPlan::Step> steps;
    compile(*mainMixer, steps);
    const auto rampFrames =
        std::max(1U, static_cast<std::uint32_t>(std::lround(kRampSeconds * renderRate_)));
    return std::make_unique<RenderPlan>(std::move(steps), tap_ ? tap_->queue : nullptr, rampFrames);
}

void AudioEngine::Impl::publish() {
    swapPlan(compile());
}

void AudioEngine::Impl::swapPlan(std::unique_ptr<RenderPlan> plan) {
    live_.store(plan.get());
    if (livePlan_) {
        retired_.push_back(std::move(livePlan_));
    }
    livePlan_ = std::move(plan);
    freeRetiredPlans();
}

void AudioEngine::Impl::freeRetiredPlans() {
    const RenderPlan* inUse = inUse_.load();
    std::erase_if(retired_, [&](const auto& plan) { return plan.get() != inUse; });
}

void AudioEngine::Impl::waitUntilCallbackFollowsLivePlan() const {
    // One cycle's work at the most: far below a millisecond.
    for (const RenderPlan* plan = inUse_.load(); plan != nullptr && plan != livePlan_.get();
         plan = inUse_.load()) {
        std::this_thread::sleep_for(std::chrono::microseconds(50));
    }
}

void AudioEngine::Impl::render(const RenderCycle& cycle) TESSIVO_REALTIME {
    // Says which plan it is in, then looks again: a plan that was retired in between may be
    // gone, one that is still live afterwards cannot be freed before this cycle ends.
    RenderPlan* plan = live_.load();
    for (;;) {
        inUse_.store(plan);
        RenderPlan* again = live_.load();
        if (again == plan) {
            break;
        }
        plan = again;
    }
    for (std::uint32_t offset = 0; offset < cycle.frames; offset += kMaxRenderFrames) {
        plan->render(cycle, offset, std::min(kMaxRenderFrames, cycle.frames - offset));
    }
    inUse_.store(nullptr);
}

} // namespace tessivo::sound
