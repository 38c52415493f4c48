#include "tests/pdf/SamplePDF.h"

#include "pdf/content/ContentReader.h"
#include "pdf/content/Rewriter.h"

#include <array>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <iterator>

#include <jpeglib.h>
#include <qpdf/Buffer.hh>
#include <qpdf/QPDFWriter.hh>

namespace ostrel::test {

SamplePDF::SamplePDF() { file_.emptyPDF(); }

QPDFObjectHandle SamplePDF::object(const std::string& dictionary) {
    return file_.makeIndirectObject(QPDFObjectHandle::parse(&file_, dictionary));
}

QPDFObjectHandle SamplePDF::stream(const std::string& dictionary, const std::string& content) {
    auto made = QPDFObjectHandle::newStream(&file_, content);
    auto entries = QPDFObjectHandle::parse(&file_, dictionary);
    for (const auto& key : entries.getKeys()) made.getDict().replaceKey(key, entries.getKey(key));
    return made;
}

void SamplePDF::page(const std::string& content, const std::string& resources, double width, double height) {
    auto page = QPDFObjectHandle::parse(&file_, "<< /Type /Page /Resources " + resources + " >>");
    page.replaceKey("/MediaBox", QPDFObjectHandle::newArray(QPDFObjectHandle::Rectangle(0, 0, width, height)));
    page.replaceKey("/Contents", QPDFObjectHandle::newStream(&file_, content));
    file_.addPage(page, false);
}

std::string SamplePDF::bytes(Streams streams) { return written(file_, streams == Streams::packed); }

std::string written(QPDF& file, bool packed) {
    QPDFWriter writer(file);
    writer.setCompressStreams(packed);
    writer.setOutputMemory();
    writer.setObjectStreamMode(qpdf_o_disable);
    writer.setDeterministicID(true);
    writer.write();
    const auto buffer = writer.getBufferSharedPointer();
    return {reinterpret_cast<const char*>(buffer->getBuffer()), buffer->getSize()};
}

std::string ref(QPDFObjectHandle object) { return object.unparse(); }

std::string compositeFont(SamplePDF& pdf, const std::string& program, const pdf::CodeTexts& texts) {
    const auto file = pdf.stream("<< /Length1 " + std::to_string(program.size()) + " >>", program);
    const auto descriptor = pdf.object("<< /Type /FontDescriptor /FontName /A /FontFile2 " + ref(file) + " >>");
    const auto descendant = pdf.object(
        "<< /Type /Font /Subtype /CIDFontType2 /BaseFont /A /CIDToGIDMap /Identity /DW 500 /W [1 [601 602 "
        "603]] /FontDescriptor " +
        ref(descriptor) + " >>");
    return ref(pdf.object("<< /Type /Font /Subtype /Type0 /BaseFont /A /Encoding /Identity-H /DescendantFonts [" +
                          ref(descendant) + "] /ToUnicode " + ref(pdf.stream("<< >>", pdf::makeToUnicode({2, texts}))) +
                          " >>"));
}

std::string drawnFont(SamplePDF& pdf, const std::string& name, const pdf::CodeTexts& texts) {
    std::string procedures, names, widths;
    pdf::ToUnicode meanings;
    for (int code = 0; code <= texts.rbegin()->first; ++code) {
        widths += "1000 ";
        if (!texts.contains(code)) continue;
        const auto glyph = "/g" + std::to_string(code);
        const auto size = std::to_string(10 + code);
        procedures += glyph + " " + ref(pdf.stream("<< >>", "1000 0 0 -9 99 0 d1 0 0 " + size + " -9 re f")) + " ";
        names += std::to_string(code) + " " + glyph + " ";
        if (!texts.at(code).empty()) meanings.texts.emplace(code, texts.at(code));
    }
    return ref(
        pdf.object("<< /Type /Font /Subtype /Type3 /FontBBox [0 120 1000 -880] /FontMatrix [.001 0 0 -.001 0 0] "
                   "/FontDescriptor << /FontName /" +
                   name + " >> /FirstChar 0 /LastChar " + std::to_string(texts.rbegin()->first) + " /Widths [" +
                   widths + "] /CharProcs << " + procedures + ">> /Encoding << /Differences [" + names +
                   "] >> /ToUnicode " + ref(pdf.stream("<< >>", pdf::makeToUnicode(meanings))) + " >>"));
}

OpenedPDF::OpenedPDF(std::string bytes) : bytes_(std::move(bytes)) {
    file_.setAttemptRecovery(false);
    file_.processMemoryFile("finished", bytes_.data(), bytes_.size());
}

std::string OpenedPDF::content(std::size_t number) {
    const auto tagged = plainData(page(number).getKey("/Contents"));
    pdf::ContentReader reader(tagged);
    pdf::Rewriter tags;
    std::vector<bool> areTags;   // the marks that have not ended yet
    while (const auto operation = reader.next()) {
        if (operation->letters == "BMC" || operation->letters == "BDC") {
            const auto& name = operation->operands.front().text;
            areTags.push_back(name == "P" || name == "Artifact");
            if (areTags.back()) tags.cut(operation->begin, operation->end + 1);   // with the end of its line
        } else if (operation->letters == "EMC" && !areTags.empty()) {
            if (areTags.back()) tags.cut(operation->begin - 1, operation->end);   // with the blank before it
            areTags.pop_back();
        }
    }
    return tags.rewritten(tagged).value_or(tagged);
}

QPDFObjectHandle OpenedPDF::resource(std::size_t pageNumber, const char* kind, const char* name) {
    return page(pageNumber).getKey("/Resources").getKey(kind).getKey(name);
}

std::string plainData(QPDFObjectHandle stream) {
    const auto data = stream.getStreamData(qpdf_dl_generalized);
    return {reinterpret_cast<const char*>(data->getBuffer()), data->getSize()};
}

namespace {

std::string encoded(const std::string& pixels, int width, int height, JPEGKind kind) {
    jpeg_compress_struct state{};
    jpeg_error_mgr errors{};
    state.err = jpeg_std_error(&errors);
    jpeg_create_compress(&state);
    unsigned char* out = nullptr;
    unsigned long size = 0;
    jpeg_mem_dest(&state, &out, &size);
    state.image_width = static_cast<JDIMENSION>(width);
    state.image_height = static_cast<JDIMENSION>(height);
    state.input_components = 3;
    state.in_color_space = JCS_RGB;
    jpeg_set_defaults(&state);
    if (kind == JPEGKind::gray) jpeg_set_colorspace(&state, JCS_GRAYSCALE);
    if (kind == JPEGKind::progressive) jpeg_simple_progression(&state);
    jpeg_start_compress(&state, TRUE);
    const std::string camera = "Exif, where the picture was taken";
    jpeg_write_marker(&state, JPEG_APP0 + 1, reinterpret_cast<const JOCTET*>(camera.data()),
                      static_cast<unsigned>(camera.size()));
    while (state.next_scanline < state.image_height) {
        auto row = pixels.substr(state.next_scanline * 3u * static_cast<unsigned>(width));
        auto* start = reinterpret_cast<JSAMPROW>(row.data());
        jpeg_write_scanlines(&state, &start, 1);
    }
    jpeg_finish_compress(&state);
    std::string file(reinterpret_cast<char*>(out), size);
    jpeg_destroy_compress(&state);
    std::free(out);
    return file;
}

std::string decoded(const std::string& file) {
    jpeg_decompress_struct state{};
    jpeg_error_mgr errors{};
    state.err = jpeg_std_error(&errors);
    jpeg_create_decompress(&state);
    jpeg_mem_src(&state, reinterpret_cast<const unsigned char*>(file.data()), file.size());
    jpeg_read_header(&state, TRUE);
    state.out_color_space = JCS_RGB;
    jpeg_start_decompress(&state);
    std::string pixels(std::size_t{state.output_width} * 3 * state.output_height, '\0');
    while (state.output_scanline < state.output_height) {
        auto* row = reinterpret_cast<JSAMPROW>(pixels.data()) + state.output_scanline * 3 * state.output_width;
        jpeg_read_scanlines(&state, &row, 1);
    }
    jpeg_destroy_decompress(&state);
    return pixels;
}

}   // namespace

Photograph photograph(int width, int height, JPEGKind kind) {
    std::string scene;
    for (int y = 0; y < height; ++y)
        for (int x = 0; x < width; ++x)
            for (const int value : {x * 3 + y, y * 5 - x, (x * y) / 16}) scene += static_cast<char>(value & 0xFF);
    Photograph made;
    made.jpeg = encoded(scene, width, height, kind);
    made.pixels = decoded(made.jpeg);
    return made;
}

std::optional<std::string> systemFont() {
    for (const auto* path : {"/usr/share/fonts/truetype/liberation/LiberationSans-Regular.ttf",
                             "/usr/share/fonts/truetype/dejavu/DejaVuSans.ttf"}) {
        std::ifstream file(path, std::ios::binary);
        if (file) return std::string(std::istreambuf_iterator<char>(file), {});
    }
    return std::nullopt;
}

}   // namespace ostrel::test
