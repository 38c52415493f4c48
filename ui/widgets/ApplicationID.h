#pragma once

namespace ostrel {

// The application's name on the desktop: its desktop entry, icons, resources and bus name go by it.
inline constexpr const char* applicationID = "io.github.ostrel.Ostrel";

}   // namespace ostrel
