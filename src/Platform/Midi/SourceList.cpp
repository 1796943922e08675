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
    } else {
        sources_.push_back({++lastReference_, name, place, true, {}});
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

std::vector<const SourceList::Source*> SourceList::present() const {
    std::vector<const Source*> all;
    for (const Source& source : sources_) {
        if (source.present) {
            all.push_back(&source);
        }
    }
    return all;
}

const SourceList::Source* SourceList::find(EndpointRef source) const {
    const auto found = std::find_if(sources_.begin(), sources_.end(), [source](const Source& s) {
        return s.present && s.reference == source;
    });
    return found != sources_.end() ? &*found : nullptr;
}

std::vector<SetupChange> SourceList::takeNews(Clock::time_point now) {
    if (!hasServer_) {
        return {};
    }
    const std::size_t gone = std::erase_if(sources_, [now](const Source& source) {
        return !source.present && now >= source.missingUntil;
    });
    news_.insert(news_.end(), gone, SetupChange::objectRemoved);
    const bool awaited = std::any_of(sources_.begin(), sources_.end(), [this](const Source& s) {
        return !s.present && s.reference == connected_;
    });
    return awaited ? std::vector<SetupChange>{} : std::exchange(news_, {});
}

bool SourceList::somethingIsMissing() const {
    return std::any_of(sources_.begin(), sources_.end(),
                       [](const Source& source) { return !source.present; });
}

} // namespace tessivo::midi
