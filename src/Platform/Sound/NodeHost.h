#pragma once

#include "Platform/Sound/Device/AudioDevice.h"
#include "Platform/Sound/Render/Timeline.h"

#include <cstdint>

namespace tessivo::sound {

class AudioNode;
class InputCapture;
class ReaderThread;

// Positions on the timeline that belong to one moment.
struct CommandFrames {
    std::int64_t captured = 0; // the frame that holds the sound made at that moment
    std::int64_t rendered = 0; // the frame that is heard at that moment
};

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

    // What a command of that moment means in frames. The same for the same moment, until
    // there is another one.
    virtual CommandFrames framesOf(Moment moment) = 0;
    virtual const Timeline& timeline() const = 0; // any thread

    // What the input node delivers.
    virtual InputCapture& capture() = 0;
    // The input has got a user: an engine that runs without it begins to capture.
    virtual void inputUseChanged() = 0;

protected:
    ~NodeHost() = default;
};

} // namespace tessivo::sound
