#include "tests/core/page/RegexPipeline.h"

#include "platform/Text.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <functional>
#include <memory>
#include <optional>
#include <stdexcept>
#include <vector>

#define PCRE2_CODE_UNIT_WIDTH 8
#include <pcre2.h>

namespace ostrel::regexPipeline {

namespace {

using Groups = std::vector<std::string>;

class Regex {
public:
    explicit Regex(const std::string& pattern) {
        int error = 0;
        PCRE2_SIZE offset = 0;
        code_.reset(pcre2_compile(reinterpret_cast<PCRE2_SPTR>(pattern.data()), pattern.size(),
                                  PCRE2_UTF | PCRE2_UCP | PCRE2_CASELESS | PCRE2_DOLLAR_ENDONLY, &error, &offset,
                                  nullptr));
        if (!code_) throw std::runtime_error("cannot compile " + pattern);
        data_.reset(pcre2_match_data_create_from_pattern(code_.get(), nullptr));
    }

    // The first match at or after `from`: its groups, 0 the whole; begin is where it starts.
    std::optional<Groups> match(const std::string& text, std::size_t from, std::size_t& begin) const {
        const int count = pcre2_match(code_.get(), reinterpret_cast<PCRE2_SPTR>(text.data()), text.size(), from,
                                      PCRE2_NO_UTF_CHECK, data_.get(), nullptr);
        if (count == PCRE2_ERROR_NOMATCH) return std::nullopt;
        if (count <= 0) throw std::runtime_error("PCRE2 error " + std::to_string(count));
        const PCRE2_SIZE* offsets = pcre2_get_ovector_pointer(data_.get());
        begin = offsets[0];
        Groups groups;
        for (int i = 0; i < count; ++i) {
            groups.push_back(text.substr(offsets[2 * i], offsets[2 * i + 1] - offsets[2 * i]));
        }
        return groups;
    }

    // Group 1 of the first match.
    std::optional<std::string> first(const std::string& text) const {
        std::size_t begin = 0;
        const auto groups = match(text, 0, begin);
        return groups ? std::optional((*groups)[1]) : std::nullopt;
    }

    std::string replace(const std::string& text, const std::function<std::string(const Groups&)>& with) const {
        std::string out;
        std::size_t done = 0, begin = 0;
        while (const auto groups = match(text, done, begin)) {
            out.append(text, done, begin - done);
            out += with(*groups);
            done = begin + groups->front().size();
        }
        return out.append(text, done);
    }
    std::string replace(const std::string& text, const std::string& literal) const {
        return replace(text, [&](const Groups&) { return literal; });
    }

private:
    std::unique_ptr<pcre2_code, decltype(&pcre2_code_free)> code_{nullptr, pcre2_code_free};
    std::unique_ptr<pcre2_match_data, decltype(&pcre2_match_data_free)> data_{nullptr, pcre2_match_data_free};
};

const std::string attributeValue = R"re(\s*=\s*(?:"[^"]*"|'[^']*'|[^\s>]+))re";

const std::vector<Regex>& removals() {
    static const std::vector<Regex> regexes = [] {
        std::vector<Regex> made;
        for (const std::string name : {"script", "iframe", "object", "embed", "frameset", "frame", "applet", "noscript",
                                       "template", "audio", "video"}) {
            made.emplace_back("<" + name + R"(\b[^>]*>[\s\S]*?</)" + name + R"(\s*>)");
            made.emplace_back("<" + name + R"(\b[^>]*/?>)");
        }
        for (const std::string name : {"link", "meta", "base", "source", "track", "input", "button"}) {
            made.emplace_back("<" + name + R"(\b[^>]*>)");
        }
        made.emplace_back(R"(</?(?:form|html|head|body|title)\b[^>]*>)");
        made.emplace_back(R"(\s+on[a-z]+)" + attributeValue);
        return made;
    }();
    return regexes;
}

std::optional<std::string> percentDecoded(const std::string& text) {
    static const Regex wellFormed(R"(^((?:[^%]|%[0-9a-f][0-9a-f])*)$)"), escape("%([0-9a-f][0-9a-f])");
    if (!wellFormed.first(text) || text.find("ſ") != std::string::npos) return std::nullopt;
    const auto decoded = escape.replace(text, [](const Groups& groups) {
        return std::string(1, static_cast<char>(std::stoi(groups[1], nullptr, 16)));
    });
    return text::isValidUTF8(decoded) ? std::optional(decoded) : std::nullopt;
}

std::optional<std::string> bytesOfImage(const std::string& rawKey,
                                        const std::map<std::string, MailAttachment>& images) {
    const auto key = percentDecoded(rawKey).value_or(rawKey);
    auto found = images.find(key);
    if (found == images.end()) {
        found = std::ranges::find_if(
            images, [&](const auto& entry) { return text::foldCase(entry.first) == text::foldCase(key); });
    }
    if (found == images.end() || !found->second.isAvailable()) return std::nullopt;
    return std::string(found->second.data().chars());
}

// Only for the one image of the tests, whose bytes are "abc".
std::string dataURI(const std::string& bytes) {
    if (bytes != "abc") throw std::runtime_error("unknown image");
    return "data:image/png;base64,YWJj";
}

std::optional<long long> number(const std::optional<std::string>& digits) {
    if (!digits) return std::nullopt;
    long long value = 0;
    const auto end = digits->data() + digits->size();
    const auto result = std::from_chars(digits->data(), end, value);
    return result.ec == std::errc() && result.ptr == end ? std::optional(value) : std::nullopt;
}

std::string rewriteImage(const std::string& tag, const std::map<std::string, MailAttachment>& images,
                         std::size_t& blocked) {
    static const Regex source(R"re(\ssrc\s*=\s*["']?([^"'\s>]*))re"), width(R"re(\swidth\s*=\s*["']?(\d+))re"),
        height(R"re(\sheight\s*=\s*["']?(\d+))re"), alternative(R"re(\salt\s*=\s*"([^"]*)")re"),
        wholeSource(R"re(\ssrc\s*=\s*(["']?)[^"'\s>]*\1)re");
    const std::string src = source.first(tag).value_or("");
    if (text::lower(src).starts_with("data:image/")) return tag;
    if (text::lower(src).starts_with("cid:")) {
        if (const auto bytes = bytesOfImage(src.substr(4), images)) {
            return wholeSource.replace(tag, " src=\"" + dataURI(*bytes) + "\"");
        }
    }
    if (src.empty()) return "";
    ++blocked;
    const auto wide = number(width.first(tag)), high = number(height.first(tag));
    if (wide && high && (*wide < 3 || *high < 3)) return "";
    std::string style;
    if (wide) style += "width:" + std::to_string(std::min(*wide, 640LL)) + "px";
    if (wide && high) style += ";";
    if (high) style += "height:" + std::to_string(std::min(*high, 400LL)) + "px";
    return "<span class=\"blocked-image\" style=\"" + style + "\">" + alternative.first(tag).value_or("") + "</span>";
}

std::string bodyWithStyles(const std::string& html) {
    static const Regex style(R"(<style\b[^>]*>[\s\S]*?</style\s*>)"),
        body(R"(<body\b[^>]*>([\s\S]*?)(?:</body\s*>|$))"), head(R"(<head\b[^>]*>[\s\S]*?</head\s*>)");
    std::string styles;
    style.replace(html, [&](const Groups& groups) {
        styles += groups[0];
        return "";
    });
    if (const auto content = body.first(html)) return styles + *content;
    return head.replace(html, styles);
}

}   // namespace

MessageHTML::Sanitized sanitize(const std::string& html, const std::map<std::string, MailAttachment>& inlineImages) {
    static const Regex scriptURL(R"re((href|src|action)\s*=\s*(["']?)\s*javascript:[^"'>\s]*\2)re"),
        import(R"(@import[^;]*;?)"), remoteURL(R"re(url\(\s*(['"]?)\s*(?:https?:|//|ftp:|file:)[^)]*\))re"),
        image(R"(<img\b[^>]*>)"), fetching(R"(\s(?:srcset|background|lowsrc|dynsrc|poster))" + attributeValue);
    std::string text = bodyWithStyles(html);
    for (const Regex& removal : removals()) text = removal.replace(text, "");
    text = scriptURL.replace(text, [](const Groups& groups) { return groups[1] + "=\"#\""; });
    text = remoteURL.replace(import.replace(text, ""), "none");
    std::size_t blocked = 0;
    text = image.replace(text, [&](const Groups& tag) { return rewriteImage(tag[0], inlineImages, blocked); });
    return {fetching.replace(text, ""), blocked};
}

std::string linked(const std::string& escaped) {
    static const Regex address(R"re((https?://[^\s<>&"]+[^\s<>&".,;:!?)\]]))re");
    return address.replace(escaped,
                           [](const Groups& groups) { return "<a href=\"" + groups[1] + "\">" + groups[1] + "</a>"; });
}

}   // namespace ostrel::regexPipeline
