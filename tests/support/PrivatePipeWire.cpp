#include "support/PrivatePipeWire.h"

#include <fcntl.h>
#include <poll.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <csignal>
#include <cstdlib>
#include <fstream>
#include <iostream>
#include <stdexcept>

namespace tessivo::test {

namespace {

using Clock = std::chrono::steady_clock;

// Reads until the other end is closed or the deadline is over.
std::string readUntil(int descriptor, Clock::time_point deadline) {
    std::string text;
    std::array<char, 4096> piece{};
    for (;;) {
        const auto left =
            std::chrono::duration_cast<std::chrono::milliseconds>(deadline - Clock::now());
        pollfd wait{descriptor, POLLIN, 0};
        if (left.count() <= 0 || poll(&wait, 1, static_cast<int>(left.count())) <= 0) {
            return text;
        }
        const ssize_t count = read(descriptor, piece.data(), piece.size());
        if (count <= 0) {
            return text;
        }
        text.append(piece.data(), static_cast<std::size_t>(count));
    }
}

void choose(const std::string& role, const std::string& name) {
    runProgram({"pw-metadata", "0", "default.configured.audio." + role,
                R"({"name":")" + name + R"("})", "Spa:String:JSON"},
               std::chrono::seconds(2));
}

} // namespace

std::string runProgram(const std::vector<std::string>& command, std::chrono::milliseconds limit) {
    std::vector<char*> arguments;
    for (const std::string& argument : command) {
        arguments.push_back(const_cast<char*>(argument.c_str()));
    }
    arguments.push_back(nullptr);
    std::array<int, 2> pipe{};
    if (pipe2(pipe.data(), O_CLOEXEC) != 0) {
        throw std::runtime_error("no pipe for " + command.front());
    }
    posix_spawn_file_actions_t actions{};
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_adddup2(&actions, pipe[1], STDOUT_FILENO);
    posix_spawn_file_actions_adddup2(&actions, pipe[1], STDERR_FILENO);
    pid_t id = 0;
    const int failure =
        posix_spawnp(&id, arguments.front(), &actions, nullptr, arguments.data(), environ);
    posix_spawn_file_actions_destroy(&actions);
    close(pipe[1]);
    if (failure != 0) {
        close(pipe[0]);
        throw std::runtime_error("cannot run " + command.front());
    }
    const auto deadline = Clock::now() + limit;
    std::string output = readUntil(pipe[0], deadline);
    close(pipe[0]);
    int status = 0;
    const bool ended =
        eventually([&] { return waitpid(id, &status, WNOHANG) != 0; },
                   std::chrono::duration_cast<std::chrono::milliseconds>(deadline - Clock::now()));
    if (!ended) {
        ::kill(id, SIGKILL);
        waitpid(id, &status, 0);
    }
    if (!ended || !WIFEXITED(status) || WEXITSTATUS(status) != 0) {
        std::string line;
        for (const std::string& argument : command) {
            line += argument + " ";
        }
        throw std::runtime_error(line + (ended ? "failed: " : "did not end: ") + output);
    }
    return output;
}

PrivatePipeWire::PrivatePipeWire(const std::vector<std::string>& options) {
    std::string name = (std::filesystem::temp_directory_path() / "tessivo-XXXXXX").string();
    if (mkdtemp(name.data()) == nullptr) {
        throw std::runtime_error("no folder for the sound server");
    }
    folder_ = name;
    std::vector<std::string> arguments{"start", "--owner", std::to_string(getpid())};
    arguments.insert(arguments.end(), options.begin(), options.end());
    script(std::move(arguments));
    std::ifstream environment(folder_ / "environment");
    for (std::string line; std::getline(environment, line);) {
        const std::size_t equals = line.find('=');
        setenv(line.substr(0, equals).c_str(), line.substr(equals + 1).c_str(), 1);
    }
}

PrivatePipeWire::~PrivatePipeWire() {
    try {
        script({"stop"});
        std::filesystem::remove_all(folder_);
    } catch (const std::exception& error) {
        std::cerr << error.what() << '\n';
    }
}

void PrivatePipeWire::createMicrophone(const std::string& name, int rate,
                                       const std::string& positions) {
    script({"create", name, "Audio/Source/Virtual", std::to_string(rate), positions});
}

void PrivatePipeWire::createSpeaker(const std::string& name, int rate,
                                    const std::string& positions) {
    script({"create", name, "Audio/Sink", std::to_string(rate), positions});
}

void PrivatePipeWire::destroyDevice(const std::string& name) {
    script({"destroy", name});
}

void PrivatePipeWire::chooseMicrophone(const std::string& name) {
    choose("source", name);
}

void PrivatePipeWire::chooseSpeaker(const std::string& name) {
    choose("sink", name);
}

void PrivatePipeWire::forceRate(int rate) {
    runProgram({"pw-metadata", "-n", "settings", "0", "clock.force-rate", std::to_string(rate)},
               std::chrono::seconds(2));
}

void PrivatePipeWire::link(const std::string& output, const std::string& input) {
    std::string problem;
    const bool linked = eventually([&] {
        try {
            runProgram({"pw-link", output, input}, std::chrono::seconds(2));
            return true;
        } catch (const std::runtime_error& error) {
            problem = error.what();
            return false;
        }
    });
    if (!linked) {
        throw std::runtime_error(problem);
    }
}

std::string PrivatePipeWire::links() const {
    return runProgram({"pw-link", "-iol"}, std::chrono::seconds(2));
}

void PrivatePipeWire::kill() {
    script({"kill-server"});
}

void PrivatePipeWire::restart() {
    script({"restart-server"});
}

void PrivatePipeWire::freeze() {
    signalServer(SIGSTOP);
}

void PrivatePipeWire::thaw() {
    signalServer(SIGCONT);
}

void PrivatePipeWire::script(std::vector<std::string> arguments) const {
    arguments.insert(arguments.begin() + 1, folder_.string());
    arguments.insert(arguments.begin(), TESSIVO_VIRTUAL_SOUND_SCRIPT);
    runProgram(arguments);
}

void PrivatePipeWire::signalServer(int signal) const {
    std::ifstream file(folder_ / "pipewire.pid");
    pid_t id = 0;
    if (!(file >> id) || id <= 1 || ::kill(id, signal) != 0) {
        throw std::runtime_error("there is no sound server to signal");
    }
}

} // namespace tessivo::test
