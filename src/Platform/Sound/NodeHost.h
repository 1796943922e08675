#pragma once

#include "Platform/Sound/Device/AudioDevice.h"
#include "Platform/Sound/Tap/TapHandler.h"

#include <cstdint>

namespace tessivo::sound {

class AudioNode;
class ReaderThread;

// What nodes ask of the engine that they are attached to. Main thread, unless said otherwise.
class NodeHost {
public:
    // What the node does on the audio callback has changed: the nodes are compiled anew, and
    // the callback follows from its next cycle.
    virtual void updatePlan() = 0;

    virtual bool isConnected(const AudioNode& node) const = 0; // its output
    virtual const AudioDevice::Formats& deviceFormats() const = 0;
    virtual double renderRate() const = 0;    // Hz
    virtual double outputLatency() const = 0; // seconds; any thread

    // The thread that decodes files.
    virtual ReaderThread& readerThread() = 0;

    // See InputNode.
    virtual void installTap(std::uint32_t bufferSize, const AudioFormat& format,
                            TapHandler block) = 0;
    virtual void removeTap() = 0;

protected:
    ~NodeHost() = default;
};

} // namespace tessivo::sound
