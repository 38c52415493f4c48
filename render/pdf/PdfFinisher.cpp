#include "render/pdf/PdfFinisher.h"

#include "platform/Translation.h"
#include "render/pdf/FontSubsetter.h"
#include "render/pdf/GlyphOutline.h"
#include "render/pdf/PageText.h"
#include "render/pdf/PdfClusters.h"
#include "render/pdf/PdfContents.h"
#include "render/pdf/PdfDrawnFonts.h"
#include "render/pdf/PdfEmoji.h"
#include "render/pdf/PdfFonts.h"
#include "render/pdf/PdfImages.h"
#include "render/pdf/PdfLinkMarks.h"
#include "render/pdf/PdfPages.h"
#include "render/pdf/PdfSharing.h"
#include "render/pdf/PdfStreams.h"
#include "render/pdf/PdfTextMaps.h"

#include <algorithm>
#include <cctype>
#include <iterator>

#include <qpdf/Buffer.hh>
#include <qpdf/Pl_Flate.hh>
#include <qpdf/QPDF.hh>
#include <qpdf/QPDFPageDocumentHelper.hh>
#include <qpdf/QPDFWriter.hh>

namespace ostrel {

using i18n::tr;

PdfError::PdfError(const std::string& reason)
    : std::runtime_error(i18n::filled(tr("The printed page is not a PDF that can be read: %@"), reason)) {}

struct PdfFinisher::Memory {
    FontSubsetter fonts;
};

PdfFinisher::PdfFinisher() : memory_(std::make_unique<Memory>()) {}
PdfFinisher::~PdfFinisher() = default;

namespace {

// Opens strictly: the engine writes no damaged files, and a mended one may have lost pages on the way.
void open(QPDF& file, ByteView printed) {
    file.setAttemptRecovery(false);
    file.setSuppressWarnings(true);
    const auto bytes = charsOf(printed);
    file.processMemoryFile("printed page", bytes.data(), bytes.size());
    auto count = file.getRoot().getKey("/Pages").getKey("/Count");
    const auto pages = file.getAllPages().size();
    if (pages == 0 || !count.isInteger() || count.getIntValue() != static_cast<long long>(pages))
        throw std::runtime_error(tr("pages are missing"));
}

// "D:20240305090742Z" (ISO 32000-1 §7.9.4); nothing for years that have no four digits.
std::optional<std::string> dateText(Instant when) {
    auto iso = isoUTC(when);
    if (iso.size() != std::string_view("2024-03-05T09:07:42Z").size() || iso[0] == '-') return std::nullopt;
    std::erase_if(iso, [](char c) { return c == '-' || c == ':' || c == 'T'; });
    return "D:" + iso;
}

void describe(QPDF& file, const FinishOptions& options) {
    auto info = QPDFObjectHandle::newDictionary();
    const auto put = [&](const char* key, const std::string& value) {
        if (!value.empty()) info.replaceKey(key, QPDFObjectHandle::newUnicodeString(value));
    };
    put("/Title", options.title);
    put("/Author", options.author);
    put("/Creator", "Ostrel");
    put("/Producer", "Ostrel");
    if (options.created) put("/CreationDate", dateText(*options.created).value_or(""));
    file.getTrailer().replaceKey("/Info", file.makeIndirectObject(info));

    auto root = file.getRoot();
    if (options.language && !options.language->empty())
        root.replaceKey("/Lang", QPDFObjectHandle::newUnicodeString(*options.language));
    if (!options.title.empty())
        root.replaceKey("/ViewerPreferences", QPDFObjectHandle::parse("<< /DisplayDocTitle true >>"));
}

std::string written(QPDF& file) {
    Pl_Flate::setCompressionLevel(9);
    QPDFWriter writer(file);
    writer.setOutputMemory();
    writer.setObjectStreamMode(qpdf_o_generate);
    writer.setDecodeLevel(qpdf_dl_none);   // streams are packed by then
    writer.setDeterministicID(true);
    writer.write();
    const auto bytes = writer.getBufferSharedPointer();
    return std::string(reinterpret_cast<const char*>(bytes->getBuffer()), bytes->getSize());
}

// Makes the file smaller without changing what it shows.
void reduce(QPDF& file, std::string_view html, FontSubsetter& fonts, FinishReport& report) {
    const auto page = pdf::pageText(html);
    pdf::nameClusters(file, page);
    pdf::GlyphUse use;
    pdf::Outlines outlines;
    auto contents = pdf::contentsOf(file);
    for (auto& content : contents) {
        const auto text = pdf::decoded(content.stream);
        if (!text) throw std::runtime_error(tr("its content cannot be decoded"));
        use.read(*text, content.resources);
        if (auto outline = pdf::shorterOutline(*text))
            outlines.emplace(content.stream.getObjGen(), std::move(*outline));
        else
            pdf::repack(content.stream, *text, zlib::Effort::good);
    }
    pdf::nameEmoji(file, page, use);
    if (!pdf::joinDrawnFonts(file, contents, use, outlines))
        for (const auto& [id, outline] : outlines) pdf::repack(file.getObject(id), outline, zlib::Effort::best);
    const auto counts = pdf::reduceFonts(file, use, fonts);
    pdf::makeTextTyped(file);
    pdf::shareTextTables(file, use);
    report.fontsReduced = counts.reduced;
    report.fontsKept = counts.kept;
    report.jpegsRestored = pdf::packImages(file, html);
    pdf::shareTwins(file);
}

// fonts: null to leave everything but the pages alone.
PdfFinisher::Finished finished(ByteView printed, FinishOptions options, FontSubsetter* fonts) {
    QPDF file;
    open(file, printed);
    std::ranges::move(pdf::takeLinkMarks(file, options.linkMarks), std::back_inserter(options.links));
    PdfFinisher::Finished result;
    result.report.pages = file.getAllPages().size();
    result.report.links = pdf::layOutPages(file, options);
    describe(file, options);
    if (fonts) reduce(file, options.html, *fonts, result.report);
    result.pdf = written(file);
    return result;
}

}   // namespace

PdfFinisher::Finished PdfFinisher::finish(ByteView printed, const FinishOptions& options) {
    try {
        return finished(printed, options, &memory_->fonts);
    } catch (const std::exception&) {
        // Making it smaller is a comfort; the pages are what counts.
    }
    try {
        return finished(printed, options, nullptr);
    } catch (const std::exception& e) {
        throw PdfError(e.what());
    }
}

}   // namespace ostrel
