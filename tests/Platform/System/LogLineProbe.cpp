// A program that logs, for tests that need a process of its own: opens the file named first,
// then logs as many lines as the second argument says, and ends.

#include "Platform/System/LogLine.h"

#include <cstdlib>
#include <fcntl.h>
#include <string>

int main(int argc, char** argv) {
    if (argc != 3 || ::open(argv[1], O_WRONLY | O_CREAT, 0600) == -1) {
        return EXIT_FAILURE;
    }
    const int count = std::atoi(argv[2]);
    for (int i = 0; i < count; ++i) {
        tessivo::logLine("line " + std::to_string(i) + std::string(200, '.'));
    }
    return EXIT_SUCCESS;
}
