#pragma once

#include "core/export/Paper.h"
#include "render/loop/GRef.h"
#include "render/loop/MainLoop.h"

#include <memory>

#include <webkit/webkit.h>

namespace ostrel {

// Lays a view's page out as print does, on a sheet of paper, and scales the sheet to the width of the view: lines break
// where they break in the PDF, and nothing has to be scrolled sideways. Until it is told how wide the view is it leaves
// the page as the engine shows it. Main thread only.
class SheetScale {
public:
    // The view outlives this.
    explicit SheetScale(WebKitWebView* view) : view_(view) {}

    void setPaper(PaperSize paper);
    void setViewWidth(int pixels);
    // 1: the sheet is as wide as the view.
    void setZoom(double zoom);
    // Another page: nothing is known of its width.
    void begin();
    // How wide the content of the page is, what room it has, and the scroll bar beside that, in CSS pixels of the page.
    void measured(double contentWidth, double room, double scrollBarWidth);

    // What surrounds the content on the sheet, left and right together, in CSS pixels.
    static constexpr int padding = 2 * 22;

private:
    double paperWidth() const;
    void apply();

    WebKitWebView* view_;
    PaperSize paper_ = paperSize(Paper::a4);
    int viewWidth_ = 0;         // 0: not known yet
    double scrollBar_ = 0;      // in pixels of the view
    double contentWidth_ = 0;   // 0: not wider than the paper
    double scale_ = 1, zoom_ = 1;
    mainLoop::Timer resizing_;
    std::unique_ptr<WebKitUserStyleSheet, Releaser<webkit_user_style_sheet_unref>> style_;
};

}   // namespace ostrel
