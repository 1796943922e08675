#include "Platform/System/Formatters.h"

#include <QCoreApplication>

#include <array>
#include <cmath>
#include <cstddef>

using namespace Qt::StringLiterals;

namespace tessivo {
namespace {

struct Unit {
    const char* text;
    int decimals;
};

constexpr std::array<Unit, 6> kUnits{{{QT_TRANSLATE_NOOP("Formatters", "%1 KB"), 0},
                                      {QT_TRANSLATE_NOOP("Formatters", "%1 MB"), 1},
                                      {QT_TRANSLATE_NOOP("Formatters", "%1 GB"), 2},
                                      {QT_TRANSLATE_NOOP("Formatters", "%1 TB"), 2},
                                      {QT_TRANSLATE_NOOP("Formatters", "%1 PB"), 2},
                                      {QT_TRANSLATE_NOOP("Formatters", "%1 EB"), 2}}};

struct Formatters {
    Q_DECLARE_TR_FUNCTIONS(Formatters)
};

} // namespace

QString formatFileSize(qint64 bytes, const QLocale& locale) {
    if (bytes <= 0) {
        return Formatters::tr("Zero KB");
    }
    if (bytes < 1000) {
        return (bytes == 1 ? Formatters::tr("%1 byte") : Formatters::tr("%1 bytes"))
            .arg(locale.toString(bytes));
    }
    double value = static_cast<double>(bytes);
    double hundredths = 0.0;
    std::size_t unit = 0;
    // A value that rounds to 1000 is written as 1 of the next unit.
    for (;; ++unit) {
        value /= 1000.0;
        const double scale = std::pow(10.0, kUnits.at(unit).decimals);
        const double rounded = std::round(value * scale) / scale;
        if (rounded < 1000.0 || unit + 1 == kUnits.size()) {
            hundredths = std::round(rounded * 100.0);
            break;
        }
    }
    int decimals = 2;
    for (double digits = hundredths; decimals > 0 && std::fmod(digits, 10.0) == 0.0; digits /= 10) {
        --decimals;
    }
    return Formatters::tr(kUnits.at(unit).text)
        .arg(locale.toString(hundredths / 100.0, 'f', decimals));
}

QString formatShortDate(const QDateTime& date, const QLocale& locale) {
    return locale.toString(date, u"MMM dd, HH:mm"_s);
}

} // namespace tessivo
