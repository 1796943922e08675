#include "Platform/System/Trash.h"

#include <QDir>
#include <QFile>
#include <QStandardPaths>

namespace tessivo {

void throwAway(const std::filesystem::path& path, std::error_code& error) {
    // A link in the trash would lead elsewhere, if anywhere.
    if (is_regular_file(symlink_status(path, error))) {
        // A new account has no folder yet for the trash to be in.
        QDir().mkpath(QStandardPaths::writableLocation(QStandardPaths::GenericDataLocation));
        if (QFile(path).moveToTrash()) {
            return;
        }
    }
    remove(path, error);
}

} // namespace tessivo
