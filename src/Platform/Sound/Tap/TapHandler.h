#pragma once

#include "Platform/Sound/AudioPCMBuffer.h"

#include <functional>

namespace tessivo::sound {

// What a tap does with each buffer. Runs on the tap thread, one buffer at a time. It may wait
// for a disk, as the queue behind it holds 40 s.
using TapHandler = std::function<void(const AudioPCMBuffer&, const AudioTime&)>;

// What a meter does with the newest buffer of the input's first channel, and whether any sample of
// the input has been at full scale or beyond since the last call. Runs on the tap thread.
using MeterBlock = std::function<void(const AudioPCMBuffer&, bool isOver)>;

} // namespace tessivo::sound
