#include "Platform/System/Paths.h"

#include <QFileInfo>

#include <fcntl.h>
#include <unistd.h>

namespace tessivo {

std::filesystem::path pathOf(const QUrl& file) {
    return QFileInfo(file.toLocalFile()).filesystemFilePath();
}

void syncFolder(const std::filesystem::path& folder) {
    const int descriptor = ::open(folder.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    if (descriptor >= 0) {
        ::fsync(descriptor);
        ::close(descriptor);
    }
}

} // namespace tessivo
