#include "Platform/Midi/PipeWireMidi.h"

#include "Platform/Midi/MidiThread.h"
#include "Platform/Midi/PipeWireInlet.h"
#include "Platform/Midi/PipeWirePorts.h"
#include "Platform/Midi/SourceList.h"
#include "Platform/PipeWire/Calls.h"

#include <cerrno>
#include <chrono>
#include <utility>

namespace tessivo::midi {

using pipewire::withLoop;

namespace {

using namespace std::chrono_literals;

// How long an answer of the server is waited for.
constexpr auto kAnswerTime = 500ms;
// How often things are looked at that will not announce themselves.
constexpr auto kLookInterval = 100ms;

// What failed, or was taken from us, is tried again after this: whoever took it away for a
// purpose is not fought without pause.
constexpr auto kRetryTime = 1s;
constexpr auto kNever = SourceList::Clock::time_point::max();

// There is one of each at a time.
constexpr ClientRef kClient = 1;
constexpr PortRef kPort = 2;

} // namespace

// Everything is touched with the loop locked, but for the thread, which looks after itself.
class PipeWireMidi::Impl {
public:
    explicit Impl(std::string applicationName);
    ~Impl();
    Impl(const Impl&) = delete;
    Impl& operator=(const Impl&) = delete;

    Status createClient(const std::string& name, SetupHandler handler, ClientRef& client);
    Status createInputPort(ClientRef client, const std::string& name, PacketHandler handler,
                           PortRef& port);
    void disposePort(PortRef port);
    void disposeClient(ClientRef client);
    Status connectSource(PortRef port, EndpointRef source);
    Status disconnectSource(PortRef port, EndpointRef source);
    std::size_t sourceCount();
    EndpointRef source(std::size_t index);
    std::optional<std::string> displayName(EndpointRef source);
    std::uint64_t lostPackets() const { return thread_.queue().lost(); }

private:
    static void onEvent(void* data, std::uint64_t count);
    static void onTimer(void* data, std::uint64_t expirations);

    bool serverIsThere() const { return ports_ != nullptr && !ports_->isLost(); }
    void attend();
    Status reachServer();
    void openConnection();
    void closeConnection();
    void openInlet();
    void settle();
    void keepConnection(SourceList::Clock::time_point now);
    void closePort();
    void disconnect();
    template <typename Condition> bool await(const Condition& condition);

    std::string applicationName_;
    MidiThread thread_; // outlives the audio callback, which writes into its queue
    SourceList sources_;
    std::string clientName_;
    std::string portName_;
    bool hasClient_ = false;
    bool hasPort_ = false;
    EndpointRef connected_ = 0;
    bool connecting_ = false;                        // the main thread waits for a new node or link
    SourceList::Clock::time_point retryAt_ = kNever; // what failed is tried again then

    pipewire::Owner<pw_thread_loop> loop_;
    pipewire::Owner<pw_context> context_;
    pipewire::LoopSource event_;
    pipewire::LoopSource timer_;
    bool timerRuns_ = false;
    std::unique_ptr<PipeWirePorts> ports_; // there is, or has just been, a server
    bool returns_ = false;                 // it is looked for, because there was one before
    std::unique_ptr<PipeWireInlet> inlet_;
};

PipeWireMidi::Impl::Impl(std::string applicationName)
    : applicationName_(std::move(applicationName)) {
    static const bool initialised = (pw_init(nullptr, nullptr), true);
    loop_.reset(initialised ? pw_thread_loop_new("tessivo-midi", nullptr) : nullptr);
    if (loop_ == nullptr) {
        return;
    }
    pw_loop* const loop = pw_thread_loop_get_loop(loop_.get());
    // The configuration that gives the audio thread its priority.
    context_.reset(
        pw_context_new(loop, pw_properties_new(PW_KEY_CONFIG_NAME, "client-rt.conf", nullptr), 0));
    event_ = pipewire::LoopSource(loop, pipewire::addEvent(loop, onEvent, this));
    timer_ = pipewire::LoopSource(loop, pipewire::addTimer(loop, onTimer, this));
    if (!event_ || !timer_ || pw_thread_loop_start(loop_.get()) < 0) {
        context_.reset();
    }
}

PipeWireMidi::Impl::~Impl() {
    if (loop_ != nullptr) {
        withLoop(loop_.get(), [this] { closeConnection(); });
        pw_thread_loop_stop(loop_.get());
    }
}

Status PipeWireMidi::Impl::createClient(const std::string& name, SetupHandler handler,
                                        ClientRef& client) {
    client = 0;
    if (hasClient_) {
        return -EBUSY;
    }
    if (const Status status = reachServer(); status != 0) {
        return status;
    }
    thread_.setSetupHandler(std::move(handler));
    withLoop(loop_.get(), [&] {
        clientName_ = name;
        hasClient_ = true;
        // What was there before its client is no news to it.
        sources_.takeNews(SourceList::Clock::now());
    });
    client = kClient;
    return 0;
}

Status PipeWireMidi::Impl::createInputPort(ClientRef client, const std::string& name,
                                           PacketHandler handler, PortRef& port) {
    port = 0;
    if (client != kClient || !hasClient_) {
        return -EINVAL;
    }
    if (hasPort_) {
        return -EBUSY;
    }
    thread_.setPacketHandler(std::move(handler));
    const Status status = withLoop(loop_.get(), [&]() -> Status {
        if (!serverIsThere()) {
            return -EHOSTDOWN;
        }
        portName_ = name;
        hasPort_ = true;
        openInlet();
        connecting_ = true;
        await([this] { return inlet_ == nullptr || inlet_->isReady() || inlet_->failure() != 0; });
        connecting_ = false;
        if (inlet_ != nullptr && inlet_->isReady()) {
            return 0;
        }
        const Status failure = inlet_ != nullptr ? inlet_->failure() : -EHOSTDOWN;
        closePort();
        return failure != 0 ? failure : -ETIMEDOUT;
    });
    if (status != 0) {
        thread_.setPacketHandler({});
        return status;
    }
    port = kPort;
    return 0;
}

void PipeWireMidi::Impl::closePort() {
    disconnect();
    inlet_.reset();
    hasPort_ = false;
}

void PipeWireMidi::Impl::disposePort(PortRef port) {
    if (port == kPort && hasPort_) {
        withLoop(loop_.get(), [this] { closePort(); });
        thread_.setPacketHandler({});
    }
}

void PipeWireMidi::Impl::disposeClient(ClientRef client) {
    if (client == kClient && hasClient_) {
        disposePort(kPort);
        withLoop(loop_.get(), [this] { hasClient_ = false; });
        thread_.setSetupHandler({});
    }
}

Status PipeWireMidi::Impl::connectSource(PortRef port, EndpointRef source) {
    if (port != kPort || !hasPort_) {
        return -EINVAL;
    }
    return withLoop(loop_.get(), [&]() -> Status {
        if (!serverIsThere() || inlet_ == nullptr || !inlet_->isReady()) {
            return -EHOSTDOWN;
        }
        const SourceList::Source* const found = sources_.findPresent(source);
        if (found == nullptr) {
            return -ENOENT;
        }
        const SourceList::Place place = found->place;
        disconnect();
        connected_ = source;
        sources_.setConnected(source);
        inlet_->connect(place);
        connecting_ = true;
        await([this] {
            return inlet_ == nullptr || inlet_->link() == nullptr || inlet_->link()->isActive() ||
                   inlet_->link()->failure() != 0;
        });
        connecting_ = false;
        const PipeWireLink* const link = inlet_ != nullptr ? inlet_->link() : nullptr;
        if (link == nullptr || !link->isMade() || link->failure() != 0) {
            const Status failure = link != nullptr ? link->failure() : -EHOSTDOWN;
            disconnect();
            return failure != 0 ? failure : -ETIMEDOUT;
        }
        thread_.setListening(true);
        return 0;
    });
}

void PipeWireMidi::Impl::disconnect() {
    if (inlet_ != nullptr) {
        inlet_->disconnect();
    }
    connected_ = 0;
    sources_.setConnected(0);
    thread_.setListening(false);
    attend(); // for the news that waited for it
}

Status PipeWireMidi::Impl::disconnectSource(PortRef port, EndpointRef source) {
    if (port != kPort || source == 0) {
        return -EINVAL;
    }
    return withLoop(loop_.get(), [&]() -> Status {
        if (source != connected_) {
            return -EINVAL;
        }
        disconnect();
        return 0;
    });
}

std::size_t PipeWireMidi::Impl::sourceCount() {
    reachServer(); // over an outage the connected source is all there is
    return loop_ == nullptr ? 0
                            : withLoop(loop_.get(), [this] { return sources_.listed().size(); });
}

EndpointRef PipeWireMidi::Impl::source(std::size_t index) {
    if (loop_ == nullptr) {
        return 0;
    }
    return withLoop(loop_.get(), [&]() -> EndpointRef {
        const auto listed = sources_.listed();
        return index < listed.size() ? listed[index]->reference : 0;
    });
}

std::optional<std::string> PipeWireMidi::Impl::displayName(EndpointRef source) {
    if (loop_ == nullptr) {
        return {};
    }
    return withLoop(loop_.get(), [&]() -> std::optional<std::string> {
        const SourceList::Source* const found = sources_.findListed(source);
        return found != nullptr && !found->name.empty() ? std::optional(found->name) : std::nullopt;
    });
}

// Makes the first connection when it is needed. One that was lost is looked for by the timer:
// nobody waits for that.
Status PipeWireMidi::Impl::reachServer() {
    if (context_ == nullptr) {
        return -ENOSYS;
    }
    return withLoop(loop_.get(), [this]() -> Status {
        if (returns_) {
            return serverIsThere() ? 0 : -EHOSTDOWN;
        }
        openConnection();
        const int failure = errno;
        if (!serverIsThere()) {
            closeConnection();
            return failure > 0 ? -failure : -EHOSTDOWN;
        }
        if (!await([this] { return ports_->hasAnswered() || ports_->isLost(); }) ||
            ports_->isLost()) {
            closeConnection();
            sources_ = {}; // it had begun to tell
            return -ETIMEDOUT;
        }
        returns_ = true;
        sources_.serverBack(SourceList::Clock::now());
        return 0;
    });
}

void PipeWireMidi::Impl::openConnection() {
    ports_ = std::make_unique<PipeWirePorts>(
        context_.get(), applicationName_,
        PipeWirePorts::Listener{[this](const std::string& name, SourceList::Place place) {
                                    sources_.appeared(name, place);
                                    attend();
                                },
                                [this](std::uint32_t port) {
                                    sources_.disappeared(port, SourceList::Clock::now());
                                    attend();
                                },
                                [this] {
                                    attend();
                                }});
}

void PipeWireMidi::Impl::closeConnection() {
    inlet_.reset();
    ports_.reset();
}

void PipeWireMidi::Impl::openInlet() {
    inlet_ = std::make_unique<PipeWireInlet>(ports_->core(), clientName_, portName_,
                                             thread_.queue(), [this] { attend(); });
}

// Objects must not be destroyed in their own callbacks, and one event often comes with others:
// they all only ask for a look at the whole, soon.
void PipeWireMidi::Impl::attend() {
    event_.signal();
    pw_thread_loop_signal(loop_.get(), false);
}

void PipeWireMidi::Impl::onEvent(void* data, std::uint64_t /*count*/) {
    static_cast<Impl*>(data)->settle();
}

void PipeWireMidi::Impl::onTimer(void* data, std::uint64_t /*expirations*/) {
    static_cast<Impl*>(data)->settle();
}

void PipeWireMidi::Impl::settle() {
    const auto now = SourceList::Clock::now();
    if (returns_ && ports_ != nullptr && ports_->isLost()) {
        closeConnection();
        sources_.serverLost();
    }
    if (returns_ && ports_ == nullptr) {
        openConnection();
        if (ports_->isLost()) {
            ports_.reset(); // still away; the timer comes again
        }
    }
    const bool answers = returns_ && serverIsThere() && ports_->hasAnswered();
    if (answers && !sources_.hasServer()) {
        sources_.serverBack(now);
    }
    if (answers) {
        keepConnection(now);
    }
    for (const SetupChange change : sources_.takeNews(now)) {
        thread_.notify(change);
    }
    const bool looks =
        returns_ && (!answers || sources_.somethingIsMissing() || retryAt_ != kNever);
    if (std::exchange(timerRuns_, looks) != looks) {
        timer_.setPeriod(looks ? kLookInterval : 0ms);
    }
}

// What is connected for those above is linked, whatever became of the link or of our node.
void PipeWireMidi::Impl::keepConnection(SourceList::Clock::time_point now) {
    if (connecting_) {
        return; // who waits for the link or the node looks after it
    }
    if (inlet_ != nullptr && inlet_->failure() != 0) {
        inlet_.reset();
        retryAt_ = now + kRetryTime;
    }
    const PipeWireLink* const link = inlet_ != nullptr ? inlet_->link() : nullptr;
    const SourceList::Source* const source = sources_.findPresent(connected_);
    if (link != nullptr && (source == nullptr || link->source() != source->place)) {
        inlet_->disconnect();
    } else if (link != nullptr && link->failure() != 0) {
        inlet_->disconnect();
        retryAt_ = now + kRetryTime;
    }
    if (retryAt_ != kNever && now < retryAt_) {
        return;
    }
    retryAt_ = kNever;
    if (hasPort_ && inlet_ == nullptr) {
        openInlet();
    }
    if (source != nullptr && inlet_ != nullptr && inlet_->isReady() && inlet_->link() == nullptr) {
        inlet_->connect(source->place);
    }
}

// Lets the loop run until the condition holds; false when it still does not at the limit.
template <typename Condition> bool PipeWireMidi::Impl::await(const Condition& condition) {
    timespec deadline{};
    pw_thread_loop_get_time(loop_.get(), &deadline, std::chrono::nanoseconds(kAnswerTime).count());
    while (!condition()) {
        if (pw_thread_loop_timed_wait_full(loop_.get(), &deadline) != 0) {
            return condition();
        }
    }
    return true;
}

PipeWireMidi::PipeWireMidi(std::string applicationName)
    : impl_(std::make_unique<Impl>(std::move(applicationName))) {}

PipeWireMidi::~PipeWireMidi() = default;

Status PipeWireMidi::createClient(const std::string& name, SetupHandler handler,
                                  ClientRef& client) {
    return impl_->createClient(name, std::move(handler), client);
}

Status PipeWireMidi::createInputPort(ClientRef client, const std::string& name,
                                     PacketHandler handler, PortRef& port) {
    return impl_->createInputPort(client, name, std::move(handler), port);
}

void PipeWireMidi::disposePort(PortRef port) {
    impl_->disposePort(port);
}

void PipeWireMidi::disposeClient(ClientRef client) {
    impl_->disposeClient(client);
}

Status PipeWireMidi::connectSource(PortRef port, EndpointRef source) {
    return impl_->connectSource(port, source);
}

Status PipeWireMidi::disconnectSource(PortRef port, EndpointRef source) {
    return impl_->disconnectSource(port, source);
}

std::size_t PipeWireMidi::sourceCount() {
    return impl_->sourceCount();
}

EndpointRef PipeWireMidi::source(std::size_t index) {
    return impl_->source(index);
}

std::optional<std::string> PipeWireMidi::displayName(EndpointRef source) {
    return impl_->displayName(source);
}

std::uint64_t PipeWireMidi::lostPackets() const {
    return impl_->lostPackets();
}

} // namespace tessivo::midi
