#include "pdf/fonts/FontReduction.h"

#include "pdf/content/Streams.h"

#include <algorithm>
#include <map>
#include <set>
#include <vector>

namespace ostrel::pdf {
namespace {

// A composite font as the engine writes it: Type0 -> CIDFontType2 -> descriptor -> TrueType program.
struct Font {
    QPDFObjectHandle descendant, descriptor, program;
    const CodeSet* codes;
};

std::optional<Font> understood(QPDFObjectHandle type0, const CodeSet& codes) {
    auto descendants = type0.getKey("/DescendantFonts");
    if (!type0.getKey("/Encoding").isNameAndEquals("/Identity-H") || !descendants.isArray() ||
        descendants.getArrayNItems() != 1)
        return std::nullopt;
    auto descendant = descendants.getArrayItem(0);
    if (!descendant.isIndirect() || !descendant.isDictionary() ||
        !descendant.getKey("/Subtype").isNameAndEquals("/CIDFontType2") ||
        !descendant.getKey("/CIDToGIDMap").isNameAndEquals("/Identity"))
        return std::nullopt;
    auto descriptor = descendant.getKey("/FontDescriptor");
    if (!descriptor.isIndirect() || !descriptor.isDictionary()) return std::nullopt;
    auto program = descriptor.getKey("/FontFile2");
    if (!program.isStream() || packingOf(program) == Packing::other) return std::nullopt;
    return Font{descendant, descriptor, program, &codes};
}

// How often each object is referred to, in the whole file.
class References {
public:
    explicit References(QPDF& file) {
        for (auto object : file.getAllObjects()) countIn(object.isStream() ? object.getDict() : object, 0);
        countIn(file.getTrailer(), 0);
    }
    std::size_t of(QPDFObjectHandle object) const {
        const auto found = counts_.find(object.getObjGen());
        return found == counts_.end() ? 0 : found->second;
    }

private:
    void countIn(QPDFObjectHandle container, int depth) {
        constexpr int maxDepth = 200;   // libqpdf refuses deeper ones when it reads
        if (depth > maxDepth) return;
        const auto count = [&](QPDFObjectHandle child) {
            if (child.isIndirect())
                ++counts_[child.getObjGen()];
            else if (child.isArray() || child.isDictionary())
                countIn(child, depth + 1);
        };
        if (container.isDictionary())
            for (const auto& key : container.getKeys()) count(container.getKey(key));
        else if (container.isArray())
            for (int i = 0; i < container.getArrayNItems(); ++i) count(container.getArrayItem(i));
    }

    std::map<QPDFObjGen, std::size_t> counts_;
};

using Objects = std::map<QPDFObjGen, QPDFObjectHandle>;

// Fonts that show glyphs of one program.
struct Family {
    Objects programs, descriptors, descendants;
    CodeSet glyphs;
};

// Returns true if every way to the family's programs leads through fonts whose use we know.
bool isClosed(const Family& family, const std::map<QPDFObjGen, std::size_t>& parents, const References& references) {
    const auto known = [&](const auto& entry) {
        const auto found = parents.find(entry.first);
        return found != parents.end() && found->second == references.of(entry.second);
    };
    return std::ranges::all_of(family.programs, known) && std::ranges::all_of(family.descriptors, known) &&
           std::ranges::all_of(family.descendants, known);
}

std::string nameOf(const Family& family) {
    auto descriptor = family.descriptors.begin()->second;
    auto name = descriptor.getKey("/FontName");
    return name.isName() ? name.getName().substr(1) : "a font";
}

using Widths = std::map<int, QPDFObjectHandle>;   // by glyph number

// Reads a W array (ISO 32000-1 §9.7.4.3) as far as it concerns these glyphs. nullopt if it is malformed.
std::optional<Widths> widthsOf(QPDFObjectHandle descendant, const CodeSet& glyphs) {
    auto w = descendant.getKey("/W");
    if (!w.isArray()) return std::nullopt;
    const auto items = w.getArrayAsVector();
    Widths widths;
    const auto put = [&](std::size_t glyph, QPDFObjectHandle width) {
        if (glyph < glyphs.size() && glyphs.test(glyph)) widths.insert_or_assign(static_cast<int>(glyph), width);
    };
    std::size_t inRanges = 0;
    for (std::size_t i = 0; i < items.size();) {
        auto first = items[i];
        if (!first.isInteger() || first.getIntValue() < 0 || i + 1 >= items.size()) return std::nullopt;
        auto glyph = static_cast<std::size_t>(first.getIntValue());
        if (auto second = items[i + 1]; second.isArray()) {
            for (auto& width : second.getArrayAsVector()) put(glyph++, width);
            i += 2;
        } else {
            if (!second.isInteger() || second.getIntValue() < 0 || i + 2 >= items.size()) return std::nullopt;
            const auto end = std::min(static_cast<std::size_t>(second.getIntValue()) + 1, glyphs.size());
            if (glyph < end && (inRanges += end - glyph) > glyphs.size()) return std::nullopt;   // some are said twice
            for (; glyph < end; ++glyph) put(glyph, items[i + 2]);
            i += 3;
        }
    }
    return widths;
}

QPDFObjectHandle arrayOf(const Widths& widths) {
    auto w = QPDFObjectHandle::newArray();
    auto run = QPDFObjectHandle::newArray();
    int next = -1;
    for (const auto& [glyph, width] : widths) {
        if (glyph != next) {
            run = QPDFObjectHandle::newArray();
            w.appendItem(QPDFObjectHandle::newInteger(glyph));
            w.appendItem(run);
        }
        run.appendItem(width);
        next = glyph + 1;
    }
    return w;
}

// One width table for all fonts of the family, so that they become one; unless they disagree about a glyph.
void shareWidths(Family& family, const std::map<QPDFObjGen, CodeSet>& glyphsOf) {
    Widths all;
    for (auto& [id, descendant] : family.descendants) {
        const auto& glyphs = glyphsOf.at(id);
        auto own = widthsOf(descendant, glyphs);
        auto standard = descendant.getKey("/DW");
        if (!own || !standard.isNumber()) return;
        for (auto glyph = glyphs._Find_first(); glyph < glyphs.size(); glyph = glyphs._Find_next(glyph))
            own->try_emplace(static_cast<int>(glyph), standard);
        for (auto& [glyph, width] : *own) {
            const auto [known, isNew] = all.try_emplace(glyph, width);
            if (!isNew && known->second.unparse() != width.unparse()) return;
        }
    }
    auto standard = family.descendants.begin()->second.getKey("/DW");
    std::erase_if(all, [standardText = standard.unparse()](const auto& entry) {
        auto width = entry.second;
        return width.unparse() == standardText;
    });
    for (auto& [id, descendant] : family.descendants) {
        descendant.replaceKey("/DW", standard);
        descendant.replaceKey("/W", arrayOf(all));
    }
}

std::optional<FontSubsetter::Program> subset(QPDFObjectHandle program, std::string_view storedBytes,
                                             const CodeSet& glyphs, FontSubsetter& subsetter) {
    if (packingOf(program) == Packing::none) return subsetter.subset(storedBytes, glyphs);
    auto length = program.getDict().getKey("/Length1");
    const auto size = length.isInteger() ? std::max<long long>(length.getIntValue(), 0) : 0;
    const auto unpacked = zlib::inflate(storedBytes, static_cast<std::size_t>(size), streamLimit);
    return unpacked ? subsetter.subset(*unpacked, glyphs) : std::nullopt;
}

}   // namespace

FontCounts reduceFonts(QPDF& file, const GlyphUse& use, FontSubsetter& subsetter) {
    std::map<std::string, Family> families;   // by the program's stored bytes
    std::map<QPDFObjGen, std::size_t> parents;
    std::map<QPDFObjGen, CodeSet> glyphsOf;   // by descendant font
    std::set<std::pair<QPDFObjGen, QPDFObjGen>> links;
    const auto link = [&](QPDFObjectHandle from, QPDFObjectHandle to) {
        if (links.emplace(from.getObjGen(), to.getObjGen()).second) ++parents[to.getObjGen()];
    };
    for (const auto& [id, codes] : use.codesOf()) {
        auto type0 = file.getObject(id);
        const auto font = understood(type0, codes);
        if (!font) continue;
        auto& family = families[stored(font->program)];
        family.programs.emplace(font->program.getObjGen(), font->program);
        family.descriptors.emplace(font->descriptor.getObjGen(), font->descriptor);
        family.descendants.emplace(font->descendant.getObjGen(), font->descendant);
        family.glyphs |= codes;
        glyphsOf[font->descendant.getObjGen()] |= codes;
        link(type0, font->descendant);
        link(font->descendant, font->descriptor);
        link(font->descriptor, font->program);
    }

    FontCounts counts;
    const References references(file);
    for (auto& entry : families) {
        const auto& bytes = entry.first;
        Family& family = entry.second;   // no structured binding, which clang 14 lets no lambda use
        auto program = family.programs.begin()->second;
        const auto keep = [&](const std::string& why) { counts.kept.push_back(nameOf(family) + ": " + why); };
        if (!use.isComplete()) {
            keep(use.whyIncomplete());
            continue;
        }
        if (!isClosed(family, parents, references)) {
            keep("used by something unknown");
            continue;
        }
        const auto reduced = subset(program, bytes, family.glyphs, subsetter);
        if (!reduced || reduced->packed.size() >= bytes.size()) {
            keep(reduced ? "cannot be made smaller" : "not a TrueType font that is understood");
            continue;
        }
        ++counts.reduced;
        counts.bytes.before += bytes.size() * family.programs.size();
        counts.bytes.after += reduced->packed.size();
        replaceDeflated(program, reduced->packed);
        program.getDict().replaceKey("/Length1",
                                     QPDFObjectHandle::newInteger(static_cast<long long>(reduced->unpackedSize)));
        for (auto& [id, descriptor] : family.descriptors) descriptor.replaceKey("/FontFile2", program);
        shareWidths(family, glyphsOf);
    }
    return counts;
}

}   // namespace ostrel::pdf
