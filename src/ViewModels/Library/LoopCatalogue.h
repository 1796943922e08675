#pragma once

#include "Models/SavedLoop.h"
#include "ViewModels/Library/SortOrder.h"

#include <QByteArray>
#include <QObject>

#include <cstdint>
#include <memory>
#include <optional>
#include <vector>

namespace tessivo {

// The loops of the library, prepared for search and sorting. Both need keys of the names, which
// are slow to make: those of a few names are made at once, those of many in the background. Made
// for a hundred thousand loops. Main thread only.
class LoopCatalogue : public QObject {
    Q_OBJECT

public:
    // The same number for the same loop, also after a rename, which replaces its record. The
    // numbers count loops from 0, so they can index a vector; none is used again.
    using Identity = std::uint32_t;
    using Identities = std::vector<Identity>;

    LoopCatalogue();
    ~LoopCatalogue() override;

    // Replaces the list. A loop keeps its identity if its id is in the old list, or its audio file,
    // which stays the same when a loop is renamed or the library is rebuilt.
    void setLoops(const std::vector<SavedLoop>& loops);

    // The record of a loop, or the last one of a loop that is not in the list any more.
    const SavedLoop& loop(Identity identity) const { return entries_[identity].loop; }
    std::optional<Identity> identityOf(const QUuid& id) const;

    // The loops whose name contains the text, or all for an empty text. Loops of equal rank keep
    // the order of the list. Makes the keys itself if this is not ready for it.
    Identities list(const QString& searchText, SortOrder order);
    // Whether list() does not have to make the keys of many names.
    bool isReadyFor(const QString& searchText, SortOrder order) const;

signals:
    // For every search and order.
    void becameReady();

private:
    struct Entry {
        SavedLoop loop;
        bool hasKeys = false;
        QString folded;         // the name, as the search needs it
        std::uint32_t rank = 0; // of the name: the index of its sort key
    };
    struct KeyMaker;
    struct Keys;

    Identities identified(const std::vector<SavedLoop>& loops);
    Keys withoutKeys() const;
    void makeMissingKeys();
    void makeKeys(Entry& entry);
    void takeKeys(Keys& keys);
    void sortBy(SortOrder order);

    std::shared_ptr<const KeyMaker> keyMaker_;
    std::vector<Entry> entries_;       // by identity
    Identities listed_;                // in the order of the list
    std::vector<QByteArray> sortKeys_; // of the names, in order; all are different
    bool isReady_ = true;              // all listed entries have keys
    std::uint64_t keysNumber_ = 0;     // of those made last; earlier ones come too late
    bool areKeysComing_ = false;
    Identities sorted_; // the list in the order of sortedBy_
    std::optional<SortOrder> sortedBy_;
};

} // namespace tessivo
