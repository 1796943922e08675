#include "Platform/Midi/SourceList.h"

#include <algorithm>
#include <utility>

namespace tessivo::midi {

namespace {

using namespace std::chrono_literals;

// Longer than it takes a session manager and then its server to stop, too short for a person to
// notice.
constexpr auto kBounceTime = 500ms;
// After the server's return, the devices come back one by one.
constexpr auto kReturnTime = 5s;

} // namespace

void SourceList::appeared(const std::string& name, Place place) {
    const auto known = std::find_if(sources_.begin(), sources_.end(), [&name](const Entry& s) {
        return !s.present && s.name == name;
    });
    if (known != sources_.end()) {
        known->place = place;
        known->present = true;
        known->removalTold = false;
    } else {
        sources_.push_back({++lastReference_, name, place, true, false, {}});
    }
    notices_.push_back(SetupChange::objectAdded);
}

void SourceList::disappeared(std::uint32_t port, Clock::time_point now) {
    const auto found = std::find_if(sources_.begin(), sources_.end(), [port](const Entry& s) {
        return s.present && s.place.port == port;
    });
    if (found == sources_.end()) {
        return;
    }
    if (found->reference == connected_) {
        found->present = false;
        found->missingUntil = now + kBounceTime;
    } else {
        sources_.erase(found);
        notices_.push_back(SetupChange::objectRemoved);
    }
}

void SourceList::serverLost() {
    hasServer_ = false;
    for (Entry& source : sources_) {
        source.present = false;
    }
}

void SourceList::serverBack(Clock::time_point now) {
    hasServer_ = true;
    for (Entry& source : sources_) {
        source.missingUntil = now + kReturnTime;
    }
}

void SourceList::setConnected(SourceRef source) {
    connected_ = source;
    std::erase_if(sources_,
                  [source](const Entry& s) { return s.removalTold && s.reference != source; });
}

bool SourceList::isAwaited(const Entry& source) const {
    return !source.present && !source.removalTold && source.reference == connected_;
}

std::vector<const SourceList::Entry*> SourceList::listed() const {
    std::vector<const Entry*> all;
    for (const Entry& source : sources_) {
        if (source.present || isAwaited(source)) {
            all.push_back(&source);
        }
    }
    return all;
}

const SourceList::Entry* SourceList::findListed(SourceRef source) const {
    const auto all = listed();
    const auto found = std::find_if(all.begin(), all.end(),
                                    [source](const Entry* s) { return s->reference == source; });
    return found != all.end() ? *found : nullptr;
}

const SourceList::Entry* SourceList::findPresent(SourceRef source) const {
    const Entry* const found = findListed(source);
    return found != nullptr && found->present ? found : nullptr;
}

std::vector<SetupChange> SourceList::takeNotices(Clock::time_point now) {
    if (!hasServer_) {
        return {};
    }
    for (Entry& source : sources_) {
        if (!source.present && !source.removalTold && now >= source.missingUntil) {
            source.removalTold = true;
            notices_.push_back(SetupChange::objectRemoved);
        }
    }
    setConnected(connected_); // forgets the others whose removal is told
    const bool awaited = std::any_of(sources_.begin(), sources_.end(),
                                     [this](const Entry& s) { return isAwaited(s); });
    return awaited ? std::vector<SetupChange>{} : std::exchange(notices_, {});
}

bool SourceList::somethingIsMissing() const {
    return std::any_of(sources_.begin(), sources_.end(),
                       [](const Entry& source) { return !source.present && !source.removalTold; });
}

} // namespace tessivo::midi
