#include "Platform/Sound/Device/PipeWireStream.h"

#include "Platform/PipeWire/Identity.h"
#include "Platform/Sound/Device/PipeWireCycles.h"
#include "Platform/Sound/Device/PipeWireFormats.h"

#include <array>
#include <initializer_list>
#include <string>
#include <utility>

namespace tessivo::sound {

namespace {

pw_properties* clientProperties() {
    return pw_properties_new(PW_KEY_APP_NAME, pipewire::kApplicationName, PW_KEY_APP_ID,
                             pipewire::kApplicationId, PW_KEY_APP_ICON_NAME,
                             pipewire::kApplicationId, nullptr);
}

// There is no media role: the session manager would keep one volume and one target for it, and for
// the streams of all programs that have the same role.
pw_properties* streamProperties(const PipeWireStreamSettings& settings, bool capture,
                                const PipeWireStream::Target& target) {
    const std::string name = capture ? "Input" : settings.playbackName;
    const std::string description = std::string(pipewire::kApplicationName) + " " + name;
    pw_properties* properties = clientProperties();
    for (const auto& [key, value] : std::initializer_list<std::pair<const char*, const char*>>{
             {PW_KEY_MEDIA_TYPE, "Audio"},
             {PW_KEY_MEDIA_CATEGORY, capture ? "Capture" : "Playback"},
             {PW_KEY_MEDIA_NAME, name.c_str()},
             {PW_KEY_NODE_NAME, settings.nodeName.c_str()},
             {PW_KEY_NODE_DESCRIPTION, description.c_str()},
             {PW_KEY_NODE_GROUP, settings.group.c_str()},
             {PW_KEY_TARGET_OBJECT, target.isFree ? nullptr : target.serial.c_str()}}) {
        pw_properties_set(properties, key, value);
    }
    const int rate = static_cast<int>(settings.renderRate);
    pw_properties_setf(properties, PW_KEY_NODE_RATE, "1/%d", rate);
    if (capture) {
        // Otherwise a microphone with surround channels would be mixed down.
        pw_properties_set(properties, PW_KEY_STREAM_DONT_REMIX, "true");
        // When a microphone goes, the session manager would link the speaker's monitor instead;
        // we open the next stream ourselves.
        pw_properties_set(properties, PW_KEY_NODE_DONT_RECONNECT, "true");
    }
    return properties;
}

} // namespace

PipeWireStream::PipeWireStream(pw_context* context, const PipeWireStreamSettings& settings,
                               Kind kind, std::uint32_t channelCount, Target target,
                               PipeWireCycles& cycles, std::function<void()> changed)
    : kind_(kind)
    , channelCount_(channelCount)
    , target_(std::move(target))
    , cycles_(cycles)
    , changed_(std::move(changed)) {
    open(context, settings);
}

PipeWireStream::~PipeWireStream() {
    closing_ = true;
    if (kind_ == Kind::capture) {
        cycles_.setCapture(nullptr);
    } else {
        cycles_.setPlayback(nullptr, false);
    }
}

void PipeWireStream::open(pw_context* context, const PipeWireStreamSettings& settings) {
    const bool capture = kind_ == Kind::capture;
    // The server counts what memory it shares with a connection, and can lose count when a device
    // goes that a stream was linked to: the next buffers were mapped over something smaller, and
    // the first write ended the program. So no stream inherits another one's connection.
    core_.reset(pw_context_connect(context, clientProperties(), 0));
    if (core_ == nullptr) {
        fail();
        return;
    }
    stream_.reset(pw_stream_new(core_.get(), settings.nodeName.c_str(),
                                streamProperties(settings, capture, target_)));
    if (stream_ == nullptr) {
        fail();
        return;
    }
    using pipewire::eventTable;
    constexpr auto kVersion = PW_VERSION_STREAM_EVENTS;
    static const auto stateEvents = eventTable<pw_stream_events>(
        kVersion, [](auto& events) { events.state_changed = onState; });
    static const auto captureEvents = eventTable<pw_stream_events>(
        kVersion, [](auto& events) { events.process = PipeWireCycles::onCapture; });
    static const auto playbackEvents = eventTable<pw_stream_events>(
        kVersion, [](auto& events) { events.process = PipeWireCycles::onPlayback; });
    pw_stream_add_listener(stream_.get(), &stateHook_, &stateEvents, this);
    pw_stream_add_listener(stream_.get(), &processHook_, capture ? &captureEvents : &playbackEvents,
                           &cycles_);

    unsigned flags =
        PW_STREAM_FLAG_AUTOCONNECT | PW_STREAM_FLAG_MAP_BUFFERS | PW_STREAM_FLAG_RT_PROCESS;
    if (kind_ == Kind::triggeredPlayback) {
        flags |= PW_STREAM_FLAG_TRIGGER;
    }
    const StreamFormat format(settings.renderRate, channelCount_);
    std::array<const spa_pod*, 1> params{format.pod()};
    if (pw_stream_connect(stream_.get(), capture ? PW_DIRECTION_INPUT : PW_DIRECTION_OUTPUT,
                          PW_ID_ANY, static_cast<pw_stream_flags>(flags), params.data(),
                          static_cast<std::uint32_t>(params.size())) < 0) {
        fail();
        return;
    }
    // The environment, or a rule of the user's for our streams.
    isLatencySet_ =
        pw_properties_get(pw_stream_get_properties(stream_.get()), PW_KEY_NODE_LATENCY) != nullptr;
    if (capture) {
        cycles_.setCapture(stream_.get());
    } else {
        cycles_.setPlayback(stream_.get(), kind_ == Kind::triggeredPlayback);
    }
}

std::uint32_t PipeWireStream::nodeId() const {
    return stream_ != nullptr ? pw_stream_get_node_id(stream_.get()) : SPA_ID_INVALID;
}

void PipeWireStream::requestCycles(std::uint32_t frames, double rate) {
    if (stream_ == nullptr || failed_ || isLatencySet_ ||
        std::exchange(requestedCycles_, frames) == frames) {
        return;
    }
    const std::string latency =
        std::to_string(frames) + "/" + std::to_string(static_cast<int>(rate));
    const spa_dict_item item{PW_KEY_NODE_LATENCY, latency.c_str()};
    const spa_dict properties{0, 1, &item};
    pw_stream_update_properties(stream_.get(), &properties);
}

void PipeWireStream::onState(void* data, pw_stream_state /*old*/, pw_stream_state state,
                             const char* /*error*/) {
    auto& self = *static_cast<PipeWireStream*>(data);
    if (self.closing_) {
        return;
    }
    if (state == PW_STREAM_STATE_ERROR) {
        self.fail();
    }
    const bool running = state == PW_STREAM_STATE_STREAMING;
    if (std::exchange(self.running_, running) != running) {
        if (self.kind_ != Kind::capture) {
            self.cycles_.setPlaybackRunning(running);
        }
    }
    self.changed_();
}

void PipeWireStream::fail() {
    failed_ = true;
    changed_();
}

} // namespace tessivo::sound
