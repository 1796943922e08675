#pragma once

#include <functional>
#include <string>

namespace tessivo::sound {

// Receives one line about a fault, e.g. frames lost to a full queue. Called on the engine's tap and
// reader threads, never on the audio callback.
using DiagnosticSink = std::function<void(const std::string&)>;

} // namespace tessivo::sound
