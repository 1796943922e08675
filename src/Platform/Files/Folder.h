#pragma once

#include <filesystem>
#include <string>

namespace tessivo::files {

// Names in a folder. All of these block on the disk.

// "<stem><extension>" in the folder, or where that is taken "<stem>-1<extension>", "-2" and so
// on. A link that leads nowhere takes a name too. Another thread or program may take the result
// before it is used.
std::filesystem::path freeName(const std::filesystem::path& folder, const std::string& stem,
                               const std::string& extension, char separator = '-');

// Gives a file a free name beside its present one, which may then be replaced without losing
// the file. Does nothing when there is no such file. Throws std::filesystem::filesystem_error.
void keepUnderFreeName(const std::filesystem::path& path);

// Brings the folder's names to the disk; without it a rename may be undone by a power failure.
// Not every file system can do that; a failure is ignored.
void syncFolder(const std::filesystem::path& folder);

} // namespace tessivo::files
