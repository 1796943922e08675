#pragma once

#include <QDateTime>
#include <QLocale>
#include <QString>

#include <memory>

namespace tessivo {

// Writes how long ago something was, or how soon it will be, in the user's language: "now",
// "5 min. ago", "2 hr. ago", "1 day ago", "in 3 mo.". One number of the largest unit that fits
// at least once, counted in full; months and years are those of the calendar.
class RelativeDateFormatter {
public:
    explicit RelativeDateFormatter(const QLocale& locale = QLocale::system());
    ~RelativeDateFormatter();
    RelativeDateFormatter(const RelativeDateFormatter&) = delete;
    RelativeDateFormatter& operator=(const RelativeDateFormatter&) = delete;

    QString format(const QDateTime& date, const QDateTime& now) const;

private:
    struct Formatter;
    std::unique_ptr<const Formatter> formatter_;
};

} // namespace tessivo
