#pragma once

#include <chrono>
#include <condition_variable>
#include <cstddef>
#include <cstdint>
#include <deque>
#include <mutex>
#include <stop_token>
#include <string>
#include <string_view>
#include <thread>

namespace tessivo {

// Writes lines to a file descriptor on a thread of its own, so that a reader that has
// stopped blocks nobody else and one that has gone raises no signal.
//
// Any thread adds lines, the writer's thread takes them; each is written by one write() and
// they come out in the order in which they were added. When the queue is full a new line is
// lost; once there is room again, a line in its place says how many were.
class LineWriter {
public:
    // The descriptor stays the caller's and must outlive the writer.
    explicit LineWriter(int descriptor, std::size_t capacity = 4096);
    // Waits for a write() that is under way; what is still queued is dropped.
    ~LineWriter() = default;
    LineWriter(const LineWriter&) = delete;
    LineWriter& operator=(const LineWriter&) = delete;

    // Adds one line, given without its end. Line breaks inside become spaces. Never waits
    // for the reader.
    void add(std::string_view line);

    // Waits until everything added so far is written, but no longer than that. Returns
    // whether it is.
    bool flush(std::chrono::milliseconds limit);

private:
    struct Entry {
        std::string text;
        std::uint64_t lostBefore; // lines
    };

    void run(const std::stop_token& stop);
    void reportLost(std::uint64_t lost);
    bool writeLine(std::string line) const;

    const int descriptor_;
    const std::size_t capacity_;
    std::mutex mutex_; // guards the fields down to writing_
    std::condition_variable_any added_;
    std::condition_variable idle_;
    std::deque<Entry> queue_;
    std::uint64_t lost_ = 0; // lines lost behind the last queued one
    bool writing_ = false;
    std::uint64_t unreported_ = 0; // lost lines; the writer's thread only
    std::jthread thread_;
};

} // namespace tessivo
