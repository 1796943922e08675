#include "Models/LibraryFile.h"

#include "Models/LibraryFolder.h"
#include "Models/LibraryMetadata.h"
#include "Platform/Files/AtomicFile.h"
#include "Platform/Files/Folder.h"
#include "Platform/System/BackgroundQueue.h"
#include "Platform/System/LogLine.h"
#include "Platform/System/Paths.h"
#include "Utils/LoopFileManager.h"

#include <QDateTime>
#include <QFile>

#include <filesystem>
#include <future>
#include <memory>
#include <optional>
#include <stdexcept>
#include <string>
#include <system_error>
#include <utility>

namespace tessivo {
namespace {

namespace fs = std::filesystem;

fs::path metadataPath() {
    return pathOf(LoopFileManager::libraryMetadataURL());
}

// "library-2026-11-22-201502.json", and so on where that is taken.
fs::path freeDatedName() {
    const QString date = QDateTime::currentDateTime().toString(QStringLiteral("yyyy-MM-dd-HHmmss"));
    return files::freeName(metadataPath().parent_path(), "library-" + date.toStdString(), ".json");
}

// What the file lacks because it could not be written, oldest first. Touched in the queue only,
// which may run for longer than static objects live.
std::vector<LibraryFile::Change>& keptChanges() {
    static auto* const changes = new std::vector<LibraryFile::Change>();
    return *changes;
}

void applyKeptChanges(LibraryFile::Loops& loops) {
    for (const auto& change : keptChanges()) {
        change(loops);
    }
}

// Nothing when there is no file.
std::optional<LibraryFile::Loops> loopsInFile() {
    const fs::path path = metadataPath();
    std::error_code error;
    if (!fs::exists(fs::symlink_status(path, error))) {
        if (error && error != std::errc::no_such_file_or_directory &&
            error != std::errc::not_a_directory) {
            throw std::system_error(error, "library.json");
        }
        return std::nullopt;
    }
    // Opening a FIFO would wait for its other end.
    if (!fs::is_regular_file(path, error)) {
        throw std::runtime_error("library.json is not a file");
    }
    QFile file(path);
    QByteArray bytes;
    if (file.open(QIODevice::ReadOnly)) {
        bytes = file.readAll();
    }
    if (file.error() != QFileDevice::NoError) {
        throw std::runtime_error(file.errorString().toStdString());
    }
    return LibraryMetadata::decode(bytes);
}

} // namespace

void LibraryFile::post(std::function<void()> access) {
    BackgroundQueue::postInOrder(std::move(access));
}

void LibraryFile::changeAndWait(const Change& change) {
    const auto task =
        std::make_shared<std::packaged_task<void()>>([change] { LibraryFile::change(change); });
    post([task] { (*task)(); });
    task->get_future().get();
}

void LibraryFile::postKeptChanges() {
    post([] {
        try {
            if (!keptChanges().empty()) {
                update([](Loops&) {}, LibraryFolder::loops);
            }
        } catch (const std::exception& error) {
            logLine(std::string("Failed to save loop library: ") + error.what());
        }
    });
}

LibraryFile::Content LibraryFile::read() {
    auto loops = loopsInFile();
    Content content{loops.value_or(Loops()), loops && keptChanges().empty()};
    applyKeptChanges(content.loops);
    return content;
}

void LibraryFile::update(const Change& change, const MakeList& rebuild) {
    Loops loops;
    try {
        loops = read().loops;
    } catch (const std::exception&) {
        keepBeside();
        loops = rebuild();
        applyKeptChanges(loops);
    }
    change(loops);
    write(loops);
    keptChanges().clear();
}

void LibraryFile::change(const Change& change) {
    try {
        update(change, LibraryFolder::loops);
    } catch (const MetadataError&) {
        throw; // it can never be written, and would be in the way of all others
    } catch (...) {
        keptChanges().push_back(change);
        throw;
    }
}

void LibraryFile::write(const std::vector<SavedLoop>& loops) {
    const QByteArray bytes = LibraryMetadata::encode(loops);
    const fs::path path = metadataPath();
    std::error_code ignored;
    const fs::file_status present = fs::symlink_status(path, ignored);
    if (fs::exists(present) && !fs::is_regular_file(present)) {
        // Nothing of ours, so it is kept. A folder could not be replaced, and what is written to
        // a link would go to a file elsewhere.
        fs::rename(path, freeDatedName());
    }
    try {
        files::AtomicFile file(path.parent_path(), LoopFileManager::kInProgress, 0666);
        file.replaceWith(path, {bytes.constData(), static_cast<std::size_t>(bytes.size())});
    } catch (const fs::filesystem_error& error) {
        throw std::runtime_error(error.code().message());
    }
    files::syncFolder(path.parent_path());
}

void LibraryFile::keepBeside() {
    const fs::path path = metadataPath();
    std::error_code error;
    // What is no file is moved aside by the write.
    if (!fs::is_regular_file(fs::symlink_status(path, error)) ||
        fs::hard_link_count(path, error) > 1) {
        return;
    }
    const fs::path kept = freeDatedName();
    fs::create_hard_link(path, kept, error);
    if (error) {
        fs::copy_file(path, kept, error);
    }
}

} // namespace tessivo
