#include "render/print/ListedElements.h"

#include <array>
#include <string>
#include <utility>

#include <nlohmann/json.hpp>

namespace ostrel {
namespace {

using nlohmann::json;
using pdf::ListedNode;

// The number, or the default where there is none; nullopt if it is something else.
std::optional<std::size_t> numberIn(const json& object, const char* name, std::size_t otherwise) {
    const auto found = object.find(name);
    if (found == object.end()) return otherwise;
    return found->is_number_unsigned() ? std::optional(found->get<std::size_t>()) : std::nullopt;
}

std::optional<ListedNode> elementIn(const json& entry, const json& type) {
    if (!type.is_string()) return std::nullopt;
    ListedNode node{.text = type.get<std::string>()};
    const auto rows = numberIn(entry, "rows", 1), columns = numberIn(entry, "columns", 1);
    if (!rows || !columns) return std::nullopt;
    node.rows = *rows;
    node.columns = *columns;
    if (const auto scope = entry.find("scope"); scope != entry.end())
        node.scope = *scope == "Row" ? ListedNode::Scope::row : ListedNode::Scope::column;
    if (entry.contains("link")) {
        const auto link = numberIn(entry, "link", 0);
        if (!link) return std::nullopt;
        node.link = *link;
    }
    return node;
}

std::optional<ListedNode> pictureIn(const json& entry, const json& words) {
    if (!words.is_string() && !words.is_null()) return std::nullopt;
    ListedNode node{.kind = ListedNode::Kind::picture};
    if (words.is_string()) node.text = words.get<std::string>();
    node.isNamed = words.is_string();
    const auto shape = entry.find("shape");
    std::array<double, 4> sides{};
    if (shape == entry.end() || !shape->is_array() || shape->size() != sides.size()) return std::nullopt;
    for (std::size_t i = 0; i < sides.size(); ++i) {
        if (!(*shape)[i].is_number()) return std::nullopt;
        sides[i] = (*shape)[i].get<double>();
    }
    node.width = sides[0];
    node.height = sides[1];
    node.naturalWidth = sides[2];
    node.naturalHeight = sides[3];
    if (entry.contains("colour")) {
        const auto colour = numberIn(entry, "colour", 0);
        if (!colour || *colour > 0xFFFFFF) return std::nullopt;
        node.colour = static_cast<std::uint32_t>(*colour);
    }
    return node;
}

std::optional<ListedNode> nodeIn(const json& entry) {
    if (entry.is_string()) return ListedNode{.kind = ListedNode::Kind::text, .text = entry.get<std::string>()};
    if (!entry.is_object()) return std::nullopt;
    if (const auto type = entry.find("open"); type != entry.end()) return elementIn(entry, *type);
    if (const auto words = entry.find("picture"); words != entry.end()) return pictureIn(entry, *words);
    return std::nullopt;
}

}   // namespace

std::optional<pdf::PageListing> listedElements(const json& list) {
    if (!list.is_array()) return std::nullopt;
    if (list.empty()) return pdf::PageListing();
    pdf::PageListing listing{{.text = "Document"}};
    std::size_t parent = 0;
    for (const json& entry : list) {
        if (entry.is_null()) {
            if (parent == 0) return std::nullopt;
            parent = listing[parent].parent;
            continue;
        }
        auto node = nodeIn(entry);
        if (!node) return std::nullopt;
        node->parent = parent;
        if (node->kind == ListedNode::Kind::element) parent = listing.size();
        listing.push_back(std::move(*node));
    }
    return parent == 0 ? std::optional(std::move(listing)) : std::nullopt;
}

}   // namespace ostrel
