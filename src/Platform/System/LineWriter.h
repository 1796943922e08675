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

// Writes lines to a file descriptor on a thread of its own. If nobody reads them, or the reader
// has gone, other threads neither block nor get a signal.
//
// Any thread adds lines; the writer's thread writes them in this order, each with one write().
// When the queue is full a new line is dropped; when there is room again, a line in its place
// says how many were.
class LineWriter {
public:
    // The descriptor stays the caller's and must outlive the writer.
    explicit LineWriter(int descriptor, std::size_t capacity = 4096);
    // Waits for the current write(); lines that are still queued are dropped.
    ~LineWriter() = default;
    LineWriter(const LineWriter&) = delete;
    LineWriter& operator=(const LineWriter&) = delete;

    // Adds one line, given without its end. Line breaks and other control
    // characters inside become spaces. Never waits for the reader.
    void add(std::string_view line);

    // Waits until all lines are written, at most for the limit. Returns whether they are.
    bool flush(std::chrono::milliseconds limit);

private:
    struct Entry {
        std::string text;
        std::uint64_t lostBefore; // number of lines dropped just before this one
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
    std::uint64_t lost_ = 0; // number of lines dropped after the last queued one
    bool writing_ = false;
    std::uint64_t unreported_ = 0; // lost lines; the writer's thread only
    std::jthread thread_;
};

} // namespace tessivo
