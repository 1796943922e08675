#pragma once

#include "Platform/Sound/Render/RenderStep.h"

#include <memory>

namespace tessivo::sound {

class NodeHost;
class PlanBuilder;

// A node of the audio graph, as the main thread sees it: all operations of all nodes belong to
// that thread. A kind of node is one class that says, in compile(), what it does on the audio
// callback; engine and render plan know no kinds.
class AudioNode {
public:
    virtual ~AudioNode() = default;
    AudioNode(const AudioNode&) = delete;
    AudioNode& operator=(const AudioNode&) = delete;

    bool isAttached() const { return host_ != nullptr; }

    // Whether other nodes may be connected to this one.
    virtual bool takesConnections() const { return false; }

    // Makes the node's step of the next render plan; a node that takes connections has its
    // sources compiled by the builder. Called for every edit of the graph.
    virtual std::unique_ptr<RenderStep> compile(PlanBuilder& builder) = 0;

protected:
    AudioNode() = default;

    // The engine that the node is attached to, or none.
    NodeHost* host() const { return host_; }

private:
    friend class AudioEngine; // attaches and detaches
    NodeHost* host_ = nullptr;
};

} // namespace tessivo::sound
