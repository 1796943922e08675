#pragma once

#include "Models/SavedLoop.h"

#include <functional>
#include <optional>
#include <vector>

namespace tessivo {

// The metadata file on disk: always one complete list, old or new, whatever is interrupted.
// Blocks on the disk; system and MetadataErrors say what went wrong.
class LibraryFile {
public:
    // Reads and writes of all stores of the process, one after another in the order asked,
    // also when their store has gone meanwhile.
    static void post(std::function<void()> access);

    // Nothing when there is no file.
    static std::optional<std::vector<SavedLoop>> read();

    // Replaces the file; returns when the new one is on the disk.
    static void write(const std::vector<SavedLoop>& loops);

    // Gives the present file a second, dated name, so that a write does not take it away.
    // Harmless when there is none.
    static void keepBeside();
};

} // namespace tessivo
