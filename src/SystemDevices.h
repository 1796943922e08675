#pragma once

#include "Platform/Sound/Device/PipeWireDuplexDevice.h"

#include <memory>

namespace tessivo {

// The system's default microphone and speaker, under the name by which the sound server lists us.
inline std::unique_ptr<sound::AudioDevice> makeLooperDevice() {
    return std::make_unique<sound::PipeWireDuplexDevice>("Tessivo");
}

// The default speaker, for previews: connects to the server only when the first one starts.
inline std::unique_ptr<sound::AudioDevice> makePreviewDevice() {
    return std::make_unique<sound::PipeWireDuplexDevice>(
        "Tessivo Preview", sound::PipeWireDuplexDevice::Connect::atStart);
}

} // namespace tessivo
