#pragma once

#include <filesystem>
#include <sys/types.h>
#include <utility>

namespace tessivo::files {

// Throws a filesystem_error with errno's code.
[[noreturn]] void throwLastError(const char* what, const std::filesystem::path& path);

// Owns an open file: closes it, unless it was released to another owner.
class FileDescriptor {
public:
    // Opens or creates a file; other programs that we start do not inherit it. What the user's
    // umask forbids is taken from the mode. Throws std::filesystem::filesystem_error.
    FileDescriptor(const std::filesystem::path& path, int flags, mode_t mode = 0);
    // An open file, or -1 for none.
    explicit FileDescriptor(int value)
        : value_(value) {}
    ~FileDescriptor();
    FileDescriptor(const FileDescriptor&) = delete;
    FileDescriptor& operator=(const FileDescriptor&) = delete;

    int get() const { return value_; }
    [[nodiscard]] int release() { return std::exchange(value_, -1); }

private:
    int value_;
};

// Whose the lock of a file is.
enum class Lock {
    ours, // until the file is closed, or the program dies
    anothers,
    unknown, // no file, or a disk that knows no locks
};

// Locks an open file unless somebody else has; does not wait.
Lock tryLock(int file);

} // namespace tessivo::files
