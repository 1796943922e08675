#pragma once

#include "Platform/Midi/MidiSystem.h"

#include <chrono>
#include <cstdint>
#include <string>
#include <vector>

namespace tessivo::midi {

// The sources of a server, under references that survive its outages, and the notices of what
// changes. Not synchronised: used by one thread, or under a lock of the owner.
//
// The removal of the connected source is reported after a short delay, because a sound server that
// is restarted removes its devices a moment before it goes itself. Until then, and while the server
// is away, the source stays listed and all notices wait, because a listener drops a source that is
// not listed. A source whose removal was reported and that comes back before it is disconnected
// keeps its reference.
class SourceList {
public:
    using Clock = std::chrono::steady_clock;

    // Where a source is in the server's graph.
    struct Place {
        std::uint32_t node = 0;
        std::uint32_t port = 0;

        friend bool operator==(const Place&, const Place&) = default;
    };
    struct Entry {
        SourceRef reference = 0;
        std::string name; // empty when it has none for its user
        Place place;
        bool present = true;
        bool removalTold = false;       // its removal; only the connected one is kept then
        Clock::time_point missingUntil; // when its removal is told, unless it is back
    };

    // A port takes the place of a missing source of its name; several may have the same name.
    void appeared(const std::string& name, Place place);
    void disappeared(std::uint32_t port, Clock::time_point now);
    void serverLost();
    void serverBack(Clock::time_point now); // all its ports have appeared
    bool hasServer() const { return hasServer_; }

    // 0 is none. The connected source is awaited when it is missing.
    void setConnected(SourceRef source);

    // The present and the awaited ones, in the order of their first appearance.
    std::vector<const Entry*> listed() const;
    const Entry* findListed(SourceRef source) const;
    const Entry* findPresent(SourceRef source) const;

    // The notices that are due. To be polled while somethingIsMissing().
    std::vector<SetupChange> takeNotices(Clock::time_point now);
    bool somethingIsMissing() const;

private:
    bool isAwaited(const Entry& source) const;

    std::vector<Entry> sources_;
    std::vector<SetupChange> notices_;
    SourceRef connected_ = 0;
    SourceRef lastReference_ = 0;
    bool hasServer_ = false;
};

} // namespace tessivo::midi
