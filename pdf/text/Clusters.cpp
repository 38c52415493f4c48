#include "pdf/text/Clusters.h"

#include "pdf/content/ContentReader.h"
#include "pdf/content/Hex.h"
#include "pdf/content/Resources.h"
#include "pdf/content/Rewriter.h"
#include "pdf/content/StateStack.h"
#include "pdf/fonts/GlyphFont.h"

#include <algorithm>
#include <array>
#include <cstdint>
#include <map>
#include <memory>
#include <optional>
#include <set>
#include <span>
#include <unordered_map>
#include <utility>
#include <vector>

namespace ostrel::pdf {
namespace {

constexpr std::size_t maxWords = 50'000, maxWordLength = 400;   // beyond it is no mail that somebody searches
constexpr std::size_t maxClusterGlyphs = 64;

using namespace harfBuzz;

using Glyphs = std::u16string;   // numbers of glyphs

// Runs of one script; blanks and emoji are of none.
std::set<std::u32string> wordsOf(const std::u32string& text) {
    auto* const unicode = hb_unicode_funcs_get_default();
    std::set<std::u32string> words;
    std::u32string word;
    hb_script_t script = HB_SCRIPT_INVALID;
    const auto end = [&] {
        if (!word.empty() && word.size() <= maxWordLength && words.size() < maxWords) words.insert(word);
        word.clear();
    };
    for (const char32_t c : text) {
        const auto own = hb_unicode_script(unicode, c);
        const bool isJoiner = c == 0x200C || c == 0x200D;
        if (!isClustered(c) && !((isJoiner || isCombining(c)) && !word.empty())) {
            end();
            continue;
        }
        if (own != HB_SCRIPT_COMMON && own != HB_SCRIPT_INHERITED) {
            if (own != script) end();
            script = own;
        }
        word += c;
    }
    end();
    return words;
}

// What of the page's text may be drawn by glyphs that don't tell it.
struct Wanted {
    std::set<std::u32string> words, sequences;
    bool isEmpty() const { return words.empty() && sequences.empty(); }
};

// What the glyphs of one font read together.
class Reading {
public:
    Reading(FontPtr font, CodeTexts told)
        : font_(std::move(font)), told_(std::move(told)), buffer_(hb_buffer_create()) {}

    void learnWords(const std::set<std::u32string>& words) {
        const auto isJoiner = [](char32_t c) { return c == 0x200C || c == 0x200D; };
        hb_codepoint_t glyph = 0;
        for (const auto& word : words)
            if (std::ranges::all_of(
                    word, [&](char32_t c) { return isJoiner(c) || hb_font_get_nominal_glyph(font_.get(), c, &glyph); }))
                learn(word);
    }
    // Of those the font may have glyphs for the whole only.
    void learnSequences(const std::set<std::u32string>& sequences) {
        for (const auto& sequence : sequences) learn(sequence);
    }

    struct Cluster {
        std::u16string text;
        bool isTold = false;     // the glyphs say it by themselves
        std::size_t marks = 0;   // glyphs of no width at the end
    };

    // The longest cluster that the glyphs begin with, by its length.
    std::pair<const Cluster*, std::size_t> longest(std::u16string_view glyphs) const {
        std::pair<const Cluster*, std::size_t> found{nullptr, 0};
        std::size_t node = 0;
        for (std::size_t at = 0; at < glyphs.size(); ++at) {
            const auto next = next_.find(step(node, glyphs[at]));
            if (next == next_.end()) break;
            node = next->second;
            if (nodes_[node]) found = {&*nodes_[node], at + 1};
        }
        return found;
    }

    // Texts for glyphs that the engine tells none of.
    const CodeTexts& untold() const { return untold_; }

private:
    void learn(const std::u32string& word) {
        hb_buffer_reset(buffer_.get());
        hb_buffer_add_utf32(buffer_.get(), reinterpret_cast<const std::uint32_t*>(word.data()),
                            static_cast<int>(word.size()), 0, static_cast<int>(word.size()));
        hb_buffer_guess_segment_properties(buffer_.get());
        if (hb_buffer_get_direction(buffer_.get()) != HB_DIRECTION_LTR) return;
        static constexpr std::array<hb_feature_t, 2> noLigatures{
            // as the pages are printed
            hb_feature_t{HB_TAG('l', 'i', 'g', 'a'), 0, HB_FEATURE_GLOBAL_START, HB_FEATURE_GLOBAL_END},
            hb_feature_t{HB_TAG('c', 'l', 'i', 'g'), 0, HB_FEATURE_GLOBAL_START, HB_FEATURE_GLOBAL_END}};
        hb_shape(font_.get(), buffer_.get(), noLigatures.data(), noLigatures.size());
        unsigned count = 0;
        const auto* const shaped = hb_buffer_get_glyph_infos(buffer_.get(), &count);
        const auto* const places = hb_buffer_get_glyph_positions(buffer_.get(), &count);
        if (std::ranges::any_of(std::span(shaped, count), [](const auto& glyph) { return glyph.codepoint == 0; }))
            return;   // the engine takes another font
        for (unsigned at = 0; at < count;) {
            Glyphs glyphs;
            const auto begin = shaped[at].cluster;
            std::size_t marks = 0;
            for (; at < count && shaped[at].cluster == begin; ++at) {
                marks = places[at].x_advance == 0 && !glyphs.empty() ? marks + 1 : 0;
                glyphs += static_cast<char16_t>(shaped[at].codepoint);
            }
            const auto end = at < count ? shaped[at].cluster : static_cast<std::uint32_t>(word.size());
            if (end > begin) put(std::move(glyphs), utf16(std::u32string_view(word).substr(begin, end - begin)), marks);
        }
    }

    // Of texts that look the same the first found stays.
    void put(Glyphs glyphs, std::u16string text, std::size_t marks) {
        if (glyphs.size() > maxClusterGlyphs) return;
        std::u16string told;
        for (const char16_t glyph : glyphs)
            if (const auto found = told_.find(glyph); found != told_.end()) told += found->second;
        tell(glyphs, text);
        // Readers sort glyphs by their place, and take a mark of no width for the next letter's or for a gap.
        const bool isTold = told == text && glyphs.size() == 1;
        std::size_t node = 0;
        for (const char16_t glyph : glyphs) {
            const auto [place, isNew] = next_.try_emplace(step(node, glyph), nodes_.size());
            if (isNew) nodes_.emplace_back();
            node = place->second;
        }
        if (!nodes_[node]) nodes_[node] = Cluster{std::move(text), isTold, marks};
    }

    // The first glyph without a text takes what the others leave of the cluster's. The rest say that nothing stands
    // between their neighbours. Readers that know ActualText see neither.
    void tell(const Glyphs& glyphs, std::u16string_view text) {
        std::u16string left(text);
        for (const char16_t glyph : glyphs) {
            const auto found = told_.find(glyph);
            if (found == told_.end() || !isText(found->second)) continue;
            if (const auto at = left.find(found->second); at != left.npos) left.erase(at, found->second.size());
        }
        constexpr char16_t wordJoiner = 0x2060;
        for (const char16_t glyph : glyphs) {
            const auto found = told_.find(glyph);
            if (found != told_.end() && isText(found->second)) continue;
            untold_.try_emplace(glyph, left.empty() ? std::u16string(1, wordJoiner) : std::exchange(left, {}));
        }
    }

    FontPtr font_;
    CodeTexts told_, untold_;
    BufferPtr buffer_;

    // A tree of the glyphs that clusters begin with: the first node is its root.
    static std::uint64_t step(std::size_t node, char16_t glyph) { return std::uint64_t{node} << 16 | glyph; }
    std::unordered_map<std::uint64_t, std::size_t> next_;
    std::vector<std::optional<Cluster>> nodes_{1};
};

// Null for fonts that do not matter here, or of which the codes are not simply glyphs.
std::unique_ptr<Reading> readingOf(QPDFObjectHandle font, FontTexts& texts, const Wanted& wanted) {
    const auto* const map = texts.of(font);
    const auto isInCluster = [](const auto& entry) { return std::ranges::any_of(entry.second, isClustered); };
    if (!map || map->codeBytes != 2) return nullptr;
    const bool hasClusters = !wanted.words.empty() && std::ranges::any_of(map->texts, isInCluster);
    if (!hasClusters && wanted.sequences.empty()) return nullptr;
    auto shaper = glyphFont(font);
    if (!shaper) return nullptr;
    auto reading = std::make_unique<Reading>(std::move(shaper), map->texts);
    if (hasClusters) reading->learnWords(wanted.words);
    reading->learnSequences(wanted.sequences);
    return reading;
}

class Readings {
public:
    Readings(FontTexts& texts, const PageText& page) : texts_(texts), wanted_{wordsOf(page.text), page.sequences} {}
    bool isEmpty() const { return wanted_.isEmpty(); }

    // Null if there is nothing to tell of the font.
    const Reading* of(QPDFObjectHandle font) {
        if (!font.isIndirect()) return nullptr;
        const auto place = readings_.try_emplace(font.getObjGen());
        if (place.second) place.first->second = {font, readingOf(font, texts_, wanted_)};
        return place.first->second.reading.get();
    }

    // Hands on what was learnt of glyphs without a text.
    void tellUntold() {
        for (const auto& [id, read] : readings_)
            if (read.reading) texts_.add(read.font, read.reading->untold());
    }

private:
    FontTexts& texts_;
    Wanted wanted_;
    struct Read {
        QPDFObjectHandle font;
        std::unique_ptr<Reading> reading;
    };
    std::map<QPDFObjGen, Read> readings_;
};

// Goes through one content and puts marks round the glyphs of clusters.
class Namer {
public:
    Namer(std::string_view content, QPDFObjectHandle resources, Readings& readings)
        : content_(content), resources_(resources), readings_(readings) {}

    // nullopt if there was nothing to say.
    std::optional<std::string> named() {
        ContentReader reader(content_);
        while (const auto operation = reader.next()) {
            if (operation->op == "Tj"_op && show(*operation)) continue;
            if (operation->op == "Td"_op) continue;
            endRun();
            if (!font_.follow(*operation)) setFont(*operation);
        }
        endRun();
        return reader.isBroken() || marks_.isEmpty() ? std::nullopt : marks_.rewritten(content_);
    }

private:
    struct Font {
        const Reading* reading = nullptr;
    };
    struct Shown {
        std::size_t code;   // where its digits are
        bool isFirst;       // of its string
        std::size_t end;    // of the operation
    };

    void setFont(const Operation& operation) {
        if (operation.op == "Tf"_op) font_->reading = readings_.of(resources_.find("/Font", operation.name()));
        if (operation.op != "gs"_op) return;
        auto state = resources_.find("/ExtGState", operation.name());
        if (!state.isDictionary() || state.hasKey("/Font")) font_->reading = nullptr;
    }

    // Returns false if this is not a plain list of glyphs in a font that matters.
    bool show(const Operation& operation) {
        if (!font_->reading || operation.operands.size() != 1 || !operation.operands[0].isHex) return false;
        const auto digits = operation.operands[0].text;
        if (digits.size() % 4 != 0 || std::ranges::any_of(digits, [](char c) { return hex::digit(c) < 0; }))
            return false;
        const auto start = operation.operands[0].begin + 1;
        for (std::size_t i = 0; i < digits.size(); i += 4) {
            int glyph = 0;
            for (const char c : digits.substr(i, 4)) glyph = glyph * 16 + hex::digit(c);
            glyphs_ += static_cast<char16_t>(glyph);
            shown_.push_back({start + i, i == 0, operation.end});
        }
        return true;
    }

    // Clusters that follow each other are told together.
    void endRun() {
        std::u16string text;
        std::size_t begin = 0, marks = 0;
        const std::u16string_view glyphs = glyphs_;
        for (std::size_t at = 0; at < glyphs.size();) {
            const auto [cluster, length] = font_->reading->longest(glyphs.substr(at));
            if (cluster && !cluster->isTold) {
                if (text.empty()) begin = at;
                text += cluster->text;
                marks = cluster->marks;
            } else if (!text.empty()) {
                mark(begin, at, std::exchange(text, {}), marks);
            }
            at += std::max<std::size_t>(length, 1);
        }
        if (!text.empty()) mark(begin, glyphs.size(), text, marks);
        glyphs_.clear();
        shown_.clear();
    }

    // From the glyph that is begin up to the one that is end. Readers take the end of the last glyph for that of the
    // text: the marks at the end, which stand above their letter, are said to be nothing.
    void mark(std::size_t begin, std::size_t end, std::u16string_view text, std::size_t marks) {
        putBefore(begin, "", opening(text));
        if (marks > 0) putBefore(end - marks, "EMC ", opening({}));
        putBefore(end, "EMC ", "");
    }

    static std::string opening(std::u16string_view text) {
        std::string open = "/Span<</ActualText<FEFF";
        hex::append(open, text);
        return open + ">>>BDC ";
    }

    // What ends the text before the glyph, and what begins the one from it.
    void putBefore(std::size_t glyph, const std::string& close, const std::string& open) {
        if (glyph < shown_.size() && !shown_[glyph].isFirst)
            return marks_.insert(shown_[glyph].code, "> Tj " + close + open + "<");
        if (!close.empty()) marks_.insert(shown_[glyph - 1].end, " EMC");
        if (!open.empty()) marks_.insert(shown_[glyph].code - 1, open);
    }

    std::string_view content_;
    Resources resources_;
    Readings& readings_;
    StateStack<Font> font_;
    Rewriter marks_;

    // Shown one after the other.
    Glyphs glyphs_;
    std::vector<Shown> shown_;
};

}   // namespace

std::size_t nameClusters(Contents& contents, FontTexts& texts, const PageText& page) {
    Readings readings(texts, page);
    std::size_t changed = 0;
    if (readings.isEmpty()) return changed;
    for (auto& content : contents.all()) {
        const auto text = contents.textOf(content);
        auto named = text ? Namer(*text, content.resources, readings).named() : std::nullopt;
        if (!named) continue;
        contents.replace(content, std::move(*named));
        ++changed;
    }
    readings.tellUntold();
    return changed;
}

}   // namespace ostrel::pdf
