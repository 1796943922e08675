#pragma once

#include <QString>
#include <QUrl>

#include <filesystem>

namespace tessivo {

// Where the file of a file URL is.
std::filesystem::path pathOf(const QUrl& file);

// Absolute path of the user's documents folder, asked of the desktop at each call. The
// folder need not exist.
QString documentsDirectory();

} // namespace tessivo
