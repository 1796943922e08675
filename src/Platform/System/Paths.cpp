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

QString documentsDirectory() {
    return QStandardPaths::writableLocation(QStandardPaths::DocumentsLocation);
}

} // namespace tessivo
