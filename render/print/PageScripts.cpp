#include "render/print/PageScripts.h"

#include "EmbeddedFiles.h"

#include <initializer_list>
#include <string_view>

#include <nlohmann/json.hpp>

namespace ostrel::pageScripts {
namespace {

// Each file defines functions; called is one of them.
std::string script(std::initializer_list<std::string_view> files, std::string_view called) {
    std::string text = "(() => {\n" + std::string(embedded::own_document_js);
    for (const auto file : files) text += file;
    return text.append("return ").append(called).append("();\n})()");
}

}   // namespace

const std::string& prepareAndMeasure() {
    using namespace embedded;
    static const std::string text = script(
        {link_places_js, paint_marks_js, mark_links_js, find_pictures_js, list_elements_js, prepare_and_measure_js},
        "prepareAndMeasure");
    return text;
}

const std::string& squeezeAndMeasure() {
    static const std::string text = script({embedded::squeeze_and_measure_js}, "squeezeAndMeasure");
    return text;
}

std::string layOut(double frameFactor) {
    const std::string factor = nlohmann::json(frameFactor).dump();   // a number as scripts write it, in any locale
    return (frameFactor > 1 ? "globalThis.enlargeFrame?.(" + factor + ");" : "") +
           "document.documentElement.offsetHeight";
}

}   // namespace ostrel::pageScripts
