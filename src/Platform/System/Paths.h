#pragma once

#include <QString>
#include <QUrl>

#include <filesystem>

namespace tessivo {

// The path of a file URL.
std::filesystem::path pathOf(const QUrl& file);

// The absolute path of the user's documents folder, as it is set now. The folder need not exist.
QString documentsDirectory();

} // namespace tessivo
