#include "Utils/LoopFileManager.h"

#include "Models/LoopError.h"
#include "Platform/Files/AtomicFile.h"
#include "Platform/Files/Folder.h"
#include "Platform/Sound/File/AudioFile.h"
#include "Platform/System/Paths.h"
#include "Platform/System/Trash.h"

#include <QTextBoundaryFinder>

#include <cerrno>
#include <exception>
#include <filesystem>
#include <string>
#include <sys/stat.h>
#include <system_error>

namespace tessivo {
namespace {

namespace fs = std::filesystem;

constexpr qint64 kFreeSpaceReserve = 10'485'760; // bytes
constexpr qsizetype kLongestBase = 50;           // grapheme clusters
// A file system's limit for names, less the extension and room for a number.
constexpr qsizetype kLongestBaseBytes = 255 - 4 - 11;
constexpr auto kExportInProgress = ".tessivo-export-"; // in folders that are not ours

qint64 sizeOf(const fs::path& path) {
    struct stat status {};
    if (::stat(path.c_str(), &status) != 0) {
        throw std::system_error(errno, std::generic_category(),
                                "The attributes of the file could not be read: \"" +
                                    path.filename().string() + "\"");
    }
    return S_ISREG(status.st_mode) ? status.st_size : 0;
}

// Seconds; nothing when the file cannot be read as audio.
std::optional<double> durationOf(const fs::path& path) {
    try {
        const sound::AudioFileReader file(path);
        return static_cast<double>(file.length()) / file.format().sampleRate();
    } catch (const std::exception&) {
        return std::nullopt; // whatever the reason
    }
}

LoopError saveFailure(const std::system_error& error) {
    return LoopError::saveFailure(QString::fromStdString(error.code().message()));
}

// As many grapheme clusters from the start as fit both limits.
QString shortened(const QString& text) {
    QTextBoundaryFinder finder(QTextBoundaryFinder::Grapheme, text);
    qsizetype end = 0;
    for (qsizetype count = 0; count < kLongestBase; ++count) {
        const qsizetype next = finder.toNextBoundary();
        if (next < 0) {
            break;
        }
        if (text.left(next).toUtf8().size() > kLongestBaseBytes) {
            break;
        }
        end = next;
    }
    if (end > 0 || text.isEmpty()) {
        return text.left(end);
    }
    // A single cluster with so many combining marks that it does not fit: cut between marks.
    QString cut = text.left(kLongestBaseBytes / 4);
    if (cut.back().isHighSurrogate()) {
        cut.chop(1);
    }
    return cut;
}

// The folder, made again when it went while the program ran.
fs::path presentFolder() {
    fs::path folder = pathOf(LoopFileManager::savedLoopsDirectory());
    std::error_code ignored;
    fs::create_directories(folder, ignored);
    return folder;
}

} // namespace

const QUrl& LoopFileManager::savedLoopsDirectory() {
    static const QUrl directory = [] {
        QUrl url = QUrl::fromLocalFile(documentsDirectory() + QStringLiteral("/SavedLoops"));
        std::error_code ignored;
        fs::create_directories(pathOf(url), ignored);
        return url;
    }();
    return directory;
}

const QUrl& LoopFileManager::libraryMetadataURL() {
    static const QUrl url =
        QUrl::fromLocalFile(savedLoopsDirectory().toLocalFile() + QStringLiteral("/library.json"));
    return url;
}

std::optional<QUrl> LoopFileManager::locationOf(const SavedLoop& loop) {
    const QString& name = loop.filename();
    if (name.isEmpty() || name == QLatin1String(".") || name == QLatin1String("..") ||
        name.contains(u'/') || name.contains(QChar::Null) || !name.isValidUtf16()) {
        return std::nullopt;
    }
    return QUrl::fromLocalFile(savedLoopsDirectory().toLocalFile() + u'/' + name);
}

SavedLoop LoopFileManager::saveTemporaryLoopAs(const QString& name, const QUrl& source) {
    std::error_code ignored;
    if (!fs::exists(pathOf(source), ignored)) {
        throw LoopError(LoopError::Kind::fileNotFound);
    }
    const LoopMetadata metadata = getLoopMetadata(source);
    const QString filename =
        addFile(name, [&](files::AtomicFile& copy) { copy.copyFrom(pathOf(source)); });
    return {name, filename, secondsSince2001Now(), metadata.duration, metadata.fileSize};
}

QString LoopFileManager::addFile(const QString& name,
                                 const std::function<void(files::AtomicFile&)>& write) {
    const fs::path folder = presentFolder();
    try {
        QString filename;
        files::AtomicFile file(folder, kInProgress, S_IRUSR | S_IWUSR);
        write(file);
        // Another save may take the name while this one is being written.
        do {
            filename = generateUniqueFilename(name);
        } while (!file.becomeNew(folder / filename.toStdString()));
        files::syncFolder(folder);
        return filename;
    } catch (const std::system_error& error) {
        throw saveFailure(error);
    }
}

void LoopFileManager::removeStaleCopies() {
    files::AtomicFile::removeStale(pathOf(savedLoopsDirectory()), kInProgress);
}

QString LoopFileManager::sanitizeFilename(const QString& name) {
    // By way of UTF-8, which replaces unpaired surrogates. A NUL would end the name early.
    QString clean = QString::fromUtf8(name.toUtf8());
    for (QChar& c : clean) {
        if (QStringView(u"/<>:\"|?*\\").contains(c) || c == QChar::Null) {
            c = u'_';
        }
    }
    return shortened(clean.trimmed());
}

QString LoopFileManager::generateUniqueFilename(const QString& name) {
    const QString base = sanitizeFilename(name);
    const fs::path path =
        files::freeName(pathOf(savedLoopsDirectory()), base.toStdString(), ".wav", '_');
    return QString::fromStdString(path.filename().string());
}

qint64 LoopFileManager::getAvailableDiskSpace() {
    return static_cast<qint64>(files::freeSpaceOf(presentFolder()).value_or(0));
}

void LoopFileManager::checkDiskSpaceForFile(const QUrl& file) {
    checkDiskSpaceForFile(file, getAvailableDiskSpace());
}

void LoopFileManager::checkDiskSpaceForFile(const QUrl& file, qint64 availableBytes) {
    checkDiskSpaceFor(sizeOf(pathOf(file)), availableBytes);
}

void LoopFileManager::checkDiskSpaceFor(qint64 bytes, qint64 availableBytes) {
    if (availableBytes < bytes + kFreeSpaceReserve) {
        throw LoopError(LoopError::Kind::insufficientDiskSpace);
    }
}

LoopFileManager::LoopMetadata LoopFileManager::getLoopMetadata(const QUrl& file) {
    const fs::path path = pathOf(file);
    const qint64 size = sizeOf(path);
    const auto duration = durationOf(path);
    if (!duration) {
        throw LoopError(LoopError::Kind::invalidAudioFile);
    }
    return {*duration, size};
}

bool LoopFileManager::validateLoopFile(const QUrl& file) {
    return durationOf(pathOf(file)).has_value();
}

bool LoopFileManager::validateLoopFile(const SavedLoop& loop) {
    const auto location = locationOf(loop);
    return location && validateLoopFile(*location);
}

void LoopFileManager::copyLoopFile(const QUrl& from, const QUrl& to) {
    const fs::path source = pathOf(from);
    const fs::path target = pathOf(to);
    std::error_code ignored;
    if (fs::equivalent(source, target, ignored)) {
        throw LoopError::saveFailure(
            QT_TRANSLATE_NOOP("LoopError", "A loop cannot be copied onto itself"));
    }
    if (fs::is_directory(target, ignored)) {
        throw LoopError::saveFailure(
            QT_TRANSLATE_NOOP("LoopError", "There is a folder of that name"));
    }
    try {
        files::AtomicFile::removeStale(target.parent_path(), kExportInProgress);
        files::AtomicFile copy(target.parent_path(), kExportInProgress, S_IRUSR | S_IWUSR);
        copy.copyFrom(source);
        copy.replace(target);
        files::syncFolder(target.parent_path());
    } catch (const std::system_error& error) {
        throw saveFailure(error);
    }
}

void LoopFileManager::deleteLoopFile(const SavedLoop& loop) {
    const auto location = locationOf(loop);
    std::error_code error;
    if (!location || !fs::exists(fs::symlink_status(pathOf(*location), error))) {
        throw LoopError(LoopError::Kind::fileNotFound);
    }
    throwAway(pathOf(*location), error);
    if (error) {
        throw LoopError::saveFailure(QT_TRANSLATE_NOOP("LoopError", "Failed to delete file: "),
                                     QString::fromStdString(error.message()));
    }
}

void LoopFileManager::exportLoop(const SavedLoop& loop, const QUrl& destination) {
    if (!validateLoopFile(loop)) {
        throw LoopError(LoopError::Kind::fileNotFound);
    }
    copyLoopFile(*locationOf(loop), destination);
}

} // namespace tessivo
