#pragma once

#include "pdf/FinishedFile.h"
#include "pdf/fonts/ToUnicode.h"

#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include <qpdf/QPDF.hh>

namespace ostrel::test {

// A PDF under construction, laid out like the engine's.
class SamplePDF {
public:
    SamplePDF();
    // dictionary in PDF syntax; returns the object to refer to.
    QPDFObjectHandle object(const std::string& dictionary);
    QPDFObjectHandle stream(const std::string& dictionary, const std::string& content);
    // resources in PDF syntax; refer to objects with ref().
    void page(const std::string& content, const std::string& resources = "<< >>", double width = 595,
              double height = 842);
    // The engine packs its streams or, asked to, stores them.
    enum class Streams { packed, stored };
    std::string bytes(Streams streams = Streams::packed);
    QPDF& file() { return file_; }

private:
    QPDF file_;
};

std::string written(QPDF& file, bool packed = true);

std::string ref(QPDFObjectHandle object);

// Fonts as the engine writes them, to refer to; texts as pdf::ToUnicode has them. One whose codes are the glyphs of a
// TrueType program:
std::string compositeFont(SamplePDF& pdf, const std::string& program, const pdf::CodeTexts& texts);
// One with a drawn glyph, a box, for each code, called g and its code; without a text where that is empty.
std::string drawnFont(SamplePDF& pdf, const std::string& name, const pdf::CodeTexts& texts);

// A finished file, opened again.
class OpenedPDF {
public:
    explicit OpenedPDF(std::string bytes);
    explicit OpenedPDF(const pdf::FinishedFile& file) : OpenedPDF(file.whole()) {}
    QPDF& file() { return file_; }
    QPDFObjectHandle page(std::size_t number) { return file_.getAllPages().at(number); }
    std::string content(std::size_t number);   // without its tags
    QPDFObjectHandle resource(std::size_t pageNumber, const char* kind, const char* name);

private:
    std::string bytes_;
    QPDF file_;
};

std::string plainData(QPDFObjectHandle stream);   // filters undone

// A coloured picture of this size, 3 bytes a pixel; and the same as a JPEG with camera data in it.
struct Photograph {
    std::string jpeg, pixels;
};
enum class JPEGKind { baseline, progressive, gray };
Photograph photograph(int width, int height, JPEGKind kind = JPEGKind::baseline);

// A TrueType font of the machine; nothing when none of the usual ones is there.
std::optional<std::string> systemFont();

}   // namespace ostrel::test
