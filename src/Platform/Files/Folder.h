#pragma once

#include <cstdint>
#include <filesystem>
#include <optional>
#include <string>

namespace tessivo::files {

// Names in a folder. All of these block on the disk.

// "<stem><extension>" in the folder, or where that is taken "<stem>-1<extension>", "-2" and so on.
// A broken symbolic link counts as a taken name. Another thread or program may take the result
// before it is used.
std::filesystem::path freeName(const std::filesystem::path& folder, const std::string& stem,
                               const std::string& extension, char separator = '-');

// The free bytes of the folder's file system; nothing when they cannot be known.
std::optional<std::uintmax_t> freeSpaceOf(const std::filesystem::path& folder);

// Syncs the folder, so that a power failure does not undo a rename. Not every file system can do
// that; a failure is ignored.
void syncFolder(const std::filesystem::path& folder);

} // namespace tessivo::files
