#include "pdf/Printed.h"

#include "pdf/content/ContentReader.h"
#include "pdf/content/Streams.h"
#include "platform/Translation.h"

#include <new>
#include <utility>

#include <qpdf/QPDF.hh>

namespace ostrel::pdf {

using i18n::tr;

namespace {

// The page begins with the axes turned ("1 0 0 -1 0 842 cm") and the clip to the margins; the matrix after those scales
// the content. It stands in the first lines.
constexpr std::size_t firstTokens = 64;

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
    } catch (const std::bad_alloc&) {
        throw Error(tr("there is not enough memory"));
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
    auto page = state_->file.getAllPages().front();
    auto contents = page.getKey("/Contents");
    auto first = contents.isArray() && contents.getArrayNItems() > 0 ? contents.getArrayItem(0) : contents;
    const auto content = first.isStream() ? decoded(first) : std::nullopt;
    if (!content) return std::nullopt;
    ContentReader reader(*content);
    std::size_t tokens = 0;
    while (const auto operation = reader.next()) {
        tokens += operation->operands.size() + 1;
        if (tokens > firstTokens) break;
        const auto matrix = operation->op == "cm"_op ? operation->numbers<6>() : std::nullopt;
        const bool turnsAxes = matrix && (*matrix)[3] < 0;
        if (matrix && !turnsAxes) return (*matrix)[0];
    }
    return std::nullopt;
}

}   // namespace ostrel::pdf
