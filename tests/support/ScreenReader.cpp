#include "support/ScreenReader.h"

#include "support/PrivatePipeWire.h"

#include <sstream>

namespace tessivo::test {

using namespace std::chrono_literals;

namespace {

// Finds what is shown in the windows of that title.
constexpr const char* kReader = R"(
import pyatspi, sys, time
from gi.repository import Atspi
Atspi.set_timeout(30000, 30000) # a press that is answered late must not be made again
def found(matches):
    for application in pyatspi.Registry.getDesktop(0):
        for window in application or ():
            if window and window.name == sys.argv[1]:
                yield from pyatspi.findAllDescendants(
                    window, lambda c: c.getState().contains(pyatspi.STATE_SHOWING) and matches(c))
)";

std::vector<std::string> linesOf(const std::string& script,
                                 const std::vector<std::string>& arguments) {
    std::vector<std::string> command{"/usr/bin/python3", "-c", kReader + script};
    command.insert(command.end(), arguments.begin(), arguments.end());
    std::istringstream lines(runProgram(command));
    std::vector<std::string> all;
    for (std::string line; std::getline(lines, line);) {
        all.push_back(line);
    }
    return all;
}

} // namespace

void touch(const std::string& window, const std::string& name) {
    runProgram({"/usr/bin/python3", "-c", std::string(kReader) + R"(
def touched():
    try:
        for match in found(lambda c: c.name == sys.argv[2]):
            if match.getRoleName() in ('push button', 'menu item', 'check menu item'):
                action = match.queryAction()
                names = [action.getName(i) for i in range(action.nActions)]
                action.doAction(names.index('Press'))
            return True
    except Exception: # it has just gone
        pass
while not touched():
    time.sleep(0.05)
)",
                window, name});
}

std::vector<std::string> listed(const std::string& window) {
    return linesOf(R"(
def place(item):
    return item.queryComponent().getExtents(pyatspi.DESKTOP_COORDS).y
for item in sorted(found(lambda c: c.getRoleName() == 'list item'), key=place):
    print(item.name)
)",
                   {window});
}

void press(const std::string& window,
           const std::vector<std::pair<std::string, std::string>>& keysAndWords) {
    std::vector<std::string> arguments{window};
    for (const auto& [key, words] : keysAndWords) {
        arguments.insert(arguments.end(), {key, words});
    }
    linesOf(R"(
import subprocess
from gi.repository import GLib
said = []
def hear(event):
    if event.detail1 and event.source.getRoleName() == 'notification':
        said.append(event.source.name)
while not list(found(lambda c: c.getRoleName() == 'notification')):
    time.sleep(0.05)
pyatspi.Registry.registerEventListener(hear, 'object:state-changed:showing')
for key, words in zip(sys.argv[2::2], sys.argv[3::2]):
    subprocess.run(['xdotool', 'key', key])
    while words not in said:
        GLib.MainContext.default().iteration(True)
    said.clear()
)",
            arguments);
}

} // namespace tessivo::test
