#pragma once

#include <string>
#include <string_view>

#include <qpdf/QPDFObjectHandle.hh>

namespace ostrel::pdf {

// What the names in content stand for (ISO 32000-1 §7.8.3).
class Resources {
public:
    // dictionary: null if the content has none of its own.
    explicit Resources(QPDFObjectHandle dictionary) : all_(dictionary) {}

    // Null if it is not there. Then what the operation sets is unknown from there on, not unchanged.
    QPDFObjectHandle find(const char* kind, std::string_view name) {
        auto some = ofKind(kind);
        return some.isDictionary() ? some.getKey("/" + std::string(name)) : QPDFObjectHandle::newNull();
    }

    // All of a kind; null if there are none.
    QPDFObjectHandle ofKind(const char* kind) {
        return all_.isDictionary() ? all_.getKey(kind) : QPDFObjectHandle::newNull();
    }

private:
    QPDFObjectHandle all_;
};

}   // namespace ostrel::pdf
