#include "pdf/PrintedScale.h"

#include <array>
#include <cstddef>
#include <exception>

#include <qpdf/QPDF.hh>

namespace ostrel::pdf {
namespace {

// The page begins with the axes turned ("1 0 0 -1 0 842 cm") and the clip to the margins; the matrix after those scales
// the content. It stands in the first lines.
constexpr int firstTokens = 64;

class ScaleFinder : public QPDFObjectHandle::ParserCallbacks {
public:
    std::optional<double> scale;

    void handleObject(QPDFObjectHandle object) override {
        if (++tokens_ > firstTokens) return terminateParsing();
        if (object.isNumber()) {
            operands_[count_++ % operands_.size()] = object.getNumericValue();
        } else if (object.isOperator()) {
            if (object.getOperatorValue() == "cm" && count_ == operands_.size()) takeMatrix();
            count_ = 0;
        }
    }
    void handleEOF() override {}

private:
    void takeMatrix() {
        if (operands_[3] < 0) return;   // the one that turns the axes
        scale = operands_[0];
        terminateParsing();
    }

    std::array<double, 6> operands_{};
    std::size_t count_ = 0;
    int tokens_ = 0;
};

}   // namespace

std::optional<double> printedScale(ByteView printed) {
    ScaleFinder finder;
    try {
        QPDF pdf;
        pdf.setSuppressWarnings(true);
        pdf.processMemoryFile("printed page", charsOf(printed).data(), printed.size());
        const auto& pages = pdf.getAllPages();
        if (!pages.empty()) QPDFObjectHandle(pages.front()).parsePageContents(&finder);
    } catch (const std::exception&) {
        return std::nullopt;
    }
    return finder.scale;
}

}   // namespace ostrel::pdf
