#pragma once

#include <QDateTime>
#include <QLocale>
#include <QString>

#include <memory>

namespace tessivo {

// The distance of a date from now in the user's language: "now", "5 min. ago", "2 hr. ago",
// "1 day ago", "in 3 mo.". Uses the largest unit of which a whole one has passed, and counts
// whole units only; months and years are those of the calendar.
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
