#pragma once

namespace ostrel {

// Page sizes of exported PDFs, in the order the settings show them.
enum class Paper { letter, a4 };

// Page size in points (1/72 inch).
struct PaperSize {
    double width, height;
};
constexpr PaperSize paperSize(Paper paper) {
    return paper == Paper::letter ? PaperSize{612, 792} : PaperSize{595, 842};
}

}   // namespace ostrel
