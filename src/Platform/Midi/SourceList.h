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
// Until then, and over an outage, it stays in the list, and other news wait behind it: who looks
// into the list for whatever reason and does not find it there would take it for unplugged. One
// whose going was told and that is back before anybody disconnected it is the same source again.
class SourceList {
public:
    using Clock = std::chrono::steady_clock;

    // Where a source is in the server's graph.
    struct Place {
        std::uint32_t node = 0;
        std::uint32_t port = 0;

        friend bool operator==(const Place&, const Place&) = default;
    };
    struct Source {
        EndpointRef reference = 0;
        std::string name; // empty: its user knows none
        Place place;
        bool present = true;
        bool told = false;              // that it has gone; only the connected one is kept then
        Clock::time_point missingUntil; // when its going is told, if it is not back by then
    };

    // A port that was away returns under its name; a name may be there several times.
    void appeared(const std::string& name, Place place);
    void disappeared(std::uint32_t port, Clock::time_point now);
    void serverLost();
    void serverBack(Clock::time_point now); // it has told all the ports that it has
    bool hasServer() const { return hasServer_; }

    // The one that is awaited when it is missing; 0 is none.
    void setConnected(EndpointRef source);

    // Those that are present or awaited, in the order in which they appeared first.
    std::vector<const Source*> listed() const;
    const Source* findListed(EndpointRef source) const;
    const Source* findPresent(EndpointRef source) const;

    // What may be told now. To be asked again from time to time while somethingIsMissing().
    std::vector<SetupChange> takeNews(Clock::time_point now);
    bool somethingIsMissing() const;

private:
    bool isAwaited(const Source& source) const;

    std::vector<Source> sources_;
    std::vector<SetupChange> news_;
    EndpointRef connected_ = 0;
    EndpointRef lastReference_ = 0;
    bool hasServer_ = false;
};

} // namespace tessivo::midi
