#pragma once

#include "Platform/Sound/Device/PipeWireDuplexDevice.h"
#include "Platform/System/LogLine.h"

#include <chrono>
#include <memory>
#include <string>

namespace tessivo {

// The system's default microphone and speaker, under the name by which the sound server lists us.
inline std::unique_ptr<sound::AudioDevice> makeLooperDevice() {
    return std::make_unique<sound::PipeWireDuplexDevice>(
        "Tessivo", [](const std::string& line) { logLine(line); });
}

// The default speaker, for previews: nothing of them depends on the server's first answers.
inline std::unique_ptr<sound::AudioDevice> makePreviewDevice() {
    return std::make_unique<sound::PipeWireDuplexDevice>("Tessivo Preview", sound::DiagnosticSink{},
                                                         std::chrono::milliseconds(0), "Preview");
}

} // namespace tessivo
