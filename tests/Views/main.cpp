#include "TestDoubles.h"
#include "ViewModels/Main/TimedApplication.h"

#include <QtQml/qqmlextensionplugin.h>
#include <QtQuickTest>

Q_IMPORT_QML_PLUGIN(TessivoPlugin)
Q_IMPORT_QML_PLUGIN(Tessivo_StylePlugin)

int main(int argc, char* argv[]) {
    tessivo::Controllers::install();
    const tessivo::TimedApplication application(argc, argv);
    QTEST_SET_MAIN_SOURCE_PATH
    return quick_test_main(argc, argv, "Views", QUICK_TEST_SOURCE_DIR);
}
