#include "Platform/System/LineWriter.h"

#include <algorithm>
#include <cerrno>
#include <csignal>
#include <poll.h>
#include <unistd.h>
#include <utility>

namespace tessivo {

namespace {

// A name in a line may come from a file that anyone has written, and a terminal obeys control
// characters. They become spaces, two-byte ones (U+0080 to U+009F) too. A tab does no harm.
std::string withoutControls(std::string_view line) {
    std::string text(line);
    const auto isControl = [](char c) {
        return (static_cast<unsigned char>(c) < 0x20 && c != '\t') || c == 0x7f;
    };
    std::replace_if(text.begin(), text.end(), isControl, ' ');
    for (std::size_t at = 0; (at = text.find('\xc2', at)) != std::string::npos; ++at) {
        if (at + 1 < text.size() && (static_cast<unsigned char>(text[at + 1]) & 0xe0U) == 0x80U) {
            text.replace(at, 2, " ");
        }
    }
    return text;
}

} // namespace

LineWriter::LineWriter(int descriptor, std::size_t capacity)
    : descriptor_(descriptor)
    , capacity_(capacity)
    , thread_([this](const std::stop_token& stop) { run(stop); }) {}

void LineWriter::add(std::string_view line) {
    std::string text = withoutControls(line);
    {
        const std::scoped_lock lock(mutex_);
        if (queue_.size() >= capacity_) {
            ++lost_;
            return;
        }
        queue_.push_back({std::move(text), std::exchange(lost_, 0)});
    }
    added_.notify_one();
}

bool LineWriter::flush(std::chrono::milliseconds limit) {
    std::unique_lock lock(mutex_);
    return idle_.wait_for(lock, limit,
                          [this] { return queue_.empty() && lost_ == 0 && !writing_; });
}

void LineWriter::run(const std::stop_token& stop) {
    // When the reader has gone, write() shall fail and raise no signal. Blocked in this thread
    // only: the signal's disposition belongs to the process and its children.
    sigset_t brokenPipe;
    sigemptyset(&brokenPipe);
    sigaddset(&brokenPipe, SIGPIPE);
    pthread_sigmask(SIG_BLOCK, &brokenPipe, nullptr);

    std::unique_lock lock(mutex_);
    for (;;) {
        added_.wait(lock, stop, [this] { return !queue_.empty(); });
        if (stop.stop_requested()) {
            return;
        }
        Entry entry = std::move(queue_.front());
        queue_.pop_front();
        writing_ = true;
        lock.unlock();
        reportLost(entry.lostBefore);
        if (!writeLine(std::move(entry.text))) {
            ++unreported_;
        }
        lock.lock();
        if (queue_.empty() && lost_ > 0) {
            const std::uint64_t lost = std::exchange(lost_, 0);
            lock.unlock();
            reportLost(lost);
            lock.lock();
        }
        writing_ = false;
        idle_.notify_all();
    }
}

void LineWriter::reportLost(std::uint64_t lost) {
    unreported_ += lost;
    if (unreported_ > 0 && writeLine(std::to_string(unreported_) + " diagnostic lines were lost")) {
        unreported_ = 0;
    }
}

bool LineWriter::writeLine(std::string line) const {
    line += '\n';
    std::string_view rest(line);
    while (!rest.empty()) {
        const ssize_t written = ::write(descriptor_, rest.data(), rest.size());
        if (written >= 0) {
            rest.remove_prefix(static_cast<std::size_t>(written));
        } else if (errno == EAGAIN) {
            // Another process has made the shared pipe non-blocking.
            pollfd ready{descriptor_, POLLOUT, 0};
            ::poll(&ready, 1, -1);
        } else if (errno != EINTR) {
            return false;
        }
    }
    return true;
}

} // namespace tessivo
