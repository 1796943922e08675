#include "Platform/System/Formatters.h"

#include <array>
#include <cmath>
#include <cstddef>

using namespace Qt::StringLiterals;

namespace tessivo {
namespace {

struct Unit {
    const char16_t* name;
    int decimals;
};

constexpr std::array<Unit, 6> kUnits{
    {{u"KB", 0}, {u"MB", 1}, {u"GB", 2}, {u"TB", 2}, {u"PB", 2}, {u"EB", 2}}};

} // namespace

QString formatFileSize(qint64 bytes, const QLocale& locale) {
    if (bytes <= 0) {
        return u"Zero KB"_s;
    }
    if (bytes == 1) {
        return locale.toString(bytes) + u" byte"_s;
    }
    if (bytes < 1000) {
        return locale.toString(bytes) + u" bytes"_s;
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
    return locale.toString(hundredths / 100.0, 'f', decimals) + u' ' +
           QString::fromUtf16(kUnits.at(unit).name);
}

QString formatShortDate(const QDateTime& date, const QLocale& locale) {
    return locale.toString(date, u"MMM dd, HH:mm"_s);
}

} // namespace tessivo
