#pragma once

#include "Models/LoopError.h"
#include "Models/SavedLoop.h"
#include "Platform/System/ObservableObject.h"

#include <functional>
#include <optional>
#include <string>
#include <vector>

namespace tessivo {

// The store of saved loops: its list, and the metadata file that it reads when it is constructed
// and writes after every change. Main thread only; disk access runs in the background, and
// results are published from the main thread's event loop.
//
// Several stores may share the file, each with a list of its own. A change that is made during
// a load is applied to the loaded list before that is published and written. If another store
// has written the file during a load, the file is read again.
class LoopLibrary : public ObservableObject {
    Q_OBJECT
    Q_PROPERTY(bool isLoading READ isLoading NOTIFY isLoadingChanged)

public:
    // Starts loading.
    explicit LoopLibrary(QObject* parent = nullptr);
    ~LoopLibrary() override;

    // Newest first; records of one date keep their order.
    const std::vector<SavedLoop>& savedLoops() const { return savedLoops_; }
    bool isLoading() const { return isLoading_; }
    // The latest failure of loading, rebuilding or saving.
    const std::optional<LoopError>& lastError() const { return lastError_; }

    // Reads the file in the background and leaves out records whose audio is gone. If the file
    // cannot be read it is kept under a dated name, and a new one is made from the folder.
    void loadLibrary();
    void refreshLibrary() { loadLibrary(); }

    // Adds a record whose file is in place.
    void saveLoop(const SavedLoop& loop);
    // The renamed record has a new id and its old file. saveFailure for a blank name,
    // duplicateName, fileNotFound for a record that is not in the list.
    void renameLoop(const SavedLoop& loop, const QString& newName);
    // Deletes the file, then the record. If the file manager throws, nothing has changed.
    void deleteLoop(const SavedLoop& loop);

    // Bytes of all files.
    qint64 totalSize() const;

signals:
    void savedLoopsChanged();
    void isLoadingChanged();
    void lastErrorChanged();

private:
    using Loops = std::vector<SavedLoop>;
    using Change = std::function<void(Loops&)>;
    using Result = std::function<void(LoopLibrary&)>;
    using Reply = std::function<void(Result)>; // any thread

    Reply replyToThisLoad();
    static void loadInBackground(const Reply& reply);
    void finishLoading(Loops loops, bool differsFromFile);
    void failLoading(const std::string& reason);
    void rebuildLibraryFromFiles();
    void finishRebuild(Loops loops);
    void failRebuild(const std::string& reason);
    bool applyChanges(Loops& loops);
    void change(const Change& onPublished, Change onLoaded);
    bool loadAgainIfOutdated();
    void saveLibrary();

    Loops savedLoops_;
    bool isLoading_ = false;
    std::optional<LoopError> lastError_;

    quint64 load_ = 0; // number of the latest load; results of earlier ones are ignored
    quint64 writesBeforeLoad_ = 0;
    bool loadPending_ = false;      // or the rebuild after it
    bool fileIsUnreadable_ = false; // and has not been kept under another name yet
    std::vector<Change> changesDuringLoad_;
};

} // namespace tessivo
