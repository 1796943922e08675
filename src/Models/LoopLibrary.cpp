#include "Models/LoopLibrary.h"

#include "Models/LibraryFolder.h"
#include "Platform/System/BackgroundQueue.h"
#include "Platform/System/LogLine.h"
#include "Platform/System/MainQueue.h"
#include "Utils/LoopFileManager.h"

#include <QSet>

#include <algorithm>
#include <exception>
#include <limits>
#include <memory>
#include <numeric>
#include <string>
#include <utility>

namespace tessivo {
namespace {

using Change = LibraryFile::Change;
using Loops = LibraryFile::Loops;

// All of the process. Main thread only.
std::vector<LoopLibrary*>& allStores() {
    static std::vector<LoopLibrary*> stores;
    return stores;
}

// Tells a loop from the others by its id or, where nobody has that, by its file: a rename and a
// rebuild give an entry another id.
std::function<bool(const SavedLoop&)> markOf(const SavedLoop& loop, const Loops& loops) {
    const auto hasId = [id = loop.id()](const SavedLoop& other) {
        return other.id() == id;
    };
    if (std::any_of(loops.begin(), loops.end(), hasId)) {
        return hasId;
    }
    return [filename = loop.filename()](const SavedLoop& other) {
        return other.filename() == filename;
    };
}

// All changes may be applied to a list that has them already.
Change addition(const SavedLoop& loop) {
    return [loop](Loops& loops) {
        std::erase_if(loops,
                      [&](const auto& other) { return other.filename() == loop.filename(); });
        sortNewestFirst(loops);
        loops.insert(std::upper_bound(loops.begin(), loops.end(), loop, isNewer), loop);
    };
}

Change replacement(const SavedLoop& loop, const SavedLoop& replaced) {
    return [loop, replaced](Loops& loops) {
        const auto found = std::find_if(loops.begin(), loops.end(), markOf(loop, loops));
        if (found != loops.end()) {
            *found = replaced;
        }
    };
}

Change removal(const SavedLoop& loop) {
    return [loop](Loops& loops) {
        std::erase_if(loops, markOf(loop, loops));
    };
}

// Leaves those alone that got other entries meanwhile.
Change removalOf(const Loops& orphans) {
    return [removed = QSet<SavedLoop>(orphans.begin(), orphans.end())](Loops& loops) {
        std::erase_if(loops, [&](const auto& loop) { return removed.contains(loop); });
    };
}

} // namespace

LoopLibrary::LoopLibrary(QObject* parent)
    : ObservableObject(parent) {
    allStores().push_back(this);
    loadLibrary();
}

LoopLibrary::~LoopLibrary() {
    std::erase(allStores(), this);
    BackgroundQueue::destroy(std::move(savedLoops_));
}

// Takes a result of this load, or of the rebuild after it, to the main thread. It is ignored if
// the store has gone or has started another load meanwhile.
LoopLibrary::Reply LoopLibrary::replyToThisLoad() {
    return [self = QPointer(this), load = load_](Result result) {
        MainQueue::post([self, load, result = std::move(result)] {
            if (self && self->load_ == load) {
                result(*self);
            }
        });
    };
}

void LoopLibrary::loadLibrary() {
    ++load_;
    changesDuringLoad_.clear();
    isListComing_ = true;
    publish(isLoading_, true, &LoopLibrary::isLoadingChanged);
    publish(lastError_, std::nullopt, &LoopLibrary::lastErrorChanged);
    LibraryFile::post([reply = replyToThisLoad()] { loadInBackground(reply); });
}

void LoopLibrary::loadInBackground(const Reply& reply) {
    try {
        auto content = LibraryFile::read();
        // Checking the audio files may take long; nothing in the queue waits for it.
        BackgroundQueue::post(BackgroundQueue::Priority::userInitiated,
                              [reply, content = std::move(content)] {
                                  auto [loops, orphans] = LibraryFolder::checked(content.loops);
                                  reply([loops = std::move(loops), orphans = std::move(orphans),
                                         isOnDisk = content.isOnDisk](LoopLibrary& self) mutable {
                                      self.finishLoading(std::move(loops), orphans, isOnDisk);
                                  });
                              });
    } catch (const std::exception& error) {
        reply(
            [reason = std::string(error.what())](LoopLibrary& self) { self.failLoading(reason); });
    }
}

void LoopLibrary::finishLoading(Loops loops, const Loops& orphans, bool isOnDisk) {
    publishLoaded(std::move(loops));
    publish(isLoading_, false, &LoopLibrary::isLoadingChanged);
    if (!orphans.empty() || !isOnDisk) {
        saveLibrary(
            [drop = removalOf(orphans)] { LibraryFile::update(drop, LibraryFolder::loops); });
    }
}

void LoopLibrary::failLoading(const std::string& reason) {
    publish(isLoading_, false, &LoopLibrary::isLoadingChanged);
    publish(lastError_, LoopError(LoopError::Kind::libraryCorrupted),
            &LoopLibrary::lastErrorChanged);
    logLine("Failed to load loop library: " + reason);
    rebuildLibraryFromFiles();
}

void LoopLibrary::rebuildLibraryFromFiles() {
    BackgroundQueue::post(BackgroundQueue::Priority::userInitiated, [reply = replyToThisLoad()] {
        try {
            reply([loops = std::make_shared<const Loops>(LibraryFolder::loops())](
                      LoopLibrary& self) { self.finishRebuild(loops); });
        } catch (const std::exception& error) {
            reply([reason = std::string(error.what())](LoopLibrary& self) {
                self.failRebuild(reason);
            });
        }
    });
}

// If a change has made the file readable meanwhile, it stays as it is.
void LoopLibrary::finishRebuild(const std::shared_ptr<const Loops>& loops) {
    publishLoaded(*loops);
    publish(lastError_, std::nullopt, &LoopLibrary::lastErrorChanged);
    saveLibrary([loops] { LibraryFile::update([](Loops&) {}, [&] { return *loops; }); });
    logLine("Successfully rebuilt library with " + std::to_string(savedLoops_.size()) + " loops");
}

void LoopLibrary::failRebuild(const std::string& reason) {
    isListComing_ = false;
    publish(lastError_, LoopError(LoopError::Kind::libraryCorrupted),
            &LoopLibrary::lastErrorChanged);
    logLine("Failed to rebuild library from files: " + reason);
}

void LoopLibrary::publishLoaded(Loops loops) {
    isListComing_ = false;
    for (const auto& change : std::exchange(changesDuringLoad_, {})) {
        change(loops);
    }
    emit objectWillChange();
    savedLoops_.swap(loops);
    emit savedLoopsChanged();
    BackgroundQueue::destroy(std::move(loops)); // observers have let go of the old ones
}

void LoopLibrary::change(const Change& change) {
    show(change);
    saveLibrary([change] { LibraryFile::change(change); });
}

void LoopLibrary::show(const Change& change) {
    apply(change);
    tellLoadingStores(change);
}

void LoopLibrary::apply(const Change& change) {
    // In place: the copy of a long list would be felt.
    emit objectWillChange();
    change(savedLoops_);
    emit savedLoopsChanged();
}

void LoopLibrary::tellLoadingStores(const Change& change) {
    for (LoopLibrary* store : allStores()) {
        if (store->isListComing_) {
            store->changesDuringLoad_.push_back(change);
        }
    }
}

void LoopLibrary::saveLibrary(std::function<void()> write) {
    LibraryFile::post(
        [self = QPointer(this), write = std::move(write)] { writeOrReport(self, write); });
}

void LoopLibrary::writeOrReport(const QPointer<LoopLibrary>& library,
                                const std::function<void()>& write) {
    try {
        write();
    } catch (const std::exception& error) {
        reportUnsaved(library, error);
    }
}

LoopError LoopLibrary::reportUnsaved(const QPointer<LoopLibrary>& library,
                                     const std::exception& error) {
    auto failure =
        LoopError::saveFailure(QT_TRANSLATE_NOOP("LoopError", "Failed to save library metadata: "),
                               QString::fromUtf8(error.what()));
    MainQueue::post([library, failure] {
        for (LoopLibrary* store : library ? std::vector{library.data()} : allStores()) {
            store->publish(store->lastError_, failure, &LoopLibrary::lastErrorChanged);
        }
    });
    logLine(std::string("Failed to save loop library: ") + error.what());
    return failure;
}

void LoopLibrary::saveLoop(const SavedLoop& loop) {
    change(addition(loop));
}

void LoopLibrary::saveLoopInAllLists(const SavedLoop& loop) {
    const Change add = addition(loop);
    for (LoopLibrary* store : std::vector(allStores())) {
        store->apply(add);
    }
    tellLoadingStores(add);
    saveLibrary([add] { LibraryFile::change(add); });
}

// Shown only afterwards: a load that begins before that either reads the entry or is told of it.
void LoopLibrary::saveLoopAndWait(const SavedLoop& loop) {
    const Change add = addition(loop);
    const auto showLater = [&] {
        MainQueue::post(this, [this, add] { show(add); });
    };
    try {
        LibraryFile::changeAndWait(add);
        showLater();
    } catch (const std::exception& error) {
        showLater();
        throw reportUnsaved(QPointer(this), error);
    }
}

void LoopLibrary::renameLoop(const SavedLoop& loop, const QString& newName) {
    if (newName.trimmed().isEmpty()) {
        throw LoopError::saveFailure(QT_TRANSLATE_NOOP("LoopError", "Loop name cannot be empty"));
    }
    const auto isOther = [&](const SavedLoop& other) {
        return sameText(other.name(), newName) && other.id() != loop.id();
    };
    if (std::any_of(savedLoops_.begin(), savedLoops_.end(), isOther)) {
        throw LoopError(LoopError::Kind::duplicateName);
    }
    const auto old = std::find_if(savedLoops_.begin(), savedLoops_.end(),
                                  [&](const SavedLoop& other) { return other.id() == loop.id(); });
    if (old == savedLoops_.end()) {
        throw LoopError(LoopError::Kind::fileNotFound);
    }
    change(replacement(*old, old->renamed(newName)));
}

void LoopLibrary::deleteLoop(const SavedLoop& loop, const DeleteHandler& deleted) {
    LibraryFile::post([self = QPointer(this), loop, deleted] {
        try {
            LoopFileManager::deleteLoopFile(loop);
        } catch (const std::exception& error) {
            MainQueue::post([self, deleted, failure = LoopError::shown(error),
                             line = std::string(error.what())] {
                if (self) {
                    deleted(failure);
                } else {
                    logLine("Failed to delete loop: " + line);
                }
            });
            return;
        }
        const Change remove = removal(loop);
        MainQueue::post([self, deleted, remove] {
            if (self) {
                self->show(remove);
                deleted({});
            } else {
                tellLoadingStores(remove);
            }
        });
        writeOrReport(self, [remove] { LibraryFile::change(remove); });
    });
}

qint64 LoopLibrary::totalSize() const {
    return std::accumulate(
        savedLoops_.begin(), savedLoops_.end(), qint64{0}, [](qint64 sum, const SavedLoop& loop) {
            // The sizes come from a file that anybody may have edited.
            qint64 result = 0;
            const bool fits = !__builtin_add_overflow(sum, loop.fileSize(), &result);
            return fits ? result : std::numeric_limits<qint64>::max();
        });
}

} // namespace tessivo
