#pragma once

namespace ostrel::contact {

// Where people reach the makers.
inline constexpr const char* supportAddress = "support@ostrel.example";
inline constexpr const char* webSite = "https://ostrel.example";

}   // namespace ostrel::contact
