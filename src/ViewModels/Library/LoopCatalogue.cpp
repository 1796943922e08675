#include "ViewModels/Library/LoopCatalogue.h"

#include "Platform/System/BackgroundCall.h"

#include <QHash>

#include <algorithm>
#include <numeric>
#include <utility>

namespace tessivo {

LoopCatalogue::LoopCatalogue() = default;

void LoopCatalogue::setLoops(const std::vector<SavedLoop>& loops) {
    std::vector<Row> rows = identified(loops);
    entries_.clear();
    entries_.reserve(rows.size());
    for (Row& row : rows) {
        entries_.push_back({std::move(row), nullptr});
    }
    sortedBy_.reset();
    keepKeysInUse();
    if (!everyEntryHasKeys_) {
        makeKeysAhead();
    }
}

std::vector<LoopCatalogue::Row> LoopCatalogue::identified(const std::vector<SavedLoop>& loops) {
    constexpr auto kUnknown = static_cast<Identity>(-1);
    std::vector<Row> rows;
    rows.reserve(loops.size());
    for (const SavedLoop& loop : loops) {
        rows.push_back({kUnknown, loop});
    }
    // Each old entry is used once, because records that somebody edited may share an id.
    std::vector<bool> isTaken(entries_.size(), false);
    const auto recognize = [&](auto&& markOf) {
        QHash<std::decay_t<decltype(markOf(loops.front()))>, std::size_t> known;
        for (std::size_t i = entries_.size(); i-- > 0;) {
            if (!isTaken[i]) {
                known.insert(markOf(entries_[i].row.loop), i);
            }
        }
        for (Row& row : rows) {
            if (row.identity != kUnknown) {
                continue;
            }
            if (const auto entry = known.constFind(markOf(row.loop)); entry != known.cend()) {
                row.identity = entries_[*entry].row.identity;
                isTaken[*entry] = true;
                known.erase(entry);
            }
        }
    };
    recognize([](const SavedLoop& loop) { return loop.id(); });
    recognize([](const SavedLoop& loop) { return loop.filename(); });
    for (Row& row : rows) {
        row.identity = row.identity == kUnknown ? nextIdentity_++ : row.identity;
    }
    return rows;
}

// Drops the keys of names that no loop has any more, and gives every entry the keys of its name if
// they exist.
void LoopCatalogue::keepKeysInUse() {
    KeysOfNames inUse;
    everyEntryHasKeys_ = true;
    for (Entry& entry : entries_) {
        const QString& name = entry.row.loop.name();
        auto known = inUse.find(name);
        if (known == inUse.end()) {
            known = inUse.insert(keys_.extract(name)).position;
        }
        if (known != inUse.end()) {
            entry.keys = &known->second;
        } else {
            everyEntryHasKeys_ = false;
        }
    }
    keys_ = std::move(inUse);
}

void LoopCatalogue::makeKeysAhead() {
    std::vector<QString> names;
    for (const Entry& entry : entries_) {
        if (entry.keys == nullptr) {
            names.push_back(entry.row.loop.name());
        }
    }
    const auto makeKeys = [maker = maker_, names = std::move(names)] {
        auto made = std::make_shared<KeysOfNames>();
        made->reserve(names.size());
        for (const QString& name : names) {
            if (const auto [keys, isNew] = made->try_emplace(name); isNew) {
                keys->second = maker->keysOf(name);
            }
        }
        return made;
    };
    runInBackground(BackgroundQueue::Priority::userInitiated, this, makeKeys,
                    [this](const std::shared_ptr<KeysOfNames>& made) {
                        keys_.merge(*made); // keeps the keys that were made meanwhile
                        ensureKeys();
                    });
}

// Makes the missing keys now.
void LoopCatalogue::ensureKeys() {
    if (everyEntryHasKeys_) {
        return;
    }
    for (Entry& entry : entries_) {
        if (entry.keys == nullptr) {
            const auto [keys, isNew] = keys_.try_emplace(entry.row.loop.name());
            if (isNew) {
                keys->second = maker_->keysOf(keys->first);
            }
            entry.keys = &keys->second;
        }
    }
    everyEntryHasKeys_ = true;
}

std::vector<LoopCatalogue::Row> LoopCatalogue::rows(const QString& searchText, SortOrder order) {
    sortBy(order);
    std::vector<Row> rows;
    rows.reserve(entries_.size());
    if (searchText.isEmpty()) {
        for (const auto index : sorted_) {
            rows.push_back(entries_[index].row);
        }
        return rows;
    }
    ensureKeys();
    const TextSearch::Pattern pattern(maker_->search.folded(searchText));
    // In the order of the keys in memory, which is several times as fast.
    std::vector<char> isFound(entries_.size());
    std::transform(entries_.begin(), entries_.end(), isFound.begin(), [&](const Entry& entry) {
        return static_cast<char>(pattern.isIn(entry.keys->folded));
    });
    for (const auto index : sorted_) {
        if (isFound[index] != 0) {
            rows.push_back(entries_[index].row);
        }
    }
    return rows;
}

void LoopCatalogue::sortBy(SortOrder order) {
    if (sortedBy_ == order) {
        return;
    }
    sortedBy_ = order;
    sorted_.resize(entries_.size());
    std::iota(sorted_.begin(), sorted_.end(), 0U);
    const auto sort = [&](auto&& isBefore) {
        // Equal ones stay in the library's order. (std::stable_sort would do, but takes its
        // memory in a way that newer compilers warn of.)
        std::sort(sorted_.begin(), sorted_.end(), [&](std::uint32_t a, std::uint32_t b) {
            if (isBefore(entries_[a], entries_[b])) {
                return true;
            }
            return a < b && !isBefore(entries_[b], entries_[a]);
        });
    };
    const auto date = [](const Entry& entry) {
        return entry.row.loop.createdDate();
    };
    const auto duration = [](const Entry& entry) {
        return entry.row.loop.duration();
    };
    switch (order) {
    case SortOrder::dateDescending:
        return sort([&](const Entry& a, const Entry& b) { return date(a) > date(b); });
    case SortOrder::dateAscending:
        return sort([&](const Entry& a, const Entry& b) { return date(a) < date(b); });
    case SortOrder::nameAscending:
        ensureKeys();
        return sort(
            [](const Entry& a, const Entry& b) { return a.keys->sortKey < b.keys->sortKey; });
    case SortOrder::nameDescending:
        ensureKeys();
        return sort(
            [](const Entry& a, const Entry& b) { return a.keys->sortKey > b.keys->sortKey; });
    case SortOrder::durationAscending:
        return sort([&](const Entry& a, const Entry& b) { return duration(a) < duration(b); });
    case SortOrder::durationDescending:
        return sort([&](const Entry& a, const Entry& b) { return duration(a) > duration(b); });
    }
}

std::optional<LoopCatalogue::Identity> LoopCatalogue::identityOf(const QUuid& id) const {
    const auto entry = std::find_if(entries_.begin(), entries_.end(),
                                    [&](const Entry& each) { return each.row.loop.id() == id; });
    return entry != entries_.end() ? std::optional(entry->row.identity) : std::nullopt;
}

} // namespace tessivo
