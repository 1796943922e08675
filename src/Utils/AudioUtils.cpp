#include "Utils/AudioUtils.h"

#include "Platform/Sound/File/AudioFile.h"
#include "Platform/System/LogLine.h"
#include "Platform/System/Paths.h"
#include "Utils/TakeMarker.h"

#include <chrono>
#include <cmath>
#include <filesystem>
#include <system_error>

namespace tessivo {

namespace {

QUrl recordingsDirectory() {
    return QUrl::fromLocalFile(documentsDirectory() + QStringLiteral("/LooperFiles"));
}

} // namespace

QUrl AudioUtils::getLooperRecordingsDirectory() {
    QUrl folder = recordingsDirectory();
    std::error_code error;
    std::filesystem::create_directories(pathOf(folder), error);
    if (error) {
        logLine("Failed to create LooperFiles directory: " + error.message());
    }
    return folder;
}

QUrl AudioUtils::createLoopFileURL() {
    using namespace std::chrono;
    const auto now = duration_cast<seconds>(system_clock::now().time_since_epoch()).count();
    return QUrl::fromLocalFile(getLooperRecordingsDirectory().toLocalFile() +
                               QStringLiteral("/loop_%1.wav").arg(now));
}

void AudioUtils::removeStaleRecordings() {
    sound::AudioFileWriter::removeStale(pathOf(recordingsDirectory()));
}

QUrl AudioUtils::findCutOffRecording() {
    const auto recording = TakeMarker::findCutOff(pathOf(recordingsDirectory()));
    return recording ? urlOf(*recording) : QUrl();
}

QString AudioUtils::formatDuration(double seconds) {
    constexpr double kLimit = 0x1p63;
    const bool isValid = seconds < kLimit; // false for NaN
    const auto whole = isValid ? static_cast<qint64>(std::fmax(seconds, 0.0)) : qint64{0};
    return QString::asprintf("%02lld:%02lld", whole / 60, whole % 60);
}

} // namespace tessivo
