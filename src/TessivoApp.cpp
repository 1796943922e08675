#include "Audio/MIDIManager.h"
#include "CommandLine.h"
#include "Models/LibraryFile.h"
#include "Platform/Midi/PipeWireMidi.h"
#include "Platform/System/BackgroundQueue.h"
#include "Platform/System/DesktopSettings.h"
#include "Platform/System/EndSignals.h"
#include "Platform/System/LogLine.h"
#include "Platform/System/MainQueue.h"
#include "Platform/System/Paths.h"
#include "Platform/System/ProgramId.h"
#include "Platform/System/SessionBus.h"
#include "Platform/System/SingleProgram.h"
#include "SystemDevices.h"
#include "ViewModels/Main/HeldKeys.h"
#include "ViewModels/Main/Language.h"
#include "ViewModels/Main/TakesFolder.h"
#include "ViewModels/Main/TimedApplication.h"
#include "ViewModels/Main/ViewModelFactory.h"

#include <QIcon>
#include <QPointer>
#include <QQmlApplicationEngine>
#include <QQuickStyle>
#include <QStringList>
#include <QThread>
#include <QWindow>
#include <QtQml/qqmlextensionplugin.h>

#include <cstddef>
#include <cstdio>
#include <cstdlib>
#include <malloc.h>
#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

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
        const CommandLine commandLine = readCommandLine({argv, static_cast<std::size_t>(argc)});
        if (commandLine.answer) {
            return give(*commandLine.answer);
        }
        shareHeap();
        leaveOutHungSessionBus();
        if (commandLine.opensTakes) {
            const QGuiApplication application(argc, argv);
            return openFolderOfTakes() ? 0 : 1;
        }
        SingleProgram single;
        if (!single.isFirst()) {
            const QCoreApplication application(argc, argv);
            if (!single.callFirst(commandLine.files)) {
                logLine("Tessivo is running already, and cannot be reached by the session bus");
                return 1;
            }
        }
        return single.isFirst() ? runFirst(argc, argv, single, commandLine.files) : 0;
    }

private:
    static int give(const CommandLine::Answer& answer) {
        std::fputs(answer.text.toLocal8Bit().constData(), answer.status == 0 ? stdout : stderr);
        return answer.status;
    }

    // Each sheet is drawn by a thread of its own. With a heap for each thread, as is usual, every
    // one of them would keep what a renderer in software has needed at most.
    static void shareHeap() { mallopt(M_ARENA_MAX, 2); }

    static int runFirst(int argc, char* argv[], SingleProgram& single, const QStringList& files) {
        QGuiApplication::setApplicationName(u"Tessivo"_s);
        QGuiApplication::setApplicationDisplayName(u"Tessivo"_s);
        QGuiApplication::setDesktopFileName(QString::fromLatin1(kProgramId));
        // The sound server answers while the toolkit starts.
        std::unique_ptr<sound::AudioDevice> looperDevice = makeLooperDevice();
        std::vector<char*> arguments = toolkitArguments(argc, argv);
        int count = static_cast<int>(arguments.size()) - 1;
        TimedApplication application(count, arguments.data());
        QGuiApplication::setWindowIcon(
            QIcon(u":/qt-project.org/imports/Tessivo/icons/tessivo.svg"_s));
        const Language language(u":/qt-project.org/imports/Tessivo/translations"_s);
        QQuickStyle::setStyle(u"Basic"_s);
        MIDIManager::setSharedSystem(std::make_shared<midi::PipeWireMidi>("Tessivo"));

        HeldKeys heldKeys;
        if (QGuiApplication::platformName() == u"xcb"_s)
            application.installEventFilter(&heldKeys);

        std::optional<EndSignals> endSignals; // also while the window ends
        // The one window asks for it once.
        ViewModelFactory viewModels([&] { return std::move(looperDevice); }, makePreviewDevice);
        QQmlApplicationEngine engine;
        engine.setInitialProperties({{u"viewModels"_s, QVariant::fromValue(&viewModels)}});
        engine.load(QUrl(u"qrc:/qt-project.org/imports/Tessivo/Main/ContentView.qml"_s));
        if (engine.rootObjects().isEmpty()) {
            return 1;
        }
        auto* window = qobject_cast<QWindow*>(engine.rootObjects().constFirst());
        QObject::connect(&single, &SingleProgram::called, window,
                         [window, &viewModels](const QByteArray& token, const QStringList& more) {
                             show(*window, token);
                             offer(viewModels, more);
                         });
        offer(viewModels, files);
        single.listen();
        endSignals.emplace(); // not before: a start that hangs must end at once
        QObject::connect(&*endSignals, &EndSignals::received, [] { QCoreApplication::exit(0); });
        finishAtExit(*window);
        const int status = QGuiApplication::exec();
        finishBackgroundWork();
        return status;
    }

    // Where the portal has file dialogs, the toolkit puts the portal's theme around that of the
    // desktop. Who has chosen another theme keeps it.
    static std::vector<char*> toolkitArguments(int argc, char* argv[]) {
        static std::string option = "-platformtheme";
        static std::string portal = "xdgdesktopportal";
        std::vector<char*> arguments(argv, argv + argc + 1);
        if (DesktopSettings::shared().portalHasFileDialogs() &&
            !qEnvironmentVariableIsSet("QT_QPA_PLATFORMTHEME")) {
            arguments.insert(arguments.begin() + 1, {option.data(), portal.data()});
        }
        return arguments;
    }

    // Brings the window to the front, and the sheet that may be before it.
    static void show(QWindow& window, const QByteArray& activationToken) {
        window.setWindowStates(window.windowStates() & ~Qt::WindowMinimized);
        window.show();
        window.raise();
        qputenv("XDG_ACTIVATION_TOKEN", activationToken);
        QWindow* const sheet = QGuiApplication::modalWindow();
        (sheet != nullptr ? sheet : &window)->requestActivate();
    }

    static void offer(ViewModelFactory& viewModels, const QStringList& files) {
        if (!files.isEmpty()) {
            emit viewModels.filesGiven(files);
        }
    }

    // When the display server goes, the toolkit ends the program from the midst of the event loop.
    // What is being recorded and saved is completed all the same.
    static void finishAtExit(const QWindow& window) {
        static QPointer<SimpleLooperViewModel> looper;
        looper = window.findChild<SimpleLooperViewModel*>();
        std::atexit([] {
            if (looper && looper->thread() == QThread::currentThread()) {
                finishBackgroundWork();
                // What nobody sees any more looks for it.
                qmlEngine(looper->parent())->setOutputWarningsToStandardError(false);
                delete looper;
            }
        });
    }

    // Work that was started before the window closed is finished while the window's view model
    // still exists to take the results. A result may start more work: a library that cannot be read
    // is rebuilt, and the rebuilt one is written, which makes three rounds at most.
    static void finishBackgroundWork() {
        LibraryFile::postKeptChanges();
        for (int round = 0; round < 3; ++round) {
            BackgroundQueue::waitForAll();
            MainQueue::runPosted();
        }
    }
};

} // namespace tessivo

int main(int argc, char* argv[]) {
    return tessivo::TessivoApp::run(argc, argv);
}
