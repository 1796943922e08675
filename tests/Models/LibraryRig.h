#pragma once

#include "Models/LibraryMetadata.h"
#include "Models/LoopError.h"
#include "Models/LoopLibrary.h"
#include "Utils/LoopFileManager.h"
#include "support/QtTestSupport.h"

#include <gtest/gtest.h>

#include <fstream>
#include <sys/mount.h>

namespace tessivo::test {

inline void writeBytes(const std::filesystem::path& path, const std::string& bytes) {
    std::ofstream(path, std::ios::binary) << bytes;
}

// The description of the LoopError that this throws.
template <class Call> QString loopErrorOf(Call&& call) {
    try {
        call();
    } catch (const LoopError& error) {
        return error.errorDescription();
    }
    return QStringLiteral("no error");
}

// Returns when the disk has answered, with what went wrong.
inline QString deleteLoop(LoopLibrary& library, const SavedLoop& loop) {
    QString result = QStringLiteral("no answer");
    library.deleteLoop(loop, [&](const QString& failure) { result = failure; });
    settle();
    return result;
}

inline std::vector<QString> namesOf(const std::vector<SavedLoop>& loops) {
    std::vector<QString> names;
    for (const SavedLoop& loop : loops) {
        names.push_back(loop.name());
    }
    return names;
}

// A file that cannot be replaced, removed or moved.
class BusyFile {
public:
    explicit BusyFile(const std::filesystem::path& path)
        : path_(path) {
        EXPECT_EQ(::mount(path_.c_str(), path_.c_str(), "", MS_BIND, ""), 0) << "only root can";
    }
    ~BusyFile() { ::umount2(path_.c_str(), MNT_DETACH); }
    BusyFile(const BusyFile&) = delete;
    BusyFile& operator=(const BusyFile&) = delete;

private:
    std::filesystem::path path_;
};

// A small disk in place of a folder.
class SmallDisk {
public:
    explicit SmallDisk(const std::filesystem::path& folder, const char* size = "size=1m")
        : folder_(folder)
        , mounted_(::mount("tmpfs", folder.c_str(), "tmpfs", 0, size) == 0) {
        EXPECT_TRUE(mounted_) << "only root can mount";
    }
    ~SmallDisk() { ::umount2(folder_.c_str(), MNT_DETACH); }
    SmallDisk(const SmallDisk&) = delete;
    SmallDisk& operator=(const SmallDisk&) = delete;

private:
    std::filesystem::path folder_;
    bool mounted_;
};

// A saved-loops folder with loops in it, and the lines that are written about them.
struct LibraryRig {
    // A loop of a fiftieth of a second, in the folder, with its record.
    SavedLoop loop(const QString& name, double date, const QString& filename = {}) const {
        const QString file = filename.isEmpty() ? name + ".wav" : filename;
        const auto path = folder / file.toStdString();
        writeFile(path, 48000, Channels(1, noise(960, 7)));
        return {name, file, SecondsSince2001(date), 0.02,
                static_cast<qint64>(std::filesystem::file_size(path))};
    }

    void write(const std::vector<SavedLoop>& loops) const {
        writeBytes(metadata, LibraryMetadata::encode(loops).toStdString());
    }
    std::vector<SavedLoop> read() const {
        return LibraryMetadata::decode(QByteArray::fromStdString(bytesOf(metadata)));
    }

    // Names of the files in the folder, sorted.
    std::vector<std::string> files() const {
        std::vector<std::string> names;
        for (const auto& entry : std::filesystem::directory_iterator(folder)) {
            names.push_back(entry.path().filename().string());
        }
        std::sort(names.begin(), names.end());
        return names;
    }

    std::ptrdiff_t filesWith(const std::string& bytes) const {
        const auto names = files();
        return std::count_if(names.begin(), names.end(), [&](const std::string& name) {
            return bytesOf(folder / name) == bytes;
        });
    }

    TemporaryHome home;
    std::filesystem::path folder = TemporaryHome::savedLoops();
    std::filesystem::path metadata = folder / "library.json";
    CapturedLines lines;
};

} // namespace tessivo::test
