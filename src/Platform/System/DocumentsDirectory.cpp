#include "Platform/System/DocumentsDirectory.h"

#include <QStandardPaths>

namespace tessivo {

QString documentsDirectory() {
    return QStandardPaths::writableLocation(QStandardPaths::DocumentsLocation);
}

} // namespace tessivo
