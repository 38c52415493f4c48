#include "render/print/WebPDFRenderer.h"

#include "app/ForeignPictures.h"
#include "core/page/SimplerPage.h"
#include "pdf/Finisher.h"
#include "pdf/plain/TextSheets.h"
#include "platform/Files.h"
#include "platform/Memory.h"
#include "platform/TemporaryFolder.h"
#include "platform/Translation.h"
#include "render/engine/OverrideEffects.h"
#include "render/engine/PageGeometry.h"
#include "render/loop/Log.h"
#include "render/loop/MainLoop.h"
#include "render/print/PagePrinter.h"
#include "render/print/Placeholders.h"
#include "render/print/PrinterPool.h"

#include <array>
#include <atomic>
#include <cassert>
#include <chrono>
#include <memory>
#include <mutex>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <unordered_map>
#include <unordered_set>
#include <utility>
#include <variant>
#include <vector>

namespace ostrel {

namespace {

using i18n::tr;

// Tries to catch a page's whole width; then what there is must do.
constexpr int maxAttempts = 5;

// At its limit the engine stops shrinking and leaves out what is wider still. The measured width has let the page
// through, so something is where only the print's own layout finds it.
bool mayLackItsRightEdge(const pdf::Printed& printed) {
    const auto scale = printed.scale();
    return scale && *scale * pageGeometry::maxPixelsPerPoint < 1.0006;
}

// A mail that the engine cannot print as it is loses its looks one after the other, never its words.
struct LadderStep {
    MessageHTML::Simplicity simplicity;
    std::string (*note)();
};
constexpr std::array ladder{
    LadderStep{MessageHTML::Simplicity::withoutEffects,
               [] { return i18n::tr("This message could not be printed with all its effects; some were left out."); }},
    LadderStep{MessageHTML::Simplicity::bare,
               [] {
                   return i18n::tr(
                       "This message could not be printed as it looks; its styles and pictures were left out.");
               }},
};
// The last one is set without the engine.
std::string noteOfText() { return i18n::tr("This message could not be printed as it looks; only its text is shown."); }

// Plain text that takes the engine as long as a message may take. Without it all of it is there within seconds, and
// only its links are missing.
constexpr std::size_t longText = 3'000'000;   // bytes

// Where there is no engine at all.
std::string noteOfNoEngine() {
    return i18n::tr("The web engine could not be started, so only the text of this message is shown.");
}

// Whether the engine may do better with a simpler page. What took too long once would take all the time that is left.
bool isWorthAnother(const RenderError& failure) {
    return failure.kind != RenderError::Kind::tooSlow && failure.kind != RenderError::Kind::notStarted;
}

// Whether words of the mail got lost between its page and the paper. A mail may well hide a few, for programs that list
// mails, in ways that the page does not tell.
bool lacksWords(const pdf::FinishReport& report) {
    constexpr std::size_t minMissing = 12, maxHidden = 200;   // letters
    if (!report.coverage) return true;
    const auto& [said, missing] = *report.coverage;
    return missing >= minMissing && (missing > said / 10 || missing > maxHidden + said / 50);
}

// What could not be made smaller or finer is kept as the engine wrote it; somebody may want to know.
void logLeftOut(const pdf::FinishReport& report) {
    for (const pdf::PassReport& pass : report.passes) {
        const std::string name = "finishing, " + std::string(pass.name) + ": ";
        if (!pass.failure.empty()) engineLog::note(name + "left out: " + pass.failure);
        for (const std::string& reason : pass.kept) engineLog::note(name + reason);
    }
}

// Adds the time from its making to its end.
class Stopwatch {
public:
    explicit Stopwatch(std::chrono::nanoseconds& total) : total_(total) {}
    Stopwatch(const Stopwatch&) = delete;
    Stopwatch& operator=(const Stopwatch&) = delete;
    ~Stopwatch() { total_ += std::chrono::steady_clock::now() - begin_; }

private:
    std::chrono::nanoseconds& total_;
    const std::chrono::steady_clock::time_point begin_ = std::chrono::steady_clock::now();
};

PagePrinter::Colours coloursOf(const std::vector<pdf::PlacedPicture>& pictures) {
    PagePrinter::Colours colours;
    for (const auto& picture : pictures) colours.insert(picture.colour);
    return colours;
}

// A picture without words of its own is named by its file.
void nameListed(pdf::PageListing& listing, std::span<const pdf::PlacedPicture> pictures) {
    std::unordered_map<std::uint32_t, std::string_view> names;
    for (const auto& picture : pictures) names.emplace(picture.colour, picture.name);
    for (auto& node : listing) {
        if (node.isNamed) continue;
        const auto name = node.colour ? names.find(*node.colour) : names.end();
        node.text = name == names.end() || name->second.empty() ? tr("Picture") : std::string(name->second);
        node.isNamed = true;
    }
}

void markSeen(std::vector<pdf::PlacedPicture>& pictures, const std::vector<std::uint32_t>& colours) {
    const std::unordered_set<std::uint32_t> seen(colours.begin(), colours.end());
    for (auto& picture : pictures) picture.isSeen = seen.contains(picture.colour);
}

}   // namespace

struct WebPDFRenderer::State {
    State(PaperSize paper_, std::stop_token cancel_, PrintLimits limits_)
        : paper(paper_), cancel(std::move(cancel_)), engineTime(limits_.ladder), printers(paper_, limits_) {}

    // A page that the engine has printed.
    struct Print {
        PrintedPage page;
        std::optional<pdf::Printed> pdf;   // nullopt: pictures are missing in the page
    };
    // One page on its way to a PDF.
    struct Job {
        const DocumentInfo& info;
        const std::filesystem::path& destination;
        std::chrono::nanoseconds spent{};   // by the engine, on simpler forms of it, too
        PrintReport report{};               // about the form under way
    };
    Print print(const std::string& html, PagePrinter::Colours placeholders, Job& job);
    pdf::Printed open(const std::filesystem::path& file, PrintReport& report);
    pdf::Finisher::Finished finish(Print print, pdf::FinishOptions options, PrintReport& report);
    pdf::FinishOptions optionsFor(const Page& page, const DocumentInfo& info) const;
    void printAndFinish(const Page& page, Job& job);
    std::optional<RenderError> tryToPrint(const Page& page, Job& job);
    std::string printSomehow(const Page& page, Job& job);
    void setText(const Page& page, const std::string& note, Job& job);
    std::optional<pictures::Decoded> decode(ByteView picture) const;   // what PDFs do not hold as it is
    std::filesystem::path freshFile();
    void close(PrintReport report);

    const PaperSize paper;
    const std::stop_token cancel;
    const std::chrono::nanoseconds engineTime;   // for a message
    std::optional<Capacity> capacity;            // if it is not the machine's
    PrinterPool printers;
    const std::shared_ptr<pictures::Decoder> decoder = std::make_shared<pictures::Decoder>();
    const ForeignPictures foreignPictures{decoder};
    pdf::Finisher finisher;
    std::once_flag hasLooked;                   // at the effects of what we replace
    std::atomic<bool> isEngineMissing{false};   // it could not be started for some page

    std::mutex mutex;                        // of what follows
    std::optional<TemporaryFolder> folder;   // what the engine prints, before it is finished
    unsigned long begunPages = 0, finishedPages = 0;
    PrintReport lastReport;
};

// Prints a page on one printer, again and wider until nothing of it is missing. Throws RenderError when the engine
// crashes, takes too long or refuses; FileError, pdf::Error when it left nothing that can be read.
WebPDFRenderer::State::Print WebPDFRenderer::State::print(const std::string& html, PagePrinter::Colours placeholders,
                                                          Job& job) {
    PrinterPool::Use printer(printers);   // to wait for one takes none of the page's time
    const Stopwatch time(job.spent);
    const auto end = std::chrono::steady_clock::now() + engineTime - job.spent;
    const auto left = [&] { return end - std::chrono::steady_clock::now(); };
    const auto file = freshFile();
    PrintReport& report = job.report;
    Print print{printer.print(html, std::move(placeholders), file, left()), std::nullopt};
    int attempts = 1;
    if (print.page.changedPictures.empty()) {
        print.pdf = open(file, report);
        for (; mayLackItsRightEdge(*print.pdf) && attempts < maxAttempts; ++attempts)
            print = {printer.printWider(left()), open(file, report)};
    }
    report.attempts += attempts;
    report.engine += print.page.took;
    std::error_code ignored;
    std::filesystem::remove(file, ignored);
    return print;
}

// Parses what the engine printed. Throws FileError, pdf::Error.
pdf::Printed WebPDFRenderer::State::open(const std::filesystem::path& file, PrintReport& report) {
    auto bytes = files::readWhole(file);
    report.printedBytes = bytes.size();
    std::call_once(hasLooked, [&] { overrideEffects::look(bytes.view()); });
    const Stopwatch time(report.open);
    return pdf::Printed::open(std::move(bytes));
}

// Throws pdf::Error.
pdf::Finisher::Finished WebPDFRenderer::State::finish(Print print, pdf::FinishOptions options, PrintReport& report) {
    const Stopwatch time(report.finish);
    options.scale = print.page.scale;
    options.linkMarks = std::move(print.page.links);
    options.listing = std::move(print.page.listing);
    nameListed(options.listing, options.pictures);
    return finisher.finish(std::move(*print.pdf), options);
}

pdf::FinishOptions WebPDFRenderer::State::optionsFor(const Page& page, const DocumentInfo& info) const {
    return {.widthPoints = paper.width,
            .heightPoints = paper.height,
            .title = info.title,
            .author = info.author,
            .created = info.created,
            .language = page.language.empty() ? std::nullopt : std::optional(page.language)};
}

// Pictures that the PDF can hold as they came are kept from the engine, which would decode them only for their pixels
// to be packed again. Where the page does more with one than to draw it, it is printed again with that one in it.
void WebPDFRenderer::State::printAndFinish(const Page& page, Job& job) {
    PrintReport& report = job.report;
    constexpr int maxPrints = 4;   // in the last, the engine has them all
    Placeholders placeholders(page, [this](ByteView picture) { return decode(picture); });
    for (int count = 1;; ++count) {
        auto without = count < maxPrints ? placeholders.next() : std::nullopt;
        auto printed =
            without ? print(without->html, coloursOf(without->pictures), job) : print(wholeHTML(page), {}, job);
        if (!printed.pdf) {
            placeholders.leaveToEngine(printed.page.changedPictures);
            continue;
        }
        if (without) markSeen(without->pictures, printed.page.seenPictures);
        pdf::FinishOptions options = optionsFor(page, job.info);
        options.text = page.text;
        options.files = page.savedFiles;
        if (without) options.pictures = without->pictures;
        auto finished = finish(std::move(printed), std::move(options), report);
        if (!finished.report.notPlaced.empty()) {
            placeholders.leaveToEngine(finished.report.notPlaced);
            continue;
        }
        report.finishedBytes = finished.pdf.size();
        report.finished = std::move(finished.report);
        logLeftOut(report.finished);
        if (lacksWords(report.finished))
            throw RenderError(RenderError::Kind::incomplete, tr("The web engine left out words of this message."));
        return files::writeAtomically(job.destination, finished.pdf.pieces());
    }
}

// Returns what went wrong with the engine or what it printed; nullopt when the PDF is at its destination.
std::optional<RenderError> WebPDFRenderer::State::tryToPrint(const Page& page, Job& job) {
    job.report = {};
    try {
        const auto shown = foreignPictures.shown(page);
        printAndFinish(shown ? *shown : page, job);
        return std::nullopt;
    } catch (const pdf::Error& error) {
        return RenderError(RenderError::Kind::writeFailed, error.what());
    } catch (const RenderError& error) {
        return error;
    }
}

// As it is, or in the first simpler form that can be printed. Returns the note about it; empty: as it is.
std::string WebPDFRenderer::State::printSomehow(const Page& page, Job& job) {
    std::string note, last = noteOfText();
    if (!MessageHTML::isPlainText(page, longText)) {
        auto failure = tryToPrint(page, job);
        for (std::size_t i = 0; failure && isWorthAnother(*failure) && i < ladder.size(); ++i) {
            note = ladder[i].note();
            const auto simpler = MessageHTML::simpler(page, ladder[i].simplicity, note);
            if (!simpler) break;
            engineLog::note("“" + job.info.title + "” is printed in a simpler form: " + failure->what());
            failure = tryToPrint(*simpler, job);
        }
        if (!failure) return note;
        engineLog::note("“" + job.info.title + "” is printed as text alone: " + failure->what());
        if (failure->kind == RenderError::Kind::notStarted) {
            isEngineMissing = true;
            last = noteOfNoEngine();
        }
    }
    setText(page, last, job);
    return last;
}

// Throws RenderError only when no font of the system can be used.
void WebPDFRenderer::State::setText(const Page& page, const std::string& note, Job& job) {
    using Kind = pdf::SheetText::Kind;
    const auto words = MessageHTML::wordsOf(page);
    const std::array<pdf::SheetText, 6> parts{{{Kind::title, words.title},
                                               {Kind::row, words.rows},
                                               {Kind::note, words.notes},
                                               {Kind::note, note},
                                               {Kind::body, words.mail},
                                               {Kind::row, words.files}}};
    const pdf::SheetSize size{.width = paper.width,
                              .height = paper.height,
                              .verticalMargin = pageGeometry::verticalMargin,
                              .horizontalMargin = pageGeometry::horizontalMargin};
    job.report = {};
    try {
        std::string sheets = pdf::textSheets(parts, size);
        job.report.printedBytes = sheets.size();
        Print print{{}, pdf::Printed::open(Bytes(std::move(sheets)))};
        auto finished = finish(std::move(print), optionsFor(page, job.info), job.report);
        job.report.finishedBytes = finished.pdf.size();
        job.report.finished = std::move(finished.report);
        files::writeAtomically(job.destination, finished.pdf.pieces());
    } catch (const pdf::Error& error) {
        throw RenderError(RenderError::Kind::writeFailed, error.what());
    }
}

std::optional<pictures::Decoded> WebPDFRenderer::State::decode(ByteView picture) const {
    auto decoded = decoder->decode(picture, pictures::Decoder::Alpha::apart);
    auto* const made = std::get_if<pictures::Decoded>(&decoded);
    return made ? std::optional(std::move(*made)) : std::nullopt;
}

// A name not used before: a job that was given up may still write to its own.
std::filesystem::path WebPDFRenderer::State::freshFile() {
    const std::lock_guard held(mutex);
    if (!folder) folder.emplace("ostrel-print-");
    return folder->path() / (std::to_string(++begunPages) + ".pdf");
}

void WebPDFRenderer::State::close(PrintReport report) {
    const std::lock_guard held(mutex);
    lastReport = std::move(report);
    // Short-lived objects of all sizes leave holes, which would add up to three times what is in use.
    constexpr unsigned long pagesBetweenTrims = 64;
    if (++finishedPages % pagesBetweenTrims == 0) memory::returnUnused();
}

WebPDFRenderer::WebPDFRenderer(Paper paper, std::stop_token cancel, PrintLimits limits, std::optional<Capacity> fixed)
    : state_(std::make_unique<State>(paperSize(paper), std::move(cancel), limits)) {
    state_->capacity = fixed;
}

WebPDFRenderer::~WebPDFRenderer() = default;

std::size_t WebPDFRenderer::prepareFor(std::size_t pages) {
    const Capacity capacity = state_->capacity ? *state_->capacity : Capacity::of(Machine::current(), pages);
    state_->printers.allow(capacity.engines);
    return capacity.calls;
}

std::string WebPDFRenderer::renderPDF(const Page& page, const std::filesystem::path& destination,
                                      const DocumentInfo& info) {
    assert(!mainLoop::isMainThread());
    if (state_->cancel.stop_requested()) throw RenderCancelled();
    State::Job job{info, destination};
    std::string note = state_->printSomehow(page, job);
    state_->close(std::move(job.report));
    return note;
}

std::string WebPDFRenderer::trouble() const {
    return state_->isEngineMissing
               ? tr("The web engine could not be started: messages were printed as their text alone.")
               : "";
}

PrintReport WebPDFRenderer::lastReport() const {
    const std::lock_guard held(state_->mutex);
    return state_->lastReport;
}

}   // namespace ostrel
