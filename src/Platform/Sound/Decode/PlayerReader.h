#pragma once

#include "Platform/Sound/Decode/RateConverter.h"
#include "Platform/Sound/File/AudioFile.h"
#include "Platform/Sound/PlaybackNotice.h"
#include "Platform/Sound/Render/PlayerRing.h"

#include <chrono>
#include <cstdint>
#include <deque>
#include <functional>
#include <memory>
#include <mutex>
#include <optional>
#include <span>
#include <variant>
#include <vector>

namespace tessivo::sound {

// A player's side on the reader thread, from its first scheduled file to its stop: decodes the
// files in their order, converts them to the render rate, fills the ring and gives the notices.
// The main thread gives orders.
class PlayerReader {
public:
    // A loop that sounds already: the first file goes on in its phase.
    struct Sounding {
        std::int64_t length = 0;           // frames
        std::int64_t zero = 0;             // a position at which its frame 0 is heard
        std::function<std::int64_t()> now; // the position that is rendered next; any thread
    };

    // outputLatency: from a rendered frame to the moment at which it is heard, seconds.
    PlayerReader(std::shared_ptr<PlayerRing> ring, double renderRate,
                 std::function<double()> outputLatency, std::optional<Sounding> sounding = {});

    // A file to be played some times in a row.
    struct ScheduledFile {
        std::shared_ptr<AudioFileReader> file;
        NoticeWhen when = NoticeWhen::read;
        NoticeHandler handler;
        std::uint32_t passes = 1;
        std::uint64_t id = 0;
    };

    // Main thread.
    void schedule(ScheduledFile file);
    void discardUpcoming();
    void stop() { ring_->stop(); }

    // Reader thread: does one step of work. Returns how long the thread may wait before the
    // next one: zero for not at all, nothing for until there is a new order.
    std::optional<std::chrono::milliseconds> work();
    // Reader thread: decodes nothing any more. What is scheduled, now or later, is stopped; so
    // is a loop that sounds from memory.
    void fail();
    // Reader thread: stopped, all notices given; no more work.
    bool isRetired() const { return retired_; }
    // Reader thread: a file had samples that are no finite numbers, which are silence.
    bool hasSilenced() const { return hasSilenced_; }

private:
    using Clock = std::chrono::steady_clock;
    struct DiscardUpcoming {};
    using Order = std::variant<ScheduledFile, DiscardUpcoming>;
    // The end of a pass in the ring.
    struct PassEnd {
        std::int64_t frame = 0;             // since the beginning
        std::optional<ScheduledFile> heard; // whose notice is due when this frame is heard
    };

    void takeOrders();
    void discard();
    void dropScheduled(std::size_t keep);
    void dropPassEnds(std::size_t keep);
    std::optional<std::chrono::milliseconds> decode();
    void openFile(const AudioFileReader& file);
    void joinSounding(const AudioFileReader& file);
    std::int64_t framesPerStep(const AudioFileReader& file) const;
    void readStep(AudioFileReader& file, std::int64_t count);
    void convertAndPush(std::span<const float> stereo, bool endOfInput);
    void push(std::span<const float> stereo);
    void finishPasses(std::uint32_t count);
    std::optional<std::chrono::milliseconds> giveHeardNotices();

    const std::shared_ptr<PlayerRing> ring_;
    const double renderRate_; // Hz
    const std::function<double()> outputLatency_;
    const bool followsSounding_;

    std::mutex ordersMutex_; // main and reader thread only
    std::deque<Order> orders_;

    // Everything below belongs to the reader thread.
    std::deque<ScheduledFile> scheduled_;         // the first one is being decoded
    std::uint32_t passesDone_ = 0;                // of the first one
    bool passOpen_ = false;                       // in the middle of a pass, at filePosition_
    std::int64_t filePosition_ = 0;               // frames
    std::int64_t written_ = 0;                    // frames put into the ring since the beginning
    std::deque<PassEnd> passEnds_;                // not heard yet, in their order
    std::optional<Clock::time_point> endTakenAt_; // when we saw the first pass end leave
    double converterRate_ = 0.0;                  // Hz, of the files that it converts
    std::unique_ptr<RateConverter> converter_;
    std::optional<Sounding> sounding_; // until its first file is opened
    bool joining_ = false;             // it is to be read from the join on
    std::size_t skip_ = 0;             // converted frames that are over before the join
    std::vector<float> stereo_;        // the decoded step, interleaved
    std::shared_ptr<AudioFileReader> fileInMemory_; // the one that stereo_ holds whole, or none
    bool hasSilenced_ = false;
    bool failed_ = false;
    bool retired_ = false;
};

} // namespace tessivo::sound
