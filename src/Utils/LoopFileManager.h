#pragma once

#include "Models/SavedLoop.h"

#include <QString>
#include <QUrl>

#include <functional>
#include <optional>

namespace tessivo {

namespace files {
class AtomicFile;
}

// All file operations on saved loops. Only the source of a save and the destination of an
// export may be outside the saved-loops folder: if an entry's file name has a directory part or
// its file is a link, its audio counts as gone. Any thread; blocks on the disk.
//
// Failures throw a LoopError or, where said, a system error whose what() describes it.
class LoopFileManager {
public:
    // "SavedLoops" in the user's documents folder, created at the first use in the process.
    static const QUrl& savedLoopsDirectory();
    // "library.json" in it.
    static const QUrl& libraryMetadataURL();

    // What begins the names of files in progress in the folder.
    static constexpr auto kInProgress = ".copy-";

    // Copies a finished recording into the folder under a free name and returns a new entry for it,
    // dated now. After a failure there is no copy, not even part of one. Throws fileNotFound,
    // invalidAudioFile, saveFailure or a system error.
    static SavedLoop saveTemporaryLoopAs(const QString& name, const QUrl& source);
    // Makes a new file in the folder and returns its name, which is made from the loop's. Whatever
    // the function that writes it throws is passed on, system errors as a saveFailure; there is no
    // file then.
    static QString addFile(const QString& name,
                           const std::function<void(files::AtomicFile&)>& write);

    // Removes the part of a copy or of the metadata that a killed program has left in the folder.
    // Never throws.
    static void removeStaleCopies();

    // A loop's name as a file name may have it.
    static QString sanitizeFilename(const QString& name);
    // A file name with extension, made from a loop's name and free in the folder.
    static QString generateUniqueFilename(const QString& name);

    // Free bytes in the file system of the folder; 0 if that is not known.
    static qint64 getAvailableDiskSpace();
    // insufficientDiskSpace unless the file's size and a reserve of 10 MiB are free; a
    // system error when the size cannot be read.
    static void checkDiskSpaceForFile(const QUrl& file);
    static void checkDiskSpaceForFile(const QUrl& file, qint64 availableBytes);
    // The same for a file of so many bytes.
    static void checkDiskSpaceFor(qint64 bytes, qint64 availableBytes);

    struct LoopMetadata {
        double duration = 0.0; // seconds, positive and finite
        qint64 fileSize = 0;   // bytes
    };
    // A system error when the file's attributes cannot be read, invalidAudioFile when it has
    // no usable duration.
    static LoopMetadata getLoopMetadata(const QUrl& file);
    // Whether the file exists and can be played as a loop. Never throws.
    static bool validateLoopFile(const QUrl& file);
    // The same for an entry's file, which must be in the folder itself.
    static bool validateLoopFile(const SavedLoop& loop);

    // Replaces a file at the destination; a failure leaves that as it was. The part of an earlier
    // copy that a killed program has left there is removed. saveFailure with the system's
    // description.
    static void copyLoopFile(const QUrl& from, const QUrl& to);
    // The file can be fetched back where there is a trash. Throws fileNotFound or saveFailure.
    static void deleteLoopFile(const SavedLoop& loop);
    // Throws fileNotFound when the entry's audio is gone or unusable; otherwise as copyLoopFile().
    static void exportLoop(const SavedLoop& loop, const QUrl& destination);

    // The location of an entry's file; nothing when its file name leads out of the folder or
    // into a folder below it.
    static std::optional<QUrl> locationOf(const SavedLoop& loop);
};

} // namespace tessivo
