#pragma once

#include <filesystem>
#include <optional>

namespace tessivo {

// Marks a take, by a hidden file beside it, for as long as it is being recorded. Who finds a mark
// and nobody who has the take open knows that the program ended in the middle of it. A disk that
// takes no mark costs no take: it is only not found. Any thread; blocks on the disk.
class TakeMarker {
public:
    // The take's file is there, and stays open for longer than this lives.
    explicit TakeMarker(const std::filesystem::path& take);
    ~TakeMarker();
    TakeMarker(const TakeMarker&) = delete;
    TakeMarker& operator=(const TakeMarker&) = delete;

    // The newest take with sound in it that a program ended in the middle of. Forgets those
    // without.
    static std::optional<std::filesystem::path> findCutOff(const std::filesystem::path& folder);
    static void forget(const std::filesystem::path& take);

private:
    const std::filesystem::path take_;
};

} // namespace tessivo
