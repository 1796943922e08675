#pragma once

#include "Platform/Realtime/Moment.h"
#include "Platform/Sound/AudioNode.h"
#include "Platform/Sound/PlaybackNotice.h"

#include <cstdint>
#include <memory>
#include <optional>
#include <vector>

namespace tessivo::sound {

class AudioFileReader;
class GainUnit;
class PlayerReader;
class PlayerVoice;
class TakeHead;
struct TakeLoop;

// Plays scheduled files one after another without a gap. The reader thread keeps two seconds
// decoded ahead, so that neither the disk nor the main thread can delay the next frame. A file
// that cannot be converted to the engine's rate ends the playback until the next stop(); the
// engine's diagnostics say why.
class PlayerNode final : public AudioNode {
public:
    PlayerNode();
    ~PlayerNode() override; // stops

    // Queues the whole file `passes` times behind what is already queued, and returns the id that
    // the notice will carry. The one notice comes when the last pass is done, or when the node is
    // stopped. A file may be scheduled again while it plays. Throws AudioError when not attached.
    std::uint64_t scheduleFile(std::shared_ptr<AudioFileReader> file, NoticeWhen when,
                               NoticeHandler handler, std::uint32_t passes = 1);

    // The take whose beginning this is, and which ended at that moment, sounds as a loop from
    // the next cycle on, as if its frame 0 had been heard at the moment; it comes in over 3 ms.
    // It goes on from memory until a scheduled file, the take's, takes over in the same phase,
    // without a seam, also when that takes long to be read; frames that are in neither are
    // silence and an underrun. Stops what sounded before. False, and nothing sounds, when there
    // is no frame of the take or the engine's rate is another one by now.
    bool loopTake(std::shared_ptr<const TakeHead> head, Moment end);

    // Drops what is scheduled behind the pass that is sounding now, so that what is
    // scheduled next follows that pass without a gap. Dropped notices come as stopped.
    void discardUpcoming();

    // Starts playing what is queued, now or as soon as it is scheduled.
    void play();

    // Fades the node out within 3 ms and discards what is queued; outstanding notices come as
    // stopped. What is scheduled and played next starts with its first frame at once, during that
    // fade-out.
    void stop();

    // Linear gain, 1.0 at first, not limited. The property changes at once, the sound
    // follows over 3 ms.
    float volume() const { return volume_; }
    void setVolume(float gain);

    // Decoded frames that wait to be heard, at the render rate.
    std::int64_t queuedFrames() const;

    // Frames that the device has taken since the play() after the last stop, at the render
    // rate; 0 when stopped.
    std::int64_t playedFrames() const;

    // What is being heard, in seconds since the first file's frame 0 was heard, or would have been
    // in the phase of a take; it counts on through the passes. 0 before and when stopped.
    double heardTime() const;

    // The fade-out of a stop has not been rendered to its end; it is heard one output latency
    // later. Stays true while no device takes frames.
    bool isFading() const;

    std::unique_ptr<RenderStep> compile(PlanBuilder& builder) override;

private:
    void startReading(std::optional<TakeLoop> loop);

    float volume_ = 1.0F;
    bool playing_ = false;
    std::uint64_t nextPassId_ = 1;
    std::shared_ptr<GainUnit> gain_;
    // From the first scheduled file to the next stop, or none.
    std::shared_ptr<PlayerReader> reader_;
    std::shared_ptr<PlayerVoice> voice_;
    std::optional<std::int64_t> zero_; // the position of frame 0, where a take's loop has fixed it
    std::vector<std::shared_ptr<PlayerVoice>> fading_; // stopped; their ramps may still sound
};

} // namespace tessivo::sound
