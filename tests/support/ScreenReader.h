#pragma once

#include <string>
#include <utility>
#include <vector>

namespace tessivo::test {

// What a screen reader finds in the window of that title under that name, once it is there:
// presses it, if it can be pressed. The application was started with kReadable.
void touch(const std::string& window, const std::string& name);

// What a screen reader finds in the lists of that window, from top to bottom.
std::vector<std::string> listed(const std::string& window);

// Presses keys one after another, and returns when a screen reader has been told to say what
// belongs to each, of that window.
void press(const std::string& window,
           const std::vector<std::pair<std::string, std::string>>& keysAndWords);

inline const std::vector<std::string> kReadable{"env", "QT_LINUX_ACCESSIBILITY_ALWAYS_ON=1"};

} // namespace tessivo::test
