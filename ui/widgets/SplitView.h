#pragma once

#include <gtkmm/paned.h>

namespace ostrel {

// Two columns with a handle between them. The first keeps the width that the user gave it, however wide the window
// is, as far as there is room; the second takes the rest.
class SplitView : public Gtk::Paned {
public:
    struct Width {
        int ideal, maximum;   // of the first column; the least is what its widget asks for. 0: no maximum
    };
    explicit SplitView(Width width);
    // Where there is not room for both, the first leaves the second as much if it can.
    void leaveSecond(int width);
    // Of what it is wider than this, the first gets half.
    void shareBeyond(int width) { sharedFrom_ = width; }
    void setColumns(Gtk::Widget& first, Gtk::Widget& second);

protected:
    void size_allocate_vfunc(int width, int height, int baseline) override;

private:
    void removeHandle();
    void positionChanged();
    int shareOf(int width) const;

    int wanted_, maximum_, forSecond_ = 0, sharedFrom_ = 0;
    int allocated_ = 0;
    bool isAllocating_ = false;
};

}   // namespace ostrel
