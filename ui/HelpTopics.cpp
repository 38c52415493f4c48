#include "ui/HelpTopics.h"

#include "platform/Translation.h"
#include "ui/Contact.h"

namespace ostrel {

using i18n::tr;

std::vector<Topic> helpTopics() {
    return {
        {"start",
         tr("Getting started"),
         "play.circle",
         {tr("Ostrel reads Apple Mail’s messages straight from Mail’s folder on this Mac "
             "(~/Library/Mail). The first time, macOS asks you to give Ostrel Full Disk Access; the "
             "window walks you through it."),
          tr("Check the mailboxes you want on the left. The list in the middle shows their messages, "
             "newest first; click a column title to sort by it. The right side shows the selected "
             "message as it will look in its PDF."),
          tr("Mail doesn’t need to be open. Ostrel never changes, moves or deletes anything in Mail.")}},
        {"filter",
         tr("Finding the right messages"),
         "line.3.horizontal.decrease.circle",
         {tr("“From or to” matches a name or address in From, To or Cc. “Subject contains” needs "
             "every word you type, in any order. Accents and capitals don’t matter."),
          tr("Turn on “From date” or “To date” to export a range of whole days (both dates included)."),
          tr("The same message often sits in two mailboxes (Gmail’s All Mail and a label, for "
             "example). Settings › General › Skip duplicate messages keeps one of each.")}},
        {"export",
         tr("Exporting"),
         "square.and.arrow.up",
         {tr("Choose File › Export to PDF… (⇧⌘E). Ostrel exports every message in the list, oldest "
             "first, into a new folder where you choose."),
          tr("Each message becomes one PDF: a header block (from, to, cc, date, subject, mailbox), "
             "the message itself and the list of its attachments. The text in the PDFs can be "
             "searched and copied, in Spotlight and Preview too."),
          tr("Attachments go in a folder with the same name as the PDF. index.csv lists every message "
             "with its date, sender, recipients, subject, mailbox, files and conversation, for "
             "Numbers or Excel."),
          tr("File names start with the date and time, then the sender and subject, so the folder "
             "sorts by date. Characters that some disks don’t allow are left out, and a name is never "
             "used twice."),
          tr("Cancel stops after the current message; what’s done stays, with its index. Your Mac "
             "won’t go to sleep during a long export.")}},
        {"archive",
         tr("Keeping an export"),
         "checkmark.circle.fill",
         {tr("Every export has a file SHA256SUMS with the digests of all its files. On any computer, “sha256sum -c "
             "SHA256SUMS” in its folder tells whether they are as they were written; ostrel-verify also looks for "
             "every row of the index and for files that others put there."),
          tr("File › Verify an Export… does the same in a window, and so does a button at the end of an export."),
          tr("File › Update an Export… adds to an export only what is new, makes again what is missing or damaged, and "
             "goes on with an export that was cut short; “ostrel-export --update” does it without a window. Messages "
             "that were moved to another mailbox are not exported twice, and what was deleted in Mail stays."),
          tr("An update looks for new messages in the list as the filters and mailboxes leave it. Messages that the "
             "export has already stay in it, whatever the list shows.")}},
        {"attachments",
         tr("Attachments and images"),
         "paperclip",
         {tr("When Mail hasn’t downloaded an attachment (to save space, Mail sometimes keeps only "
             "part of a message), the PDF lists it as “not downloaded by Mail”. Open the message in "
             "Mail once to download it, then export again."),
          tr("Pictures sent inside a message are shown in its PDF. Pictures that would load from the "
             "internet are not: loading them would tell the sender you opened the message. The PDF "
             "says how many were left out.")}},
        {"access",
         tr("Full Disk Access"),
         "lock.shield",
         {tr("macOS protects Mail’s folder. To let Ostrel read it: System Settings › Privacy & "
             "Security › Full Disk Access, turn on Ostrel, then come back. You can turn it off again "
             "whenever you like."),
          tr("Rather not give that access? Copy your Mail folder somewhere else (or use one from a "
             "backup) and choose it with File › Choose Mail Folder…."),
          tr("Ostrel is sold outside the Mac App Store for this reason: an App Store app can’t read "
             "Mail’s folder.")}},
        {"privacy",
         tr("Your data and privacy"),
         "hand.raised",
         {tr("Your mail stays on this Mac. Ostrel has no account and no tracking, and it never "
             "uploads or sends your messages. Exports are new files, written only where you choose.")}},
        {"support",
         tr("Support"),
         "envelope",
         {i18n::filled(tr("Questions, ideas or a problem? Email %@; a person reads every message."),
                       contact::supportAddress)}},
    };
}

}   // namespace ostrel
