#include "Platform/Files/AtomicFile.h"

#include <cerrno>
#include <cstdio>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>
#include <vector>

namespace tessivo::files {

namespace fs = std::filesystem;

namespace {

// Creates the file and sets the path to the name that was free.
int createUnderFreeName(fs::path& path, const fs::path& folder, const std::string& prefix,
                        mode_t mode) {
    for (unsigned number = 1;; ++number) {
        path = folder / (prefix + std::to_string(number));
        const int created = ::open(path.c_str(), O_RDWR | O_CREAT | O_EXCL | O_CLOEXEC, mode);
        if (created >= 0) {
            return created;
        }
        if (errno != EEXIST) {
            throwLastError("Could not create", path);
        }
    }
}

} // namespace

AtomicFile::AtomicFile(const fs::path& folder, const std::string& prefix, mode_t mode)
    : descriptor_(createUnderFreeName(path_, folder, prefix, mode)) {}

AtomicFile::~AtomicFile() {
    if (!path_.empty()) {
        ::unlink(path_.c_str());
    }
}

// Not std::filesystem::copy_file(): its error does not show whether the disk is full or broken.
void AtomicFile::copyFrom(const fs::path& source) {
    const FileDescriptor from(source, O_RDONLY);
    std::vector<char> buffer(std::size_t{1} << 20);
    for (;;) {
        const ssize_t count = ::read(from.get(), buffer.data(), buffer.size());
        if (count < 0) {
            throwLastError("Could not read", source);
        }
        if (count == 0) {
            break;
        }
        for (ssize_t done = 0; done < count;) {
            const ssize_t written = ::write(descriptor_.get(), buffer.data() + done,
                                            static_cast<std::size_t>(count - done));
            if (written < 0) {
                throwLastError("Could not write", path_);
            }
            done += written;
        }
    }
    struct stat status {};
    if (::fstat(from.get(), &status) != 0 ||
        ::fchmod(descriptor_.get(), status.st_mode & 0777) != 0 ||
        ::fsync(descriptor_.get()) != 0) {
        throwLastError("Could not write", path_);
    }
}

void AtomicFile::replace(const fs::path& target) {
    if (std::rename(path_.c_str(), target.c_str()) != 0) {
        throwLastError("Could not create", target);
    }
    path_.clear();
}

bool AtomicFile::becomeNew(const fs::path& target) {
    if (::renameat2(AT_FDCWD, path_.c_str(), AT_FDCWD, target.c_str(), RENAME_NOREPLACE) == 0) {
        path_.clear();
        return true;
    }
    if (errno == EEXIST) {
        return false;
    }
    if (errno != EINVAL && errno != ENOSYS) {
        throwLastError("Could not create", target);
    }
    replace(target); // this file system cannot check; the caller has chosen a name that was free
    return true;
}

} // namespace tessivo::files
