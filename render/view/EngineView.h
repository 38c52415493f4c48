#pragma once

#include "render/engine/NavigationPolicy.h"
#include "render/loop/GRef.h"

#include <functional>
#include <memory>
#include <string>
#include <string_view>

#include <webkit/webkit.h>

// One web view set up the way every view of Ostrel is: nothing stored, no page scripts, no windows, no media, no load
// from anywhere. Printing and preview share it, so both show the same. Main thread only.
namespace ostrel {

class EngineView {
public:
    // opensOutside gets the web and mail addresses that the reader clicks; empty where links do not open.
    using LinkOpener = std::function<void(const std::string& url)>;
    explicit EngineView(LinkOpener opensOutside = {});
    EngineView(const EngineView&) = delete;
    EngineView& operator=(const EngineView&) = delete;
    ~EngineView();

    WebKitWebView* web() const { return view_.get(); }

    // The world in which scripts of ours run, out of the page's sight: for webkit_web_view_evaluate_javascript.
    static constexpr const char* isolatedWorld = "ostrel";

    // Before the first load; null: the engine goes on without the list.
    void install(WebKitUserContentFilter* offlineRules);
    // The margins that the pages of this view get when printed, whatever the page itself asks for, in points. False
    // when they had these before.
    bool setPageMargins(double verticalPoints, double horizontalPoints);
    // Loads a page from its text, of any size and content; a message page stands in its frame (PageFrame.h), with the
    // padding given around it. Relative addresses lead nowhere. One load at a time: the next one waits until this one
    // is committed or has failed.
    void load(std::string html, std::string_view padding = {});
    // Whether a load "failed" only because it was not to go on: the page wanted to be elsewhere, or was replaced.
    static bool isRefusal(const GError* error);

private:
    static gboolean decidePolicy(WebKitWebView*, WebKitPolicyDecision*, WebKitPolicyDecisionType, gpointer) noexcept;
    bool setUserStyles(const std::string& pageRule, std::string_view otherRules);   // false: they are these already
    void setFrame(const std::string& script);                                       // empty: none

    GRef<WebKitUserContentManager> content_;
    GRef<WebKitWebView> view_;
    LinkOpener opensOutside_;
    std::string pageRule_;
    std::string otherRules_;
    std::string styleSource_;   // of the next
    std::unique_ptr<WebKitUserStyleSheet, Releaser<webkit_user_style_sheet_unref>> styles_;
    std::unique_ptr<WebKitUserScript, Releaser<webkit_user_script_unref>> frame_;
    bool isOurOwnLoad_ = false;   // until the engine has asked about it
    SignalHandler policy_;
};

}   // namespace ostrel
