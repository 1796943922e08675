#include "ViewModels/Main/Language.h"

#include <QGuiApplication>

namespace tessivo {

Language::Language(const QString& folder, const QLocale& session) {
    const QStringList wanted = session.uiLanguages();
    // Windows are as the session's others, also where their texts are not in its language. An
    // order to turn them round, given to the toolkit, is not taken back.
    if (QLocale(wanted.value(0)).textDirection() == Qt::RightToLeft) {
        QGuiApplication::setLayoutDirection(Qt::RightToLeft);
    }
    // In the user's order: who reads English first is not given their second language.
    for (const QString& name : wanted) {
        const QLocale language(name);
        if (language.language() == QLocale::English || language.language() == QLocale::C) {
            return;
        }
        if (texts_.load(QStringLiteral("tessivo_") + language.name(), folder)) {
            QCoreApplication::installTranslator(&texts_);
            return;
        }
    }
}

} // namespace tessivo
