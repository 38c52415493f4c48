#pragma once

#include <cstddef>
#include <string_view>

namespace ostrel::html {

// A place in an HTML fragment, moved over markup as a browser would. Every step is linear in what it passes.
class TagScanner {
public:
    explicit TagScanner(std::string_view html) : in_(html) {}

protected:
    static constexpr std::size_t npos = std::string_view::npos;
    static bool isSpace(char c) { return c == ' ' || c == '\t' || c == '\n' || c == '\f' || c == '\r'; }
    // Elements whose content is text to the very end tag, and not shown.
    static bool isUnseen(std::string_view name);

    bool isAtEnd() const { return at_ >= in_.size(); }
    // What begins at the "<" here.
    enum class Markup { start, end, other, text };
    Markup markupHere() const;

    // From the "<": past what is neither a tag nor text.
    void skipOther();
    // From behind the name of a tag to behind its ">". One within quotes does not end it, and only a value can be
    // quoted. Returns the value of the first attribute of that name (lower case), empty without one.
    std::string_view skipAttributes(std::string_view wanted = {});
    // From a tag's "<" or "</" to behind its name, which is returned as it is written.
    std::string_view takeName(Markup kind);
    // To the end tag of the element.
    void skipTo(std::string_view name);

    std::string_view in_;
    std::size_t at_ = 0;

private:
    std::string_view nameAt(std::size_t begin) const;
    void skipPast(std::string_view end, std::size_t from);
};

}   // namespace ostrel::html
