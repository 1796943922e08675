#include "Platform/Sound/Decode/ReaderThread.h"

#include <algorithm>
#include <exception>
#include <iterator>
#include <string>
#include <utility>

namespace tessivo::sound {

using std::chrono::milliseconds;

ReaderThread::ReaderThread(std::shared_ptr<const OutputLimit> limit, DiagnosticSink diagnostics)
    : limit_(std::move(limit))
    , diagnostics_(diagnostics ? std::move(diagnostics) : [](const std::string&) {})
    , thread_([this](const std::stop_token& stop) { run(stop); }) {}

ReaderThread::~ReaderThread() = default;

void ReaderThread::add(std::shared_ptr<PlayerReader> player) {
    {
        const std::lock_guard lock(mutex_);
        added_.push_back(std::move(player));
    }
    wake();
}

void ReaderThread::wake() {
    {
        const std::lock_guard lock(mutex_);
        woken_ = true;
    }
    changed_.notify_all();
}

void ReaderThread::run(const std::stop_token& stop) {
    std::vector<std::shared_ptr<PlayerReader>> players;
    std::unique_lock lock(mutex_);
    while (!stop.stop_requested()) {
        woken_ = false;
        std::move(added_.begin(), added_.end(), std::back_inserter(players));
        added_.clear();
        decoding_ = true;
        lock.unlock();

        std::optional<milliseconds> wait;
        bool limited = limit_->hasActed();
        for (const auto& player : players) {
            const auto next = workOn(*player);
            if (next && (!wait || *next < *wait)) {
                wait = next;
            }
            limited |= player->hasSilenced();
        }
        std::erase_if(players, [](const auto& player) { return player->isRetired(); });
        reportUnderruns();
        reportLimit(limited);
        decoding_ = false;

        lock.lock();
        const auto isWoken = [this] {
            return woken_;
        };
        if (!wait) {
            changed_.wait(lock, stop, isWoken);
        } else if (*wait > milliseconds::zero()) {
            changed_.wait_for(lock, stop, *wait, isWoken);
        }
    }
    std::move(added_.begin(), added_.end(), std::back_inserter(players));
    lock.unlock();
    for (const auto& player : players) {
        player->stop();
        workOn(*player);
    }
}

std::optional<milliseconds> ReaderThread::workOn(PlayerReader& player) const {
    try {
        return player.work();
    } catch (const std::exception& error) {
        diagnostics_(std::string("Playback ended: ") + error.what());
        player.fail();
        return milliseconds::zero();
    }
}

void ReaderThread::reportUnderruns() {
    const auto frames = underruns_->load(std::memory_order_relaxed);
    if (frames > reportedUnderruns_) {
        diagnostics_("Playback was short of " + std::to_string(frames - reportedUnderruns_) +
                     " frames: the disk did not deliver in time");
    }
    reportedUnderruns_ = frames;
}

void ReaderThread::reportLimit(bool needed) {
    if (needed && !std::exchange(limitReported_, true)) {
        diagnostics_(
            "⚠️ Samples that are no numbers were silenced, or far too loud ones limited to "
            "12 dB above full scale");
    }
}

} // namespace tessivo::sound
