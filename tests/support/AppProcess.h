#pragma once

#include "support/PrivatePipeWire.h"

#include <sys/types.h>

#include <atomic>
#include <chrono>
#include <cstddef>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

namespace tessivo::test {

// A display of the test's own.
struct VirtualDisplay : ScriptedServer {
    VirtualDisplay()
        : ScriptedServer(TESSIVO_VIRTUAL_DISPLAY_SCRIPT, {}) {}
};

// The application as its user has it: started as a program, driven by keys and clicks, read
// line by line. Everything is bounded in time and throws std::runtime_error, with all the
// lines so far, when it does not come about. Called by one thread.
class AppProcess {
public:
    struct Line {
        std::chrono::steady_clock::time_point at;
        std::string text;
    };

    // Starts it with that home; the wrapper is a command that ends in its place. Returns when
    // its window has the keyboard.
    explicit AppProcess(const std::filesystem::path& home,
                        const std::vector<std::string>& wrapper = {});
    ~AppProcess(); // kills it
    AppProcess(const AppProcess&) = delete;
    AppProcess& operator=(const AppProcess&) = delete;

    // The next line that has this text, after the one that was awaited last.
    Line await(const std::string& text, std::chrono::milliseconds limit = kPatience);
    std::vector<Line> linesFrom(std::size_t first) const;
    std::vector<std::string> lines() const;           // all of them
    std::size_t count(const std::string& text) const; // lines that have it
    void stopReading(); // what it says now stays in the pipe, which is small
    void closeOutput(); // there is no pipe any more

    // Between which times the key went down.
    struct Press {
        std::chrono::steady_clock::time_point before;
        std::chrono::steady_clock::time_point after;
    };
    Press press(const std::string& key);
    void hold(const std::string& key) { sendKey("keydown", key); }
    void release(const std::string& key) { sendKey("keyup", key); }
    // Returns when a window of that title, or one that begins so, has the keyboard.
    void awaitWindow(const std::string& title);
    void click(int x, int y); // in the main window
    // Whether the window does what a click orders, within three seconds, twice.
    bool answers();

    pid_t id() const { return id_; }
    bool runs();
    void kill();       // as kill -9
    int closeWindow(); // returns what the program returned
    // By a signal, or with 0 by itself; likewise.
    int end(int signal);

private:
    void sendKey(const std::string& action, const std::string& key);
    void read();
    bool ended(std::chrono::milliseconds limit);
    int result();

    pid_t id_ = 0;
    int status_ = 0;
    bool collected_ = false;
    std::string window_;

    int output_ = -1;
    std::atomic<bool> reading_{true};
    std::thread reader_; // adds to lines_
    mutable std::mutex mutex_;
    std::vector<Line> lines_;
    std::size_t awaited_ = 0;
};

} // namespace tessivo::test
