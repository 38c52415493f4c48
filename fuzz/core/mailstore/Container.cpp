#include "core/mailstore/Emlx.h"
#include "fuzz/Seeds.h"
#include "fuzz/Target.h"
#include "platform/PropertyListReaders.h"
#include "sample/EmlBuilder.h"

namespace ostrel::fuzz {

void run(ByteView input) {
    everyPrefix(input, [](ByteView file) {
        try {
            const Emlx::Container container = Emlx::container(Bytes::copyOf(file));
            holds(container.message.size() <= file.size(), "a message is no longer than its file");
            holds(!container.message.empty(), "an accepted message is not empty");
        } catch (const Emlx::ReadError&) {
            // One of the two reasons not to be a message.
        }
    });
    if (const auto list = propertyList::parse(input)) {
        std::size_t size = 0;
        for (const auto& [key, value] : list->entries) {
            isValidText(key, "a property list's key");
            size += key.size();
            if (const auto* text = std::get_if<std::string>(&value)) {
                isValidText(*text, "a property list's text");
                size += text->size();
            }
        }
        // A binary list may name one string many times.
        holds(size <= 4 * input.size() * (1 + list->entries.size()), "a property list's texts come from its bytes");
    }
}

std::vector<std::string> seeds() {
    std::vector<std::string> files = messageFiles();
    files.push_back(
        "<?xml version=\"1.0\"?><!DOCTYPE plist><plist "
        "version=\"1.0\"><dict><key>flags</key><integer>8590195713</integer>"
        "<key>date-received</key><real>1709629662.5</real><key>s</key><string>&lt;&#228;&#x1F600;<![CDATA[x]]></string>"
        "<key>nested</key><array><dict><key>a</key><true/></dict><data>AAAA</data></array></dict></plist>");
    // {"flags": 1, "s": "text"}
    files.push_back(
        std::string("bplist00\xD2\x01\x02\x03\x04"
                    "Uflags"
                    "Qs"
                    "\x10\x01"
                    "Ttext"
                    "\x08\x0D\x13\x15\x17\0\0\0\0\0\0\x01\x01\0\0\0\0\0\0\0\x05\0\0\0\0\0\0\0\0\0\0\0\0\0\0\0\x1C",
                    65));
    return files;
}

}   // namespace ostrel::fuzz
