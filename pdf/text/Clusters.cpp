#include "pdf/text/Clusters.h"

#include "fonts/HarfBuzz.h"
#include "pdf/content/Contents.h"
#include "pdf/content/Streams.h"
#include "pdf/content/Tokens.h"
#include "pdf/fonts/ToUnicode.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <map>
#include <memory>
#include <optional>
#include <set>
#include <unordered_map>
#include <utility>
#include <vector>

namespace ostrel::pdf {
namespace {

constexpr std::size_t mostWords = 50'000, longestWord = 400;   // beyond it is no mail that somebody searches
constexpr std::size_t longestCluster = 24;                     // in glyphs

using namespace harfBuzz;

using Glyphs = std::u16string;   // numbers of glyphs

// Runs of one script; blanks and emoji are of none.
std::set<std::u32string> wordsOf(const std::u32string& text) {
    auto* const unicode = hb_unicode_funcs_get_default();
    std::set<std::u32string> words;
    std::u32string word;
    hb_script_t script = HB_SCRIPT_INVALID;
    const auto end = [&] {
        if (!word.empty() && word.size() <= longestWord && words.size() < mostWords) words.insert(word);
        word.clear();
    };
    for (const char32_t c : text) {
        const auto own = hb_unicode_script(unicode, c);
        const bool isJoiner = c == 0x200C || c == 0x200D;
        if (!isClustered(c) && !(isJoiner && !word.empty())) {
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

// What the glyphs of one font read together.
class Reading {
public:
    Reading(FontPtr font, CodeTexts told, const std::set<std::u32string>& words)
        : font_(std::move(font)), told_(std::move(told)), buffer_(hb_buffer_create()) {
        for (const auto& word : words) learn(word);
    }

    struct Cluster {
        std::string text;      // in hexadecimal digits
        bool isTold = false;   // the glyphs say it by themselves
    };

    // The longest cluster that the glyphs begin with, by its length.
    std::pair<const Cluster*, std::size_t> longest(std::u16string_view glyphs) const {
        for (auto length = std::min(glyphs.size(), longest_); length > 0; --length)
            if (const auto found = clusters_.find(Glyphs(glyphs.substr(0, length))); found != clusters_.end())
                return {&found->second, length};
        return {nullptr, 0};
    }

private:
    void learn(const std::u32string& word) {
        hb_codepoint_t glyph = 0;
        const auto isJoiner = [](char32_t c) { return c == 0x200C || c == 0x200D; };
        for (const char32_t c : word)
            if (!isJoiner(c) && !hb_font_get_nominal_glyph(font_.get(), c, &glyph)) return;
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
        for (unsigned at = 0; at < count;) {
            Glyphs glyphs;
            const auto begin = shaped[at].cluster;
            for (; at < count && shaped[at].cluster == begin; ++at)
                glyphs += static_cast<char16_t>(shaped[at].codepoint);
            const auto end = at < count ? shaped[at].cluster : static_cast<std::uint32_t>(word.size());
            if (end > begin) put(std::move(glyphs), hexText(std::u32string_view(word).substr(begin, end - begin)));
        }
    }

    // Of texts that look the same the first found stays.
    void put(Glyphs glyphs, std::string text) {
        if (glyphs.size() > longestCluster) return;
        std::string told;
        for (const char16_t glyph : glyphs)
            if (const auto found = told_.find(glyph); found != told_.end()) told += found->second;
        longest_ = std::max(longest_, glyphs.size());
        // Readers sort glyphs by their place, and take a mark of no width for the next letter's or for a gap.
        const bool isTold = told == text && glyphs.size() == 1;
        clusters_.try_emplace(std::move(glyphs), Cluster{std::move(text), isTold});
    }

    FontPtr font_;
    CodeTexts told_;
    BufferPtr buffer_;
    std::unordered_map<Glyphs, Cluster> clusters_;
    std::size_t longest_ = 0;
};

bool isClusteredText(std::string_view hex) {
    for (; hex.size() >= 4; hex.remove_prefix(4)) {
        std::uint32_t unit = 0;
        std::from_chars(hex.data(), hex.data() + 4, unit, 16);
        if (isClustered(unit)) return true;
    }
    return false;
}

// Nothing for fonts that do not matter here, or of which the codes are not simply glyphs.
std::unique_ptr<Reading> readingOf(QPDFObjectHandle font, const std::set<std::u32string>& words) {
    if (!font.isDictionary() || !font.getKey("/Encoding").isNameAndEquals("/Identity-H")) return nullptr;
    auto toUnicode = font.getKey("/ToUnicode");
    const auto cmap = toUnicode.isStream() ? decoded(toUnicode) : std::nullopt;
    auto map = cmap ? parseToUnicode(*cmap) : std::nullopt;
    if (!map || map->codeBytes != 2 ||
        std::ranges::none_of(map->texts, [](const auto& entry) { return isClusteredText(entry.second); }))
        return nullptr;
    auto descendants = font.getKey("/DescendantFonts");
    if (!descendants.isArray() || descendants.getArrayNItems() != 1) return nullptr;
    auto descendant = descendants.getArrayItem(0);
    if (!descendant.isDictionary() || !descendant.getKey("/CIDToGIDMap").isNameAndEquals("/Identity")) return nullptr;
    auto descriptor = descendant.getKey("/FontDescriptor");
    auto program = descriptor.isDictionary() ? descriptor.getKey("/FontFile2") : QPDFObjectHandle::newNull();
    const auto bytes = program.isStream() ? decoded(program) : std::nullopt;
    if (!bytes) return nullptr;
    const BlobPtr copy(hb_blob_create(bytes->data(), static_cast<unsigned>(bytes->size()), HB_MEMORY_MODE_DUPLICATE,
                                      nullptr, nullptr));
    const FacePtr face(hb_face_create(copy.get(), 0));
    FontPtr shaper(hb_font_create(face.get()));
    return std::make_unique<Reading>(std::move(shaper), std::move(map->texts), words);
}

class Readings {
public:
    explicit Readings(const PageText& page) : words_(wordsOf(page.text)) {}
    bool isEmpty() const { return words_.empty(); }

    // Null when there is nothing to tell of the font.
    const Reading* of(QPDFObjectHandle font) {
        if (!font.isIndirect()) return nullptr;
        const auto place = readings_.try_emplace(font.getObjGen());
        if (place.second) place.first->second = readingOf(font, words_);
        return place.first->second.get();
    }

private:
    std::set<std::u32string> words_;
    std::map<QPDFObjGen, std::unique_ptr<Reading>> readings_;
};

// Goes through one stream of content and puts marks round the glyphs of clusters.
class Namer {
public:
    Namer(std::string_view content, QPDFObjectHandle resources, Readings& readings)
        : content_(content), resources_(resources), readings_(readings) {}

    // Nothing when there was nothing to say.
    std::optional<std::string> named() {
        Tokens tokens(content_);
        std::string_view name;
        std::optional<Token> text;
        while (const auto token = tokens.next()) {
            if (token->kind == Token::Kind::name) name = token->text;
            if (token->kind == Token::Kind::string) text = token;
            if (token->kind != Token::Kind::word || token->isNumber()) continue;
            const auto end = static_cast<std::size_t>(token->text.data() + token->text.size() - content_.data());
            if (token->text == "Tj" && reading_ && text && text->isHex && text->text.size() % 4 == 0) {
                show(text->text, end);
            } else if (token->text != "Td") {
                endRun();
                if (token->text == "Tf") reading_ = readings_.of(fontNamed(name));
                if (token->text == "q" || token->text == "Q" || token->text == "gs") reading_ = nullptr;
            }
            text.reset();
        }
        endRun();
        if (tokens.isBroken() || result_.empty()) return std::nullopt;
        return result_ += content_.substr(copied_);
    }

private:
    struct Shown {
        std::size_t code;       // where its digits are
        bool isFirst, isLast;   // of its string
        std::size_t end;        // of the operator
    };

    void show(std::string_view digits, std::size_t end) {
        const auto start = static_cast<std::size_t>(digits.data() - content_.data());
        for (std::size_t i = 0; i < digits.size(); i += 4) {
            std::uint16_t glyph = 0;
            const auto read = std::from_chars(digits.data() + i, digits.data() + i + 4, glyph, 16);
            if (read.ptr != digits.data() + i + 4) return endRun();
            glyphs_ += static_cast<char16_t>(glyph);
            shown_.push_back({start + i, i == 0, i + 4 == digits.size(), end});
        }
    }

    // Clusters that follow each other are told together.
    void endRun() {
        std::string text;
        std::size_t begin = 0;
        const std::u16string_view glyphs = glyphs_;
        for (std::size_t at = 0; reading_ && at < glyphs.size();) {
            const auto [cluster, length] = reading_->longest(glyphs.substr(at));
            if (cluster && !cluster->isTold) {
                if (text.empty()) begin = at;
                text += cluster->text;
            } else if (!text.empty()) {
                mark(begin, at, std::exchange(text, {}));
            }
            at += std::max<std::size_t>(length, 1);
        }
        if (!text.empty()) mark(begin, glyphs.size(), text);
        glyphs_.clear();
        shown_.clear();
    }

    // From the glyph that is begin up to the one that is end.
    void mark(std::size_t begin, std::size_t end, const std::string& text) {
        const auto& first = shown_[begin];
        const auto& last = shown_[end - 1];
        copyUpTo(first.isFirst ? first.code - 1 : first.code);
        result_ += (first.isFirst ? "" : "> Tj ") + ("/Span<</ActualText<FEFF" + text + ">>>BDC ");
        if (!first.isFirst) result_ += '<';
        copyUpTo(last.isLast ? last.end : last.code + 4);
        result_ += last.isLast ? " EMC" : "> Tj EMC <";
    }

    void copyUpTo(std::size_t place) {
        result_ += content_.substr(copied_, place - copied_);
        copied_ = place;
    }

    QPDFObjectHandle fontNamed(std::string_view name) {
        auto fonts = resources_.isDictionary() ? resources_.getKey("/Font") : QPDFObjectHandle::newNull();
        return fonts.isDictionary() ? fonts.getKey("/" + std::string(name)) : QPDFObjectHandle::newNull();
    }

    std::string_view content_;
    QPDFObjectHandle resources_;
    Readings& readings_;
    const Reading* reading_ = nullptr;
    Glyphs glyphs_;
    std::vector<Shown> shown_;
    std::string result_;
    std::size_t copied_ = 0;
};

}   // namespace

void nameClusters(QPDF& file, const PageText& page) {
    Readings readings(page);
    if (readings.isEmpty()) return;
    const auto none = QPDFObjectHandle::newNull();
    for (auto& content : contentsOf(file)) {
        const auto text = decoded(content.stream);
        auto named = text ? Namer(*text, content.resources, readings).named() : std::nullopt;
        if (named) content.stream.replaceStreamData(*named, none, none);   // to be packed later
    }
}

}   // namespace ostrel::pdf
