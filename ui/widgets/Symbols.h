#pragma once

#include <string_view>
#include <vector>

// The symbols that the windows show, by the names the texts of this application use for them ("tray.2"). Each is one
// symbolic icon, drawn for this project (data/icons) or of the desktop's theme, legible in light, dark and high
// contrast.
namespace ostrel::symbols {

// The icon's name in the theme; "image-missing" for a name that is in no table.
const char* iconName(std::string_view symbol);

// Of all symbols.
std::vector<const char*> icons();

// By the mailbox's name: "inbox" is "tray", "Sent Messages" is "paperplane", any other "folder".
std::string_view forMailbox(std::string_view mailboxName);

}   // namespace ostrel::symbols
