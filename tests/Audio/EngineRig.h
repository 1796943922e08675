#pragma once

#include "Audio/SimpleAudioEngine.h"
#include "support/QtTestSupport.h"

#include <memory>
#include <utility>

namespace tessivo::test {

// The looper's engine over an offline device, with a home of its own and its lines caught.
struct EngineRig {
    explicit EngineRig(sound::AudioDevice::Formats deviceFormats = formats(2)) {
        auto owned = std::make_unique<sound::OfflineDevice>(deviceFormats);
        device = owned.get();
        engine = std::make_unique<SimpleAudioEngine>(std::move(owned));
    }

    TemporaryHome home;
    CapturedLines lines;
    sound::OfflineDevice* device = nullptr;
    std::unique_ptr<SimpleAudioEngine> engine;
};

} // namespace tessivo::test
