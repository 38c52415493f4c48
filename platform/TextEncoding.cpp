#include "platform/TextEncoding.h"

#include "platform/Text.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <map>
#include <memory>

#include <iconv.h>
#include <unicode/ucnv.h>
#include <unicode/ucnv_err.h>
#include <unicode/utf16.h>

namespace ostrel {
namespace {

constexpr std::string_view utf8Name = "UTF-8";
constexpr std::string_view windows1252Name = "windows-1252";
constexpr std::string_view latin1Name = "ISO-8859-1";
constexpr std::string_view gb18030Name = "gb18030";

// Labels that the converter library does not know, or for which real mail means more than it would decode. Spelled
// without anything but letters and digits, which senders leave out and put in as they like, and without
// the "x-" of unregistered names.
struct Alias {
    std::string_view label;
    std::string_view encoding;
};
constexpr auto aliases = std::to_array<Alias>({
    {"646", utf8Name},
    {"88591", windows1252Name},
    {"885911", "windows-874"},
    {"885916", "ISO-8859-16"},
    {"88599", "windows-1254"},
    {"ansix341968", utf8Name},
    {"ansix341986", utf8Name},
    {"armscii8", "ARMSCII-8"},
    {"ascii", utf8Name},
    {"big5", "Big5-HKSCS"},
    {"big5hkscs", "Big5-HKSCS"},
    {"big5hkscs2004", "Big5-HKSCS"},
    {"chinese", gb18030Name},
    {"cnbig5", "Big5-HKSCS"},
    {"cngb", gb18030Name},
    {"cp1125", "CP1125"},
    {"cp1252", windows1252Name},
    {"cp1361", "JOHAB"},
    {"cp20936", gb18030Name},
    {"cp367", utf8Name},
    {"cp50220", "ISO-2022-JP-2"},
    {"cp50221", "ISO-2022-JP-2"},
    {"cp50222", "ISO-2022-JP-2"},
    {"cp51932", "EUC-JP"},
    {"cp51936", gb18030Name},
    {"cp51949", "windows-949"},
    {"cp54936", gb18030Name},
    {"cp65001", utf8Name},
    {"cp819", windows1252Name},
    {"cp874", "windows-874"},
    {"cp936", gb18030Name},
    {"cp949", "windows-949"},
    {"cp950", "Big5-HKSCS"},
    {"csascii", utf8Name},
    {"csbig5", "Big5-HKSCS"},
    {"cseuckr", "windows-949"},
    {"csgb2312", gb18030Name},
    {"csgbk", gb18030Name},
    {"csiso2022jp", "ISO-2022-JP-2"},
    {"csiso58gb231280", gb18030Name},
    {"csisolatin1", windows1252Name},
    {"csisolatin5", "windows-1254"},
    {"csksc56011987", "windows-949"},
    {"csviscii", "VISCII"},
    {"dos866", "IBM866"},
    {"euccn", gb18030Name},
    {"eucjpms", "EUC-JP"},
    {"euckr", "windows-949"},
    {"gb13000", gb18030Name},
    {"gb2312", gb18030Name},
    {"gb231280", gb18030Name},
    {"gbk", gb18030Name},
    {"georgianacademy", "GEORGIAN-ACADEMY"},
    {"georgianps", "GEORGIAN-PS"},
    {"ibm367", utf8Name},
    {"ibm819", windows1252Name},
    {"iso2022jp", "ISO-2022-JP-2"},
    {"iso2022jpms", "ISO-2022-JP-2"},
    {"iso646irv1991", utf8Name},
    {"iso646us", utf8Name},
    {"iso88591", windows1252Name},
    {"iso885911", "windows-874"},
    {"iso885911987", windows1252Name},
    {"iso885916", "ISO-8859-16"},
    {"iso8859162001", "ISO-8859-16"},
    {"iso88591windows30latin1", windows1252Name},
    {"iso88591windows31latin1", windows1252Name},
    {"iso88592windowslatin2", "windows-1250"},
    {"iso88596e", "ISO-8859-6"},
    {"iso88596i", "ISO-8859-6"},
    {"iso88598e", "ISO-8859-8"},
    {"iso88598i", "ISO-8859-8"},
    {"iso88599", "windows-1254"},
    {"iso885991989", "windows-1254"},
    {"iso88599windowslatin5", "windows-1254"},
    {"isoir100", windows1252Name},
    {"isoir148", "windows-1254"},
    {"isoir149", "windows-949"},
    {"isoir226", "ISO-8859-16"},
    {"isoir58", gb18030Name},
    {"isoir6", utf8Name},
    {"johab", "JOHAB"},
    {"koi", "KOI8-R"},
    {"koi8", "KOI8-R"},
    {"koi8ru", "KOI8-RU"},
    {"koi8t", "KOI8-T"},
    {"korean", "windows-949"},
    {"ksc5601", "windows-949"},
    {"ksc56011987", "windows-949"},
    {"ksc56011989", "windows-949"},
    {"l1", windows1252Name},
    {"l10", "ISO-8859-16"},
    {"l5", "windows-1254"},
    {"latin1", windows1252Name},
    {"latin10", "ISO-8859-16"},
    {"latin5", "windows-1254"},
    {"macchinesesimp", gb18030Name},
    {"macchinesetrad", "Big5-HKSCS"},
    {"maccyrillic", "x-mac-cyrillic"},
    {"macicelandic", "MAC-IS"},
    {"macjapanese", "windows-31j"},
    {"mackorean", "windows-949"},
    {"macroman", "macintosh"},
    {"macukrainian", "x-mac-cyrillic"},
    {"mscp932", "windows-31j"},
    {"pt154", "PT154"},
    {"ptcp154", "PT154"},
    {"rk1048", "RK1048"},
    {"sjis", "windows-31j"},
    {"strk10482002", "RK1048"},
    {"t61", "T.61"},
    {"tcvn", "TCVN"},
    {"tcvn5712", "TCVN"},
    {"tcvn57121", "TCVN"},
    {"tis620", "windows-874"},
    {"tis6202533", "windows-874"},
    {"unicode11utf8", utf8Name},
    {"unicode20utf7", "UTF-7"},
    {"unicode20utf8", utf8Name},
    {"us", utf8Name},
    {"usascii", utf8Name},
    {"utf8", utf8Name},
    {"utf8mb4", utf8Name},
    {"viettcvn", "TCVN"},
    {"viettcvn5712", "TCVN"},
    {"viscii", "VISCII"},
    {"win1250", "windows-1250"},
    {"win1251", "windows-1251"},
    {"win1252", windows1252Name},
    {"win1253", "windows-1253"},
    {"win1254", "windows-1254"},
    {"win1255", "windows-1255"},
    {"win1256", "windows-1256"},
    {"win1257", "windows-1257"},
    {"win1258", "windows-1258"},
    {"windows1252", windows1252Name},
    {"windows1361", "JOHAB"},
    {"windows28591", windows1252Name},
    {"windows28599", "windows-1254"},
    {"windows65001", utf8Name},
    {"windows936", gb18030Name},
    {"windows950", "Big5-HKSCS"},
    {"xbig5", "Big5-HKSCS"},
});

static_assert(std::ranges::is_sorted(aliases, {}, &Alias::label));

// What the C library decodes and the converter library does not. Named one by one: its converters for stateful
// encodings are not for bytes from strangers, and some of its names ("", "wchar_t") are no encodings of mail.
constexpr auto iconvNames = std::to_array<std::string_view>({
    "ARMSCII-8",
    "CP1125",
    "GEORGIAN-ACADEMY",
    "GEORGIAN-PS",
    "ISO-8859-16",
    "JOHAB",
    "KOI8-RU",
    "KOI8-T",
    "MAC-IS",
    "PT154",
    "RK1048",
    "T.61",
    "TCVN",
    "VISCII",
});
static_assert(std::ranges::is_sorted(iconvNames));

// gb18030 has no room for the euro sign at byte 80 of code page 936, of which it is otherwise the superset.
constexpr std::string_view codePage936Name = "windows-936-2000";

std::string squeezed(std::string_view label) {
    std::string key = text::lowerASCII(label);
    std::erase_if(key, [](char c) { return (c < 'a' || c > 'z') && (c < '0' || c > '9'); });
    return key;
}

// The name that the converter library keeps a label under. Asks its table of aliases only: opening by a name would look
// for a data file of that name.
std::optional<std::string> canonicalName(const std::string& label) {
    UErrorCode status = U_ZERO_ERROR;
    const char* name = ucnv_getAlias(label.c_str(), 0, &status);
    if (U_FAILURE(status) || name == nullptr) return std::nullopt;
    return name;
}

// Collects UTF-16 as UTF-8. False for an unpaired surrogate.
class UTF8Output {
public:
    bool append(const UChar* units, std::ptrdiff_t count) {
        for (std::ptrdiff_t i = 0; i < count; ++i) {
            const UChar unit = units[i];
            if (lead_ != 0) {
                if (!U16_IS_TRAIL(unit)) return false;
                text::append(out, static_cast<char32_t>(U16_GET_SUPPLEMENTARY(lead_, unit)));
                lead_ = 0;
            } else if (U16_IS_LEAD(unit)) {
                lead_ = unit;
            } else if (U_IS_SURROGATE(unit)) {
                return false;
            } else {
                text::append(out, unit);
            }
        }
        return true;
    }
    bool isComplete() const { return lead_ == 0; }

    std::string out;

private:
    UChar lead_ = 0;
};

struct ConverterClose {
    void operator()(UConverter* converter) const { ucnv_close(converter); }
};

// Opening a converter loads a table; mail uses the same few again and again, so each thread keeps them.
UConverter* openConverter(const std::string& name) {
    constexpr std::size_t maxKept = 16;
    thread_local std::map<std::string, std::unique_ptr<UConverter, ConverterClose>> kept;
    if (const auto found = kept.find(name); found != kept.end()) {
        ucnv_resetToUnicode(found->second.get());
        return found->second.get();
    }
    UErrorCode status = U_ZERO_ERROR;
    std::unique_ptr<UConverter, ConverterClose> converter(ucnv_open(name.c_str(), &status));
    ucnv_setToUCallBack(converter.get(), UCNV_TO_U_CALLBACK_STOP, nullptr, nullptr, nullptr, &status);
    if (U_FAILURE(status)) return nullptr;
    if (kept.size() >= maxKept) kept.clear();
    return (kept[name] = std::move(converter)).get();
}

// Some of the library's tables come from IBM's mainframes and turn three control characters around: byte 1A gives
// U+001C, 1C gives U+007F, 7F gives U+001A. Nobody else reads those encodings so. They are single bytes in all of them.
bool turnsControlsAround(UConverter* converter) {
    const std::string_view bytes = "\x1A\x1C\x7F";
    std::array<UChar, 4> units{};
    UErrorCode status = U_ZERO_ERROR;
    ucnv_toUChars(converter, units.data(), units.size(), bytes.data(), static_cast<std::int32_t>(bytes.size()),
                  &status);
    return U_SUCCESS(status) && units[0] == 0x1C && units[1] == 0x7F && units[2] == 0x1A;
}

void turnControlsBack(std::string& text) {
    for (char& c : text) {
        if (c == '\x1C')
            c = '\x1A';
        else if (c == '\x7F')
            c = '\x1C';
        else if (c == '\x1A')
            c = '\x7F';
    }
}

std::optional<std::string> decodeByICU(const std::string& name, std::string_view bytes) {
    UConverter* converter = openConverter(name);
    if (converter == nullptr) return std::nullopt;
    UTF8Output output;
    output.out.reserve(bytes.size());
    std::array<UChar, 4096> units;
    const char* source = bytes.data();
    UErrorCode status = U_BUFFER_OVERFLOW_ERROR;
    while (status == U_BUFFER_OVERFLOW_ERROR) {
        status = U_ZERO_ERROR;
        UChar* target = units.data();
        ucnv_toUnicode(converter, &target, units.data() + units.size(), &source, bytes.data() + bytes.size(), nullptr,
                       true, &status);
        if (!output.append(units.data(), target - units.data())) return std::nullopt;
    }
    if (U_FAILURE(status) || !output.isComplete()) return std::nullopt;
    const bool holdsControls = output.out.find_first_of("\x1A\x1C\x7F") != std::string::npos;
    if (holdsControls && turnsControlsAround(converter)) turnControlsBack(output.out);
    return std::move(output.out);
}

// Closes on destruction. A descriptor of the C library is cheap to open beside the rarity of these encodings.
class Iconv {
public:
    explicit Iconv(const std::string& from) : handle_(::iconv_open("UTF-8", from.c_str())) {}
    Iconv(const Iconv&) = delete;
    Iconv& operator=(const Iconv&) = delete;
    ~Iconv() {
        if (isOpen()) ::iconv_close(handle_);
    }
    bool isOpen() const { return handle_ != reinterpret_cast<iconv_t>(-1); }
    // Converts all the bytes, then flushes what the converter holds back (a letter that a tone mark may follow).
    std::optional<std::string> decode(std::string_view bytes) {
        std::string out;
        char* source = const_cast<char*>(bytes.data());   // not written to; the C signature predates const
        std::size_t left = bytes.size();
        for (bool isFlushing = false;;) {
            std::array<char, 4096> buffer;
            char* target = buffer.data();
            std::size_t room = buffer.size();
            const std::size_t result =
                ::iconv(handle_, isFlushing ? nullptr : &source, isFlushing ? nullptr : &left, &target, &room);
            const int error = errno;
            out.append(buffer.data(), target);
            const bool isDone = result != static_cast<std::size_t>(-1);
            if (!isDone && error != E2BIG) return std::nullopt;
            if (isDone && isFlushing) return out;
            if (isDone) isFlushing = true;
        }
    }

private:
    iconv_t handle_;
};

std::optional<std::string> decodeByIconv(const std::string& name, std::string_view bytes) {
    Iconv converter(name);
    if (!converter.isOpen()) return std::nullopt;
    return converter.decode(bytes);
}

std::optional<std::string> decodeUTF8(std::string_view bytes) {
    if (!text::isValidUTF8(bytes)) return std::nullopt;
    return std::string(bytes);
}

// Bytes 80 to 9F of windows-1252. The five that it leaves unassigned (0 here) cannot stand in a text: what holds them
// is some other encoding.
constexpr std::array<char16_t, 32> windows1252Upper{0x20AC, 0,      0x201A, 0x0192, 0x201E, 0x2026, 0x2020, 0x2021,
                                                    0x02C6, 0x2030, 0x0160, 0x2039, 0x0152, 0,      0x017D, 0,
                                                    0,      0x2018, 0x2019, 0x201C, 0x201D, 0x2022, 0x2013, 0x2014,
                                                    0x02DC, 0x2122, 0x0161, 0x203A, 0x0153, 0,      0x017E, 0x0178};

// Both Latin encodings: all of a byte's value, except what `upper` says for 80 to 9F.
template <typename Upper>
std::optional<std::string> decodeLatin(std::string_view bytes, Upper upper) {
    std::string out;
    out.reserve(bytes.size() + bytes.size() / 8);
    while (true) {
        const std::size_t plain = text::asciiPrefix(bytes);
        out += bytes.substr(0, plain);
        bytes.remove_prefix(plain);
        if (bytes.empty()) return out;
        const auto byte = static_cast<unsigned char>(bytes.front());
        const char32_t c = byte < 0xA0 ? upper(byte) : byte;
        if (c == 0) return std::nullopt;
        text::append(out, c);
        bytes.remove_prefix(1);
    }
}

}   // namespace

TextEncoding TextEncoding::utf8() { return TextEncoding(std::string(utf8Name)); }
TextEncoding TextEncoding::windows1252() { return TextEncoding(std::string(windows1252Name)); }
TextEncoding TextEncoding::latin1() { return TextEncoding(std::string(latin1Name)); }

std::optional<TextEncoding> TextEncoding::named(std::string_view label) {
    constexpr std::size_t longestLabel = 60;   // the converter library takes no longer ones
    // A comma would begin an option of the converter library.
    const auto isLabelCharacter = [](char c) { return c > ' ' && c < 0x7F && c != ','; };
    if (label.empty() || label.size() > longestLabel || !std::ranges::all_of(label, isLabelCharacter))
        return std::nullopt;
    const bool isUnregistered = label.size() > 2 && (label[0] == 'x' || label[0] == 'X') && label[1] == '-';
    const std::string plain(label.substr(isUnregistered ? 2 : 0));
    const std::string key = squeezed(plain);
    const auto* alias = std::ranges::lower_bound(aliases, key, {}, &Alias::label);
    const bool isAlias = alias != aliases.end() && alias->label == key;
    const std::string name(isAlias ? alias->encoding : label);
    if (name == utf8Name || name == windows1252Name || std::ranges::binary_search(iconvNames, name))
        return TextEncoding(name);
    for (const std::string& candidate : {name, plain})
        if (auto canonical = canonicalName(candidate)) return TextEncoding(std::move(*canonical));
    return std::nullopt;
}

std::optional<std::string> TextEncoding::decode(ByteView bytes) const {
    const std::string_view source = charsOf(bytes);
    if (source.empty()) return std::string();
    if (name_ == utf8Name) return decodeUTF8(source);
    if (name_ == windows1252Name)
        return decodeLatin(source, [](unsigned char byte) -> char32_t { return windows1252Upper[byte - 0x80u]; });
    if (name_ == latin1Name) return decodeLatin(source, [](unsigned char byte) -> char32_t { return byte; });
    if (std::ranges::binary_search(iconvNames, name_)) return decodeByIconv(name_, source);
    auto text = decodeByICU(name_, source);
    return text || name_ != gb18030Name ? text : decodeByICU(std::string(codePage936Name), source);
}

}   // namespace ostrel
