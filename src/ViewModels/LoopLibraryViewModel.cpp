#include "ViewModels/LoopLibraryViewModel.h"

#include "Audio/LoopPreviewEngine.h"
#include "Platform/System/Formatters.h"
#include "Platform/System/MainQueue.h"
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

constexpr std::array kSortOrders{SortOrder::dateDescending,    SortOrder::dateAscending,
                                 SortOrder::nameAscending,     SortOrder::nameDescending,
                                 SortOrder::durationAscending, SortOrder::durationDescending};

QString describe(const std::exception& error) {
    return QString::fromUtf8(error.what());
}

} // namespace

QString LoopLibraryViewModel::label(SortOrder order) {
    switch (order) {
    case SortOrder::dateDescending:
        return u"Newest First"_s;
    case SortOrder::dateAscending:
        return u"Oldest First"_s;
    case SortOrder::nameAscending:
        return u"Name A-Z"_s;
    case SortOrder::nameDescending:
        return u"Name Z-A"_s;
    case SortOrder::durationAscending:
        return u"Shortest First"_s;
    case SortOrder::durationDescending:
        return u"Longest First"_s;
    }
    return {};
}

std::optional<SortOrder> LoopLibraryViewModel::sortOrder(const QString& label) {
    const auto* const order =
        std::find_if(kSortOrders.begin(), kSortOrders.end(),
                     [&](SortOrder each) { return LoopLibraryViewModel::label(each) == label; });
    return order != kSortOrders.end() ? std::optional(*order) : std::nullopt;
}

QVariantList LoopLibraryViewModel::sortOrders() {
    QVariantList orders;
    for (const SortOrder order : kSortOrders) {
        orders.append(
            QVariantMap{{u"label"_s, label(order)}, {u"order"_s, static_cast<int>(order)}});
    }
    return orders;
}

LoopLibraryViewModel::LoopLibraryViewModel(std::unique_ptr<LoopPreviewEngine> previewEngine,
                                           QObject* parent)
    : ObservableObject(parent)
    , previewEngine_(std::move(previewEngine))
    , catalogue_(std::make_unique<LoopCatalogue>())
    , rows_(std::make_unique<LoopListModel>()) {
    observeStore();
    observePreview();
}

LoopLibraryViewModel::~LoopLibraryViewModel() {
    // Its end stops the preview, when the rows are gone already.
    previewEngine_->disconnect(this);
}

void LoopLibraryViewModel::observeStore() {
    connect(&loopLibrary_, &LoopLibrary::savedLoopsChanged, this, &LoopLibraryViewModel::takeLoops);
    connect(&loopLibrary_, &LoopLibrary::isLoadingChanged, this,
            &LoopLibraryViewModel::isLoadingChanged);
    connect(&loopLibrary_, &LoopLibrary::lastErrorChanged, this, [this] {
        // In a turn of its own: whatever the store is in the middle of is then complete.
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
}

void LoopLibraryViewModel::takeLoops() {
    catalogue_->setLoops(loopLibrary_.savedLoops());
    showRows();
    emit libraryStatsChanged();
}

void LoopLibraryViewModel::showRows() {
    rows_->setRows(catalogue_->rows(searchText_, sortOrder_));
}

// Looked up when a preview starts, not later: the engine knows the record that it was given
// then, and a rename gives the row another one.
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
    for (auto& row : catalogue_->rows(searchText_, sortOrder_)) {
        loops.push_back(std::move(row.loop));
    }
    return loops;
}

QString LoopLibraryViewModel::libraryStats() const {
    const std::size_t count = loopLibrary_.savedLoops().size();
    return QString::number(count) + (count == 1 ? u" loop"_s : u" loops"_s) + u" \u2022 "_s +
           formatFileSize(loopLibrary_.totalSize());
}

bool LoopLibraryViewModel::isPreviewingLoop(const SavedLoop& loop) const {
    return previewEngine_->isPreviewingLoop(loop);
}

// The rows change before the signal: who hears it sees what the search has found.
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
        alert(u"Loop name cannot be empty"_s);
        return;
    }
    try {
        loopLibrary_.renameLoop(*selectedLoop_, name);
    } catch (const std::exception& error) {
        alert(u"Failed to rename loop: "_s + describe(error));
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
    if (!selectedLoop_) {
        return;
    }
    try {
        loopLibrary_.deleteLoop(*selectedLoop_);
    } catch (const std::exception& error) {
        alert(u"Failed to delete loop: "_s + describe(error));
        return;
    }
    // Nothing sounds that has no row to stop it; the record may have been renamed meanwhile.
    const auto& sounding = previewEngine_->currentPreviewLoop();
    if (sounding && sounding->filename() == selectedLoop_->filename()) {
        stopPreview();
    }
    setSelectedLoop(std::nullopt);
    setShowingDeleteConfirmation(false);
}

void LoopLibraryViewModel::previewLoop(const SavedLoop& loop) {
    try {
        previewEngine_->previewLoop(loop);
    } catch (const std::exception& error) {
        alert(u"Failed to preview loop: "_s + describe(error));
    }
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
