#include "Models/LibraryFolder.h"

#include "Platform/System/LogLine.h"
#include "Platform/System/Paths.h"
#include "Utils/LoopFileManager.h"

#include <QDateTime>
#include <QFile>
#include <QFileInfo>

#include <algorithm>
#include <exception>
#include <filesystem>
#include <iterator>
#include <list>

namespace tessivo {
namespace {

namespace fs = std::filesystem;

SavedLoop recordOf(const QFileInfo& file) {
    const auto metadata =
        LoopFileManager::getLoopMetadata(QUrl::fromLocalFile(file.absoluteFilePath()));
    const QDateTime birth = file.birthTime();
    const auto created =
        birth.isValid() ? SecondsSince2001(static_cast<double>(birth.toMSecsSinceEpoch()) / 1000.0 -
                                           static_cast<double>(kUnixTimeOf2001.count()))
                        : secondsSince2001Now();
    return {file.fileName().chopped(4), file.fileName(), created, metadata.duration,
            metadata.fileSize};
}

} // namespace

bool isNewer(const SavedLoop& a, const SavedLoop& b) {
    return a.createdDate() > b.createdDate();
}

// By way of a list, whose sort is stable: std::stable_sort takes its memory in a way that newer
// compilers warn of. Nearly always nothing is to be done.
void sortNewestFirst(std::vector<SavedLoop>& loops) {
    if (std::is_sorted(loops.begin(), loops.end(), isNewer)) {
        return;
    }
    std::list<SavedLoop> sorted(std::make_move_iterator(loops.begin()),
                                std::make_move_iterator(loops.end()));
    sorted.sort(isNewer);
    loops.assign(std::make_move_iterator(sorted.begin()), std::make_move_iterator(sorted.end()));
}

std::vector<SavedLoop> LibraryFolder::loops() {
    const QUrl& folder = LoopFileManager::savedLoopsDirectory();
    std::vector<SavedLoop> loops;
    for (const auto& entry : fs::directory_iterator(pathOf(folder))) {
        const QString name = QFile::decodeName(entry.path().filename().c_str());
        if (!name.endsWith(QLatin1String(".wav"), Qt::CaseInsensitive)) {
            continue;
        }
        try {
            loops.push_back(recordOf(QFileInfo(folder.toLocalFile() + u'/' + name)));
        } catch (const std::exception& error) {
            logLine("Failed to process file " + name.toStdString() + ": " + error.what());
        }
    }
    sortNewestFirst(loops);
    return loops;
}

LibraryFolder::Checked LibraryFolder::checked(const std::vector<SavedLoop>& loops) {
    Checked result;
    for (const SavedLoop& loop : loops) {
        const bool isUsable = LoopFileManager::validateLoopFile(loop);
        (isUsable ? result.loops : result.orphans).push_back(loop);
        if (!isUsable) {
            logLine("Removing orphaned loop: " + loop.name().toStdString());
        }
    }
    sortNewestFirst(result.loops);
    return result;
}

} // namespace tessivo
