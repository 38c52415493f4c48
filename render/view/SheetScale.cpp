#include "render/view/SheetScale.h"

#include "render/engine/PageGeometry.h"
#include "render/view/EngineView.h"

#include <algorithm>
#include <array>
#include <chrono>
#include <string>

namespace ostrel {
namespace {

constexpr double rounding = 2;       // CSS pixels: the engine rounds what it measures at a scale
constexpr double nudge = 0.02;       // just more than the engine's smallest unit, 1/64
constexpr int widestInSheets = 20;   // print breaks the lines of what is wider
constexpr std::chrono::milliseconds dragging{40};

// Locale-free: a comma would end the declaration.
std::string number(double value) {
    std::array<char, G_ASCII_DTOSTR_BUF_SIZE> text;
    return g_ascii_formatd(text.data(), text.size(), "%.5f", value);
}

}   // namespace

void SheetScale::setPaper(PaperSize paper) {
    if (paper.width == paper_.width) return;
    paper_ = paper;
    apply();
}

void SheetScale::setViewWidth(int pixels) {
    if (pixels <= 0 || pixels == viewWidth_) return;
    const bool isFirst = viewWidth_ == 0;
    viewWidth_ = pixels;
    if (isFirst) return apply();
    // While the user drags, each width would lay out a long mail anew.
    resizing_ = mainLoop::Timer(dragging, [this] { apply(); });
}

// What stands in the middle stays there.
void SheetScale::setZoom(double zoom) {
    if (zoom == zoom_) return;
    const std::string factor = number(zoom / zoom_);
    zoom_ = zoom;
    apply();
    const std::string script = "scrollTo((scrollX + innerWidth / 2) * " + factor +
                               " - innerWidth / 2, (scrollY + innerHeight / 2) * " + factor + " - innerHeight / 2)";
    webkit_web_view_evaluate_javascript(view_, script.c_str(), -1, EngineView::isolatedWorld, nullptr, nullptr, nullptr,
                                        nullptr);
}

void SheetScale::begin() {
    if (contentWidth_ == 0) return;
    contentWidth_ = 0;
    apply();
}

void SheetScale::measured(double contentWidth, double room, double scrollBarWidth) {
    if (viewWidth_ == 0) return;
    const double wide = contentWidth > std::max(paperWidth(), room) + rounding ? contentWidth : 0;
    const double bar = std::max(scrollBar_, scrollBarWidth > 1 ? scrollBarWidth * scale_ : 0);
    if (wide == contentWidth_ && bar == scrollBar_) return;
    contentWidth_ = std::min(wide, paperWidth() * widestInSheets);
    scrollBar_ = bar;
    apply();
}

double SheetScale::paperWidth() const {
    return static_cast<int>(pageGeometry::printableWidth(paper_) * pageGeometry::layoutPixelsPerPoint) + padding;
}

// The engine's own zoom makes the page's window as wide as the sheet, which is what its media queries ask about. But it
// keeps small letters from getting smaller, and lines would break elsewhere: so the layout is taken back to its full
// size, and what is painted is made smaller instead.
void SheetScale::apply() {
    resizing_ = {};
    if (viewWidth_ == 0) return;
    const double sheet = std::max(contentWidth_, paperWidth());
    scale_ = std::max(1.0, viewWidth_ - scrollBar_) / sheet;
    // More specific than the rules that keep the mail from doing the same (PageFrame.cpp).
    const std::string rule = "html:root:root{zoom:" + number(1 / scale_) + " !important;width:" + number(sheet) +
                             "px !important;min-width:0 !important;max-width:none !important;box-sizing:border-box "
                             "!important;transform:scale(" +
                             number(scale_ * zoom_) +
                             ") !important;transform-origin:0 0 !important;scrollbar-gutter:stable !important}";
    WebKitUserContentManager* content = webkit_web_view_get_user_content_manager(view_);
    if (style_) webkit_user_content_manager_remove_style_sheet(content, style_.get());
    style_.reset(webkit_user_style_sheet_new(rule.c_str(), WEBKIT_USER_CONTENT_INJECT_TOP_FRAME,
                                             WEBKIT_USER_STYLE_LEVEL_USER, nullptr, nullptr));
    webkit_user_content_manager_add_style_sheet(content, style_.get());
    webkit_web_view_set_zoom_level(view_, scale_);
}

}   // namespace ostrel
