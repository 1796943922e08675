#pragma once

#include "Models/LoopLibrary.h"
#include "Platform/System/ObservableObject.h"
#include "ViewModels/Library/SortOrder.h"

#include <QAbstractItemModel>
#include <QSet>
#include <QStringList>
#include <QUuid>
#include <QVariantList>

#include <memory>
#include <optional>
#include <vector>

Q_MOC_INCLUDE("Audio/LoopPreviewEngine.h")

namespace tessivo {

class LoopCatalogue;
class LoopListModel;
class LoopPreviewEngine;

// What the library window shows and does: the saved loops, searched and sorted, their summary,
// renaming, deleting, previews, and one error alert. It owns a store and a preview engine. Main
// thread only.
//
// Every write of a field is announced before it is made and followed by the field's signal.
// The window itself loads loops into the looper and exports them.
class LoopLibraryViewModel : public ObservableObject {
    Q_OBJECT
    Q_DISABLE_COPY(LoopLibraryViewModel)
    // The rows: filteredAndSortedLoops() as a LoopListModel, whose roles are named there.
    Q_PROPERTY(QAbstractItemModel* loops READ loops CONSTANT)
    Q_PROPERTY(bool isLoading READ isLoading NOTIFY isLoadingChanged)
    // A command waits for the disk.
    Q_PROPERTY(bool isWaitingForDisk READ isWaitingForDisk NOTIFY isWaitingForDiskChanged)
    // The store holds no loop at all, whatever is searched for.
    Q_PROPERTY(bool isEmpty READ isEmpty NOTIFY libraryStatsChanged)
    Q_PROPERTY(QString libraryStats READ libraryStats NOTIFY libraryStatsChanged)
    Q_PROPERTY(QString searchText READ searchText WRITE setSearchText NOTIFY searchTextChanged)
    Q_PROPERTY(tessivo::sorting::SortOrder sortOrder READ sortOrder WRITE setSortOrder NOTIFY
                   sortOrderChanged)
    // All orders for a picker, as objects with a "label" and an "order".
    Q_PROPERTY(QVariantList sortOrders READ sortOrders CONSTANT)
    Q_PROPERTY(bool showingDeleteConfirmation READ showingDeleteConfirmation WRITE
                   setShowingDeleteConfirmation NOTIFY showingDeleteConfirmationChanged)
    Q_PROPERTY(bool showingRenameDialog READ showingRenameDialog WRITE setShowingRenameDialog NOTIFY
                   showingRenameDialogChanged)
    // That of its file when it has no name, so that a question can name it.
    Q_PROPERTY(QString selectedLoopName READ selectedLoopName NOTIFY selectedLoopChanged)
    Q_PROPERTY(QString newLoopName READ newLoopName WRITE setNewLoopName NOTIFY newLoopNameChanged)
    Q_PROPERTY(bool showingError READ showingError WRITE setShowingError NOTIFY showingErrorChanged)
    Q_PROPERTY(
        QString errorMessage READ errorMessage WRITE setErrorMessage NOTIFY errorMessageChanged)
    Q_PROPERTY(tessivo::LoopPreviewEngine* previewEngine READ previewEngine CONSTANT)

public:
    using SortOrder = sorting::SortOrder;

    // The text of an order in the picker, and the order that has this text, if any.
    static QString label(SortOrder order);
    static std::optional<SortOrder> sortOrder(const QString& label);

    // The store begins to load at once.
    explicit LoopLibraryViewModel(std::unique_ptr<LoopPreviewEngine> previewEngine,
                                  QObject* parent = nullptr);
    ~LoopLibraryViewModel() override;

    // Owned by the model, the same for its whole life.
    LoopLibrary& loopLibrary() { return loopLibrary_; }
    LoopPreviewEngine* previewEngine() const { return previewEngine_.get(); }
    QAbstractItemModel* loops() const;

    // The loops whose name contains the search text, ignoring case as the user's language
    // does, in the chosen order. The text is used as typed; an empty one keeps all.
    std::vector<SavedLoop> filteredAndSortedLoops() const;
    // "3 loops • 1.2 MB", of the whole library.
    QString libraryStats() const;
    bool isEmpty() const { return loopLibrary_.savedLoops().empty(); }
    bool isLoading() const { return loopLibrary_.isLoading(); }
    bool isWaitingForDisk() const;

    const QString& searchText() const { return searchText_; }
    SortOrder sortOrder() const { return sortOrder_; }
    static QVariantList sortOrders();
    bool showingDeleteConfirmation() const { return showingDeleteConfirmation_; }
    bool showingRenameDialog() const { return showingRenameDialog_; }
    // What the pending rename or delete applies to.
    const std::optional<SavedLoop>& selectedLoop() const { return selectedLoop_; }
    QString selectedLoopName() const;
    const QString& newLoopName() const { return newLoopName_; }
    bool showingError() const { return showingError_; }
    const QString& errorMessage() const { return errorMessage_; }

    void setSearchText(const QString& text);
    void setSortOrder(SortOrder order);
    void setShowingDeleteConfirmation(bool showing);
    void setShowingRenameDialog(bool showing);
    void setNewLoopName(const QString& name);
    void setShowingError(bool showing);
    void setErrorMessage(const QString& message);

    // Whether exactly this record is being previewed. Renaming replaces the record; the row of
    // `loops` stays marked though.
    Q_INVOKABLE bool isPreviewingLoop(const tessivo::SavedLoop& loop) const;

    // The location of a loop's file as other programs are told it, percent-encoded; empty when the
    // record leads nowhere.
    Q_INVOKABLE static QString uriOf(const tessivo::SavedLoop& loop);

public slots:
    // Opens the rename dialog with the record's name in its field.
    void renameLoop(const tessivo::SavedLoop& loop);
    // Renames the selected loop to the trimmed text of the field. Closes the dialog on success;
    // otherwise the alert tells why not. Does nothing when no loop is selected, which makes a
    // second call harmless. confirmDelete likewise.
    void confirmRename();
    // Asks whether to delete. The loop is there until the disk has answered.
    void deleteLoop(const tessivo::SavedLoop& loop);
    void confirmDelete();

    void previewLoop(const tessivo::SavedLoop& loop);
    void stopPreview();
    // Linear gain, kept within 0 and 1.
    void setPreviewVolume(float volume);

    // Reads the metadata file again.
    void refreshLibrary();
    void clearSearch();
    // Dismisses the alert.
    void clearError();

signals:
    void isLoadingChanged();
    void isWaitingForDiskChanged();
    void libraryStatsChanged();
    void searchTextChanged();
    void sortOrderChanged();
    void showingDeleteConfirmationChanged();
    void showingRenameDialogChanged();
    void selectedLoopChanged();
    void newLoopNameChanged();
    void showingErrorChanged();
    void errorMessageChanged();

private:
    void observeStore();
    void observePreview();
    void takeLoops();
    void showRows();
    void markPreview();
    void loopDeleted(const SavedLoop& loop, const QString& failure);
    void setSelectedLoop(std::optional<SavedLoop> loop);
    void alert(const QString& message);

    LoopLibrary loopLibrary_;
    bool showingDeleteConfirmation_ = false;
    bool showingRenameDialog_ = false;
    std::optional<SavedLoop> selectedLoop_;
    QSet<QUuid> beingDeleted_; // their files
    QString newLoopName_;
    QString searchText_;
    SortOrder sortOrder_ = SortOrder::dateDescending;
    bool showingError_ = false;
    QString errorMessage_;
    std::unique_ptr<LoopPreviewEngine> previewEngine_;
    std::unique_ptr<LoopCatalogue> catalogue_;
    std::unique_ptr<LoopListModel> rows_;
};

} // namespace tessivo
