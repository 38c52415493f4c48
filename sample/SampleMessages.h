#pragma once

#include "platform/Time.h"
#include "sample/SampleStore.h"

#include <chrono>
#include <cstddef>
#include <string>
#include <string_view>

// What the sample store holds, by kind. The people are invented, their domains reserved for examples (RFC 2606).
namespace ostrel::sample {

inline constexpr std::string_view inbox = "7F0E4C7A-51D2-4E0B-8D0C-3A5B1E7C9A10/INBOX.mbox";
inline constexpr std::string_view sent = "7F0E4C7A-51D2-4E0B-8D0C-3A5B1E7C9A10/Sent Messages.mbox";
inline constexpr std::string_view kitchen = "7F0E4C7A-51D2-4E0B-8D0C-3A5B1E7C9A10/Projects.mbox/Kitchen.mbox";
inline constexpr std::string_view garden = "7F0E4C7A-51D2-4E0B-8D0C-3A5B1E7C9A10/Projects.mbox/Garden.mbox";
inline constexpr std::string_view work = "C21B9D3E-0A44-4F7E-A1B6-9E2D5C8F7B22/INBOX.mbox";
inline constexpr std::string_view workSent = "C21B9D3E-0A44-4F7E-A1B6-9E2D5C8F7B22/Sent Mail.mbox";
inline constexpr std::string_view archive = "Mailboxes/Archive.mbox";

inline constexpr std::string_view mara = "Mara Lindqvist <mara@lindqvist.example>";
inline constexpr std::string_view maraAtWork = "Mara Lindqvist <m.lindqvist@nordlicht.example>";
inline constexpr std::string_view jonas = "Jonas Weber <jonas.weber@apfelgarten.example>";
inline constexpr std::string_view priya = "Priya Raman <priya@nordlicht.example>";

// Noon hours in UTC are near enough for letters.
inline Instant at(int year, unsigned month, unsigned day, int hour, int minute) {
    using namespace std::chrono;
    return sys_days(std::chrono::year(year) / std::chrono::month(month) / std::chrono::day(day)) + hours(hour) +
           minutes(minute);
}

// A message begun: From, To, Subject, Date (Central European time) and a Message-ID made of the key.
EmlBuilder letter(std::string_view from, std::string_view to, std::string_view subject, Instant date,
                  std::string_view key);
std::string messageID(std::string_view key);

// A one-page PDF that says the text, for attachments that open.
std::string tinyPDF(std::string_view asciiText);

void addLetters(SampleStore& store);       // conversations and letters in many languages, scripts and charsets
void addNewsletters(SampleStore& store);   // HTML mail: remote, inline and embedded images, wide tables, long reports
void addOddities(SampleStore& store);      // stored attachments, duplicates, groups, damaged files
void addBulk(SampleStore& store, std::size_t count);

}   // namespace ostrel::sample
