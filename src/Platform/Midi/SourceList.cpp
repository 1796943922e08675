#include "Platform/Midi/SourceList.h"

#include <algorithm>
#include <utility>

namespace tessivo::midi {

namespace {

using namespace std::chrono_literals;

// Longer than a session manager and its server need to stop one after the other, shorter than
// a person needs to notice.
constexpr auto kBounceTime = 500ms;
// Devices come back one by one after the server.
constexpr auto kReturnTime = 5s;

} // namespace

void SourceList::appeared(const std::string& name, Place place) {
    const auto known = std::find_if(sources_.begin(), sources_.end(), [&name](const Source& s) {
        return !s.present && s.name == name;
    });
    if (known != sources_.end()) {
        known->place = place;
        known->present = true;
        known->told = false;
    } else {
        sources_.push_back({++lastReference_, name, place, true, false, {}});
    }
    news_.push_back(SetupChange::objectAdded);
}

void SourceList::disappeared(std::uint32_t port, Clock::time_point now) {
    const auto found = std::find_if(sources_.begin(), sources_.end(), [port](const Source& s) {
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
        news_.push_back(SetupChange::objectRemoved);
    }
}

void SourceList::serverLost() {
    hasServer_ = false;
    for (Source& source : sources_) {
        source.present = false;
    }
}

void SourceList::serverBack(Clock::time_point now) {
    hasServer_ = true;
    for (Source& source : sources_) {
        source.missingUntil = now + kReturnTime;
    }
}

void SourceList::setConnected(EndpointRef source) {
    connected_ = source;
    std::erase_if(sources_, [source](const Source& s) { return s.told && s.reference != source; });
}

bool SourceList::isAwaited(const Source& source) const {
    return !source.present && !source.told && source.reference == connected_;
}

std::vector<const SourceList::Source*> SourceList::listed() const {
    std::vector<const Source*> all;
    for (const Source& source : sources_) {
        if (source.present || isAwaited(source)) {
            all.push_back(&source);
        }
    }
    return all;
}

const SourceList::Source* SourceList::findListed(EndpointRef source) const {
    const auto all = listed();
    const auto found = std::find_if(all.begin(), all.end(),
                                    [source](const Source* s) { return s->reference == source; });
    return found != all.end() ? *found : nullptr;
}

const SourceList::Source* SourceList::findPresent(EndpointRef source) const {
    const Source* const found = findListed(source);
    return found != nullptr && found->present ? found : nullptr;
}

std::vector<SetupChange> SourceList::takeNews(Clock::time_point now) {
    if (!hasServer_) {
        return {};
    }
    for (Source& source : sources_) {
        if (!source.present && !source.told && now >= source.missingUntil) {
            source.told = true;
            news_.push_back(SetupChange::objectRemoved);
        }
    }
    setConnected(connected_); // forgets the others of which that was told
    const bool awaited = std::any_of(sources_.begin(), sources_.end(),
                                     [this](const Source& s) { return isAwaited(s); });
    return awaited ? std::vector<SetupChange>{} : std::exchange(news_, {});
}

bool SourceList::somethingIsMissing() const {
    return std::any_of(sources_.begin(), sources_.end(),
                       [](const Source& source) { return !source.present && !source.told; });
}

} // namespace tessivo::midi
