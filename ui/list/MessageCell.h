#pragma once

#include <optional>
#include <string>

#include <gtkmm/image.h>
#include <gtkmm/widget.h>
#include <pangomm/layout.h>

namespace ostrel {

// One cell of the message table: a line of text, cut off where the column ends, and a symbol behind it if wanted; a
// second line below it, where cells are told to have two. It
// draws its text itself: hundreds of cells are made at once, and labels take longer. Its size does not depend on what
// it shows, so that columns and rows stay as they are while the list scrolls.
class MessageCell : public Gtk::Widget {
public:
    struct Width {
        int minimum, ideal;   // pixels at the usual text size
        int least = 0;        // pixels at the user's text size
    };

    explicit MessageCell(Width width);

    void setText(const std::string& text);
    // In its place from now on, which may be empty; nullopt: there is none.
    void setSecondLine(const std::optional<std::string>& text);
    void setDigitsOfEqualWidth();
    // From the icon theme; spoken as the label says.
    void showSymbol(const char* iconName, const std::string& label);
    void hideSymbol();
    // Whether there is more than can be read.
    bool isCut() const { return text_->is_ellipsized() || (second_ && second_->is_ellipsized()); }

protected:
    Gtk::SizeRequestMode get_request_mode_vfunc() const override { return Gtk::SizeRequestMode::CONSTANT_SIZE; }
    void measure_vfunc(Gtk::Orientation orientation, int forSize, int& minimum, int& natural, int& minimumBaseline,
                       int& naturalBaseline) const override;
    void size_allocate_vfunc(int width, int height, int baseline) override;
    void snapshot_vfunc(const Glib::RefPtr<Gtk::Snapshot>& snapshot) override;

private:
    void tell();
    void draw(const Glib::RefPtr<Gtk::Snapshot>& snapshot, const Glib::RefPtr<Pango::Layout>& text, int y, int height);
    int lineHeight() const;
    bool isSymbolShown() const { return symbol_ && symbol_->get_visible(); }

    Width width_;
    Glib::RefPtr<Pango::Layout> text_, second_;   // second_: null without
    std::optional<Gtk::Image> symbol_;            // most cells never need one
};

}   // namespace ostrel
