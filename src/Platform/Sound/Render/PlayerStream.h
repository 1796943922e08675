#pragma once

#include "Platform/Realtime/Realtime.h"
#include "Platform/Sound/AudioNode.h"
#include "Platform/Sound/Decode/RateConverter.h"
#include "Platform/Sound/Render/Ramp.h"

#include <spa/utils/ringbuffer.h>

#include <atomic>
#include <chrono>
#include <deque>
#include <memory>
#include <mutex>
#include <optional>
#include <variant>
#include <vector>

namespace tessivo::sound {

// One uninterrupted run of a player node, from its first scheduled file to its stop. The main
// thread gives orders, the reader thread decodes ahead into a ring of stereo frames, the
// audio callback takes frames out. When the ring is full the reader waits; when it is empty
// the callback puts out silence and counts it.
class PlayerStream {
public:
    PlayerStream(double renderRate, std::function<double()> outputLatency,
                 std::shared_ptr<std::atomic<std::int64_t>> starvedFrames);

    // Main thread.
    struct Pass {
        std::shared_ptr<AudioFileReader> file;
        NoticeWhen when = NoticeWhen::read;
        NoticeHandler handler;
        std::uint32_t passes = 1;
        std::uint64_t id = 0;
    };
    void schedule(Pass pass);
    void discardUpcoming();
    void stop();

    // Any thread. Frames decoded and not yet heard.
    std::int64_t queuedFrames() const;
    // Any thread. Frames that the callback has taken out.
    std::int64_t playedFrames() const { return played_.load(std::memory_order_acquire); }
    // Any thread. After stop(): the ramp has been heard.
    bool isFinished() const { return finished_.load(std::memory_order_acquire); }

    // Reader thread: does one step of work. Returns how long the reader may wait before the
    // next one: zero for "not at all", nothing for "until there is a new order".
    std::optional<std::chrono::milliseconds> work();
    // Reader thread: a stopped stream has fired its notices and needs no more work.
    bool isRetired() const { return retired_; }

    // Audio callback. Adds frames to left and right; with `first` it sets them instead.
    // Returns false, and leaves them alone, when the stream has nothing to say.
    bool render(float* left, float* right, std::uint32_t frames, std::uint32_t rampFrames,
                bool first) TESSIVO_REALTIME;

private:
    struct Discard {};
    using Order = std::variant<Pass, Discard>;
    // The end of a pass in the ring, in frames since the stream began.
    struct Boundary {
        std::int64_t end = 0;
        std::optional<Pass> heard; // to be notified once heard
    };

    void takeOrders();
    void discard();
    std::optional<std::chrono::milliseconds> decode();
    void readStep(AudioFileReader& file, std::int64_t count);
    void openConverter(const AudioFormat& format);
    void convertAndPush(std::span<const float> stereo, bool endOfInput);
    void push(std::span<const float> stereo);
    std::uint32_t passesPerStep(const Pass& pass) const;
    void finishPasses(std::uint32_t count);
    std::optional<std::chrono::milliseconds> notifyHeard();
    void retire();
    std::int64_t space() const;
    static void notify(const Pass& pass, PlaybackNotice::Reason reason);

    const double renderRate_;
    const std::uint32_t ringFrames_; // a power of two
    const std::function<double()> outputLatency_;
    const std::shared_ptr<std::atomic<std::int64_t>> starvedFrames_;

    // The reader writes, the callback reads; indices count frames and wrap.
    spa_ringbuffer ring_;
    std::vector<float> frames_;
    std::atomic<std::int64_t> played_{0};
    std::atomic<bool> primed_{false};   // reader -> callback: enough decoded to begin
    std::atomic<bool> decoding_{false}; // reader -> callback: more of a pass is to come
    std::atomic<bool> stopping_{false}; // main -> callback and reader
    std::atomic<bool> finished_{false}; // callback -> main

    std::mutex ordersMutex_; // main and reader only
    std::deque<Order> orders_;

    // Reader's side.
    std::deque<Pass> passes_; // the first one is being decoded
    std::uint32_t passesDone_ = 0;
    std::int64_t filePosition_ = 0;
    bool passOpen_ = false;
    std::int64_t written_ = 0;
    std::deque<Boundary> boundaries_;
    std::optional<std::chrono::steady_clock::time_point> endReached_;
    double converterRate_ = 0.0;
    std::unique_ptr<RateConverter> converter_;
    std::shared_ptr<AudioFileReader> wholeFile_; // whose frames stereoFrames_ holds
    std::vector<float> fileFrames_;
    std::vector<float> stereoFrames_;
    std::vector<float> stepFrames_; // what one step adds to the ring
    bool retired_ = false;

    // Callback's side.
    bool started_ = false;
    Ramp fade_{1.0F};
};

} // namespace tessivo::sound
