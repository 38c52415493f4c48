#pragma once

#include "app/AppSettings.h"
#include "core/export/Exporter.h"
#include "core/mailstore/MailIndex.h"
#include "platform/Time.h"

#include <map>
#include <string>

// What an export of this application looks like, decided in one place for the window and for the command line.
namespace ostrel::ExportPlan {

// "Ostrel Export 03/05/2024 09:07", in the locale's order; the run makes it safe for the disk.
std::string folderName(Instant now, const Calendar& calendar);

// The run's options from the user's settings; dates on the pages in the locale's full style.
ExportSettings settings(const AppSettings& settings, Instant now, const Calendar& calendar);

// Mailbox id to the name shown, for every mailbox of the index.
std::map<std::string, std::string> mailboxNames(const MailIndex& index);

}   // namespace ostrel::ExportPlan
