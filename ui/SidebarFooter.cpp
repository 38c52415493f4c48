#include "ui/SidebarFooter.h"

#include "platform/Text.h"
#include "platform/Translation.h"

#include <filesystem>
#include <string>

namespace ostrel {
namespace {

using i18n::tr;

// The last part of the path; the path itself where that is empty.
std::string folderName(const std::string& path) {
    const std::filesystem::path folder(path);
    const std::string name = (folder.has_filename() ? folder : folder.parent_path()).filename().string();
    return text::toValidUTF8(name.empty() ? path : name);
}

}   // namespace

SidebarFooter::SidebarFooter(AppModel& model)
    : Gtk::Box(Gtk::Orientation::VERTICAL, 3),
      model_(model),
      promise_("lock", tr("Read-only: Mail is never changed")),
      folder_("folder.badge.gearshape", ""),
      damaged_("exclamationmark.triangle", "") {
    add_css_class("bar");
    add_css_class("sidebar-footer");
    append(promise_);
    append(folder_);
    append(damaged_);
    subscriptions_.push_back(model_.settings.observe([this] { show(); }));
    subscriptions_.push_back(model_.index.observe([this] { show(); }));
    show();
}

void SidebarFooter::show() {
    const auto& folder = model_.settings.get().mailFolder;
    folder_.set_visible(folder.has_value());
    if (folder) {
        folder_.label().set_text(folderName(*folder));
        folder_.set_tooltip_text(text::toValidUTF8(*folder));
    }
    const auto& index = model_.index.get();
    const std::size_t unreadable = index ? index->unreadable : 0;
    damaged_.set_visible(unreadable > 0);
    damaged_.label().set_text(i18n::trCount("Damaged files skipped: %lld", unreadable));
}

}   // namespace ostrel
