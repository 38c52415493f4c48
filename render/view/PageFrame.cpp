#include "render/view/PageFrame.h"

#include "EmbeddedFiles.h"
#include "core/page/PageParts.h"

#include <nlohmann/json.hpp>

namespace ostrel::pageFrame {
namespace {

// As a literal of JavaScript. A mail's text is UTF-8 by then; if it were not, it would be shown as the page shows it.
std::string literal(const nlohmann::json& value) {
    return value.dump(-1, ' ', false, nlohmann::json::error_handler_t::replace);
}

}   // namespace

// Rules of the user's that are important win over all that a mail says. The page itself stays as any page without
// styles has it, the body is a block below the head that paints nothing above its upper edge; inside it the mail does
// as it likes. Its bounds do not follow a fixed height, or the list of attachments would stand in the middle of the
// text.
const std::string_view userStyles = R"css(
html { display: block !important; visibility: visible !important; opacity: 1 !important; position: static !important;
    float: none !important; height: auto !important; max-height: none !important; margin: 0 !important;
    border: 0 !important; padding: 0 !important; overflow: visible !important; zoom: 1 !important; columns: auto !important;
    writing-mode: horizontal-tb !important; mix-blend-mode: normal !important; contain: none !important;
    container-type: normal !important; content-visibility: visible !important; appearance: none !important; }
html, body { transform: none !important; translate: none !important; rotate: none !important; scale: none !important;
    offset: none !important; perspective: none !important; filter: none !important; backdrop-filter: none !important;
    clip-path: none !important; mask: none !important; -webkit-mask-box-image: none !important;
    -webkit-box-reflect: none !important; }
html::before, html::after { content: none !important; display: none !important; }
body { display: block !important; position: relative !important; inset: auto !important; float: none !important;
    clear: both !important; height: auto !important; max-height: none !important;
    clip-path: inset(0 -100000px -100000px -100000px) !important; }
)css";

std::optional<Framed> framed(std::string_view page, std::string_view padding) {
    const auto parts = MessageHTML::partsOf(page);
    if (!parts) return std::nullopt;
    const nlohmann::json arguments = {
        {"styleSheet", parts->styleSheet}, {"head", parts->head}, {"files", parts->files}, {"padding", padding}};
    return Framed{std::string(parts->document), "(() => {\n" + std::string(embedded::own_document_js) +
                                                    std::string(embedded::put_frame_js) + "putFrame(" +
                                                    literal(arguments) + ");\n})()"};
}

}   // namespace ostrel::pageFrame
