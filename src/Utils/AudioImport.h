#pragma once

#include "Models/SavedLoop.h"

#include <QUrl>

#include <cstdint>
#include <functional>

namespace tessivo {

struct ImportedAudio {
    SavedLoop loop;                 // dated now
    std::uint32_t channelCount = 0; // all are kept; the first two are heard
};

// Called now and then with the part that is done, from 0 to 1. What it throws ends the import.
using ImportProgress = std::function<void(double)>;

// Puts an audio file of any kind that can be read into the saved-loops folder, as WAV of 32-bit
// float samples: a file that is one is copied, any other is converted at its own rate. The loop is
// named after the file, with a number where that file name is taken. After a failure there is no
// copy, not even part of one. Any thread; blocks on the disk.
//
// Throws a LoopError, or an AudioError that names the file, also when it ends too early or has
// samples that are not finite.
ImportedAudio importAudio(const QUrl& source, const ImportProgress& progress);

} // namespace tessivo
