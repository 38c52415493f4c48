#include "ui/HelpWindow.h"

#include "platform/Translation.h"
#include "ui/Contact.h"
#include "ui/DesktopServices.h"
#include "ui/widgets/Accessible.h"
#include "ui/widgets/Headline.h"
#include "ui/widgets/Labels.h"
#include "ui/widgets/TextScale.h"

#include <string>

#include <gtkmm/adjustment.h>
#include <gtkmm/button.h>
#include <gtkmm/label.h>
#include <gtkmm/linkbutton.h>
#include <gtkmm/separator.h>

namespace ostrel {
namespace {

using i18n::tr;

constexpr int defaultWidth = 780, defaultHeight = 540, minWidth = 680, minHeight = 440;
constexpr int listWidth = 220, padding = 24, paragraphSpacing = 14;

}   // namespace

HelpWindow::HelpWindow()
    : topics_(helpTopics()),
      columns_(Gtk::Orientation::HORIZONTAL),
      page_(Gtk::Orientation::VERTICAL, paragraphSpacing) {
    set_title(tr("Ostrel Help"));
    set_default_size(textScale::scaled(defaultWidth), textScale::scaled(defaultHeight));
    set_size_request(minWidth, minHeight);
    set_titlebar(header_);

    titles_.add_css_class("navigation-sidebar");
    titles_.set_selection_mode(Gtk::SelectionMode::BROWSE);
    accessible::setLabel(titles_, tr("Topics"));
    for (const Topic& topic : topics_) {
        auto& title = *Gtk::make_managed<Headline>(topic.symbol, topic.title);
        title.set_margin(6);
        titles_.append(title);
        accessible::setLabel(*title.get_parent(), topic.title);
    }
    titles_.signal_row_selected().connect([this](Gtk::ListBoxRow* row) {
        if (row != nullptr) show(topics_[static_cast<std::size_t>(row->get_index())]);
    });
    list_.set_child(titles_);
    list_.set_policy(Gtk::PolicyType::NEVER, Gtk::PolicyType::AUTOMATIC);
    list_.set_size_request(textScale::scaled(listWidth), -1);

    page_.set_margin(padding);
    scroller_.set_child(page_);
    scroller_.set_policy(Gtk::PolicyType::NEVER, Gtk::PolicyType::AUTOMATIC);
    scroller_.set_hexpand();
    columns_.append(list_);
    columns_.append(*Gtk::make_managed<Gtk::Separator>(Gtk::Orientation::VERTICAL));
    columns_.append(scroller_);
    set_child(columns_);
    titles_.select_row(*titles_.get_row_at_index(0));
}

void HelpWindow::show(const Topic& topic) {
    while (Gtk::Widget* old = page_.get_first_child()) page_.remove(*old);
    const auto add = [this](const std::string& text, bool isTitle) {
        auto& label = *Gtk::make_managed<Gtk::Label>(text);
        wrapFromLeft(label);
        label.set_natural_wrap_mode(Gtk::NaturalWrapMode::NONE);   // else short texts end long before the margin
        label.set_selectable();
        label.set_halign(Gtk::Align::START);
        label.set_max_width_chars(80);   // about 640 pixels
        if (isTitle) label.add_css_class("title-1");
        page_.append(label);
    };
    add(topic.title, true);
    for (const std::string& paragraph : topic.paragraphs) add(paragraph, false);
    if (topic.id == "support") {
        auto& mail = *Gtk::make_managed<Gtk::Button>(tr("Email Support"));
        mail.set_halign(Gtk::Align::START);
        mail.signal_clicked().connect(
            [] { DesktopServices::openLink(std::string("mailto:") + contact::supportAddress); });
        auto& web = *Gtk::make_managed<Gtk::LinkButton>(contact::webSite, contact::webSite);
        web.set_halign(Gtk::Align::START);
        web.add_css_class("flush");
        web.signal_activate_link().connect(
            [] {
                DesktopServices::openLink(contact::webSite);
                return true;
            },
            false);
        page_.append(mail);
        page_.append(web);
    }
    scroller_.get_vadjustment()->set_value(0);
}

}   // namespace ostrel
