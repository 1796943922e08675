#pragma once

#include "Models/LibraryFile.h"
#include "Models/LoopError.h"
#include "Models/SavedLoop.h"
#include "Platform/System/ObservableObject.h"

#include <QPointer>

#include <exception>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace tessivo {

// The store of saved loops: the list that it has read from the metadata file, and what was changed
// through it. Main thread only, except saveLoopAndWait(); disk access runs in the background, and
// results are published from the main thread's event loop.
//
// Several stores may share the file, each with a list of its own. A change is seen in the list at
// once and applied to what the file holds when its turn comes, so no store undoes another's. A
// list that is being loaded also gets what any store changes meanwhile. A change that could not
// be written is told, kept, and written with the next one.
class LoopLibrary : public ObservableObject {
    Q_OBJECT
    Q_PROPERTY(bool isLoading READ isLoading NOTIFY isLoadingChanged)

public:
    // Starts loading.
    explicit LoopLibrary(QObject* parent = nullptr);
    ~LoopLibrary() override;

    // Newest first; entries of one date keep their order.
    const std::vector<SavedLoop>& savedLoops() const { return savedLoops_; }
    bool isLoading() const { return isLoading_; }
    // The latest failure of loading, rebuilding or saving; also that of a store that had gone when
    // its change could not be written, so that somebody is told.
    const std::optional<LoopError>& lastError() const { return lastError_; }

    // Reads the file in the background and leaves out entries whose audio is gone. If the file
    // cannot be read it is kept under a dated name, and a new one is made from the folder.
    void loadLibrary();
    void refreshLibrary() { loadLibrary(); }

    // Adds an entry; its audio file must already be in the folder.
    void saveLoop(const SavedLoop& loop);
    // The same from another thread; returns when the file on the disk has the entry. If that
    // fails it throws saveFailure, and the entry is kept. The store must outlive the call.
    void saveLoopAndWait(const SavedLoop& loop);
    // As saveLoop(), and at once in the lists of all stores.
    void saveLoopInAllLists(const SavedLoop& loop);
    // The renamed entry has a new id and its old file. Throws saveFailure for a blank name,
    // duplicateName, or fileNotFound for an entry that is not in the list.
    void renameLoop(const SavedLoop& loop, const QString& newName);
    // Deletes the file, then the entry, when its turn comes. The handler is called with why the
    // file could not be deleted, in which case nothing has changed, or with an empty text. When
    // the store has gone by then, a failure is a diagnostic line.
    using DeleteHandler = std::function<void(const QString& failure)>;
    void deleteLoop(const SavedLoop& loop, const DeleteHandler& deleted);

    // Bytes of all files.
    qint64 totalSize() const;

signals:
    void savedLoopsChanged();
    void isLoadingChanged();
    void lastErrorChanged();

private:
    using Loops = LibraryFile::Loops;
    using Change = LibraryFile::Change;
    using Result = std::function<void(LoopLibrary&)>;
    using Reply = std::function<void(Result)>; // any thread

    Reply replyToThisLoad();
    static void loadInBackground(const Reply& reply);
    void finishLoading(Loops loops, const Loops& orphans, bool isOnDisk);
    void failLoading(const std::string& reason);
    void rebuildLibraryFromFiles();
    void finishRebuild(const std::shared_ptr<const Loops>& loops);
    void failRebuild(const std::string& reason);
    void publishLoaded(Loops loops);
    void change(const Change& change);
    void apply(const Change& change);
    void show(const Change& change);
    static void tellLoadingStores(const Change& change);
    void saveLibrary(std::function<void()> write);
    static void writeOrReport(const QPointer<LoopLibrary>& library,
                              const std::function<void()>& write);
    static LoopError reportUnsaved(const QPointer<LoopLibrary>& library,
                                   const std::exception& error);

    Loops savedLoops_;
    bool isLoading_ = false;
    std::optional<LoopError> lastError_;

    quint64 load_ = 0;          // number of the latest load; results of earlier ones are ignored
    bool isListComing_ = false; // from that load, or the rebuild after it
    std::vector<Change> changesDuringLoad_; // while it comes; may be in the result or not
};

} // namespace tessivo
