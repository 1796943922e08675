#pragma once

#include <functional>
#include <string>

namespace tessivo::sound {

// Takes one line about something that went wrong beside the audio callback, e.g. frames lost
// to a full queue. Called on the engine's tap and reader threads, never on the callback.
using DiagnosticSink = std::function<void(const std::string&)>;

} // namespace tessivo::sound
