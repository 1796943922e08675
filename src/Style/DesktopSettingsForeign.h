#pragma once

#include "Platform/System/DesktopSettings.h"

#include <QJSEngine>
#include <QObject>
#include <QtQml/qqml.h>

namespace tessivo {

// The program's settings of the desktop, for the theme.
struct DesktopSettingsForeign {
    Q_GADGET
    QML_FOREIGN(tessivo::DesktopSettings)
    QML_NAMED_ELEMENT(DesktopSettings)
    QML_SINGLETON

public:
    static DesktopSettings* create(QQmlEngine*, QJSEngine*) {
        DesktopSettings& settings = DesktopSettings::shared();
        QJSEngine::setObjectOwnership(&settings, QJSEngine::CppOwnership);
        return &settings;
    }
};

} // namespace tessivo
