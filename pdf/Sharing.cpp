#include "pdf/Sharing.h"

#include "pdf/content/Streams.h"

#include <algorithm>
#include <array>
#include <functional>
#include <map>
#include <optional>
#include <string>
#include <unordered_map>

namespace ostrel::pdf {
namespace {

// Objects that may be replaced by others with the same content.
bool isShareable(QPDFObjectHandle object) {
    if (!object.isStream() && !object.isDictionary() && !object.isArray()) return false;
    if (object.isArray()) return true;
    auto type = (object.isStream() ? object.getDict() : object).getKey("/Type");
    if (type.isNull()) return true;
    static constexpr std::array<std::string_view, 8> shareable{"/Font",    "/FontDescriptor", "/ExtGState", "/XObject",
                                                               "/Pattern", "/Encoding",       "/Mask",      "/CMap"};
    return type.isName() && std::ranges::find(shareable, type.getName()) != shareable.end();
}

class Sharer {
public:
    // Replaces the references in a direct container by those to the first object with the same content.
    void shareWithin(QPDFObjectHandle container, int depth = 0) {
        constexpr int maxDepth = 60;   // a Type 3 glyph that draws a picture with a mask is at 8
        if (depth > maxDepth) return;
        if (container.isStream()) container = container.getDict();
        if (container.isDictionary()) {
            for (const auto& key : container.getKeys())
                if (auto better = replacement(container.getKey(key), depth)) container.replaceKey(key, *better);
        } else if (container.isArray()) {
            for (int i = 0; i < container.getArrayNItems(); ++i)
                if (auto better = replacement(container.getArrayItem(i), depth)) container.setArrayItem(i, *better);
        }
    }

    std::size_t droppedBytes() const { return dropped_; }   // of streams

private:
    std::optional<QPDFObjectHandle> replacement(QPDFObjectHandle child, int depth) {
        if (!child.isIndirect()) {
            shareWithin(child, depth + 1);
            return std::nullopt;
        }
        if (!isShareable(child)) return std::nullopt;
        const auto id = child.getObjGen();
        // Set before going down, so that an object that refers back to itself stands for itself.
        const auto [entry, isNew] = first_.try_emplace(id, child);
        if (isNew) {
            shareWithin(child, depth + 1);
            entry->second = firstLike(child);
        }
        return entry->second.getObjGen() == id ? std::nullopt : std::optional(entry->second);
    }

    QPDFObjectHandle firstLike(QPDFObjectHandle object) {
        const auto text = words(object);
        const auto data = object.isStream() ? std::optional(stored(object)) : std::nullopt;
        auto key = std::hash<std::string>()(text);
        if (data) key = key * 31 + std::hash<std::string>()(*data);
        const auto [begin, end] = seen_.equal_range(key);
        for (auto it = begin; it != end; ++it) {
            auto& other = it->second;
            if (other.isStream() != object.isStream() || words(other) != text) continue;
            if (data && stored(other) != *data) continue;
            if (data) dropped_ += data->size();
            return other;
        }
        seen_.emplace(key, object);
        return object;
    }

    static std::string words(QPDFObjectHandle object) {
        if (!object.isStream()) return object.unparseResolved();
        auto dict = object.getDict().shallowCopy();
        dict.removeKey("/Length");
        return dict.unparse();
    }

    std::map<QPDFObjGen, QPDFObjectHandle> first_;
    std::unordered_multimap<std::size_t, QPDFObjectHandle> seen_;
    std::size_t dropped_ = 0;
};

}   // namespace

ByteChange shareTwins(QPDF& file) {
    Sharer sharer;
    for (auto page : file.getAllPages()) {
        // The entries of the page that lead to what it draws with; the others lead back to pages.
        auto drawing = QPDFObjectHandle::newDictionary();
        for (const auto* key : {"/Resources", "/Contents"}) drawing.replaceKey(key, page.getKey(key));
        sharer.shareWithin(drawing);
        for (const auto& key : drawing.getKeys()) page.replaceKey(key, drawing.getKey(key));
    }
    return {sharer.droppedBytes(), 0};
}

}   // namespace ostrel::pdf
