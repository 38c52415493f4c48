#pragma once

#include "core/mailstore/MailIndex.h"

#include <string>
#include <vector>

// Conversations, for the index.
namespace ostrel::Threads {

// A conversation identifier for every message of the list, in its order. Messages that refer to each other
// or to a common ancestor, present or not, share one (RFC 5322 section 3.6.4); subjects say nothing. A message that
// refers to nothing has its own. Nearly linear; the same list gives the same identifiers.
//
// Identifiers are "C0001", "C0002" and so on in order of first appearance: in a list sorted by date, sorting a
// spreadsheet by that column puts the conversations in the order they began. All have the same width and start with a
// letter, so they sort as text and no spreadsheet takes them for a number or a formula. The first Message-ID would do
// neither.
std::vector<std::string> assign(const std::vector<const MessageSummary*>& messages);

}   // namespace ostrel::Threads
