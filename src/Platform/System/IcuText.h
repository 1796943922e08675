#pragma once

#include <QLocale>
#include <QString>

#include <unicode/locid.h>
#include <unicode/unistr.h>

namespace tessivo {

// Conversions between the framework's texts and ICU's, for the sources of this folder only.

// Refers to the text, which must outlive the result.
inline icu::UnicodeString asUnicodeString(const QString& text) {
    const QStringView view(text);
    return {false, view.utf16(), static_cast<int32_t>(view.size())};
}

inline QString toQString(const icu::UnicodeString& text) {
    return QString(reinterpret_cast<const QChar*>(text.getBuffer()), text.length());
}

// The root locale for "C".
icu::Locale icuLocale(const QLocale& locale);

} // namespace tessivo
