#include "ui/widgets/Symbols.h"

#include "platform/Text.h"

#include <algorithm>
#include <array>
#include <string>

#include <gtkmm/icontheme.h>

namespace ostrel::symbols {
namespace {

struct Symbol {
    std::string_view name;
    const char* icon;
};

constexpr std::array table{
    Symbol{"archivebox", "ostrel-archivebox-symbolic"},
    Symbol{"arrow.clockwise", "ostrel-arrow-clockwise-symbolic"},
    Symbol{"checkmark.circle.fill", "ostrel-checkmark-circle-fill-symbolic"},
    Symbol{"doc", "ostrel-doc-symbolic"},
    Symbol{"doc.on.doc", "ostrel-doc-on-doc-symbolic"},
    Symbol{"doc.richtext", "ostrel-doc-richtext-symbolic"},
    Symbol{"doc.text", "ostrel-doc-text-symbolic"},
    Symbol{"envelope", "ostrel-envelope-symbolic"},
    Symbol{"envelope.badge.shield.half.filled", "ostrel-envelope-badge-shield-half-filled-symbolic"},
    Symbol{"envelope.open", "ostrel-envelope-open-symbolic"},
    Symbol{"exclamationmark.triangle", "ostrel-exclamationmark-triangle-symbolic"},
    Symbol{"folder", "ostrel-folder-symbolic"},
    Symbol{"folder.badge.gearshape", "ostrel-folder-badge-gearshape-symbolic"},
    Symbol{"gearshape", "ostrel-gearshape-symbolic"},
    Symbol{"hand.raised", "ostrel-hand-raised-symbolic"},
    Symbol{"line.3.horizontal.decrease.circle", "ostrel-line-3-horizontal-decrease-circle-symbolic"},
    Symbol{"lock", "ostrel-lock-symbolic"},
    Symbol{"lock.shield", "ostrel-lock-shield-symbolic"},
    Symbol{"paperclip", "ostrel-paperclip-symbolic"},
    Symbol{"paperplane", "ostrel-paperplane-symbolic"},
    Symbol{"play.circle", "ostrel-play-circle-symbolic"},
    Symbol{"sidebar.left", "ostrel-sidebar-left-symbolic"},
    Symbol{"square.and.arrow.up", "ostrel-square-and-arrow-up-symbolic"},
    Symbol{"stop.circle", "ostrel-stop-circle-symbolic"},
    Symbol{"switch.2", "ostrel-switch-2-symbolic"},
    Symbol{"trash", "ostrel-trash-symbolic"},
    Symbol{"tray", "ostrel-tray-symbolic"},
    Symbol{"tray.2", "ostrel-tray-2-symbolic"},
    Symbol{"tray.full", "ostrel-tray-full-symbolic"},
    Symbol{"wifi.slash", "ostrel-wifi-slash-symbolic"},
    Symbol{"xmark.bin", "ostrel-xmark-bin-symbolic"},
};

// By the name in lower case.
constexpr std::array mailboxes{
    Symbol{"inbox", "tray"},           Symbol{"sent", "paperplane"}, Symbol{"sent messages", "paperplane"},
    Symbol{"sent mail", "paperplane"}, Symbol{"drafts", "doc"},      Symbol{"archive", "archivebox"},
    Symbol{"junk", "xmark.bin"},       Symbol{"trash", "trash"},     Symbol{"deleted messages", "trash"},
};

template <std::size_t size>
const char* find(const std::array<Symbol, size>& symbols, std::string_view name, const char* otherwise) {
    const auto found = std::ranges::find(symbols, name, &Symbol::name);
    return found == symbols.end() ? otherwise : found->icon;
}

}   // namespace

const char* iconName(std::string_view symbol) { return find(table, symbol, "image-missing"); }

std::vector<const char*> icons() {
    std::vector<const char*> found;
    for (const Symbol& symbol : table) found.push_back(symbol.icon);
    return found;
}

std::string_view forMailbox(std::string_view mailboxName) {
    return find(mailboxes, text::lower(mailboxName), "folder");
}

}   // namespace ostrel::symbols
