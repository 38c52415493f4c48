#include "platform/PropertyListReaders.h"

namespace ostrel::propertyList {

std::optional<PropertyList> parse(ByteView bytes) {
    const std::string_view content = charsOf(bytes);
    if (content.size() > sizeLimitBytes) return std::nullopt;
    return content.starts_with("bplist00") ? parseBinary(content) : parseXML(content);
}

}   // namespace ostrel::propertyList
