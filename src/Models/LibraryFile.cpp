#include "Models/LibraryFile.h"

#include "Models/LibraryMetadata.h"
#include "Platform/Files/Folder.h"
#include "Platform/System/BackgroundQueue.h"
#include "Platform/System/Paths.h"
#include "Utils/LoopFileManager.h"

#include <QDateTime>
#include <QFile>
#include <QSaveFile>

#include <filesystem>
#include <stdexcept>
#include <system_error>
#include <utility>

namespace tessivo {
namespace {

namespace fs = std::filesystem;

fs::path metadataPath() {
    return pathOf(LoopFileManager::libraryMetadataURL());
}

// "library-2026-11-22-201502.json", and so on where that is taken.
fs::path freeDatedName() {
    const QString date = QDateTime::currentDateTime().toString(QStringLiteral("yyyy-MM-dd-HHmmss"));
    return files::freeName(metadataPath().parent_path(), "library-" + date.toStdString(), ".json");
}

// Main thread only.
quint64 writesPosted = 0;

} // namespace

void LibraryFile::postRead(std::function<void()> access) {
    BackgroundQueue::postInOrder(std::move(access));
}

void LibraryFile::postWrite(std::function<void()> access) {
    ++writesPosted;
    BackgroundQueue::postInOrder(std::move(access));
}

quint64 LibraryFile::postedWrites() {
    return writesPosted;
}

std::optional<std::vector<SavedLoop>> LibraryFile::read() {
    const fs::path path = metadataPath();
    std::error_code error;
    if (!fs::exists(fs::symlink_status(path, error))) {
        if (error && error != std::errc::no_such_file_or_directory &&
            error != std::errc::not_a_directory) {
            throw std::system_error(error, "library.json");
        }
        return std::nullopt;
    }
    // Opening a FIFO would wait for its other end.
    if (!fs::is_regular_file(path, error)) {
        throw std::runtime_error("library.json is not a file");
    }
    QFile file(path);
    QByteArray bytes;
    if (file.open(QIODevice::ReadOnly)) {
        bytes = file.readAll();
    }
    if (file.error() != QFileDevice::NoError) {
        throw std::runtime_error(file.errorString().toStdString());
    }
    return LibraryMetadata::decode(bytes);
}

void LibraryFile::write(const std::vector<SavedLoop>& loops) {
    const QByteArray bytes = LibraryMetadata::encode(loops);
    const fs::path path = metadataPath();
    std::error_code ignored;
    if (fs::is_directory(fs::symlink_status(path, ignored))) {
        // A file cannot replace a folder; whatever the folder is, it is kept.
        fs::rename(path, freeDatedName());
    }
    // The framework's atomic file rather than ours: it also follows a link, keeps the
    // permissions of the file that it replaces and goes on where a disk cannot sync.
    QSaveFile file(LoopFileManager::libraryMetadataURL().toLocalFile());
    if (!file.open(QIODevice::WriteOnly) || file.write(bytes) != bytes.size() || !file.commit()) {
        throw std::runtime_error(file.errorString().toStdString());
    }
    files::syncFolder(path.parent_path());
}

void LibraryFile::keepBeside() {
    const fs::path path = metadataPath();
    std::error_code error;
    if (!fs::is_regular_file(path, error)) {
        return;
    }
    const fs::path kept = freeDatedName();
    // If the name is a link, its target is kept: a write replaces that.
    fs::create_hard_link(fs::canonical(path, error), kept, error);
    if (error) {
        fs::copy_file(path, kept, error);
    }
}

} // namespace tessivo
