#include "ViewModels/Library/LoopImport.h"

#include "Models/LoopError.h"
#include "Models/LoopLibrary.h"
#include "Models/SimpleLoopState.h"
#include "Platform/System/BackgroundCall.h"
#include "Platform/System/LogLine.h"
#include "Platform/System/MainQueue.h"
#include "Platform/System/Paths.h"
#include "Utils/AudioImport.h"
#include "Utils/LoopFileManager.h"
#include "ViewModels/Main/Notices.h"

#include <QCoreApplication>
#include <QPointer>

#include <chrono>
#include <exception>
#include <filesystem>
#include <optional>
#include <string>
#include <system_error>
#include <utility>

namespace tessivo {
namespace {

namespace fs = std::filesystem;
using namespace Qt::StringLiterals;
using std::chrono::steady_clock;

constexpr std::chrono::minutes kOfferTime{2};
constexpr std::chrono::milliseconds kProgressStep{100};
constexpr qsizetype kMostLines = 6;

struct ImportCancelled : std::exception {};

bool isInLibrary(const fs::path& file) {
    std::error_code error;
    const fs::path real = fs::canonical(file, error);
    return !error && fs::equivalent(real.parent_path(),
                                    pathOf(LoopFileManager::savedLoopsDirectory()), error);
}

} // namespace

struct LoopImport::Outcome {
    std::optional<ImportedAudio> audio;
    QString problem;  // in the user's language; empty as well for a file that is left out
    std::string line; // the same in English
};

LoopImport::LoopImport(LoopLibrary& library, SimpleLoopState& state, Notices& notices)
    : library_(library)
    , state_(state)
    , notices_(notices) {
    offerTime_.setSingleShot(true);
    offerTime_.setInterval(kOfferTime);
    connect(&offerTime_, &QTimer::timeout, this, [this] {
        offered_.clear();
        showOffer();
    });
    connect(&state, &SimpleLoopState::isRecordingChanged, this, &LoopImport::showOffer);
    connect(&notices, &Notices::importRequested, this, &LoopImport::acceptOffer);
    connect(QCoreApplication::instance(), &QCoreApplication::aboutToQuit, this,
            &LoopImport::cancel);
}

LoopImport::~LoopImport() {
    if (cancelled_) {
        *cancelled_ = true;
    }
}

QString LoopImport::activity() const {
    if (!isImporting()) {
        return {};
    }
    const QString name = files_[done_].fileName();
    return files_.size() == 1
               ? tr("Importing %1").arg(name)
               : tr("Importing %1 of %2: %3").arg(done_ + 1).arg(files_.size()).arg(name);
}

double LoopImport::progress() const {
    return isImporting()
               ? (static_cast<double>(done_) + fileProgress_) / static_cast<double>(files_.size())
               : 0.0;
}

void LoopImport::offer(const QStringList& paths) {
    QList<QUrl> files;
    for (const QString& path : paths) {
        files.append(QUrl::fromLocalFile(path));
    }
    if (state_.showingLoopLibrary()) {
        importFiles(files);
        return;
    }
    offered_ += files;
    offerTime_.start();
    showOffer();
}

void LoopImport::showOffer() {
    notices_.set(Notices::Kind::importOffered, !offered_.isEmpty() && !state_.isRecording(),
                 offered_.size() == 1 ? offered_.constFirst().fileName()
                                      : tr("%1 files").arg(offered_.size()));
}

void LoopImport::acceptOffer() {
    const QList<QUrl> files = std::exchange(offered_, {});
    offerTime_.stop();
    showOffer();
    if (state_.transportState() == TransportState::stopped) {
        state_.setShowingLoopLibrary(true);
    }
    importFiles(files);
}

void LoopImport::importFiles(const QList<QUrl>& files) {
    const bool isRunning = isImporting();
    for (const QUrl& file : files) {
        const QUrl url = file.adjusted(QUrl::NormalizePathSegments);
        if (!files_.contains(url)) {
            files_.append(url);
        }
    }
    if (!isRunning && isImporting()) {
        importNext();
    }
    emit changed();
}

void LoopImport::cancel() {
    if (isImporting()) {
        *cancelled_ = true;
        files_.resize(done_ + 1);
    }
}

void LoopImport::clearReport() {
    report_.clear();
    emit changed();
}

void LoopImport::importNext() {
    fileProgress_ = 0.0;
    cancelled_ = std::make_shared<std::atomic<bool>>(false);
    const auto progress = [self = QPointer(this), cancelled = cancelled_,
                           last = steady_clock::now()](double done) mutable {
        if (*cancelled) {
            throw ImportCancelled();
        }
        if (steady_clock::now() - last > kProgressStep) {
            last = steady_clock::now();
            MainQueue::post([self, done] {
                if (self) {
                    self->setFileProgress(done);
                }
            });
        }
    };
    const auto isLost = [](const Outcome& outcome) {
        if (outcome.audio) {
            logLine("Imported too late to be listed: " +
                    outcome.audio->loop.filename().toStdString());
        }
    };
    runInBackground(
        BackgroundQueue::Priority::userInitiated, this,
        [file = files_[done_], progress] { return importFile(file, progress); },
        [this](const Outcome& outcome) { take(outcome); }, isLost);
}

LoopImport::Outcome LoopImport::importFile(const QUrl& file,
                                           const std::function<void(double)>& progress) {
    const auto problem = [&](const QString& shown, const std::string& reason) {
        const QString name = file.isLocalFile() ? file.fileName() : file.toDisplayString();
        return Outcome{std::nullopt, u"%1: %2"_s.arg(name, shown),
                       name.toStdString() + ": " + reason};
    };
    const auto refused = [&](const char* reason) {
        return problem(tr(reason), reason);
    };
    try {
        if (!file.isLocalFile()) {
            return refused(QT_TR_NOOP("This is not on this computer"));
        }
        std::error_code ignored;
        const fs::path path = pathOf(file);
        if (fs::is_directory(path, ignored)) {
            return refused(QT_TR_NOOP("This is a folder"));
        }
        return isInLibrary(path) ? Outcome() : Outcome{importAudio(file, progress), {}, {}};
    } catch (const ImportCancelled&) {
        return {};
    } catch (const LoopError& error) {
        return problem(LoopError::shownReasonOf(error), LoopError::reasonOf(error));
    } catch (const std::exception& error) {
        return {std::nullopt, QString::fromUtf8(error.what()), error.what()};
    }
}

void LoopImport::setFileProgress(double progress) {
    fileProgress_ = progress;
    emit changed();
}

void LoopImport::take(const Outcome& outcome) {
    if (outcome.audio) {
        const auto& [loop, channels] = *outcome.audio;
        logLine("Successfully imported loop: " + loop.name().toStdString());
        library_.saveLoopInAllLists(loop);
        imported_.append(loop.name());
        if (channels > 2) {
            problems_.append(tr("%1: Of its %2 channels the first two are heard")
                                 .arg(loop.name())
                                 .arg(channels));
        }
    } else if (!outcome.problem.isEmpty()) {
        logLine("Failed to import loop: " + outcome.line);
        problems_.append(outcome.problem);
    }
    if (++done_ < files_.size()) {
        importNext();
    } else {
        finish();
    }
    emit changed();
}

void LoopImport::finish() {
    QStringList problems = std::exchange(problems_, {});
    if (problems.size() > kMostLines) {
        const qsizetype more = problems.size() - kMostLines + 1;
        problems.resize(kMostLines - 1);
        problems.append(tr("and %1 more").arg(more));
    }
    if (state_.showingLoopLibrary()) {
        report_ = problems.join(u'\n');
    } else if (!problems.isEmpty()) {
        notices_.tell(Notices::Kind::importFailed, problems.join(u"; "_s));
    } else if (!imported_.isEmpty()) {
        notices_.tell(Notices::Kind::imported, imported_.join(u", "_s));
    }
    files_.clear();
    imported_.clear();
    done_ = 0;
}

} // namespace tessivo
