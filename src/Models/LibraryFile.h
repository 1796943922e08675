#pragma once

#include "Models/SavedLoop.h"

#include <functional>
#include <optional>
#include <vector>

namespace tessivo {

// The metadata file on disk, which all stores of the process share. It always holds one
// complete list, old or new, whatever is interrupted.
class LibraryFile {
public:
    // Reads and writes of all stores run one after another in the order of these calls, also
    // when their store has gone meanwhile; they must not throw. Main thread only.
    static void postRead(std::function<void()> access);
    static void postWrite(std::function<void()> access);

    // How many writes all stores have posted so far: if it has grown since a read was posted,
    // what was read is out of date. Main thread only.
    static quint64 postedWrites();

    // These do the work and block on the disk. They throw MetadataError, or other standard
    // exceptions with the system's description.

    // Nothing when there is no file.
    static std::optional<std::vector<SavedLoop>> read();

    // Replaces the file; returns when the new one is on the disk.
    static void write(const std::vector<SavedLoop>& loops);

    // Gives the present file a second, dated name, so that the next write does not lose its
    // content. Does nothing when there is no file.
    static void keepBeside();
};

} // namespace tessivo
