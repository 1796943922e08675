#pragma once

#include "Models/SavedLoop.h"

#include <QString>
#include <QUrl>

#include <filesystem>
#include <optional>

namespace tessivo {

// Every file operation on saved loops. Nothing here leads outside the saved-loops folder but
// the source of a save and the target of an export: a record whose file name has a directory
// part, or whose file is a link, is one whose audio is gone. Any thread; blocks on the disk.
//
// What fails throws a LoopError or, where said, a system error whose what() describes it.
class LoopFileManager {
public:
    // "SavedLoops" in the user's documents folder, made on the first use in the process.
    static const QUrl& savedLoopsDirectory();
    // "library.json" in it.
    static const QUrl& libraryMetadataURL();

    // Copies a finished recording into the folder under a name of its own and returns a new
    // record of it, dated now; the source stays. The copy is complete or absent.
    // fileNotFound, invalidAudioFile, saveFailure, system error.
    static SavedLoop saveTemporaryLoopAs(const QString& name, const QUrl& source);

    // A file name with extension that nothing in the folder has, made from a loop's name.
    static QString generateUniqueFilename(const QString& name);

    // Bytes that may still be written to the file system of the folder; 0 when it cannot be
    // told.
    static qint64 getAvailableDiskSpace();
    // insufficientDiskSpace unless the file's size and a reserve of 10 MiB are free; a
    // system error when the size cannot be told.
    static void checkDiskSpaceForFile(const QUrl& file);
    static void checkDiskSpaceForFile(const QUrl& file, qint64 availableBytes);

    struct LoopMetadata {
        double duration = 0.0; // seconds, positive and finite
        qint64 fileSize = 0;   // bytes
    };
    // A system error when the file's attributes cannot be read, invalidAudioFile when it has
    // no usable duration.
    static LoopMetadata getLoopMetadata(const QUrl& file);
    // The file is there and usable as loop audio. Never throws.
    static bool validateLoopFile(const QUrl& file);
    // Likewise for a record's file, which must be in the folder itself.
    static bool validateLoopFile(const SavedLoop& loop);

    // Replaces what is at the destination. Written beside it and renamed over it, so that a
    // failure leaves what was there; saveFailure with the system's description.
    static void copyLoopFile(const QUrl& from, const QUrl& to);
    // fileNotFound, saveFailure.
    static void deleteLoopFile(const SavedLoop& loop);
    // fileNotFound when the record's audio is gone or unusable; as copyLoopFile().
    static void exportLoop(const SavedLoop& loop, const QUrl& destination);

    // Where a record's file is, or nothing when its file name leads anywhere but into the
    // folder itself.
    static std::optional<QUrl> locationOf(const SavedLoop& loop);

private:
    static QString sanitizeFilename(const QString& name);
};

} // namespace tessivo
