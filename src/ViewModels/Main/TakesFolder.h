#pragma once

namespace tessivo {

// Shows the folder of the takes, made if it is missing, in the desktop's file manager. Returns
// whether there is one that could be called. Main thread, with an application object.
bool openFolderOfTakes();

} // namespace tessivo
