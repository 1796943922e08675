#pragma once

#include "Models/SavedLoop.h"

#include <vector>

namespace tessivo {

// Lists of loops compared with the audio files in the saved-loops folder. Both functions block
// on the disk and return the newest loop first; any thread.
class LibraryFolder {
public:
    // An entry for every loop in the folder; a file that cannot be read gives a diagnostic line
    // instead. Throws a system error when the folder cannot be listed.
    static std::vector<SavedLoop> loops();

    struct Checked {
        std::vector<SavedLoop> loops;
        std::vector<SavedLoop> orphans; // their audio is gone; a diagnostic line for each
    };
    static Checked checked(const std::vector<SavedLoop>& loops);
};

bool isNewer(const SavedLoop& a, const SavedLoop& b);
// Loops of one date keep their order.
void sortNewestFirst(std::vector<SavedLoop>& loops);

} // namespace tessivo
