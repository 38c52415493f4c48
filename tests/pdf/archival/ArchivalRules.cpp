#include "tests/pdf/archival/ArchivalRules.h"

#include "pdf/content/Contents.h"
#include "pdf/fonts/GlyphUse.h"
#include "pdf/fonts/ToUnicode.h"
#include "tests/pdf/SamplePDF.h"

#include <string_view>

namespace ostrel::test {
namespace {

class Checker {
public:
    explicit Checker(const std::string& bytes) : bytes_(bytes), opened_(bytes) {}

    std::vector<std::string> run() {
        auto metadata = root().getKey("/Metadata");
        expect(metadata.isStream(), "6.6.2.1: there is no metadata");
        if (!metadata.isStream()) return broken_;
        xmp_ = plainData(metadata);
        if (xmp_.find("<pdfaid:part>2</pdfaid:part><pdfaid:conformance>U</pdfaid:conformance>") == xmp_.npos) return {};
        expect(xmp_.find("xmlns:pdfaid=\"http://www.aiim.org/pdfa/ns/id/\"") != xmp_.npos,
               "6.6.4: the claim is of another vocabulary");
        file();
        information();
        outputIntent();
        for (auto page : opened_.file().getAllPages()) annotations(page.getKey("/Annots"));
        for (auto& object : opened_.file().getAllObjects())
            if (object.isDictionaryOfType("/Font")) font(object);
        glyphs();
        return broken_;
    }

private:
    void expect(bool isKept, const std::string& rule) {
        if (!isKept) broken_.push_back(rule);
    }
    QPDFObjectHandle root() { return opened_.file().getRoot(); }

    void file() {
        auto id = opened_.file().getTrailer().getKey("/ID");
        expect(id.isArray() && id.getArrayNItems() == 2, "6.1.3: the file has no identifier");
        constexpr std::string_view end = "endstream";
        for (auto at = bytes_.find(end); at != bytes_.npos; at = bytes_.find(end, at + end.size()))
            expect(at > 0 && bytes_[at - 1] == '\n', "6.1.7.1: no line ends before endstream");
    }

    // Between two tags of the metadata, as text.
    std::string said(std::string_view begin, std::string_view end) const {
        const auto from = xmp_.find(begin);
        if (from == xmp_.npos) return {};
        auto text = xmp_.substr(from + begin.size(), xmp_.find(end, from) - from - begin.size());
        for (const auto& [name, character] : {std::pair("&lt;", "<"), std::pair("&gt;", ">"), std::pair("&amp;", "&")})
            for (auto at = text.find(name); at != text.npos; at = text.find(name, at + 1))
                text.replace(at, std::string_view(name).size(), character);
        return text;
    }

    void information() {
        auto info = opened_.file().getTrailer().getKey("/Info");
        const auto entry = [&](const char* key) {
            auto value = info.getKey(key);
            return value.isString() ? value.getUTF8Value() : std::string();
        };
        expect(said("<dc:title><rdf:Alt><rdf:li xml:lang=\"x-default\">", "</rdf:li>") == entry("/Title"),
               "6.6.3: the title has two forms");
        expect(said("<dc:creator><rdf:Seq><rdf:li>", "</rdf:li>") == entry("/Author"),
               "6.6.3: the author has two forms");
        expect(said("<xmp:CreatorTool>", "</xmp:CreatorTool>") == entry("/Creator"),
               "6.6.3: the creator has two forms");
        expect(said("<pdf:Producer>", "</pdf:Producer>") == entry("/Producer"), "6.6.3: the producer has two forms");
        auto date = said("<xmp:CreateDate>", "</xmp:CreateDate>");
        std::erase_if(date, [](char c) { return c == '-' || c == ':' || c == 'T'; });
        expect((date.empty() ? "" : "D:" + date) == entry("/CreationDate"), "6.6.3: the date has two forms");
    }

    void outputIntent() {
        auto intents = root().getKey("/OutputIntents");
        const bool isOne = intents.isArray() && intents.getArrayNItems() == 1 &&
                           intents.getArrayItem(0).getKey("/S").isNameAndEquals("/GTS_PDFA1");
        expect(isOne, "6.2.3: there is no output intent");
        if (!isOne) return;
        auto stream = intents.getArrayItem(0).getKey("/DestOutputProfile");
        expect(stream.getDict().getKey("/N").getIntValue() == 3, "6.2.3: the profile is not of three colours");
        const auto profile = plainData(stream);
        std::size_t size = 0;
        for (std::size_t i = 0; i < 4; ++i) size = size << 8 | static_cast<unsigned char>(profile.at(i));
        expect(size == profile.size() && profile.substr(12, 12) == "mntrRGB XYZ " && profile.substr(36, 4) == "acsp",
               "6.2.3: the profile has no sound header");
    }

    void annotations(QPDFObjectHandle all) {
        if (!all.isArray()) return;
        for (auto& annotation : all.getArrayAsVector()) {
            auto flags = annotation.getKey("/F");
            expect(flags.isInteger() && flags.getIntValue() == 4, "6.3.2: a link is not printed");
            expect(annotation.getKey("/A").getKey("/S").isNameAndEquals("/URI"), "6.5.1: a link does not open a page");
        }
    }

    void font(QPDFObjectHandle font) {
        if (font.getKey("/Subtype").isNameAndEquals("/CIDFontType2"))
            return expect(font.getKey("/FontDescriptor").getKey("/FontFile2").isStream(),
                          "6.2.11.4: a font is not embedded");
        const auto table = font.hasKey("/ToUnicode") ? pdf::parseToUnicode(plainData(font.getKey("/ToUnicode")))
                                                     : std::optional<pdf::ToUnicode>();
        if (!table) return expect(false, "6.2.11.7: a font without characters");
        for (const auto& [code, text] : table->texts)
            expect(pdf::isText(text), "6.2.11.7: a glyph means a character that is none");
    }

    void glyphs() {
        pdf::Contents contents(opened_.file());
        const auto use = pdf::GlyphUse::of(contents);
        expect(use.isComplete(), "6.2.2: content that cannot be followed");
        for (const auto& [id, shown] : use.codesOf()) {
            auto font = opened_.file().getObject(id);
            if (shown.none() || !font.hasKey("/ToUnicode")) continue;
            const auto table = pdf::parseToUnicode(plainData(font.getKey("/ToUnicode")));
            for (auto code = shown._Find_first(); table && code < shown.size(); code = shown._Find_next(code))
                expect(table->texts.contains(static_cast<int>(code)), "6.2.11.7: a glyph without a character");
            if (font.getKey("/Subtype").isNameAndEquals("/Type0"))
                expect(!shown.test(0), "6.2.11.8: a character that no font has");
        }
    }

    const std::string& bytes_;
    OpenedPDF opened_;
    std::string xmp_;
    std::vector<std::string> broken_;
};

}   // namespace

std::vector<std::string> brokenArchivalRules(const std::string& pdf) { return Checker(pdf).run(); }

}   // namespace ostrel::test
