#include "Utils/TakeMarker.h"

#include "Platform/Files/AtomicFile.h"
#include "Platform/Files/FileDescriptor.h"
#include "Platform/System/Paths.h"
#include "Utils/LoopFileManager.h"

#include <algorithm>
#include <fcntl.h>
#include <string>
#include <string_view>
#include <system_error>

namespace tessivo {
namespace {

namespace fs = std::filesystem;

// Before and after the take's name.
constexpr std::string_view kPrefix = ".";
constexpr std::string_view kSuffix = ".recording";

fs::path markOf(const fs::path& take) {
    std::string name(kPrefix);
    name.append(take.filename().string()).append(kSuffix);
    return take.parent_path() / name;
}

// Nothing for a file that is no mark.
std::optional<fs::path> takeOf(const fs::path& mark) {
    const std::string name = mark.filename().string();
    const auto length = name.size() - std::min(name.size(), kPrefix.size() + kSuffix.size());
    if (length == 0 || !name.starts_with(kPrefix) || !name.ends_with(kSuffix)) {
        return std::nullopt;
    }
    return mark.parent_path() / name.substr(kPrefix.size(), length);
}

} // namespace

TakeMarker::TakeMarker(const fs::path& take)
    : take_(take) {
    try {
        const files::FileDescriptor mark(markOf(take), O_WRONLY | O_CREAT | O_NOFOLLOW, 0666);
    } catch (const std::system_error&) {
        // The take is worth more than its mark.
    }
}

TakeMarker::~TakeMarker() {
    forget(take_);
}

void TakeMarker::forget(const fs::path& take) {
    std::error_code ignored;
    fs::remove(markOf(take), ignored);
}

std::optional<fs::path> TakeMarker::findCutOff(const fs::path& folder) {
    std::optional<fs::path> newest;
    fs::file_time_type newestTime;
    std::error_code error;
    for (fs::directory_iterator entry(folder, error), end; !error && entry != end;
         entry.increment(error)) {
        const auto take = takeOf(entry->path());
        if (!take || files::AtomicFile::isInUse(*take)) {
            continue;
        }
        if (!LoopFileManager::validateLoopFile(urlOf(*take))) {
            forget(*take);
            continue;
        }
        std::error_code ignored;
        const auto time = fs::last_write_time(*take, ignored);
        if (!newest || time > newestTime) {
            newest = take;
            newestTime = time;
        }
    }
    return newest;
}

} // namespace tessivo
