#include "Audio/MIDIManager.h"
#include "Models/LibraryFile.h"
#include "Platform/Midi/PipeWireMidi.h"
#include "Platform/System/BackgroundQueue.h"
#include "Platform/System/Paths.h"
#include "SystemDevices.h"
#include "ViewModels/Main/HeldKeys.h"
#include "ViewModels/Main/TimedApplication.h"
#include "ViewModels/Main/ViewModelFactory.h"

#include <QIcon>
#include <QQmlApplicationEngine>
#include <QQuickStyle>
#include <QtQml/qqmlextensionplugin.h>

#include <memory>
#include <utility>

Q_IMPORT_QML_PLUGIN(TessivoPlugin)
Q_IMPORT_QML_PLUGIN(Tessivo_StylePlugin)

using namespace Qt::StringLiterals;

namespace tessivo {

// The application: chooses the sound devices and shows one window, whose content owns everything
// else.
class TessivoApp {
public:
    static int run(int argc, char* argv[]) {
        ensureHome();
        QGuiApplication::setApplicationName(u"Tessivo"_s);
        QGuiApplication::setApplicationDisplayName(u"Tessivo"_s);
        QGuiApplication::setDesktopFileName(u"tessivo"_s);
        // The sound server answers while the toolkit starts.
        std::unique_ptr<sound::AudioDevice> looperDevice = makeLooperDevice();
        TimedApplication application(argc, argv);
        QGuiApplication::setWindowIcon(
            QIcon(u":/qt-project.org/imports/Tessivo/icons/tessivo.svg"_s));
        QQuickStyle::setStyle(u"Basic"_s);
        MIDIManager::setSharedSystem(std::make_shared<midi::PipeWireMidi>("Tessivo"));

        HeldKeys heldKeys;
        if (QGuiApplication::platformName() == u"xcb"_s)
            application.installEventFilter(&heldKeys);

        // The one window asks for it once.
        ViewModelFactory viewModels([&] { return std::move(looperDevice); }, makePreviewDevice);
        QQmlApplicationEngine engine;
        engine.setInitialProperties({{u"viewModels"_s, QVariant::fromValue(&viewModels)}});
        engine.load(QUrl(u"qrc:/qt-project.org/imports/Tessivo/Main/ContentView.qml"_s));
        const int status = engine.rootObjects().isEmpty() ? 1 : QGuiApplication::exec();
        finishBackgroundWork();
        return status;
    }

private:
    // Work that was started before the window closed is finished while the window's view model
    // still exists to take the results. A result may start more work: a library that cannot be read
    // is rebuilt, and the rebuilt one is written, which makes three rounds at most.
    static void finishBackgroundWork() {
        LibraryFile::postKeptChanges();
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
