#include "render/view/WebPreview.h"

#include "EmbeddedFiles.h"
#include "render/engine/OfflineRules.h"
#include "render/loop/GRef.h"
#include "render/loop/MainLoop.h"
#include "render/view/EngineView.h"
#include "render/view/SheetScale.h"

#include <algorithm>
#include <array>
#include <cassert>
#include <string_view>
#include <utility>
#include <vector>

namespace ostrel {

namespace {

constexpr std::string_view paddingRule = "body{background:#fff;padding:18px 22px}";
constexpr std::string_view padding = "18px 22px";
constexpr std::string_view styleEnd = "</style>";

// What the menu of the second button offers: the rest would leave the page, load something or save it unasked.
constexpr std::array keptMenuEntries = {WEBKIT_CONTEXT_MENU_ACTION_COPY, WEBKIT_CONTEXT_MENU_ACTION_SELECT_ALL,
                                        WEBKIT_CONTEXT_MENU_ACTION_COPY_LINK_TO_CLIPBOARD,
                                        WEBKIT_CONTEXT_MENU_ACTION_COPY_IMAGE_TO_CLIPBOARD};

// Paper knows no dark style, so the preview shows none either. Print leaves it out by itself. The view is transparent
// at first: a page that paints no ground of its own would be written over the one before.
constexpr const char* lightStyle = "*{color-scheme:only light !important}html{background:#fff}";
constexpr const char* lightScript = R"js(
const groups = [...document.styleSheets];
const lighten = media => {
    if (!/prefers-color-scheme/i.test(media.mediaText)) return;
    media.mediaText = media.mediaText.replace(/\(\s*prefers-color-scheme\s*:\s*dark\s*\)/gi, '(min-width: 999999px)')
        .replace(/\(\s*prefers-color-scheme\s*:\s*light\s*\)/gi, '(min-width: 0)');
};
while (groups.length) {
    const group = groups.pop();
    if (group.media) lighten(group.media);
    let rules;
    try { rules = group.cssRules; } catch {}
    for (const rule of rules || []) if (rule.cssRules) groups.push(rule);
}
)js";

void stayLight(WebKitUserContentManager* content) {
    const std::unique_ptr<WebKitUserStyleSheet, Releaser<webkit_user_style_sheet_unref>> style(
        webkit_user_style_sheet_new(lightStyle, WEBKIT_USER_CONTENT_INJECT_ALL_FRAMES, WEBKIT_USER_STYLE_LEVEL_USER,
                                    nullptr, nullptr));
    webkit_user_content_manager_add_style_sheet(content, style.get());
    // In a world of its own: page scripts stay off.
    const std::unique_ptr<WebKitUserScript, Releaser<webkit_user_script_unref>> script(webkit_user_script_new_for_world(
        lightScript, WEBKIT_USER_CONTENT_INJECT_TOP_FRAME, WEBKIT_USER_SCRIPT_INJECT_AT_DOCUMENT_END,
        EngineView::isolatedWorld, nullptr, nullptr));
    webkit_user_content_manager_add_script(content, script.get());
}

// What is read of a page: more than a screen reader says in one go, less than takes time.
constexpr const char* longestText = "2000";

const std::string& readingScript() {
    static const std::string made = "(() => {\n" + std::string(embedded::own_document_js) +
                                    std::string(embedded::read_page_js) + "return readPage(" + longestText + ");\n})()";
    return made;
}

void tellLinks(WebKitUserContentManager* content) {
    const std::string source = "(() => {\n" + std::string(embedded::tell_links_js) + "tellLinks();\n})()";
    const std::unique_ptr<WebKitUserScript, Releaser<webkit_user_script_unref>> script(webkit_user_script_new_for_world(
        source.c_str(), WEBKIT_USER_CONTENT_INJECT_TOP_FRAME, WEBKIT_USER_SCRIPT_INJECT_AT_DOCUMENT_START,
        EngineView::isolatedWorld, nullptr, nullptr));
    webkit_user_content_manager_add_script(content, script.get());
    webkit_user_content_manager_register_script_message_handler(content, "link", EngineView::isolatedWorld);
}

// TRUE: no menu at all.
gboolean reduceMenu(WebKitWebView*, WebKitContextMenu* menu, WebKitHitTestResult*, gpointer) noexcept {
    std::vector<WebKitContextMenuItem*> dropped;
    for (GList* entry = webkit_context_menu_get_items(menu); entry; entry = entry->next) {
        const auto item = static_cast<WebKitContextMenuItem*>(entry->data);
        if (std::ranges::find(keptMenuEntries, webkit_context_menu_item_get_stock_action(item)) ==
            keptMenuEntries.end())
            dropped.push_back(item);
    }
    for (WebKitContextMenuItem* item : dropped) webkit_context_menu_remove(menu, item);
    return webkit_context_menu_get_n_items(menu) == 0;
}

// The engine looks up key bindings with a text view among its children, which cannot be seen; the Tab key would go on
// from the page into it and never leave it.
void keepFocusOut(GListModel* children, guint position, guint, guint added, gpointer) noexcept {
    for (guint i = position; i < position + added; ++i) {
        const auto child = GRef<GtkWidget>::adopt(static_cast<GtkWidget*>(g_list_model_get_item(children, i)));
        if (GTK_IS_TEXT_VIEW(child.get())) gtk_widget_set_can_focus(child.get(), FALSE);
    }
}

}   // namespace

// One load at a time, so that the engine's reports are always about the one we think of:
//
//   idle -> beginning (the engine has not taken the page yet) -> loading -> idle
//
// A page that comes meanwhile waits for the end of "beginning", which is short or ended by force.
class WebPreview::View {
public:
    View(WebPreview& owner, LinkOpener opensOutside, PreviewPatience patience)
        : owner_(owner), patience_(patience), engine_(std::move(opensOutside)) {
        setBackground({});   // what is behind the view, until there is a page
        WebKitUserContentManager* content = webkit_web_view_get_user_content_manager(engine_.web());
        stayLight(content);
        tellLinks(content);
        keepFocusOut(children_.get(), 0, 0, g_list_model_get_n_items(children_.get()), nullptr);
        signals_ = {SignalHandler(children_.get(), "items-changed", G_CALLBACK(keepFocusOut), nullptr),
                    SignalHandler(engine_.web(), "load-changed", G_CALLBACK(loadChanged), this),
                    SignalHandler(engine_.web(), "load-failed", G_CALLBACK(loadFailed), this),
                    SignalHandler(engine_.web(), "web-process-terminated", G_CALLBACK(processEnded), this),
                    SignalHandler(engine_.web(), "context-menu", G_CALLBACK(reduceMenu), nullptr),
                    SignalHandler(engine_.web(), "mouse-target-changed", G_CALLBACK(pointerMoved), this),
                    SignalHandler(content, "script-message-received::link", G_CALLBACK(focusMoved), this),
                    SignalHandler(finder(), "found-text", G_CALLBACK(found), this),
                    SignalHandler(finder(), "failed-to-find-text", G_CALLBACK(notFound), this)};
    }

    // The widget may be kept by others, and what it shows must not outlive its limits.
    ~View() {
        signals_ = {};
        webkit_web_view_terminate_web_process(engine_.web());
    }

    GtkWidget* widget() const { return GTK_WIDGET(engine_.web()); }

    bool update(const std::string& html) {
        if (shown_ && *shown_ == html) return false;
        shown_ = std::make_shared<const std::string>(html);
        if (phase_ != Phase::beginning) begin();
        return true;
    }

    const std::string& text() const { return text_; }
    SheetScale& scale() { return scale_; }

    void find(const std::string& text) {
        if (text.empty()) return webkit_find_controller_search_finish(finder());
        webkit_find_controller_search(
            finder(), text.c_str(), WEBKIT_FIND_OPTIONS_CASE_INSENSITIVE | WEBKIT_FIND_OPTIONS_WRAP_AROUND, G_MAXUINT);
    }
    WebKitFindController* finder() const { return webkit_web_view_get_find_controller(engine_.web()); }

private:
    enum class Phase { idle, beginning, loading };

    void begin() {
        phase_ = Phase::beginning;
        // The engine compiles its rules once for all views; what is asked before that waits.
        withOfflineRules([this, alive = std::weak_ptr(alive_)](WebKitUserContentFilter* rules) {
            if (alive.expired()) return;
            if (rules && !isBlocking_) engine_.install(rules);
            isBlocking_ = isBlocking_ || rules;
            load();
        });
    }

    void load() {
        loading_ = shown_;
        limit_ = mainLoop::Timer(isStarted_ ? patience_.next : patience_.start, [this] { giveUp(); });
        engine_.load(withPadding(*loading_), padding);
    }

    void committed() {
        isStarted_ = true;
        attempts_ = 0;
        if (loading_ != shown_) return begin();
        phase_ = Phase::loading;
        setBackground({1, 1, 1, 1});   // also below the end of the sheet
        text_.clear();
        tellLink("");
        scale_.begin();
        limit_ = mainLoop::Timer(patience_.limits.load + patience_.limits.perMegabyte * (loading_->size() / 1'000'000),
                                 [this] { giveUp(); });
    }

    void setBackground(const GdkRGBA& colour) { webkit_web_view_set_background_color(engine_.web(), &colour); }

    // The scale depends on what the page has become, and the page is told as loaded when it has its scale.
    void read() {
        struct Asked {
            View* view;
            std::weak_ptr<int> alive;
            std::shared_ptr<const std::string> page;
        };
        const auto answered = [](GObject* web, GAsyncResult* result, gpointer data) noexcept {
            const std::unique_ptr<Asked> asked(static_cast<Asked*>(data));
            const auto value = GRef<JSCValue>::adopt(
                webkit_web_view_evaluate_javascript_finish(WEBKIT_WEB_VIEW(web), result, nullptr));
            if (asked->alive.expired()) return;
            View& self = *asked->view;
            if (self.phase_ != Phase::loading || self.loading_ != asked->page) return;
            if (value && jsc_value_is_object(value.get())) self.take(value.get());
            self.finish();
        };
        const std::string& script = readingScript();
        webkit_web_view_evaluate_javascript(engine_.web(), script.c_str(), static_cast<gssize>(script.size()),
                                            EngineView::isolatedWorld, nullptr, nullptr, answered,
                                            std::make_unique<Asked>(Asked{this, alive_, loading_}).release());
    }

    void take(JSCValue* answer) {
        const auto property = [&](const char* name) {
            return GRef<JSCValue>::adopt(jsc_value_object_get_property(answer, name));
        };
        const auto number = [&](const char* name) { return jsc_value_to_double(property(name).get()); };
        text_ = GChars(jsc_value_to_string(property("text").get())).get();
        scale_.measured(number("width"), number("room"), number("bar"));
    }

    void tellLink(const std::string& url) const {
        if (owner_.onLink) owner_.onLink(url);
    }

    // The process is busy with this page or the one before, perhaps for ever.
    void giveUp() {
        webkit_web_view_terminate_web_process(engine_.web());
        startAfresh();
    }

    // After the end of the process. What it had not begun with may have been lost by the fault of the page before.
    void startAfresh() {
        isStarted_ = false;
        if (phase_ == Phase::beginning && ++attempts_ < maxAttempts) return begin();
        shown_ = nullptr;   // who asks for this page again gets another try
        finish();
    }

    void finish() {
        phase_ = Phase::idle;
        attempts_ = 0;
        limit_ = {};
        if (owner_.onLoaded) owner_.onLoaded();
    }

    static void loadChanged(WebKitWebView*, WebKitLoadEvent event, gpointer data) noexcept {
        auto& self = *static_cast<View*>(data);
        if (event == WEBKIT_LOAD_COMMITTED && self.phase_ == Phase::beginning) self.committed();
        if (event == WEBKIT_LOAD_FINISHED && self.phase_ == Phase::loading) self.read();
    }

    static gboolean loadFailed(WebKitWebView*, WebKitLoadEvent, const char*, GError* error, gpointer data) noexcept {
        auto& self = *static_cast<View*>(data);
        if (self.phase_ != Phase::idle && !EngineView::isRefusal(error)) self.finish();
        return TRUE;   // no error page
    }

    static void processEnded(WebKitWebView*, WebKitWebProcessTerminationReason reason, gpointer data) noexcept {
        if (reason != WEBKIT_WEB_PROCESS_TERMINATED_BY_API) static_cast<View*>(data)->startAfresh();
    }

    static void pointerMoved(WebKitWebView*, WebKitHitTestResult* hit, guint, gpointer data) noexcept {
        const char* url = webkit_hit_test_result_context_is_link(hit) ? webkit_hit_test_result_get_link_uri(hit) : "";
        static_cast<View*>(data)->tellLink(url ? url : "");
    }

    static void focusMoved(WebKitUserContentManager*, JSCValue* url, gpointer data) noexcept {
        static_cast<View*>(data)->tellLink(GChars(jsc_value_to_string(url)).get());
    }

    static void found(WebKitFindController*, guint matches, gpointer data) noexcept {
        if (const auto& tell = static_cast<View*>(data)->owner_.onFound) tell(matches);
    }

    static void notFound(WebKitFindController*, gpointer data) noexcept {
        if (const auto& tell = static_cast<View*>(data)->owner_.onFound) tell(0);
    }

    static constexpr int maxAttempts = 2;

    WebPreview& owner_;
    const PreviewPatience patience_;
    std::shared_ptr<const std::string> shown_, loading_;   // given last, and what the engine was given
    Phase phase_ = Phase::idle;
    int attempts_ = 0;          // that the engine did not begin with
    bool isStarted_ = false;    // the process has shown that it lives
    bool isBlocking_ = false;   // the offline rules are installed
    std::string text_;
    EngineView engine_;
    SheetScale scale_{engine_.web()};
    GRef<GListModel> children_ = GRef<GListModel>::adopt(gtk_widget_observe_children(GTK_WIDGET(engine_.web())));
    mainLoop::Timer limit_;
    std::array<SignalHandler, 9> signals_;
    std::shared_ptr<int> alive_ = std::make_shared<int>();
};

WebPreview::WebPreview(LinkOpener opensOutside, PreviewPatience patience)
    : view_(std::make_unique<View>(*this, std::move(opensOutside), patience)) {
    assert(mainLoop::isMainThread());
}

WebPreview::~WebPreview() { assert(mainLoop::isMainThread()); }

GtkWidget* WebPreview::widget() const { return view_->widget(); }

bool WebPreview::update(const std::string& html) { return view_->update(html); }

const std::string& WebPreview::text() const { return view_->text(); }

void WebPreview::setPaper(PaperSize paper) { view_->scale().setPaper(paper); }

void WebPreview::setWidth(int pixels) { view_->scale().setViewWidth(pixels); }

void WebPreview::setZoom(double zoom) { view_->scale().setZoom(zoom); }

void WebPreview::find(const std::string& text) { view_->find(text); }

void WebPreview::findNext() { webkit_find_controller_search_next(view_->finder()); }

void WebPreview::findPrevious() { webkit_find_controller_search_previous(view_->finder()); }

std::string WebPreview::withPadding(std::string html) {
    if (const auto end = html.find(styleEnd); end != std::string::npos) html.insert(end, paddingRule);
    return html;
}

}   // namespace ostrel
