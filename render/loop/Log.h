#pragma once

#include <string>

// What nobody has to be told but somebody may want to know: shown on standard error by G_MESSAGES_DEBUG=ostrel.
namespace ostrel::engineLog {

// One line, in English, from any thread.
void note(const std::string& line);

}   // namespace ostrel::engineLog
