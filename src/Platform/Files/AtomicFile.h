#pragma once

#include "Platform/Files/FileDescriptor.h"

#include <filesystem>
#include <functional>
#include <string>
#include <string_view>

namespace tessivo::files {

// A new file that is written under a temporary name, in the folder in which it is going to
// stay, and then renamed. Whatever is interrupted, the final name stands for the old file or
// for the new one. Without a final name the file is removed by the destructor, or, when the
// program was killed, by removeStale(): it is locked for as long as it is open.
//
// Failures throw std::filesystem::filesystem_error; all functions block on the disk.
class AtomicFile {
public:
    // The temporary name is the prefix and a number. Prefixes begin with a dot: a file in
    // progress is hidden, and as it has no extension nobody takes it for a loop. The mode is
    // that of open().
    AtomicFile(const std::filesystem::path& folder, const std::string& prefix, mode_t mode);
    ~AtomicFile();
    AtomicFile(const AtomicFile&) = delete;
    AtomicFile& operator=(const AtomicFile&) = delete;

    // Removes the temporary files with that prefix that nobody has open any more. Keeps what it
    // is not sure of: other names, and files on a disk that knows no locks. Never throws.
    static void removeStale(const std::filesystem::path& folder, const std::string& prefix);

    // Whether somebody has a file open that was made so, also under its final name. True also where
    // that cannot be known.
    static bool isInUse(const std::filesystem::path& path);

    // Open for reading and writing.
    FileDescriptor& descriptor() { return descriptor_; }

    // Writes the content of the source, gives the file the source's permissions and brings it
    // to the disk, where the file system has permissions and can sync. The function is called
    // after each megabyte; what it throws ends the copy.
    void copyFrom(
        const std::filesystem::path& source, const std::function<void()>& afterBlock = [] {});
    // The last two of these, for content that was written through the descriptor.
    void completeLike(const std::filesystem::path& source);

    // Writes the bytes, with the target's permissions where there is a target, brings them to the
    // disk and takes the target's place. A target that must not be written to is left alone.
    void replaceWith(const std::filesystem::path& target, std::string_view bytes);

    // Takes the final name, and the place of a file that has it. The folder is not synced.
    void replace(const std::filesystem::path& target);
    // Takes the final name if it is free. Returns whether it was. On a file system that cannot
    // rename without replacing, a file that has the name is replaced, and the result is always
    // true.
    bool becomeNew(const std::filesystem::path& target);

private:
    void write(std::string_view bytes);
    void complete(mode_t permissions);

    std::filesystem::path path_; // empty once the file has its final name
    FileDescriptor descriptor_;
};

} // namespace tessivo::files
