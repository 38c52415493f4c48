#include "ui/ShortcutsWindow.h"

#include "platform/Translation.h"

#include <initializer_list>
#include <string>
#include <utility>

#include <glibmm/markup.h>
#include <gtkmm/builder.h>

namespace ostrel {
namespace {

using i18n::tr;

struct Group {
    std::string title;
    std::initializer_list<std::pair<std::string, const char*>> keys;
};

// The window can only be made from a description.
std::string property(const char* name, const std::string& value) {
    return std::string("<property name=\"") + name + "\">" + Glib::Markup::escape_text(value).raw() + "</property>";
}

}   // namespace

std::unique_ptr<Gtk::ShortcutsWindow> makeShortcutsWindow() {
    const Group groups[] = {
        {tr("Mailboxes"),
         {{tr("Choose Mail Folder…"), "<Primary>o"},
          {tr("Reload Mailboxes"), "<Primary>r"},
          {tr("Show or hide the mailboxes"), "F9"},
          {tr("Show only this mailbox"), "Return"}}},
        {tr("Messages"),
         {{tr("Export to PDF…"), "<Primary><Shift>e"},
          {tr("Find messages"), "<Primary>f"},
          {tr("Clear Filters"), "<Primary><Shift>l"},
          {tr("Open the context menu"), "<Shift>F10"},
          {tr("Back to the messages"), "Escape"}}},
        {tr("Message"),
         {{tr("Find in the message"), "<Primary><Shift>f"},
          {tr("Zoom in"), "<Primary>plus"},
          {tr("Zoom out"), "<Primary>minus"},
          {tr("Fit the width"), "<Primary>0"}}},
        {tr("Windows"),
         {{tr("Ostrel Help"), "F1"},
          {tr("Keyboard Shortcuts"), "<Primary>question"},
          {tr("Settings"), "<Primary>comma"},
          {tr("Close Window"), "<Primary>w"},
          {tr("Quit Ostrel"), "<Primary>q"}}},
    };
    std::string description =
        "<interface><object class=\"GtkShortcutsWindow\" id=\"window\"><property name=\"modal\">1</property><child>"
        "<object class=\"GtkShortcutsSection\"><property name=\"section-name\">all</property>";
    for (const Group& group : groups) {
        description += "<child><object class=\"GtkShortcutsGroup\">" + property("title", group.title);
        for (const auto& [title, keys] : group.keys) {
            description += "<child><object class=\"GtkShortcutsShortcut\">" + property("title", title) +
                           property("accelerator", keys) + "</object></child>";
        }
        description += "</object></child>";
    }
    description += "</object></child></object></interface>";
    const auto builder = Gtk::Builder::create_from_string(description);
    std::unique_ptr<Gtk::ShortcutsWindow> window(builder->get_widget<Gtk::ShortcutsWindow>("window"));
    window->set_title(tr("Keyboard Shortcuts"));
    return window;
}

}   // namespace ostrel
