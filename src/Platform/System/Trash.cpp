#include "Platform/System/Trash.h"

#include <QDir>
#include <QFile>
#include <QStandardPaths>
#include <QTemporaryFile>

namespace tessivo {
namespace {

// Where the framework can make no trash it takes the current folder for it, and where it cannot
// write into the trash it tries without end.
bool hasTrash() {
    const QDir data(QStandardPaths::writableLocation(QStandardPaths::GenericDataLocation));
    data.mkpath(QStringLiteral(".")); // which a new account has not yet
    for (const char* folder : {"Trash", "Trash/files", "Trash/info"}) {
        data.mkdir(QLatin1String(folder), QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner);
    }
    return data.exists(QStringLiteral("Trash/files")) &&
           QTemporaryFile(data.filePath(QStringLiteral("Trash/info/XXXXXX"))).open();
}

} // namespace

void throwAway(const std::filesystem::path& path, std::error_code& error) {
    // A link in the trash would lead elsewhere, if anywhere.
    if (is_regular_file(symlink_status(path, error)) && hasTrash() && QFile(path).moveToTrash()) {
        return;
    }
    remove(path, error);
}

} // namespace tessivo
