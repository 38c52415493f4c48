#pragma once

#include "core/mailstore/MailIndex.h"

#include <string>
#include <unordered_map>
#include <vector>

// Conversations, for the index.
namespace ostrel::Threads {

// A conversation identifier for every message of the list, by MessageSummary::id(). Messages that refer to each other
// or to a common ancestor, present or not, share one. Linear; the same list gives the same identifiers.
std::unordered_map<std::string, std::string> assign(const std::vector<MessageSummary>& messages);

}   // namespace ostrel::Threads
