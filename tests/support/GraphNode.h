#pragma once

#include <spa/utils/hook.h>

#include <cstddef>
#include <map>
#include <string>

struct pw_context;
struct pw_filter;
struct pw_thread_loop;
struct spa_io_position;
struct spa_pod;

namespace tessivo::test {

// A test's own node in the server's graph. It is processed within the graph's cycles, on an audio
// thread, so that a busy machine does not make it lose samples or notes. The constructor throws
// std::runtime_error when there is no server that accepts it.
class GraphNode {
public:
    using Properties = std::map<std::string, std::string>;

    GraphNode(const GraphNode&) = delete;
    GraphNode& operator=(const GraphNode&) = delete;

protected:
    // The replacements override our properties.
    GraphNode(const std::string& name, Properties properties, const Properties& replacements = {});
    virtual ~GraphNode();

    // Before start(). Returns the port's user data: size bytes, zeroed.
    void* addPort(bool isOutput, std::size_t size, Properties properties,
                  const Properties& replacements = {}, const spa_pod* param = nullptr);
    // A class that overrides process() calls start() at the end of its constructor and stop() at
    // the start of its destructor.
    void start();
    void stop();

private:
    // The audio thread, from start() to stop().
    virtual void process(const spa_io_position& position) = 0;
    static void onProcess(void* data, spa_io_position* position);

    pw_thread_loop* loop_ = nullptr;
    pw_context* context_ = nullptr;
    pw_filter* filter_ = nullptr;
    spa_hook listener_{};
};

} // namespace tessivo::test
