#include "app/AppModel.h"
#include "app/ExportPlan.h"
#include "tests/app/ModelSurroundings.h"

#include <set>
#include <string>
#include <thread>
#include <vector>

#include <gtest/gtest.h>

namespace ostrel {
namespace {

namespace fs = std::filesystem;
using Kind = MailState::Kind;

class AppModelTest : public testing::Test {
protected:
    AppModelTest() {
        first_ = mail_.put("INBOX", 1, "first", 1, "a@x");
        second_ = mail_.put("INBOX", 2, "second", 2, "b@x");
        third_ = mail_.put("Work", 3, "third", 3, "c@x");
        copy_ = mail_.put("Work", 4, "first, the copy", 0, "a@x");
        AppSettings settings;
        settings.onboardingDone = true;
        settings.mailFolder = mail_.path().native();
        AppSettings::save(settings, store());
        make();
    }
    void make() {
        model_ = std::make_unique<AppModel>(
            AppModel::Surroundings{.store = store(),
                                   .tasks = tasks_,
                                   .desktop = desktop_,
                                   .makeRenderer = [this](Paper) { return std::make_unique<FakeRenderer>(rendering_); },
                                   .now = [] { return Instant(std::chrono::minutes(28493700)); },
                                   .calendar = Calendar::utc});
    }
    SettingsStore store() const { return SettingsStore(settingsFolder_.path()); }

    void load() {
        model_->start();
        tasks_.all();
        ASSERT_EQ(model_->state.get().kind, Kind::ready);
    }
    void change(const std::function<void(MessageFilter&)>& how) {
        MessageFilter changed = model_->filter.get();
        how(changed);
        model_->filter.set(changed);
    }
    // "third second first"
    std::string shown() const {
        std::string line;
        const MessageList& list = model_->messages.get();
        for (std::size_t row = 0; row < list.size(); ++row) line += (row ? " " : "") + list[row].subject;
        return line;
    }
    bool previews(const std::string& subject) const {
        return model_->previewHTML.get() && model_->previewHTML.get()->find("body of " + subject) != std::string::npos;
    }
    // The choice of a destination, answered; the run is then waiting in the background.
    void beginExport(const fs::path& destination) {
        model_->openExport();
        model_->chooseDestinationAndExport();
        desktop_.answer(destination);
    }
    const ExportResult* result() const { return std::get_if<ExportResult>(&model_->exportPhase.get()); }

    MailFolder mail_;
    std::string first_, second_, third_, copy_;   // identities
    ScratchFolder settingsFolder_, out_;
    HandTurnedTasks tasks_;
    FakeDesktop desktop_;
    std::function<void()> rendering_;
    std::unique_ptr<AppModel> model_;
};

// ---- The mail folder ----

TEST_F(AppModelTest, TellsEveryStepOfAScanAndIsReadyWhenTheListIs) {
    std::vector<MailState> states;
    const auto kept = model_->state.observe([&] {
        states.push_back(model_->state.get());
        EXPECT_EQ(shown(), states.back().kind == Kind::ready ? "third second first" : "");
    });
    load();
    const std::vector<MailState> expected = {{Kind::scanning, 0}, {Kind::scanning, 4}, {Kind::ready, 0}};
    EXPECT_EQ(states, expected);
    EXPECT_FALSE(model_->sheet.get());
    EXPECT_EQ(model_->mailboxName("INBOX.mbox"), "INBOX");
    EXPECT_EQ(model_->mailboxName("Gone.mbox"), "");
}

TEST_F(AppModelTest, AFolderThatIsGoneKeepsTheListAndIsLookedForOnReturn) {
    load();
    model_->becameActive();
    EXPECT_TRUE(tasks_.background.empty()) << "nothing to look for while ready";
    const fs::path away = mail_.path().native() + "-away";
    fs::rename(mail_.path(), away);
    model_->reload();
    tasks_.all();
    EXPECT_EQ(model_->state.get().kind, Kind::noMail);
    EXPECT_EQ(shown(), "third second first");
    EXPECT_FALSE(model_->canExport());
    model_->openExport();
    EXPECT_FALSE(model_->sheet.get());
    fs::rename(away, mail_.path());
    model_->becameActive();
    tasks_.all();
    EXPECT_EQ(model_->state.get().kind, Kind::ready);
}

TEST_F(AppModelTest, AFolderThatGoesBetweenTheCheckAndTheScanIsNoMail) {
    model_->start();
    HandTurnedTasks::next(tasks_.background);
    tasks_.allOnMain();
    ASSERT_EQ(model_->state.get().kind, Kind::scanning);
    fs::remove_all(mail_.path());
    tasks_.all();
    EXPECT_EQ(model_->state.get().kind, Kind::noMail);
    fs::create_directory(mail_.path());
}

TEST_F(AppModelTest, NothingOfASupersededScanArrives) {
    model_->start();
    HandTurnedTasks::next(tasks_.background);
    tasks_.allOnMain();
    HandTurnedTasks::next(tasks_.background);   // scanned, its report and result on their way
    ASSERT_EQ(tasks_.main.size(), 2U);
    model_->reload();
    tasks_.allOnMain();
    EXPECT_EQ(model_->state.get().kind, Kind::checking);
    EXPECT_FALSE(model_->index.get());

    HandTurnedTasks::next(tasks_.background);
    tasks_.allOnMain();
    ASSERT_EQ(model_->state.get(), (MailState{Kind::scanning, 0}));
    model_->reload();   // while the other waits to begin: it must not even walk the folder
    tasks_.all();
    EXPECT_EQ(shown(), "third second first");
}

TEST_F(AppModelTest, AScanThatIsEndedLeavesWhatWasThere) {
    model_->start();
    HandTurnedTasks::next(tasks_.background);   // the check
    model_->cancelScan();
    tasks_.all();
    EXPECT_EQ(model_->state.get().kind, MailState::Kind::stopped);
    EXPECT_EQ(model_->index.get(), nullptr);
    model_->reload();
    tasks_.all();
    const auto index = model_->index.get();
    ASSERT_NE(index, nullptr);
    model_->cancelScan();
    EXPECT_EQ(model_->state.get().kind, MailState::Kind::ready) << "there is no scan";
    model_->reload();
    model_->cancelScan();
    tasks_.all();
    EXPECT_EQ(model_->state.get().kind, MailState::Kind::ready);
    EXPECT_EQ(model_->index.get(), index);
}

TEST_F(AppModelTest, AReportThatComesAfterTheIndexChangesNothing) {
    model_->start();
    HandTurnedTasks::next(tasks_.background);
    tasks_.allOnMain();
    HandTurnedTasks::next(tasks_.background);
    HandTurnedTasks::last(tasks_.main);
    ASSERT_EQ(model_->state.get().kind, Kind::ready);
    tasks_.all();
    EXPECT_EQ(model_->state.get().kind, Kind::ready);
}

TEST_F(AppModelTest, AFolderThatHasNotChangedKeepsItsIndex) {
    load();
    const auto before = model_->messages.get();
    model_->reload();
    tasks_.all();
    EXPECT_EQ(model_->state.get().kind, Kind::ready);
    EXPECT_EQ(model_->messages.get().index(), before.index());
    mail_.put("INBOX", 5, "fifth", 5);
    model_->reload();
    tasks_.all();
    EXPECT_EQ(shown(), "fifth third second first");
}

TEST_F(AppModelTest, ChoosingAFolderReadsAllOfIt) {
    load();
    model_->setAllMailboxes(false);
    model_->chooseFolder();
    desktop_.answer(std::nullopt);
    EXPECT_TRUE(tasks_.background.empty());
    EXPECT_EQ(shown(), "");

    const MailFolder other;
    other.put("Elsewhere", 1, "other", 1);
    model_->chooseFolder();
    EXPECT_FALSE(desktop_.asked.back().canCreate);
    desktop_.answer(other.path());
    EXPECT_EQ(AppSettings::load(store()).mailFolder, other.path().native());
    tasks_.all();
    EXPECT_EQ(shown(), "other");
    EXPECT_FALSE(model_->filter.get().mailboxes);

    const EnvironmentVariable home("HOME", out_.path().c_str());
    model_->useDefaultFolder();
    tasks_.all();
    EXPECT_EQ(model_->state.get().kind, Kind::noMail);
    EXPECT_FALSE(AppSettings::load(store()).mailFolder);
}

// ---- The list ----

TEST_F(AppModelTest, ChecksMailboxesOneByOne) {
    model_->setMailbox("early", true);   // no index yet: nothing to be all of
    EXPECT_EQ(model_->filter.get().mailboxes, std::set<std::string>{"early"});
    model_->setAllMailboxes(true);
    load();
    model_->setMailbox("Work.mbox", false);
    EXPECT_EQ(model_->filter.get().mailboxes, std::set<std::string>{"INBOX.mbox"});
    EXPECT_EQ(shown(), "second first");
    model_->setMailbox("Work.mbox", true);
    EXPECT_FALSE(model_->filter.get().mailboxes) << "all again";

    model_->setMailbox("INBOX.mbox", false);
    EXPECT_EQ(shown(), "third first, the copy") << "a copy that is not shown hides no other";
    mail_.remove("Work");
    mail_.put("New", 9, "ninth", 9);
    model_->reload();
    tasks_.all();
    EXPECT_EQ(model_->filter.get().mailboxes, std::set<std::string>{}) << "what vanished drops out, the choice stays";
    EXPECT_EQ(shown(), "");
}

TEST_F(AppModelTest, FiltersChangeTheListBeforeAnybodyIsTold) {
    load();
    std::vector<std::string> seen;
    const auto kept = model_->filter.observe([&] { seen.push_back(shown()); });
    change([](MessageFilter& filter) {
        filter.subject = "first";
        filter.startDay = filter.endDay = Day{2024, 3, 5};
    });
    model_->clearFilters();
    const std::vector<std::string> expected = {"first", "first", "first", "third second first"};
    EXPECT_EQ(seen, expected) << "one day after the other, then the subject; the person was empty";
}

TEST_F(AppModelTest, SettingsAreSavedAtOnceAndOnlyWhenTheyChange) {
    load();
    for (const auto& entry : fs::directory_iterator(settingsFolder_.path())) fs::remove(entry);
    model_->settings.set(AppSettings(model_->settings.get()));
    EXPECT_FALSE(store().value("settings"));
    AppSettings changed = model_->settings.get();
    changed.skipDuplicates = false;
    model_->settings.set(changed);
    EXPECT_EQ(AppSettings::load(store()), changed);
    EXPECT_EQ(shown(), "third second first first, the copy");
    make();
    load();
    EXPECT_EQ(shown(), "third second first first, the copy") << "the switch of the settings holds from the start";
}

TEST_F(AppModelTest, SortingKeepsFilterAndSelection) {
    load();
    change([](MessageFilter& filter) { filter.mailboxes = std::set<std::string>{"INBOX.mbox"}; });
    model_->selection.set(first_);
    model_->sortOrder.set({{SortKey::subject, true}});
    EXPECT_EQ(shown(), "first second");
    EXPECT_EQ(model_->messages.get().find(first_), 0U);
    EXPECT_FALSE(model_->messages.get().find(third_)) << "not shown";
    EXPECT_EQ(model_->selection.get(), first_);
    mail_.put("INBOX", 6, "a new one", 6);
    model_->reload();
    tasks_.all();
    EXPECT_EQ(shown(), "a new one first second") << "the order holds for the next index";
    model_->sortOrder.set({});
    EXPECT_EQ(shown(), "a new one second first") << "no order: as scanned";
}

// ---- The preview ----

TEST_F(AppModelTest, TheNewestSelectionWins) {
    load();
    for (const auto* id : {&first_, &second_, &third_}) model_->selection.set(*id);
    ASSERT_EQ(tasks_.background.size(), 3U);
    while (!tasks_.background.empty()) HandTurnedTasks::last(tasks_.background);   // the first finishes last
    tasks_.allOnMain();
    EXPECT_TRUE(previews("third"));

    model_->selection.set(first_);
    HandTurnedTasks::next(tasks_.background);   // its page is on its way
    model_->selection.set(second_);
    tasks_.allOnMain();
    EXPECT_TRUE(previews("third")) << "the page of a message that is not selected any more is not shown";
    tasks_.all();
    EXPECT_TRUE(previews("second"));
}

TEST_F(AppModelTest, ASelectionThatVanishesWhileItsPageIsMadeLeavesNoPage) {
    load();
    model_->selection.set(third_);
    change([](MessageFilter& filter) { filter.subject = "first"; });
    EXPECT_FALSE(model_->selection.get());
    tasks_.all();
    EXPECT_FALSE(model_->previewHTML.get());

    model_->selection.set(first_);
    HandTurnedTasks::next(tasks_.background);
    mail_.remove("INBOX");
    model_->reload();
    tasks_.all();
    EXPECT_FALSE(model_->selection.get());
    EXPECT_FALSE(model_->previewHTML.get());
    EXPECT_EQ(shown(), "first, the copy");
}

TEST_F(AppModelTest, MessagesThatCannotBeReadSayItInOneLine) {
    load();
    fs::remove(second_);
    model_->selection.set(second_);
    model_->showInFinder();
    tasks_.all();
    EXPECT_EQ(model_->previewHTML.get(), "<p style=\"font:13px -apple-system;color:#888\">Couldn’t be read</p>");
    EXPECT_EQ(desktop_.revealed, std::vector<fs::path>{second_});
    model_->selection.set("/no/such/file");
    EXPECT_FALSE(model_->previewHTML.get());
    model_->showInFinder();
    EXPECT_EQ(desktop_.revealed.size(), 1U);
}

// ---- Export ----

TEST_F(AppModelTest, ExportsWhatIsShown) {
    load();
    AppSettings plain = model_->settings.get();
    plain.includeIndex = false;
    model_->settings.set(plain);
    model_->openExport();
    EXPECT_EQ(model_->sheet.get(), Sheet::export_);
    model_->chooseDestinationAndExport();
    EXPECT_TRUE(desktop_.asked.back().canCreate);
    desktop_.answer(std::nullopt);
    EXPECT_FALSE(model_->isExporting());

    const EnvironmentVariable american("LC_ALL", "en_US.UTF-8");
    change([](MessageFilter& filter) { filter.mailboxes = std::set<std::string>{"INBOX.mbox"}; });
    beginExport(out_.path());
    EXPECT_EQ(model_->exportPhase.get(), ExportPhase(ExportProgress{0, 2, ""}));
    EXPECT_FALSE(desktop_.awake.expired());
    EXPECT_FALSE(model_->canExport());
    HandTurnedTasks::next(tasks_.background);
    HandTurnedTasks::next(tasks_.main);
    EXPECT_EQ(model_->exportPhase.get(), ExportPhase(ExportProgress{2, 2, ""})) << "the newest report only";
    tasks_.all();
    ASSERT_NE(result(), nullptr);
    EXPECT_EQ(result()->folder, out_.path() / "Ostrel Export 03 05 2024 07 00");
    EXPECT_EQ(result()->exported, 2U);
    EXPECT_TRUE(desktop_.awake.expired());
    EXPECT_EQ(files::list(result()->folder).size(), 4U) << "two PDFs, their sums and what was exported";
    EXPECT_FALSE(files::exists(result()->folder / "index.csv"));
    EXPECT_EQ(model_->sheet.get(), Sheet::export_);
}

TEST_F(AppModelTest, ACancelledExportFinishesWithWhatIsDone) {
    load();
    rendering_ = [&] { model_->cancelExport(); };
    beginExport(out_.path());
    model_->chooseDestinationAndExport();
    desktop_.answer(out_.path());
    EXPECT_EQ(tasks_.background.size(), 1U) << "one export at a time";
    model_->sheet.set(std::nullopt);
    model_->openExport();
    EXPECT_TRUE(model_->isExporting()) << "the way back to the progress";
    tasks_.all();
    ASSERT_NE(result(), nullptr);
    EXPECT_TRUE(result()->cancelled);
    EXPECT_EQ(result()->exported, 1U);

    rendering_ = nullptr;
    beginExport(out_.path());
    tasks_.all();
    EXPECT_FALSE(result()->cancelled) << "the next one starts afresh";
}

TEST_F(AppModelTest, APausedExportWaitsUntilItGoesOnOrIsCancelled) {
    load();
    model_->openExport();
    model_->pauseExport(true);
    EXPECT_FALSE(model_->isPaused.get()) << "there is none";
    for (const bool goesOn : {true, false}) {
        model_->chooseDestinationAndExport();
        desktop_.answer(out_.path());
        model_->pauseExport(true);
        EXPECT_TRUE(model_->isPaused.get());
        EXPECT_TRUE(desktop_.awake.expired()) << "the machine may sleep";
        std::jthread worker([&] { HandTurnedTasks::next(tasks_.background); });
        if (goesOn) {
            model_->pauseExport(false);
            EXPECT_FALSE(desktop_.awake.expired());
        } else {
            model_->cancelExport();
        }
        worker.join();
        tasks_.all();
        EXPECT_FALSE(model_->isPaused.get());
        EXPECT_EQ(std::get<ExportResult>(model_->exportPhase.get()).cancelled, !goesOn);
    }
}

TEST_F(AppModelTest, AnUpdateAddsWhatTheListHasAndLosesNothing) {
    load();
    beginExport(out_.path());
    tasks_.all();
    const fs::path folder = result()->folder;
    mail_.put("INBOX", 7, "seventh", 7);
    mail_.put("Work", 8, "eighth", 8);
    model_->reload();
    tasks_.all();
    change([](MessageFilter& filter) { filter.mailboxes = std::set<std::string>{"INBOX.mbox"}; });
    files::remove(folder / "2024-03-05 0703 Kim - third.pdf");

    model_->openUpdate();
    EXPECT_EQ(model_->sheet.get(), Sheet::update);
    model_->chooseExportAndUpdate();
    desktop_.answer(folder);
    EXPECT_TRUE(model_->isExporting());
    tasks_.all();
    ASSERT_NE(result(), nullptr);
    EXPECT_EQ(result()->folder, folder);
    EXPECT_EQ(result()->exported, 2U) << "what is new in the list, and what is missing though the list hides it";
    EXPECT_EQ(result()->held, 2U);
    EXPECT_TRUE(result()->failed.empty());
    EXPECT_TRUE(files::exists(folder / "2024-03-05 0703 Kim - third.pdf"));
    EXPECT_TRUE(files::exists(folder / "2024-03-05 0707 Kim - seventh.pdf"));

    model_->updateExport(out_.path());
    tasks_.all();
    EXPECT_TRUE(model_->problem.get()) << "no export";
    EXPECT_FALSE(model_->sheet.get());
}

TEST_F(AppModelTest, AnExportThatWasCutShortIsOfferedToGoOnWith) {
    load();
    beginExport(out_.path());
    tasks_.all();
    const fs::path folder = result()->folder;
    fs::rename(folder / "messages.jsonl", folder / "messages.jsonl.unfinished");
    files::remove(folder / "SHA256SUMS");
    files::remove(folder / "2024-03-05 0703 Kim - third.pdf");

    using enum AppModel::Unfinished;
    for (const auto answer : {leave, exportAnew, goOn}) {
        beginExport(answer == goOn ? folder : out_.path());
        tasks_.all();
        EXPECT_EQ(model_->unfinished.get(), folder);
        EXPECT_FALSE(model_->isExporting());
        EXPECT_EQ(model_->sheet.get(), Sheet::export_);
        model_->answerUnfinished(answer);
        EXPECT_FALSE(model_->unfinished.get());
        tasks_.all();
        EXPECT_EQ(result() == nullptr, answer == leave);
        EXPECT_EQ(result() != nullptr && result()->folder == folder, answer == goOn);
    }
    ASSERT_NE(result(), nullptr);
    EXPECT_EQ(result()->folder, folder);
    EXPECT_EQ(result()->exported, 1U);
    EXPECT_EQ(result()->held, 2U);
    beginExport(out_.path());
    tasks_.all();
    EXPECT_FALSE(model_->unfinished.get());
}

TEST_F(AppModelTest, VerifiesAnExportUntilItIsToldToStop) {
    load();
    beginExport(out_.path());
    tasks_.all();
    const fs::path folder = result()->folder;
    const auto verified = [&] { return std::get_if<VerifiedExport>(&model_->verification.get()); };
    for (const bool isDamaged : {false, true}) {
        if (isDamaged) files::writeAtomically(folder / "index.csv", bytesOf("changed"));
        model_->chooseExportAndVerify();
        desktop_.answer(folder);
        EXPECT_EQ(model_->sheet.get(), Sheet::verification);
        tasks_.all();
        ASSERT_NE(verified(), nullptr);
        EXPECT_EQ(verified()->folder, folder);
        EXPECT_EQ(verified()->result.findings.empty(), !isDamaged);
    }
    model_->verifyExport(folder);
    model_->cancelVerification();
    tasks_.all();
    EXPECT_EQ(verified(), nullptr);
    EXPECT_FALSE(model_->sheet.get());
    model_->verifyExport(settingsFolder_.path());
    tasks_.all();
    EXPECT_TRUE(model_->problem.get());
}

TEST_F(AppModelTest, AnExportThatCannotBeSavedSaysWhy) {
    load();
    const fs::path file = out_ / "file";
    files::writeAtomically(file, bytesOf("not a folder"));
    beginExport(file);
    tasks_.all();
    EXPECT_EQ(model_->exportPhase.get(), ExportPhase());
    EXPECT_FALSE(model_->sheet.get());
    ASSERT_TRUE(model_->problem.get());
    EXPECT_TRUE(model_->problem.get()->starts_with("The export couldn’t be saved there: “" + file.native()));
    EXPECT_TRUE(desktop_.awake.expired());
}

TEST_F(AppModelTest, NothingIsExportedIntoTheMailFolder) {
    load();
    fs::create_directory_symlink(mail_.path() / "INBOX.mbox", out_ / "link");
    const struct {
        const char* why;
        fs::path destination;
        bool isRefused;
    } rows[] = {
        {"itself", mail_.path(), true},
        {"with a slash", mail_.path() / "", true},
        {"a folder in it", mail_.path() / "INBOX.mbox", true},
        {"not made yet", mail_.path() / "new/newer", true},
        {"by a link", out_ / "link", true},
        {"through a link", out_ / "link/new", true},
        {"by a detour", out_.path() / ".." / mail_.path().filename() / "INBOX.mbox", true},
        {"a longer name", mail_.path().native() + "ing", false},
        {"the folder around it", mail_.path().parent_path(), false},
        {"out of it again", mail_.path() / ".." / "new", false},
    };
    for (const auto& row : rows)
        EXPECT_EQ(ExportPlan::refusal(row.destination, mail_.path()).has_value(), row.isRefused) << row.why;
    EXPECT_FALSE(ExportPlan::refusal(out_.path(), out_ / "none")) << "nothing lies in what is not there";

    beginExport(mail_.path() / "INBOX.mbox");
    EXPECT_FALSE(model_->isExporting());
    EXPECT_TRUE(model_->problem.get());
    EXPECT_EQ(model_->sheet.get(), Sheet::export_) << "to choose another place";
}

TEST_F(AppModelTest, AnExportGoesOnWhileItsIndexIsReplaced) {
    load();
    rendering_ = [&, isFirst = true]() mutable {
        if (!std::exchange(isFirst, false)) return;
        mail_.put("INBOX", 7, "seventh", 7);
        model_->reload();
        model_->reload();
        while (tasks_.background.size() > 0 || tasks_.main.size() > 0) {
            tasks_.allOnMain();
            change([](MessageFilter& filter) { filter.person += "k"; });
            if (!tasks_.background.empty()) HandTurnedTasks::next(tasks_.background);
        }
        change([](MessageFilter& filter) { filter.person = "nobody"; });
    };
    beginExport(out_.path());
    tasks_.all();
    ASSERT_NE(result(), nullptr);
    EXPECT_EQ(result()->exported, 3U);
    EXPECT_TRUE(result()->failed.empty());
    EXPECT_EQ(shown(), "");
    model_->clearFilters();
    EXPECT_EQ(shown(), "seventh third second first");
}

TEST_F(AppModelTest, NothingReachesAModelThatIsGone) {
    load();
    beginExport(out_.path());
    model_->reload();
    model_->selection.set(first_);
    model_->chooseFolder();
    int told = 0;
    const auto kept = model_->state.observe([&] { ++told; });
    model_.reset();
    EXPECT_TRUE(desktop_.awake.expired());
    desktop_.answer(mail_.path());
    tasks_.all();
    EXPECT_EQ(told, 0);
    for (const auto& entry : fs::recursive_directory_iterator(out_.path())) EXPECT_NE(entry.path().extension(), ".pdf");
}

}   // namespace
}   // namespace ostrel
