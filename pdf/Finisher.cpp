#include "pdf/Finisher.h"

#include "pdf/Sharing.h"
#include "pdf/content/Contents.h"
#include "pdf/content/Streams.h"
#include "pdf/fonts/DrawnFonts.h"
#include "pdf/fonts/FontReduction.h"
#include "pdf/fonts/FontSubsetter.h"
#include "pdf/fonts/GlyphOutline.h"
#include "pdf/fonts/TextMaps.h"
#include "pdf/images/Images.h"
#include "pdf/pages/LinkMarks.h"
#include "pdf/pages/Pages.h"
#include "pdf/text/Clusters.h"
#include "pdf/text/Emoji.h"
#include "pdf/text/PageText.h"
#include "platform/Translation.h"

#include <algorithm>
#include <cctype>
#include <iterator>

#include <qpdf/Buffer.hh>
#include <qpdf/Pl_Flate.hh>
#include <qpdf/QPDF.hh>
#include <qpdf/QPDFPageDocumentHelper.hh>
#include <qpdf/QPDFWriter.hh>

namespace ostrel::pdf {

using i18n::tr;

struct Finisher::Memory {
    FontSubsetter fonts;
};

Finisher::Finisher() : memory_(std::make_unique<Memory>()) {}
Finisher::~Finisher() = default;

namespace {

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
void reduce(QPDF& file, const FinishOptions& options, FontSubsetter& fonts, FinishReport& report) {
    const auto page = pageText(options.text);
    nameClusters(file, page);
    GlyphUse use;
    Outlines outlines;
    auto contents = contentsOf(file);
    for (auto& content : contents) {
        const auto text = decoded(content.stream);
        if (!text) throw std::runtime_error(tr("its content cannot be decoded"));
        use.read(*text, content.resources);
        if (auto outline = shorterOutline(*text))
            outlines.emplace(content.stream.getObjGen(), std::move(*outline));
        else
            repack(content.stream, *text, zlib::Effort::good);
    }
    nameEmoji(file, page, use);
    if (!joinDrawnFonts(file, contents, use, outlines))
        for (const auto& [id, outline] : outlines) repack(file.getObject(id), outline, zlib::Effort::best);
    const auto counts = reduceFonts(file, use, fonts);
    makeTextTyped(file);
    shareTextTables(file, use);
    report.fontsReduced = counts.reduced;
    report.fontsKept = counts.kept;
    report.jpegsRestored = packImages(file, options.pictures);
    shareTwins(file);
}

// fonts: null to leave everything but the pages alone.
Finisher::Finished finished(Printed& printed, FinishOptions options, FontSubsetter* fonts) {
    QPDF& file = printed.file();
    std::ranges::move(takeLinkMarks(file, options.linkMarks), std::back_inserter(options.links));
    Finisher::Finished result;
    result.report.pages = printed.pages();
    result.report.links = layOutPages(file, {options.widthPoints, options.heightPoints, options.scale}, options.links);
    describe(file, options);
    if (fonts) reduce(file, options, *fonts, result.report);
    result.pdf = written(file);
    return result;
}

}   // namespace

Finisher::Finished Finisher::finish(Printed printed, const FinishOptions& options) {
    try {
        return finished(printed, options, &memory_->fonts);
    } catch (const std::exception&) {
        // Making it smaller is a comfort; the pages are what counts.
    }
    try {
        auto again = printed.reopened();
        return finished(again, options, nullptr);
    } catch (const std::exception& e) {
        throw Error(e.what());
    }
}

}   // namespace ostrel::pdf
