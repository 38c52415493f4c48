#include "tests/pdf/tags/TagRules.h"

#include "pdf/content/ContentReader.h"
#include "tests/pdf/SamplePDF.h"

#include <map>
#include <set>
#include <string_view>

namespace ostrel::test {
namespace {

class Checker {
public:
    explicit Checker(const std::string& bytes) : opened_(bytes) {}

    std::vector<std::string> run() {
        auto root = opened_.file().getRoot();
        auto tree = root.getKey("/StructTreeRoot");
        if (!tree.isDictionary()) return {};
        expect(root.getKey("/MarkInfo").isDictionary(), "the file does not say that it has tags");
        auto numbers = tree.getKey("/ParentTree").getKey("/Nums");
        for (int i = 0; i + 1 < numbers.getArrayNItems(); i += 2)
            parents_.emplace(numbers.getArrayItem(i).getIntValue(), numbers.getArrayItem(i + 1));
        visit(tree.getKey("/K"), tree);
        if (plainData(root.getKey("/Metadata")).find("<pdfuaid:part>1</pdfuaid:part>") != std::string::npos) {
            expect(root.getKey("/Lang").isString(), "7.2: no language");
            expect(root.getKey("/ViewerPreferences").getKey("/DisplayDocTitle").getBoolValue() &&
                       opened_.file().getTrailer().getKey("/Info").getKey("/Title").isString(),
                   "7.1: the title is not shown");
            for (const auto& rule : accessible_) expect(false, rule);
        }
        for (auto page : opened_.file().getAllPages()) look(page);
        return broken_;
    }

private:
    void expect(bool isKept, const std::string& rule) {
        if (!isKept) broken_.push_back(rule);
    }

    void visit(QPDFObjectHandle element, QPDFObjectHandle parent) {
        expect(element.getKey("/P").getObjGen() == parent.getObjGen(), "an element with another parent");
        rules(element, parent);
        auto kids = element.getKey("/K");
        if (kids.isNull()) return;
        const auto all = kids.isArray() ? kids.getArrayAsVector() : std::vector{kids};
        for (auto kid : all) {
            if (kid.isInteger())
                expect(said_.emplace(element.getKey("/Pg").getObjGen(), kid.getIntValue()).second,
                       "content read twice");
            else if (kid.getKey("/Type").isNameAndEquals("/OBJR"))
                expect(linked_.insert(kid.getKey("/Obj").getObjGen()).second, "a link of two elements");
            else if (kid.getKey("/Type").isNameAndEquals("/MCR"))
                expect(said_.emplace(kid.getKey("/Pg").getObjGen(), kid.getKey("/MCID").getIntValue()).second,
                       "content read twice");
            else
                visit(kid, element);
        }
    }

    // What PDF/UA-1 wants of an element.
    void rules(QPDFObjectHandle element, QPDFObjectHandle parent) {
        static const std::map<std::string, std::set<std::string>> homes{
            {"/TR", {"/Table"}}, {"/TH", {"/TR"}},  {"/TD", {"/TR"}},   {"/Caption", {"/Table"}},
            {"/LI", {"/L"}},     {"/Lbl", {"/LI"}}, {"/LBody", {"/LI"}}};
        const auto type = element.getKey("/S").getName();
        const auto outer = parent.hasKey("/S") ? parent.getKey("/S").getName() : "";
        const auto want = [&](bool isKept, const char* rule) {
            if (!isKept) accessible_.emplace_back(rule);
        };
        if (const auto home = homes.find(type); home != homes.end())
            want(home->second.contains(outer), "7.2: an element out of its place");
        if (type == "/Figure") want(element.getKey("/Alt").isString(), "7.3: a picture without words");
        if (type == "/TH") want(element.getKey("/A").getKey("/Scope").isName(), "7.5: a head of nothing");
        if (type.size() == 3 && type[1] == 'H') {
            want(type[2] <= level_ + 1, "7.4.2: a level of headings left out");
            level_ = type[2];
        }
    }

    void look(QPDFObjectHandle page) {
        expect(page.getKey("/Tabs").isNameAndEquals("/S"), "a page with links in another order");
        auto parents = parents_[page.getKey("/StructParents").getIntValue()];
        const auto marked = marksIn(plainData(page.getKey("/Contents")));
        expect(parents.isArray() && static_cast<std::size_t>(parents.getArrayNItems()) == marked,
               "not every content has a parent");
        for (std::size_t i = 0; i < marked; ++i)
            expect(said_.contains({page.getObjGen(), static_cast<long long>(i)}), "content of no element");
        auto annotations = page.getKey("/Annots");
        for (int i = 0; annotations.isArray() && i < annotations.getArrayNItems(); ++i) {
            auto link = annotations.getArrayItem(i);
            expect(linked_.contains(link.getObjGen()), "a link of no element");
            expect(link.getKey("/Contents").isString(), "a link without words");
            expect(parents_[link.getKey("/StructParent").getIntValue()].isDictionary(), "a link without a parent");
        }
    }

    // Returns the number of marked contents, which are numbered from 0.
    std::size_t marksIn(const std::string& content) {
        static const std::set<std::string_view> painting{"f", "F",  "f*", "S",  "s",  "B", "B*",
                                                         "b", "b*", "sh", "Do", "Tj", "TJ"};
        pdf::ContentReader reader(content);
        std::size_t depth = 0, marked = 0;
        while (const auto operation = reader.next()) {
            if (operation->letters == "BMC" || operation->letters == "BDC") ++depth;
            if (operation->letters == "EMC") --depth;
            if (painting.contains(operation->letters)) expect(depth > 0, "something painted without a mark");
            for (std::size_t i = 0; operation->letters == "BDC" && i + 1 < operation->operands.size(); ++i)
                if (operation->operands[i].text == "MCID")
                    expect(operation->operands[i + 1].number() == static_cast<double>(marked++),
                           "numbers out of order");
        }
        expect(!reader.isBroken() && depth == 0, "marks that do not end");
        return marked;
    }

    OpenedPDF opened_;
    std::map<long long, QPDFObjectHandle> parents_;
    std::set<std::pair<QPDFObjGen, long long>> said_;   // by page and number
    std::set<QPDFObjGen> linked_;
    char level_ = '0';                      // of the last heading
    std::vector<std::string> accessible_;   // rules of PDF/UA that are broken
    std::vector<std::string> broken_;
};

}   // namespace

std::vector<std::string> brokenTagRules(const std::string& pdf) { return Checker(pdf).run(); }

}   // namespace ostrel::test
