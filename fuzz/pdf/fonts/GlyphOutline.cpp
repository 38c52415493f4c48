#include "pdf/fonts/GlyphOutline.h"

#include "fuzz/Target.h"
#include "pdf/content/Tokens.h"

#include <algorithm>
#include <charconv>
#include <optional>
#include <vector>

namespace ostrel::fuzz {
namespace {

struct Step {
    std::string op;
    std::vector<double> numbers;
    bool operator==(const Step&) const = default;
};
using Contour = std::vector<Step>;

// nullopt for one that readers of numbers disagree about.
std::optional<double> number(std::string_view word) {
    if (word.starts_with('+')) word.remove_prefix(1);
    const bool isPlain = word.size() < 9 && word.find_first_of("0123456789") != std::string_view::npos &&
                         word.find_first_not_of("0123456789.", word.starts_with('-') ? 1 : 0) == std::string_view::npos;
    double value = 0;
    const auto read = std::from_chars(word.data(), word.data() + word.size(), value);
    return isPlain && read.ptr == word.data() + word.size() ? std::optional(value) : std::nullopt;
}

std::optional<std::vector<Step>> steps(std::string_view glyph) {
    std::vector<Step> all(1);
    pdf::Tokens tokens(glyph);
    while (const auto token = tokens.next()) {
        if (token->kind != pdf::Token::Kind::number) {
            all.back().op = token->text;
            all.emplace_back();
        } else if (const auto value = number(token->text)) {
            all.back().numbers.push_back(*value);
        } else {
            return std::nullopt;
        }
    }
    all.pop_back();
    return all;
}

// What filling sees: closed contours. Those of straight lines only begin with their smallest corner.
std::vector<Contour> contours(const std::vector<Step>& steps) {
    std::vector<Contour> all;
    for (const auto& [op, n] : steps) {
        if (op == "re")
            all.push_back({{"m", {n[0], n[1]}},
                           {"l", {n[0] + n[2], n[1]}},
                           {"l", {n[0] + n[2], n[1] + n[3]}},
                           {"l", {n[0], n[1] + n[3]}}});
        else if (op == "m")
            all.push_back({{op, n}});
        else if (op != "d1" && op != "h" && op != "f")
            all.back().push_back({op, n});
    }
    for (auto& contour : all) {
        if (contour.size() > 1 && contour.back().op == "l" && contour.back().numbers == contour.front().numbers)
            contour.pop_back();
        if (!std::ranges::all_of(contour, [](const Step& step) { return step.op == "m" || step.op == "l"; })) continue;
        for (auto& step : contour) step.op = "l";
        std::rotate(contour.begin(), std::ranges::min_element(contour, {}, &Step::numbers), contour.end());
    }
    return all;
}

}   // namespace

void run(ByteView input) {
    const std::string_view glyph = charsOf(input);
    const auto shorter = pdf::shorterOutline(glyph);
    if (!shorter) return;
    holds(shorter->size() <= glyph.size(), "an outline gets no longer");
    holds(pdf::shorterOutline(*shorter) == shorter, "an outline is shortened at once");
    const auto before = steps(glyph), after = steps(*shorter), turned = steps(pdf::upsideDown(*shorter));
    if (!before) return;
    holds(after && contours(*before) == contours(*after), "a shorter outline draws the same");
    holds(turned && turned->size() == after->size(), "an outline upside down has the same steps");
    for (std::size_t i = 0; i < after->size(); ++i) {
        auto back = (*turned)[i];
        for (std::size_t height = 1; height < back.numbers.size(); height += 2) back.numbers[height] *= -1;
        holds(back == (*after)[i], "turning it touches the heights only");
    }
}

std::vector<std::string> seeds() {
    return {"9 0 0 0 9 9 d1\n0 0 m\n9 0 l\n1 2 3 4 5 6 c\n0 0 l\nh\n1 1 m\n2 2 l\n3 1 l\nh\nf",
            "9 0 0 0 9 9 d1 1 2 m 5 2 l 5 9 l 1 9 l 1 2 l h 1 2 m 1 -7 l -3 -7 l -3 2 l f",
            "9 0 0 0 9 9 d1 1 -2 3 +4 re 1 .5 m 5 3 5 9 v 1 9 1 2 y h f", "9 0 0 0 0 0 d1\n"};
}

}   // namespace ostrel::fuzz
