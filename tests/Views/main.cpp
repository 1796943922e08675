#include "TestDoubles.h"
#include "ViewModels/Main/Language.h"
#include "ViewModels/Main/TimedApplication.h"

#include <QFont>
#include <QStyleHints>
#include <QtQml/qqmlextensionplugin.h>
#include <QtQuickTest>

Q_IMPORT_QML_PLUGIN(TessivoPlugin)
Q_IMPORT_QML_PLUGIN(Tessivo_StylePlugin)

using namespace Qt::StringLiterals;

int main(int argc, char* argv[]) {
    tessivo::Controllers::install();
    const tessivo::TimedApplication application(argc, argv);
    const tessivo::Language language(u":/qt-project.org/imports/Tessivo/translations"_s,
                                     QLocale(qEnvironmentVariable("TESSIVO_TEST_LANGUAGE")));
    if (const int points = qEnvironmentVariableIntValue("TESSIVO_TEST_POINTS"); points > 0) {
        QFont font = QGuiApplication::font();
        font.setPointSize(points);
        QGuiApplication::setFont(font);
    }
    QGuiApplication::styleHints()->setCursorFlashTime(0); // always to be seen
    QTEST_SET_MAIN_SOURCE_PATH
    return quick_test_main(argc, argv, "Views", QUICK_TEST_SOURCE_DIR);
}
