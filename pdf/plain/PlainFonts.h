#pragma once

#include "platform/Releaser.h"

#include <memory>

#include <fontconfig/fontconfig.h>
#include <pango/pango.h>

namespace ostrel::pdf {

// The installed fonts that a PDF can hold as they are, for a layout with nothing made for screens: a point is a unit.
class PlainFonts {
public:
    PlainFonts();

    // Null if there is no such font.
    PangoContext* context() const { return context_.get(); }
    // Whether any of them has the character.
    bool have(char32_t character) const { return FcCharSetHasChar(characters_.get(), character); }

private:
    std::unique_ptr<PangoContext, Releaser<g_object_unref>> context_;
    std::unique_ptr<FcCharSet, Releaser<FcCharSetDestroy>> characters_;
};

}   // namespace ostrel::pdf
