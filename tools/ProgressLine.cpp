#include "tools/ProgressLine.h"

#include "core/export/FileNamer.h"
#include "platform/Text.h"

#include <cstdio>

#include <sys/ioctl.h>
#include <unistd.h>

namespace ostrel {

namespace {

constexpr auto terminalInterval = std::chrono::milliseconds(100);   // faster than that nobody reads
constexpr auto logInterval = std::chrono::seconds(10);

std::size_t terminalWidth() {
    winsize size{};
    return ioctl(STDERR_FILENO, TIOCGWINSZ, &size) == 0 && size.ws_col > 1 ? size.ws_col - 1U : 79U;
}

}   // namespace

std::string oneLine(std::string_view given) {
    std::string line;
    for (std::size_t at = 0; at < given.size();) {
        const auto [c, length] = text::decodeAt(given, at);
        // The joiner holds an emoji together; the other format characters can turn the line's direction round.
        const bool isHarmless = c == U'\u200D' || !(text::isControlOrFormat(c) || text::isBlankOrNewline(c));
        text::append(line, isHarmless ? c : U' ');
        at += length;
    }
    return line;
}

// A log gets its first line when the work turns out to take a while.
ProgressLine::ProgressLine()
    : terminal_(isatty(STDERR_FILENO) != 0),
      next_(Clock::now() + (terminal_ ? Clock::duration::zero() : logInterval)) {}

ProgressLine::~ProgressLine() {
    if (terminal_ && shown_) std::fputs("\r\033[K", stderr);
}

void ProgressLine::show(const std::string& what) {
    const auto now = Clock::now();
    if (now < next_) return;
    next_ = now + (terminal_ ? Clock::duration(terminalInterval) : Clock::duration(logInterval));
    shown_ = true;
    // Bytes bound the width from above.
    const std::string line = FileNamer::truncate(oneLine(what), terminal_ ? terminalWidth() : 200);
    std::fprintf(stderr, terminal_ ? "\r\033[K%s" : "%s\n", line.c_str());
    std::fflush(stderr);
}

}   // namespace ostrel
