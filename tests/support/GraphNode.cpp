#include "support/GraphNode.h"

#include "Platform/PipeWire/Loop.h"

#include <pipewire/filter.h>
#include <pipewire/pipewire.h>

#include <stdexcept>
#include <utility>

namespace tessivo::test {

namespace {

pw_properties* propertiesOf(GraphNode::Properties properties,
                            const GraphNode::Properties& replacements) {
    for (const auto& [key, value] : replacements) {
        properties[key] = value;
    }
    pw_properties* result = pw_properties_new(nullptr, nullptr);
    for (const auto& [key, value] : properties) {
        pw_properties_set(result, key.c_str(), value.c_str());
    }
    return result;
}

} // namespace

GraphNode::GraphNode(const std::string& name, Properties properties,
                     const Properties& replacements) {
    static const pw_filter_events events = [] {
        pw_filter_events e{};
        e.version = PW_VERSION_FILTER_EVENTS;
        e.process = onProcess;
        return e;
    }();
    pw_init(nullptr, nullptr);
    loop_ = pw_thread_loop_new(name.c_str(), nullptr);
    context_ = pw_context_new(
        pw_thread_loop_get_loop(loop_),
        pw_properties_new(PW_KEY_CONFIG_NAME, pipewire::realtimeConfiguration(), nullptr), 0);
    pw_core* const core = context_ != nullptr ? pw_context_connect(context_, nullptr, 0) : nullptr;
    if (core == nullptr) {
        stop();
        throw std::runtime_error("the sound server cannot be reached by " + name);
    }
    properties[PW_KEY_NODE_NAME] = name;
    filter_ = pw_filter_new(core, name.c_str(), propertiesOf(std::move(properties), replacements));
    pw_filter_add_listener(filter_, &listener_, &events, this);
}

GraphNode::~GraphNode() {
    stop();
}

void* GraphNode::addPort(bool isOutput, std::size_t size, Properties properties,
                         const Properties& replacements, const spa_pod* param) {
    return pw_filter_add_port(filter_, isOutput ? PW_DIRECTION_OUTPUT : PW_DIRECTION_INPUT,
                              PW_FILTER_PORT_FLAG_MAP_BUFFERS, size,
                              propertiesOf(std::move(properties), replacements), &param,
                              param != nullptr ? 1 : 0);
}

void GraphNode::start() {
    if (pw_filter_connect(filter_, PW_FILTER_FLAG_RT_PROCESS, nullptr, 0) < 0 ||
        pw_thread_loop_start(loop_) < 0) {
        stop();
        throw std::runtime_error("the sound server takes no node of a test");
    }
}

void GraphNode::stop() {
    if (loop_ == nullptr) {
        return;
    }
    pw_thread_loop_stop(loop_);
    if (pw_filter* const filter = std::exchange(filter_, nullptr)) {
        pw_filter_destroy(filter);
    }
    if (pw_context* const context = std::exchange(context_, nullptr)) {
        pw_context_destroy(context);
    }
    pw_thread_loop_destroy(std::exchange(loop_, nullptr));
}

void GraphNode::onProcess(void* data, spa_io_position* position) {
    if (position != nullptr) { // otherwise between two drivers
        static_cast<GraphNode*>(data)->process(*position);
    }
}

} // namespace tessivo::test
