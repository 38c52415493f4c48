#pragma once

#include "pdf/content/Streams.h"

#include <cstddef>
#include <deque>
#include <map>
#include <memory>
#include <string>
#include <string_view>

#include <qpdf/QPDF.hh>

namespace ostrel::pdf {

// A stream of drawing operators (ISO 32000-1 §7.8.2).
class Content {
public:
    enum class Kind { page, form, pattern, glyph };   // glyph: of a Type 3 font
    Kind kind = Kind::page;
    QPDFObjectHandle stream;      // its data may be older than Contents::textOf()
    QPDFObjectHandle resources;   // what its names stand for; null if it has none of its own, or several

private:
    friend class Contents;
    std::shared_ptr<const std::string> text_;   // null: not unpacked, or not kept
    zlib::Effort effort_ = zlib::Effort::good;
    bool isChanged_ = false;   // text_ is newer than the stream's data
    bool isDone_ = false;      // the stream's data are as they will be stored
};

// All content of a file, each stream unpacked once and packed once, whatever number of passes read and change it in
// between. Of texts beyond a fixed amount of memory nothing is kept: these are unpacked for each pass.
class Contents {
public:
    // Joins a page's several streams to one, and gives pages that share a stream one each.
    explicit Contents(QPDF& file);
    Contents(const Contents&) = delete;
    Contents& operator=(const Contents&) = delete;

    // Pages first, in their order, then the others.
    std::deque<Content>& all() { return contents_; }

    // Null if it is none of them.
    Content* find(QPDFObjectHandle stream);

    // Returns the stream unpacked, as last replaced; null if it cannot be unpacked.
    std::shared_ptr<const std::string> textOf(Content& content);
    void replace(Content& content, std::string text, zlib::Effort effort = zlib::Effort::good);

    // The stream stays as the engine packed it.
    void keepStored(Content& content) { content.isDone_ = true; }

    // A pattern's or form's stream again, as one more object, with its own copy of the dictionary.
    QPDFObjectHandle copy(QPDFObjectHandle stream);

    // Packs all content. Afterwards nothing may be read or replaced here.
    ByteChange pack();

private:
    void add(Content::Kind kind, QPDFObjectHandle stream, QPDFObjectHandle resources);
    void keep(Content& content, std::shared_ptr<const std::string> text);
    void store(Content& content, std::string_view text);

    std::deque<Content> contents_;   // whose elements stay where they are
    std::map<QPDFObjGen, Content*> byStream_;
    std::size_t keptBytes_ = 0;
    ByteChange packed_;
};

}   // namespace ostrel::pdf
