#pragma once

#include "Models/SavedLoop.h"
#include "Platform/System/RelativeDateFormatter.h"

#include <QAbstractListModel>
#include <QTimer>

#include <cstdint>
#include <optional>
#include <vector>

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

    // The same number for the same loop, also after a rename, which replaces its record. The
    // numbers count loops from 0, so they can index a vector.
    using Identity = std::uint32_t;
    struct Row {
        Identity identity = 0;
        SavedLoop loop;
    };

    explicit LoopListModel(QObject* parent = nullptr);

    // No two of them have the same identity.
    void setRows(std::vector<Row> rows);
    // The loop that is being previewed, if any.
    void setPreviewed(std::optional<Identity> loop);

    int rowCount(const QModelIndex& parent = {}) const override;
    QVariant data(const QModelIndex& index, int role) const override;
    QHash<int, QByteArray> roleNames() const override;

private:
    class Steps;

    void follow(const Steps& steps, std::vector<Row>& rows);
    void showOthers(std::vector<Row>& rows);
    void removeFrom(int row, int count);
    void insertAt(int row, std::vector<Row>& rows, int count);
    void refreshDates();
    void awaitNextDates();

    std::vector<Row> rows_;
    std::optional<Identity> previewed_;
    RelativeDateFormatter dateFormatter_;
    QTimer datesTimer_;
};

} // namespace tessivo
