#pragma once

#include "Platform/Midi/MidiSystem.h"

#include <chrono>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace tessivo::midi {

// Which sources a server has, under references that survive its outages. Belongs to the
// thread, or the lock, of its owner.
//
// The connected source gets a little time to come back before its going is told, because the
// sound session takes its devices down a moment before the server when both are restarted.
// Until then, and until it is back after an outage, other news wait behind it: who hears that
// something has changed and does not find it in the list would take it for unplugged.
class SourceList {
public:
    using Clock = std::chrono::steady_clock;

    // Where a source is in the server's graph.
    struct Place {
        std::uint32_t node = 0;
        std::uint32_t port = 0;
    };
    struct Source {
        EndpointRef reference = 0;
        std::string name; // empty: its user knows none
        Place place;
        bool present = true;
        Clock::time_point missingUntil; // when its going is told, if it is not back by then
    };

    // A port that was away returns under its name; a name may be there several times.
    void appeared(const std::string& name, Place place);
    void disappeared(std::uint32_t port, Clock::time_point now);
    void serverLost();
    void serverBack(Clock::time_point now); // it has told all the ports that it has
    bool hasServer() const { return hasServer_; }

    // The one that is awaited when it is missing; 0 is none.
    void setConnected(EndpointRef source) { connected_ = source; }

    // Those that are present, in the order in which they appeared first.
    std::vector<const Source*> present() const;
    const Source* find(EndpointRef source) const; // only a present one

    // What may be told now. To be asked again from time to time while somethingIsMissing().
    std::vector<SetupChange> takeNews(Clock::time_point now);
    bool somethingIsMissing() const;

private:
    std::vector<Source> sources_;
    std::vector<SetupChange> news_;
    EndpointRef connected_ = 0;
    EndpointRef lastReference_ = 0;
    bool hasServer_ = false;
};

} // namespace tessivo::midi
