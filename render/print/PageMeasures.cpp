#include "render/print/PageMeasures.h"

#include "render/print/ListedElements.h"

#include <array>
#include <cstdint>
#include <string>
#include <utility>

#include <nlohmann/json.hpp>

namespace ostrel {
namespace {

using nlohmann::json;

// The members of an object; null where it has none of that name.
const json* member(const json& object, const char* name) {
    const auto found = object.find(name);
    return found == object.end() ? nullptr : &*found;
}

std::optional<std::uint32_t> colourIn(const json* value) {
    constexpr std::uint64_t maxColour = 0xFFFFFF;
    if (!value || !value->is_number_unsigned() || value->get<std::uint64_t>() > maxColour) return std::nullopt;
    return value->get<std::uint32_t>();
}

std::optional<std::vector<std::uint32_t>> coloursIn(const json* list) {
    if (!list || !list->is_array()) return std::nullopt;
    std::vector<std::uint32_t> colours;
    for (const json& each : *list) {
        const auto colour = colourIn(&each);
        if (!colour) return std::nullopt;
        colours.push_back(*colour);
    }
    return colours;
}

std::optional<pdf::PartOfBox> partIn(const json& value) {
    std::array<double, 5> numbers{};
    if (!value.is_array() || value.size() != numbers.size()) return std::nullopt;
    for (std::size_t i = 0; i < numbers.size(); ++i) {
        if (!value[i].is_number()) return std::nullopt;
        numbers[i] = value[i].get<double>();
    }
    return pdf::PartOfBox{numbers[0], numbers[1], numbers[2], numbers[3], numbers[4]};
}

std::optional<pdf::LinkMark> linkIn(const json& value) {
    const auto colour = colourIn(value.is_object() ? member(value, "colour") : nullptr);
    if (!colour) return std::nullopt;
    pdf::LinkMark link{*colour, ""};
    if (const json* const attachment = member(value, "attachment")) {
        if (!attachment->is_number_unsigned()) return std::nullopt;
        link.attachment = attachment->get<std::size_t>();
    } else {
        const json* const url = member(value, "url");
        if (!url || !url->is_string() || url->get_ref<const std::string&>().empty()) return std::nullopt;
        link.url = url->get<std::string>();
    }
    if (const json* const part = member(value, "part")) {
        link.part = partIn(*part);
        if (!link.part) return std::nullopt;
    }
    if (const json* const element = member(value, "element")) {
        if (!element->is_number_unsigned()) return std::nullopt;
        link.element = element->get<std::size_t>();
    }
    return link;
}

}   // namespace

std::optional<PageMeasures> parsePageMeasures(std::string_view answer) {
    const json all = json::parse(answer, nullptr, /*allow_exceptions=*/false);
    if (!all.is_object()) return std::nullopt;
    const json *const width = member(all, "width"), *const links = member(all, "links");
    if (!width || !width->is_number() || !links || !links->is_array()) return std::nullopt;
    PageMeasures measures{width->get<double>(), {}};
    if (measures.width < 0) return std::nullopt;
    for (const json& each : *links) {
        auto link = linkIn(each);
        if (!link) return std::nullopt;
        measures.links.push_back(std::move(*link));
    }
    if (const json* const listing = member(all, "listing")) {
        auto listed = listedElements(*listing);
        if (!listed) return std::nullopt;
        measures.listing = std::move(*listed);
    }
    const json* const pictures = member(all, "pictures");
    if (!pictures) return measures;
    auto changed = pictures->is_object() ? coloursIn(member(*pictures, "changed")) : std::nullopt;
    auto seen = pictures->is_object() ? coloursIn(member(*pictures, "seen")) : std::nullopt;
    if (!changed || !seen) return std::nullopt;
    measures.changedPictures = std::move(*changed);
    measures.seenPictures = std::move(*seen);
    return measures;
}

}   // namespace ostrel
