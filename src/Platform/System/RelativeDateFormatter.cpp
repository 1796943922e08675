#include "Platform/System/RelativeDateFormatter.h"

#include "Platform/System/IcuText.h"

#include <unicode/reldatefmt.h>

#include <algorithm>
#include <stdexcept>

namespace tessivo {
namespace {

struct Distance {
    qint64 count;
    URelativeDateTimeUnit unit;
};

// How many whole steps of that many calendar months fit between the dates.
qint64 steps(const QDateTime& earlier, const QDateTime& later, int months) {
    const qint64 apart = 12 * (qint64{later.date().year()} - earlier.date().year()) +
                         later.date().month() - earlier.date().month();
    const qint64 count = apart / months;
    const bool passes = count > 0 && earlier.addMonths(static_cast<int>(count) * months) > later;
    return passes ? count - 1 : count;
}

// Both dates in local time.
Distance distance(const QDateTime& earlier, const QDateTime& later) {
    if (const qint64 years = steps(earlier, later, 12); years > 0) {
        return {years, UDAT_REL_UNIT_YEAR};
    }
    if (const qint64 months = steps(earlier, later, 1); months > 0) {
        return {months, UDAT_REL_UNIT_MONTH};
    }
    constexpr qint64 kMinute = 60;
    constexpr qint64 kHour = 60 * kMinute;
    constexpr qint64 kDay = 24 * kHour;
    const qint64 seconds = earlier.msecsTo(later) / 1000;
    for (const auto& [length, unit] : {std::pair{7 * kDay, UDAT_REL_UNIT_WEEK},
                                       {kDay, UDAT_REL_UNIT_DAY},
                                       {kHour, UDAT_REL_UNIT_HOUR},
                                       {kMinute, UDAT_REL_UNIT_MINUTE}}) {
        if (seconds >= length) {
            return {seconds / length, unit};
        }
    }
    return {seconds, UDAT_REL_UNIT_SECOND};
}

// The language of the session's texts, which may differ from that of its numbers and dates.
icu::Locale languageOfTexts(const QLocale& locale) {
    const QLocale language(locale.uiLanguages().value(0));
    // In the root locale there are only signs and digits, no words.
    return language.language() == QLocale::C ? icu::Locale::getEnglish() : icuLocale(language);
}

} // namespace

struct RelativeDateFormatter::Formatter {
    explicit Formatter(const icu::Locale& locale, UErrorCode& status)
        : icu(locale, nullptr, UDAT_STYLE_SHORT, UDISPCTX_CAPITALIZATION_NONE, status) {}
    icu::RelativeDateTimeFormatter icu;
};

RelativeDateFormatter::RelativeDateFormatter(const QLocale& locale) {
    UErrorCode status = U_ZERO_ERROR;
    formatter_ = std::make_unique<const Formatter>(languageOfTexts(locale), status);
    if (U_FAILURE(status)) {
        throw std::runtime_error(std::string("No relative dates: ") + u_errorName(status));
    }
}

RelativeDateFormatter::~RelativeDateFormatter() = default;

QString RelativeDateFormatter::format(const QDateTime& date, const QDateTime& now) const {
    const bool isPast = date <= now;
    const auto [count, unit] =
        distance(std::min(date, now).toLocalTime(), std::max(date, now).toLocalTime());
    const auto offset = static_cast<double>(isPast ? -count : count);
    icu::UnicodeString text;
    UErrorCode status = U_ZERO_ERROR;
    if (count == 0) {
        formatter_->icu.format(0.0, unit, text, status); // "now"
    } else {
        formatter_->icu.formatNumeric(offset, unit, text, status);
    }
    return toQString(text);
}

} // namespace tessivo
