#pragma once

#include <pipewire/extensions/metadata.h>
#include <pipewire/pipewire.h>

#include <chrono>
#include <cstdint>
#include <ctime>
#include <span>

// Wrappers for client library macros that contain C casts. This file is a system header, so that
// our warnings do not apply to them; put nothing else in here.
#pragma GCC system_header

namespace tessivo::pipewire {

inline void listenTo(pw_core* core, spa_hook* hook, const pw_core_events& events, void* data) {
    pw_core_add_listener(core, hook, &events, data);
}

inline void listenTo(pw_registry* registry, spa_hook* hook, const pw_registry_events& events,
                     void* data) {
    pw_registry_add_listener(registry, hook, &events, data);
}

inline void listenTo(pw_metadata* metadata, spa_hook* hook, const pw_metadata_events& events,
                     void* data) {
    pw_metadata_add_listener(metadata, hook, &events, data);
}

inline void listenTo(pw_link* link, spa_hook* hook, const pw_link_events& events, void* data) {
    pw_link_add_listener(link, hook, &events, data);
}

inline void listenTo(pw_node* node, spa_hook* hook, const pw_node_events& events, void* data) {
    pw_node_add_listener(node, hook, &events, data);
}

// Returns the sequence number of the done event that answers.
inline int sync(pw_core* core) {
    return pw_core_sync(core, PW_ID_CORE, 0);
}

// Asks the server to create an object. Takes ownership of the properties. Returns its proxy, or
// null when the request could not be sent; errno then says why.
inline pw_proxy* createObject(pw_core* core, const char* factory, const char* type,
                              std::uint32_t version, pw_properties* properties) {
    void* const object = pw_core_create_object(core, factory, type, version, &properties->dict, 0);
    pw_properties_free(properties);
    return static_cast<pw_proxy*>(object);
}

// The node sends these parameters now and whenever they change.
inline void subscribe(pw_node* node, std::span<std::uint32_t> params) {
    pw_node_subscribe_params(node, params.data(), static_cast<std::uint32_t>(params.size()));
}

inline spa_source* addEvent(pw_loop* loop, spa_source_event_func_t function, void* data) {
    return pw_loop_add_event(loop, function, data);
}

inline spa_source* addTimer(pw_loop* loop, spa_source_timer_func_t function, void* data) {
    return pw_loop_add_timer(loop, function, data);
}

inline void destroySource(pw_loop* loop, spa_source* source) {
    pw_loop_destroy_source(loop, source);
}

inline void signalEvent(pw_loop* loop, spa_source* event) {
    pw_loop_signal_event(loop, event);
}

// Makes the timer expire periodically; an interval of 0 stops it.
inline void setInterval(pw_loop* loop, spa_source* timer, std::chrono::nanoseconds interval) {
    const auto seconds = std::chrono::duration_cast<std::chrono::seconds>(interval);
    timespec first{};
    first.tv_sec = seconds.count();
    first.tv_nsec = (interval - seconds).count();
    timespec next = first;
    pw_loop_update_timer(loop, timer, &first, &next, false);
}

} // namespace tessivo::pipewire
