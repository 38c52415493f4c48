#pragma once

#include "render/loop/MainLoop.h"
#include "ui/widgets/SplitView.h"

#include <optional>

namespace ostrel {

// The mailboxes, the list and the page of the main window. Where there is not room for all three, the mailboxes fold
// away, and when they are asked for the page makes room for them. Where there is room for one column, it is the list
// until another one is asked for.
class ThreeColumns : public SplitView {
public:
    ThreeColumns(Gtk::Widget& mailboxes, Gtk::Widget& messages, Gtk::Widget& page);

    void toggleMailboxes();
    bool areMailboxesShown() const;
    // Where there is room for one column, this one; elsewhere nothing happens.
    enum class Column { mailboxes, messages, page };
    void showAlone(Column column);
    // nullopt: there is room for more than one.
    std::optional<Column> alone() const;
    // Columns came or went.
    sigc::signal<void()> signalFolded;

protected:
    void measure_vfunc(Gtk::Orientation orientation, int forSize, int& minimum, int& natural, int& minimumBaseline,
                       int& naturalBaseline) const override;
    void size_allocate_vfunc(int width, int height, int baseline) override;

private:
    enum class Room { one, two, three };
    static Room roomIn(int width);
    void setRoom(Room room);
    void fold();

    Gtk::Widget &mailboxes_, &messages_, &page_;
    SplitView messagesAndPage_;
    Room room_ = Room::three;
    Column alone_ = Column::messages;                         // where there is room for one
    bool isShownWhenThree_ = true, isShownWhenTwo_ = false;   // the mailboxes
    mainLoop::Timer folding_;
};

}   // namespace ostrel
