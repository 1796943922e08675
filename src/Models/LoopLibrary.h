#pragma once

#include "Models/LoopError.h"
#include "Models/SavedLoop.h"
#include "Platform/System/ObservableObject.h"

#include <functional>
#include <optional>
#include <vector>

namespace tessivo {

// The store of saved loops: its list, and the metadata file that it reads when it is made
// and writes after every change. Main thread only; disks are waited for in the background,
// and results are published from the main thread's event loop.
//
// Several stores may share the file, each with a list of its own. What is changed here while
// the file is being read is applied to what was read, before it is published and written;
// what another store wrote meanwhile is read first.
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

    // Reads the file in the background and leaves out records whose audio is gone. A file
    // that cannot be read is kept beside the one that is then rebuilt from the folder.
    void loadLibrary();
    void refreshLibrary() { loadLibrary(); }

    // Adds a record whose file is in place.
    void saveLoop(const SavedLoop& loop);
    // The renamed record has a new id and its old file. saveFailure for a blank name,
    // duplicateName, fileNotFound for a record that is not in the list.
    void renameLoop(const SavedLoop& loop, const QString& newName);
    // Deletes the file, then the record. Throws what the file manager throws, and then
    // nothing has changed.
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

    static void
    loadInBackground(const std::function<void(std::function<void(LoopLibrary&)>)>& answer);
    void finishLoading(Loops loops, bool differsFromFile);
    void failLoading(const std::string& reason);
    void rebuildLibraryFromFiles();
    void finishRebuild(Loops loops);
    void failRebuild(const std::string& reason);
    bool applyChanges(Loops& loops);
    void change(const Change& onList, Change onResult);
    bool loadAgainIfOvertaken();
    void saveLibrary();
    std::function<void(std::function<void(LoopLibrary&)>)> answerOfThisLoad();

    Loops savedLoops_;
    bool isLoading_ = false;
    std::optional<LoopError> lastError_;

    quint64 load_ = 0; // only the latest one counts
    quint64 writesBeforeLoad_ = 0;
    bool resultPending_ = false;    // of the load or of the rebuild that follows it
    bool fileIsUnreadable_ = false; // and still there
    std::vector<Change> changesMeanwhile_;
};

} // namespace tessivo
