#pragma once

#include "app/AppModel.h"
#include "render/loop/MainLoop.h"
#include "render/view/WebPreview.h"
#include "ui/PageBar.h"
#include "ui/widgets/EmptyState.h"

#include <functional>
#include <memory>
#include <vector>

#include <gtkmm/box.h>
#include <gtkmm/label.h>
#include <gtkmm/overlay.h>
#include <gtkmm/spinner.h>
#include <gtkmm/stack.h>

namespace ostrel {

// The selected message as it will look on paper. Its page stays until that of the next message has come.
class PreviewPane : public Gtk::Box {
public:
    // opener gets the addresses that the reader clicks.
    PreviewPane(AppModel& model, WebPreview::LinkOpener opener);

    // Asks what to look for in the message, if one is shown.
    void find();
    bool isFinding() const { return bar_.isFinding(); }
    // The page gets the keyboard, now or when there is one.
    void focusPage();
    void zoomIn() { bar_.zoomIn(); }
    void zoomOut() { bar_.zoomOut(); }
    void fitWidth() { bar_.setZoom(1); }

private:
    // Tells how wide it is; a box would not, its layout is another object's.
    class Pages : public Gtk::Stack {
    public:
        std::function<void(int)> onWidth;

    protected:
        void size_allocate_vfunc(int width, int height, int baseline) override;
    };

    void addBar();
    void addZoomGestures(Gtk::Widget& page);
    void show();
    void makePreview();
    void showProgress();
    void showLink(const std::string& url);
    bool hasPage() const;
    Gtk::Widget& page();

    AppModel& model_;
    WebPreview::LinkOpener opener_;
    PageBar bar_;
    Gtk::Overlay overlay_;
    Pages pages_;
    EmptyState empty_;
    Gtk::Box blank_;         // where the first page takes its time
    Gtk::Label status_;      // for screen readers: the page itself tells them nothing when it comes
    Gtk::Spinner spinner_;   // for the others
    Gtk::Label link_;        // where it leads
    double pinched_ = 1;     // the zoom at the start of a pinch
    bool isLoading_ = false, isLate_ = false, isAwaited_ = false;
    mainLoop::Timer patience_;
    std::unique_ptr<WebPreview> preview_;   // made with the first page: it starts the engine
    std::vector<Subscription> subscriptions_;
};

}   // namespace ostrel
