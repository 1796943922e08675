#include "Platform/Files/FileDescriptor.h"

#include <cerrno>
#include <fcntl.h>
#include <sys/file.h>
#include <system_error>
#include <unistd.h>

namespace tessivo::files {

void throwLastError(const char* what, const std::filesystem::path& path) {
    const std::error_code code(errno, std::generic_category());
    throw std::filesystem::filesystem_error(what, path, code);
}

FileDescriptor::FileDescriptor(const std::filesystem::path& path, int flags, mode_t mode)
    : value_(::open(path.c_str(), flags | O_CLOEXEC, mode)) {
    if (value_ < 0) {
        throwLastError("Could not open", path);
    }
}

FileDescriptor::~FileDescriptor() {
    if (value_ >= 0) {
        ::close(value_);
    }
}

Lock tryLock(int file) {
    if (::flock(file, LOCK_EX | LOCK_NB) == 0) {
        return Lock::ours;
    }
    return errno == EWOULDBLOCK ? Lock::anothers : Lock::unknown;
}

} // namespace tessivo::files
