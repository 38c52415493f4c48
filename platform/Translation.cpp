#include "platform/Translation.h"

#include "platform/Catalogue.h"
#include "platform/Environment.h"
#include "platform/Installation.h"
#include "platform/LocaleFormat.h"

#include <algorithm>
#include <clocale>
#include <initializer_list>
#include <optional>
#include <string>
#include <string_view>

#include <libintl.h>

namespace ostrel::i18n {
namespace {

constexpr const char* domain = "ostrel";

// The keys are English as another system's users speak it: what this one calls otherwise stands in a catalogue of its
// own, which the C library does not read for languages that have none and in the C locale.
Catalogue& english() {
    static Catalogue texts;
    return texts;
}

const char* inEnglish(const char* key, std::uint64_t count) {
    const char* const text = english().text(key, count == 1 ? 0 : 1);
    return text != nullptr && *text != '\0' ? text : key;
}

// Without the locale's own data the C library would leave texts English while dates, which come from elsewhere, follow
// the environment. Languages can be asked for apart, in any locale but C; from glibc 2.41 on that is C.UTF-8, too.
void askForLanguageAlone() {
    std::optional<std::string> name;
    for (const char* variable : {"LC_ALL", "LC_MESSAGES", "LANG"}) {
        if (!name) name = environment::value(variable);
    }
    if (name && std::setlocale(LC_MESSAGES, "C.UTF-8"))
        environment::setIfAbsent("LANGUAGE", name->substr(0, name->find_first_of(".@")));
}

// "%lld", "%@", or either with its number, "%2$lld": the value it stands for, counted from 0.
struct PlaceHolder {
    std::size_t value;
    std::size_t length;   // in the text; 0: there is none
};
PlaceHolder placeHolderAt(std::string_view text, std::size_t next) {
    std::size_t at = 1;
    if (text.size() > 2 && text[1] >= '1' && text[1] <= '9' && text[2] == '$') {
        next = static_cast<std::size_t>(text[1] - '1');
        at = 3;
    }
    for (const std::string_view kind : {"lld", "@"}) {
        if (text.substr(at).starts_with(kind)) return {next, at + kind.size()};
    }
    return {next, 0};
}

// In one pass: a value may look like a place holder.
std::string fill(std::string_view text, std::initializer_list<std::string_view> values) {
    std::string out;
    std::size_t next = 0;
    while (!text.empty()) {
        const auto plain = std::min(text.find('%'), text.size());
        out.append(text.substr(0, plain));
        text.remove_prefix(plain);
        if (text.empty()) break;
        const auto [value, length] = placeHolderAt(text, next);
        if (length > 0 && value < values.size()) {
            out.append(*(values.begin() + value));
            ++next;
        } else {
            out.append(text.substr(0, std::max<std::size_t>(length, 1)));
        }
        text.remove_prefix(std::max<std::size_t>(length, 1));
    }
    return out;
}

std::string number(std::uint64_t value) { return locale::wholeNumber(static_cast<std::int64_t>(value)); }

}   // namespace

void start(const std::filesystem::path& catalogues) {
    // Not LC_NUMERIC: a comma for the decimal point has no place in files and protocols. What people read is formatted
    // in platform/LocaleFormat.h.
    if (!std::setlocale(LC_CTYPE, "")) std::setlocale(LC_CTYPE, "C.UTF-8");
    std::setlocale(LC_TIME, "");
    if (!std::setlocale(LC_MESSAGES, "")) askForLanguageAlone();
    ::bindtextdomain(domain, catalogues.c_str());
    // Text is UTF-8 whatever the locale's own encoding; the system's reasons for errors come from its own catalogue.
    ::bind_textdomain_codeset(domain, "UTF-8");
    ::bind_textdomain_codeset("libc", "UTF-8");
    english() = Catalogue::read(catalogues / "en" / "LC_MESSAGES" / "ostrel.mo");
}

void start() { start(installation::prefix() / "share" / "locale"); }

std::string tr(const char* key) {
    if (*key == '\0') return "";   // the key of the catalogue's own header
    const char* const text = ::dgettext(domain, key);
    return text == key ? inEnglish(key, 1) : text;
}

std::string trCount(const char* key, std::uint64_t count) {
    const char* const text = ::dngettext(domain, key, key, count);
    return fill(text == key ? inEnglish(key, count) : text, {number(count)});
}

std::string filled(const std::string& text, std::uint64_t first, std::uint64_t second) {
    return fill(text, {number(first), number(second)});
}

std::string filled(const std::string& text, std::string_view value) { return fill(text, {value}); }

std::string filled(const std::string& text, std::string_view first, std::string_view second) {
    return fill(text, {first, second});
}

}   // namespace ostrel::i18n
