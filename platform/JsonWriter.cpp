#include "platform/JsonWriter.h"

#include <cmath>

#include <nlohmann/json.hpp>

namespace ostrel {

void JsonWriter::separate() {
    if (afterKey_) {
        afterKey_ = false;
    } else if (!hasItems_.empty()) {
        if (hasItems_.back()) out_ << ',';
        hasItems_.back() = true;
    }
}

JsonWriter& JsonWriter::open(char bracket) {
    separate();
    out_ << bracket;
    hasItems_.push_back(false);
    return *this;
}

JsonWriter& JsonWriter::close(char bracket) {
    hasItems_.pop_back();
    out_ << bracket;
    return *this;
}

JsonWriter& JsonWriter::key(std::string_view name) {
    text(name);
    out_ << ':';
    afterKey_ = true;
    return *this;
}

JsonWriter& JsonWriter::text(std::string_view value) {
    using nlohmann::json;
    separate();
    out_ << json(value).dump(-1, ' ', /*ensure_ascii=*/false, json::error_handler_t::replace);
    return *this;
}

JsonWriter& JsonWriter::number(std::uint64_t value) {
    separate();
    out_ << value;
    return *this;
}

JsonWriter& JsonWriter::milliseconds(double value) {
    separate();
    out_ << nlohmann::json(std::round(value * 10) / 10).dump();
    return *this;
}

JsonWriter& JsonWriter::signedNumber(std::int64_t value) {
    separate();
    out_ << value;
    return *this;
}

JsonWriter& JsonWriter::boolean(bool value) {
    separate();
    out_ << (value ? "true" : "false");
    return *this;
}

JsonWriter& JsonWriter::null() {
    separate();
    out_ << "null";
    return *this;
}

}   // namespace ostrel
