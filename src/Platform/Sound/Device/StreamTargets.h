#pragma once

#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <vector>

struct spa_dict;

namespace tessivo::sound {

// What the server's session says of streams: the target that somebody has chosen for one, in a
// mixer or earlier, and where its links lead. Streams and devices are known by their ids in the
// registry. Belongs to one connection; used with its loop locked.
class StreamTargets {
public:
    // A link that has come, or an object that has gone.
    void addLink(std::uint32_t id, const spa_dict* properties);
    void remove(std::uint32_t id);

    // An entry of the session's metadata; a null value removes it. Returns whether a target was
    // meant. A null key comes when the stream goes, which is nobody's choice.
    bool setEntry(std::uint32_t stream, const char* key, const char* value);

    // As it was written: a device's serial number, its id or its name; "-1" where the default was
    // chosen. Nothing where nobody has chosen.
    struct Target {
        bool isId = false; // and no serial number
        std::string value;
    };
    std::optional<Target> targetOf(std::uint32_t stream) const;

    // The nodes whose output is linked to that stream.
    std::vector<std::uint32_t> sourcesOf(std::uint32_t stream) const;

private:
    struct Link {
        std::uint32_t output = 0; // nodes
        std::uint32_t input = 0;
    };
    struct Entries {
        std::string object; // a serial number or a name; it counts before the other
        std::string node;   // an id or a name
    };

    std::map<std::uint32_t, Link> links_;
    std::map<std::uint32_t, Entries> entries_;
};

} // namespace tessivo::sound
