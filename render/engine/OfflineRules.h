#pragma once

#include <functional>
#include <string_view>

#include <webkit/webkit.h>

namespace ostrel {

// The engine's own block list: no load over the network or from the disk begins, whatever a page asks for.
constexpr const char* offlineRulesName = "OstrelOffline";
constexpr std::string_view offlineRulesJSON = R"([{"trigger":{"url-filter":"^https?:"},"action":{"type":"block"}},)"
                                              "\n "
                                              R"({"trigger":{"url-filter":"^ftp:"},"action":{"type":"block"}},)"
                                              "\n "
                                              R"({"trigger":{"url-filter":"^wss?:"},"action":{"type":"block"}},)"
                                              "\n "
                                              R"({"trigger":{"url-filter":"^file:"},"action":{"type":"block"}}])";
static_assert(offlineRulesJSON.size() == 256);

// Hands over the compiled list, or null when it could not be compiled; the engine then goes on without it. Compiled
// once per process; later calls answer at once, within the call. Main thread only.
void withOfflineRules(std::function<void(WebKitUserContentFilter*)> use);

}   // namespace ostrel
