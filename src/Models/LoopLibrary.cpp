#include "Models/LoopLibrary.h"

#include "Models/LibraryFile.h"
#include "Models/LibraryFolder.h"
#include "Platform/System/BackgroundQueue.h"
#include "Platform/System/LogLine.h"
#include "Platform/System/MainQueue.h"
#include "Utils/LoopFileManager.h"

#include <QPointer>

#include <algorithm>
#include <exception>
#include <limits>
#include <numeric>
#include <string>
#include <utility>

namespace tessivo {
namespace {

using Loops = std::vector<SavedLoop>;

void add(Loops& loops, const SavedLoop& loop) {
    loops.push_back(loop);
    sortNewestFirst(loops);
}

// The list in the file or, if that cannot be read, made from the folder. Throws if neither can
// be read.
Loops presentLoops() {
    try {
        return LibraryFile::read().value_or(Loops());
    } catch (const std::exception&) {
        LibraryFile::keepBeside();
        return LibraryFolder::loops();
    }
}

} // namespace

LoopLibrary::LoopLibrary(QObject* parent)
    : ObservableObject(parent) {
    loadLibrary();
}

LoopLibrary::~LoopLibrary() {
    if (!loadPending_ || changesDuringLoad_.empty()) {
        return;
    }
    // These changes wait for the result of a load, which will not arrive any more.
    LibraryFile::postWrite([changes = std::move(changesDuringLoad_)] {
        try {
            Loops loops = presentLoops();
            for (const auto& change : changes) {
                change(loops);
            }
            LibraryFile::write(loops);
        } catch (const std::exception& error) {
            logLine(std::string("Failed to save loop library: ") + error.what());
        }
    });
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
    loadPending_ = true;
    writesBeforeLoad_ = LibraryFile::postedWrites();
    publish(isLoading_, true, &LoopLibrary::isLoadingChanged);
    publish(lastError_, std::nullopt, &LoopLibrary::lastErrorChanged);
    LibraryFile::postRead([reply = replyToThisLoad()] { loadInBackground(reply); });
}

void LoopLibrary::loadInBackground(const Reply& reply) {
    try {
        auto read = LibraryFile::read();
        // Checking the audio files may take long; writes of other stores need not wait for it.
        BackgroundQueue::post(
            BackgroundQueue::Priority::userInitiated, [reply, read = std::move(read)] {
                Loops kept = read ? LibraryFolder::withoutOrphans(*read) : Loops();
                const bool differs = !read || kept.size() != read->size();
                reply([kept = std::move(kept), differs](LoopLibrary& self) {
                    self.finishLoading(kept, differs);
                });
            });
    } catch (const std::exception& error) {
        reply(
            [reason = std::string(error.what())](LoopLibrary& self) { self.failLoading(reason); });
    }
}

void LoopLibrary::finishLoading(Loops loops, bool differsFromFile) {
    if (loadAgainIfOutdated()) {
        return;
    }
    fileIsUnreadable_ = false;
    const bool changed = applyChanges(loops);
    publish(savedLoops_, std::move(loops), &LoopLibrary::savedLoopsChanged);
    publish(isLoading_, false, &LoopLibrary::isLoadingChanged);
    if (differsFromFile || changed) {
        saveLibrary();
    }
}

// When a store has posted a write since the read, the file no longer holds what was read, and
// that must not be written over it.
bool LoopLibrary::loadAgainIfOutdated() {
    const bool outdated = LibraryFile::postedWrites() != writesBeforeLoad_;
    if (outdated) {
        loadLibrary();
    }
    return outdated;
}

void LoopLibrary::failLoading(const std::string& reason) {
    fileIsUnreadable_ = true;
    publish(isLoading_, false, &LoopLibrary::isLoadingChanged);
    publish(lastError_, LoopError(LoopError::Kind::libraryCorrupted),
            &LoopLibrary::lastErrorChanged);
    logLine("Failed to load loop library: " + reason);
    rebuildLibraryFromFiles();
}

void LoopLibrary::rebuildLibraryFromFiles() {
    BackgroundQueue::post(BackgroundQueue::Priority::userInitiated, [reply = replyToThisLoad()] {
        try {
            reply(
                [loops = LibraryFolder::loops()](LoopLibrary& self) { self.finishRebuild(loops); });
        } catch (const std::exception& error) {
            reply([reason = std::string(error.what())](LoopLibrary& self) {
                self.failRebuild(reason);
            });
        }
    });
}

void LoopLibrary::finishRebuild(Loops loops) {
    if (loadAgainIfOutdated()) {
        return;
    }
    applyChanges(loops);
    const std::size_t count = loops.size();
    publish(savedLoops_, std::move(loops), &LoopLibrary::savedLoopsChanged);
    publish(lastError_, std::nullopt, &LoopLibrary::lastErrorChanged);
    saveLibrary();
    logLine("Successfully rebuilt library with " + std::to_string(count) + " loops");
}

void LoopLibrary::failRebuild(const std::string& reason) {
    Loops unchanged;
    const bool changed = applyChanges(unchanged);
    publish(lastError_, LoopError(LoopError::Kind::libraryCorrupted),
            &LoopLibrary::lastErrorChanged);
    logLine("Failed to rebuild library from files: " + reason);
    if (changed) {
        saveLibrary();
    }
}

// Applies the changes that were made during the load. Returns whether there were any.
bool LoopLibrary::applyChanges(Loops& loops) {
    loadPending_ = false;
    const auto changes = std::exchange(changesDuringLoad_, {});
    for (const auto& change : changes) {
        change(loops);
    }
    return !changes.empty();
}

// Applies onPublished to the published list now. While a load runs, onLoaded is kept for the list
// that it delivers, and the file is written after that: the published list may lack what other
// stores changed.
void LoopLibrary::change(const Change& onPublished, Change onLoaded) {
    Loops loops = savedLoops_;
    onPublished(loops);
    publish(savedLoops_, std::move(loops), &LoopLibrary::savedLoopsChanged);
    if (loadPending_) {
        changesDuringLoad_.push_back(std::move(onLoaded));
    } else {
        saveLibrary();
    }
}

void LoopLibrary::saveLibrary() {
    const bool keepPrevious = std::exchange(fileIsUnreadable_, false);
    LibraryFile::postWrite([self = QPointer(this), loops = savedLoops_, keepPrevious] {
        try {
            if (keepPrevious) {
                LibraryFile::keepBeside();
            }
            LibraryFile::write(loops);
        } catch (const std::exception& error) {
            const auto failure = LoopError::saveFailure(
                QStringLiteral("Failed to save library metadata: ") + error.what());
            MainQueue::post([self, failure] {
                if (self) {
                    self->publish(self->lastError_, failure, &LoopLibrary::lastErrorChanged);
                }
            });
            logLine(std::string("Failed to save loop library: ") + error.what());
        }
    });
}

void LoopLibrary::saveLoop(const SavedLoop& loop) {
    change([&](Loops& loops) { add(loops, loop); },
           [loop](Loops& loops) {
               // A rebuild may have found this file.
               std::erase_if(loops, [&](const SavedLoop& other) {
                   return other.filename() == loop.filename();
               });
               add(loops, loop);
           });
}

void LoopLibrary::renameLoop(const SavedLoop& loop, const QString& newName) {
    if (newName.trimmed().isEmpty()) {
        throw LoopError::saveFailure(QStringLiteral("Loop name cannot be empty"));
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
    const SavedLoop renamed(newName, old->filename(), old->createdDate(), old->duration(),
                            old->fileSize());
    const auto index = old - savedLoops_.begin();
    change([&](Loops& loops) { loops[static_cast<std::size_t>(index)] = renamed; },
           [renamed](Loops& loops) {
               // By its file: a rebuild gives records new ids.
               const auto same = std::find_if(loops.begin(), loops.end(), [&](const auto& other) {
                   return other.filename() == renamed.filename();
               });
               if (same != loops.end()) {
                   *same = renamed;
               }
           });
}

void LoopLibrary::deleteLoop(const SavedLoop& loop) {
    LoopFileManager::deleteLoopFile(loop);
    change(
        [&](Loops& loops) {
            std::erase_if(loops, [&](const auto& other) { return other.id() == loop.id(); });
        },
        [loop](Loops& loops) {
            std::erase_if(loops, [&](const auto& other) {
                return other.id() == loop.id() || other.filename() == loop.filename();
            });
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
