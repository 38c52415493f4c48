#pragma once

#include "render/loop/MainLoop.h"
#include "ui/widgets/SplitView.h"

namespace ostrel {

// The mailboxes, the list and the page of the main window. Where there is not room for all three, the mailboxes fold
// away, and when they are asked for the page makes room for them.
class ThreeColumns : public SplitView {
public:
    ThreeColumns(Gtk::Widget& mailboxes, Gtk::Widget& messages, Gtk::Widget& page);

    void toggleMailboxes();
    sigc::signal<void(bool)> signalMailboxes;   // whether they are shown now

protected:
    void measure_vfunc(Gtk::Orientation orientation, int forSize, int& minimum, int& natural, int& minimumBaseline,
                       int& naturalBaseline) const override;
    void size_allocate_vfunc(int width, int height, int baseline) override;

private:
    void setNarrow(bool isNarrow);
    void fold();

    Gtk::Widget &mailboxes_, &messages_, &page_;
    SplitView messagesAndPage_;
    bool isNarrow_ = false;
    bool isShownWhenWide_ = true, isShownWhenNarrow_ = false;   // the mailboxes
    mainLoop::Timer folding_;
};

}   // namespace ostrel
