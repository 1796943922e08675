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

// The loops of the library made ready for being searched and put in order. What that needs to
// know of a name is worked out once, in the background as a rule. Main thread only.
class LoopCatalogue : public QObject {
    Q_OBJECT

public:
    using Row = LoopListModel::Row;
    using Identity = LoopListModel::Identity;

    LoopCatalogue();

    // Takes a new list in place of the last one. A loop is known again by its id, or else by
    // its audio file, which a renamed record or a rebuilt library keeps.
    void setLoops(const std::vector<SavedLoop>& loops);

    // Those whose name contains the text, all for an empty one. Loops of equal rank keep the
    // order that the list has.
    std::vector<Row> rows(const QString& searchText, SortOrder order);

    std::optional<Identity> identityOf(const QUuid& id) const;

private:
    struct NameKeys {
        QString folded;
        QByteArray sortKey;
    };
    using KeysOfNames = std::unordered_map<QString, NameKeys>; // its entries stay in place
    struct Entry {
        Row row;
        const NameKeys* keys = nullptr; // none until somebody needs them
    };
    // Knows the user's language. Any thread.
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
