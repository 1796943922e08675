#include "Audio/MIDIManager.h"
#include "Platform/Midi/PipeWireMidi.h"
#include "Platform/System/BackgroundQueue.h"
#include "Views/HeldKeys.h"

#include <QGuiApplication>
#include <QIcon>
#include <QQmlApplicationEngine>
#include <QQuickStyle>
#include <QtQml/qqmlextensionplugin.h>

#include <memory>

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
        MIDIManager::setSharedSystem(std::make_shared<midi::PipeWireMidi>("Tessivo"));

        HeldKeys heldKeys;
        if (QGuiApplication::platformName() == u"xcb"_s)
            application.installEventFilter(&heldKeys);

        QQmlApplicationEngine engine;
        engine.load(QUrl(u"qrc:/qt-project.org/imports/Tessivo/ContentView.qml"_s));
        const int status = engine.rootObjects().isEmpty() ? 1 : QGuiApplication::exec();
        finishBackgroundWork();
        return status;
    }

private:
    // What was asked for before the window closed is done while the window's controller is
    // still there to take the results. A result may ask for more: a library that cannot be
    // read is rebuilt, and what was rebuilt is written, which makes three rounds at most.
    static void finishBackgroundWork() {
        for (int round = 0; round < 3; ++round) {
            BackgroundQueue::waitForAll();
            QCoreApplication::sendPostedEvents();
        }
    }
};

} // namespace tessivo

int main(int argc, char* argv[]) {
    return tessivo::TessivoApp::run(argc, argv);
}
