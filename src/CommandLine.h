#pragma once

#include <QString>
#include <QStringList>

#include <optional>
#include <span>

namespace tessivo {

// What the program was asked for by its arguments.
struct CommandLine {
    // What is told in place of a start, and the status that the program ends with.
    struct Answer {
        QString text; // with its last line break; an error's is for the standard error
        int status;
    };

    QStringList files;       // absolute paths, in the order given; they need not exist
    bool opensTakes = false; // in place of a start
    std::optional<Answer> answer;
};

// Reads the arguments, the program's name first. Needs neither an application object nor a display.
CommandLine readCommandLine(std::span<const char* const> arguments);

} // namespace tessivo
