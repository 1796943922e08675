#pragma once

#include <QObject>

namespace tessivo {
namespace sorting {
Q_NAMESPACE

// The order in which the library's loops are listed. Loops of equal rank keep the order of the
// store, newest first.
enum class SortOrder {
    dateDescending,
    dateAscending,
    nameAscending, // as the user's language orders names
    nameDescending,
    durationAscending,
    durationDescending
};
Q_ENUM_NS(SortOrder)

} // namespace sorting

using sorting::SortOrder;

} // namespace tessivo
