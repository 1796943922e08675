#include "ViewModels/Main/TakesFolder.h"

#include "Utils/AudioUtils.h"

#include <QDesktopServices>

namespace tessivo {

bool openFolderOfTakes() {
    return QDesktopServices::openUrl(AudioUtils::getLooperRecordingsDirectory());
}

} // namespace tessivo
