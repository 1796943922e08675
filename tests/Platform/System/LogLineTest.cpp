#include "Platform/System/LineWriter.h"
#include "support/QtTestSupport.h"

#include <gtest/gtest.h>

#include <array>
#include <cstdio>
#include <fcntl.h>
#include <sstream>
#include <thread>
#include <unistd.h>
#include <utility>

using namespace tessivo;
using namespace tessivo::test;
using std::chrono::milliseconds;
using std::chrono::steady_clock;

namespace {

constexpr milliseconds kLong{10000};

Lines split(const std::string& text) {
    Lines lines;
    std::istringstream stream(text);
    for (std::string line; std::getline(stream, line);) {
        lines.push_back(line);
    }
    return lines;
}

struct Pipe {
    Pipe() { EXPECT_EQ(::pipe2(ends.data(), O_CLOEXEC), 0); }
    ~Pipe() {
        ::close(ends[0]);
        ::close(ends[1]);
    }
    Pipe(const Pipe&) = delete;
    Pipe& operator=(const Pipe&) = delete;

    Lines readUntil(const std::string& last) const {
        std::string text;
        char next = 0;
        while (!text.ends_with("\n" + last + "\n") && ::read(ends[0], &next, 1) == 1) {
            text += next;
        }
        return split(text);
    }

    std::array<int, 2> ends{-1, -1};
};

// Runs a program that logs; returns its lines and checks that it ends well.
Lines linesOfProbe(const std::string& arguments) {
    FILE* pipe = ::popen((LOG_LINE_PROBE " " + arguments).c_str(), "r");
    std::string output;
    std::array<char, 4096> part{};
    while (const std::size_t count = std::fread(part.data(), 1, part.size(), pipe)) {
        output.append(part.data(), count);
    }
    EXPECT_EQ(::pclose(pipe), 0);
    return split(output);
}

} // namespace

TEST(LineWriterTest, KeepsLinesOfManyThreadsWholeAndInOrder) {
    const Pipe pipe;
    LineWriter writer(pipe.ends[1]);
    std::vector<std::thread> threads;
    for (char name = 'a'; name < 'e'; ++name) {
        threads.emplace_back([&writer, name] {
            for (int i = 0; i < 200; ++i) {
                writer.add(std::string(50, name) + std::to_string(i));
            }
        });
    }
    for (auto& thread : threads) {
        thread.join();
    }
    writer.add("two\nlines\r\x1b[2J\u009bm\xc2z\u00a0ü\t\x7f.");
    const Lines lines = pipe.readUntil("two lines  [2J m\xc2z\u00a0ü\t .");
    ASSERT_EQ(lines.size(), 801U);
    std::array<int, 4> next{};
    for (std::size_t i = 0; i < 800; ++i) {
        const char name = lines[i].front();
        const int number = next.at(static_cast<std::size_t>(name - 'a'))++;
        EXPECT_EQ(lines[i], std::string(50, name) + std::to_string(number));
    }
}

TEST(LineWriterTest, StuckReaderCostsLinesOnlyAndTheirNumberIsSaidInTheirPlace) {
    const Pipe pipe;
    ::fcntl(pipe.ends[1], F_SETPIPE_SZ, 4096);
    LineWriter writer(pipe.ends[1], 10);
    const std::string filler(1000, '.');
    const auto begin = steady_clock::now();
    for (int i = 0; i < 100; ++i) {
        writer.add(std::to_string(i) + filler);
        std::this_thread::sleep_for(milliseconds(i < 20 ? 5 : 0)); // let the pipe fill
    }
    EXPECT_FALSE(writer.flush(milliseconds(50)));
    EXPECT_LT(steady_clock::now() - begin, milliseconds(2000));

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
}

TEST(LineWriterTest, ReaderThatHasGoneEndsNothing) {
    Pipe pipe;
    LineWriter writer(pipe.ends[1]);
    ::close(std::exchange(pipe.ends[0], -1));
    writer.add("for nobody");
    EXPECT_TRUE(writer.flush(kLong));
}

TEST(LogLineTest, ProcessEndsWithItsLinesWrittenOrSoon) {
    const Lines lines = linesOfProbe("/dev/null 1000");
    ASSERT_EQ(lines.size(), 1000U);
    EXPECT_EQ(lines.back(), "line 999" + std::string(200, '.'));

    const Pipe unread;
    const auto begin = steady_clock::now();
    linesOfProbe("/dev/null 20000 >/proc/" + std::to_string(::getpid()) + "/fd/" +
                 std::to_string(unread.ends[1]));
    EXPECT_LT(steady_clock::now() - begin, milliseconds(5000));
}

TEST(LogLineTest, ClosedStandardOutputIsNotAnotherFilesNumber) {
    const TemporaryFolder folder;
    linesOfProbe((folder / "take.wav").string() + " 10 >&-");
    EXPECT_EQ(std::filesystem::file_size(folder / "take.wav"), 0U);
}
