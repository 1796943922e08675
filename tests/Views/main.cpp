#include <QtQml/qqmlextensionplugin.h>
#include <QtQuickTest>

Q_IMPORT_QML_PLUGIN(TessivoPlugin)

QUICK_TEST_MAIN(Views)
