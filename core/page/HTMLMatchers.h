#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>
#include <utility>

// Hand-written matchers, each equal to the regular expression written above it: same leftmost match, same end, with the
// results of backtracking worked out beforehand. An engine would need quadratic time on mail made for it ("<script"
// a million times); here every loop over a finder takes time proportional to the text.
//
// Rules for all patterns: letter case is ignored by simple case folding, so "s" also matches U+017F (long s) and "k"
// U+212A (Kelvin sign); \s is the White_Space property; \b looks at letters, numbers and "_". Offsets are in bytes and
// stand on characters. A finder looks at nothing before `from`, so what one match took is not read by the next.
namespace ostrel::html {

struct Match {
    std::size_t begin, end;
};

// ---- Pieces. A word is lower-case ASCII. ----

// The end of the word that begins at `at`, or npos.
std::size_t wordAt(std::string_view text, std::size_t at, std::string_view word);
// The first character at or after `at` that is no white space, [^\s>]* and [^"'\s>]*: where each of them ends.
std::size_t skipSpace(std::string_view text, std::size_t at);
std::size_t skipUnquotedValue(std::string_view text, std::size_t at);
std::size_t skipPlainValue(std::string_view text, std::size_t at);
// The start of the white space that ends at `end`, not before `from`.
std::size_t skipSpaceBack(std::string_view text, std::size_t from, std::size_t end);
// A quote of either kind at `at`, else 0.
char quoteAt(std::string_view text, std::size_t at);

// ---- Tags ----

// <NAME\b[^>]*>
std::optional<Match> nextTag(std::string_view text, std::size_t from, std::string_view name);
// </NAME\s*>
std::optional<Match> nextClosingTag(std::string_view text, std::size_t from, std::string_view name);
// <NAME\b[^>]*>[\s\S]*?</NAME\s*>
std::optional<Match> nextElement(std::string_view text, std::size_t from, std::string_view name);
// </?(?:form|html|head|body|title)\b[^>]*>
std::optional<Match> nextStructureTag(std::string_view text, std::size_t from);

// ---- Attributes, inside tags or not ----

// \s[a-z]+\s*=\s*
struct Assignment {
    std::size_t space;           // the white-space character before the name
    std::size_t name, nameEnd;   // all the letters between white space and sign
    std::size_t sign;            // the "="
    std::size_t value;           // behind the sign and the white space after it
};
// To go on behind one that did not fit, search from behind its sign.
std::optional<Assignment> nextAssignment(std::string_view text, std::size_t from);
bool isNamed(std::string_view text, const Assignment& assignment, std::string_view name);

// \s+on[a-z]+\s*=\s*(?:"[^"]*"|'[^']*'|[^\s>]+)
std::optional<Match> nextEventHandler(std::string_view text, std::size_t from);
// \s(?:srcset|background|lowsrc|dynsrc|poster)\s*=\s*(?:"[^"]*"|'[^']*'|[^\s>]+)
std::optional<Match> nextFetchingAttribute(std::string_view text, std::size_t from);

// (href|src|action)\s*=\s*(["']?)\s*javascript:[^"'>\s]*\2
struct ScriptURL {
    Match match;
    std::size_t nameEnd;   // group 1 is match.begin to here
};
std::optional<ScriptURL> nextScriptURL(std::string_view text, std::size_t from);

// ---- Style sheets ----

// @import[^;]*;?
std::optional<Match> nextImport(std::string_view text, std::size_t from);
// url\(\s*(['"]?)\s*(?:https?:|//|ftp:|file:)[^)]*\)
std::optional<Match> nextRemoteURL(std::string_view text, std::size_t from);

// ---- Plain text ----

// https?://[^\s<>&"]+[^\s<>&".,;:!?)\]]
std::optional<Match> nextWebAddress(std::string_view text, std::size_t from);

// ---- Substitution ----

inline const Match& matchOf(const Match& match) { return match; }
inline const Match& matchOf(const ScriptURL& url) { return url.match; }

// Replaces every match: next(from) finds the first one at or after `from`, append(out, found) writes what takes its
// place. Both may read the text as it was. Returns false, and copies nothing, if there is no match.
template <typename Next, typename Append>
bool substitute(std::string& text, Next next, Append append) {
    auto found = next(std::size_t{0});
    if (!found) return false;
    std::string out;
    out.reserve(text.size());
    std::size_t done = 0;
    for (; found; found = next(done)) {
        const Match match = matchOf(*found);
        out.append(text, done, match.begin - done);
        append(out, *found);
        done = match.end;
    }
    out.append(text, done);
    text = std::move(out);
    return true;
}

template <typename Next>
bool removeAll(std::string& text, Next next) {
    return substitute(text, std::move(next), [](std::string&, const auto&) {});
}

}   // namespace ostrel::html
