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

// What the file lists, or the folder when that cannot be read. Throws when neither can.
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
    if (!resultPending_ || changesMeanwhile_.empty()) {
        return;
    }
    // The reading that these changes wait for has nobody to come to any more.
    LibraryFile::postWrite([changes = std::move(changesMeanwhile_)] {
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

// Carries a result of this load or rebuild to the main thread, where it counts only if the
// store is still there and has not begun to load anew.
std::function<void(std::function<void(LoopLibrary&)>)> LoopLibrary::answerOfThisLoad() {
    return [self = QPointer(this), load = load_](std::function<void(LoopLibrary&)> result) {
        MainQueue::post([self, load, result = std::move(result)] {
            if (self && self->load_ == load) {
                result(*self);
            }
        });
    };
}

void LoopLibrary::loadLibrary() {
    ++load_;
    resultPending_ = true;
    writesBeforeLoad_ = LibraryFile::postedWrites();
    publish(isLoading_, true, &LoopLibrary::isLoadingChanged);
    publish(lastError_, std::nullopt, &LoopLibrary::lastErrorChanged);
    // Behind all writes asked for so far, or the list read would lack what they bring.
    LibraryFile::postRead([answer = answerOfThisLoad()] { loadInBackground(answer); });
}

void LoopLibrary::loadInBackground(
    const std::function<void(std::function<void(LoopLibrary&)>)>& answer) {
    try {
        auto read = LibraryFile::read();
        // The audio files are looked at beside the queue: nobody's write waits for that.
        BackgroundQueue::post(
            BackgroundQueue::Priority::userInitiated, [answer, read = std::move(read)] {
                Loops kept = read ? LibraryFolder::withoutOrphans(*read) : Loops();
                const bool differs = !read || kept.size() != read->size();
                answer([kept = std::move(kept), differs](LoopLibrary& self) {
                    self.finishLoading(kept, differs);
                });
            });
    } catch (const std::exception& error) {
        answer(
            [reason = std::string(error.what())](LoopLibrary& self) { self.failLoading(reason); });
    }
}

void LoopLibrary::finishLoading(Loops loops, bool differsFromFile) {
    if (loadAgainIfOvertaken()) {
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

// Another store's write came behind the reading: what was read is not what the file holds
// by now, and must not be written over it.
bool LoopLibrary::loadAgainIfOvertaken() {
    const bool overtaken = LibraryFile::postedWrites() != writesBeforeLoad_;
    if (overtaken) {
        loadLibrary();
    }
    return overtaken;
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
    BackgroundQueue::post(BackgroundQueue::Priority::userInitiated, [answer = answerOfThisLoad()] {
        try {
            answer(
                [loops = LibraryFolder::loops()](LoopLibrary& self) { self.finishRebuild(loops); });
        } catch (const std::exception& error) {
            answer([reason = std::string(error.what())](LoopLibrary& self) {
                self.failRebuild(reason);
            });
        }
    });
}

void LoopLibrary::finishRebuild(Loops loops) {
    if (loadAgainIfOvertaken()) {
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

// Applies what was changed while a result was on its way; true if anything was.
bool LoopLibrary::applyChanges(Loops& loops) {
    resultPending_ = false;
    const auto changes = std::exchange(changesMeanwhile_, {});
    for (const auto& change : changes) {
        change(loops);
    }
    return !changes.empty();
}

// Changes the list now and, when a result is on its way, that as well. The file is written
// from the list that then holds: one that was read before another store's change must not
// bring back what that store removed.
void LoopLibrary::change(const Change& onList, Change onResult) {
    Loops loops = savedLoops_;
    onList(loops);
    publish(savedLoops_, std::move(loops), &LoopLibrary::savedLoopsChanged);
    if (resultPending_) {
        changesMeanwhile_.push_back(std::move(onResult));
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
               // A rebuild may have found the file already.
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
               // By its file: what was read may know the record under another id.
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
            // The sizes come from a file that may say anything.
            qint64 result = 0;
            const bool fits = !__builtin_add_overflow(sum, loop.fileSize(), &result);
            return fits ? result : std::numeric_limits<qint64>::max();
        });
}

} // namespace tessivo
