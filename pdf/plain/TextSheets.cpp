#include "pdf/plain/TextSheets.h"

#include "pdf/Printed.h"
#include "pdf/content/Streams.h"
#include "pdf/plain/LineWriter.h"
#include "pdf/plain/PlainFonts.h"
#include "pdf/plain/SheetFont.h"
#include "platform/Text.h"
#include "platform/Translation.h"

#include <algorithm>
#include <array>
#include <map>
#include <memory>
#include <new>
#include <optional>
#include <utility>
#include <vector>

#include <qpdf/Pl_String.hh>
#include <qpdf/QPDF.hh>
#include <qpdf/QPDFWriter.hh>

namespace ostrel::pdf {
namespace {

using Object = QPDFObjectHandle;

// How each kind of text looks, much as on printed pages.
struct Look {
    double size;      // points
    double leading;   // from line to line
    double grey;      // 0: black
    double after;     // below the part
    bool isBold;
};
Look lookOf(SheetText::Kind kind) {
    switch (kind) {
        case SheetText::Kind::title:
            return {15, 19, 0.1, 6, true};
        case SheetText::Kind::row:
            return {9.5, 13, 0.1, 12, false};
        case SheetText::Kind::note:
            return {8.5, 12, 0.47, 8, false};
        case SheetText::Kind::body:
            break;
    }
    return {10.5, 14.7, 0.1, 12, false};
}
constexpr double valuesAt = 60;   // of rows, from the margin

// What a layout takes at a time: its own time grows faster than the length of a paragraph.
constexpr std::size_t wishedPiece = 400, maxPiece = 480;   // in characters
constexpr int maxEmptyLines = 60;

bool isPrintableASCII(std::string_view text) {
    return std::ranges::all_of(text, [](char c) { return c >= 0x20 && c < 0x7F; });
}

std::u16string utf16(std::string_view text) {
    std::u16string units;
    for (std::size_t at = 0; at < text.size();) {
        const auto [c, length] = text::decodeAt(text, at);
        at += length;
        if (c < 0x10000) {
            units += static_cast<char16_t>(c);
        } else {
            units += static_cast<char16_t>(0xD800 + ((c - 0x10000) >> 10));
            units += static_cast<char16_t>(0xDC00 + (c & 0x3FF));
        }
    }
    return units;
}

// The beginning of a line that is set by itself: up to a blank or, where none comes, to a letter soon after.
std::string_view firstPiece(std::string_view line) {
    std::size_t count = 0;
    for (std::size_t at = 0; at < line.size(); ++count) {
        const auto [c, length] = text::decodeAt(line, at);
        if (count >= maxPiece || (count >= wishedPiece && text::isWordCharacter(c))) return line.substr(0, at);
        at += length;
        if (count >= wishedPiece / 2 && text::isWhiteSpace(c)) return line.substr(0, at);
    }
    return line;
}

// A piece of text as it is given to the layout, which draws control characters as boxes and looks through all fonts
// for each character that none has.
class LaidOut {
public:
    LaidOut(std::string_view piece, const PlainFonts& fonts) {
        for (std::size_t at = 0; at < piece.size();) {
            const auto [c, length] = text::decodeAt(piece, at);
            if (c >= 0x20 && c != 0x7F && !fonts.have(c) && !text::isControlOrFormat(c)) {
                missing_.emplace(text_.size(), piece.substr(at, length));
                text::append(text_, replacement);
            } else if ((c < 0x20 && c != '\t') || c == 0x7F) {
                text_ += ' ';
            } else {
                text_.append(piece, at, length);
            }
            at += length;
        }
    }

    const std::string& text() const { return text_; }
    // What stands there in the piece.
    std::u16string original(std::size_t begin, std::size_t end) const {
        std::string found;
        for (std::size_t at = begin; at < end;) {
            const auto length = text::decodeAt(text_, at).length;
            const auto known = missing_.find(at);
            found += known == missing_.end() ? std::string_view(text_).substr(at, length) : known->second;
            at += length;
        }
        return utf16(found);
    }

private:
    static constexpr char32_t replacement = 0xFFFD;
    std::string text_;
    std::map<std::size_t, std::string_view> missing_;   // what replacements stand for
};

// The sheets of one file under construction.
class Sheets {
public:
    explicit Sheets(const SheetSize& size) : size_(size), y_(size.height - size.verticalMargin) {
        file_.emptyPDF();
        tree_ = file_.getRoot().getKey("/Pages");
        resources_ = file_.makeIndirectObject(Object::newDictionary());
    }

    double width() const { return size_.width - 2 * size_.horizontalMargin; }
    double left() const { return size_.horizontalMargin; }

    // Makes room for a line so high, on a new sheet where this one is full. Returns its upper edge.
    double take(double height) {
        if (y_ - height < size_.verticalMargin && !isAtTop()) endSheet();
        return std::exchange(y_, y_ - height);
    }
    // Leaves a gap, which none begins with.
    void skip(double height) {
        if (!isAtTop()) y_ -= height;
    }
    std::string& content() { return content_; }

    std::string finished(const std::vector<std::unique_ptr<SheetFont>>& fonts) {
        if (!content_.empty() || pages_.empty()) endSheet();
        FontSubsetter subsetter;
        auto named = Object::newDictionary();
        for (std::size_t i = 0; i < fonts.size(); ++i)
            named.replaceKey("/F" + std::to_string(i), fonts[i]->write(file_, subsetter));
        resources_.replaceKey("/Font", named);
        tree_.replaceKey("/Count", Object::newInteger(std::ssize(pages_)));
        tree_.replaceKey("/Kids", Object::newArray(pages_));
        std::string bytes;
        Pl_String output("sheets", nullptr, bytes);
        QPDFWriter writer(file_);
        writer.setOutputPipeline(&output);
        writer.setDecodeLevel(qpdf_dl_none);
        writer.setStaticID(true);
        writer.write();
        return bytes;
    }

private:
    bool isAtTop() const { return y_ >= size_.height - size_.verticalMargin; }

    void endSheet() {
        auto stream = Object::newStream(&file_);
        replaceDeflated(stream, zlib::deflate(content_, zlib::Effort::quick));
        content_.clear();
        auto page = Object::parse("<< /Type /Page >>");
        page.replaceKey("/Parent", tree_);
        page.replaceKey("/MediaBox", Object::newArray(Object::Rectangle(0, 0, size_.width, size_.height)));
        page.replaceKey("/Resources", resources_);
        page.replaceKey("/Contents", stream);
        pages_.push_back(file_.makeIndirectObject(page));
        y_ = size_.height - size_.verticalMargin;
    }

    const SheetSize size_;
    QPDF file_;
    Object tree_, resources_;
    std::vector<Object> pages_;
    std::string content_;   // of the sheet under way
    double y_;              // where its next line begins
};

using DescriptionPtr = std::unique_ptr<PangoFontDescription, Releaser<pango_font_description_free>>;
using LayoutPtr = std::unique_ptr<PangoLayout, Releaser<g_object_unref>>;
using FontPtr = std::unique_ptr<PangoFont, Releaser<g_object_unref>>;
using TabsPtr = std::unique_ptr<PangoTabArray, Releaser<pango_tab_array_free>>;
using IteratorPtr = std::unique_ptr<PangoLayoutIter, Releaser<pango_layout_iter_free>>;

double points(int units) { return static_cast<double>(units) / PANGO_SCALE; }

class Setter {
public:
    explicit Setter(const SheetSize& size) : sheets_(size) {
        if (!installed_.context()) throw Error(i18n::tr("no font can be used"));
        layout_.reset(pango_layout_new(installed_.context()));
        pango_layout_set_width(layout_.get(), static_cast<int>(sheets_.width() * PANGO_SCALE));
        pango_layout_set_wrap(layout_.get(), PANGO_WRAP_WORD_CHAR);
    }

    void set(const SheetText& part) {
        begin(part.kind);
        std::string_view rest = part.text;
        while (rest.ends_with('\n')) rest.remove_suffix(1);
        int emptyLines = 0;
        while (!rest.empty()) {
            const std::size_t end = std::min(rest.find('\n'), rest.size());
            std::string_view line = rest.substr(0, end);
            rest.remove_prefix(std::min(end + 1, rest.size()));
            if (line.ends_with('\r')) line.remove_suffix(1);
            emptyLines = line.empty() ? emptyLines + 1 : 0;
            if (line.empty() && emptyLines <= maxEmptyLines) sheets_.take(look_.leading);
            while (!line.empty()) {
                const auto piece = firstPiece(line);
                setPiece(piece);
                line.remove_prefix(piece.size());
            }
        }
        sheets_.skip(look_.after);
    }

    std::string finished() { return sheets_.finished(fonts_); }

private:
    // The font that most text of a kind is set in.
    struct Base {
        LineWriter::Face face;
        std::array<hb_codepoint_t, 0x7F> glyphs{};   // of ASCII; 0: it has none
        hb_codepoint_t unknown = 0;
    };

    void begin(SheetText::Kind kind) {
        look_ = lookOf(kind);
        const DescriptionPtr description(pango_font_description_from_string("Helvetica, Arial, sans-serif"));
        pango_font_description_set_absolute_size(description.get(), look_.size * PANGO_SCALE);
        if (look_.isBold) pango_font_description_set_weight(description.get(), PANGO_WEIGHT_BOLD);
        pango_layout_set_font_description(layout_.get(), description.get());
        const TabsPtr tabs(
            pango_tab_array_new_with_positions(1, FALSE, PANGO_TAB_LEFT, static_cast<int>(valuesAt * PANGO_SCALE)));
        pango_layout_set_tabs(layout_.get(), kind == SheetText::Kind::row ? tabs.get() : nullptr);

        base_ = {};
        const FontPtr font(pango_context_load_font(installed_.context(), description.get()));
        const auto face = font ? faceOf(font.get()) : std::nullopt;
        if (!face) throw Error(i18n::tr("no font can be used"));
        base_.face = *face;
        for (char32_t c = 0x20; c < base_.glyphs.size(); ++c) base_.glyphs[c] = face->font->glyphFor(c);
        for (const char32_t sign : {0xFFFDU, 0x25A1U, 0x3FU})
            if (base_.unknown == 0) base_.unknown = face->font->glyphFor(sign);
    }

    // nullopt for fonts that cannot be used.
    std::optional<LineWriter::Face> faceOf(PangoFont* font) {
        hb_face_t* const face = hb_font_get_face(pango_font_get_hb_font(font));
        const auto [place, isNew] = numbers_.try_emplace(face);
        if (isNew) {
            if (auto made = SheetFont::of(face)) {
                place->second = fonts_.size();
                fonts_.push_back(std::move(made));
            }
        }
        if (!place->second) return std::nullopt;
        return LineWriter::Face{fonts_[*place->second].get(), *place->second, look_.size};
    }

    void setPiece(std::string_view piece) {
        if (isPrintableASCII(piece) &&
            std::ranges::find(base_.glyphs.begin() + 0x20, base_.glyphs.end(), 0U) == base_.glyphs.end())
            return setASCII(piece);
        const LaidOut text(piece, installed_);
        pango_layout_set_text(layout_.get(), text.text().data(), static_cast<int>(text.text().size()));
        const IteratorPtr lines(pango_layout_get_iter(layout_.get()));
        do setLine(lines.get(), text);
        while (pango_layout_iter_next_line(lines.get()));
    }

    // Most of a long text needs no more than this, which is fifty times as fast.
    void setASCII(std::string_view text) {
        const auto widthOf = [this](char c) {
            return base_.face.font->widthOf(base_.glyphs[static_cast<unsigned char>(c)]) * look_.size / 1000;
        };
        while (!text.empty()) {
            double width = 0;
            std::size_t end = 0, blank = 0;   // blank: behind the last one
            for (; end < text.size(); ++end) {
                width += widthOf(text[end]);
                if (text[end] == ' ')
                    blank = end + 1;
                else if (width > sheets_.width() && end > 0)
                    break;
            }
            if (end < text.size() && blank > 0) end = blank;
            double x = sheets_.left();
            const double y = baseline(sheets_.take(look_.leading), look_.leading);
            beginLine();
            LineWriter line(sheets_.content());
            for (const char c : text.substr(0, end)) {
                const auto glyph = base_.glyphs[static_cast<unsigned char>(c)];
                const char16_t unit = static_cast<unsigned char>(c);
                const Glyph shown{glyph, x, y};
                show(line, base_.face, {&unit, 1}, {&shown, 1});
                x += widthOf(c);
            }
            text.remove_prefix(end);
        }
    }

    struct Glyph {
        hb_codepoint_t number;
        double x, y;
    };
    // What reads as one, drawn.
    void show(LineWriter& line, const LineWriter::Face& face, std::u16string_view text, std::span<const Glyph> glyphs) {
        bool isTold = glyphs.size() == 1;
        for (const Glyph& glyph : glyphs)
            isTold = face.font->show(glyph.number, glyphs.size() == 1 ? text : std::u16string_view()) && isTold;
        if (!isTold) line.beginSpan(text);
        for (const Glyph& glyph : glyphs) line.glyph(face, glyph.number, glyph.x, glyph.y);
        if (!isTold) line.endSpan();
    }

    void beginLine() {
        auto& out = sheets_.content();
        for (int i = 0; i < 3; ++i) {
            appendNumber(out, look_.grey);
            out += ' ';
        }
        out += "rg\n";
    }

    // As high as its text by itself would stand in the middle of the line.
    double baseline(double top, double height) const { return top - height / 2 - look_.size * 0.35; }

    void setLine(PangoLayoutIter* at, const LaidOut& text) {
        PangoLayoutLine* const pangoLine = pango_layout_iter_get_line_readonly(at);
        PangoRectangle logical;
        pango_layout_iter_get_line_extents(at, nullptr, &logical);
        // Some scripts tower; a font may claim any height.
        const double height = std::clamp(points(logical.height), look_.leading, look_.leading * 3);
        const double y = baseline(sheets_.take(height), height);
        double x = sheets_.left() + points(logical.x);
        beginLine();
        LineWriter line(sheets_.content());
        for (const GSList* run = pangoLine->runs; run != nullptr; run = run->next)
            setRun(line, static_cast<PangoGlyphItem*>(run->data), text, x, y);
    }

    struct Cluster {
        int begin, end;   // glyphs
        std::size_t textBegin, textEnd;
    };
    static std::vector<Cluster> clustersOf(PangoGlyphItem* run, const LaidOut& text) {
        std::vector<Cluster> clusters;
        PangoGlyphItemIter at;
        for (auto isThere = pango_glyph_item_iter_init_start(&at, run, text.text().c_str()); isThere;
             isThere = pango_glyph_item_iter_next_cluster(&at)) {
            const bool isForward = at.start_glyph < at.end_glyph;
            clusters.push_back({isForward ? at.start_glyph : at.end_glyph + 1,
                                isForward ? at.end_glyph : at.start_glyph + 1, static_cast<std::size_t>(at.start_index),
                                static_cast<std::size_t>(at.end_index)});
        }
        if (run->item->analysis.level % 2 == 1) std::ranges::reverse(clusters);
        return clusters;
    }

    // Moves x to the end of the run.
    void setRun(LineWriter& line, PangoGlyphItem* run, const LaidOut& text, double& x, double y) {
        const auto face = faceOf(run->item->analysis.font);
        for (const Cluster& cluster : clustersOf(run, text)) {
            std::vector<Glyph> glyphs;
            const double begin = x;
            bool isUnknown = false;
            for (int i = cluster.begin; i < cluster.end; ++i) {
                const PangoGlyphInfo& glyph = run->glyphs->glyphs[i];
                isUnknown = isUnknown || (glyph.glyph & PANGO_GLYPH_UNKNOWN_FLAG) != 0 || glyph.glyph == 0;
                if (glyph.glyph != PANGO_GLYPH_EMPTY)
                    glyphs.push_back(
                        {glyph.glyph, x + points(glyph.geometry.x_offset), y - points(glyph.geometry.y_offset)});
                x += points(glyph.geometry.width);
            }
            if (glyphs.empty()) continue;
            const bool isUsable = face && !isUnknown;
            if (!isUsable) glyphs = {{base_.unknown, begin, y}};
            show(line, isUsable ? *face : base_.face, text.original(cluster.textBegin, cluster.textEnd), glyphs);
        }
    }

    Sheets sheets_;
    const PlainFonts installed_;
    LayoutPtr layout_;
    std::map<hb_face_t*, std::optional<std::size_t>> numbers_;   // nullopt: cannot be used
    std::vector<std::unique_ptr<SheetFont>> fonts_;
    Look look_{};
    Base base_;
};

}   // namespace

std::string textSheets(std::span<const SheetText> parts, const SheetSize& size) {
    try {
        Setter setter(size);
        for (const SheetText& part : parts)
            if (!part.text.empty()) setter.set(part);
        return setter.finished();
    } catch (const std::bad_alloc&) {
        throw Error(i18n::tr("there is not enough memory"));
    } catch (const std::logic_error& error) {   // libqpdf's word for objects of another type than expected
        throw Error(error.what());
    }
}

}   // namespace ostrel::pdf
