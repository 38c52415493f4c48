#pragma once

#include <string>

// What nobody has to be told but somebody may want to know: shown on standard error by G_MESSAGES_DEBUG=ostrel.
namespace ostrel::engineLog {

// Before the first line and the first thread of GLib: standard output is for what our programs print.
void useStandardError();

// One line, in English, from any thread.
void note(const std::string& line);

}   // namespace ostrel::engineLog
