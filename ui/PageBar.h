#pragma once

#include <cstddef>
#include <functional>
#include <string>

#include <gtkmm/box.h>
#include <gtkmm/button.h>
#include <gtkmm/label.h>
#include <gtkmm/searchentry.h>

namespace ostrel {

// Above the page: its size, the way to its file, and what is looked for in it.
class PageBar : public Gtk::Box {
public:
    PageBar();

    std::function<void(const std::string& text)> onFind;   // empty: no longer
    std::function<void(bool isBackward)> onFindNext;
    std::function<void()> onLeave;   // the focus goes back to the page
    std::function<void(double zoom)> onZoom;

    // Asks what to look for, or ends that.
    void startFinding();
    void stopFinding();
    bool isFinding() const { return finding_.get_visible(); }
    void showMatches(std::size_t count);

    double zoom() const { return zoom_; }
    // Within the sizes that make sense; 1: as wide as the view.
    void setZoom(double zoom);
    void zoomIn() { setZoom(zoom_ * step); }
    void zoomOut() { setZoom(zoom_ / step); }

private:
    static constexpr double step = 1.2;

    double zoom_ = 1;
    Gtk::Box commands_, finding_;
    Gtk::Button file_, find_, smaller_, size_, larger_, previous_, next_, close_;
    Gtk::SearchEntry text_;
    Gtk::Label matches_;
};

}   // namespace ostrel
