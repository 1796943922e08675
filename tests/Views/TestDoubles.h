#pragma once

#include "Models/SimpleLoopState.h"

#include <QAccessible>
#include <QGuiApplication>
#include <QPalette>
#include <QQuickItem>
#include <QTest>
#include <QWindow>
#include <QtQml/qqml.h>

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

// A keyboard that can hold a key down, a desktop that turns dark while windows are open, and a
// screen reader that presses what it reads.
class Desktop : public QObject {
    Q_OBJECT
    QML_ELEMENT
    QML_SINGLETON

public:
    using QObject::QObject;

    Q_INVOKABLE void hold(QWindow* window, int key, int repeats) {
        const auto code = static_cast<Qt::Key>(key);
        const QString text = key == Qt::Key_Space ? QStringLiteral(" ") : QString();
        QTest::simulateEvent(window, true, code, Qt::NoModifier, text, false);
        for (int i = 0; i < repeats; ++i)
            QTest::simulateEvent(window, true, code, Qt::NoModifier, text, true);
        QTest::simulateEvent(window, false, code, Qt::NoModifier, text, false);
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

    Q_INVOKABLE void setDark(bool dark) {
        const QColor base = dark ? QColor(0x1e, 0x1e, 0x1e) : QColor(Qt::white);
        const QColor text = dark ? QColor(Qt::white) : QColor(Qt::black);
        QPalette palette(text, base, base, base, base, text, base);
        palette.setColor(QPalette::Window, base);
        QGuiApplication::setPalette(palette);
    }
};

} // namespace tessivo
