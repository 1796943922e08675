#pragma once

#include <QLocale>
#include <QString>

#include <unicode/locid.h>
#include <unicode/unistr.h>

namespace tessivo {

// Between the framework's texts and ICU's, for the sources of this folder only.

// The text itself, not a copy: it must outlive the result.
inline icu::UnicodeString asUnicodeString(const QString& text) {
    const QStringView view(text);
    return {false, view.utf16(), static_cast<int32_t>(view.size())};
}

inline QString toQString(const icu::UnicodeString& text) {
    return QString(reinterpret_cast<const QChar*>(text.getBuffer()), text.length());
}

// The root locale for "C", which is nobody's language.
icu::Locale icuLocale(const QLocale& locale);

} // namespace tessivo
