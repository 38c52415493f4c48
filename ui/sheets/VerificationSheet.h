#pragma once

#include "app/Desktop.h"
#include "ui/sheets/SheetWindow.h"
#include "ui/widgets/DetailList.h"
#include "ui/widgets/Headline.h"

#include <vector>

#include <gtkmm/progressbar.h>

namespace ostrel {

// The verification of an export: its progress, then what was found.
class VerificationSheet : public SheetWindow {
public:
    VerificationSheet(AppModel& model, Desktop& desktop, Gtk::Window& parent);

protected:
    void cancel() override;

private:
    void showPhase();
    void show(const VerificationProgress& progress);
    void show(const VerifiedExport& verified);

    Desktop& desktop_;
    Headline title_;
    Gtk::ProgressBar bar_;
    Gtk::Label count_, folder_;
    DetailList findings_;
    Gtk::Button stop_, update_, reveal_, finish_;
    std::vector<Subscription> subscriptions_;
};

}   // namespace ostrel
