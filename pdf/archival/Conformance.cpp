#include "pdf/archival/Conformance.h"

#include "pdf/content/Streams.h"

#include <algorithm>
#include <array>
#include <string_view>

namespace ostrel::pdf {
namespace {

template <std::size_t count>
bool isOneOf(QPDFObjectHandle name, const std::array<std::string_view, count>& known) {
    return name.isName() && std::ranges::find(known, name.getName()) != known.end();
}

template <std::size_t count>
bool hasAny(QPDFObjectHandle dictionary, const std::array<const char*, count>& keys) {
    return std::ranges::any_of(keys, [&](const char* key) { return dictionary.hasKey(key); });
}

// What a picture's own profile may be (§6.2.4.2).
bool isUnderstoodProfile(QPDFObjectHandle profile) {
    if (!profile.isStream()) return false;
    const auto bytes = decoded(profile);
    constexpr std::size_t headerBytes = 128, versionAt = 8, kindAt = 12, coloursAt = 16;
    if (!bytes || bytes->size() < headerBytes || (*bytes)[versionAt] > 4) return false;
    static constexpr std::array<std::string_view, 4> kinds{"mntr", "scnr", "prtr", "spac"};
    const std::string_view header(*bytes);
    if (std::ranges::find(kinds, header.substr(kindAt, 4)) == kinds.end()) return false;
    auto parts = profile.getDict().getKey("/N");
    const auto count = parts.isInteger() ? parts.getIntValue() : 0;
    const auto colours = header.substr(coloursAt, 4);
    return (count == 1 && colours == "GRAY") || (count == 3 && colours == "RGB ") || (count == 4 && colours == "CMYK");
}

// Amounts of red, green and blue, or of grey, which the output intent gives a meaning (§6.2.4.3).
bool isUnderstoodColour(QPDFObjectHandle space) {
    static constexpr std::array<std::string_view, 2> plain{"/DeviceRGB", "/DeviceGray"};
    if (!space.isArray() || space.getArrayNItems() < 2) return isOneOf(space, plain);
    auto kind = space.getArrayItem(0), base = space.getArrayItem(1);
    if (kind.isNameAndEquals("/ICCBased")) return isUnderstoodProfile(base);
    // Inks by way of plain colours. The names of process colours need no more to be said (§6.2.4.4).
    if (kind.isNameAndEquals("/DeviceN")) return space.getArrayNItems() == 4 && isOneOf(space.getArrayItem(2), plain);
    if (!kind.isNameAndEquals("/Indexed")) return false;
    const bool hasProfile =
        base.isArray() && base.getArrayNItems() == 2 && base.getArrayItem(0).isNameAndEquals("/ICCBased");
    return hasProfile ? isUnderstoodProfile(base.getArrayItem(1)) : isOneOf(base, plain);
}

std::string faultOfFilters(QPDFObjectHandle stream) {
    static constexpr std::array<std::string_view, 2> known{"/FlateDecode", "/DCTDecode"};
    auto filter = stream.getKey("/Filter");
    if (stream.hasKey("/F")) return "a stream outside the file";
    if (filter.isNull() || isOneOf(filter, known)) return {};
    if (!filter.isArray()) return "an unknown filter";
    for (auto& item : filter.getArrayAsVector())
        if (!isOneOf(item, known)) return "an unknown filter";
    return {};
}

std::string faultOfPicture(QPDFObjectHandle picture) {
    auto smooths = picture.getKey("/Interpolate");
    auto mask = picture.getKey("/ImageMask");
    if (hasAny(picture, std::array{"/Alternates", "/OPI"}) || (smooths.isBool() && smooths.getBoolValue()))
        return "a picture with alternates or smoothing";
    if (mask.isBool() && mask.getBoolValue()) return {};
    return isUnderstoodColour(picture.getKey("/ColorSpace")) ? "" : "a picture in unknown colours";
}

std::string faultOfState(QPDFObjectHandle state) {
    static constexpr std::array<std::string_view, 17> modes{
        "/Normal",    "/Compatible", "/Multiply",   "/Screen",    "/Overlay",   "/Darken",
        "/Lighten",   "/ColorDodge", "/ColorBurn",  "/HardLight", "/SoftLight", "/Difference",
        "/Exclusion", "/Hue",        "/Saturation", "/Color",     "/Luminosity"};
    if (hasAny(state, std::array{"/TR", "/TR2", "/HTP", "/HT"})) return "a transfer function";
    return !state.hasKey("/BM") || isOneOf(state.getKey("/BM"), modes) ? "" : "an unknown blend mode";
}

// A composite font with its program, as the engine writes them, or one with drawn glyphs (§6.2.11.4).
std::string faultOfFont(QPDFObjectHandle font) {
    auto kind = font.getKey("/Subtype");
    if (kind.isNameAndEquals("/Type3")) return {};
    if (kind.isNameAndEquals("/Type0"))
        return font.getKey("/Encoding").isNameAndEquals("/Identity-H") ? "" : "an unknown encoding";
    if (!kind.isNameAndEquals("/CIDFontType2")) return "a font of an unknown kind";
    auto descriptor = font.getKey("/FontDescriptor");
    const bool isEmbedded = descriptor.isDictionary() && descriptor.getKey("/FontFile2").isStream();
    return isEmbedded && font.getKey("/CIDToGIDMap").isNameAndEquals("/Identity") ? "" : "a font that is not embedded";
}

std::string faultOf(QPDFObjectHandle object) {
    auto dict = object.isStream() ? object.getDict() : object;
    if (!dict.isDictionary()) return {};
    if (object.isStream())
        if (auto fault = faultOfFilters(dict); !fault.empty()) return fault;
    auto type = dict.getKey("/Type"), kind = dict.getKey("/Subtype");
    if (type.isNameAndEquals("/Font")) return faultOfFont(dict);
    if (type.isNameAndEquals("/ExtGState")) return faultOfState(dict);
    if (object.isStream() && kind.isNameAndEquals("/Image")) return faultOfPicture(dict);
    if (object.isStream() && kind.isNameAndEquals("/PS")) return "PostScript";
    if (object.isStream() && kind.isNameAndEquals("/Form") && hasAny(dict, std::array{"/Ref", "/OPI", "/PS"}))
        return "a form from outside the file";
    if (dict.hasKey("/ShadingType") && !isUnderstoodColour(dict.getKey("/ColorSpace")))
        return "a gradient in unknown colours";
    if (dict.hasKey("/AA") || type.isNameAndEquals("/Annot") || type.isNameAndEquals("/Action"))
        return "something that acts";
    return {};
}

// Every glyph that is shown exists and means a character (§6.2.11.7, §6.2.11.8).
std::string faultOfTexts(QPDF& file, FontTexts& texts, const GlyphUse& use) {
    for (const auto& [id, shown] : use.codesOf()) {
        if (shown.none()) continue;
        auto font = file.getObject(id);
        const auto* const table = texts.of(font);
        if (!table) return "a font without characters";
        if (font.getKey("/Subtype").isNameAndEquals("/Type0") && shown.test(0)) return "a character that no font has";
        for (auto code = shown._Find_first(); code < shown.size(); code = shown._Find_next(code)) {
            const auto text = table->texts.find(static_cast<int>(code));
            if (text == table->texts.end() || !isText(text->second)) return "a glyph without a character";
        }
    }
    return {};
}

// What acts when the file is opened, and what the engine never writes there.
std::string faultOfCatalog(QPDFObjectHandle catalog) {
    return hasAny(catalog, std::array{"/AA", "/OpenAction", "/Names", "/AcroForm", "/OCProperties", "/Requirements",
                                      "/Collection", "/Perms"})
               ? "something that acts"
               : "";
}

}   // namespace

std::string whyNotArchival(QPDF& file, FontTexts& texts, const GlyphUse& use) {
    if (!use.isComplete()) return use.whyIncomplete();
    if (auto fault = faultOfCatalog(file.getRoot()); !fault.empty()) return fault;
    for (auto& object : file.getAllObjects())
        if (auto fault = faultOf(object); !fault.empty()) return fault;
    return faultOfTexts(file, texts, use);
}

}   // namespace ostrel::pdf
