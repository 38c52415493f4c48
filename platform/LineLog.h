#pragma once

#include <filesystem>
#include <string_view>

namespace ostrel::files {

// A file of lines that only grows, so that a program that is killed leaves all lines but the last one whole.
class LineLog {
public:
    // Opens the file, or makes it, and puts new lines behind those that are there; a last line that was cut short stays
    // one of its own. Throws FileError, also when the name is a link's.
    explicit LineLog(std::filesystem::path path);
    LineLog(const LineLog&) = delete;
    LineLog& operator=(const LineLog&) = delete;
    ~LineLog();

    // The line is without its end. Throws FileError; what was written of it by then is a line of its own.
    void append(std::string_view line);
    // Removes the file; nothing can be appended afterwards. Throws FileError.
    void remove();

private:
    std::filesystem::path path_;
    int descriptor_;
    bool isInLine_ = false;   // the last line has no end
};

}   // namespace ostrel::files
