#include "Platform/Files/Folder.h"

#include "Platform/Files/FileDescriptor.h"

#include <fcntl.h>
#include <system_error>
#include <unistd.h>

namespace tessivo::files {

namespace fs = std::filesystem;

fs::path freeName(const fs::path& folder, const std::string& stem, const std::string& extension,
                  char separator) {
    fs::path path = folder / (stem + extension);
    std::error_code ignored;
    for (unsigned number = 1; fs::exists(fs::symlink_status(path, ignored)); ++number) {
        path = folder / stem;
        (path += separator) += std::to_string(number) + extension;
    }
    return path;
}

std::optional<std::uintmax_t> freeSpaceOf(const fs::path& folder) {
    std::error_code error;
    const fs::space_info space = fs::space(folder, error);
    return error ? std::nullopt : std::optional(space.available);
}

void syncFolder(const fs::path& folder) {
    const FileDescriptor descriptor(::open(folder.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    if (descriptor.get() >= 0) {
        ::fsync(descriptor.get());
    }
}

} // namespace tessivo::files
