#pragma once

#include "app/AppModel.h"
#include "render/loop/MainLoop.h"
#include "render/view/WebPreview.h"
#include "ui/widgets/EmptyState.h"

#include <memory>
#include <vector>

#include <gtkmm/box.h>
#include <gtkmm/label.h>
#include <gtkmm/overlay.h>
#include <gtkmm/spinner.h>
#include <gtkmm/stack.h>

namespace ostrel {

// The selected message as it will look on paper. Its page stays until that of the next message has come.
class PreviewPane : public Gtk::Overlay {
public:
    // opener gets the addresses that the reader clicks.
    PreviewPane(AppModel& model, WebPreview::LinkOpener opener);

private:
    void show();
    void makePreview();
    void showProgress();
    Gtk::Widget& page();

    AppModel& model_;
    WebPreview::LinkOpener opener_;
    Gtk::Stack pages_;
    EmptyState empty_;
    Gtk::Box blank_;         // where the first page takes its time
    Gtk::Label status_;      // for screen readers: the page itself tells them nothing when it comes
    Gtk::Spinner spinner_;   // for the others
    bool isLoading_ = false, isLate_ = false;
    mainLoop::Timer patience_;
    std::unique_ptr<WebPreview> preview_;   // made with the first page: it starts the engine
    std::vector<Subscription> subscriptions_;
};

}   // namespace ostrel
