#include "platform/LineLog.h"

#include "platform/Descriptor.h"
#include "platform/Files.h"
#include "platform/SystemCalls.h"

#include <string>

#include <fcntl.h>

namespace ostrel::files {

LineLog::LineLog(std::filesystem::path path) : path_(std::move(path)) {
    Descriptor file(uninterrupted([&] {
        return systemCalls().open(AT_FDCWD, path_.c_str(), O_RDWR | O_CREAT | O_APPEND | O_NOFOLLOW | O_CLOEXEC, 0666);
    }));
    if (!file.isOpen()) throw FileError::writing(path_, lastError());
    const off_t end = ::lseek(file.number(), 0, SEEK_END);
    char last = '\n';
    if (end > 0 && ::pread(file.number(), &last, 1, end - 1) != 1) throw FileError::writing(path_, lastError());
    isInLine_ = last != '\n';
    descriptor_ = file.release();
}

LineLog::~LineLog() {
    if (descriptor_ >= 0) ::close(descriptor_);
}

void LineLog::append(std::string_view line) {
    std::string whole = isInLine_ ? "\n" : "";
    whole.append(line).append("\n");
    std::string_view rest = whole;
    isInLine_ = true;
    while (!rest.empty()) {
        const ssize_t count = uninterrupted([&] { return systemCalls().write(descriptor_, rest.data(), rest.size()); });
        if (count < 0) throw FileError::writing(path_, lastError());
        rest.remove_prefix(static_cast<std::size_t>(count));
    }
    isInLine_ = false;
}

void LineLog::remove() {
    if (systemCalls().close(std::exchange(descriptor_, -1)) != 0 && errno != EINTR)
        throw FileError::writing(path_, lastError());
    if (::unlink(path_.c_str()) != 0) throw FileError::writing(path_, lastError());
}

}   // namespace ostrel::files
