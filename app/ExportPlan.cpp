#include "app/ExportPlan.h"

#include "platform/Files.h"
#include "platform/LocaleFormat.h"
#include "platform/Translation.h"

#include <system_error>

namespace ostrel::ExportPlan {

using i18n::tr;
using i18n::trCount;

namespace {

namespace fs = std::filesystem;

// True for the folder itself too. Links are followed; what is not there yet counts as where it would be made. By
// identity: a folder has other names where it is mounted twice or the disk ignores case.
bool isWithin(const fs::path& path, const fs::path& folder) {
    std::error_code error;
    fs::path place = fs::weakly_canonical(fs::absolute(path), error);
    if (error) place = fs::absolute(path);
    while (!fs::equivalent(place, folder, error)) {
        const fs::path parent = place.parent_path();
        if (parent == place) return false;
        place = parent;
    }
    return true;
}

}   // namespace

std::string folderName(Instant now, const Calendar& calendar) {
    return "Ostrel Export " + locale::numericDateAndTime(now, calendar);
}

std::optional<std::string> refusal(const fs::path& destination, const fs::path& mailFolder) {
    for (const fs::path& folder : {mailFolder, AppSettings().mailFolderURL()}) {
        if (isWithin(destination, folder))
            return i18n::filled(tr("The mail folder “%@” is only read: choose a place outside of it for the export."),
                                displayText(folder));
    }
    return std::nullopt;
}

std::string dateText(Instant date, const Calendar& calendar) {
    return locale::dateAndTime(date, locale::DateStyle::full, calendar);
}

PageLabels pageLabels() {
    PageLabels labels;
    labels.from = tr("From");
    labels.to = tr("To");
    labels.cc = tr("Cc");
    labels.date = tr("Date");
    labels.subject = tr("Subject");
    labels.mailbox = tr("Mailbox");
    labels.attachments = tr("Attachments");
    labels.noSubject = tr("(No subject)");
    labels.noText = tr("(This message has no text.)");
    labels.missing = tr("not downloaded by Mail");
    labels.savedIn = tr("Saved in the folder");
    labels.remoteBlocked = [](std::size_t count) {
        return trCount("%lld remote images were not loaded: Ostrel never contacts the sender’s servers.", count);
    };
    labels.truncated = tr("This message file was cut short; what Mail saved is shown.");
    labels.unreadable = tr("Couldn’t be read");
    labels.tooLarge = tr("This message is too large to be shown whole; the rest was left out.");
    return labels;
}

std::string localAccountLabel() { return tr("On My Mac"); }

ExportSettings settings(const AppSettings& settings, Instant now, const Calendar& calendar) {
    ExportSettings plan(folderName(now, calendar));
    plan.attachments = settings.includeAttachments;
    plan.csv = settings.includeIndex;
    plan.labels = pageLabels();
    plan.csvHeaders = {tr("Date"),         tr("From"),       tr("To"),
                       tr("Cc"),           tr("Subject"),    tr("Mailbox"),
                       tr("Attachments"),  tr("PDF"),        tr("Attachment folder"),
                       tr("Conversation"), tr("Message-ID"), tr("Note")};
    plan.calendar = calendar;
    plan.dateText = [calendar](Instant date) { return ExportPlan::dateText(date, calendar); };
    plan.csvDate = [calendar](Instant date) { return isoDateTime(date, calendar); };
    return plan;
}

std::map<std::string, std::string> mailboxNames(const MailIndex& index) {
    std::map<std::string, std::string> names;
    for (const MailAccount& account : index.accounts) {
        for (const Mailbox& mailbox : account.mailboxes) names[mailbox.id] = mailbox.name;
    }
    return names;
}

}   // namespace ostrel::ExportPlan
