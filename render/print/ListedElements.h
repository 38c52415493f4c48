#pragma once

#include "pdf/tags/PageListing.h"

#include <optional>

#include <nlohmann/json_fwd.hpp>

namespace ostrel {

// Reads what the script in the page says that it is made of, in the order of the document:
//     ["a text", {"open": "TH", "rows": 1, "columns": 2, "scope": "Row"}, null, {"open": "Link", "link": 7}, null,
//      {"picture": "a cat", "shape": [90, 60, 180, 120], "colour": 3368601}]
// null ends the last element. A picture that is null has no words of its own: it is named by what stands for it, of
// that colour (nameListedPictures). Returns nullopt if anything is not as it must be; empty if there is nothing.
std::optional<pdf::PageListing> listedElements(const nlohmann::json& list);

}   // namespace ostrel
