#pragma once

#include "Audio/MIDIManager.h"
#include "support/QtTestSupport.h"
#include "support/VirtualMidi.h"

#include <gtest/gtest.h>

namespace tessivo::test {

using Actions = std::vector<std::optional<TransportAction>>;
using Bytes = std::vector<std::uint8_t>;

inline Bytes noteOn(std::uint8_t note) {
    return {0x90, note, 100};
}

// A manager with the sources of these names, and the main thread's loop in the test's hand.
struct ManagerRig {
    explicit ManagerRig(const std::vector<std::string>& names, bool started = true) {
        // The notices of the sources are over before the manager could hear of them.
        std::atomic<bool> quiet{false};
        auto observer = system->observeSources([&](midi::SetupChange change) {
            quiet = change == midi::SetupChange::propertyChanged;
        });
        for (const std::string& name : names) {
            sources.push_back(system->addSource(name));
        }
        system->notify(midi::SetupChange::propertyChanged);
        EXPECT_TRUE(eventually([&] { return quiet.load(); }));
        observer.reset();
        if (started) {
            start();
            lines.take();
        }
    }
    ~ManagerRig() {
        if (manager) {
            manager->onRecord = manager->onPlay = manager->onStop = manager->onClear = {};
        }
    }

    void start(std::size_t mostNotesOfKey = MIDIManager::kMostNotesOfKey) {
        manager = MIDIManager::make(system, mostNotesOfKey);
        QObject::connect(manager.get(), &ObservableObject::objectWillChange, &watching,
                         [this] { ++announced; });
        using M = MIDIManager;
        for (const auto changed :
             {&M::isConnectedChanged, &M::deviceNameChanged, &M::configurationChanged,
              &M::lastTriggeredActionChanged, &M::availableDevicesChanged,
              &M::isLearningModeChanged, &M::learningActionChanged}) {
            QObject::connect(manager.get(), changed, &watching,
                             [this] { EXPECT_EQ(++changes, announced) << "each is announced"; });
        }
        using Action = TransportAction;
        const auto noting = [this](Action action) {
            return [this, action] {
                triggered.emplace_back(action);
            };
        };
        manager->onRecord = noting(Action::record);
        manager->onPlay = noting(Action::play);
        manager->onStop = noting(Action::stop);
        runPosted();
    }

    // All lines up to the moment at which the MIDI thread has done all that was sent so far.
    Lines linesOfMidiThread() {
        const std::string last = "🔔 MIDI notification: 4";
        Lines said;
        system->notify(midi::SetupChange::propertyChanged);
        EXPECT_TRUE(eventually([&] {
            const Lines more = lines.take();
            said.insert(said.end(), more.begin(), more.end());
            return !said.empty() && said.back() == last;
        }));
        said.pop_back();
        return said;
    }
    // And what the main thread says to it.
    Lines played(const std::vector<Bytes>& packets, std::size_t source = 0) {
        EXPECT_TRUE(system->send(sources[source], packets));
        return said();
    }
    Lines said() {
        Lines all = linesOfMidiThread();
        runPosted();
        const Lines onMain = lines.take();
        all.insert(all.end(), onMain.begin(), onMain.end());
        return all;
    }
    bool isDisconnected() const {
        return !manager->isConnected() && !manager->deviceName() && system->connected() == 0;
    }
    bool isConnectedTo(std::size_t source, const QString& name) const {
        return manager->isConnected() && manager->deviceName() == name &&
               system->connected() == sources[source];
    }
    std::vector<QString> listed() const {
        std::vector<QString> names;
        for (const MIDISource& device : manager->availableDevices()) {
            names.push_back(device.name);
        }
        return names;
    }

    TemporaryHome home;
    CapturedLines lines;
    std::shared_ptr<midi::VirtualMidi> system = std::make_shared<midi::VirtualMidi>();
    std::vector<midi::SourceRef> sources;
    Actions triggered;
    int announced = 0; // writes of fields
    int changes = 0;
    std::shared_ptr<MIDIManager> manager;
    QObject watching;
};

} // namespace tessivo::test
