#pragma once

#include "core/export/Paper.h"
#include "render/engine/PrintLimits.h"

#include <chrono>
#include <cstddef>
#include <functional>
#include <memory>
#include <string>

typedef struct _GtkWidget GtkWidget;

namespace ostrel {

// How long a page may keep the engine before its process is ended and a new one takes over.
struct PreviewPatience {
    std::chrono::milliseconds next = std::chrono::milliseconds(1500);   // to begin with another page
    std::chrono::milliseconds start = std::chrono::seconds(20);         // to begin with its first page
    PrintLimits limits;                                                 // load: to the end of a page
};

// Shows a message page as it will be printed: the engine set up the same way, offline, page scripts off, light on a
// dark desktop too, and the lines of the sheet of paper, which is as wide as the view. Whatever a page does to the
// engine's process, the window goes on and the next page is shown.
//
// Main thread only. The widget may outlive this, and then shows nothing.
class WebPreview {
public:
    // Gets the web and mail addresses that the reader clicks; the view itself stays on its page.
    using LinkOpener = std::function<void(const std::string& url)>;
    explicit WebPreview(LinkOpener opensOutside, PreviewPatience patience = {});
    WebPreview(const WebPreview&) = delete;
    WebPreview& operator=(const WebPreview&) = delete;
    ~WebPreview();

    GtkWidget* widget() const;
    // Shows the page. A page that is shown already is not loaded again; of several in quick succession the last is
    // shown. Whether a load has begun, whose end onLoaded tells.
    bool update(const std::string& html);
    // The page given last is loaded, or the engine has failed on it.
    std::function<void()> onLoaded;

    // How the page begins, in plain text without what is not shown. Empty until it is loaded.
    const std::string& text() const;

    // A4 unless told.
    void setPaper(PaperSize paper);
    // Pixels that the widget has, each time that it gets another width.
    void setWidth(int pixels);
    // 1: the sheet is as wide as the view.
    void setZoom(double zoom);

    // Marks what reads so, whatever its case, and goes to the first; onFound tells how many there are. An empty text
    // ends it.
    void find(const std::string& text);
    void findNext();
    void findPrevious();
    std::function<void(std::size_t matches)> onFound;

    // Where the link leads that is under the pointer or has the keyboard; empty: none.
    std::function<void(const std::string& url)> onLink;

    // The page as it is loaded: with the margins that paper has anyway.
    static std::string withPadding(std::string html);

private:
    class View;
    std::unique_ptr<View> view_;
};

}   // namespace ostrel
