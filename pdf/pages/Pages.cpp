#include "pdf/pages/Pages.h"

#include "pdf/content/Hex.h"
#include "platform/Text.h"
#include "platform/Translation.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <cmath>
#include <map>

#include <qpdf/QPDFMatrix.hh>
#include <qpdf/QPDFPageDocumentHelper.hh>
#include <qpdf/QPDFPageObjectHelper.hh>
#include <qpdf/QUtil.hh>

namespace ostrel::pdf {
namespace {

using Rectangle = QPDFObjectHandle::Rectangle;   // corners in points, y upwards

// How a printed page comes onto the paper.
class Placement {
public:
    Placement(const Rectangle& printed, const PageLayout& layout)
        : matrix_(layout.scale, 0, 0, layout.scale, 0 - printed.llx * layout.scale,
                  layout.height - printed.ury * layout.scale),
          printed_(printed),
          paper_(0, 0, layout.width, layout.height) {}

    // A thousandth of a point is far below what any printer shows.
    bool isIdentity() const {
        return std::abs(matrix_.a - 1) < 1e-6 && std::abs(matrix_.e) < 1e-3 && std::abs(matrix_.f) < 1e-3;
    }
    const QPDFMatrix& matrix() const { return matrix_; }
    const Rectangle& paper() const { return paper_; }

    // nullopt if no part of the area is on the paper.
    std::optional<Rectangle> place(const LinkArea& area) const {
        const double left = printed_.llx + area.x, top = printed_.ury - area.y;
        auto placed = matrix_.transformRectangle({left, top - area.height, left + area.width, top});
        placed.llx = std::max(placed.llx, paper_.llx);
        placed.lly = std::max(placed.lly, paper_.lly);
        placed.urx = std::min(placed.urx, paper_.urx);
        placed.ury = std::min(placed.ury, paper_.ury);
        if (!(placed.llx < placed.urx && placed.lly < placed.ury)) return std::nullopt;   // also when not a number
        return placed;
    }

private:
    QPDFMatrix matrix_;
    Rectangle printed_, paper_;
};

// A pattern is anchored to the page itself and does not follow what the content does to its coordinates.
class ScaledPatterns {
public:
    ScaledPatterns(QPDF& file, Contents& contents) : file_(file), contents_(contents) {}

    void scaleIn(QPDFObjectHandle resources, const QPDFMatrix& matrix) {
        auto patterns = resources.getKey("/Pattern");
        if (!patterns.isDictionary()) return;
        patterns = patterns.shallowCopy();
        for (const auto& name : patterns.getKeys()) patterns.replaceKey(name, scaled(patterns.getKey(name), matrix));
        resources.replaceKey("/Pattern", patterns);
    }

private:
    QPDFObjectHandle scaled(QPDFObjectHandle pattern, const QPDFMatrix& matrix) {
        const auto key = std::pair(pattern.getObjGen(), matrix.unparse());
        if (const auto known = copies_.find(key); pattern.isIndirect() && known != copies_.end()) return known->second;
        auto copy = pattern.isStream() ? contents_.copy(pattern) : pattern.shallowCopy();
        auto dict = copy.isStream() ? copy.getDict() : copy;
        auto whole = matrix;
        if (auto own = dict.getKey("/Matrix"); own.isMatrix()) whole.concat(QPDFMatrix(own.getArrayAsMatrix()));
        dict.replaceKey("/Matrix", QPDFObjectHandle::newArray(whole));
        if (!copy.isIndirect()) copy = file_.makeIndirectObject(copy);
        copies_.emplace(key, copy);
        return copy;
    }

    QPDF& file_;
    Contents& contents_;
    std::map<std::pair<QPDFObjGen, std::string>, QPDFObjectHandle> copies_;
};

// The operator that applies the matrix to what follows. The matrix would round itself to five digits.
std::string transform(const QPDFMatrix& m) {
    std::string text;
    for (const double value : {m.a, m.b, m.c, m.d, m.e, m.f}) text += QUtil::double_to_string(value, 7) + ' ';
    return text + "cm\n";
}

void place(Contents& contents, QPDFPageObjectHelper& page, const Placement& placement, ScaledPatterns& patterns) {
    auto dict = page.getObjectHandle();
    if (!placement.isIdentity()) {
        if (auto* const content = contents.find(dict.getKey("/Contents"))) {
            const auto text = contents.textOf(*content);
            if (!text) throw std::runtime_error(i18n::tr("its content cannot be decoded"));
            contents.replace(*content, transform(placement.matrix()) + *text + '\n');
        }
        if (auto resources = dict.getKey("/Resources"); resources.isDictionary()) {
            resources = resources.shallowCopy();
            patterns.scaleIn(resources, placement.matrix());
            dict.replaceKey("/Resources", resources);
        }
        for (const auto* box : {"/CropBox", "/BleedBox", "/TrimBox", "/ArtBox", "/UserUnit"}) dict.removeKey(box);
        for (auto& annotation : page.getAnnotations()) {
            auto area = annotation.getObjectHandle().getKey("/Rect");
            if (!area.isRectangle()) continue;
            annotation.getObjectHandle().replaceKey(
                "/Rect", QPDFObjectHandle::newArray(placement.matrix().transformRectangle(area.getArrayAsRectangle())));
        }
    }
    dict.replaceKey("/MediaBox", QPDFObjectHandle::newArray(placement.paper()));
    if (auto* const content = contents.find(dict.getKey("/Contents"))) content->resources = dict.getKey("/Resources");
}

// What a link opens.
struct Target {
    std::string address;   // as PDFs store it: ASCII; empty: nothing
    std::string words;     // that tell it, UTF-8
};

// Everything that is not ASCII is percent-encoded. Nothing unless it is http, https or mailto.
std::string webAddress(std::string_view url) {
    url = text::trimASCII(url, " \t\r\n\f");
    const auto colon = url.find(':');
    if (colon == std::string_view::npos) return {};
    static constexpr std::array<std::string_view, 3> schemes{"http", "https", "mailto"};
    if (std::ranges::find(schemes, text::lowerASCII(url.substr(0, colon))) == schemes.end()) return {};
    std::string target;
    for (const char c : url) {
        const auto byte = static_cast<unsigned char>(c);
        if (byte > 0x20 && byte < 0x7F)
            target += c;
        else
            hex::append(target += '%', byte, 2);
    }
    return target;
}

// An address without a scheme is looked for where the document is, however its folder is moved (ISO 32000-1 §12.6.4.7),
// and opens what is no PDF, too. Actions that launch files are none that archives may have.
std::string fileAddress(std::string_view path) {
    std::string address;
    for (const char c : path) {
        constexpr std::string_view marks = "/-._~";   // and what is unreserved (RFC 3986 §2.3)
        const bool isPlain = (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9');
        if (isPlain || marks.find(c) != marks.npos)
            address += c;
        else
            hex::append(address += '%', static_cast<unsigned char>(c), 2);
    }
    return address;
}

Target targetOf(const LinkArea& link, std::span<const std::string> files) {
    if (!link.attachment) {
        auto address = webAddress(link.url);
        return {address, address};
    }
    const std::string path = *link.attachment < files.size() ? files[*link.attachment] : "";
    return {fileAddress(path), path.substr(path.rfind('/') + 1)};
}

// Printed with the page, if there were anything to see (F 4). Written out here and handed on as one token: a mail with
// thousands of links would spend most of its time on the nine objects that each of them is.
QPDFObjectHandle linkAnnotation(const Rectangle& area, const Target& target) {
    std::string text = "<< /Type /Annot /Subtype /Link /F 4 /Border [ 0 0 0 ] /Rect [";
    for (const double side : {area.llx, area.lly, area.urx, area.ury}) {
        std::array<char, 32> digits;   // within the paper, so enough
        const auto end = std::to_chars(digits.data(), digits.data() + digits.size(), std::round(side * 100) / 100);
        text.append(1, ' ').append(digits.data(), end.ptr);
    }
    text += " ] /Contents " + QPDFObjectHandle::newUnicodeString(target.words).unparse();
    text += " /A << /S /URI /URI " + QPDFObjectHandle::newString(target.address).unparse() + " >> >>";
    return QPDFObjectHandle::newOperator(text);
}

}   // namespace

PlacedLinks layOutPages(QPDF& file, Contents& contents, const PageLayout& layout, const std::vector<LinkArea>& links,
                        std::span<const std::string> files) {
    std::map<std::size_t, std::vector<const LinkArea*>> linksOf;
    for (const auto& link : links) linksOf[link.page].push_back(&link);

    QPDFPageDocumentHelper document(file);
    document.pushInheritedAttributesToPage();
    ScaledPatterns patterns(file, contents);
    PlacedLinks placed;
    std::size_t number = 0;
    for (auto& page : document.getAllPages()) {
        auto box = page.getMediaBox();
        if (!box.isRectangle()) throw std::runtime_error(i18n::tr("a page has no size"));
        const Placement placement(box.getArrayAsRectangle(), layout);
        place(contents, page, placement, patterns);

        std::vector<QPDFObjectHandle> annotations;
        std::vector<std::optional<std::size_t>> elements;
        for (const auto* link : linksOf[number++]) {
            const auto target = targetOf(*link, files);
            const auto area = placement.place(*link);
            if (!area || target.address.empty()) continue;
            annotations.push_back(linkAnnotation(*area, target));
            elements.push_back(link->element);
        }
        placed.count += annotations.size();
        auto all = page.getObjectHandle().getKey("/Annots");
        all = all.isArray() ? all.shallowCopy() : QPDFObjectHandle::newArray();
        elements.insert(elements.begin(), static_cast<std::size_t>(all.getArrayNItems()), std::nullopt);
        placed.elements.push_back(std::move(elements));
        if (annotations.empty()) continue;
        for (auto& annotation : annotations) all.appendItem(annotation);
        page.getObjectHandle().replaceKey("/Annots", all);
    }
    return placed;
}

}   // namespace ostrel::pdf
