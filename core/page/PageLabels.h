#pragma once

#include <cstddef>
#include <functional>
#include <string>

namespace ostrel {

// Every human-readable text of the message page and of the index notes; the caller may replace any of them.
struct PageLabels {
    std::string from = "From";
    std::string to = "To";
    std::string cc = "Cc";
    std::string date = "Date";
    std::string subject = "Subject";   // carried for callers; the page shows the subject as its title
    std::string mailbox = "Mailbox";
    std::string attachments = "Attachments";
    std::string noSubject = "(No subject)";
    std::string noText = "(This message has no text.)";
    std::string missing = "not downloaded by Mail";
    std::string savedIn = "Saved in the folder";
    std::function<std::string(std::size_t)> remoteBlocked = [](std::size_t count) {
        return std::to_string(count) + " remote images were not loaded: Ostrel never contacts the sender’s servers.";
    };
    std::string truncated = "This message file was cut short; what Mail saved is shown.";
    std::string unreadable = "Couldn’t be read";
    std::string tooLarge = "This message is too large to be shown whole; the rest was left out.";
};

}   // namespace ostrel
