#include "pdf/tags/Alignment.h"

#include "pdf/tags/ComparableText.h"

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <span>
#include <unordered_map>
#include <utility>

namespace ostrel::pdf {
namespace {

bool goesRightToLeft(char16_t c) { return c >= 0x0590 && c <= 0x08FF; }
// Characters whose glyphs may come in another order than they do.
bool isReordered(char16_t c) { return c >= 0x0300 && c < 0x1E00; }

class Aligner {
public:
    Aligner(const std::vector<std::string_view>& listed, const std::vector<ShownText>& shown) : shown_(shown) {
        bool isAfterBlank = false;
        for (const auto text : listed) {
            const auto begin = all_.size();
            for (const char16_t c : comparableWithBlanks(text)) {
                if (c != u' ') {
                    all_ += c;
                    followBlanks_.push_back(isAfterBlank);
                }
                isAfterBlank = c == u' ';
            }
            next_.push_back(all_.size() > begin ? texts_.size() : texts_.size() + 1);
            texts_.push_back({begin, all_.size()});
        }
        next_.push_back(texts_.size());
        sums_.reserve(all_.size() + 1);
        sums_.push_back(0);
        for (const char16_t c : all_) sums_.push_back(sums_.back() + weight(c));
        for (std::size_t i = 0; i < texts_.size(); ++i)
            if (const auto key = keyOf(rest(i))) starts_[*key].push_back(i);
        for (const auto& text : shown) said_.push_back(comparable(text.text));
    }

    std::vector<Alignment> run() {
        found_.resize(shown_.size());
        for (std::size_t first = 0; first < shown_.size();) {
            const auto last = endOfLine(first);
            alignLine(first, last);
            first = last;
        }
        return std::move(found_);
    }

private:
    struct Text {
        std::size_t at, end;   // in all_; what is before has been shown
    };

    // Sums of these tell, as good as surely, whether two texts have the same characters.
    static std::uint64_t weight(char16_t c) {
        std::uint64_t hash = c * 0x9E3779B97F4A7C15ULL;
        hash ^= hash >> 29;
        hash *= 0xBF58476D1CE4E5B9ULL;
        return hash ^ hash >> 32;
    }

    static constexpr std::size_t keyLength = 4;
    static std::optional<std::uint64_t> keyOf(std::u16string_view text) {
        if (text.size() < keyLength) return std::nullopt;
        std::uint64_t key = 0;
        for (const char16_t c : text.substr(0, keyLength)) key = key << 16 | c;
        return key;
    }

    std::u16string_view rest(std::size_t i) const {
        return std::u16string_view(all_).substr(texts_[i].at, texts_[i].end - texts_[i].at);
    }

    // The first text from here on of which something is not shown yet; their number if there is none.
    std::size_t openFrom(std::size_t i) {
        while (next_[i] != i) i = next_[i] = next_[next_[i]];
        return i;
    }

    // What goes from right to left is painted from left to right: its line is looked at as a whole.
    std::size_t endOfLine(std::size_t first) {
        constexpr std::size_t maxLine = 64;
        constexpr double touching = 0.5;   // in points
        const auto& start = shown_[first];
        std::size_t last = first + 1;
        bool turns = std::ranges::any_of(said_[first], goesRightToLeft);
        while (last < shown_.size() && last - first < maxLine && start.baseline && shown_[last].baseline &&
               shown_[last].page == start.page && std::abs(*shown_[last].baseline - *start.baseline) < touching) {
            turns = turns || std::ranges::any_of(said_[last], goesRightToLeft);
            ++last;
        }
        turns_ = turns;
        return turns ? last : first + 1;
    }

    void alignLine(std::size_t first, std::size_t last) {
        std::vector<std::size_t> waiting;
        for (auto i = first; i < last; ++i) {
            if (said_[i].empty()) continue;
            if (isShownAgain(i))
                found_[i].kind = Alignment::Kind::again;
            else
                waiting.push_back(i);
        }
        while (!waiting.empty()) {
            const auto now = openFrom(now_);
            auto next = std::ranges::find_if(waiting, [&](std::size_t i) { return fit(now, said_[i]) > 0; });
            const auto text = next != waiting.end() ? std::optional(now) : search(said_[waiting.front()]);
            if (next == waiting.end()) next = waiting.begin();
            if (text)
                take(*text, *next);
            else
                found_[*next].kind = Alignment::Kind::generated;
            waiting.erase(next);
        }
    }

    bool isShownAgain(std::size_t i) const {
        constexpr double near = 4;   // in points
        if (i == 0 || said_[i] != said_[i - 1]) return false;
        const auto &before = shown_[i - 1], &now = shown_[i];
        return before.page == now.page && before.baseline && now.baseline &&
               std::abs(*before.baseline - *now.baseline) < near && std::abs(before.left - now.left) < near;
    }

    void take(std::size_t text, std::size_t shown) {
        found_[shown] = {Alignment::Kind::piece, text, followBlanks_[texts_[text].at]};
        texts_[text].at += fit(text, said_[shown]);
        if (texts_[text].at == texts_[text].end) next_[text] = text + 1;
        now_ = text;
    }

    // Returns how much of the text this shows; 0 if it is none of it.
    std::size_t fit(std::size_t i, std::u16string_view said) const {
        if (i >= texts_.size() || said.empty()) return 0;
        const auto left = rest(i);
        if (begins(left, said)) return said.size();
        if (said.size() <= left.size() && (turns_ || std::ranges::any_of(said, isReordered))) {
            std::uint64_t sum = 0;
            for (const char16_t c : said) sum += weight(c);
            if (sums_[texts_[i].at + said.size()] - sums_[texts_[i].at] == sum) return said.size();
        }
        const bool isHyphenated = said.size() > 1 && (said.back() == u'-' || said.back() == 0x2010);
        return isHyphenated && begins(left, said.substr(0, said.size() - 1)) ? said.size() - 1 : 0;
    }

    // A glyph that nobody knows the meaning of may be any character.
    static bool begins(std::u16string_view text, std::u16string_view with) {
        constexpr char16_t unknown = 0xFFFD;
        return with.size() <= text.size() && std::equal(with.begin(), with.end(), text.begin(),
                                                        [](char16_t a, char16_t b) { return a == b || a == unknown; });
    }

    // The nearest text behind the last one, else the first one before it, else wherever there is one.
    std::optional<std::size_t> search(std::u16string_view said) {
        constexpr std::size_t maxForward = 64, maxFromStart = 256;
        // What is short begins many texts.
        const auto isSure = [&](std::size_t i, std::size_t tries) {
            const auto size = fit(i, said);
            return size > 0 && (size >= keyLength || tries < 2 || size == rest(i).size());
        };
        std::size_t tries = 0;
        for (auto i = openFrom(now_); i < texts_.size() && tries < maxForward; i = openFrom(i + 1))
            if (isSure(i, tries++)) return i;
        tries = 0;
        for (auto i = openFrom(0); i < now_ && tries < maxFromStart; i = openFrom(i + 1), ++tries)
            if (isSure(i, maxFromStart)) return i;
        const auto key = keyOf(said);
        const auto starts = key ? starts_.find(*key) : starts_.end();
        if (starts == starts_.end()) return std::nullopt;
        const auto& those = starts->second;
        const auto from = std::ranges::lower_bound(those, now_);
        for (const auto& some : {std::span(from, those.end()), std::span(those.begin(), from)})
            for (const auto i : some.first(std::min(some.size(), maxForward)))
                if (fit(i, said) > 0) return i;
        return std::nullopt;
    }

    const std::vector<ShownText>& shown_;
    std::vector<std::u16string> said_;   // by shown text
    std::u16string all_;                 // listed
    std::vector<bool> followBlanks_;     // by character of all_
    std::vector<std::uint64_t> sums_;    // of weights before each character of all_
    std::vector<Text> texts_;
    std::vector<std::size_t> next_;   // by text, itself or one behind it that may be open
    std::unordered_map<std::uint64_t, std::vector<std::size_t>> starts_;
    std::size_t now_ = 0;   // the text that was shown last
    bool turns_ = false;    // the line under way goes from right to left, at least in part
    std::vector<Alignment> found_;
};

}   // namespace

std::vector<Alignment> align(const std::vector<std::string_view>& listed, const std::vector<ShownText>& shown) {
    return Aligner(listed, shown).run();
}

}   // namespace ostrel::pdf
