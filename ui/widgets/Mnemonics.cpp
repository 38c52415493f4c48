#include "ui/widgets/Mnemonics.h"

#include "ui/widgets/Accessible.h"

#include <cstddef>

namespace ostrel {
namespace {

char lowered(char c) { return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c; }
bool isKey(char c) { return (lowered(c) >= 'a' && lowered(c) <= 'z') || (c >= '0' && c <= '9'); }

}   // namespace

std::string Mnemonics::mark(const std::string& text) {
    const auto isFree = [&](std::size_t i) { return isKey(text[i]) && !taken_.contains(lowered(text[i])); };
    std::size_t chosen = std::string::npos;
    for (std::size_t i = 0; i < text.size() && chosen == std::string::npos; ++i)
        if ((i == 0 || text[i - 1] == ' ') && isFree(i)) chosen = i;
    for (std::size_t i = 0; i < text.size() && chosen == std::string::npos; ++i)
        if (isFree(i)) chosen = i;
    if (chosen != std::string::npos) taken_.insert(lowered(text[chosen]));
    std::string marked;
    for (std::size_t i = 0; i < text.size(); ++i) {
        if (i == chosen) marked += '_';
        marked += text[i];
        if (text[i] == '_') marked += '_';
    }
    return marked;
}

void Mnemonics::write(Gtk::Button& button, const std::string& text) {
    button.set_label(mark(text));
    button.set_use_underline();
    accessible::setLabel(button, text);
}

void Mnemonics::take(const std::string& marked) {
    for (std::size_t i = 0; i + 1 < marked.size(); ++i) {
        if (marked[i] != '_') continue;
        if (marked[++i] != '_') taken_.insert(lowered(marked[i]));
    }
}

}   // namespace ostrel
