#pragma once

#include <QDateTime>
#include <QLocale>
#include <QString>

namespace tessivo {

// The size of a file in units of 1000 bytes: "Zero KB", "1 byte", "512 bytes", "12 KB",
// "1.2 MB", "1.25 GB". Kilobytes are whole, megabytes have at most one decimal and larger units
// at most two; zeros at the end are left out. A negative size gives "Zero KB".
QString formatFileSize(qint64 bytes, const QLocale& locale = QLocale::system());

// Month by its short name, day and time of day to the minute: "Nov 16, 20:45".
QString formatShortDate(const QDateTime& date, const QLocale& locale = QLocale::system());

} // namespace tessivo
