#include "render/view/EngineView.h"

#include "render/engine/MemoryCeiling.h"
#include "render/engine/ReducedFonts.h"
#include "render/loop/MainLoop.h"
#include "render/view/PageFrame.h"

#include <array>
#include <cassert>
#include <cmath>
#include <memory>
#include <string_view>
#include <utility>

namespace ostrel {
namespace {

// Ligatures turn "office" into a word that a search for "office" misses. On html alone the rule would not be inherited
// past elements that set a font.
// Where the engine has no bold face for a character it would make one up and print it as drawings, in twice the room
// and with letters that no search finds: WebKitGTK 2.54 does so for every script that it takes from another font. A
// page without any height is no page to the print job.
constexpr std::string_view userStyles =
    "*{font-variant-ligatures:no-common-ligatures !important;font-synthesis-weight:none !important}"
    "body{min-height:1px !important}";

// As long as tabs have a width the engine remembers none of words in text that keeps its spaces: it takes three times
// as long to lay out a plain mail. Where there are no tabs nobody sees a difference.
constexpr std::string_view tabsAreNothing = "*{tab-size:0 !important}";

// A page of ours has no address but this.
constexpr std::string_view placeOfPage = "about:blank#";

// As they are, as references ("&#9;", "&#x09;", "&Tab;") or as escapes in style sheets ("\9 ").
bool mayHaveTabs(std::string_view html) {
    if (html.find('\t') != std::string_view::npos) return true;
    constexpr std::string_view digits = "09xXtT";
    for (auto at = html.find_first_of("&\\"); at != std::string_view::npos; at = html.find_first_of("&\\", at + 1)) {
        const auto after = html.substr(at + 1, 2);
        const auto digit = after.starts_with('#') ? after.substr(1) : after.substr(0, 1);
        if (!digit.empty() && digits.find(digit[0]) != std::string_view::npos) return true;
    }
    return false;
}

GRef<WebKitSettings> makeSettings() {
    const auto settings = GRef<WebKitSettings>::adopt(webkit_settings_new());
    // Scripts in the page stay dead, ours in an isolated world still run; enable-javascript would end both.
    g_object_set(settings.get(),                                       //
                 "enable-javascript-markup", FALSE,                    //
                 "javascript-can-open-windows-automatically", FALSE,   //
                 "enable-media", FALSE,                                //
                 "enable-webaudio", FALSE,                             //
                 "enable-webgl", FALSE,                                //
                 "enable-webrtc", FALSE,                               //
                 "enable-media-stream", FALSE,                         //
                 "enable-mediasource", FALSE,                          //
                 "enable-encrypted-media", FALSE,                      //
                 "media-playback-requires-user-gesture", TRUE,         //
                 "enable-html5-local-storage", FALSE,                  //
                 "enable-html5-database", FALSE,                       //
                 "enable-dns-prefetching", FALSE,                      //
                 "enable-page-cache", FALSE,                           //
                 "enable-site-specific-quirks", FALSE,                 //
                 "enable-fullscreen", FALSE,                           //
                 "print-backgrounds", TRUE,                            //
                 "hardware-acceleration-policy", WEBKIT_HARDWARE_ACCELERATION_POLICY_NEVER, nullptr);
    return settings;
}

// One context for all views: each would start processes of its own.
WebKitWebContext* sharedContext() {
    static WebKitWebContext* const kept = [] {
        // One page at a time does not need the caches of a browser: beyond half of this the engine empties them.
        constexpr guint megabytes = 120;
        const std::unique_ptr<WebKitMemoryPressureSettings, Releaser<webkit_memory_pressure_settings_free>> pressure(
            webkit_memory_pressure_settings_new());
        webkit_memory_pressure_settings_set_memory_limit(pressure.get(), megabytes);
        webkit_memory_pressure_settings_set_poll_interval(pressure.get(), 5);    // seconds
        webkit_memory_pressure_settings_set_kill_threshold(pressure.get(), 0);   // never: memoryCeiling does
        WebKitWebContext* context = WEBKIT_WEB_CONTEXT(
            g_object_new(WEBKIT_TYPE_WEB_CONTEXT, "memory-pressure-settings", pressure.get(), nullptr));
        webkit_web_context_set_cache_model(context, WEBKIT_CACHE_MODEL_DOCUMENT_VIEWER);
        webkit_web_context_set_spell_checking_enabled(context, FALSE);
        memoryCeiling::keep();
        // The engine compares the path with the real one of the home folder, and crashes where there is none.
        const auto& fonts = reducedFonts::providedFolder();
        if (fonts && g_file_test(g_get_home_dir(), G_FILE_TEST_IS_DIR))
            webkit_web_context_add_path_to_sandbox(context, fonts->c_str(), TRUE);
        return context;
    }();
    return kept;
}

// The default print back ends look for printers on the network at every print. Only the one that writes files is
// wanted, and nothing that we print belongs in the user's list of recent files.
void settleToolkit() {
    static const bool once = [] {
        g_object_set(gtk_settings_get_default(), "gtk-print-backends", "file", "gtk-recent-files-enabled", FALSE,
                     nullptr);
        if (!g_get_application_name()) g_set_application_name("Ostrel");
        return true;
    }();
    static_cast<void>(once);
}

// The engine forgets a world that nothing holds and makes another of that name for the next script, but its web process
// keeps them all, with objects for each in every page: with WebKitGTK 2.54 six hundred mails took four times as long
// and as much memory. A style sheet holds its world, whether it is used or not.
void holdIsolatedWorld() {
    static WebKitUserStyleSheet* const kept =
        webkit_user_style_sheet_new_for_world("", WEBKIT_USER_CONTENT_INJECT_TOP_FRAME, WEBKIT_USER_STYLE_LEVEL_USER,
                                              EngineView::isolatedWorld, nullptr, nullptr);
    static_cast<void>(kept);
}

// Locale-free: a comma would end the declaration.
std::string points(double value) {
    std::array<char, G_ASCII_DTOSTR_BUF_SIZE> text;
    return std::string(g_ascii_formatd(text.data(), text.size(), "%.3f", value)) + "pt";
}

}   // namespace

EngineView::EngineView(LinkOpener opensOutside) : opensOutside_(std::move(opensOutside)) {
    assert(mainLoop::isMainThread());
    settleToolkit();
    holdIsolatedWorld();
    content_ = GRef<WebKitUserContentManager>::adopt(webkit_user_content_manager_new());
    const auto session = GRef<WebKitNetworkSession>::adopt(webkit_network_session_new_ephemeral());
    const auto settings = makeSettings();
    view_ = GRef<WebKitWebView>::retain(WEBKIT_WEB_VIEW(
        g_object_new(WEBKIT_TYPE_WEB_VIEW, "web-context", sharedContext(), "network-session", session.get(), "settings",
                     settings.get(), "user-content-manager", content_.get(), nullptr)));
    policy_ = SignalHandler(view_.get(), "decide-policy", G_CALLBACK(decidePolicy), this);
    setUserStyles("", "");
}

EngineView::~EngineView() { assert(mainLoop::isMainThread()); }

void EngineView::install(WebKitUserContentFilter* offlineRules) {
    if (offlineRules) webkit_user_content_manager_add_filter(content_.get(), offlineRules);
}

bool EngineView::setPageMargins(double verticalPoints, double horizontalPoints) {
    const std::string rule = "@page{margin:" + points(verticalPoints) + " " + points(horizontalPoints) + " !important}";
    return setUserStyles(rule, otherRules_);
}

bool EngineView::setUserStyles(const std::string& pageRule, std::string_view otherRules) {
    pageRule_ = pageRule;
    otherRules_ = otherRules;
    const std::string source = std::string(userStyles).append(otherRules) + pageRule;
    if (source == styleSource_) return false;
    styleSource_ = source;
    if (styles_) webkit_user_content_manager_remove_style_sheet(content_.get(), styles_.get());   // only ours
    styles_.reset(webkit_user_style_sheet_new(source.c_str(), WEBKIT_USER_CONTENT_INJECT_ALL_FRAMES,
                                              WEBKIT_USER_STYLE_LEVEL_USER, nullptr, nullptr));
    webkit_user_content_manager_add_style_sheet(content_.get(), styles_.get());
    return true;
}

void EngineView::setFrame(const std::string& script) {
    if (frame_) webkit_user_content_manager_remove_script(content_.get(), frame_.get());
    frame_.reset();
    if (script.empty()) return;
    frame_.reset(webkit_user_script_new_for_world(script.c_str(), WEBKIT_USER_CONTENT_INJECT_TOP_FRAME,
                                                  WEBKIT_USER_SCRIPT_INJECT_AT_DOCUMENT_END, isolatedWorld, nullptr,
                                                  nullptr));
    webkit_user_content_manager_add_script(content_.get(), frame_.get());
}

void EngineView::load(std::string html, std::string_view padding) {
    assert(mainLoop::isMainThread());
    auto framed = pageFrame::framed(html, padding);
    setFrame(framed ? framed->script : "");
    std::string rules(framed ? pageFrame::userStyles : "");
    if (framed) html = std::move(framed->document);
    if (html.empty()) html = "\n";   // the engine refuses no bytes at all
    if (!mayHaveTabs(html)) rules += tabsAreNothing;
    setUserStyles(pageRule_, rules);
    // Not load_html, which ends the page at a NUL.
    const auto page = new std::string(std::move(html));
    const GBytesPtr bytes(g_bytes_new_with_free_func(
        page->data(), page->size(), [](gpointer text) { delete static_cast<std::string*>(text); }, page));
    isOurOwnLoad_ = true;
    webkit_web_view_load_bytes(view_.get(), bytes.get(), "text/html", "UTF-8", nullptr);
}

bool EngineView::isRefusal(const GError* error) {
    return g_error_matches(error, WEBKIT_POLICY_ERROR, WEBKIT_POLICY_ERROR_FRAME_LOAD_INTERRUPTED_BY_POLICY_CHANGE) ||
           g_error_matches(error, WEBKIT_NETWORK_ERROR, WEBKIT_NETWORK_ERROR_CANCELLED);
}

gboolean EngineView::decidePolicy(WebKitWebView*, WebKitPolicyDecision* decision, WebKitPolicyDecisionType type,
                                  gpointer data) noexcept {
    if (type == WEBKIT_POLICY_DECISION_TYPE_RESPONSE) return FALSE;
    auto& self = *static_cast<EngineView*>(data);
    WebKitNavigationAction* action =
        webkit_navigation_policy_decision_get_navigation_action(WEBKIT_NAVIGATION_POLICY_DECISION(decision));
    const char* uri = webkit_uri_request_get_uri(webkit_navigation_action_get_request(action));
    const std::string url = uri ? uri : "";
    const bool isClick = webkit_navigation_action_get_navigation_type(action) == WEBKIT_NAVIGATION_TYPE_LINK_CLICKED;
    // To a place of the page itself: the engine scrolls there, nothing is loaded.
    if (isClick && url.starts_with(placeOfPage) && type == WEBKIT_POLICY_DECISION_TYPE_NAVIGATION_ACTION) {
        webkit_policy_decision_use(decision);
        return TRUE;
    }
    const auto answer = navigationPolicy(url, isClick, self.opensOutside_ ? OpenLinks::yes : OpenLinks::no);
    if (answer.opensOutside) self.opensOutside_(url);
    // A page may not leave itself for an empty one either (a refresh to about:blank or about:srcdoc), nor get a new
    // window. That leaves frames without content, which no cleaned mail has.
    const bool isPage = std::exchange(self.isOurOwnLoad_, false);
    if (answer.isAllowed && isPage && type == WEBKIT_POLICY_DECISION_TYPE_NAVIGATION_ACTION) {
        webkit_policy_decision_use(decision);
    } else {
        webkit_policy_decision_ignore(decision);
    }
    return TRUE;
}

}   // namespace ostrel
