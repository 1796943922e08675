#include "ViewModels/Library/LoopListModel.h"

#include "Platform/System/Formatters.h"
#include "Utils/AudioUtils.h"

#include <QDateTime>

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <functional>
#include <utility>

namespace tessivo {
namespace {

using Rows = LoopListModel::Rows;

// A list view takes 10 to 20 us for each step; more steps than this would be felt while typing.
constexpr int kMostSteps = 64;

QDateTime toDateTime(SecondsSince2001 date) {
    // The file may contain any number, and a very large one overflows milliseconds. Three thousand
    // years are enough.
    constexpr double kFarthest = 1e11;
    const double seconds = std::clamp(date.count(), -kFarthest, kFarthest) +
                           static_cast<double>(kUnixTimeOf2001.count());
    return QDateTime::fromMSecsSinceEpoch(static_cast<qint64>(std::floor(seconds * 1000.0)));
}

// The index whose removal leaves the others in ascending order, if there is one.
std::optional<int> onlyOneOutOfPlace(const std::vector<int>& places) {
    const auto begin = places.begin();
    const auto end = places.end();
    const auto descent = std::adjacent_find(begin, end, std::greater<>());
    for (const auto candidate : {descent, descent + 1}) {
        std::vector<int> others(begin, candidate);
        others.insert(others.end(), candidate + 1, end);
        if (std::is_sorted(others.begin(), others.end())) {
            return static_cast<int>(candidate - begin);
        }
    }
    return std::nullopt;
}

int size(const Rows& rows) {
    return static_cast<int>(rows.size());
}

} // namespace

// How one list becomes another: the rows that are removed and inserted, or the one that moves.
class LoopListModel::Steps {
public:
    Steps(const Rows& from, const Rows& to);

    // Whether a list view can follow in time and without losing its scroll position, which it may
    // lose when several rows move, or one row together with other steps.
    bool areFew() const { return count_ <= kMostSteps && (inOrder_ || moved_); }
    // The place of a row in the new list; -1 when it is removed.
    int placeOf(Identity row) const { return places_[row]; }
    // Whether the row at this place of the new list is inserted.
    bool isNew(int place) const { return isNew_[static_cast<std::size_t>(place)]; }
    // The row that moves, if that is the only change.
    std::optional<int> moved() const { return moved_; }

private:
    std::vector<int> places_; // by identity
    std::vector<bool> isNew_; // by place
    int count_ = 0;           // runs of removed or inserted rows
    bool inOrder_ = true;     // the rows that stay keep their order
    std::optional<int> moved_;
};

LoopListModel::Steps::Steps(const Rows& from, const Rows& to)
    : isNew_(to.size(), true) {
    Identity largest = 0;
    for (const auto* rows : {&from, &to}) {
        for (const Identity row : *rows) {
            largest = std::max(largest, row);
        }
    }
    places_.assign(std::size_t{largest} + 1, -1);
    for (int place = 0; place < size(to); ++place) {
        places_[to[static_cast<std::size_t>(place)]] = place;
    }
    std::vector<int> kept;
    bool previousIsKept = true;
    for (const Identity row : from) {
        const int place = placeOf(row);
        const bool isKept = place >= 0;
        if (isKept) {
            isNew_[static_cast<std::size_t>(place)] = false;
            kept.push_back(place);
        }
        count_ += previousIsKept && !isKept ? 1 : 0;
        previousIsKept = isKept;
    }
    for (std::size_t place = 0; place < isNew_.size(); ++place) {
        count_ += isNew_[place] && (place == 0 || !isNew_[place - 1]) ? 1 : 0;
    }
    inOrder_ = std::is_sorted(kept.begin(), kept.end());
    if (!inOrder_ && count_ == 0) {
        moved_ = onlyOneOutOfPlace(kept);
    }
}

LoopListModel::LoopListModel(const LoopCatalogue& catalogue, QObject* parent)
    : QAbstractListModel(parent)
    , catalogue_(catalogue) {
    datesTimer_.setSingleShot(true);
    datesTimer_.setTimerType(Qt::PreciseTimer); // a coarse timer may fire before the second is over
    connect(&datesTimer_, &QTimer::timeout, this, &LoopListModel::refreshDates);
}

void LoopListModel::setRows(const Rows& rows) {
    const Steps steps(rows_, rows);
    if (steps.areFew()) {
        follow(steps, rows);
    } else {
        showOthers(rows);
    }
    awaitNextDates();
}

void LoopListModel::refreshLoops() {
    if (!rows_.empty()) {
        emit dataChanged(index(0), index(size(rows_) - 1));
    }
}

void LoopListModel::follow(const Steps& steps, const Rows& rows) {
    for (int end = size(rows_); end > 0;) {
        const auto isGone = [&](int row) {
            return steps.placeOf(rows_[static_cast<std::size_t>(row)]) < 0;
        };
        int begin = end - 1;
        if (isGone(begin)) {
            while (begin > 0 && isGone(begin - 1)) {
                --begin;
            }
            removeFrom(begin, end - begin);
        }
        end = begin;
    }

    if (const auto from = steps.moved()) {
        const auto begin = rows_.begin();
        const int to = steps.placeOf(begin[*from]);
        beginMoveRows({}, *from, *from, {}, to > *from ? to + 1 : to);
        if (to > *from) {
            std::rotate(begin + *from, begin + *from + 1, begin + to + 1);
        } else {
            std::rotate(begin + to, begin + *from, begin + *from + 1);
        }
        endMoveRows();
    }

    for (int begin = 0; begin < size(rows);) {
        int end = begin + 1;
        if (steps.isNew(begin)) {
            while (end < size(rows) && steps.isNew(end)) {
                ++end;
            }
            insertAt(begin, rows, end - begin);
        }
        begin = end;
    }
}

void LoopListModel::showOthers(const Rows& rows) {
    const int common = std::min(size(rows_), size(rows));
    if (size(rows_) > common) {
        removeFrom(common, size(rows_) - common);
    }
    if (common > 0) {
        std::copy(rows.begin(), rows.begin() + common, rows_.begin());
        emit dataChanged(index(0), index(common - 1));
    }
    if (size(rows) > common) {
        insertAt(common, rows, size(rows) - common);
    }
}

void LoopListModel::removeFrom(int row, int count) {
    beginRemoveRows({}, row, row + count - 1);
    rows_.erase(rows_.begin() + row, rows_.begin() + row + count);
    endRemoveRows();
}

// The rows at the same places of the other list.
void LoopListModel::insertAt(int row, const Rows& rows, int count) {
    beginInsertRows({}, row, row + count - 1);
    rows_.insert(rows_.begin() + row, rows.begin() + row, rows.begin() + row + count);
    endInsertRows();
}

void LoopListModel::setPreviewed(std::optional<Identity> loop) {
    if (previewed_ == loop) {
        return;
    }
    const auto before = std::exchange(previewed_, loop);
    for (int row = 0; row < size(rows_); ++row) {
        const Identity identity = rows_[static_cast<std::size_t>(row)];
        if (before == identity || previewed_ == identity) {
            emit dataChanged(index(row), index(row), {isPreviewingRole});
        }
    }
}

void LoopListModel::refreshDates() {
    if (!rows_.empty()) {
        emit dataChanged(index(0), index(size(rows_) - 1), {createdTextRole});
    }
    awaitNextDates();
}

// The text of a date changes every second only in its first minute.
void LoopListModel::awaitNextDates() {
    if (rows_.empty()) {
        datesTimer_.stop();
        return;
    }
    const auto now = secondsSince2001Now();
    const bool countsSeconds = std::any_of(rows_.begin(), rows_.end(), [&](Identity row) {
        return std::abs((catalogue_.loop(row).createdDate() - now).count()) < 60.0;
    });
    datesTimer_.start(countsSeconds ? std::chrono::seconds(1) : std::chrono::seconds(60));
}

int LoopListModel::rowCount(const QModelIndex& parent) const {
    return parent.isValid() ? 0 : size(rows_);
}

QVariant LoopListModel::data(const QModelIndex& index, int role) const {
    if (!checkIndex(index, CheckIndexOption::IndexIsValid)) {
        return {};
    }
    const Identity row = rows_[static_cast<std::size_t>(index.row())];
    const SavedLoop& loop = catalogue_.loop(row);
    switch (role) {
    case loopRole:
        return QVariant::fromValue(loop);
    case durationTextRole:
        return AudioUtils::formatDuration(loop.duration());
    case fileSizeTextRole:
        return formatFileSize(loop.fileSize());
    case createdTextRole:
        return dateFormatter_.format(toDateTime(loop.createdDate()), QDateTime::currentDateTime());
    case isPreviewingRole:
        return previewed_ == row;
    default:
        return {};
    }
}

QHash<int, QByteArray> LoopListModel::roleNames() const {
    return {{loopRole, "loop"},
            {durationTextRole, "durationText"},
            {fileSizeTextRole, "fileSizeText"},
            {createdTextRole, "createdText"},
            {isPreviewingRole, "isPreviewing"}};
}

} // namespace tessivo
