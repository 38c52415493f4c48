#include "app/ExportPlan.h"

#include "platform/LocaleFormat.h"

namespace ostrel::ExportPlan {

std::string folderName(Instant now, const Calendar& calendar) {
    return "Ostrel Export " + locale::numericDateAndTime(now, calendar);
}

ExportSettings settings(const AppSettings& settings, Instant now, const Calendar& calendar) {
    ExportSettings plan(folderName(now, calendar));
    plan.attachments = settings.includeAttachments;
    plan.csv = settings.includeIndex;
    plan.calendar = calendar;
    plan.dateText = [calendar](Instant date) { return locale::dateAndTime(date, locale::DateStyle::full, calendar); };
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
