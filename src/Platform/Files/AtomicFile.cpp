#include "Platform/Files/AtomicFile.h"

#include <algorithm>
#include <cctype>
#include <cerrno>
#include <cstddef>
#include <cstdio>
#include <fcntl.h>
#include <sys/stat.h>
#include <system_error>
#include <unistd.h>
#include <vector>

namespace tessivo::files {

namespace fs = std::filesystem;

namespace {

// Whether a call failed, unless the file system has no such thing: shares and removable disks
// refuse to change permissions or to sync, and a copy is complete without.
bool isFailure(int result) {
    return result != 0 && errno != EPERM && errno != ENOSYS && errno != EOPNOTSUPP &&
           errno != EINVAL;
}

mode_t permissionsOf(int file, const fs::path& path) {
    struct stat status {};
    if (::fstat(file, &status) != 0) {
        throwLastError("Could not read", path);
    }
    return status.st_mode & 0777;
}

// Whether the name still stands for the open file: it may have gone to another one, or to none,
// before the file was locked. Nobody else touches it after.
bool isNamed(int file, const fs::path& path) {
    struct stat opened {};
    struct stat named {};
    return ::fstat(file, &opened) == 0 && S_ISREG(opened.st_mode) &&
           ::lstat(path.c_str(), &named) == 0 && named.st_ino == opened.st_ino;
}

// Creates the file and sets the path to the name that was free.
int createUnderFreeName(fs::path& path, const fs::path& folder, const std::string& prefix,
                        mode_t mode) {
    for (unsigned number = 1;; ++number) {
        path = folder / (prefix + std::to_string(number));
        const int created = ::open(path.c_str(), O_RDWR | O_CREAT | O_EXCL | O_CLOEXEC, mode);
        if (created >= 0 && tryLock(created) != Lock::anothers && isNamed(created, path)) {
            return created;
        }
        if (created >= 0) {
            ::close(created); // removeStale() was faster, and removes it or has done so
        } else if (errno != EEXIST) {
            throwLastError("Could not create", path);
        }
    }
}

bool isTemporaryName(const std::string& name, const std::string& prefix) {
    return name.size() > prefix.size() && name.starts_with(prefix) &&
           std::all_of(name.begin() + static_cast<std::ptrdiff_t>(prefix.size()), name.end(),
                       [](unsigned char letter) { return std::isalnum(letter) != 0; });
}

void removeIfStale(const fs::path& path) {
    const FileDescriptor file(::open(path.c_str(), O_RDONLY | O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC));
    if (file.get() >= 0 && tryLock(file.get()) == Lock::ours && isNamed(file.get(), path)) {
        ::unlink(path.c_str());
    }
}

} // namespace

void AtomicFile::removeStale(const fs::path& folder, const std::string& prefix) {
    std::error_code error;
    for (fs::directory_iterator entry(folder, error), end; !error && entry != end;
         entry.increment(error)) {
        if (isTemporaryName(entry->path().filename().string(), prefix)) {
            removeIfStale(entry->path());
        }
    }
}

bool AtomicFile::isInUse(const fs::path& path) {
    const FileDescriptor file(::open(path.c_str(), O_RDONLY | O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC));
    return file.get() >= 0 && tryLock(file.get()) != Lock::ours;
}

AtomicFile::AtomicFile(const fs::path& folder, const std::string& prefix, mode_t mode)
    : descriptor_(createUnderFreeName(path_, folder, prefix, mode)) {}

AtomicFile::~AtomicFile() {
    if (!path_.empty()) {
        ::unlink(path_.c_str());
    }
}

// Not std::filesystem::copy_file(): its error does not show whether the disk is full or broken.
void AtomicFile::copyFrom(const fs::path& source, const std::function<void()>& afterBlock) {
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
        write({buffer.data(), static_cast<std::size_t>(count)});
        afterBlock();
    }
    complete(permissionsOf(from.get(), source));
}

void AtomicFile::completeLike(const fs::path& source) {
    complete(permissionsOf(FileDescriptor(source, O_RDONLY).get(), source));
}

void AtomicFile::write(std::string_view bytes) {
    while (!bytes.empty()) {
        const ssize_t written = ::write(descriptor_.get(), bytes.data(), bytes.size());
        if (written < 0) {
            throwLastError("Could not write", path_);
        }
        bytes.remove_prefix(static_cast<std::size_t>(written));
    }
}

void AtomicFile::complete(mode_t permissions) {
    if (isFailure(::fchmod(descriptor_.get(), permissions)) ||
        isFailure(::fsync(descriptor_.get()))) {
        throwLastError("Could not write", path_);
    }
}

void AtomicFile::replaceWith(const fs::path& target, std::string_view bytes) {
    const FileDescriptor present(
        ::open(target.c_str(), O_WRONLY | O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC));
    if (present.get() < 0 && errno != ENOENT) {
        throwLastError("Could not write", target);
    }
    write(bytes);
    complete(permissionsOf(present.get() >= 0 ? present.get() : descriptor_.get(), target));
    replace(target);
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
