#include "core/message/EncodedWords.h"
#include "core/message/HeaderParameters.h"
#include "core/message/Headers.h"
#include "core/message/MailAddress.h"
#include "core/message/MailDate.h"
#include "core/message/MessageIDs.h"
#include "fuzz/Seeds.h"
#include "fuzz/Target.h"
#include "platform/Text.h"

#include <array>

namespace ostrel::fuzz {
namespace {

// A byte in another charset becomes at most three of UTF-8, one that cannot be read U+FFFD.
constexpr std::size_t growth = 4;

void value(std::string_view text) {
    const std::string decoded = EncodedWords::decode(text);
    isValidText(decoded, "decoded text");
    holds(decoded.size() <= growth * text.size(), "decoding adds nothing");

    std::size_t size = 0;
    for (const MailAddress& address : MailAddress::list(text)) {
        isValidText(address.name, "a name");
        isValidText(address.email, "an address");
        holds(!address.name.empty() || !address.email.empty(), "an address holds something");
        size += address.name.size() + address.email.size();
    }
    holds(size <= growth * text.size(), "names and addresses come from the value");

    size = 0;
    for (const std::string& id : MessageIDs::list(text)) {
        holds(!id.empty(), "an identifier is not empty");
        size += id.size();
    }
    holds(size <= growth * text.size(), "identifiers come from the value");   // encoded words, decoded

    (void)MailDate::parse(text);

    const HeaderParameters parameters = HeaderParameters::parse(text);
    size = parameters.value.size();
    for (const auto& [name, content] : parameters.params) {
        isValidText(content, "a parameter");
        holds(name == text::lowerASCII(name), "names of parameters are lower case");
        size += content.size();
    }
    holds(size <= growth * text.size(), "parameters come from the value");
}

}   // namespace

void run(ByteView input) {
    constexpr std::array<std::string_view, 3> names = {"subject", "from", "references"};
    everyPrefix(input, [&](ByteView block) {
        const HeaderBodySplit split = splitHeaderAndBody(block);
        holds(split.headerSize <= split.bodyStart && split.bodyStart <= block.size(), "the body follows the header");

        const Headers all = Headers::parse(block);
        const Headers some = Headers::parseOnly(block, names);
        std::size_t size = 0;
        for (const HeaderField& field : all.fields) size += field.name.size() + field.value.size();
        holds(size <= growth * block.size(), "fields come from the block");
        for (const std::string_view name : names)
            holds(all.first(name) == some.first(name), "both readers see the same");
    });
    for (const HeaderField& field : Headers::parse(input).fields) value(field.value);
    value(text::toValidUTF8(charsOf(input)));
}

std::vector<std::string> seeds() {
    // An identifier that decodes to more bytes than it has: each that is no UTF-8 becomes a character of three.
    std::vector<std::string> blocks = {"a@=?utf-8?B?gICAgICAgICAgICAgICAgICAgICAgICAgICAgICAgICAgICAgICAgICA?="};
    for (const std::string& message : messages()) {
        blocks.push_back(message.substr(0, splitHeaderAndBody(bytesOf(message)).bodyStart));
        for (const HeaderField& field : Headers::parse(bytesOf(blocks.back())).fields) blocks.push_back(field.value);
    }
    return blocks;
}

}   // namespace ostrel::fuzz
