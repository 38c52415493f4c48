// Mails made to harm the engine that prints them: few bytes choose elements, styles, pictures and how often each stands
// there. For long runs by hand ("replay-hostile-mail 1000"): a mail may take as long as it may take an export.

#include "core/message/MailMessage.h"
#include "core/page/MessageHTML.h"
#include "fuzz/Target.h"
#include "platform/TemporaryFolder.h"
#include "render/engine/HeadlessEngine.h"
#include "render/engine/WebProcess.h"
#include "render/loop/MainLoop.h"
#include "render/print/WebPDFRenderer.h"
#include "tests/render/PrintedPDF.h"

#include <algorithm>
#include <array>
#include <atomic>
#include <chrono>
#include <cstdint>
#include <iostream>
#include <stop_token>
#include <thread>

#include <unistd.h>

namespace ostrel::fuzz {
namespace {

using namespace std::chrono_literals;

constexpr auto maxTime = 60s;
constexpr std::uint64_t maxMemory = std::uint64_t{2} << 30;   // of all processes together

// Bytes as decisions; when there are no more, always the first.
class Choices {
public:
    explicit Choices(ByteView bytes) : bytes_(charsOf(bytes)) {}
    bool isAtEnd() const { return at_ >= bytes_.size(); }
    std::size_t below(std::size_t bound) { return isAtEnd() ? 0 : static_cast<unsigned char>(bytes_[at_++]) % bound; }
    template <typename List>
    std::string_view of(const List& list) {
        return list[below(std::size(list))];
    }
    // Mostly few, now and then very many.
    std::size_t times() { return std::size_t{1} << (below(4) == 0 ? below(16) : below(4)); }

private:
    std::string_view bytes_;
    std::size_t at_ = 0;
};

// None that is there to hide what it holds: of that no words are missed.
constexpr auto elements =
    std::to_array<std::string_view>({"div",
                                     "p",
                                     "span",
                                     "b",
                                     "table><tr><td",
                                     "ul><li",
                                     "blockquote",
                                     "font size=7",
                                     "a href='https://e.example/'",
                                     "pre",
                                     "center",
                                     "fieldset",
                                     "ruby",
                                     "q",
                                     "dl><dd",
                                     "bdo dir=rtl",
                                     "details",
                                     "textarea",
                                     "marquee",
                                     "math><mi",
                                     "svg width=900 height=900><foreignObject width=900 height=900",
                                     "h1",
                                     "sup",
                                     "address"});
constexpr auto properties = std::to_array<std::string_view>({"width",         "height",
                                                             "margin",        "margin-top",
                                                             "padding",       "font-size",
                                                             "line-height",   "letter-spacing",
                                                             "text-indent",   "border-width",
                                                             "border-radius", "columns",
                                                             "zoom",          "left",
                                                             "top",           "max-height",
                                                             "min-width",     "tab-size",
                                                             "flex",          "column-gap",
                                                             "outline",       "grid-template-columns",
                                                             "shape-margin",  "perspective",
                                                             "orphans",       "border-spacing"});
constexpr auto values = std::to_array<std::string_view>({"1px", "30px", "99%", "-30px", "3000px", "-9000px", "90000px",
                                                         "33000000px", "-1px", "900", "0.5", "calc(1px*9999)",
                                                         "1px solid red", "repeat(999,1px)", "100vh", "400"});
constexpr auto effects = std::to_array<std::string_view>({"position:absolute",
                                                          "position:fixed",
                                                          "position:sticky",
                                                          "float:left",
                                                          "float:right",
                                                          "display:flex",
                                                          "display:grid",
                                                          "display:inline-block",
                                                          "display:table-cell",
                                                          "overflow:hidden",
                                                          "overflow:scroll",
                                                          "writing-mode:vertical-rl",
                                                          "transform:rotate(33deg)",
                                                          "transform:scale(30)",
                                                          "transform:scale(.01)",
                                                          "filter:blur(30px)",
                                                          "filter:drop-shadow(3px 3px 90px red)",
                                                          "box-shadow:0 0 900px red,0 0 90px blue",
                                                          "text-shadow:0 0 90px red",
                                                          "mix-blend-mode:difference",
                                                          "-webkit-box-reflect:below 0px",
                                                          "clip-path:circle(9px)",
                                                          "columns:30",
                                                          "-webkit-mask-image:linear-gradient(#000,#0000)",
                                                          "white-space:nowrap",
                                                          "page-break-after:always",
                                                          "page-break-inside:avoid",
                                                          "direction:rtl",
                                                          "contain:strict",
                                                          "animation:k 1s infinite",
                                                          "backdrop-filter:blur(9px)",
                                                          "background:repeating-radial-gradient(red 0,blue 1px)",
                                                          "border-image:linear-gradient(red,blue) 30 round"});
constexpr auto rules =
    std::to_array<std::string_view>({"p", "*", "div div", ":nth-child(2n+1)", "body:has(b)", "div ~ p", "p::before",
                                     "*::after", "html", "::first-letter", "@page", "@media print{*", "td"});
constexpr auto pieces = std::to_array<std::string_view>(
    {"some words ", "x", "<br>", "<hr>", "&nbsp;", "\u0301", "\u202e", "漢字", "हिन्दी ", "👩‍👩‍👧 ", "</p>",
     "</div>", "</table>", "<!-- c -->",
     "<svg width=900 height=900><filter id=f><feTurbulence baseFrequency=.5 numOctaves=9 /></filter><rect width=900 "
     "height=900 filter='url(#f)'/></svg>",
     "<svg width=9000000 height=9000000><rect width=9000000 height=9000000 /></svg>",
     "<img width=30000 height=30000 src='data:image/"
     "png;base64,iVBORw0KGgoAAAANSUhEUgAAAAEAAAABCAYAAAAfFcSJAAAADUlEQVR42mNk+M9QDwADhgGAWjR9awAAAABJRU5ErkJggg=='>"});

std::string styleFrom(Choices& choices) {
    std::string style;
    for (auto count = 1 + choices.below(3); count > 0; --count) {
        if (choices.below(2) == 0)
            style.append(choices.of(properties)).append(":").append(choices.of(values));
        else
            style.append(choices.of(effects));
        style += " !important;";
    }
    return style;
}

std::string pieceFrom(Choices& choices) {
    switch (choices.below(4)) {
        case 0: {
            std::string rule = "<style>" + std::string(choices.of(rules)) + "{content:'word';" + styleFrom(choices);
            return rule + "}}</style>";
        }
        case 1:
            return std::string(choices.of(pieces));
        default: {
            const auto element = choices.of(elements);
            return "<" + std::string(element) + " style=\"" + styleFrom(choices) + "\">word ";
        }
    }
}

// The words that no engine may lose: many, and none of them anywhere else.
std::vector<std::string> lastWords() {
    std::vector<std::string> words;
    for (char c = 'a'; c <= 'z'; ++c) words.push_back(std::string("lastword") + c + c + c + c + c + c);
    return words;
}

std::string mailFrom(ByteView input) {
    constexpr std::size_t maxPieces = 24, maxBytes = 2'000'000;
    Choices choices(input);
    std::string html = "<p>The first words.</p>";
    for (std::size_t count = 0; count < maxPieces && !choices.isAtEnd(); ++count) {
        const auto piece = pieceFrom(choices);
        for (auto times = choices.times(); times > 0 && html.size() < maxBytes; --times) html += piece;
    }
    html += "<p>";
    for (const auto& word : lastWords()) html += word + " ";
    return html;
}

// The most memory that this program and its web processes held together.
class MemoryPeak {
public:
    std::uint64_t most() const { return most_; }

private:
    void look(const std::stop_token& stop) {
        while (!stop.stop_requested()) {
            std::uint64_t sum = webProcess::memoryOf(getpid());
            for (const auto process : webProcess::all()) sum += webProcess::memoryOf(process);
            most_ = std::max<std::uint64_t>(most_, sum);
            std::this_thread::sleep_for(200ms);
        }
    }
    std::atomic<std::uint64_t> most_{0};
    std::jthread looking_{[this](const std::stop_token& stop) { look(stop); }};
};

void printed(WebPDFRenderer& renderer, const std::string& html) {
    const TemporaryFolder folder("ostrel-fuzz-");
    MailMessage mail;
    mail.subject = "The subject";
    mail.htmlBody = html;
    const auto pdf = folder.path() / "mail.pdf";
    const auto begin = std::chrono::steady_clock::now();
    const MemoryPeak memory;
    const auto note = renderer.renderPDF(MessageHTML::page(mail, "", "", std::nullopt, {}), pdf, {});
    const auto took = std::chrono::steady_clock::now() - begin;
    std::cerr << std::chrono::duration_cast<std::chrono::milliseconds>(took).count() << " ms, " << (memory.most() >> 20)
              << " MB, " << html.size() << " bytes: " << note << '\n';
    holds(took < maxTime, "a mail is printed within a minute");
    holds(memory.most() < maxMemory, "and within two gigabytes");
    const auto text = readText(pdf);
    holds(text.find("The subject") != text.npos, "the head stands");
    const auto words = lastWords();
    holds(std::ranges::any_of(words, [&](const auto& word) { return text.find(word) != text.npos; }),
          "the mail's last words are there");
    holds(renderer.renderPDF(makePage("<p>next"), pdf, {}).empty() && readText(pdf) == "next\n\n\f",
          "the next mail prints as ever");
}

}   // namespace

void run(ByteView input) {
    static const HeadlessEngine engine;
    static WebPDFRenderer renderer(Paper::a4);
    mainLoop::runBeside([&] { printed(renderer, mailFrom(input)); });
}

std::vector<std::string> seeds() {
    std::vector<std::string> all{"", "a mail of a few pieces"};
    for (unsigned seed = 1; seed < 6; ++seed) {
        std::uint32_t state = seed;
        std::string bytes;
        for (int i = 0; i < 60; ++i) bytes += static_cast<char>((state = state * 1664525u + 1013904223u) >> 24);
        all.push_back(std::move(bytes));
    }
    return all;
}

}   // namespace ostrel::fuzz
