#pragma once

#include "Audio/MIDIManager.h"
#include "Models/LibraryMetadata.h"
#include "Models/MIDIConfiguration.h"
#include "Models/SimpleLoopState.h"
#include "Platform/System/BackgroundQueue.h"
#include "Platform/System/DesktopSettings.h"
#include "Platform/System/LogLine.h"
#include "Platform/System/MainQueue.h"
#include "Utils/LoopFileManager.h"
#include "ViewModels/Main/ViewModelFactory.h"
#include "support/QtTestSupport.h"
#include "support/VirtualMidi.h"

#include <QAccessible>
#include <QDesktopServices>
#include <QDir>
#include <QFile>
#include <QGuiApplication>
#include <QMimeData>
#include <QPalette>
#include <QQuickItem>
#include <QQuickWindow>
#include <QTest>
#include <QWindow>
#include <QtQml/qqml.h>
#include <qpa/qplatformdrag.h>
#include <qpa/qwindowsysteminterface.h>

#include <future>
#include <optional>
#include <utility>

namespace tessivo {

// The real loop state, put into a state by a test in the controller's place.
class DrivenLoopState : public SimpleLoopState {
    Q_OBJECT
    QML_ELEMENT

public:
    using SimpleLoopState::SimpleLoopState;

    Q_INVOKABLE void stop(bool withAudio) {
        setHasAudio(withAudio);
        setTransportState(TransportState::stopped);
    }
    Q_INVOKABLE void record() { setTransportState(TransportState::recording); }
    Q_INVOKABLE void play() {
        setHasAudio(true);
        setTransportState(TransportState::playing);
    }
};

// A machine with a microphone and a speaker, for which no time passes, a keyboard that can hold a
// key down, a desktop that turns dark while windows are open, and a screen reader that presses what
// it reads.
class Machine : public QObject {
    Q_OBJECT
    QML_ELEMENT
    QML_SINGLETON
    Q_PROPERTY(tessivo::ViewModelFactory* viewModels READ viewModels CONSTANT)

public:
    Machine() { QDesktopServices::setUrlHandler(QStringLiteral("file"), this, "show"); }
    ~Machine() override { QDesktopServices::unsetUrlHandler(QStringLiteral("file")); }
    Q_DISABLE_COPY(Machine)

    ViewModelFactory* viewModels() { return &viewModels_; }

    Q_INVOKABLE void hold(QWindow* window, int key, int repeats) {
        const auto code = static_cast<Qt::Key>(key);
        const QString text = key == Qt::Key_Space ? QStringLiteral(" ") : QString();
        QTest::simulateEvent(window, true, code, Qt::NoModifier, text, false);
        for (int i = 0; i < repeats; ++i)
            QTest::simulateEvent(window, true, code, Qt::NoModifier, text, true);
        QTest::simulateEvent(window, false, code, Qt::NoModifier, text, false);
    }

    // By way of the toolkit, which knows what is in front: the test's own clicks do not ask.
    Q_INVOKABLE void click(QQuickItem* item) {
        const QPointF centre(item->width() / 2, item->height() / 2);
        QTest::mouseClick(item->window(), Qt::LeftButton, {}, item->mapToScene(centre).toPoint());
    }

    // All keys come before the event loop turns.
    Q_INVOKABLE void pressAtOnce(QWindow* window, const QList<int>& keys) {
        for (const int key : keys) {
            const auto pressed = QKeyCombination::fromCombined(key);
            for (const auto type : {QEvent::KeyPress, QEvent::KeyRelease})
                QWindowSystemInterface::handleKeyEvent(window, type, pressed.key(),
                                                       pressed.keyboardModifiers());
        }
        QWindowSystemInterface::sendWindowSystemEvents(QEventLoop::AllEvents);
    }

    // Another program would like to move files here, or a text without any: it goes over the
    // window, and is dropped there or leaves. Returns whether a copy is wanted.
    Q_INVOKABLE bool drag(QWindow* window, QPoint place, const QList<QUrl>& files) {
        dragged_.clear();
        files.isEmpty() ? dragged_.setText(QStringLiteral("text")) : dragged_.setUrls(files);
        return isCopy(QWindowSystemInterface::handleDrag(window, &dragged_, place,
                                                         Qt::CopyAction | Qt::MoveAction,
                                                         Qt::LeftButton, Qt::ShiftModifier));
    }
    Q_INVOKABLE bool drop(QWindow* window, QPoint place) {
        return isCopy(QWindowSystemInterface::handleDrop(
            window, &dragged_, place, Qt::CopyAction | Qt::MoveAction, {}, Qt::ShiftModifier));
    }
    Q_INVOKABLE void dragOut(QWindow* window) {
        QWindowSystemInterface::handleDrag(window, nullptr, {}, Qt::IgnoreAction, {}, {});
    }

    // What the file manager was asked to show since the last call.
    Q_INVOKABLE QList<QUrl> shownFolders() { return std::exchange(shownFolders_, {}); }
    Q_INVOKABLE void show(const QUrl& folder) { shownFolders_ += folder; }

    // The key of that code on a keyboard that has this symbol there.
    Q_INVOKABLE void pressInPlace(QWindow* window, int key, int modifiers, int code) {
        for (const auto type : {QEvent::KeyPress, QEvent::KeyRelease})
            QWindowSystemInterface::handleExtendedKeyEvent(
                window, type, key, Qt::KeyboardModifiers(modifiers), static_cast<quint32>(code), 0,
                0, QString(QChar(key)));
        QWindowSystemInterface::sendWindowSystemEvents(QEventLoop::AllEvents);
    }

    // Does every action that the item offers to assistive technology, and names them.
    Q_INVOKABLE QStringList doAllActions(QQuickItem* item) {
        QAccessible::setActive(true);
        QAccessibleInterface* accessible = QAccessible::queryAccessibleInterface(item);
        QAccessibleActionInterface* actions = accessible ? accessible->actionInterface() : nullptr;
        if (!actions)
            return {};
        QStringList names = actions->actionNames();
        names.removeDuplicates();
        names.removeOne(QAccessibleActionInterface::setFocusAction());
        for (const QString& name : names)
            actions->doAction(name);
        return names;
    }

    // In or out, of the newest window.
    Q_INVOKABLE void plugMicrophone(bool in) {
        auto formats = test::formats(in ? 2 : 0);
        formats.inputName = in ? "Röhrenmikrofon" : "";
        formats.outputName = "Headphones";
        device_->changeFormats(formats);
    }

    Q_INVOKABLE void playIn(float sample, uint frames = 4096) {
        device_->turn(frames, test::Channels(2, std::vector(frames, sample)));
    }

    Q_INVOKABLE void setDark(bool dark) {
        const QColor base = dark ? QColor(0x1e, 0x1e, 0x1e) : QColor(Qt::white);
        const QColor text = dark ? QColor(Qt::white) : QColor(Qt::black);
        QPalette palette(text, base, base, base, base, text, base);
        palette.setColor(QPalette::Window, base);
        QGuiApplication::setPalette(palette);
    }

    // For those who read from right to left.
    Q_INVOKABLE void setMirrored(bool mirrored) {
        QGuiApplication::setLayoutDirection(mirrored ? Qt::RightToLeft : Qt::LeftToRight);
    }

    // The value that the item has for assistive technology, and the limits of it.
    Q_INVOKABLE QVariantList valueOf(QQuickItem* item) {
        QAccessible::setActive(true);
        QAccessibleInterface* accessible = QAccessible::queryAccessibleInterface(item);
        QAccessibleValueInterface* value = accessible ? accessible->valueInterface() : nullptr;
        return value ? QVariantList{value->currentValue(), value->minimumValue(),
                                    value->maximumValue()}
                     : QVariantList{};
    }

    // As the desktop's portal tells it.
    Q_INVOKABLE void setAppearance(const QString& key, uint value) {
        DesktopSettings::shared().change(QStringLiteral("org.freedesktop.appearance"), key,
                                         QDBusVariant(value));
    }
    Q_INVOKABLE void setAnimations(bool enabled) {
        DesktopSettings::shared().change(QStringLiteral("org.gnome.desktop.interface"),
                                         QStringLiteral("enable-animations"),
                                         QDBusVariant(enabled));
    }

private:
    static bool isCopy(const QPlatformDropQtResponse& answer) {
        return answer.isAccepted() && answer.acceptedAction() == Qt::CopyAction;
    }

    QMimeData dragged_;
    QList<QUrl> shownFolders_;
    sound::OfflineDevice* device_ = nullptr; // of the newest window
    ViewModelFactory viewModels_{
        [this] {
            auto device = std::make_unique<sound::OfflineDevice>(test::formats(2));
            device_ = device.get();
            return device;
        },
        [] {
            return std::make_unique<sound::OfflineDevice>(test::formats(0));
        }};
};

// The folder of saved loops, in the test's own home, with saves that a test can hold up, and one
// loop that is not saved yet.
class Disk : public QObject {
    Q_OBJECT
    QML_ELEMENT
    QML_SINGLETON

public:
    Q_INVOKABLE void clear() {
        QDir folder(LoopFileManager::savedLoopsDirectory().toLocalFile());
        QVERIFY(folder.removeRecursively() && folder.mkpath(folder.path()));
    }

    // 75.6 seconds.
    Q_INVOKABLE void writeLoop() {
        const test::Channels silence(1, std::vector<float>(302'400));
        test::writeFile(location().toStdString(), 4000, silence);
    }
    Q_INVOKABLE void removeLoop() { QVERIFY(QFile::remove(location())); }

    // Makes that loop the looper's current one, as if it had just been played in.
    Q_INVOKABLE void playIn(tessivo::SimpleLooperViewModel* viewModel) {
        writeLoop();
        viewModel->loadLoop(SavedLoop(kName, kName, secondsSince2001Now(), 75.6, 0));
        test::settle();
        forget(viewModel);
    }

    // The current loop counts as not saved again.
    Q_INVOKABLE void forget(tessivo::SimpleLooperViewModel* viewModel) {
        viewModel->loopState()->setCurrentSavedLoop({});
    }

    // The names of all loops that the next start will find.
    Q_INVOKABLE QStringList names() {
        QFile file(LoopFileManager::libraryMetadataURL().toLocalFile());
        QStringList names;
        if (file.open(QIODevice::ReadOnly)) {
            for (const SavedLoop& loop : LibraryMetadata::decode(file.readAll()))
                names += loop.name();
        }
        return names;
    }

    // A library of those loops, half a day old and each a day older than the one before, with audio
    // of one second, each in a file of its own or all in one. Of three, the second counts as the
    // longest, and the third as the shortest.
    Q_INVOKABLE void fill(const QStringList& names, bool oneFile = false) {
        clear();
        std::vector<SavedLoop> loops;
        for (const QString& name : names) {
            const QString file = fileOf(oneFile ? 0 : loops.size());
            const auto age = std::chrono::hours(12 + 24 * loops.size());
            if (!oneFile || loops.empty())
                test::writeFile(pathOf(file).toStdString(), 4000,
                                {test::noise(4000, static_cast<unsigned>(loops.size()))});
            const double duration = 5.0 + 0.3 * static_cast<double>((loops.size() + 1) % 3);
            loops.emplace_back(name, file, secondsSince2001Now() - age, duration, 16'044);
        }
        QFile file(LoopFileManager::libraryMetadataURL().toLocalFile());
        QVERIFY(file.open(QIODevice::WriteOnly));
        file.write(LibraryMetadata::encode(loops));
    }
    Q_INVOKABLE void removeFileOf(int loop) {
        QVERIFY(QFile::remove(pathOf(fileOf(static_cast<std::size_t>(loop)))));
    }
    // Another name of the loop's own file.
    Q_INVOKABLE QUrl linkTo(int loop, const QUrl& folder, bool hard) {
        const QString link = folder.toLocalFile() + QStringLiteral("/link.wav");
        const QString file = pathOf(fileOf(static_cast<std::size_t>(loop)));
        if (hard)
            std::filesystem::create_hard_link(file.toStdString(), link.toStdString());
        else
            QFile::link(file, link);
        return QUrl::fromLocalFile(link);
    }
    // A folder beside the library, empty.
    Q_INVOKABLE QUrl emptyFolder() {
        QDir folder(pathOf(QStringLiteral("../Exports")));
        folder.removeRecursively();
        folder.mkpath(QStringLiteral("."));
        return QUrl::fromLocalFile(folder.canonicalPath());
    }
    Q_INVOKABLE QStringList listing(const QUrl& folder) {
        return QDir(folder.toLocalFile()).entryList(QDir::AllEntries | QDir::NoDotAndDotDot);
    }
    // That file is the one of the loop, to the byte.
    Q_INVOKABLE bool isCopyOf(const QUrl& file, int loop) {
        QFile copy(file.toLocalFile());
        QFile original(pathOf(fileOf(static_cast<std::size_t>(loop))));
        return copy.open(QIODevice::ReadOnly) && original.open(QIODevice::ReadOnly) &&
               copy.size() > 16'000 && copy.readAll() == original.readAll();
    }

    // From now on a save that is done cannot say so. Nothing else may be said meanwhile.
    Q_INVOKABLE void holdSaves() {
        held_ = std::promise<void>();
        setLogSink([until = held_->get_future().share()](std::string_view line) {
            if (line.starts_with("Successfully saved"))
                until.wait();
        });
    }
    // From now on nothing begins in the background.
    Q_INVOKABLE void hold() { stalled_.emplace(); }
    // Lets it go on, and returns when all is done and delivered.
    Q_INVOKABLE void finish() {
        if (held_)
            held_->set_value();
        held_.reset();
        stalled_.reset();
        for (int round = 0; round < 3; ++round) {
            BackgroundQueue::waitForAll();
            QCoreApplication::sendPostedEvents();
        }
        setLogSink({});
    }

private:
    static inline const QString kName = QStringLiteral("take.wav");

    static QString pathOf(const QString& file) {
        return LoopFileManager::savedLoopsDirectory().toLocalFile() + u'/' + file;
    }
    static QString fileOf(std::size_t loop) { return QStringLiteral("loop%1.wav").arg(loop); }
    static QString location() { return pathOf(kName); }

    std::optional<std::promise<void>> held_;
    std::optional<test::StalledDisk> stalled_;
};

// The controllers that are plugged in: the application's manager has them from its start.
class Controllers : public QObject {
    Q_OBJECT
    QML_ELEMENT
    QML_SINGLETON

public:
    // Before anybody asks for the manager.
    static void install() { MIDIManager::setSharedSystem(system()); }

    Q_INVOKABLE void plugIn(const QString& name) { system()->addSource(name.toStdString()); }
    Q_INVOKABLE void unplugAll() {
        for (const midi::Source& source : system()->sources())
            system()->removeSource(source.reference);
    }
    Q_INVOKABLE bool play(int note) {
        return system()->send(system()->connected(), {0x90, static_cast<std::uint8_t>(note), 100});
    }
    // How often one was connected, so far.
    Q_INVOKABLE uint connections() { return system()->connections(); }
    Q_INVOKABLE int connectedIndex() {
        const auto sources = system()->sources();
        for (std::size_t i = 0; i < sources.size(); ++i) {
            if (sources[i].reference == system()->connected())
                return static_cast<int>(i);
        }
        return -1;
    }

    // Record, play, stop, clear: what the next start will find, and what is in effect.
    Q_INVOKABLE QList<int> storedNotes() { return notes(MIDIConfiguration::load()); }
    Q_INVOKABLE QList<int> notesInEffect() { return notes(MIDIManager::shared().configuration()); }
    Q_INVOKABLE void store(const QList<int>& notes) {
        MIDIConfiguration configuration;
        for (qsizetype i = 0; i < notes.size(); ++i)
            configuration.setNoteForAction(allTransportActions.at(static_cast<std::size_t>(i)),
                                           static_cast<std::uint8_t>(notes[i]));
        configuration.save();
        MIDIManager::shared().setConfiguration(configuration);
    }

private:
    static std::shared_ptr<midi::VirtualMidi> system() {
        static const auto system = std::make_shared<midi::VirtualMidi>();
        return system;
    }
    static QList<int> notes(const MIDIConfiguration& configuration) {
        QList<int> notes;
        for (const TransportAction action : allTransportActions)
            notes += configuration.noteForAction(action);
        return notes;
    }
};

} // namespace tessivo
