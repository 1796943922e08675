#pragma once

#include "Musician.h"
#include "support/AppProcess.h"

#include <arpa/inet.h>
#include <fcntl.h>
#include <poll.h>
#include <sys/prctl.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <bit>
#include <chrono>
#include <csignal>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <random>
#include <stdexcept>
#include <string>
#include <vector>

namespace tessivo::benchmark {

constexpr double kRate = 48000.0;

// A server whose cost is measured as well.
class MeasuredServer : public test::PrivatePipeWire {
public:
    explicit MeasuredServer(int quantum)
        : PrivatePipeWire({"--quantum", std::to_string(quantum)})
        , quantum_(quantum) {}

    int quantum() const { return quantum_; }
    pid_t id() const {
        std::ifstream file(folder_ / "pipewire.pid");
        pid_t id = 0;
        file >> id;
        return id;
    }
    void awaitLink(const std::string& line) const {
        if (!test::eventually([&] { return links().find(line) != std::string::npos; })) {
            throw std::runtime_error("no link " + line + ":\n" + links());
        }
    }

private:
    int quantum_;
};

// A looper as a program of its own, linked to the microphone and the speaker.
class Looper {
public:
    virtual ~Looper() = default;

    virtual const char* name() const = 0;
    virtual pid_t id() const = 0;
    // The one command that begins a take and that ends it and lets it sound. Returns its time
    // in frames, of which only differences mean something.
    virtual double press() = 0;
    // Returns when the program says that its loop sounds.
    virtual void awaitLoop() = 0;
    // Ends the sound; the next press begins a take again.
    virtual void stop() = 0;
};

// Tessivo with its window, ordered by notes.
class Tessivo final : public Looper {
public:
    static constexpr std::uint8_t kRecord = 80;
    static constexpr std::uint8_t kStop = 1;

    Tessivo(const MeasuredServer& server, Musician& musician,
            const std::vector<std::string>& wrapper = {})
        : musician_(musician)
        , quantum_(server.quantum())
        , app_(home_ / "", wrapper) {
        app_.await("✅ Connected to MIDI device: musician");
        server.awaitLink("|-> Tessivo:input_FL");
        server.awaitLink("|<- Tessivo:output_FL");
    }

    const char* name() const override { return "Tessivo"; }
    pid_t id() const override { return app_.id(); }
    double press() override { return static_cast<double>(play(kRecord)); }
    void awaitLoop() override { app_.await("Playback started"); }
    void stop() override {
        play(kStop);
        app_.await("Playback stopped");
    }

    // The frame of the note, anywhere in a cycle.
    std::int64_t play(std::uint8_t note) {
        std::uniform_int_distribution<std::int64_t> anywhere(0, quantum_ - 1);
        const std::int64_t frame = musician_.frames() + 2 * quantum_ + anywhere(random_);
        musician_.play(note, frame);
        if (!test::eventually([&] { return musician_.frames() > frame; })) {
            throw std::runtime_error("the graph stands still");
        }
        return frame;
    }
    test::AppProcess& app() { return app_; }
    std::filesystem::path takes() const { return home_ / "Documents/LooperFiles"; }

private:
    Musician& musician_;
    const std::int64_t quantum_;
    std::mt19937 random_{2026};
    test::TemporaryFolder home_;
    test::AppProcess app_;
};

// The free looper SooperLooper with one stereo loop as it comes, without its window, ordered by
// OSC messages. Only what passes the microphone on is off, because Tessivo does not do so either.
class Peer final : public Looper {
public:
    static bool isInstalled() {
        return std::system("command -v sooperlooper pw-jack >/dev/null") == 0;
    }

    explicit Peer(MeasuredServer& server) {
        socket_ = socket(AF_INET, SOCK_DGRAM | SOCK_CLOEXEC, 0);
        sockaddr_in address = local(0);
        socklen_t size = sizeof address;
        if (bind(socket_, reinterpret_cast<sockaddr*>(&address), size) != 0 ||
            getsockname(socket_, reinterpret_cast<sockaddr*>(&address), &size) != 0) {
            throw std::runtime_error("no port for the peer's answers");
        }
        answersTo_ = "osc.udp://127.0.0.1:" + std::to_string(ntohs(address.sin_port)) + "/";
        port_ = freePort();
        start();
        if (!test::eventually([&] { return state() == kOff; }, std::chrono::seconds(15))) {
            end();
            throw std::runtime_error("the peer does not answer");
        }
        set("/sl/0/set", "dry", 0.0F);
        set("/set", "dry", 0.0F);
        for (const char* const side : {"L", "R"}) {
            const std::string number = *side == 'L' ? "1" : "2";
            server.link(std::string("mic:capture_F") + side, "sooperlooper:loop0_in_" + number);
            server.link("sooperlooper:loop0_out_" + number,
                        std::string("speaker:playback_F") + side);
        }
    }
    ~Peer() override { end(); }
    Peer(const Peer&) = delete;
    Peer& operator=(const Peer&) = delete;

    const char* name() const override { return "SooperLooper"; }
    pid_t id() const override { return id_; }
    double press() override {
        const auto now = std::chrono::steady_clock::now().time_since_epoch();
        send(text("/sl/0/hit") + text(",s") + text("record"));
        return std::chrono::duration<double>(now).count() * kRate;
    }
    void awaitLoop() override { await(kPlaying); }
    void stop() override {
        send(text("/sl/0/hit") + text(",s") + text("undo_all"));
        await(kOff);
    }
    void set(const std::string& path, const std::string& control, float value) {
        send(text(path) + text(",sf") + text(control) + number(value));
    }

private:
    static constexpr int kOff = 0;
    static constexpr int kPlaying = 4;

    static sockaddr_in local(std::uint16_t port) {
        sockaddr_in address{};
        address.sin_family = AF_INET;
        address.sin_port = htons(port);
        address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
        return address;
    }

    static std::uint16_t freePort() {
        const int probe = socket(AF_INET, SOCK_DGRAM | SOCK_CLOEXEC, 0);
        sockaddr_in address = local(0);
        socklen_t size = sizeof address;
        bind(probe, reinterpret_cast<sockaddr*>(&address), size);
        getsockname(probe, reinterpret_cast<sockaddr*>(&address), &size);
        ::close(probe);
        return ntohs(address.sin_port);
    }

    // A string of a message, ended and filled up with zeros to a multiple of four bytes.
    static std::string text(std::string value) {
        value.resize((value.size() / 4 + 1) * 4);
        return value;
    }

    static std::string number(float value) {
        const std::uint32_t bits = htonl(std::bit_cast<std::uint32_t>(value));
        return {reinterpret_cast<const char*>(&bits), sizeof bits};
    }

    void send(const std::string& message) const {
        const sockaddr_in address = local(port_);
        sendto(socket_, message.data(), message.size(), 0,
               reinterpret_cast<const sockaddr*>(&address), sizeof address);
    }

    // What the loop does, -1 while there is no answer.
    int state() const {
        send(text("/sl/0/get") + text(",sss") + text("state") + text(answersTo_) + text("/state"));
        pollfd wait{socket_, POLLIN, 0};
        std::array<char, 1024> answer{};
        int state = -1;
        while (poll(&wait, 1, 50) > 0) {
            const ssize_t size = recv(socket_, answer.data(), answer.size(), MSG_DONTWAIT);
            if (size >= 4) { // its value comes last
                std::uint32_t bits = 0;
                std::memcpy(&bits, answer.data() + size - 4, sizeof bits);
                state = static_cast<int>(std::bit_cast<float>(ntohl(bits)));
            }
        }
        return state;
    }

    void await(int wanted) const {
        if (!test::eventually([&] { return state() == wanted; })) {
            throw std::runtime_error("the peer is not in state " + std::to_string(wanted));
        }
    }

    void start() {
        std::vector<std::string> command{"env", "HOME=" + (home_ / "").string()};
        if (!std::filesystem::exists("/dev/snd/seq")) {
            command.emplace_back("LD_PRELOAD=" TESSIVO_QUIET_SEQUENCER);
        }
        command.insert(command.end(), {"pw-jack", "sooperlooper", "-q", "-l", "1", "-c", "2", "-p",
                                       std::to_string(port_)});
        std::vector<char*> arguments;
        for (std::string& argument : command) {
            arguments.push_back(argument.data());
        }
        arguments.push_back(nullptr);
        const std::string log = (home_ / "log").string();
        id_ = fork();
        if (id_ == 0) {
            prctl(PR_SET_PDEATHSIG, SIGKILL);
            const int output = ::open(log.c_str(), O_WRONLY | O_CREAT | O_CLOEXEC, 0600);
            dup2(output, STDOUT_FILENO);
            dup2(output, STDERR_FILENO);
            execvp(arguments.front(), arguments.data());
            _exit(127);
        }
        if (id_ < 0) {
            throw std::runtime_error("the peer cannot be started");
        }
    }

    void end() {
        ::kill(id_, SIGKILL);
        waitpid(id_, nullptr, 0);
        ::close(socket_);
    }

    test::TemporaryFolder home_;
    int socket_ = -1;
    std::string answersTo_;
    std::uint16_t port_ = 0;
    pid_t id_ = 0;
};

} // namespace tessivo::benchmark
