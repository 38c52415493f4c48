#include "pdf/Printed.h"

#include "platform/Translation.h"

#include <array>
#include <utility>

#include <qpdf/QPDF.hh>

namespace ostrel::pdf {

using i18n::tr;

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

Error::Error(const std::string& reason)
    : std::runtime_error(i18n::filled(tr("The printed page is not a PDF that can be read: %@"), reason)) {}

struct Printed::State {
    Bytes bytes;   // file reads them
    QPDF file;

    explicit State(Bytes bytes_) : bytes(std::move(bytes_)) {
        file.setAttemptRecovery(false);
        file.setSuppressWarnings(true);
        file.processMemoryFile("printed page", bytes.chars().data(), bytes.size());
        auto count = file.getRoot().getKey("/Pages").getKey("/Count");
        const auto pages = file.getAllPages().size();
        if (pages == 0 || !count.isInteger() || count.getIntValue() != static_cast<long long>(pages))
            throw std::runtime_error(tr("pages are missing"));
    }
};

Printed::Printed(std::unique_ptr<State> state) : state_(std::move(state)) {}
Printed::Printed(Printed&&) noexcept = default;
Printed& Printed::operator=(Printed&&) noexcept = default;
Printed::~Printed() = default;

Printed Printed::open(Bytes file) {
    try {
        return Printed(std::make_unique<State>(std::move(file)));
    } catch (const std::runtime_error& error) {
        throw Error(error.what());
    } catch (const std::logic_error& error) {   // libqpdf's word for objects of another type than expected
        throw Error(error.what());
    }
}

Printed Printed::reopened() const { return open(state_->bytes); }

std::size_t Printed::pages() const { return state_->file.getAllPages().size(); }
std::size_t Printed::sizeBytes() const { return state_->bytes.size(); }
QPDF& Printed::file() { return state_->file; }

std::optional<double> Printed::scale() const {
    ScaleFinder finder;
    try {
        QPDFObjectHandle(state_->file.getAllPages().front()).parsePageContents(&finder);
    } catch (const std::runtime_error&) {
        return std::nullopt;
    }
    return finder.scale;
}

}   // namespace ostrel::pdf
