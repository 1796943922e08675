#pragma once

#include <sys/types.h>

#include <chrono>
#include <filesystem>
#include <string>
#include <thread>
#include <vector>

namespace tessivo::test {

// Runs a program, waits for it and returns what it printed. Throws std::runtime_error when
// it fails or takes longer than the limit; it is ended then.
std::string runProgram(const std::vector<std::string>& command,
                       std::chrono::milliseconds limit = std::chrono::seconds(15));

// Waits for a condition; false when the time is over and it does not hold.
template <typename Condition>
bool eventually(Condition&& condition, std::chrono::milliseconds limit = std::chrono::seconds(5)) {
    const auto deadline = std::chrono::steady_clock::now() + limit;
    while (!condition()) {
        if (std::chrono::steady_clock::now() > deadline) {
            return false;
        }
        std::this_thread::sleep_for(std::chrono::milliseconds(2));
    }
    return true;
}

// A sound server of the test's own with a virtual speaker ("speaker") and a virtual
// microphone ("mic"). While it lives, the environment of this process leads clients to it.
// Everything is bounded in time and throws std::runtime_error when it does not come about.
// The server ends with this object, and also when the test crashes.
class PrivatePipeWire {
public:
    // The options of scripts/virtual-sound.sh.
    explicit PrivatePipeWire(const std::vector<std::string>& options = {});
    ~PrivatePipeWire();
    PrivatePipeWire(const PrivatePipeWire&) = delete;
    PrivatePipeWire& operator=(const PrivatePipeWire&) = delete;

    void createMicrophone(const std::string& name, int rate, const std::string& positions);
    void createSpeaker(const std::string& name, int rate, const std::string& positions);
    void destroyDevice(const std::string& name);
    // Makes a device the default one, as the user would in the desktop's settings.
    void chooseMicrophone(const std::string& name);
    void chooseSpeaker(const std::string& name);
    // Makes the graph run at that rate from now on.
    void forceRate(int rate);

    // Links two ports named "node:port" as soon as both are there.
    void link(const std::string& output, const std::string& input);
    // All ports and links, in pw-link's words.
    std::string links() const;

    void kill();    // as kill -9
    void restart(); // after kill(); returns when the devices are the defaults again
    void freeze();  // as SIGSTOP
    void thaw();

private:
    void script(std::vector<std::string> arguments) const;
    void signalServer(int signal) const;

    std::filesystem::path folder_;
};

} // namespace tessivo::test
