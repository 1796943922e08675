#pragma once

namespace tessivo::pipewire {

// Who we are to the server, its mixers and its session manager, which remembers volumes and targets
// by the id: it stays the same for ever.
inline constexpr const char* kApplicationId = "org.tessivo.Tessivo";
inline constexpr const char* kApplicationName = "Tessivo";

} // namespace tessivo::pipewire
