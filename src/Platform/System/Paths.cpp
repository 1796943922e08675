#include "Platform/System/Paths.h"

#include <QFileInfo>
#include <QStandardPaths>

namespace tessivo {

std::filesystem::path pathOf(const QUrl& file) {
    return QFileInfo(file.toLocalFile()).filesystemFilePath();
}

QString documentsDirectory() {
    return QStandardPaths::writableLocation(QStandardPaths::DocumentsLocation);
}

} // namespace tessivo
