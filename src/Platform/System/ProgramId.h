#pragma once

namespace tessivo {

// By this the desktop knows the program: its menu entry, icon, windows and name on the session bus.
inline constexpr auto kProgramId = "org.tessivo.Tessivo";

} // namespace tessivo
