#pragma once

#include "Platform/System/Collation.h"
#include "Platform/System/TextSearch.h"
#include "ViewModels/Library/LoopListModel.h"
#include "ViewModels/Library/SortOrder.h"

#include <QObject>

#include <cstdint>
#include <memory>
#include <optional>
#include <unordered_map>
#include <vector>

namespace tessivo {

// The loops of the library, prepared for search and sorting. The keys of a name that both need are
// made once, usually ahead in the background. Main thread only.
class LoopCatalogue : public QObject {
    Q_OBJECT

public:
    using Row = LoopListModel::Row;
    using Identity = LoopListModel::Identity;

    LoopCatalogue();

    // Replaces the list. A loop keeps its identity if its id is in the old list, or else its audio
    // file, which stays the same when a loop is renamed or the library is rebuilt.
    void setLoops(const std::vector<SavedLoop>& loops);

    // The loops whose name contains the text, or all for an empty text. Loops of equal rank keep
    // the order of the list.
    std::vector<Row> rows(const QString& searchText, SortOrder order);

    std::optional<Identity> identityOf(const QUuid& id) const;

private:
    struct NameKeys {
        QString folded;
        QByteArray sortKey;
    };
    using KeysOfNames = std::unordered_map<QString, NameKeys>; // addresses of entries are stable
    struct Entry {
        Row row;
        const NameKeys* keys = nullptr; // null until they are made
    };
    // Uses the rules of the user's language. Any thread.
    struct KeyMaker {
        NameKeys keysOf(const QString& name) const {
            return {search.folded(name), collation.sortKey(name)};
        }
        TextSearch search;
        Collation collation;
    };

    std::vector<Row> identified(const std::vector<SavedLoop>& loops);
    void keepKeysInUse();
    void makeKeysAhead();
    void ensureKeys();
    void sortBy(SortOrder order);

    std::shared_ptr<const KeyMaker> maker_ = std::make_shared<const KeyMaker>();
    std::vector<Entry> entries_; // in the order of the list
    KeysOfNames keys_;
    bool everyEntryHasKeys_ = true;
    std::vector<std::uint32_t> sorted_; // indices of the entries
    std::optional<SortOrder> sortedBy_;
    Identity nextIdentity_ = 0;
};

} // namespace tessivo
