#include "Utils/AudioImport.h"

#include "Platform/Files/AtomicFile.h"
#include "Platform/Sound/AudioError.h"
#include "Platform/Sound/File/AudioFile.h"
#include "Platform/System/Paths.h"
#include "Utils/LoopFileManager.h"

#include <QFileInfo>

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <filesystem>
#include <span>
#include <string>
#include <vector>

namespace tessivo {
namespace {

namespace fs = std::filesystem;

constexpr std::size_t kBlockSamples = std::size_t{1} << 17;

using TakeSamples = std::function<void(std::span<const float>)>;

sound::AudioError failure(const char* what, const fs::path& path) {
    return sound::AudioError(std::string(what) + " \"" + path.filename().string() + "\"");
}

// One sample that is no number would silence everything that is mixed with it.
void readAll(sound::AudioFileReader& file, const fs::path& path, const ImportProgress& progress,
             const TakeSamples& take) {
    const std::size_t channels = file.format().channelCount();
    std::vector<float> block(std::max<std::size_t>(kBlockSamples / channels, 1) * channels);
    std::int64_t done = 0;
    while (const std::int64_t frames = file.read(block)) {
        const auto samples = std::span(block).first(static_cast<std::size_t>(frames) * channels);
        if (!std::all_of(samples.begin(), samples.end(),
                         [](float s) { return std::isfinite(s); })) {
            throw failure("The audio file has samples that are not numbers:", path);
        }
        take(samples);
        done += frames;
        progress(std::min(1.0, static_cast<double>(done) / static_cast<double>(file.length())));
    }
    if (done == 0 || (done < file.length() && file.isLengthExact())) {
        throw failure("The audio file ends too early:", path);
    }
}

void convert(sound::AudioFileReader& file, const fs::path& path, const ImportProgress& progress,
             files::AtomicFile& target) {
    {
        const fs::path result = path.stem() += ".wav";
        sound::AudioFileWriter writer(target, result, file.format().settings());
        readAll(file, path, progress,
                [&](std::span<const float> samples) { writer.write(samples); });
    }
    target.completeLike(path);
}

QString nameOf(const fs::path& path) {
    const QFileInfo file(path);
    const QString name = file.completeBaseName().trimmed();
    return name.isEmpty() ? file.fileName() : name;
}

} // namespace

ImportedAudio importAudio(const QUrl& source, const ImportProgress& progress) {
    const fs::path path = pathOf(source);
    const auto file = sound::openForPlaying(path);
    const std::uint32_t channels = file->format().channelCount();
    LoopFileManager::checkDiskSpaceFor(file->length() * channels *
                                           static_cast<qint64>(sizeof(float)),
                                       LoopFileManager::getAvailableDiskSpace());
    const QString name = nameOf(path);
    const QString filename = LoopFileManager::addFile(name, [&](files::AtomicFile& target) {
        if (file->isFloatWav()) {
            readAll(*file, path, progress, [](std::span<const float>) {});
            target.copyFrom(path, [&] { progress(1.0); });
        } else {
            convert(*file, path, progress, target);
        }
    });
    const QString number =
        filename.mid(LoopFileManager::sanitizeFilename(name).size()).chopped(4); // of ".wav"
    const SavedLoop unmeasured(name + number, filename, secondsSince2001Now(), 0.0, 0);
    const auto [duration, fileSize] =
        LoopFileManager::getLoopMetadata(*LoopFileManager::locationOf(unmeasured));
    return {{unmeasured.name(), filename, unmeasured.createdDate(), duration, fileSize}, channels};
}

} // namespace tessivo
