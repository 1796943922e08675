#pragma once

#include "Platform/Sound/AudioFormat.h"
#include "Platform/Sound/AudioPCMBuffer.h"
#include "Platform/Sound/File/AudioFile.h"

#include <cstdint>
#include <functional>
#include <memory>
#include <vector>

// The nodes of the graph, seen from the main thread, on which all of their operations are
// called. What they do on the audio callback lives in render units (RenderUnits.h) that an
// edit of the graph compiles into the next render plan.
namespace tessivo::sound {

class AudioEngine;
class GainUnit;
class PlayerUnit;
class PlayerStream;

class AudioNode {
public:
    virtual ~AudioNode();
    AudioNode(const AudioNode&) = delete;
    AudioNode& operator=(const AudioNode&) = delete;

    // The engine that the node is attached to, or none.
    AudioEngine* engine() const { return engine_; }

protected:
    AudioNode() = default;

private:
    friend class AudioEngine;
    AudioEngine* engine_ = nullptr;
};

// What a tap does with each buffer. Runs on the tap thread, one buffer at a time; it may
// block on a disk, as the queue behind it holds 40 s.
using TapBlock = std::function<void(const AudioPCMBuffer&, const AudioTime&)>;

// The default capture device.
class InputNode final : public AudioNode {
public:
    // The capture device's format; no channels when there is no device. A snapshot: it
    // changes only with the engine's configuration-change notice.
    AudioFormat inputFormat() const;

    // The format in which the node delivers audio over its connection: the device's, with
    // at most two channels once it is connected.
    AudioFormat outputFormat() const;

    // Delivers every captured frame to the block, in that format, cut into buffers of
    // bufferSize frames, until removeTap(). Converts the rate where the format's differs
    // from the running one. There is one tap: an installed one is removed first. A tap
    // installed while there is no input delivers in the input's format once there is one.
    void installTap(std::uint32_t bufferSize, const AudioFormat& format, TapBlock block);

    // Hands over all frames captured before the call, the last short buffer included, and
    // returns when the block has had them; the block is not called again. Harmless without
    // a tap. Blocks for as long as the block does.
    void removeTap();
};

// Sums its inputs and applies a gain.
class MixerNode final : public AudioNode {
public:
    MixerNode();

    // Linear gain of everything the mixer puts out, 1.0 at first. The property changes at
    // once, the sound follows over 3 ms.
    float outputVolume() const { return outputVolume_; }
    void setOutputVolume(float gain);

private:
    friend class AudioEngine;
    float outputVolume_ = 1.0F;
    std::shared_ptr<GainUnit> unit_;
};

// The default playback device.
class OutputNode final : public AudioNode {
public:
    // The playback device's format; no channels when there is none. A snapshot like
    // InputNode::inputFormat().
    AudioFormat inputFormat() const;
};

// When a scheduled file reports that it is done.
enum class NoticeWhen {
    read, // its last frame is queued: time to schedule what follows without a gap
    heard // its last frame has been heard, output latency included
};

// What a completion notice says.
struct PlaybackNotice {
    enum class Reason { done, stopped };
    Reason reason = Reason::done;
    std::uint64_t passId = 0; // what scheduleFile() returned
};

// Called on the reader thread; must be short. Fires exactly once for every scheduled file.
using NoticeHandler = std::function<void(const PlaybackNotice&)>;

// Plays scheduled files one after another without a gap. The reader thread keeps two
// seconds decoded ahead, so that neither the disk nor the main thread is ever in the way
// of the next frame.
class PlayerNode final : public AudioNode {
public:
    PlayerNode();
    ~PlayerNode() override; // as stop()

    // Queues the whole file `passes` times behind what is already queued; the notice comes
    // when the last of them is done, or when the node is stopped. A file may be scheduled
    // again while it plays.
    std::uint64_t scheduleFile(std::shared_ptr<AudioFileReader> file, NoticeWhen when,
                               NoticeHandler handler, std::uint32_t passes = 1);

    // Drops what is scheduled behind the pass that is sounding now, so that what is
    // scheduled next follows that pass without a gap. Dropped notices fire as stopped.
    void discardUpcoming();

    // Lets queued audio out, now or as soon as it is scheduled.
    void play();

    // Silences the node within 3 ms and discards what is queued; outstanding notices fire
    // as stopped. A play() that follows starts afresh at once, beside the end of the ramp.
    void stop();

    // Linear gain, 1.0 at first, taken as given. The property changes at once, the sound
    // follows over 3 ms.
    float volume() const { return volume_; }
    void setVolume(float gain);

    // Decoded frames that wait to be heard, at the render rate.
    std::int64_t queuedFrames() const;

    // Frames that the device has taken since the play() after the last stop, at the render
    // rate; 0 when stopped.
    std::int64_t playedFrames() const;

    // The ramp of a stop is still to be heard. Stays so while no device takes frames.
    bool isFading() const;

private:
    friend class AudioEngine;
    PlayerStream& stream();

    float volume_ = 1.0F;
    bool playing_ = false;
    std::uint64_t nextPassId_ = 1;
    std::shared_ptr<PlayerUnit> unit_;
    std::shared_ptr<PlayerStream> stream_;
    // Stopped, but their ramps may still sound.
    std::vector<std::shared_ptr<PlayerStream>> fading_;
};

} // namespace tessivo::sound
