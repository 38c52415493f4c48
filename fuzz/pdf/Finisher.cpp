#include "pdf/Finisher.h"

#include "fuzz/Target.h"
#include "tests/fonts/SampleFont.h"
#include "tests/pdf/SamplePDF.h"

#include <exception>

#include <qpdf/Buffer.hh>
#include <qpdf/QPDFWriter.hh>

namespace ostrel::fuzz {
namespace {

const test::Photograph& photo() {
    static const auto made = test::photograph(16, 8);
    return made;
}

// The file as a reader mends it: what mutations do to it is then seen by more than the reader. nullopt where there is
// nothing to mend.
std::optional<std::string> mended(std::string_view file) {
    try {
        QPDF pdf;
        pdf.setSuppressWarnings(true);
        pdf.processMemoryFile("mutated", file.data(), file.size());
        QPDFWriter writer(pdf);
        writer.setOutputMemory();
        writer.setDecodeLevel(qpdf_dl_none);
        writer.setCompressStreams(false);
        writer.setDeterministicID(true);
        writer.write();
        const auto bytes = writer.getBufferSharedPointer();
        return std::string(reinterpret_cast<const char*>(bytes->getBuffer()), bytes->getSize());
    } catch (const std::exception&) {
        return std::nullopt;
    }
}

void finish(const std::string& printed, const std::string& address) {
    static pdf::Finisher finisher;   // remembers fonts of earlier files
    const std::vector<pdf::PlacedPicture> pictures{{0x0033FF, pdf::Original::of(bytesOf(photo().jpeg)).value()}};
    const pdf::FinishOptions options{
        .scale = printed.size() % 2 ? 0.5 : 1,
        .title = "T",
        .created = Instant{},
        .links = {{0, 10, 10, 50, 10, address}},
        .linkMarks = {{0x336699, "http://marked"}},
        .listing = {{.text = "Document"},
                    {.parent = 0, .text = "P"},
                    {.kind = pdf::ListedNode::Kind::text, .parent = 1, .text = "\u0939\u0928"}},
        .text = "\u0939\u093f\u0928 \U0001f469\u200d\U0001f468 1\ufe0f\u20e3",
        .pictures = pictures};
    try {
        auto opened = pdf::Printed::open(Bytes(printed));
        opened.scale();
        const auto count = opened.pages();
        const auto made = finisher.finish(std::move(opened), options);
        if (!made.report.notPlaced.empty()) return;   // to be printed again
        const auto whole = made.pdf.whole();
        test::OpenedPDF finished(whole);
        const auto pages = finished.file().getAllPages();
        holds(pages.size() == made.report.pages && pages.size() <= count, "pages are counted, and none is added");
        holds(count == 0 || !pages.empty(), "the first page stays");
        holds(made.pdf.size() <= 2 * printed.size() + 4000 + 500 * pages.size(), "a finished file is no larger");
        for (auto page : pages)
            holds(page.getKey("/MediaBox").unparseResolved() == "[ 0 0 595 842 ]", "every page is on the paper");
        const auto again = pdf::Finisher().finish(pdf::Printed::open(Bytes(printed)), options);
        holds(again.pdf.whole() == whole, "the same file, whatever came before");
    } catch (const pdf::Error&) {
        // Says that it is no printed page, which mutations may have made it.
    }
}

}   // namespace

void run(ByteView input) {
    const std::string file(charsOf(input));
    const std::string address = "http:" + file.substr(file.size() / 2, 20);
    finish(file, address);
    if (const auto whole = mended(file)) finish(*whole, address);
}

std::vector<std::string> seeds() {
    test::SamplePDF file;
    const auto program = test::sampleFont({U'\u0928', U'\u0939', U'\u093f'});
    const pdf::CodeTexts texts{{1, u"\u0928"}, {2, u"\u0939"}};
    const auto picture = file.stream(
        "<< /Type /XObject /Subtype /Image /BitsPerComponent 8 /ColorSpace /DeviceRGB /Width 16 /Height 8 >>",
        photo().pixels);
    const auto form =
        file.stream("<< /Subtype /Form /BBox [0 0 99 99] /Resources << /ExtGState << /F << /ca .0039 >> >> >> >>",
                    ".2 .4 .6 rg /F gs 1 1 9 9 re f");
    const auto pattern = file.object("<< /PatternType 2 /Matrix [1 0 0 1 30 60] /Shading << /ShadingType 2 >> >>");
    file.page(
        "1 0 0 -1 0 842 cm .8 0 0 .8 0 0 cm BT /W 9 Tf <000300020001> Tj /V 9 Tf <0001> Tj /A 9 Tf <0103> Tj /B 9 Tf "
        "(\\2) Tj "
        "/E 9 Tf <0102> Tj ET /X Do /I Do /Pattern cs /P scn 0 0 9 9 re f q 1 2 16 8 re W n q 1 0 0 1 1 2 cm 0 .2 1 rg "
        "0 0 16 8 re f Q Q",
        "<< /Font << /W " + test::compositeFont(file, program, texts) + " /V " +
            test::compositeFont(file, program, texts) + " /A " +
            test::drawnFont(file, "Song", {{1, u"\u4e00"}, {3, u"\u2f47"}}) + " /B " +
            test::drawnFont(file, "Song", {{2, u"\u4e01"}}) + " /E " +
            test::drawnFont(file, "NotoColorEmoji", {{1, u""}, {2, u""}}) + " >> /XObject << /X " + test::ref(form) +
            " /I " + test::ref(picture) + " >> /Pattern << /P " + test::ref(pattern) + " >> >>");
    file.page("0 0 9 9 re f", "<< >>", 900, 1200);
    test::SamplePDF plain;
    plain.page("BT ET");
    return {file.bytes(test::SamplePDF::Streams::stored), plain.bytes(test::SamplePDF::Streams::stored)};
}

}   // namespace ostrel::fuzz
