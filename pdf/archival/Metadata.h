#pragma once

#include "platform/Time.h"

#include <optional>
#include <string>

#include <qpdf/QPDF.hh>

namespace ostrel::pdf {

// What a document says about itself.
struct Description {
    std::string title, author;   // UTF-8; empty: unsaid
    std::optional<Instant> created;
    std::string language;        // BCP 47; empty: unsaid
    bool isArchival = false;     // claims to be PDF/A-2u
    bool isAccessible = false;   // claims to be PDF/UA-1
};

// Writes it as the document information (ISO 32000-1 §14.3.3) and, in the same words, as metadata (§14.3.2, XMP), with
// the conformance claimed (ISO 19005-2 §6.6.4, ISO 14289-1 §5). Texts are cut to what readers must take, and what XML
// cannot say in them is replaced.
void describe(QPDF& file, const Description& description);

}   // namespace ostrel::pdf
