#pragma once

#include "platform/Bytes.h"

#include <cstddef>
#include <memory>
#include <optional>
#include <stdexcept>
#include <string>

class QPDF;

namespace ostrel::pdf {

// The printed file is no PDF that can be read. Whether the engine or damage on disk is to blame cannot be told.
class Error : public std::runtime_error {
public:
    explicit Error(const std::string& reason);
};

// A file as the web engine printed it, opened once and with all its pages. Use it from one thread at a time; which one
// does not matter.
class Printed {
public:
    // Opens strictly: the engine writes no damaged files, and a repaired one may have lost pages. Throws Error.
    static Printed open(Bytes file);
    Printed(Printed&&) noexcept;
    Printed& operator=(Printed&&) noexcept;
    ~Printed();

    std::size_t pages() const;       // at least 1
    std::size_t sizeBytes() const;   // of the file

    // Returns how many points the engine made of one CSS pixel on the first page; nullopt if the file does not tell.
    std::optional<double> scale() const;

    // The open file, to be changed in memory. Lives as long as this object.
    QPDF& file();
    // The same bytes opened anew, as they were printed. Throws Error.
    Printed reopened() const;

private:
    struct State;
    explicit Printed(std::unique_ptr<State> state);
    std::unique_ptr<State> state_;
};

}   // namespace ostrel::pdf
