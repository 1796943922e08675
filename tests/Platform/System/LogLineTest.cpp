#include "Platform/System/LogLine.h"
#include "Platform/System/LineWriter.h"
#include "support/QtTestSupport.h"

#include <gtest/gtest.h>

#include <array>
#include <cstdio>
#include <cstdlib>
#include <fcntl.h>
#include <sstream>
#include <thread>
#include <unistd.h>

using namespace tessivo;
using namespace tessivo::test;
using std::chrono::milliseconds;
using std::chrono::steady_clock;

namespace {

constexpr milliseconds kLong{10000};

class Pipe {
public:
    Pipe() {
        if (::pipe2(ends_.data(), O_CLOEXEC) != 0) {
            throw std::runtime_error("no pipe");
        }
    }
    ~Pipe() {
        closeReader();
        ::close(ends_[1]);
    }
    Pipe(const Pipe&) = delete;
    Pipe& operator=(const Pipe&) = delete;

    int writer() const { return ends_[1]; }
    void closeReader() { ::close(std::exchange(ends_[0], -1)); }

    // Reads lines until one is the last one asked for.
    Lines readUntil(const std::string& last) const {
        std::string text;
        std::array<char, 4096> part{};
        while (text != last + "\n" && !text.ends_with("\n" + last + "\n")) {
            const ssize_t count = ::read(ends_[0], part.data(), part.size());
            if (count <= 0) {
                break;
            }
            text.append(part.data(), static_cast<std::size_t>(count));
        }
        return split(text);
    }

    static Lines split(const std::string& text) {
        Lines lines;
        std::istringstream stream(text);
        for (std::string line; std::getline(stream, line);) {
            lines.push_back(line);
        }
        return lines;
    }

private:
    std::array<int, 2> ends_{-1, -1};
};

// What the command puts out, and how long it took.
struct ShellRun {
    std::string output;
    int status = -1;
    steady_clock::duration time{};
};

ShellRun runShell(const std::string& command) {
    ShellRun run;
    const auto begin = steady_clock::now();
    FILE* pipe = ::popen(command.c_str(), "r");
    std::array<char, 4096> part{};
    while (const std::size_t count = std::fread(part.data(), 1, part.size(), pipe)) {
        run.output.append(part.data(), count);
    }
    run.status = ::pclose(pipe);
    run.time = steady_clock::now() - begin;
    return run;
}

} // namespace

TEST(LineWriterTest, KeepsLinesOfManyThreadsWholeAndInOrder) {
    const Pipe pipe;
    LineWriter writer(pipe.writer());
    std::vector<std::thread> threads;
    for (char name = 'a'; name < 'e'; ++name) {
        threads.emplace_back([&writer, name] {
            for (int i = 0; i < 200; ++i) {
                writer.add(std::string(50, name) + " " + std::to_string(i));
            }
        });
    }
    std::thread closing([&] {
        for (auto& thread : threads) {
            thread.join();
        }
        writer.add("two\nlines\r");
    });
    const Lines lines = pipe.readUntil("two lines ");
    closing.join();

    ASSERT_EQ(lines.size(), 801U);
    std::array<int, 4> next{};
    for (std::size_t i = 0; i + 1 < lines.size(); ++i) {
        const char name = lines[i].front();
        const int number = next.at(static_cast<std::size_t>(name - 'a'))++;
        EXPECT_EQ(lines[i], std::string(50, name) + " " + std::to_string(number));
    }
}

TEST(LineWriterTest, StuckReaderCostsLinesOnlyAndTheirNumberIsSaidInTheirPlace) {
    const Pipe pipe;
    ::fcntl(pipe.writer(), F_SETPIPE_SZ, 4096);
    LineWriter writer(pipe.writer(), 10);
    const std::string filler(1000, '.');
    for (int i = 0; i < 100; ++i) {
        const auto begin = steady_clock::now();
        writer.add(std::to_string(i) + filler);
        ASSERT_LT(steady_clock::now() - begin, milliseconds(500));
        std::this_thread::sleep_for(milliseconds(i < 20 ? 5 : 0)); // let the pipe fill
    }
    EXPECT_FALSE(writer.flush(milliseconds(50)));

    std::thread adding([&] {
        writer.flush(kLong);
        writer.add("afterwards");
    });
    const Lines lines = pipe.readUntil("afterwards");
    adding.join();
    ASSERT_GT(lines.size(), 12U);
    const std::size_t kept = lines.size() - 2;
    for (std::size_t i = 0; i < kept; ++i) {
        EXPECT_EQ(lines[i], std::to_string(i) + filler);
    }
    EXPECT_EQ(lines[kept], std::to_string(100 - kept) + " diagnostic lines were lost");
    EXPECT_TRUE(writer.flush(kLong));
}

TEST(LineWriterTest, ReaderThatHasGoneRaisesNoSignal) {
    Pipe pipe;
    LineWriter writer(pipe.writer());
    pipe.closeReader();
    writer.add("to nobody");
    EXPECT_TRUE(writer.flush(kLong)) << "a failed write is no reason to wait";
}

TEST(LogLineTest, ProcessEndsWithAllLinesWritten) {
    const ShellRun run = runShell(LOG_LINE_PROBE " /dev/null 1000");
    EXPECT_EQ(run.status, 0);
    const Lines lines = Pipe::split(run.output);
    ASSERT_EQ(lines.size(), 1000U);
    EXPECT_EQ(lines.back(), "line 999" + std::string(200, '.'));
}

TEST(LogLineTest, ProcessEndsSoonThoughNobodyReads) {
    const Pipe pipe;
    const ShellRun run = runShell(LOG_LINE_PROBE " /dev/null 20000 >/proc/" +
                             std::to_string(::getpid()) + "/fd/" + std::to_string(pipe.writer()));
    EXPECT_EQ(run.status, 0);
    EXPECT_LT(run.time, milliseconds(5000));
}

TEST(LogLineTest, ClosedStandardOutputIsNotAnotherFilesNumber) {
    const TemporaryHome home;
    const auto file = home.path() / "take.wav";
    const ShellRun run = runShell(LOG_LINE_PROBE " " + file.string() + " 10 >&-");
    EXPECT_EQ(run.status, 0);
    EXPECT_EQ(std::filesystem::file_size(file), 0U);
}
