#pragma once

#include <QString>
#include <QUrl>

#include <filesystem>

namespace tessivo {

std::filesystem::path pathOf(const QUrl& file);
QUrl urlOf(const std::filesystem::path& path);

// Takes HOME from the user's account where the environment lacks it: folders and preferences would
// be looked for in the root folder. Before other threads run.
void ensureHome();

// The absolute path of the user's documents folder, as it is set now. The folder need not exist.
QString documentsDirectory();

} // namespace tessivo
