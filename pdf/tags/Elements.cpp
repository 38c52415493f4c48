#include "pdf/tags/Elements.h"

#include <map>
#include <utility>

namespace ostrel::pdf {
namespace {

QPDFObjectHandle whole(std::size_t number) { return QPDFObjectHandle::newInteger(static_cast<long long>(number)); }

class Writer {
public:
    explicit Writer(QPDF& file) : file_(file), pages_(file.getAllPages()), contentsOf_(pages_.size()) {}

    void write(const std::vector<Element>& elements) {
        auto root = file_.makeIndirectObject(QPDFObjectHandle::parse("<< /Type /StructTreeRoot >>"));
        for (std::size_t i = 0; i < elements.size(); ++i)
            made_.push_back(file_.makeIndirectObject(QPDFObjectHandle::newDictionary()));
        if (!made_.empty()) made_.front().replaceKey("/P", root);
        for (std::size_t i = 0; i < elements.size(); ++i) fill(made_[i], elements[i]);

        auto numbers = QPDFObjectHandle::newArray();
        for (std::size_t page = 0; page < pages_.size(); ++page) {
            auto parents = QPDFObjectHandle::newArray();
            for (const auto& [number, element] : contentsOf_[page]) parents.appendItem(element);
            numbers.appendItem(whole(page));
            numbers.appendItem(parents);
            pages_[page].replaceKey("/StructParents", whole(page));
            pages_[page].replaceKey("/Tabs", QPDFObjectHandle::newName("/S"));
        }
        for (std::size_t i = 0; i < annotated_.size(); ++i) {
            numbers.appendItem(whole(pages_.size() + i));
            numbers.appendItem(annotated_[i]);
        }
        auto tree = QPDFObjectHandle::newDictionary();
        tree.replaceKey("/Nums", numbers);
        root.replaceKey("/ParentTree", tree);
        root.replaceKey("/ParentTreeNextKey", whole(pages_.size() + annotated_.size()));
        root.replaceKey("/K", made_.front());
        file_.getRoot().replaceKey("/StructTreeRoot", root);
        file_.getRoot().replaceKey("/MarkInfo", QPDFObjectHandle::parse("<< /Marked true >>"));
    }

private:
    void fill(QPDFObjectHandle made, const Element& element) {
        made.replaceKey("/S", QPDFObjectHandle::newName("/" + element.type));
        if (!element.alternative.empty())
            made.replaceKey("/Alt", QPDFObjectHandle::newUnicodeString(element.alternative));
        if (!element.attributes.empty()) made.replaceKey("/A", QPDFObjectHandle::parse(element.attributes));
        const std::size_t* home = nullptr;   // the page that needs no mention
        for (const auto& part : element.parts)
            if (part.kind != Element::Part::Kind::element && !home) home = &part.page;
        if (home) made.replaceKey("/Pg", pages_[*home]);
        auto kids = QPDFObjectHandle::newArray();
        for (const auto& part : element.parts) kids.appendItem(kid(made, part, home));
        if (kids.getArrayNItems() > 0) made.replaceKey("/K", kids.getArrayNItems() == 1 ? kids.getArrayItem(0) : kids);
    }

    QPDFObjectHandle kid(QPDFObjectHandle parent, const Element::Part& part, const std::size_t* home) {
        switch (part.kind) {
            case Element::Part::Kind::element:
                made_[part.number].replaceKey("/P", parent);
                return made_[part.number];
            case Element::Part::Kind::annotation:
                return annotation(parent, part, *home);
            case Element::Part::Kind::content:
                break;
        }
        contentsOf_[part.page].emplace(part.number, parent);
        if (part.page == *home) return whole(part.number);
        auto reference = QPDFObjectHandle::parse("<< /Type /MCR >>");
        reference.replaceKey("/Pg", pages_[part.page]);
        reference.replaceKey("/MCID", whole(part.number));
        return reference;
    }

    QPDFObjectHandle annotation(QPDFObjectHandle parent, const Element::Part& part, std::size_t home) {
        auto all = pages_[part.page].getKey("/Annots");
        auto annotation = all.getArrayItem(static_cast<int>(part.number));
        // Links are written out as one token (see layOutPages): what is added goes before its closing bracket.
        auto text = annotation.unparse();
        text.insert(text.rfind(">>"), "/StructParent " + std::to_string(pages_.size() + annotated_.size()) + " ");
        auto made = file_.makeIndirectObject(QPDFObjectHandle::newOperator(text));
        all.setArrayItem(static_cast<int>(part.number), made);
        annotated_.push_back(parent);
        auto reference = QPDFObjectHandle::parse("<< /Type /OBJR >>");
        reference.replaceKey("/Obj", made);
        if (part.page != home) reference.replaceKey("/Pg", pages_[part.page]);
        return reference;
    }

    QPDF& file_;
    std::vector<QPDFObjectHandle> pages_;
    std::vector<QPDFObjectHandle> made_;                                // by element
    std::vector<std::map<std::size_t, QPDFObjectHandle>> contentsOf_;   // by page and number, the element
    std::vector<QPDFObjectHandle> annotated_;                           // elements with annotations
};

}   // namespace

void writeElements(QPDF& file, const std::vector<Element>& elements) { Writer(file).write(elements); }

}   // namespace ostrel::pdf
