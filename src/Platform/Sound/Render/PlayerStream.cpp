#include "Platform/Sound/Render/PlayerStream.h"

#include "Platform/Sound/AudioError.h"
#include "Platform/Sound/Limits.h"

#include <algorithm>
#include <bit>
#include <cmath>

namespace tessivo::sound {

namespace {

using std::chrono::milliseconds;

// The ring is topped up this often, far more often than it could run empty.
constexpr milliseconds kTopUp{200};
// How often the end of a sounding file is looked for once it is near.
constexpr milliseconds kHeardPoll{10};

// Distance from the callback's position within which the ring must not change: a cycle that
// is running and the one after it.
constexpr std::int64_t kUntouchableFrames = 2 * static_cast<std::int64_t>(kMaxRenderFrames);

std::uint32_t ringFramesFor(double renderRate) {
    const auto wanted = static_cast<std::uint32_t>(kReadAheadSeconds * renderRate);
    return std::bit_ceil(std::max(wanted + 4 * kReadChunkFrames, 4 * kMaxRenderFrames));
}

// Frames of a file decoded at once: few enough that a raised rate does not make them more
// than the ring has room for beyond the read-ahead.
std::int64_t framesPerStep(double fileRate, double renderRate) {
    const double limit = kReadChunkFrames * std::min(1.0, 2.0 * fileRate / renderRate);
    return std::max<std::int64_t>(1, static_cast<std::int64_t>(limit));
}

} // namespace

PlayerStream::PlayerStream(double renderRate, std::function<double()> outputLatency,
                           std::shared_ptr<std::atomic<std::int64_t>> starvedFrames)
    : renderRate_(renderRate)
    , ringFrames_(ringFramesFor(renderRate))
    , outputLatency_(std::move(outputLatency))
    , starvedFrames_(std::move(starvedFrames))
    , ring_()
    , frames_(static_cast<std::size_t>(ringFrames_) * kGraphChannels) {
    spa_ringbuffer_init(&ring_);
}

void PlayerStream::schedule(Pass pass) {
    const std::lock_guard lock(ordersMutex_);
    orders_.emplace_back(std::move(pass));
}

void PlayerStream::discardUpcoming() {
    const std::lock_guard lock(ordersMutex_);
    orders_.emplace_back(Discard{});
}

void PlayerStream::stop() {
    stopping_.store(true, std::memory_order_release);
}

std::int64_t PlayerStream::queuedFrames() const {
    // The library's reading function takes a ring that may change; nothing is written here.
    std::uint32_t index = 0;
    return spa_ringbuffer_get_read_index(const_cast<spa_ringbuffer*>(&ring_), &index);
}

void PlayerStream::notify(const Pass& pass, PlaybackNotice::Reason reason) {
    if (pass.handler) {
        pass.handler({reason, pass.id});
    }
}

std::optional<milliseconds> PlayerStream::work() {
    takeOrders();
    if (stopping_.load(std::memory_order_acquire)) {
        retire();
        return std::nullopt;
    }
    const auto untilDecode = decode();
    const auto untilHeard = notifyHeard();
    if (untilDecode && untilHeard) {
        return std::min(*untilDecode, *untilHeard);
    }
    return untilDecode ? untilDecode : untilHeard;
}

void PlayerStream::takeOrders() {
    std::deque<Order> orders;
    {
        const std::lock_guard lock(ordersMutex_);
        orders.swap(orders_);
    }
    for (auto& order : orders) {
        if (auto* pass = std::get_if<Pass>(&order)) {
            passes_.push_back(std::move(*pass));
        } else {
            discard();
        }
    }
}

void PlayerStream::retire() {
    for (const auto& boundary : boundaries_) {
        if (boundary.heard) {
            notify(*boundary.heard, PlaybackNotice::Reason::stopped);
        }
    }
    for (const auto& pass : passes_) {
        notify(pass, PlaybackNotice::Reason::stopped);
    }
    boundaries_.clear();
    passes_.clear();
    decoding_.store(false, std::memory_order_relaxed);
    retired_ = true;
}

// Keeps the pass that is sounding, or the first whose end is far enough ahead of the callback
// to be cut at, and takes everything behind it back out of the ring.
void PlayerStream::discard() {
    const std::int64_t earliest =
        played_.load(std::memory_order_acquire) + (primed_ ? kUntouchableFrames : 0);
    const auto keep = std::find_if(boundaries_.begin(), boundaries_.end(),
                                   [&](const Boundary& b) { return b.end >= earliest; });
    if (keep != boundaries_.end()) {
        for (auto it = keep + 1; it != boundaries_.end(); ++it) {
            if (it->heard) {
                notify(*it->heard, PlaybackNotice::Reason::stopped);
            }
        }
        boundaries_.erase(keep + 1, boundaries_.end());
        std::uint32_t index = 0;
        spa_ringbuffer_get_write_index(&ring_, &index);
        spa_ringbuffer_write_update(
            &ring_,
            static_cast<std::int32_t>(index - static_cast<std::uint32_t>(written_ - keep->end)));
        written_ = keep->end;
    } else if (passOpen_) {
        // The pass being decoded is the one sounding: it is finished, nothing after it.
        passes_.front().passes = passesDone_ + 1;
        while (passes_.size() > 1) {
            notify(passes_[1], PlaybackNotice::Reason::stopped);
            passes_.erase(passes_.begin() + 1);
        }
        return;
    }
    for (const auto& pass : passes_) {
        notify(pass, PlaybackNotice::Reason::stopped);
    }
    passes_.clear();
    passOpen_ = false;
    passesDone_ = 0;
    if (converter_) {
        converter_->reset();
    }
}

std::int64_t PlayerStream::space() const {
    return static_cast<std::int64_t>(kReadAheadSeconds * renderRate_) - queuedFrames();
}

std::optional<milliseconds> PlayerStream::decode() {
    if (passes_.empty()) {
        decoding_.store(false, std::memory_order_relaxed);
        return std::nullopt;
    }
    if (space() <= 0) {
        return kTopUp;
    }
    auto& pass = passes_.front();
    const auto& file = *pass.file;
    if (!passOpen_) {
        filePosition_ = 0;
        passOpen_ = true;
        openConverter(file.format());
    }
    decoding_.store(true, std::memory_order_relaxed);
    const auto count = std::min<std::int64_t>(
        framesPerStep(file.format().sampleRate(), renderRate_), file.length() - filePosition_);
    // A file that fits into one step is read once, however often it is played, and as many
    // passes as fit are one step: a loop of a few frames would cost a step for each of them.
    if (wholeFile_ != pass.file) {
        readStep(*pass.file, count);
        wholeFile_ = count == file.length() ? pass.file : nullptr;
    }
    filePosition_ += count;
    const bool passDone = filePosition_ == file.length();
    const std::uint32_t passesAtOnce = wholeFile_ ? passesPerStep(pass) : 1;
    stepFrames_.clear();
    for (std::uint32_t i = 0; i < passesAtOnce; ++i) {
        stepFrames_.insert(stepFrames_.end(), stereoFrames_.begin(), stereoFrames_.end());
    }
    const bool lastPass = passDone && passesDone_ + passesAtOnce >= pass.passes;
    const std::int64_t before = written_;
    convertAndPush(stepFrames_, lastPass && pass.when == NoticeWhen::heard);
    if (passDone) {
        for (std::uint32_t i = 1; i <= passesAtOnce; ++i) {
            boundaries_.push_back({before + (written_ - before) * i / passesAtOnce, std::nullopt});
        }
        finishPasses(passesAtOnce);
    }
    if (passes_.empty() || written_ >= static_cast<std::int64_t>(kPrimedSeconds * renderRate_)) {
        primed_.store(true, std::memory_order_release);
    }
    return milliseconds::zero();
}

// Fills stereoFrames_ with the file's next frames.
void PlayerStream::readStep(AudioFileReader& file, std::int64_t count) {
    const auto channels = file.format().channelCount();
    fileFrames_.resize(static_cast<std::size_t>(count) * channels);
    std::int64_t got = 0;
    try {
        if (filePosition_ == 0) {
            file.seek(0);
        }
        got = std::max<std::int64_t>(file.read(fileFrames_), 0);
    } catch (const AudioError&) {
        // The disk is gone; silence keeps time.
    }
    // A file that got shorter, or a disk that fails, must not change the loop's length.
    std::fill(fileFrames_.begin() + static_cast<std::ptrdiff_t>(got * channels), fileFrames_.end(),
              0.0F);
    stereoFrames_.resize(static_cast<std::size_t>(count) * kGraphChannels);
    const std::uint32_t second = channels > 1 ? 1 : 0;
    for (std::size_t i = 0; i < static_cast<std::size_t>(count); ++i) {
        stereoFrames_[2 * i] = fileFrames_[i * channels];
        stereoFrames_[2 * i + 1] = fileFrames_[i * channels + second];
    }
}

void PlayerStream::openConverter(const AudioFormat& format) {
    if (format.sampleRate() == renderRate_) {
        converter_ = nullptr;
        converterRate_ = 0.0;
    } else if (format.sampleRate() != converterRate_) {
        converter_ =
            std::make_unique<RateConverter>(format.sampleRate(), renderRate_, kGraphChannels);
        converterRate_ = format.sampleRate();
    }
}

void PlayerStream::convertAndPush(std::span<const float> stereo, bool endOfInput) {
    if (!converter_) {
        push(stereo);
        return;
    }
    push(converter_->process(stereo, endOfInput));
    if (endOfInput) {
        converter_->reset();
    }
}

void PlayerStream::push(std::span<const float> stereo) {
    constexpr std::uint32_t frameBytes = kGraphChannels * sizeof(float);
    const auto count = static_cast<std::uint32_t>(stereo.size() / kGraphChannels);
    std::uint32_t index = 0;
    spa_ringbuffer_get_write_index(&ring_, &index);
    spa_ringbuffer_write_data(&ring_, frames_.data(), ringFrames_ * frameBytes,
                              (index & (ringFrames_ - 1)) * frameBytes, stereo.data(),
                              count * frameBytes);
    spa_ringbuffer_write_update(&ring_, static_cast<std::int32_t>(index + count));
    written_ += count;
}

// How many of the passes that are left make one step.
std::uint32_t PlayerStream::passesPerStep(const Pass& pass) const {
    const auto fitting =
        framesPerStep(pass.file->format().sampleRate(), renderRate_) / pass.file->length();
    return std::min(pass.passes - passesDone_, static_cast<std::uint32_t>(fitting));
}

void PlayerStream::finishPasses(std::uint32_t count) {
    auto& pass = passes_.front();
    passOpen_ = false;
    passesDone_ += count;
    if (passesDone_ < pass.passes) {
        return;
    }
    passesDone_ = 0;
    Pass done = std::move(pass);
    passes_.pop_front();
    // What follows is known before the notice can bring more, so that the callback does not
    // take the hand-over for starvation.
    decoding_.store(!passes_.empty(), std::memory_order_relaxed);
    if (done.when == NoticeWhen::heard) {
        boundaries_.back().heard = std::move(done);
    } else {
        notify(done, PlaybackNotice::Reason::done);
    }
}

std::optional<milliseconds> PlayerStream::notifyHeard() {
    const auto played = played_.load(std::memory_order_acquire);
    while (!boundaries_.empty() && boundaries_.front().end <= played) {
        auto& boundary = boundaries_.front();
        if (boundary.heard) {
            const auto now = std::chrono::steady_clock::now();
            if (!endReached_) {
                endReached_ = now;
            }
            if (now - *endReached_ < std::chrono::duration<double>(outputLatency_())) {
                return kHeardPoll;
            }
            notify(*boundary.heard, PlaybackNotice::Reason::done);
        }
        endReached_.reset();
        boundaries_.pop_front();
    }
    const auto next = std::find_if(boundaries_.begin(), boundaries_.end(),
                                   [](const Boundary& b) { return b.heard.has_value(); });
    if (next == boundaries_.end()) {
        return std::nullopt;
    }
    const double seconds = static_cast<double>(next->end - played) / renderRate_;
    return seconds * 1000.0 > 2.0 * static_cast<double>(kTopUp.count()) ? kTopUp : kHeardPoll;
}

bool PlayerStream::render(float* left, float* right, std::uint32_t frames, std::uint32_t rampFrames,
                          bool first) TESSIVO_REALTIME {
    if (finished_.load(std::memory_order_relaxed)) {
        return false;
    }
    const bool stopping = stopping_.load(std::memory_order_acquire);
    if (stopping && !started_) {
        finished_.store(true, std::memory_order_release);
        return false;
    }
    if (!primed_.load(std::memory_order_acquire)) {
        return false;
    }
    if (stopping) {
        fade_.aim(0.0F, rampFrames);
    }
    started_ = true;
    std::uint32_t index = 0;
    const auto filled = spa_ringbuffer_get_read_index(&ring_, &index);
    const std::uint32_t count = std::min(frames, static_cast<std::uint32_t>(std::max(filled, 0)));
    const std::uint32_t mask = ringFrames_ - 1;
    const bool fading = fade_.isMoving();
    for (std::uint32_t i = 0; i < count; ++i) {
        const float* frame = frames_.data() + static_cast<std::size_t>((index + i) & mask) * 2;
        const float l = fading ? frame[0] * fade_.next() : frame[0];
        const float r = fading ? frame[1] * fade_.value() : frame[1];
        left[i] = first ? l : left[i] + l;
        right[i] = first ? r : right[i] + r;
    }
    if (first) {
        std::fill(left + count, left + frames, 0.0F);
        std::fill(right + count, right + frames, 0.0F);
    }
    spa_ringbuffer_read_update(&ring_, static_cast<std::int32_t>(index + count));
    played_.store(played_.load(std::memory_order_relaxed) + count, std::memory_order_release);
    if (stopping && (!fade_.isMoving() || count < frames)) {
        finished_.store(true, std::memory_order_release);
    } else if (count < frames && decoding_.load(std::memory_order_relaxed)) {
        starvedFrames_->fetch_add(frames - count, std::memory_order_relaxed);
    }
    return count > 0;
}

} // namespace tessivo::sound
