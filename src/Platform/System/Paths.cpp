#include "Platform/System/Paths.h"

#include <QFileInfo>
#include <QStandardPaths>

#include <pwd.h>
#include <unistd.h>

namespace tessivo {

std::filesystem::path pathOf(const QUrl& file) {
    return QFileInfo(file.toLocalFile()).filesystemFilePath();
}

void ensureHome() {
    if (qEnvironmentVariableIsEmpty("HOME")) {
        if (const passwd* const user = ::getpwuid(::getuid())) {
            qputenv("HOME", user->pw_dir);
        }
    }
}

QUrl urlOf(const std::filesystem::path& path) {
    return QUrl::fromLocalFile(QString::fromStdString(path.string()));
}

QString documentsDirectory() {
    return QStandardPaths::writableLocation(QStandardPaths::DocumentsLocation);
}

} // namespace tessivo
