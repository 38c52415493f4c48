#pragma once

#include <chrono>
#include <string>
#include <string_view>

namespace ostrel {

// What a sender wrote as one harmless line for a terminal or a log: control characters, which a terminal would obey,
// and line breaks become blanks.
std::string oneLine(std::string_view text);

// Progress on standard error: one line that updates itself on a terminal, a line every so often elsewhere.
class ProgressLine {
public:
    ProgressLine();
    ~ProgressLine();   // leaves the terminal on a fresh line

    // what is one line of text; it may hold anything a sender wrote.
    void show(const std::string& what);

private:
    using Clock = std::chrono::steady_clock;
    const bool terminal_;
    bool shown_ = false;
    Clock::time_point next_;
};

}   // namespace ostrel
