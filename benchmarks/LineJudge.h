#pragma once

#include "Platform/Sound/File/AudioFile.h"
#include "support/AppProcess.h"

#include <algorithm>
#include <chrono>
#include <filesystem>
#include <functional>
#include <stdexcept>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace tessivo::benchmark {

using Clock = std::chrono::steady_clock;

// Follows a program's lines: what they say must be possible after what they said before, each take
// must be there as long as they say it was, and what the window shows follows from them.
class LineJudge {
public:
    using Report = std::function<void(const std::string& fault)>;

    // Takes are looked for at the place that their line names, and then in the trash of that home.
    LineJudge(std::filesystem::path home, Report report)
        : home_(std::move(home))
        , report_(std::move(report)) {}

    // Another program has no loop and records nothing.
    void beginProgram() {
        linesRead_ = 0;
        isRecording_ = isPlaying_ = hasLoop_ = false;
    }
    void read(const test::AppProcess& app) {
        for (const auto& line : app.linesFrom(linesRead_)) {
            ++linesRead_;
            follow(line);
        }
    }
    // No take has to hold what is played from now on, until then.
    void beginExcuse() { excused_.emplace_back(Clock::now(), Clock::time_point::max()); }
    void endExcuse(Clock::time_point end) { excused_.back().second = end; }

    bool isRecording() const { return isRecording_; }
    // As the window's badge has it.
    const char* status() const {
        if (isRecording_) {
            return "Recording...";
        }
        return isPlaying_ ? "Playing Loop" : hasLoop_ ? "Paused" : "Press Record";
    }

    int takes() const { return takes_; }
    int saves() const { return saves_; }
    double soundSeconds() const { return sound_; }
    double mostMissing() const {
        return mostMissing_;
    } // seconds, of a take, beyond what is excused

    // Seconds of a file; 0 when it can be read and is empty. Throws when it cannot be read.
    static double lengthOf(const std::filesystem::path& file) {
        try {
            const sound::AudioFileReader reader(file);
            return static_cast<double>(reader.length()) / reader.format().sampleRate();
        } catch (const std::exception& error) {
            if (std::string_view(error.what()).find("holds no audio") == std::string_view::npos) {
                throw;
            }
            return 0.0;
        }
    }

private:
    using Line = test::AppProcess::Line;

    // Between the press and the line that it causes, on a busy machine.
    static constexpr double kTolerance = 0.3; // s

    void follow(const Line& line) {
        const auto says = [&](std::string_view text) {
            return line.text.find(text) != std::string::npos;
        };
        const auto onlyIf = [&](bool isPossible) {
            if (!isPossible) {
                report_("\"" + line.text + "\" contradicts \"" + status() + "\"");
            }
        };
        if (says("startRecording() called")) {
            pressed_ = line.at;
        } else if (says("[RECORDER] isRecording = true")) {
            onlyIf(!isRecording_ && !isPlaying_);
            isRecording_ = true;
            begun_ = pressed_;
        } else if (says("stopRecording() called")) {
            ended_ = line.at;
        } else if (says("Final recording URL: ")) {
            onlyIf(isRecording_);
            isRecording_ = false;
            hasLoop_ = true;
            judgeTake(line.text.substr(line.text.find("file://") + 7));
        } else if (line.text == "Playback started") {
            onlyIf(!isRecording_ && !isPlaying_ && hasLoop_);
            isPlaying_ = true;
        } else if (line.text == "Playback stopped") {
            onlyIf(!isRecording_);
            isPlaying_ = false;
        } else if (says("Loop cleared")) {
            onlyIf(!isRecording_ && hasLoop_);
            hasLoop_ = false;
        } else if (says("Successfully loaded loop") || says("Earlier take in use")) {
            onlyIf(!isRecording_ && !isPlaying_);
            hasLoop_ = true;
        } else if (says("Successfully saved loop")) {
            ++saves_;
        }
    }

    void judgeTake(const std::filesystem::path& path) {
        const double played = std::chrono::duration<double>(ended_ - begun_).count();
        const double excused = excusedSeconds();
        try {
            const double length = lengthAnywhere(path);
            const double missing = played - length - excused;
            ++takes_;
            sound_ += length;
            mostMissing_ = std::max(mostMissing_, missing);
            if (missing > kTolerance) {
                report_(path.filename().string() + " has " + std::to_string(length) + " s of " +
                        std::to_string(played) + " s, " + std::to_string(excused) + " s excused");
            }
        } catch (const std::exception& error) {
            report_(path.filename().string() + " cannot be read: " + error.what());
        }
    }

    double lengthAnywhere(const std::filesystem::path& path) const {
        try {
            return lengthOf(path);
        } catch (const std::exception&) {
            return lengthOf(home_ / ".local/share/Trash/files" / path.filename());
        }
    }

    // In the last take.
    double excusedSeconds() const {
        double seconds = 0.0;
        for (const auto& [begin, end] : excused_) {
            const std::chrono::duration<double> both =
                std::min(end, ended_) - std::max(begin, begun_);
            seconds += std::max(0.0, both.count());
        }
        return seconds;
    }

    const std::filesystem::path home_;
    const Report report_;
    std::size_t linesRead_ = 0;
    bool isRecording_ = false;
    bool isPlaying_ = false;
    bool hasLoop_ = false;
    Clock::time_point pressed_;
    Clock::time_point begun_; // the take
    Clock::time_point ended_;
    std::vector<std::pair<Clock::time_point, Clock::time_point>> excused_;
    int takes_ = 0;
    int saves_ = 0;
    double sound_ = 0.0;
    double mostMissing_ = 0.0;
};

} // namespace tessivo::benchmark
