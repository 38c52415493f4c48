#include "pdf/content/Contents.h"

#include <optional>
#include <utility>

#include <qpdf/QPDFPageDocumentHelper.hh>
#include <qpdf/QPDFPageObjectHelper.hh>

namespace ostrel::pdf {
namespace {

constexpr std::size_t memoryLimit = std::size_t{32} << 20;   // some hundreds of sheets

std::optional<Content::Kind> kindOf(QPDFObjectHandle dict) {
    auto patternType = dict.getKey("/PatternType");
    if (dict.getKey("/Subtype").isNameAndEquals("/Form")) return Content::Kind::form;
    const bool isTiling = patternType.isInteger() && patternType.getIntValue() == 1;
    return isTiling ? std::optional(Content::Kind::pattern) : std::nullopt;
}

bool isSame(QPDFObjectHandle a, QPDFObjectHandle b) { return a.unparse() == b.unparse(); }

}   // namespace

Contents::Contents(QPDF& file) {
    for (auto& page : QPDFPageDocumentHelper(file).getAllPages()) {
        auto dict = page.getObjectHandle();
        if (dict.getKey("/Contents").isArray()) page.coalesceContentStreams();
        auto content = dict.getKey("/Contents");
        if (!content.isStream()) continue;
        if (find(content)) {
            content = content.copyStream();
            dict.replaceKey("/Contents", content);
        }
        add(Content::Kind::page, content, page.getAttribute("/Resources", false));
    }
    for (auto object : file.getAllObjects()) {
        if (object.isStream()) {
            auto dict = object.getDict();
            if (const auto kind = kindOf(dict)) add(*kind, object, dict.getKey("/Resources"));
        } else if (object.isDictionary() && object.getKey("/Subtype").isNameAndEquals("/Type3")) {
            auto glyphs = object.getKey("/CharProcs");
            if (!glyphs.isDictionary()) continue;
            const auto resources = object.getKey("/Resources");
            for (const auto& name : glyphs.getKeys())
                if (auto glyph = glyphs.getKey(name); glyph.isStream()) add(Content::Kind::glyph, glyph, resources);
        }
    }
}

void Contents::add(Content::Kind kind, QPDFObjectHandle stream, QPDFObjectHandle resources) {
    const auto place = byStream_.try_emplace(stream.getObjGen());
    if (place.second) {
        Content& content = contents_.emplace_back();
        content.kind = kind;
        content.stream = stream;
        content.resources = resources;
        place.first->second = &content;
    } else if (auto& known = *place.first->second; !isSame(known.resources, resources)) {
        known.resources = QPDFObjectHandle::newNull();   // a name stands for two things
    }
}

Content* Contents::find(QPDFObjectHandle stream) {
    const auto found = byStream_.find(stream.getObjGen());
    return found == byStream_.end() ? nullptr : found->second;
}

std::shared_ptr<const std::string> Contents::textOf(Content& content) {
    if (content.text_) return content.text_;
    auto unpacked = decoded(content.stream);
    if (!unpacked) return nullptr;
    auto text = std::make_shared<const std::string>(std::move(*unpacked));
    keep(content, text);
    return text;
}

void Contents::replace(Content& content, std::string text, zlib::Effort effort) {
    content.effort_ = effort;
    content.isChanged_ = true;
    content.isDone_ = false;
    keep(content, std::make_shared<const std::string>(std::move(text)));
}

void Contents::keep(Content& content, std::shared_ptr<const std::string> text) {
    if (content.text_) keptBytes_ -= content.text_->size();
    content.text_ = nullptr;
    if (keptBytes_ + text->size() <= memoryLimit) {
        keptBytes_ += text->size();
        content.text_ = std::move(text);
    } else if (content.isChanged_) {
        store(content, *text);
    }
}

// Content that did not change stays as it is if that is shorter; what changed is stored unpacked if that is.
void Contents::store(Content& content, std::string_view text) {
    packed_.before += storedSize(content.stream);
    const auto none = QPDFObjectHandle::newNull();
    auto packed = zlib::deflate(text, content.effort_);
    const bool isShorter = packed.size() < (content.isChanged_ ? text.size() : storedSize(content.stream));
    if (isShorter)
        replaceDeflated(content.stream, std::move(packed));
    else if (content.isChanged_)
        content.stream.replaceStreamData(std::string(text), none, none);
    packed_.after += storedSize(content.stream);
    content.isChanged_ = false;
    content.isDone_ = true;
}

QPDFObjectHandle Contents::copy(QPDFObjectHandle stream) {
    auto* const known = find(stream);
    auto made = stream.copyStream();
    if (!known) return made;
    add(known->kind, made, made.getDict().getKey("/Resources"));
    if (known->isChanged_) replace(*find(made), *known->text_, known->effort_);
    return made;
}

ByteChange Contents::pack() {
    for (auto& content : contents_) {
        if (content.isDone_) continue;
        if (const auto text = textOf(content)) store(content, *text);
        if (content.text_) keptBytes_ -= content.text_->size();
        content.text_ = nullptr;
    }
    return packed_;
}

}   // namespace ostrel::pdf
