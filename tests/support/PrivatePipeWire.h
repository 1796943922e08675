#pragma once

#include "support/Basics.h"

#include <chrono>
#include <string>
#include <vector>

namespace tessivo::test {

// Runs a program, waits for it and returns what it printed. Throws std::runtime_error when
// it fails or takes longer than the limit; it is ended then.
std::string runProgram(const std::vector<std::string>& command,
                       std::chrono::milliseconds limit = kPatience);

// A background process that one of our scripts starts. Its environment variables are set in this
// process. It ends with this object, and also when the test crashes.
class ScriptedServer {
public:
    ScriptedServer(std::string path, const std::vector<std::string>& options);
    ~ScriptedServer();
    ScriptedServer(const ScriptedServer&) = delete;
    ScriptedServer& operator=(const ScriptedServer&) = delete;

protected:
    void script(std::vector<std::string> arguments) const;

    TemporaryFolder folder_;

private:
    std::string path_;
};

// A private sound server with a virtual speaker ("speaker") and a virtual microphone ("mic").
// While it exists, this process's environment makes clients use it. All functions are bounded in
// time and throw std::runtime_error when they fail.
class PrivatePipeWire : public ScriptedServer {
public:
    // The options of scripts/virtual-sound.sh.
    explicit PrivatePipeWire(const std::vector<std::string>& options = {});

    void createMicrophone(const std::string& name, int rate, const std::string& positions);
    void createSpeaker(const std::string& name, int rate, const std::string& positions);
    void destroyDevice(const std::string& name);
    // Makes a device the default one, as the user would in the desktop's settings.
    void chooseMicrophone(const std::string& name);
    void chooseSpeaker(const std::string& name);
    // Makes a device the target of a stream of ours, as the user would in a mixer.
    void chooseTarget(const std::string& mediaClass, const std::string& device);
    // The properties of that stream, in pw-cli's words.
    std::string properties(const std::string& mediaClass) const;
    // A setting of the running graph, as "force-rate" or "min-quantum".
    void set(const std::string& setting, int value);
    void forceRate(int rate) { set("force-rate", rate); }

    // Links two ports named "node:port" as soon as both are there.
    void link(const std::string& output, const std::string& input);
    // All ports and links, in pw-link's words.
    std::string links() const;

    void kill();           // as kill -9
    void restart();        // after kill(); returns when the devices are the defaults again
    void restartSession(); // kills the session manager alone, and both devices with it
    // As SIGSTOP and SIGCONT to one of its processes: "pipewire", "wireplumber" or "dbus".
    void freeze(const char* process = "pipewire") const;
    void thaw(const char* process = "pipewire") const;

protected:
    std::string find(const char* wanted, const char* key, const std::string& value) const;
    // To one of those processes.
    void signal(const char* process, int number) const;
};

} // namespace tessivo::test
