#pragma once

#include "Models/SavedLoop.h"
#include "Platform/Sound/File/AudioFile.h"
#include "Utils/LoopFileManager.h"

#include <algorithm>
#include <filesystem>
#include <vector>

namespace tessivo::benchmark {

inline constexpr double kRate = 48000.0;

// Where the takes are kept.
inline std::filesystem::path folder() {
    return LoopFileManager::savedLoopsDirectory().toLocalFile().toStdString();
}

// Silence.
inline void writeAudio(const std::filesystem::path& path, std::int64_t frames) {
    const sound::AudioFormat format(kRate, 2);
    sound::AudioPCMBuffer buffer(format, 48000);
    sound::AudioFileWriter writer(path, format.settings());
    for (std::int64_t done = 0; done < frames; done += buffer.frameLength()) {
        buffer.setFrameLength(
            static_cast<std::uint32_t>(std::min<std::int64_t>(48000, frames - done)));
        writer.write(buffer);
    }
}

// Names as people give them, in four scripts, some with accents.
// The audio files are written, the metadata are not.
inline std::vector<SavedLoop> loopsWithNames(int count) {
    const std::vector<QString> words{"Beat",
                                     "Drum",
                                     "Vibe",
                                     "Pad",
                                     "B\u00e4ssline",
                                     "Caf\u00e9",
                                     "\u0413\u0438\u0442\u0430\u0440\u0430",
                                     "Night",
                                     "Loop",
                                     "Strings",
                                     "Gro\u00dfe Halle",
                                     "\u03a6\u03c9\u03c2",
                                     "\u6728\u7434",
                                     "Take"};
    std::vector<SavedLoop> loops;
    for (int i = 0; i < count; ++i) {
        const auto word = [&](int n) {
            return words[static_cast<std::size_t>(n) % words.size()];
        };
        const QString name = QStringLiteral("%1 %2 %3")
                                 .arg(word(i), word(i / 14), QString::number(i * 7919 % count));
        const QString file = QStringLiteral("%1.wav").arg(i);
        writeAudio(folder() / file.toStdString(), 480);
        loops.emplace_back(name, file, SecondsSince2001(7e8 + i * 61.25), i * 37 % 600, 4000);
    }
    return loops;
}

} // namespace tessivo::benchmark
