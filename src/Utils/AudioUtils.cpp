#include "Utils/AudioUtils.h"

#include "Platform/System/DocumentsDirectory.h"
#include "Platform/System/LogLine.h"

#include <QFileInfo>

#include <chrono>
#include <filesystem>
#include <system_error>

namespace tessivo {

QUrl AudioUtils::getLooperRecordingsDirectory() {
    const QString path = documentsDirectory() + QStringLiteral("/LooperFiles");
    std::error_code error;
    std::filesystem::create_directories(QFileInfo(path).filesystemFilePath(), error);
    if (error) {
        logLine("Failed to create LooperFiles directory: " + error.message());
    }
    return QUrl::fromLocalFile(path);
}

QUrl AudioUtils::createLoopFileURL() {
    using namespace std::chrono;
    const auto now = duration_cast<seconds>(system_clock::now().time_since_epoch()).count();
    return QUrl::fromLocalFile(getLooperRecordingsDirectory().toLocalFile() +
                               QStringLiteral("/loop_%1.wav").arg(now));
}

QString AudioUtils::formatDuration(double seconds) {
    constexpr double kLimit = 0x1p63;
    const bool isLength = seconds >= 0.0 && seconds < kLimit; // false for NaN
    const auto whole = isLength ? static_cast<qint64>(seconds) : qint64{0};
    return QString::asprintf("%02lld:%02lld", whole / 60, whole % 60);
}

} // namespace tessivo
