#include "Models/LibraryFile.h"

#include "Models/LibraryMetadata.h"
#include "Platform/System/Paths.h"
#include "Platform/System/SerialQueue.h"
#include "Utils/LoopFileManager.h"

#include <QDateTime>
#include <QFile>
#include <QFileInfo>
#include <QSaveFile>

#include <cerrno>
#include <filesystem>
#include <system_error>

namespace tessivo {
namespace {

namespace fs = std::filesystem;

QString metadataPath() {
    return LoopFileManager::libraryMetadataURL().toLocalFile();
}

fs::path nativePath(const QString& path) {
    return QFileInfo(path).filesystemFilePath();
}

// "library-2026-11-22-201502.json", and so on where that is taken.
fs::path unusedDatedName() {
    const QString stem = QFileInfo(metadataPath()).path() + QStringLiteral("/library-") +
                         QDateTime::currentDateTime().toString(QStringLiteral("yyyy-MM-dd-HHmmss"));
    QString name = stem + QStringLiteral(".json");
    std::error_code ignored;
    for (int i = 1; fs::exists(fs::symlink_status(nativePath(name), ignored)); ++i) {
        name = stem + u'-' + QString::number(i) + QStringLiteral(".json");
    }
    return nativePath(name);
}

} // namespace

void LibraryFile::post(std::function<void()> access) {
    // Never destroyed: the last writes happen while the application ends.
    static auto& queue = *new SerialQueue(BackgroundQueue::Priority::utility);
    queue.post(std::move(access));
}

std::optional<std::vector<SavedLoop>> LibraryFile::read() {
    std::error_code error;
    const bool exists = fs::exists(fs::symlink_status(nativePath(metadataPath()), error));
    if (!exists) {
        if (error && error != std::errc::no_such_file_or_directory &&
            error != std::errc::not_a_directory) {
            throw std::system_error(error, "library.json");
        }
        return std::nullopt;
    }
    // A pipe of that name would be waited for without end.
    if (!fs::is_regular_file(nativePath(metadataPath()), error)) {
        throw std::runtime_error("library.json is not a file");
    }
    QFile file(metadataPath());
    if (!file.open(QIODevice::ReadOnly)) {
        throw std::runtime_error(file.errorString().toStdString());
    }
    const QByteArray bytes = file.readAll();
    if (file.error() != QFileDevice::NoError) {
        throw std::runtime_error(file.errorString().toStdString());
    }
    return LibraryMetadata::decode(bytes);
}

void LibraryFile::write(const std::vector<SavedLoop>& loops) {
    const QByteArray bytes = LibraryMetadata::encode(loops);
    std::error_code ignored;
    const auto path = nativePath(metadataPath());
    if (fs::is_directory(fs::symlink_status(path, ignored))) {
        // A folder cannot be renamed over; whatever it is, it is kept.
        fs::rename(path, unusedDatedName());
    }
    QSaveFile file(metadataPath());
    if (!file.open(QIODevice::WriteOnly) || file.write(bytes) != bytes.size() || !file.commit()) {
        throw std::runtime_error(file.errorString().toStdString());
    }
    syncFolder(nativePath(metadataPath()).parent_path());
}

void LibraryFile::keepBeside() {
    const auto path = nativePath(metadataPath());
    std::error_code error;
    if (!fs::is_regular_file(path, error)) {
        return;
    }
    const auto kept = unusedDatedName();
    // Of a link it is the file that is kept: a write goes through the link.
    fs::create_hard_link(fs::canonical(path, error), kept, error);
    if (error) {
        fs::copy_file(path, kept, error);
    }
}

} // namespace tessivo
