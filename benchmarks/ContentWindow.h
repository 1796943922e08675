#pragma once

#include "Common.h"

#include "SystemDevices.h"
#include "ViewModels/Main/ViewModelFactory.h"

#include <QQmlApplicationEngine>
#include <QQuickStyle>
#include <QQuickWindow>
#include <QtQml/qqmlextensionplugin.h>

Q_IMPORT_QML_PLUGIN(TessivoPlugin)
Q_IMPORT_QML_PLUGIN(Tessivo_StylePlugin)

namespace tessivo::benchmark {

// What draws the windows on a machine without a graphics card. Before the application is made.
inline void useSoftwareRenderer() {
    setenv("QT_QPA_PLATFORM", "xcb", 1);
    setenv("QT_QUICK_BACKEND", "software", 1);
}

// The application's window, in this process; it shows when it is made. Throws
// std::runtime_error when it does not.
class ContentWindow {
public:
    ContentWindow() {
        QQuickStyle::setStyle(QStringLiteral("Basic"));
        engine_.setInitialProperties(
            {{QStringLiteral("viewModels"), QVariant::fromValue(&viewModels_)}});
        engine_.load(
            QUrl(QStringLiteral("qrc:/qt-project.org/imports/Tessivo/Main/ContentView.qml")));
        window_ = engine_.rootObjects().isEmpty()
                      ? nullptr
                      : qobject_cast<QQuickWindow*>(engine_.rootObjects().constFirst());
        if (window_ == nullptr ||
            !runEventsUntil([this] { return window_->isExposed(); }, std::chrono::seconds(10))) {
            throw std::runtime_error("the window does not show");
        }
    }

    QQuickWindow& window() { return *window_; }

private:
    ViewModelFactory viewModels_{makeLooperDevice, makePreviewDevice};
    QQmlApplicationEngine engine_;
    QQuickWindow* window_ = nullptr;
};

} // namespace tessivo::benchmark
