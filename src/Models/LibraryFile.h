#pragma once

#include "Models/SavedLoop.h"

#include <functional>
#include <vector>

namespace tessivo {

// The metadata file on disk, which all stores of the process share. It always holds one
// complete list, old or new, whatever is interrupted.
//
// Nobody writes a list of his own over it: a change is applied to the list that the file holds
// at that moment. A change that could not be written is kept; every later read has it, and the
// next write brings it to the disk.
class LibraryFile {
public:
    using Loops = std::vector<SavedLoop>;
    // Finds what it changes by itself, or does nothing if that is not in the list any more.
    using Change = std::function<void(Loops&)>;
    using MakeList = std::function<Loops()>;

    // Runs a task in the library's queue: those of all stores run one after another in the order
    // of these calls, also when their store has gone meanwhile. The task must not throw. Any
    // thread.
    static void post(std::function<void()> access);

    // Applies the change in the queue and returns when it is on the disk. Throws as change() does.
    // Any thread but the queue's own.
    static void changeAndWait(const Change& change);

    // Tries once more to write the changes that were kept; a failure is a diagnostic line. Any
    // thread.
    static void postKeptChanges();

    // The rest is called in the queue and does the work. It blocks on the disk and throws standard
    // exceptions with the system's description.

    struct Content {
        Loops loops;
        bool isOnDisk = true; // false when there is no file, or kept changes are not in it
    };
    static Content read();

    // Replaces the file; returns when the new one is on the disk.
    static void write(const Loops& loops);

    // Writes the changed list; an unreadable file is kept under a dated name, and the list is then
    // the one that the function makes.
    static void update(const Change& change, const MakeList& rebuild);
    // The same with the list of the audio files, for a change that must not be lost: if it cannot
    // be written it is kept, unless the fault is its own.
    static void change(const Change& change);

    // Gives an unreadable file a second, dated name (a hard link, or else a copy), so that the
    // next write does not lose its content. Does nothing when there is no file or it has a second
    // name already.
    static void keepBeside();
};

} // namespace tessivo
