#pragma once

#include "Platform/Sound/Device/PipeWireDuplexDevice.h"
#include "Platform/System/LogLine.h"

#include <memory>
#include <string>

namespace tessivo {

// The system's default microphone and speaker, under the name by which the sound server lists us.
inline std::unique_ptr<sound::AudioDevice> makeLooperDevice() {
    using sound::PipeWireDuplexDevice;
    return std::make_unique<PipeWireDuplexDevice>("Tessivo", PipeWireDuplexDevice::Connect::now,
                                                  [](const std::string& line) { logLine(line); });
}

// The default speaker, for previews: connects to the server only when the first one starts.
inline std::unique_ptr<sound::AudioDevice> makePreviewDevice() {
    return std::make_unique<sound::PipeWireDuplexDevice>(
        "Tessivo Preview", sound::PipeWireDuplexDevice::Connect::atStart);
}

} // namespace tessivo
