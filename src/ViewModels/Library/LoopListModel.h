#pragma once

#include "Platform/System/RelativeDateFormatter.h"
#include "ViewModels/Library/LoopCatalogue.h"

#include <QAbstractListModel>
#include <QTimer>

#include <optional>

namespace tessivo {

// The rows of the library window. A change is signalled as removed, inserted and moved rows, so
// that a list view keeps its scroll position, its hovered row and its preview marker. When that
// would take a list view too many steps, the rows stay and show other loops. Main thread only.
class LoopListModel : public QAbstractListModel {
    Q_OBJECT

public:
    enum Role {
        loopRole = Qt::UserRole, // "loop": the SavedLoop itself
        durationTextRole,        // "durationText": minutes and seconds
        fileSizeTextRole,        // "fileSizeText"
        createdTextRole,         // "createdText": relative to now, kept up to date
        isPreviewingRole         // "isPreviewing"
    };

    using Identity = LoopCatalogue::Identity;
    using Rows = LoopCatalogue::Identities;

    // The catalogue has the records and outlives the model.
    explicit LoopListModel(const LoopCatalogue& catalogue, QObject* parent = nullptr);

    // All of them are different.
    void setRows(const Rows& rows);
    // Shows the records that the catalogue has now.
    void refreshLoops();
    // The loop that is being previewed, if any.
    void setPreviewed(std::optional<Identity> loop);

    int rowCount(const QModelIndex& parent = {}) const override;
    QVariant data(const QModelIndex& index, int role) const override;
    QHash<int, QByteArray> roleNames() const override;

private:
    class Steps;

    void follow(const Steps& steps, const Rows& rows);
    void showOthers(const Rows& rows);
    void removeFrom(int row, int count);
    void insertAt(int row, const Rows& rows, int count);
    void refreshDates();
    void awaitNextDates();

    const LoopCatalogue& catalogue_;
    Rows rows_;
    std::optional<Identity> previewed_;
    RelativeDateFormatter dateFormatter_;
    QTimer datesTimer_;
};

} // namespace tessivo
