#include "Platform/System/IcuText.h"

namespace tessivo {

icu::Locale icuLocale(const QLocale& locale) {
    if (locale.language() == QLocale::C) {
        return icu::Locale::getRoot();
    }
    UErrorCode status = U_ZERO_ERROR;
    auto result = icu::Locale::forLanguageTag(locale.bcp47Name().toStdString(), status);
    return U_SUCCESS(status) ? result : icu::Locale::getRoot();
}

} // namespace tessivo
