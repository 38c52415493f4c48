#pragma once

#include "app/AppSettings.h"
#include "core/export/Exporter.h"
#include "core/mailstore/MailIndex.h"
#include "core/page/PageLabels.h"
#include "platform/Time.h"

#include <filesystem>
#include <map>
#include <optional>
#include <string>

// What an export of this application looks like, decided in one place for the window and for the command line.
namespace ostrel::ExportPlan {

// "Ostrel Export 03/05/2024 09:07", in the locale's order; the run makes it safe for the disk.
std::string folderName(Instant now, const Calendar& calendar);

// Why nothing may be exported there, one sentence: mail folders are only read. nullopt if the place is outside of the
// mail folder and of Apple Mail's own.
std::optional<std::string> refusal(const std::filesystem::path& destination, const std::filesystem::path& mailFolder);

// A date on a page: the locale's full style, with the short time.
std::string dateText(Instant date, const Calendar& calendar);

// The run's options from the user's settings, its texts in the user's language.
ExportSettings settings(const AppSettings& settings, Instant now, const Calendar& calendar);

// The texts of the pages, of previewed ones too.
PageLabels pageLabels();

// The label of the account that stands for this computer.
std::string localAccountLabel();

// Mailbox id to the name shown, for every mailbox of the index.
std::map<std::string, std::string> mailboxNames(const MailIndex& index);

}   // namespace ostrel::ExportPlan
