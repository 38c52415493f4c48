#pragma once

#include "core/page/MessageHTML.h"

#include <map>
#include <string>

// The sanitiser as plain regular expressions run by PCRE2: slow, quadratic on hostile input, and short enough to be
// checked by eye. What it makes of a text is what the hand-written matchers have to make of it.
namespace ostrel::regexPipeline {

// Throws std::runtime_error when the engine gives up (its limits), which is not "no match". The text must not contain
// U+180E: the engine counts it as white space, Unicode no longer does.
MessageHTML::Sanitized sanitize(const std::string& html, const std::map<std::string, MailAttachment>& inlineImages);

// Web addresses of an escaped text made links.
std::string linked(const std::string& escaped);

}   // namespace ostrel::regexPipeline
