#include "EmbeddedFiles.h"
#include "sample/SampleMessages.h"

namespace ostrel::sample {

namespace {

// Mail keeps large attachments outside the message file, or has not downloaded them at all.
void addPartialMessages(SampleStore& store) {
    const std::string report = tinyPDF("Survey of the slope, 2021");
    store.addPartial(
        archive,
        letter("Ada Okafor <ada@apfelgarten.example>", mara, "Survey of the slope", at(2021, 4, 12, 8, 30), "survey")
            .text("Here is the survey, with a picture for the file.\n\nAda\n")
            .storedAttachment("Survey.pdf", "application/pdf", report.size())
            .storedAttachment("Slope.jpg", "image/jpeg", embedded::garden_jpg.size()),
        at(2021, 4, 12, 8, 31),
        {{"2", {"Survey.pdf", report}}, {"3", {"Slope.jpg", std::string(embedded::garden_jpg)}}});
    store.addPartial(archive,
                     letter(jonas, mara, "The film of the harvest", at(2020, 10, 4, 18, 0), "film")
                         .text("It’s rather large, I hope it gets through.\n\nJonas\n")
                         .storedAttachment("Harvest.mov", "video/quicktime", 48211334),
                     at(2020, 10, 4, 18, 5), {});
}

void addDuplicates(SampleStore& store) {
    const auto handbook = letter(priya, maraAtWork, "Handbook, third edition", at(2023, 9, 1, 7, 0), "handbook")
                              .text("Dear all,\n\nthe third edition of the handbook is out.\n\nPriya\n")
                              .attachment("Handbook.pdf", "application/pdf", tinyPDF("Handbook, third edition"));
    store.add(work, handbook, at(2023, 9, 1, 7, 1));
    store.add(archive, handbook, at(2023, 9, 1, 7, 1));
}

void addForwards(SampleStore& store) {
    const std::string original =
        letter("Harbour Office <office@harbour.example>", priya, "Berth 14: new lease", at(2023, 8, 30, 9, 12), "berth")
            .text("The lease of berth 14 begins on 1 October.\n")
            .message();
    store.add(work,
              letter(priya, maraAtWork, "Fwd: Berth 14: new lease", at(2023, 8, 30, 11, 0), "berth-forward")
                  .text("For your files; the original is attached.\n\nPriya\n")
                  .part("Content-Type: message/rfc822\r\nContent-Disposition: attachment\r\n", original),
              at(2023, 8, 30, 11, 1));
}

void addPlainOddities(SampleStore& store) {
    store.add(inbox,
              letter("Box Office <tickets@oldtheatre.example>", "undisclosed-recipients:;",
                     "=2+2 reasons to come tonight", at(2024, 2, 16, 12, 0), "theatre")
                  .text("Two for one, tonight only. And yes, the subject is meant to look like that.\n"),
              at(2024, 2, 16, 12, 0));
    store.add(inbox, letter("sensor-07@nordlicht.example", mara, "", at(2024, 3, 1, 3, 0), "sensor").text("\n"),
              at(2024, 3, 1, 3, 0));
    // No Date field: the date received stands in.
    EmlBuilder undated;
    undated.header("From", "Old Fax Gateway <fax@nordlicht.example>")
        .header("To", mara)
        .header("Subject", "Fax from +41 44 555 01 47");
    undated.text("1 page received.\n").attachment("page1.csv", "text/csv", "line,received\r\n1,ok\r\n");
    store.add(inbox, undated, at(2022, 1, 19, 10, 30));
    store.add(inbox,
              letter("A very long name <long@nordlicht.example>", mara,
                     "A subject that goes on and on: about names / slashes \\ colons : stars * question marks ? and "
                     "“quotes”, which "
                     "disks dislike, and which must be cut somewhere before it ends up longer than a name may be",
                     at(2024, 2, 2, 2, 2), "long-subject")
                  .text("Short text.\n"),
              at(2024, 2, 2, 2, 2));
}

void addDamagedFiles(SampleStore& store) {
    const std::string whole =
        letter("Harbour Office <office@harbour.example>", mara, "Tide tables for April", at(2024, 3, 4, 7, 30), "tides")
            .text("The tide tables for April:\n\n 1  04:12  16:38\n 2  05:01  17:22\n 3  05:49  18:07\n")
            .emlx(at(2024, 3, 4, 7, 31));
    // Cut in the middle of the table: the first line still promises the whole.
    store.addFile(inbox, whole.substr(0, whole.find(" 2  05:01")), at(2024, 3, 4, 7, 31));
    store.addFile(inbox, "\x03\x01\xFF\xFE what a bad disk leaves of a message", at(2024, 3, 4, 7, 32));
}

}   // namespace

void addOddities(SampleStore& store) {
    addPartialMessages(store);
    addDuplicates(store);
    addForwards(store);
    addPlainOddities(store);
    addDamagedFiles(store);
}

}   // namespace ostrel::sample
