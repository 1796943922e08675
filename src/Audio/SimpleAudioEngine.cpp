#include "Audio/SimpleAudioEngine.h"

#include "Audio/SimplePlayer.h"
#include "Audio/SimpleRecorder.h"
#include "Platform/System/LogLine.h"
#include "Platform/System/MainQueue.h"

#include <QPointer>

#include <algorithm>
#include <cmath>
#include <string>
#include <utility>

namespace tessivo {
namespace {

constexpr std::uint32_t kTapBufferFrames = 2048;

} // namespace

SimpleAudioEngine::SimpleAudioEngine(std::unique_ptr<sound::AudioDevice> device)
    : audioEngine_(
          std::move(device), [](auto task) { MainQueue::post(std::move(task)); },
          [](const std::string& line) { logLine(line); })
    , monitoringMixerNode_(std::make_shared<sound::MixerNode>()) {
    logLine("Audio session setup for macOS (automatic)");
    setupAudioEngine();
    setupDeviceChangeMonitoring();
}

SimpleAudioEngine::~SimpleAudioEngine() {
    stop();
}

void SimpleAudioEngine::setupAudioEngine() {
    audioEngine_.attach(monitoringMixerNode_);
    const sound::AudioFormat input = inputNode().inputFormat();
    const sound::AudioFormat output = audioEngine_.outputNode().inputFormat();
    logLine("🎛️ [ENGINE] Input format: " + input.description());
    logLine("🎛️ [ENGINE] Output format: " + output.description());
    if (input.sampleRate() != output.sampleRate()) {
        logLine("🚨 [ENGINE] SAMPLE RATE MISMATCH DETECTED!");
        logLine("🚨 [ENGINE] Input: " + sound::rateText(input.sampleRate()) +
                "Hz, Output: " + sound::rateText(output.sampleRate()) + "Hz");
        logLine("🚨 [ENGINE] This will cause performance issues and frame size errors");
        logLine("🎛️ [ENGINE] Attempting to use preferred sample rate: " +
                sound::rateText(std::max(input.sampleRate(), output.sampleRate())) + "Hz");
    }

    if (input.channelCount() < 3) {
        logLine("🎛️ [ENGINE] Channel count OK - direct connection");
    } else {
        logLine("🎛️ [ENGINE] High channel count detected: " +
                std::to_string(input.channelCount()) + " channels");
        logLine("🎛️ [ENGINE] Using selective channel approach to avoid frame size errors");
        const auto stereo = sound::AudioFormat::standard(input.sampleRate(), 2);
        if (!stereo) {
            logLine("❌ [ENGINE] Failed to create stereo input format");
            return;
        }
        logLine("🎛️ [ENGINE] Using stereo input format: " + stereo->description());
    }
    audioEngine_.connect(inputNode(), *monitoringMixerNode_);
    audioEngine_.connect(*monitoringMixerNode_, *audioEngine_.mainMixerNode());

    logLine("🎛️ [ENGINE] Starting with input format: " + input.description());
    logLine("🎛️ [ENGINE] Input format settings: " + input.settings().description());
    monitoringMixerNode_->setOutputVolume(0.0F);
    logLine("🎛️ [ENGINE] Enabling level monitoring");
    enableLevelMonitoring();
    logLine("🎛️ [ENGINE] Audio engine setup completed");
}

void SimpleAudioEngine::setupDeviceChangeMonitoring() {
    audioEngine_.setConfigurationChangeHandler([this] { handleConfigurationChange(); });
}

void SimpleAudioEngine::handleConfigurationChange() {
    logLine("🔄 [ENGINE] Audio configuration changed!");
    const sound::AudioFormat format = inputNode().outputFormat();
    logLine("🔄 [ENGINE] New input format: " + format.description());
    logLine("🔄 [ENGINE] New format settings: " + format.settings().description());
    if (recorder_ && recorder_->isRecording()) {
        logLine("🔄 [ENGINE] ⚠️ Device change detected during recording!");
        logLine("🔄 [ENGINE] Current recording would need to be restarted with new format");
        logLine("🔄 [ENGINE] This is why inputFormat.settings is queried fresh each recording");
    } else {
        logLine("🔄 [ENGINE] ✅ Not recording - next recording will use new format "
                "automatically");
    }
    emit devicesChanged();
}

void SimpleAudioEngine::start() {
    if (audioEngine_.isRunning()) {
        return;
    }
    const sound::AudioFormat format = inputNode().outputFormat();
    logLine("🎛️ [ENGINE] Starting with input format: " + format.description());
    logLine("🎛️ [ENGINE] Input format settings: " + format.settings().description());
    audioEngine_.start();
    publish(isEngineRunning_, true);
    enableLevelMonitoring();
    logLine("🎛️ [ENGINE] Audio engine started successfully");
}

void SimpleAudioEngine::stop() {
    if (!audioEngine_.isRunning()) {
        return;
    }
    inputNode().removeTap();
    inputNode().setMeter(0, {});
    audioEngine_.stop();
    publish(isEngineRunning_, false);
    logLine("Audio engine stopped");
}

void SimpleAudioEngine::enableLevelMonitoring() {
    logLine("🎛️ [ENGINE] Enabling level monitoring");
    isLevelMonitoringEnabled_ = true;
    updateTapHandler();
}

void SimpleAudioEngine::holdRecording(Moment since) {
    inputNode().hold(since);
}

void SimpleAudioEngine::releaseRecording() {
    inputNode().release();
}

void SimpleAudioEngine::enableRecording(sound::TapHandler recordingHandler, Moment since) {
    logLine("🎛️ [ENGINE] Enabling recording in unified tap");
    isRecordingActive_ = true;
    const sound::AudioFormat format = inputNode().outputFormat();
    logLine("🎛️ [ENGINE] Installing unified tap with format: " + format.description());
    inputNode().installTap(kTapBufferFrames, format, std::move(recordingHandler), since);
}

std::optional<std::int64_t> SimpleAudioEngine::disableRecording(Moment until) {
    logLine("🎛️ [ENGINE] Disabling recording in unified tap");
    isRecordingActive_ = false;
    const auto length = inputNode().removeTap(until);
    updateTapHandler();
    return length;
}

void SimpleAudioEngine::updateTapHandler() {
    if (isRecordingActive_ || !isLevelMonitoringEnabled_) {
        return;
    }
    logLine("🎛️ [ENGINE] Installing unified tap with format: " +
            inputNode().outputFormat().description());
    inputNode().setMeter(kTapBufferFrames, makeLevelHandler());
}

sound::MeterBlock SimpleAudioEngine::makeLevelHandler() {
    return [self = QPointer(this)](const auto& buffer, bool isOver) {
        MainQueue::post([self, level = calculateLevel(buffer), isOver] {
            if (!self) {
                return;
            }
            self->publish(self->inputLevel_, level, &SimpleAudioEngine::inputLevelChanged);
            if (isOver) {
                emit self->inputPeaked();
            }
        });
    };
}

float SimpleAudioEngine::calculateLevel(const sound::AudioPCMBuffer& buffer) {
    if (!buffer.hasFloatChannelData() || buffer.frameLength() == 0) {
        return 0.0F;
    }
    float sum = 0.0F;
    for (const float sample : buffer.channel(0)) {
        sum += std::abs(sample);
    }
    return sum / static_cast<float>(buffer.frameLength());
}

void SimpleAudioEngine::setInputMonitoring(bool enabled) {
    monitoringMixerNode_->setOutputVolume(enabled ? 1.0F : 0.0F);
    audioEngine_.setShortCycles(enabled);
    logLine(std::string("🎛️ [ENGINE] Input monitoring ") + (enabled ? "enabled" : "disabled"));
}

SimpleRecorder& SimpleAudioEngine::createRecorder() {
    logLine("🎛️ [ENGINE] createRecorder() called");
    if (recorder_) {
        logLine("🎛️ [ENGINE] Returning existing recorder instance");
    } else {
        logLine("🎛️ [ENGINE] Creating new recorder instance");
        recorder_ = std::make_unique<SimpleRecorder>(*this);
    }
    return *recorder_;
}

SimplePlayer& SimpleAudioEngine::createPlayer() {
    if (!player_) {
        player_ = std::make_unique<SimplePlayer>(audioEngine_);
    }
    return *player_;
}

} // namespace tessivo
