#include "Platform/System/SingleProgram.h"
#include "support/QtTestSupport.h"

#include <QDir>
#include <QProcess>
#include <QStringList>
#include <QTemporaryDir>

#include <gtest/gtest.h>

using namespace tessivo;
using namespace tessivo::test;

namespace {

// A session with a bus of its own, and without a display and a sound server.
class Session {
public:
    Session() {
        qputenv("XDG_RUNTIME_DIR", runtime_.path().toUtf8());
        bus_.start("dbus-daemon", {"--session", "--nofork", "--print-address"});
        bus_.waitForReadyRead();
        qputenv("DBUS_SESSION_BUS_ADDRESS", bus_.readLine().trimmed());
    }
    ~Session() {
        bus_.kill();
        bus_.waitForFinished();
    }
    Session(const Session&) = delete;
    Session& operator=(const Session&) = delete;

private:
    TemporaryHome home_;
    QTemporaryDir runtime_;
    QProcess bus_;
};

struct Outcome {
    int status = -1;
    std::string output;
    std::string errors;
};

// The whole run of the program, in a folder of its own.
Outcome run(const QStringList& arguments) {
    QProcess program;
    program.setWorkingDirectory(QDir::rootPath());
    program.start(TESSIVO_PROGRAM, arguments);
    if (!runUntil([&] { return program.state() == QProcess::NotRunning; })) {
        program.kill();
        program.waitForFinished();
        return {};
    }
    return {program.exitStatus() == QProcess::NormalExit ? program.exitCode() : -1,
            program.readAllStandardOutput().toStdString(),
            program.readAllStandardError().toStdString()};
}

} // namespace

TEST(ProgramTest, QuestionsAndWrongArgumentsAreAnsweredWithoutADisplay) {
    const Session session;
    const std::string takes = TemporaryHome::recordings().string();
    const struct {
        QStringList arguments;
        int status;
        std::vector<std::string> told; // on the standard output, or that of errors
    } cases[] = {
        {{"--version"}, 0, {"Tessivo " TESSIVO_VERSION "\n"}},
        {{"-v", "take.wav"}, 0, {"Tessivo " TESSIVO_VERSION "\n"}},
        {{"--help"}, 0, {"--version", "Ctrl+Backspace", takes + "\n", "PIPEWIRE_REMOTE"}},
        {{"take.wav", "--loud"}, 2, {"loud", "--help"}},
        {{"-x"}, 2, {"'x'"}},
        {{"--open-takes=x"}, 2, {"open-takes"}},
        {{"--version=2"}, 2, {"version"}},
    };
    for (const auto& c : cases) {
        const std::string name = c.arguments.join(' ').toStdString();
        const Outcome told = run(c.arguments);
        EXPECT_EQ(told.status, c.status) << name;
        EXPECT_EQ(c.status == 0 ? told.errors : told.output, "") << name;
        for (const std::string& part : c.told) {
            EXPECT_NE((c.status == 0 ? told.output : told.errors).find(part), std::string::npos)
                << name << ": " << told.output << told.errors;
        }
    }
}

TEST(ProgramTest, LaterStartHandsItsFilesToTheFirst) {
    const Session session;
    SingleProgram first;
    ASSERT_TRUE(first.isFirst());
    std::vector<std::pair<QByteArray, QStringList>> calls;
    QObject::connect(&first, &SingleProgram::called,
                     [&](const QByteArray& token, const QStringList& files) {
                         calls.emplace_back(token, files);
                     });
    first.listen();

    qputenv("XDG_ACTIVATION_TOKEN", "the token");
    EXPECT_EQ(run({}).status, 0);
    EXPECT_EQ(run({"-session", "1234", "a 100% ü#?.wav", "/b//c.flac", "--", "--d.ogg"}).status, 0);
    qunsetenv("XDG_ACTIVATION_TOKEN");
    ASSERT_EQ(calls.size(), 2U);
    EXPECT_EQ(calls[0], std::pair(QByteArray("the token"), QStringList()));
    EXPECT_EQ(calls[1], std::pair(QByteArray("the token"),
                                  QStringList({"/a 100% ü#?.wav", "/b/c.flac", "/--d.ogg"})));
}
