#pragma once

#include <optional>
#include <string>
#include <string_view>

// The head of a message page and its list of attachments are Ostrel's word about the mail. The mail stands on the same
// page: its styles could hide, change or cover them, its tags swallow them. So the engine gets the mail alone, and ours
// are put around it where the mail does not reach. Where nothing interferes the page looks as it is written.
namespace ostrel::pageFrame {

struct Framed {
    std::string document;   // to load
    std::string script;     // to run when it is parsed, in a world of our own
};

// Returns how a message page is shown, nullopt for any other text.
// padding: around all of it, a value of CSS's padding; empty: none.
std::optional<Framed> framed(std::string_view page, std::string_view padding);

// The rules of the user's style sheet that keep the mail in its place.
extern const std::string_view userStyles;

}   // namespace ostrel::pageFrame
