#include "Platform/Sound/Decode/PlayerReader.h"

#include "Platform/Sound/AudioError.h"
#include "Platform/Sound/Limits.h"

#include <algorithm>
#include <cmath>
#include <utility>

namespace tessivo::sound {

namespace {

using std::chrono::milliseconds;

// How often the ring is topped up, far more often than it could run empty.
constexpr milliseconds kTopUpInterval{200};
// How often the end of a sounding file is polled for once it is near.
constexpr milliseconds kHeardPoll{10};

// Frames ahead of the callback's position that must not be taken back: those of a cycle that is
// running and of the one after it.
constexpr std::int64_t kGuardFrames = 2 * static_cast<std::int64_t>(kMaxRenderFrames);

// Far more than the converter's filter is long, at any rate that it converts.
constexpr std::int64_t kFilterFrames = 4096;

void notify(const PlayerReader::ScheduledFile& file, PlaybackNotice::Reason reason) {
    if (file.handler) {
        file.handler({reason, file.id});
    }
}

// Spreads the samples of a file with that many channels to stereo, in place: mono goes to both
// sides, of more channels the first two are kept.
void makeStereo(std::vector<float>& samples, std::uint32_t channels, std::size_t frames) {
    if (channels == 1) {
        for (std::size_t i = frames; i-- > 0;) {
            samples[2 * i] = samples[2 * i + 1] = samples[i];
        }
    } else if (channels > 2) {
        for (std::size_t i = 0; i < frames; ++i) {
            samples[2 * i] = samples[i * channels];
            samples[2 * i + 1] = samples[i * channels + 1];
        }
    }
    samples.resize(frames * kGraphChannels);
}

} // namespace

PlayerReader::PlayerReader(std::shared_ptr<PlayerRing> ring, double renderRate,
                           std::function<double()> outputLatency, std::optional<Sounding> sounding)
    : ring_(std::move(ring))
    , renderRate_(renderRate)
    , outputLatency_(std::move(outputLatency))
    , followsSounding_(sounding.has_value())
    , sounding_(std::move(sounding)) {}

void PlayerReader::schedule(ScheduledFile file) {
    const std::lock_guard lock(ordersMutex_);
    orders_.emplace_back(std::move(file));
}

void PlayerReader::discardUpcoming() {
    const std::lock_guard lock(ordersMutex_);
    orders_.emplace_back(DiscardUpcoming{});
}

std::optional<milliseconds> PlayerReader::work() {
    takeOrders();
    const bool stopping = ring_->isStopping();
    if (stopping || failed_) {
        ring_->setMoreToCome(false);
        dropPassEnds(0);
        dropScheduled(0);
        retired_ = stopping;
        return std::nullopt;
    }
    const auto untilDecode = decode();
    const auto untilHeard = giveHeardNotices();
    if (untilDecode && untilHeard) {
        return std::min(*untilDecode, *untilHeard);
    }
    return untilDecode ? untilDecode : untilHeard;
}

void PlayerReader::fail() {
    failed_ = true;
    if (followsSounding_) {
        ring_->stop(); // what sounds from memory has nothing to go on with
    }
    ring_->setPrebuffered(); // what was decoded before is heard
}

void PlayerReader::takeOrders() {
    std::deque<Order> orders;
    {
        const std::lock_guard lock(ordersMutex_);
        orders.swap(orders_);
    }
    for (auto& order : orders) {
        if (auto* file = std::get_if<ScheduledFile>(&order)) {
            scheduled_.push_back(std::move(*file));
        } else {
            discard();
        }
    }
}

// In both lists an entry leaves before its notice, so that no notice can come twice.
void PlayerReader::dropScheduled(std::size_t keep) {
    while (scheduled_.size() > keep) {
        const auto position = scheduled_.begin() + static_cast<std::ptrdiff_t>(keep);
        const ScheduledFile file = std::move(*position);
        scheduled_.erase(position);
        notify(file, PlaybackNotice::Reason::stopped);
    }
}

void PlayerReader::dropPassEnds(std::size_t keep) {
    while (passEnds_.size() > keep) {
        const auto position = passEnds_.begin() + static_cast<std::ptrdiff_t>(keep);
        const PassEnd end = std::move(*position);
        passEnds_.erase(position);
        if (end.heard) {
            notify(*end.heard, PlaybackNotice::Reason::stopped);
        }
    }
}

// Keeps the pass that is sounding, or the first whose end is far enough ahead of the callback
// to be cut at, and takes everything behind it back out of the ring.
void PlayerReader::discard() {
    const std::int64_t earliest =
        ring_->playedFrames() + (ring_->isPrebuffered() ? kGuardFrames : 0);
    const auto keep = std::find_if(passEnds_.begin(), passEnds_.end(),
                                   [&](const PassEnd& end) { return end.frame >= earliest; });
    if (keep != passEnds_.end()) {
        ring_->takeBack(written_ - keep->frame);
        written_ = keep->frame;
        dropPassEnds(static_cast<std::size_t>(keep - passEnds_.begin()) + 1);
    } else if (passOpen_) {
        // The pass being decoded is the one sounding: it is finished, nothing after it.
        scheduled_.front().passes = passesDone_ + 1;
        dropScheduled(1);
        return;
    }
    passOpen_ = false;
    passesDone_ = 0;
    if (converter_) {
        converter_->reset();
    }
    dropScheduled(0);
}

// At most kReadChunkFrames, and so few that conversion makes at most twice as many: the ring has
// room for these beyond the read-ahead (PlayerRing::capacityFor()).
std::int64_t PlayerReader::framesPerStep(const AudioFileReader& file) const {
    const double limit =
        kReadChunkFrames * std::min(1.0, 2.0 * file.format().sampleRate() / renderRate_);
    return std::max<std::int64_t>(1, static_cast<std::int64_t>(limit));
}

std::optional<milliseconds> PlayerReader::decode() {
    if (scheduled_.empty()) {
        ring_->setMoreToCome(false);
        return std::nullopt;
    }
    if (ring_->queuedFrames() >= static_cast<std::int64_t>(kReadAheadSeconds * renderRate_)) {
        return kTopUpInterval;
    }
    const auto& scheduled = scheduled_.front();
    auto& file = *scheduled.file;
    if (!passOpen_) {
        joining_ = sounding_.has_value();
        openFile(file);
    }
    ring_->setMoreToCome(true);
    const auto count = std::min(framesPerStep(file), file.length() - filePosition_);
    if (fileInMemory_ != scheduled.file) {
        readStep(file, count);
        fileInMemory_ = count == file.length() ? scheduled.file : nullptr;
    }
    filePosition_ += count;
    const bool passDone = filePosition_ == file.length();
    std::uint32_t passes = 1;
    if (fileInMemory_) {
        const auto inStep = static_cast<std::uint32_t>(framesPerStep(file) / count);
        passes = std::min(scheduled.passes - passesDone_, inStep);
    }
    const bool lastPass = passDone && passesDone_ + passes >= scheduled.passes;
    const std::int64_t begin = written_;
    convertAndPush(
        std::span(stereo_).first(static_cast<std::size_t>(passes * count) * kGraphChannels),
        lastPass && scheduled.when == NoticeWhen::heard);
    if (passDone) {
        for (std::uint32_t i = 1; i <= passes; ++i) {
            passEnds_.push_back({begin + (written_ - begin) * i / passes, std::nullopt});
        }
        finishPasses(passes);
    }
    if (scheduled_.empty() ||
        written_ >= static_cast<std::int64_t>(kPrebufferSeconds * renderRate_)) {
        ring_->setPrebuffered();
    }
    return milliseconds::zero();
}

void PlayerReader::openFile(const AudioFileReader& file) {
    const double rate = file.format().sampleRate();
    if (rate == renderRate_) {
        converter_ = nullptr;
        converterRate_ = 0.0;
    } else if (rate != converterRate_) {
        converter_ = std::make_unique<RateConverter>(rate, renderRate_, kGraphChannels);
        converterRate_ = rate;
    }
    filePosition_ = 0;
    passOpen_ = true;
    if (sounding_) {
        joinSounding(file);
    }
}

// Begins at the frame that is due now. What is over by the time it has been decoded, the callback
// skips. A converter begins a little earlier, so that its filter knows what came before.
void PlayerReader::joinSounding(const AudioFileReader& file) {
    const std::int64_t join = std::max(sounding_->now(), sounding_->zero);
    const std::int64_t frame = (join - sounding_->zero) % sounding_->length;
    if (converter_) {
        const double ratio = file.format().sampleRate() / renderRate_;
        const std::int64_t early = std::max<std::int64_t>(0, frame - kFilterFrames);
        filePosition_ = std::min(std::llround(static_cast<double>(early) * ratio),
                                 static_cast<long long>(file.length() - 1));
        skip_ = static_cast<std::size_t>(
            std::max(0LL, frame - std::llround(static_cast<double>(filePosition_) / ratio)));
    } else {
        filePosition_ = frame % file.length();
    }
    ring_->setJoin(join, converter_ != nullptr);
    sounding_.reset();
}

// Fills stereo_ with the file's next frames. A file that fits into one step is read once,
// however often it is played, and as many passes as fit make one step: for a loop of a few
// frames each pass would be a step of its own otherwise.
void PlayerReader::readStep(AudioFileReader& file, std::int64_t count) {
    const auto channels = file.format().channelCount();
    const auto frames = static_cast<std::size_t>(count);
    stereo_.resize(frames * std::max(channels, kGraphChannels));
    const auto samples = std::span(stereo_).first(frames * channels);
    std::size_t got = 0;
    try {
        if (std::exchange(joining_, false) || filePosition_ == 0) {
            file.seek(filePosition_);
        }
        got = static_cast<std::size_t>(std::max<std::int64_t>(file.read(samples), 0)) * channels;
    } catch (const AudioError&) {
        // The disk has failed; silence takes the place of what it did not deliver.
    }
    // A file that became shorter, or a disk that fails, must not change the loop's length.
    std::fill(samples.begin() + static_cast<std::ptrdiff_t>(got), samples.end(), 0.0F);
    makeStereo(stereo_, channels, frames);
    // One such sample would spoil the converter's whole filter, and what it is mixed with.
    for (float& sample : stereo_) {
        if (!std::isfinite(sample)) {
            sample = 0.0F;
            hasSilenced_ = true;
        }
    }
    if (count == file.length()) {
        const std::size_t pass = stereo_.size();
        stereo_.resize(pass * static_cast<std::size_t>(framesPerStep(file) / count));
        for (std::size_t i = pass; i < stereo_.size(); ++i) {
            stereo_[i] = stereo_[i - pass];
        }
    }
}

void PlayerReader::convertAndPush(std::span<const float> stereo, bool endOfInput) {
    if (!converter_) {
        push(stereo);
        return;
    }
    push(converter_->process(stereo, endOfInput));
    if (endOfInput) {
        converter_->reset();
    }
}

void PlayerReader::push(std::span<const float> stereo) {
    const std::size_t over = std::min(skip_, stereo.size() / kGraphChannels);
    skip_ -= over;
    stereo = stereo.subspan(over * kGraphChannels);
    ring_->push(stereo);
    written_ += static_cast<std::int64_t>(stereo.size() / kGraphChannels);
}

void PlayerReader::finishPasses(std::uint32_t count) {
    passOpen_ = false;
    passesDone_ += count;
    if (passesDone_ < scheduled_.front().passes) {
        return;
    }
    passesDone_ = 0;
    ScheduledFile done = std::move(scheduled_.front());
    scheduled_.pop_front();
    // Told to the callback before the notice can bring more, so that it does not take the
    // end of what is scheduled for an underrun.
    ring_->setMoreToCome(!scheduled_.empty());
    if (done.when == NoticeWhen::heard) {
        passEnds_.back().heard = std::move(done);
    } else {
        notify(done, PlaybackNotice::Reason::done);
    }
}

std::optional<milliseconds> PlayerReader::giveHeardNotices() {
    const auto played = ring_->playedFrames();
    while (!passEnds_.empty() && passEnds_.front().frame <= played) {
        if (passEnds_.front().heard) {
            const auto now = Clock::now();
            if (!endTakenAt_) {
                endTakenAt_ = now;
            }
            if (now - *endTakenAt_ < std::chrono::duration<double>(outputLatency_())) {
                return kHeardPoll;
            }
        }
        endTakenAt_.reset();
        const PassEnd end = std::move(passEnds_.front());
        passEnds_.pop_front();
        if (end.heard) {
            notify(*end.heard, PlaybackNotice::Reason::done);
        }
    }
    const auto next = std::find_if(passEnds_.begin(), passEnds_.end(),
                                   [](const PassEnd& end) { return end.heard.has_value(); });
    if (next == passEnds_.end()) {
        return std::nullopt;
    }
    const double seconds = static_cast<double>(next->frame - played) / renderRate_;
    return std::chrono::duration<double>(seconds) > 2 * kTopUpInterval ? kTopUpInterval
                                                                       : kHeardPoll;
}

} // namespace tessivo::sound
