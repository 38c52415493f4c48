#include "tests/ui/ModelFixture.h"
#include "ui/sheets/ExportSheet.h"

#include <set>
#include <string>
#include <vector>

#include <gtkmm/window.h>

namespace ostrel {
namespace {

using Texts = std::set<std::string>;

class ExportSheetTest : public ModelFixture {
protected:
    static void collect(Gtk::Widget& widget, Texts& found) {
        if (!widget.get_visible() || !widget.get_child_visible()) return;
        const auto* label = dynamic_cast<Gtk::Label*>(&widget);
        if (label != nullptr && !label->get_text().empty()) found.insert(label->get_text().raw());
        for (Gtk::Widget* child = widget.get_first_child(); child != nullptr; child = child->get_next_sibling())
            collect(*child, found);
    }
    // What can be read on the sheet, but for its title bar.
    static Texts read(ExportSheet& sheet) {
        Texts found;
        collect(*sheet.get_child(), found);
        return found;
    }
    void exportInto(const std::filesystem::path& folder) {
        model_->openExport();
        model_->chooseDestinationAndExport();
        desktop_.answer(folder);
    }

    Gtk::Window window_;
    ScratchFolder out_;
};

TEST_F(ExportSheetTest, showsTheFaceOfEachPhase) {
    load();
    model_->openExport();
    ExportSheet sheet(*model_, desktop_, window_);
    EXPECT_TRUE(read(sheet).contains("Export 3 messages"));
    EXPECT_TRUE(read(sheet).contains("Choose Folder and Export…"));

    exportInto(out_.path());
    EXPECT_EQ(read(sheet),
              (Texts{"Exporting…", "0 of 3 messages", "Pause", "Cancel Export",
                     "You can keep using your Mac. Cancel stops after the current message and keeps what’s done."}));
    sheet.close();
    EXPECT_EQ(model_->sheet.get(), Sheet::export_) << "a running export keeps its sheet";

    tasks_.all();
    const auto folder = std::get<ExportResult>(model_->exportPhase.get()).folder;
    EXPECT_EQ(read(sheet), (Texts{"Export finished", "3 messages saved as PDFs", folder.native(), "Open Index",
                                  "Verify This Export", "Show in Finder", "Done"}));
}

TEST_F(ExportSheetTest, tellsWhatWentWrong) {
    struct Row {
        const char* why;
        std::function<void()> trouble;
        Texts expected;
    };
    const Row rows[] = {
        {"stopped by the user", [this] { model_->cancelExport(); }, {"Export stopped", "0 messages saved as PDFs"}},
        {"a message is gone",
         [this] { std::filesystem::remove(first_); },
         {"Export finished", "2 messages saved as PDFs", "1 messages couldn’t be read (listed in the index)",
          "1 messages: No such file or directory", "Copy List"}},
    };
    load();
    ExportSheet sheet(*model_, desktop_, window_);
    for (const auto& [why, trouble, expected] : rows) {
        exportInto(out_.path());
        trouble();
        tasks_.all();
        Texts texts = read(sheet);
        texts.erase(std::get<ExportResult>(model_->exportPhase.get()).folder.native());
        for (const char* button : {"Open Index", "Verify This Export", "Show in Finder", "Done"})
            EXPECT_EQ(texts.erase(button), 1U) << button;
        EXPECT_EQ(texts, expected) << why;
    }
}

}   // namespace
}   // namespace ostrel
