#include "support/AppProcess.h"

#include <fcntl.h>
#include <poll.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <csignal>
#include <cstdlib>
#include <iostream>
#include <stdexcept>

namespace tessivo::test {

namespace {

using namespace std::chrono_literals;

constexpr int kPipeSize = 4096; // full after one take's lines

} // namespace

AppProcess::AppProcess(const std::filesystem::path& home, const std::vector<std::string>& wrapper) {
    std::vector<std::string> command{"env"};
    for (const char* variable : {"WAYLAND_DISPLAY", "XDG_CONFIG_HOME", "XDG_DATA_HOME",
                                 "XDG_CACHE_HOME", "XDG_STATE_HOME"}) {
        command.insert(command.end(), {"-u", variable});
    }
    command.insert(command.end(),
                   {"HOME=" + home.string(), "QT_QPA_PLATFORM=xcb", "QT_QUICK_BACKEND=software",
                    "LSAN_OPTIONS=suppressions=" TESSIVO_FOREIGN_LEAKS});
    command.insert(command.end(), wrapper.begin(), wrapper.end());
    command.emplace_back(TESSIVO_PROGRAM);
    std::vector<char*> arguments;
    for (std::string& argument : command) {
        arguments.push_back(argument.data());
    }
    arguments.push_back(nullptr);

    std::array<int, 2> pipe{};
    if (pipe2(pipe.data(), O_CLOEXEC) != 0 || fcntl(pipe[1], F_SETPIPE_SZ, kPipeSize) < 0) {
        throw std::runtime_error("no pipe for the application");
    }
    id_ = fork();
    if (id_ == 0) {
        dup2(pipe[1], STDOUT_FILENO);
        execvp(arguments.front(), arguments.data());
        _exit(127);
    }
    if (id_ < 0) {
        throw std::runtime_error("the application cannot be started");
    }
    close(pipe[1]);
    output_ = pipe[0];
    reader_ = std::thread([this] { read(); });

    try {
        window_ = runProgram({"sh", "-c", R"(exec 2>/dev/null
            until found=$(xdotool search --onlyvisible --class tessivo) &&
                timeout 2 xdotool windowfocus --sync "${found%%[!0-9]*}"; do sleep 0.02; done
            printf %s "${found%%[!0-9]*}")"});
    } catch (const std::runtime_error&) {
        kill();
        closeOutput();
        throw;
    }
}

AppProcess::~AppProcess() {
    kill();
    closeOutput();
}

void AppProcess::read() {
    std::string text;
    std::array<char, kPipeSize> piece{};
    while (reading_) {
        pollfd wait{output_, POLLIN, 0};
        if (poll(&wait, 1, 20) <= 0) {
            continue;
        }
        const ssize_t count = ::read(output_, piece.data(), piece.size());
        if (count <= 0) {
            return;
        }
        const auto now = std::chrono::steady_clock::now();
        text.append(piece.data(), static_cast<std::size_t>(count));
        const std::lock_guard lock(mutex_);
        for (std::size_t end = 0; (end = text.find('\n')) != std::string::npos;) {
            lines_.push_back({now, text.substr(0, end)});
            text.erase(0, end + 1);
        }
    }
}

AppProcess::Line AppProcess::await(const std::string& text, std::chrono::milliseconds limit) {
    Line found;
    const bool said = eventually(
        [&] {
            const std::lock_guard lock(mutex_);
            while (awaited_ < lines_.size()) {
                found = lines_[awaited_++];
                if (found.text.find(text) != std::string::npos) {
                    return true;
                }
            }
            return false;
        },
        limit);
    if (!said) {
        std::string all;
        for (const std::string& line : lines()) {
            all += "    " + line + "\n";
        }
        throw std::runtime_error("the application did not say \"" + text + "\" but\n" + all);
    }
    return found;
}

std::vector<AppProcess::Line> AppProcess::linesFrom(std::size_t first) const {
    const std::lock_guard lock(mutex_);
    return {lines_.begin() + static_cast<std::ptrdiff_t>(first), lines_.end()};
}

std::vector<std::string> AppProcess::lines() const {
    std::vector<std::string> texts;
    for (const Line& line : linesFrom(0)) {
        texts.push_back(line.text);
    }
    return texts;
}

std::size_t AppProcess::count(const std::string& text) const {
    const auto all = lines();
    return static_cast<std::size_t>(std::count_if(all.begin(), all.end(), [&](const auto& line) {
        return line.find(text) != std::string::npos;
    }));
}

void AppProcess::stopReading() {
    reading_ = false;
    if (reader_.joinable()) {
        reader_.join();
    }
}

void AppProcess::closeOutput() {
    stopReading();
    if (output_ >= 0) {
        close(output_);
        output_ = -1;
    }
}

AppProcess::Press AppProcess::press(const std::string& key) {
    const auto before = std::chrono::steady_clock::now();
    sendKey("key", key);
    return {before, std::chrono::steady_clock::now()};
}

void AppProcess::sendKey(const std::string& action, const std::string& key) {
    runProgram({"xdotool", action, key});
}

void AppProcess::awaitWindow(const std::string& title) {
    runProgram({"sh", "-c",
                R"(until xdotool getwindowfocus getwindowname | grep "^$0"; do sleep 0.02; done)",
                title});
}

void AppProcess::click(int x, int y) {
    runProgram({"xdotool", "mousemove", "--window", window_, std::to_string(x), std::to_string(y),
                "click", "1"});
}

bool AppProcess::answers() {
    try {
        for (const char* state : {"monitoring enabled", "monitoring disabled"}) {
            click(215, 295);
            await(state, 3s);
        }
        return true;
    } catch (const std::runtime_error& error) {
        std::cerr << error.what() << '\n';
        return false;
    }
}

bool AppProcess::ended(std::chrono::milliseconds limit) {
    return eventually(
        [this] {
            collected_ = collected_ || waitpid(id_, &status_, WNOHANG) == id_;
            return collected_;
        },
        limit);
}

bool AppProcess::runs() {
    return !ended(0ms);
}

void AppProcess::kill() {
    if (runs()) {
        ::kill(id_, SIGKILL);
        ended(kPatience);
    }
}

int AppProcess::closeWindow() {
    press("alt+F4");
    return result();
}

int AppProcess::end(int signal) {
    ::kill(id_, signal);
    return result();
}

int AppProcess::result() {
    if (!ended(kPatience)) {
        throw std::runtime_error("the application did not end in time");
    }
    return WIFEXITED(status_) ? WEXITSTATUS(status_) : -WTERMSIG(status_);
}

} // namespace tessivo::test
