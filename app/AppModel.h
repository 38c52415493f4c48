#pragma once

#include "app/AppSettings.h"
#include "app/Desktop.h"
#include "app/ExportJob.h"
#include "app/MessageList.h"
#include "app/Property.h"
#include "core/export/Exporter.h"
#include "core/export/PDFRendering.h"
#include "core/export/Verification.h"
#include "core/mailstore/MailScanner.h"
#include "core/selection/MessageFilter.h"
#include "core/selection/MessageOrder.h"

#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <functional>
#include <memory>
#include <optional>
#include <stop_token>
#include <string>
#include <variant>
#include <vector>

namespace ostrel {

class ForeignPictures;
class Gate;
class PreparedIndex;

// The state of the mail folder.
struct MailState {
    enum class Kind { checking, scanning, stopped, needsAccess, noMail, ready };
    Kind kind = Kind::checking;
    std::size_t found = 0;   // messages so far, while scanning
    bool operator==(const MailState&) const = default;
};

enum class Sheet { welcome, export_, update, verification };   // what covers the main window

// What the export sheet shows: its options, the progress of the run, or what came of it.
using ExportPhase = std::variant<std::monostate, ExportProgress, ExportResult>;

// What the verification sheet shows: how many files were read, or what was found.
struct VerificationProgress {
    std::size_t done = 0, total = 0;   // total 0: not known yet
    bool operator==(const VerificationProgress&) const = default;
};
struct VerifiedExport {
    std::filesystem::path folder;
    Verification::Result result;
    bool operator==(const VerifiedExport&) const = default;
};
using VerificationPhase = std::variant<std::monostate, VerificationProgress, VerifiedExport>;

// What every window shows and does, without a window. One for the application, on the main thread; work goes to the
// background and comes back as one finished value, which is dropped when it is no longer wanted. Views set the
// properties that are theirs to set and observe all.
class AppModel {
public:
    struct Surroundings {
        SettingsStore store;
        Tasks& tasks;   // outlive the model, both
        Desktop& desktop;
        // Makes what prints an export.
        std::function<std::unique_ptr<PDFRendering>(Paper)> makeRenderer;
        std::function<Instant()> now;
        std::function<Calendar()> calendar = Calendar::current;
        // Where scans keep what they have read; nullopt: nowhere.
        std::optional<std::filesystem::path> summaries{};
        // Looks for mail folders on this computer, off the main thread. Empty: nobody does.
        std::function<std::vector<std::filesystem::path>()> findMailFolders = {};
    };
    explicit AppModel(Surroundings surroundings);
    AppModel(const AppModel&) = delete;
    AppModel& operator=(const AppModel&) = delete;
    // Cancels what runs; the results of background work that is still under way go nowhere.
    ~AppModel();

    // For views to read, set and observe. Setting runs the reactions at once.
    Property<std::optional<Sheet>> sheet;
    Property<std::optional<std::string>> problem;   // shown in an alert
    Property<AppSettings> settings;                 // saved at once
    Property<MessageFilter> filter;
    Property<SortOrder> sortOrder;
    Property<std::optional<std::string>> selection;   // MessageSummary::id

private:
    // What only the model sets.
    struct Own {
        Property<MailState> state;
        Property<std::vector<std::filesystem::path>> foundFolders;
        Property<std::shared_ptr<const MailIndex>> index;
        Property<MessageList> messages;
        Property<std::optional<std::string>> previewHTML;
        Property<bool> isBuildingPreview;
        Property<ExportPhase> exportPhase;
        Property<bool> isPaused;
        Property<std::optional<std::filesystem::path>> unfinished;
        Property<VerificationPhase> verification;
    } own_;

public:
    // For views to read and observe.
    const Property<MailState>& state = own_.state;
    // Mail folders that may be meant where there is none; openFolder reads one.
    const Property<std::vector<std::filesystem::path>>& foundFolders = own_.foundFolders;
    const Property<std::shared_ptr<const MailIndex>>& index = own_.index;   // null until the first scan has ended
    const Property<MessageList>& messages = own_.messages;                  // filtered and sorted
    const Property<std::optional<std::string>>& previewHTML = own_.previewHTML;
    const Property<bool>& isBuildingPreview = own_.isBuildingPreview;   // previewHTML is still the selection's before
    const Property<ExportPhase>& exportPhase = own_.exportPhase;
    const Property<bool>& isPaused = own_.isPaused;   // the export
    // An export in the chosen destination that was cut short; answerUnfinished goes on.
    const Property<std::optional<std::filesystem::path>>& unfinished = own_.unfinished;
    const Property<VerificationPhase>& verification = own_.verification;

    const MessageSummary* selectedSummary() const;   // null without; lives as long as this list
    std::string mailboxName(const std::string& mailboxID) const;

    // At the start of the application: the welcome sheet when it is the first, and the first scan.
    void start();
    void reload();
    // Ends a scan. What was read before is shown again; without, the folder is stopped at.
    void cancelScan();
    // The application came to the front: looks again where the folder could not be read before.
    void becameActive();
    void chooseFolder();
    void openFolder(const std::filesystem::path& folder);
    void useDefaultFolder();
    void setMailbox(const std::string& id, bool on);
    void setAllMailboxes(bool on);
    void showOnlyMailbox(const std::string& id);
    void clearFilters();
    bool canExport() const;
    void openExport();
    void chooseDestinationAndExport();
    enum class Unfinished { goOn, exportAnew, leave };
    void answerUnfinished(Unfinished answer);
    void openUpdate();
    void chooseExportAndUpdate();
    // Brings that export up to date with the list, duplicates apart.
    void updateExport(const std::filesystem::path& folder);
    void cancelExport();
    // Holds the running export before its next message, or lets it go on.
    void pauseExport(bool on);
    bool isExporting() const;
    void chooseExportAndVerify();
    void verifyExport(const std::filesystem::path& folder);
    void cancelVerification();
    void showInFinder();

private:
    // Runs the work off the main thread, then done on the main thread with what came of it, unless stopped before that
    // or the model is gone.
    template <class Work, class Done>
    void inBackground(const std::stop_token& stop, Work work, Done done);
    // What a worker calls with its progress: apply runs on the main thread, with the newest report only.
    template <class Report, class Apply>
    std::function<void(const Report&)> reporting(const std::stop_token& stop, Apply apply);

    std::optional<SummaryCache::Place> summaryPlace() const;
    void scan(const std::stop_token& stop, const std::filesystem::path& root);
    void refuse(MailAccessError::Kind why);
    void adopt(std::shared_ptr<const PreparedIndex> prepared);
    void readFolder(std::optional<std::string> folder);
    void keepSettings();
    void recomputeMessages();
    void resortMessages();
    void loadPreview();
    void askForExport(std::string message, std::string prompt, void (AppModel::*chosen)(const std::filesystem::path&));
    void startExport(const std::filesystem::path& destination);
    void begin(ExportJob::Kind kind, const std::filesystem::path& folder);
    void stayAwake();
    void finishExport(ExportOutcome outcome, const std::filesystem::path& folder);

    Surroundings surroundings_;
    std::shared_ptr<const PreparedIndex> prepared_;   // of the index
    std::vector<std::uint32_t> order_;                // its messages, all of them, by sortOrder
    std::stop_source scan_, preview_, export_, verification_;
    std::filesystem::path destination_;   // of the export that was not begun because of an unfinished one
    const std::shared_ptr<ForeignPictures> foreignPictures_;   // of previews; a worker may hold it longer
    std::shared_ptr<Gate> gate_;                               // of the export that runs
    std::shared_ptr<void> awake_;                              // while an export runs and is not paused
    std::shared_ptr<AppModel*> self_;                          // expires with the model, for work that comes back later
    std::vector<Subscription> reactions_;
};

}   // namespace ostrel
