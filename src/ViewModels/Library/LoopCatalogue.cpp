#include "ViewModels/Library/LoopCatalogue.h"

#include "Platform/System/BackgroundCall.h"
#include "Platform/System/Collation.h"
#include "Platform/System/TextSearch.h"

#include <QHash>

#include <algorithm>
#include <iterator>
#include <utility>

namespace tessivo {

namespace {

// Each takes a part of a millisecond in a large library.
constexpr std::size_t kMostKeysAtOnce = 16;

} // namespace

// The keys of all names of a list; first without the keys.
struct LoopCatalogue::Keys {
    Identities loops;
    std::vector<QString> names;
    std::vector<QString> folded;
    std::vector<std::uint32_t> ranks;
    std::vector<QByteArray> sorted;
};

// Uses the rules of the user's language. Any thread.
struct LoopCatalogue::KeyMaker {
    void fill(Keys& keys) const {
        auto& sorted = keys.sorted;
        for (const QString& name : keys.names) {
            keys.folded.push_back(search.folded(name));
            sorted.push_back(collation.sortKey(name));
        }
        const std::vector<QByteArray> sortKeys = sorted;
        std::sort(sorted.begin(), sorted.end());
        sorted.erase(std::unique(sorted.begin(), sorted.end()), sorted.end());
        for (const QByteArray& sortKey : sortKeys) {
            const auto place = std::lower_bound(sorted.begin(), sorted.end(), sortKey);
            keys.ranks.push_back(static_cast<std::uint32_t>(place - sorted.begin()));
        }
    }

    TextSearch search;
    Collation collation;
};

LoopCatalogue::LoopCatalogue()
    : keyMaker_(std::make_shared<const KeyMaker>()) {}

LoopCatalogue::~LoopCatalogue() {
    BackgroundQueue::destroy(std::move(entries_));
    BackgroundQueue::destroy(std::move(sortKeys_));
}

void LoopCatalogue::setLoops(const std::vector<SavedLoop>& loops) {
    listed_ = identified(loops);
    for (std::size_t i = 0; i < loops.size(); ++i) {
        Entry& entry = entries_[listed_[i]];
        entry.hasKeys = entry.hasKeys && entry.loop.name() == loops[i].name();
        entry.loop = loops[i];
    }
    sortedBy_.reset();
    makeMissingKeys();
}

// Most changes leave the beginning and the end of the list as they are. What is between them is
// recognized by its marks.
LoopCatalogue::Identities LoopCatalogue::identified(const std::vector<SavedLoop>& loops) {
    const auto isSame = [this](Identity identity, const SavedLoop& loop) {
        const SavedLoop& known = entries_[identity].loop;
        return known.id() == loop.id() || known.filename() == loop.filename();
    };
    const auto [begin, first] =
        std::mismatch(listed_.begin(), listed_.end(), loops.begin(), loops.end(), isSame);
    const auto [rend, rlast] =
        std::mismatch(listed_.rbegin(), std::make_reverse_iterator(begin), loops.rbegin(),
                      std::make_reverse_iterator(first), isSame);
    const auto end = rend.base();
    const auto last = rlast.base();

    // Each old entry is used once, because records that somebody edited may share an id.
    constexpr auto kUnknown = static_cast<Identity>(-1);
    Identities left(begin, end);
    Identities found(static_cast<std::size_t>(last - first), kUnknown);
    const auto recognize = [&](auto&& markOf) {
        QHash<std::decay_t<decltype(markOf(*first))>, std::size_t> known;
        for (std::size_t i = left.size(); i-- > 0;) {
            if (left[i] != kUnknown) {
                known.insert(markOf(entries_[left[i]].loop), i);
            }
        }
        for (std::size_t i = 0; i < found.size() && !known.isEmpty(); ++i) {
            if (found[i] == kUnknown) {
                if (const auto entry =
                        known.constFind(markOf(first[static_cast<std::ptrdiff_t>(i)]));
                    entry != known.cend()) {
                    found[i] = std::exchange(left[*entry], kUnknown);
                    known.erase(entry);
                }
            }
        }
    };
    recognize([](const SavedLoop& loop) { return loop.id(); });
    recognize([](const SavedLoop& loop) { return loop.filename(); });
    auto next = static_cast<Identity>(entries_.size());
    for (Identity& identity : found) {
        identity = identity == kUnknown ? next++ : identity;
    }
    entries_.resize(next);

    Identities result(listed_.begin(), begin);
    result.insert(result.end(), found.begin(), found.end());
    result.insert(result.end(), end, listed_.end());
    return result;
}

void LoopCatalogue::makeMissingKeys() {
    Identities missing;
    std::copy_if(listed_.begin(), listed_.end(), std::back_inserter(missing),
                 [this](Identity identity) { return !entries_[identity].hasKeys; });
    // Keys that come for all names would not know of those that are made meanwhile.
    isReady_ = missing.empty() || (!areKeysComing_ && missing.size() <= kMostKeysAtOnce);
    if (isReady_) {
        for (const Identity identity : missing) {
            makeKeys(entries_[identity]);
        }
    } else if (!areKeysComing_) {
        areKeysComing_ = true;
        const auto make = [maker = keyMaker_, empty = withoutKeys()] {
            auto keys = std::make_shared<Keys>(empty);
            maker->fill(*keys);
            return keys;
        };
        runInBackground(BackgroundQueue::Priority::userInitiated, this, make,
                        [this, number = keysNumber_](const std::shared_ptr<Keys>& made) {
                            areKeysComing_ = false;
                            if (number == keysNumber_) {
                                takeKeys(*made);
                            }
                            makeMissingKeys();
                            if (isReady_) {
                                emit becameReady();
                            }
                        });
    }
}

LoopCatalogue::Keys LoopCatalogue::withoutKeys() const {
    Keys keys{listed_, {}, {}, {}, {}};
    keys.names.reserve(listed_.size());
    for (const Identity identity : listed_) {
        keys.names.push_back(entries_[identity].loop.name());
    }
    return keys;
}

void LoopCatalogue::takeKeys(Keys& keys) {
    ++keysNumber_;
    sortKeys_ = std::move(keys.sorted);
    for (std::size_t i = 0; i < keys.loops.size(); ++i) {
        Entry& entry = entries_[keys.loops[i]];
        entry.hasKeys = entry.loop.name() == keys.names[i]; // not renamed meanwhile
        entry.folded = std::move(keys.folded[i]);
        entry.rank = keys.ranks[i];
    }
    sortedBy_.reset();
}

void LoopCatalogue::makeKeys(Entry& entry) {
    const QByteArray sortKey = keyMaker_->collation.sortKey(entry.loop.name());
    const auto place = std::lower_bound(sortKeys_.begin(), sortKeys_.end(), sortKey);
    const auto rank = static_cast<std::uint32_t>(place - sortKeys_.begin());
    if (place == sortKeys_.end() || *place != sortKey) {
        sortKeys_.insert(place, sortKey);
        for (Entry& other : entries_) {
            other.rank += other.rank >= rank ? 1 : 0;
        }
    }
    entry.folded = keyMaker_->search.folded(entry.loop.name());
    entry.rank = rank;
    entry.hasKeys = true;
}

bool LoopCatalogue::isReadyFor(const QString& searchText, SortOrder order) const {
    const bool isByName = order == SortOrder::nameAscending || order == SortOrder::nameDescending;
    return isReady_ || (searchText.isEmpty() && !isByName);
}

LoopCatalogue::Identities LoopCatalogue::list(const QString& searchText, SortOrder order) {
    if (!isReadyFor(searchText, order)) {
        Keys keys = withoutKeys();
        keyMaker_->fill(keys);
        takeKeys(keys);
        isReady_ = true;
    }
    sortBy(order);
    if (searchText.isEmpty()) {
        return sorted_;
    }
    const TextSearch::Pattern pattern(keyMaker_->search.folded(searchText));
    // In the order of the keys in memory, which is several times as fast.
    std::vector<char> isFound(entries_.size());
    std::transform(entries_.begin(), entries_.end(), isFound.begin(), [&](const Entry& entry) {
        return static_cast<char>(pattern.isIn(entry.folded));
    });
    Identities found;
    std::copy_if(sorted_.begin(), sorted_.end(), std::back_inserter(found),
                 [&](Identity identity) { return isFound[identity] != 0; });
    return found;
}

void LoopCatalogue::sortBy(SortOrder order) {
    if (sortedBy_ == order) {
        return;
    }
    sortedBy_ = order;
    const auto keyOf = [order](const Entry& entry) -> double {
        switch (order) {
        case SortOrder::dateDescending:
            return -entry.loop.createdDate().count();
        case SortOrder::dateAscending:
            return entry.loop.createdDate().count();
        case SortOrder::nameAscending:
            return entry.rank;
        case SortOrder::nameDescending:
            return -static_cast<double>(entry.rank);
        case SortOrder::durationAscending:
            return entry.loop.duration();
        case SortOrder::durationDescending:
            return -entry.loop.duration();
        }
        return 0.0;
    };
    // Side by side in memory, and where the key is the same, the place in the list decides.
    std::vector<std::pair<double, std::uint32_t>> keys;
    keys.reserve(listed_.size());
    for (const Identity identity : listed_) {
        keys.emplace_back(keyOf(entries_[identity]), static_cast<std::uint32_t>(keys.size()));
    }
    std::sort(keys.begin(), keys.end());
    sorted_.clear();
    std::transform(keys.begin(), keys.end(), std::back_inserter(sorted_),
                   [this](const auto& key) { return listed_[key.second]; });
}

std::optional<LoopCatalogue::Identity> LoopCatalogue::identityOf(const QUuid& id) const {
    const auto found = std::find_if(listed_.begin(), listed_.end(), [&](Identity identity) {
        return entries_[identity].loop.id() == id;
    });
    return found != listed_.end() ? std::optional(*found) : std::nullopt;
}

} // namespace tessivo
