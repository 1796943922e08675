#pragma once

#include <QString>

namespace tessivo {

// Absolute path of the user's documents folder, asked of the desktop at each call. The
// folder need not exist.
QString documentsDirectory();

} // namespace tessivo
