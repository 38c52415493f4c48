#include "pdf/fonts/GlyphOutline.h"

#include "pdf/content/ContentReader.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <span>
#include <utility>
#include <vector>

namespace ostrel::pdf {
namespace {

struct Step {
    std::string_view op;
    std::vector<std::string_view> numbers;
};

// Operators that an outline may have, with how many numbers stand before each.
std::optional<std::size_t> numbersBefore(std::string_view op) {
    struct Known {
        std::string_view op;
        std::size_t numbers;
    };
    static constexpr std::array<Known, 9> all{
        {{"d1", 6}, {"m", 2}, {"l", 2}, {"c", 6}, {"v", 4}, {"y", 4}, {"re", 4}, {"h", 0}, {"f", 0}}};
    const auto found = std::ranges::find(all, op, &Known::op);
    return found == all.end() ? std::nullopt : std::optional(found->numbers);
}

// After a subpath is closed a new one begins; "l" there would go on from where the closed one began.
bool mayFollow(std::string_view op, std::string_view last) {
    if (last.empty()) return op == "d1";
    const bool isOpen = last == "m" || last == "l" || last == "c" || last == "v" || last == "y";
    if (op == "m" || op == "re") return last != "f";
    return op == "f" ? last != "d1" && last != "f" : isOpen && op != "d1";
}

std::optional<std::vector<Step>> stepsOf(std::string_view glyph) {
    std::vector<Step> steps;
    std::size_t end = 0;
    ContentReader reader(glyph);
    while (const auto operation = reader.next()) {
        const auto last = steps.empty() ? std::string_view() : steps.back().op;
        if (numbersBefore(operation->letters) != operation->operands.size() || !mayFollow(operation->letters, last))
            return std::nullopt;
        Step step{operation->letters, {}};
        for (const auto& operand : operation->operands) {
            if (operand.kind != Token::Kind::number) return std::nullopt;
            step.numbers.push_back(operand.text);
        }
        steps.push_back(std::move(step));
        end = operation->end;
    }
    const bool hasRest = glyph.find_first_not_of(" \r\n", end) != std::string_view::npos;
    if (reader.isBroken() || hasRest || steps.empty()) return std::nullopt;
    const bool isFilled = steps.back().op == "f";
    return isFilled || steps.size() == 1 ? std::optional(std::move(steps)) : std::nullopt;
}

void write(std::string& text, const Step& step) {
    for (const auto part : step.numbers) (text += part) += ' ';
    (text += step.op) += ' ';
}

using Corner = std::array<int, 2>;

std::optional<Corner> cornerOf(const Step& step) {
    Corner corner{};
    for (std::size_t i = 0; i < corner.size(); ++i) {
        constexpr std::size_t maxDigits = 6;   // so that differences fit
        const auto text = step.numbers[i];
        const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), corner[i]);
        if (error != std::errc() || end != text.data() + text.size() || text.size() > maxDigits) return std::nullopt;
    }
    return corner;
}

// Four corners in whole numbers, whose sides are level and upright.
std::optional<std::string> rectangle(std::span<const Step> contour) {
    std::array<Corner, 4> at{};
    if (contour.size() != at.size()) return std::nullopt;
    for (std::size_t i = 0; i < at.size(); ++i) {
        const auto corner = i == 0 || contour[i].op == "l" ? cornerOf(contour[i]) : std::nullopt;
        if (!corner) return std::nullopt;
        at[i] = *corner;
    }
    if (at[0][0] == at[1][0]) std::rotate(at.begin(), at.begin() + 1, at.end());   // begins with a level side
    if (at[0][1] != at[1][1] || at[1][0] != at[2][0] || at[2][1] != at[3][1] || at[3][0] != at[0][0])
        return std::nullopt;
    std::string text;
    for (const int number : {at[0][0], at[0][1], at[1][0] - at[0][0], at[2][1] - at[1][1]})
        (text += std::to_string(number)) += ' ';
    return text + "re ";
}

void writeContour(std::string& text, std::span<const Step> contour) {
    if (contour.back().op == "h") contour = contour.first(contour.size() - 1);
    const auto& last = contour.back();
    const bool leadsBack = last.op == "l" && last.numbers == contour.front().numbers;
    if (leadsBack && contour.size() > 3) contour = contour.first(contour.size() - 1);
    if (const auto whole = rectangle(contour)) {
        text += *whole;
        return;
    }
    for (const auto& step : contour) write(text, step);
}

std::size_t pointsOf(std::span<const Step> steps) {
    std::size_t points = 0;
    for (const auto& step : steps) points += step.op == "re" ? 5 : step.numbers.size() / 2;
    return points;
}

}   // namespace

std::optional<std::string> shorterOutline(std::string_view glyph) {
    const auto steps = stepsOf(glyph);
    if (!steps) return std::nullopt;
    std::string text;
    text.reserve(glyph.size());
    write(text, steps->front());
    const auto path = std::span(*steps).subspan(1, steps->size() - 1);
    // Viewers move the edges of a path that has but four sides to whole pixels, and tell by its points and by how it is
    // closed: it stays word for word.
    constexpr std::size_t fewPoints = 5;
    const bool isPlain = pointsOf(path) <= fewPoints;
    for (std::size_t begin = 0; begin < path.size();) {
        auto end = begin + 1;
        const bool isContour = path[begin].op == "m" && !isPlain;
        while (isContour && path[end].op != "m" && path[end].op != "re" && path[end].op != "f") ++end;
        if (isContour)
            writeContour(text, path.subspan(begin, end - begin));
        else
            write(text, path[begin]);
        begin = end;
    }
    text.pop_back();
    return text;
}

std::string upsideDown(std::string_view outline) {
    std::string text;
    text.reserve(outline.size() + 16);
    bool isHeight = false;
    Tokens tokens(outline);
    while (const auto token = tokens.next()) {
        auto word = token->text;
        const bool isNumber = token->kind == Token::Kind::number;
        if (!text.empty()) text += ' ';
        if (isNumber && isHeight) {
            if (word.starts_with('-'))
                word.remove_prefix(1);
            else if (word.find_first_of("123456789") != std::string_view::npos)
                text += '-';
            if (word.starts_with('+')) word.remove_prefix(1);
        }
        text += word;
        isHeight = isNumber && !isHeight;
    }
    return text;
}

}   // namespace ostrel::pdf
