#include "ui/sheets/VerificationSheet.h"

#include "platform/Files.h"
#include "platform/Translation.h"
#include "ui/widgets/Accessible.h"
#include "ui/widgets/Labels.h"

#include <algorithm>
#include <string>

namespace ostrel {
namespace {

using i18n::filled;
using i18n::tr;
using Verification::Finding;

constexpr int titleSymbolSize = 24;

std::string sentenceOf(const Finding& finding) {
    const std::string name = displayText(finding.name);
    switch (finding.kind) {
        case Finding::Kind::changed:
            return filled(tr("Changed: %@"), name);
        case Finding::Kind::missing:
            if (!finding.renamed.empty())
                return filled(tr("Missing: %@, renamed to %@"), name, displayText(finding.renamed));
            return filled(tr("Missing: %@"), name);
        case Finding::Kind::strange:
            return filled(tr("Not of this export: %@"), name);
        case Finding::Kind::row:
            return filled(tr("Row %@ of the index: its files were never written"), name);
        case Finding::Kind::unfinished:
            return tr("The export has not come to its end");
    }
    return name;
}

}   // namespace

VerificationSheet::VerificationSheet(AppModel& model, Desktop& desktop, Gtk::Window& parent)
    : SheetWindow(model, parent, tr("Verify an Export")), desktop_(desktop), title_("doc.text", "", titleSymbolSize) {
    title_.add_css_class("title-2");
    for (Gtk::Label* label : {&count_, &folder_}) wrapFromLeft(*label);
    count_.add_css_class("numeric");
    folder_.add_css_class("caption");
    folder_.add_css_class("dim-label");
    folder_.set_wrap_mode(Pango::WrapMode::CHAR);
    folder_.set_selectable();
    accessible::setLabel(bar_, tr("Verification progress"));
    for (Gtk::Widget* part : std::initializer_list<Gtk::Widget*>{&title_, &bar_, &count_, &findings_, &folder_})
        content().append(*part);
    addButton(stop_, tr("Cancel"));
    addButton(update_, tr("Update This Export"));
    addButton(reveal_, tr("Show in Finder"));
    addButton(finish_, tr("Done"));
    finish_.add_css_class("suggested-action");
    for (Gtk::Button* button : {&stop_, &finish_}) button->signal_clicked().connect([this] { cancel(); });
    reveal_.signal_clicked().connect([this] {
        if (const auto* verified = std::get_if<VerifiedExport>(&this->model().verification.get()))
            desktop_.reveal(verified->folder);
    });
    update_.signal_clicked().connect([this] {
        if (const auto* verified = std::get_if<VerifiedExport>(&this->model().verification.get()))
            this->model().updateExport(std::filesystem::path(verified->folder));
    });
    subscriptions_.push_back(this->model().verification.observe([this] { showPhase(); }));
    showPhase();
    fit();
}

void VerificationSheet::showPhase() {
    const VerificationPhase& phase = model().verification.get();
    const auto* verified = std::get_if<VerifiedExport>(&phase);
    bar_.set_visible(verified == nullptr);
    stop_.set_visible(verified == nullptr);
    for (Gtk::Widget* part : std::initializer_list<Gtk::Widget*>{&findings_, &folder_, &update_, &reveal_, &finish_})
        part->set_visible(verified != nullptr);
    if (verified) {
        show(*verified);
        set_default_widget(finish_);
        set_focus(finish_);
        fit();
    } else if (const auto* progress = std::get_if<VerificationProgress>(&phase)) {
        show(*progress);
    }
}

void VerificationSheet::show(const VerificationProgress& progress) {
    title_.set("doc.text", tr("Verifying…"));
    bar_.set_fraction(static_cast<double>(progress.done) /
                      static_cast<double>(std::max<std::size_t>(progress.total, 1)));
    const std::string text = filled(tr("%lld of %lld"), progress.done, progress.total);
    gtk_accessible_update_property(GTK_ACCESSIBLE(bar_.gobj()), GTK_ACCESSIBLE_PROPERTY_VALUE_TEXT, text.c_str(), -1);
    count_.set_text(progress.total == 0 ? std::string() : text);
}

void VerificationSheet::show(const VerifiedExport& verified) {
    const std::vector<Finding>& findings = verified.result.findings;
    title_.set(
        findings.empty() ? "checkmark.circle.fill" : "exclamationmark.triangle",
        findings.empty() ? tr("The export is whole") : i18n::trCount("Found to be wrong: %lld", findings.size()));
    title_.image().set_css_classes({findings.empty() ? "success" : "attention"});
    count_.set_text(filled(tr("%lld of %lld files are whole."), verified.result.whole, verified.result.files));
    std::vector<std::string> lines;
    for (const Finding& finding : findings) lines.push_back(sentenceOf(finding));
    findings_.set(lines);
    folder_.set_text(displayText(verified.folder));
    // What others put there is for nobody but them to take away.
    const auto canMend = [](const Finding& finding) { return finding.kind != Finding::Kind::strange; };
    update_.set_visible(model().canExport() && std::ranges::any_of(findings, canMend));
}

void VerificationSheet::cancel() { model().cancelVerification(); }

}   // namespace ostrel
