#include "Views/HeldKeys.h"

#include <QGuiApplication>
#include <QIcon>
#include <QQmlApplicationEngine>
#include <QQuickStyle>
#include <QtQml/qqmlextensionplugin.h>

Q_IMPORT_QML_PLUGIN(TessivoPlugin)

using namespace Qt::StringLiterals;

namespace tessivo {

// The application: one window, whose content owns everything else.
class TessivoApp {
public:
    static int run(int argc, char* argv[]) {
        QGuiApplication::setApplicationName(u"Tessivo"_s);
        QGuiApplication::setApplicationDisplayName(u"Tessivo"_s);
        QGuiApplication::setDesktopFileName(u"tessivo"_s);
        QGuiApplication application(argc, argv);
        QGuiApplication::setWindowIcon(
            QIcon(u":/qt-project.org/imports/Tessivo/icons/tessivo.svg"_s));
        QQuickStyle::setStyle(u"Basic"_s);

        HeldKeys heldKeys;
        if (QGuiApplication::platformName() == u"xcb"_s)
            application.installEventFilter(&heldKeys);

        QQmlApplicationEngine engine;
        engine.load(QUrl(u"qrc:/qt-project.org/imports/Tessivo/ContentView.qml"_s));
        return engine.rootObjects().isEmpty() ? 1 : QGuiApplication::exec();
    }
};

} // namespace tessivo

int main(int argc, char* argv[]) {
    return tessivo::TessivoApp::run(argc, argv);
}
