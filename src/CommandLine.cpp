#include "CommandLine.h"

#include "Platform/System/Paths.h"

#include <QCommandLineParser>
#include <QFile>
#include <QFileInfo>
#include <QStandardPaths>

namespace tessivo {

namespace {

using namespace Qt::StringLiterals;

constexpr int kWrongUsage = 2;

QString helpText() {
    return uR"(Usage: tessivo [option] [file ...]

Records a loop from the microphone, plays it at once and without a gap, and keeps it.
A second start shows the window of the first. Audio files are offered to the library.

Options
  -h, --help             tells this
  -v, --version          tells the version
  --open-takes           opens the folder of takes in the file manager

Keys
  Return                 starts a take; during a take, ends it and plays it
  Space                  plays and pauses; during a take, ends it
  .                      stops
  Ctrl+Backspace         clears the loop, as Ctrl+Delete does
  Ctrl+S                 saves the loop into the library
  Ctrl+O                 opens the library

Folders
  takes                  %1/LooperFiles
  library                %1/SavedLoops
  notes of the pedals    %2/Tessivo

Environment
  XDG_CONFIG_HOME        where the notes of the pedals are, and which folder has the documents
  PIPEWIRE_REMOTE        the sound server's socket
  PIPEWIRE_LATENCY       length of the sound's cycles, in frames and their rate, as 128/48000
  QT_QPA_PLATFORM        xcb or wayland, where both are there
  QT_SCALE_FACTOR        size of the windows, as 1.5
)"_s.arg(documentsDirectory(),
         QStandardPaths::writableLocation(QStandardPaths::GenericConfigLocation));
}

} // namespace

CommandLine readCommandLine(std::span<const char* const> arguments) {
    QStringList texts;
    for (const char* argument : arguments) {
        texts << QFile::decodeName(argument);
    }
    const QCommandLineOption help(QStringList{u"h"_s, u"help"_s});
    const QCommandLineOption version(QStringList{u"v"_s, u"version"_s});
    const QCommandLineOption openTakes(u"open-takes"_s);
    // A session manager that starts the program again adds it, for the toolkit.
    const QCommandLineOption session(u"session"_s, {}, u"id"_s);
    QCommandLineParser parser;
    parser.setSingleDashWordOptionMode(QCommandLineParser::ParseAsLongOptions);
    parser.addOptions({help, version, openTakes, session});
    if (!parser.parse(texts)) {
        return {{},
                false,
                {{u"tessivo: %1\nTry 'tessivo --help'.\n"_s.arg(parser.errorText()), kWrongUsage}}};
    }
    if (parser.isSet(help)) {
        return {{}, false, {{helpText(), 0}}};
    }
    if (parser.isSet(version)) {
        return {{}, false, {{u"Tessivo " TESSIVO_VERSION "\n"_s, 0}}};
    }
    QStringList files = parser.positionalArguments();
    for (QString& file : files) {
        file = QFileInfo(file).absoluteFilePath();
    }
    return {files, parser.isSet(openTakes), {}};
}

} // namespace tessivo
