#pragma once

#include "Platform/Sound/Device/AudioDevice.h"
#include "Platform/Sound/Device/PipeWireDefaults.h"

#include <chrono>
#include <mutex>
#include <optional>
#include <string>

namespace tessivo::sound {

// The formats that a device's user is told. After a restart of the server, when the devices
// come back one by one, a device keeps its format for some time until it is back.
class PublishedFormats {
public:
    AudioDevice::Formats get() const; // any thread

    // The others belong to one thread, or to the lock, of the owner.

    // Devices have new serial numbers on every connection; that alone is no change.
    void connected();
    // The connection replaces one that was lost: the devices are awaited.
    void awaitReturn();
    bool awaitsReturn() const { return returnDeadline_.has_value(); }

    // Follows the default devices; while cycles run, at a fixed rate. Returns whether there is a
    // change to tell: another device is one even if it has the same format.
    bool update(const PipeWireDefaults& defaults, std::optional<double> fixedRate);

private:
    mutable std::mutex mutex_;
    AudioDevice::Formats formats_{{}, {}, 48000.0}; // written by the owner only
    std::string inputSerial_;
    std::string outputSerial_;
    std::optional<std::chrono::steady_clock::time_point> returnDeadline_;
};

} // namespace tessivo::sound
