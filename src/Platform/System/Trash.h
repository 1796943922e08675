#pragma once

#include <filesystem>
#include <system_error>

namespace tessivo {

// Throws a file away such that it can be fetched back: moves it to the desktop's trash, and removes
// it only where there is none. Of a link the link goes. Any thread; blocks on the disk. The error
// says why the file is still there, if it is.
void throwAway(const std::filesystem::path& path, std::error_code& error);

} // namespace tessivo
