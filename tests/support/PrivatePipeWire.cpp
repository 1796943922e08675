#include "support/PrivatePipeWire.h"

#include <unistd.h>

#include <array>
#include <csignal>
#include <cstdio>
#include <fstream>
#include <iostream>

namespace tessivo::test {

namespace {

void choose(const std::string& role, const std::string& name) {
    runProgram({"pw-metadata", "0", "default.configured.audio." + role,
                R"({"name":")" + name + R"("})", "Spa:String:JSON"});
}

} // namespace

std::string runProgram(const std::vector<std::string>& command, std::chrono::milliseconds limit) {
    std::string line =
        "timeout -s KILL " + std::to_string(static_cast<double>(limit.count()) / 1e3);
    for (const std::string& argument : command) {
        line += " '";
        for (const char letter : argument) {
            line += letter == '\'' ? std::string(R"('\'')") : std::string(1, letter);
        }
        line += "'";
    }
    FILE* const pipe = popen((line + " 2>&1").c_str(), "re");
    if (pipe == nullptr) {
        throw std::runtime_error("cannot run " + line);
    }
    std::string output;
    std::array<char, 4096> piece{};
    while (const std::size_t count = std::fread(piece.data(), 1, piece.size(), pipe)) {
        output.append(piece.data(), count);
    }
    if (const int status = pclose(pipe); status != 0) {
        throw std::runtime_error(line + ": " + std::to_string(status) + " " + output);
    }
    return output;
}

ScriptedServer::ScriptedServer(std::string path, const std::vector<std::string>& options)
    : path_(std::move(path)) {
    std::vector<std::string> arguments{"start", "--owner", std::to_string(getpid())};
    arguments.insert(arguments.end(), options.begin(), options.end());
    script(std::move(arguments));
    std::ifstream environment(folder_ / "environment");
    for (std::string line; std::getline(environment, line);) {
        const std::size_t equals = line.find('=');
        setenv(line.substr(0, equals).c_str(), line.substr(equals + 1).c_str(), 1);
    }
}

ScriptedServer::~ScriptedServer() {
    try {
        script({"stop"});
    } catch (const std::exception& error) {
        std::cerr << error.what() << '\n';
    }
}

void ScriptedServer::script(std::vector<std::string> arguments) const {
    arguments.insert(arguments.begin() + 1, (folder_ / "").string());
    arguments.insert(arguments.begin(), path_);
    runProgram(arguments, 4 * kPatience); // several things, one after another
}

PrivatePipeWire::PrivatePipeWire(const std::vector<std::string>& options)
    : ScriptedServer(TESSIVO_VIRTUAL_SOUND_SCRIPT, options) {}

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

// The first column of pw-cli's list is the property, or "id".
std::string PrivatePipeWire::find(const char* wanted, const char* key,
                                  const std::string& value) const {
    return runProgram({"sh", "-c",
                       R"(pw-cli ls Node | awk -v wanted="$0" -v key="$1" -v value="$2" '
                            $1 == "id" {found["id"] = $2 + 0; next}
                            {gsub("\"", ""); found[$1] = $3}
                            $1 == key && $3 == value {printf "%s", found[wanted]; exit}')",
                       wanted, key, value});
}

void PrivatePipeWire::chooseTarget(const std::string& mediaClass, const std::string& device) {
    runProgram({"pw-metadata", find("id", "media.class", mediaClass), "target.object",
                find("object.serial", "node.name", device)});
}

std::string PrivatePipeWire::properties(const std::string& mediaClass) const {
    return runProgram({"pw-cli", "info", find("id", "media.class", mediaClass)});
}

void PrivatePipeWire::set(const std::string& setting, int value) {
    runProgram({"pw-metadata", "-n", "settings", "0", "clock." + setting, std::to_string(value)});
}

void PrivatePipeWire::link(const std::string& output, const std::string& input) {
    runProgram({"sh", "-c", R"(until pw-link "$0" "$1"; do sleep 0.01; done)", output, input});
}

std::string PrivatePipeWire::links() const {
    return runProgram({"pw-link", "-iol"});
}

void PrivatePipeWire::kill() {
    script({"kill-server"});
}

void PrivatePipeWire::restart() {
    script({"restart-server"});
}

void PrivatePipeWire::restartSession() {
    script({"restart-session", "speaker", "mic"});
}

void PrivatePipeWire::freeze(const char* process) const {
    signal(process, SIGSTOP);
}

void PrivatePipeWire::thaw(const char* process) const {
    signal(process, SIGCONT);
}

void PrivatePipeWire::signal(const char* process, int number) const {
    std::ifstream file(folder_ / (std::string(process) + ".pid"));
    pid_t id = 0;
    if (!(file >> id) || id <= 1 || ::kill(id, number) != 0) {
        throw std::runtime_error(std::string("there is no process to signal: ") + process);
    }
}

} // namespace tessivo::test
