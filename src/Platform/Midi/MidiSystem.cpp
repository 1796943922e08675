#include "Platform/Midi/MidiSystem.h"

#include "Platform/Midi/PipeWireMidi.h"

#include <mutex>
#include <utility>

namespace tessivo::midi {

namespace {

std::mutex sharedMutex;

std::shared_ptr<MidiSystem>& sharedSystem() {
    static std::shared_ptr<MidiSystem> system;
    return system;
}

} // namespace

std::shared_ptr<MidiSystem> MidiSystem::shared() {
    const std::scoped_lock lock(sharedMutex);
    std::shared_ptr<MidiSystem>& system = sharedSystem();
    if (!system) {
        system = std::make_shared<PipeWireMidi>("Tessivo");
    }
    return system;
}

void MidiSystem::setShared(std::shared_ptr<MidiSystem> system) {
    const std::scoped_lock lock(sharedMutex);
    sharedSystem().swap(system);
}

} // namespace tessivo::midi
