#include "ViewModels/Save/LoopMeasurement.h"

#include "Platform/System/BackgroundCall.h"
#include "Platform/System/Formatters.h"
#include "Platform/System/LogLine.h"
#include "Utils/AudioUtils.h"
#include "Utils/LoopFileManager.h"

#include <exception>
#include <optional>
#include <string>

namespace tessivo {

QString LoopMeasurement::duration() const {
    return AudioUtils::formatDuration(duration_);
}

QString LoopMeasurement::fileSize() const {
    return formatFileSize(fileSize_);
}

void LoopMeasurement::measure(const QUrl& file) {
    using Metadata = LoopFileManager::LoopMetadata;
    const auto readMetadata = [file]() -> std::optional<Metadata> {
        try {
            return LoopFileManager::getLoopMetadata(file);
        } catch (const std::exception& error) {
            logLine(std::string("Failed to load metadata: ") + error.what());
            return std::nullopt;
        }
    };
    runInBackground(BackgroundQueue::Priority::utility, this, readMetadata,
                    [this](const std::optional<Metadata>& metadata) {
                        if (metadata) {
                            duration_ = metadata->duration;
                            fileSize_ = metadata->fileSize;
                            emit measured();
                        }
                    });
}

} // namespace tessivo
