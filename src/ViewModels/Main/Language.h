#pragma once

#include <QLocale>
#include <QTranslator>

namespace tessivo {

// Gives the windows the language of the session: its texts, where they have been translated, and
// its direction. It lives while the windows do, and is made before them.
class Language {
public:
    // The translations are files "tessivo_<language>.qm" in that folder.
    explicit Language(const QString& folder, const QLocale& session = QLocale::system());

private:
    QTranslator texts_;
};

} // namespace tessivo
