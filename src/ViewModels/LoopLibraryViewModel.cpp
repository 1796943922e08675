#include "ViewModels/LoopLibraryViewModel.h"

#include "Audio/LoopPreviewEngine.h"
#include "Models/LoopError.h"
#include "Platform/System/Formatters.h"
#include "Platform/System/MainQueue.h"
#include "Utils/LoopFileManager.h"
#include "ViewModels/Library/LoopCatalogue.h"
#include "ViewModels/Library/LoopListModel.h"

#include <QVariantMap>

#include <algorithm>
#include <array>
#include <exception>
#include <utility>

using namespace Qt::StringLiterals;

namespace tessivo {
namespace {

struct LabelledOrder {
    SortOrder order = SortOrder::dateDescending;
    const char* label = nullptr;
};

constexpr std::array kSortOrders{
    LabelledOrder{SortOrder::dateDescending,
                  QT_TRANSLATE_NOOP("tessivo::LoopLibraryViewModel", "Newest First")},
    LabelledOrder{SortOrder::dateAscending,
                  QT_TRANSLATE_NOOP("tessivo::LoopLibraryViewModel", "Oldest First")},
    LabelledOrder{SortOrder::nameAscending,
                  QT_TRANSLATE_NOOP("tessivo::LoopLibraryViewModel", "Name A-Z")},
    LabelledOrder{SortOrder::nameDescending,
                  QT_TRANSLATE_NOOP("tessivo::LoopLibraryViewModel", "Name Z-A")},
    LabelledOrder{SortOrder::durationAscending,
                  QT_TRANSLATE_NOOP("tessivo::LoopLibraryViewModel", "Shortest First")},
    LabelledOrder{SortOrder::durationDescending,
                  QT_TRANSLATE_NOOP("tessivo::LoopLibraryViewModel", "Longest First")},
};

} // namespace

QString LoopLibraryViewModel::label(SortOrder order) {
    const auto* const found = std::find_if(kSortOrders.begin(), kSortOrders.end(),
                                           [&](const auto& each) { return each.order == order; });
    return found != kSortOrders.end() ? QString::fromLatin1(found->label) : QString();
}

std::optional<SortOrder> LoopLibraryViewModel::sortOrder(const QString& label) {
    const auto* const found = std::find_if(kSortOrders.begin(), kSortOrders.end(),
                                           [&](const auto& each) { return each.label == label; });
    return found != kSortOrders.end() ? std::optional(found->order) : std::nullopt;
}

QVariantList LoopLibraryViewModel::sortOrders() {
    QVariantList orders;
    for (const auto& [order, label] : kSortOrders) {
        orders.append(QVariantMap{{u"label"_s, tr(label)}, {u"order"_s, static_cast<int>(order)}});
    }
    return orders;
}

LoopLibraryViewModel::LoopLibraryViewModel(std::unique_ptr<LoopPreviewEngine> previewEngine,
                                           QObject* parent)
    : ObservableObject(parent)
    , previewEngine_(std::move(previewEngine))
    , catalogue_(std::make_unique<LoopCatalogue>())
    , rows_(std::make_unique<LoopListModel>(*catalogue_)) {
    observeStore();
    observePreview();
}

LoopLibraryViewModel::~LoopLibraryViewModel() {
    // The engine is destroyed after the rows, and signals the end of its preview.
    previewEngine_->disconnect(this);
}

void LoopLibraryViewModel::observeStore() {
    connect(&loopLibrary_, &LoopLibrary::savedLoopsChanged, this, &LoopLibraryViewModel::takeLoops);
    connect(catalogue_.get(), &LoopCatalogue::becameReady, this, &LoopLibraryViewModel::showRows);
    connect(&loopLibrary_, &LoopLibrary::isLoadingChanged, this,
            &LoopLibraryViewModel::isLoadingChanged);
    connect(&loopLibrary_, &LoopLibrary::lastErrorChanged, this, [this] {
        // Posted, so that the store has finished what it is in the middle of.
        if (const auto& error = loopLibrary_.lastError()) {
            MainQueue::post(this, [this, message = error->errorDescription()] { alert(message); });
        }
    });
}

void LoopLibraryViewModel::observePreview() {
    for (const auto changed :
         {&LoopPreviewEngine::isPlayingChanged, &LoopPreviewEngine::currentPreviewLoopChanged}) {
        connect(previewEngine_.get(), changed, this, &LoopLibraryViewModel::markPreview);
    }
    connect(previewEngine_.get(), &LoopPreviewEngine::isOpeningChanged, this,
            &LoopLibraryViewModel::isWaitingForDiskChanged);
    connect(previewEngine_.get(), &LoopPreviewEngine::previewFailed, this,
            [this](const QString& reason) { alert(tr("Failed to preview loop: %1").arg(reason)); });
}

void LoopLibraryViewModel::takeLoops() {
    catalogue_->setLoops(loopLibrary_.savedLoops());
    showRows();
    rows_->refreshLoops();
    emit libraryStatsChanged();
}

// In a large library that has just been read they follow when the catalogue is ready.
void LoopLibraryViewModel::showRows() {
    if (catalogue_->isReadyFor(searchText_, sortOrder_)) {
        rows_->setRows(catalogue_->list(searchText_, sortOrder_));
    }
}

// The identity is looked up when the preview starts, because the engine keeps the record of that
// moment and a rename replaces it.
void LoopLibraryViewModel::markPreview() {
    const auto& playing = previewEngine_->currentPreviewLoop();
    const bool isPreviewing = playing && previewEngine_->isPreviewingLoop(*playing);
    rows_->setPreviewed(isPreviewing ? catalogue_->identityOf(playing->id()) : std::nullopt);
}

QAbstractItemModel* LoopLibraryViewModel::loops() const {
    return rows_.get();
}

std::vector<SavedLoop> LoopLibraryViewModel::filteredAndSortedLoops() const {
    std::vector<SavedLoop> loops;
    for (const auto identity : catalogue_->list(searchText_, sortOrder_)) {
        loops.push_back(catalogue_->loop(identity));
    }
    return loops;
}

bool LoopLibraryViewModel::isWaitingForDisk() const {
    return !beingDeleted_.isEmpty() || previewEngine_->isOpening();
}

QString LoopLibraryViewModel::libraryStats() const {
    const std::size_t count = loopLibrary_.savedLoops().size();
    const QString loops =
        count == 1 ? tr("1 loop") : tr("%n loops", nullptr, static_cast<int>(count));
    return loops + u" \u2022 "_s + formatFileSize(loopLibrary_.totalSize());
}

QString LoopLibraryViewModel::selectedLoopName() const {
    if (!selectedLoop_) {
        return {};
    }
    const bool isNameless = selectedLoop_->name().trimmed().isEmpty();
    return isNameless ? selectedLoop_->filename() : selectedLoop_->name();
}

bool LoopLibraryViewModel::isPreviewingLoop(const SavedLoop& loop) const {
    return previewEngine_->isPreviewingLoop(loop);
}

QString LoopLibraryViewModel::uriOf(const SavedLoop& loop) {
    return QString::fromLatin1(
        LoopFileManager::locationOf(loop).value_or(QUrl()).toEncoded(QUrl::FullyEncoded));
}

// The rows change before the signal, so that its receivers see the new result if it can be had.
void LoopLibraryViewModel::setSearchText(const QString& text) {
    publish(searchText_, text);
    showRows();
    emit searchTextChanged();
}

void LoopLibraryViewModel::setSortOrder(SortOrder order) {
    publish(sortOrder_, order);
    showRows();
    emit sortOrderChanged();
}

void LoopLibraryViewModel::setShowingDeleteConfirmation(bool showing) {
    publish(showingDeleteConfirmation_, showing,
            &LoopLibraryViewModel::showingDeleteConfirmationChanged);
}

void LoopLibraryViewModel::setShowingRenameDialog(bool showing) {
    publish(showingRenameDialog_, showing, &LoopLibraryViewModel::showingRenameDialogChanged);
}

void LoopLibraryViewModel::setSelectedLoop(std::optional<SavedLoop> loop) {
    publish(selectedLoop_, std::move(loop), &LoopLibraryViewModel::selectedLoopChanged);
}

void LoopLibraryViewModel::setNewLoopName(const QString& name) {
    publish(newLoopName_, name, &LoopLibraryViewModel::newLoopNameChanged);
}

void LoopLibraryViewModel::setShowingError(bool showing) {
    publish(showingError_, showing, &LoopLibraryViewModel::showingErrorChanged);
}

void LoopLibraryViewModel::setErrorMessage(const QString& message) {
    publish(errorMessage_, message, &LoopLibraryViewModel::errorMessageChanged);
}

void LoopLibraryViewModel::alert(const QString& message) {
    setErrorMessage(message);
    setShowingError(true);
}

void LoopLibraryViewModel::renameLoop(const SavedLoop& loop) {
    setSelectedLoop(loop);
    setNewLoopName(loop.name());
    setShowingRenameDialog(true);
}

void LoopLibraryViewModel::confirmRename() {
    if (!selectedLoop_) {
        return;
    }
    const QString name = newLoopName_.trimmed();
    if (name.isEmpty()) {
        alert(tr("Loop name cannot be empty"));
        return;
    }
    try {
        loopLibrary_.renameLoop(*selectedLoop_, name);
    } catch (const std::exception& error) {
        alert(tr("Failed to rename loop: %1").arg(LoopError::shown(error)));
        return;
    }
    setSelectedLoop(std::nullopt);
    setNewLoopName({});
    setShowingRenameDialog(false);
}

void LoopLibraryViewModel::deleteLoop(const SavedLoop& loop) {
    setSelectedLoop(loop);
    setShowingDeleteConfirmation(true);
}

void LoopLibraryViewModel::confirmDelete() {
    if (!selectedLoop_ || beingDeleted_.contains(selectedLoop_->id())) {
        return;
    }
    const SavedLoop loop = *selectedLoop_;
    publish(beingDeleted_, beingDeleted_ + QSet{loop.id()},
            &LoopLibraryViewModel::isWaitingForDiskChanged);
    loopLibrary_.deleteLoop(loop,
                            [this, loop](const QString& failure) { loopDeleted(loop, failure); });
}

void LoopLibraryViewModel::loopDeleted(const SavedLoop& loop, const QString& failure) {
    publish(beingDeleted_, beingDeleted_ - QSet{loop.id()},
            &LoopLibraryViewModel::isWaitingForDiskChanged);
    if (!failure.isEmpty()) {
        alert(tr("Failed to delete loop: %1").arg(failure));
        return;
    }
    // A deleted loop must not go on sounding. Compared by file, because a rename replaces the
    // record.
    const auto& sounding = previewEngine_->currentPreviewLoop();
    if (sounding && sounding->filename() == loop.filename()) {
        stopPreview();
    }
    // Unless another one has been selected meanwhile.
    if (selectedLoop_ && selectedLoop_->id() == loop.id()) {
        setSelectedLoop(std::nullopt);
        setShowingDeleteConfirmation(false);
    }
}

void LoopLibraryViewModel::previewLoop(const SavedLoop& loop) {
    previewEngine_->previewLoop(loop);
}

void LoopLibraryViewModel::stopPreview() {
    previewEngine_->stopPreview();
}

void LoopLibraryViewModel::setPreviewVolume(float volume) {
    previewEngine_->setPreviewVolume(volume);
}

void LoopLibraryViewModel::refreshLibrary() {
    loopLibrary_.refreshLibrary();
}

void LoopLibraryViewModel::clearSearch() {
    setSearchText({});
}

void LoopLibraryViewModel::clearError() {
    setShowingError(false);
    setErrorMessage({});
}

} // namespace tessivo
