// A window with nothing in it: what the toolkit alone costs, beside which the figures of the
// application are read.

#include <QGuiApplication>
#include <QQuickWindow>

int main(int argc, char* argv[]) {
    const QGuiApplication application(argc, argv);
    QQuickWindow window;
    window.resize(400, 500);
    window.show();
    return QGuiApplication::exec();
}
