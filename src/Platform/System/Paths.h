#pragma once

#include <QUrl>

#include <filesystem>

namespace tessivo {

// Where the file of a file URL is.
std::filesystem::path pathOf(const QUrl& file);

// A rename is on the disk only when its folder is. Not every file system can be asked for that;
// then the file is in place all the same. Blocks on the disk.
void syncFolder(const std::filesystem::path& folder);

} // namespace tessivo
