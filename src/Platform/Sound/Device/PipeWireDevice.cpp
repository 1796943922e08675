#include "Platform/Sound/Device/PipeWireDevice.h"

#include "Platform/Sound/AudioError.h"
#include "Platform/Sound/Device/PipeWireConnection.h"
#include "Platform/Sound/Device/PipeWireCycles.h"
#include "Platform/Sound/Device/PipeWireStream.h"

#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <chrono>
#include <mutex>
#include <optional>
#include <system_error>
#include <utility>

namespace tessivo::sound {

namespace {

using Clock = std::chrono::steady_clock;
using namespace std::chrono_literals;

constexpr double kRateWithoutServer = 48000.0;

// How long the server's first answers are waited for.
constexpr auto kAnswerTime = 1s;
// How often things are looked at that will not announce themselves.
constexpr auto kLookInterval = 100ms;
// How long a session manager that is there may take to name the default devices.
constexpr auto kNamesTime = 300ms;
// How long a capture stream may take to run before playback does without it.
constexpr auto kCaptureGrace = 300ms;
// After a restart the devices come back one by one; one that is missing for less than this
// is not reported as gone.
constexpr auto kReturnTime = 5s;
// A device that did not work is tried again after this, or as soon as it is another one.
constexpr auto kRetryTime = 30s;
std::string uniqueGroup(const std::string& applicationName) {
    static std::atomic<unsigned> count{0};
    return applicationName + "-" + std::to_string(getpid()) + "-" + std::to_string(++count);
}

// Another device is a change even when its format is the same. One that comes or goes
// changes the formats.
bool exchangeDevice(std::string& known, const std::string& now) {
    const std::string before = std::exchange(known, now);
    return !before.empty() && !now.empty() && before != now;
}

// A device whose stream failed; it is left alone for a while.
struct BrokenDevice {
    std::string serial;
    Clock::time_point since;

    bool matches(const std::string& other) const { return !serial.empty() && serial == other; }
    void forgetInTime() {
        if (Clock::now() >= since + kRetryTime) {
            serial.clear();
        }
    }
};

} // namespace

// Everything that is not said to be otherwise is touched with the loop locked only.
class PipeWireDevice::Impl {
public:
    Impl(std::string applicationName, Connect when);
    ~Impl();
    Impl(const Impl&) = delete;
    Impl& operator=(const Impl&) = delete;

    Formats formats() const; // any thread
    void start(AudioRenderer& renderer, const Request& request);
    void stop();
    double outputLatency() const { return cycles_.outputLatency(); } // any thread
    void setChangeHandler(std::function<void()> handler);            // not from the handler

private:
    static void onEvent(void* data, std::uint64_t count);
    static void onTimer(void* data, std::uint64_t expirations);

    void connect();
    void disconnect();
    bool awaitAnswers();
    void attend();
    void settle();
    void askForNames();
    bool publish();
    void notify();
    void reconcile();
    bool drivesPlayback() const;
    void closeStreams();
    void scheduleNextLook();
    std::unique_ptr<PipeWireStream> openStream(PipeWireStream::Kind kind, std::uint32_t channels,
                                               const std::string& target);

    std::string applicationName_;
    std::string group_;
    PipeWireCycles cycles_; // made before and freed after the thread that runs its callbacks

    mutable std::mutex formatsMutex_;
    Formats published_{{}, {}, kRateWithoutServer}; // written with the loop locked as well

    std::mutex handlerMutex_; // held while the handler runs
    std::function<void()> handler_;

    pipewire::Owner<pw_thread_loop> loop_;
    pipewire::Owner<pw_context> context_;
    pipewire::LoopSource event_;
    pipewire::LoopSource timer_;
    Clock::duration timerInterval_{0};
    std::unique_ptr<PipeWireConnection> connection_;
    std::string inputSerial_; // the default devices as last published
    std::string outputSerial_;
    bool reconnects_ = false; // there has been a server; when it goes, it is looked for
    std::optional<Clock::time_point> returnDeadline_;
    std::optional<Clock::time_point> askNamesAt_;

    bool started_ = false;
    Request request_;
    double renderRate_ = kRateWithoutServer; // of the running streams
    std::unique_ptr<PipeWireStream> playback_;
    std::unique_ptr<PipeWireStream> capture_;
    BrokenDevice brokenSource_;
    BrokenDevice brokenSink_;
};

PipeWireDevice::Impl::Impl(std::string applicationName, Connect when)
    : applicationName_(std::move(applicationName))
    , group_(uniqueGroup(applicationName_)) {
    static const bool initialised = (pw_init(nullptr, nullptr), true);
    loop_.reset(initialised ? pw_thread_loop_new("tessivo-sound", nullptr) : nullptr);
    if (loop_ == nullptr) {
        return;
    }
    pw_loop* const loop = pw_thread_loop_get_loop(loop_.get());
    // The configuration that gives the audio thread its priority.
    context_.reset(
        pw_context_new(loop, pw_properties_new(PW_KEY_CONFIG_NAME, "client-rt.conf", nullptr), 0));
    event_ = pipewire::LoopSource(loop, pipewire::addEvent(loop, onEvent, this));
    timer_ = pipewire::LoopSource(loop, pipewire::addTimer(loop, onTimer, this));
    if (context_ == nullptr || !event_ || !timer_ || pw_thread_loop_start(loop_.get()) < 0) {
        context_.reset();
        return;
    }
    if (when == Connect::atStart) {
        return;
    }
    pipewire::withLoop(loop_.get(), [this] {
        try {
            connect();
        } catch (const AudioError&) {
            return; // start() says so, if it is still true then
        }
        if (awaitAnswers()) {
            publish();
        }
    });
}

PipeWireDevice::Impl::~Impl() {
    setChangeHandler({});
    stop();
    if (loop_ != nullptr) {
        pw_thread_loop_stop(loop_.get());
    }
}

AudioDevice::Formats PipeWireDevice::Impl::formats() const {
    const std::scoped_lock lock(formatsMutex_);
    return published_;
}

void PipeWireDevice::Impl::start(AudioRenderer& renderer, const Request& request) {
    stop();
    if (context_ == nullptr) {
        throw AudioError("The sound system's client library could not be set up.");
    }
    pipewire::withLoop(loop_.get(), [&] {
        if (connection_ == nullptr || connection_->isLost()) {
            disconnect();
            connect();
        }
        if (!awaitAnswers()) {
            throw AudioError("The sound server does not answer: " +
                             std::system_category().message(ETIMEDOUT) + ".");
        }
        const bool changed = publish();
        renderRate_ = published_.renderRate;
        request_ = request;
        brokenSource_ = {};
        brokenSink_ = {};
        started_ = true;
        cycles_.start(renderer, renderRate_);
        reconcile();
        scheduleNextLook();
        if (changed) {
            // Told on our own thread, as every change.
            event_.signal();
        }
    });
}

void PipeWireDevice::Impl::stop() {
    if (loop_ == nullptr) {
        return;
    }
    pipewire::withLoop(loop_.get(), [this] {
        started_ = false;
        cycles_.stop();
        closeStreams();
    });
}

void PipeWireDevice::Impl::setChangeHandler(std::function<void()> handler) {
    const std::scoped_lock lock(handlerMutex_);
    handler_ = std::move(handler);
}

// Streams and connections must not be destroyed in their own callbacks, and one event often
// comes with others: they all only ask for a look at the whole, soon.
void PipeWireDevice::Impl::attend() {
    event_.signal();
    pw_thread_loop_signal(loop_.get(), false);
}

void PipeWireDevice::Impl::onEvent(void* data, std::uint64_t /*count*/) {
    static_cast<Impl*>(data)->settle();
}

void PipeWireDevice::Impl::onTimer(void* data, std::uint64_t /*expirations*/) {
    static_cast<Impl*>(data)->settle();
}

void PipeWireDevice::Impl::connect() {
    // A server that came back gives its devices new numbers; that is no change.
    inputSerial_.clear();
    outputSerial_.clear();
    connection_ = std::make_unique<PipeWireConnection>(
        context_.get(), applicationName_, [this] { attend(); }, [this] { attend(); });
}

void PipeWireDevice::Impl::disconnect() {
    closeStreams();
    connection_.reset();
}

bool PipeWireDevice::Impl::awaitAnswers() {
    timespec deadline{};
    pw_thread_loop_get_time(loop_.get(), &deadline, std::chrono::nanoseconds(kAnswerTime).count());
    while (connection_ != nullptr && !connection_->isLost() && !connection_->hasAnswered()) {
        if (pw_thread_loop_timed_wait_full(loop_.get(), &deadline) != 0) {
            return false;
        }
    }
    return connection_ != nullptr && !connection_->isLost();
}

void PipeWireDevice::Impl::settle() {
    if (connection_ != nullptr && connection_->isLost()) {
        disconnect();
    }
    if (connection_ == nullptr && reconnects_) {
        try {
            connect();
            returnDeadline_ = Clock::now() + kReturnTime;
        } catch (const AudioError&) {
            // Still away; the timer comes again.
        }
    }
    askForNames();
    const bool changed = publish();
    reconcile();
    scheduleNextLook();
    if (changed) {
        notify();
    }
}

// A session manager that has only just started gets the time to tell by itself.
void PipeWireDevice::Impl::askForNames() {
    if (connection_ == nullptr || !connection_->hasAnswered() ||
        !connection_->defaults().lacksNames()) {
        askNamesAt_.reset();
    } else if (!askNamesAt_) {
        askNamesAt_ = Clock::now() + kNamesTime;
    } else if (Clock::now() >= *askNamesAt_) {
        connection_->askForNames();
        askNamesAt_ = Clock::now() + kNamesTime;
    }
}

// Brings formats() up to date and returns whether that changed anything that the handler has
// not been told.
bool PipeWireDevice::Impl::publish() {
    if (connection_ == nullptr || connection_->isLost() || !connection_->hasAnswered()) {
        return false;
    }
    reconnects_ = true;
    const PipeWireDefaults& defaults = connection_->defaults();
    Formats now{defaults.source().format, defaults.sink().format, renderRate_};
    if (returnDeadline_) {
        const bool inputMissing =
            now.input.channelCount() == 0 && published_.input.channelCount() > 0;
        const bool outputMissing =
            now.output.channelCount() == 0 && published_.output.channelCount() > 0;
        if ((!inputMissing && !outputMissing) || Clock::now() >= *returnDeadline_) {
            returnDeadline_.reset();
        } else {
            now.input = inputMissing ? published_.input : now.input;
            now.output = outputMissing ? published_.output : now.output;
        }
    }
    if (!started_) {
        now.renderRate = connection_->renderRate(now.input.sampleRate());
    }
    const bool inputSwitched = exchangeDevice(inputSerial_, defaults.source().serial);
    const bool outputSwitched = exchangeDevice(outputSerial_, defaults.sink().serial);
    const std::scoped_lock lock(formatsMutex_);
    return std::exchange(published_, now) != now || inputSwitched || outputSwitched;
}

void PipeWireDevice::Impl::notify() {
    const std::scoped_lock lock(handlerMutex_);
    if (handler_) {
        handler_();
    }
}

// Makes the open streams those that the default devices call for.
void PipeWireDevice::Impl::reconcile() {
    using Kind = PipeWireStream::Kind;
    if (!started_ || connection_ == nullptr || !connection_->hasAnswered()) {
        return;
    }
    brokenSource_.forgetInTime();
    brokenSink_.forgetInTime();
    if (capture_ != nullptr && capture_->hasFailed()) {
        brokenSource_ = {capture_->target(), Clock::now()};
    }
    if (playback_ != nullptr && playback_->hasFailed()) {
        brokenSink_ = {playback_->target(), Clock::now()};
    }
    const PipeWireDefaults::Device source = connection_->defaults().source();
    const PipeWireDefaults::Device sink = connection_->defaults().sink();
    const bool captures = request_.capture && source.format.channelCount() > 0 &&
                          !brokenSource_.matches(source.serial);
    const bool plays = !sink.serial.empty() && !brokenSink_.matches(sink.serial);
    const std::uint32_t channels = std::min(source.format.channelCount(), kGraphChannels);

    if (capture_ != nullptr && (!captures || capture_->target() != source.serial ||
                                capture_->channelCount() != channels)) {
        capture_.reset();
    }
    if (captures && capture_ == nullptr) {
        capture_ = openStream(Kind::capture, channels, source.serial);
    }
    const Kind kind = drivesPlayback() ? Kind::triggeredPlayback : Kind::directPlayback;
    if (playback_ != nullptr &&
        (!plays || playback_->target() != sink.serial || playback_->kind() != kind)) {
        playback_.reset();
    }
    if (plays && playback_ == nullptr) {
        playback_ = openStream(kind, kGraphChannels, sink.serial);
    }
}

// Whether the capture stream wakes the playback stream. One that the session does not link
// must not keep the loops from being heard.
bool PipeWireDevice::Impl::drivesPlayback() const {
    return capture_ != nullptr &&
           (capture_->isRunning() || Clock::now() < capture_->openedAt() + kCaptureGrace);
}

void PipeWireDevice::Impl::closeStreams() {
    capture_.reset();
    playback_.reset();
}

void PipeWireDevice::Impl::scheduleNextLook() {
    bool waits = reconnects_; // for the server
    if (connection_ != nullptr) {
        const bool starting = capture_ != nullptr && !capture_->isRunning() && drivesPlayback();
        waits = starting || returnDeadline_.has_value() || askNamesAt_.has_value() ||
                !brokenSource_.serial.empty() || !brokenSink_.serial.empty();
    }
    const Clock::duration interval = waits ? kLookInterval : 0ms;
    if (std::exchange(timerInterval_, interval) == interval) {
        return;
    }
    timer_.setPeriod(interval);
}

std::unique_ptr<PipeWireStream> PipeWireDevice::Impl::openStream(PipeWireStream::Kind kind,
                                                                 std::uint32_t channels,
                                                                 const std::string& target) {
    return std::make_unique<PipeWireStream>(
        connection_->core(), PipeWireStreamSettings{applicationName_, group_, renderRate_}, kind,
        channels, target, cycles_, [this] { attend(); });
}

PipeWireDevice::PipeWireDevice(std::string applicationName, Connect when)
    : impl_(std::make_unique<Impl>(std::move(applicationName), when)) {}

PipeWireDevice::~PipeWireDevice() = default;

AudioDevice::Formats PipeWireDevice::formats() const {
    return impl_->formats();
}

void PipeWireDevice::start(AudioRenderer& renderer, const Request& request) {
    impl_->start(renderer, request);
}

void PipeWireDevice::stop() {
    impl_->stop();
}

double PipeWireDevice::outputLatency() const {
    return impl_->outputLatency();
}

void PipeWireDevice::setChangeHandler(std::function<void()> handler) {
    impl_->setChangeHandler(std::move(handler));
}

} // namespace tessivo::sound
