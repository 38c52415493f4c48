#pragma once

#include "app/Desktop.h"
#include "app/TimeLeft.h"
#include "ui/sheets/SheetWindow.h"
#include "ui/widgets/DetailList.h"
#include "ui/widgets/Headline.h"
#include "ui/widgets/WrapBox.h"

#include <optional>
#include <vector>

#include <gtkmm/progressbar.h>
#include <gtkmm/stack.h>

namespace ostrel {

// An export or an update: its options, its progress, or what came of it, as the model's phase says.
class ExportSheet : public SheetWindow {
public:
    enum class Purpose { newExport, update };
    ExportSheet(AppModel& model, Desktop& desktop, Gtk::Window& parent, Purpose purpose = Purpose::newExport);

protected:
    // Escape closes the options and the summary, and cancels a run, which cannot be closed.
    void cancel() override;
    bool on_close_request() override;

private:
    void buildOptions();
    void buildProgress();
    void buildSummary();
    void showPhase();
    void showCount();
    void showPause();
    void showTimeLeft(const ExportProgress& progress);
    void show(const ExportProgress& progress);
    void show(const ExportResult& result);
    bool isUpdate() const { return purpose_ == Purpose::update; }
    const ExportResult* result() const;   // null while there is none
    void face(Gtk::Widget& shown, const std::string& title, const std::vector<Gtk::Button*>& buttons,
              Gtk::Button* standard);

    Desktop& desktop_;
    const Purpose purpose_;
    Gtk::Stack faces_;
    Gtk::Box options_, progress_, summary_;

    Headline optionsTitle_;
    Gtk::Button close_, choose_;

    Headline progressTitle_;
    Gtk::ProgressBar bar_;
    Gtk::Label done_, current_, timeLeft_;
    Gtk::Button pause_, goOn_, stop_;
    std::optional<TimeLeft> estimate_;   // of the run on the sheet

    Headline summaryTitle_;
    Gtk::Label saved_, savedAttachments_, held_, simplified_, failed_, why_, strange_, folder_;
    DetailList details_;
    Gtk::Button openIndex_, verify_, reveal_, finish_;
    WrapBox more_;   // of two of them, and gone before them
    std::vector<Subscription> subscriptions_;
};

}   // namespace ostrel
