#include "tests/fonts/SampleFont.h"

#include "fonts/HarfBuzz.h"
#include "fonts/TrueTypeGlyph.h"

#include <cstdint>
#include <vector>

namespace ostrel::test {
namespace {

// Big-endian numbers, one after the other.
class Table {
public:
    Table& put(std::size_t bytes, std::uint32_t number) {
        while (bytes-- > 0) text_ += static_cast<char>(std::uint64_t{number} >> 8 * bytes & 0xFF);
        return *this;
    }
    Table& put16(const std::vector<int>& numbers) {
        for (const int number : numbers) put(2, static_cast<std::uint32_t>(number));
        return *this;
    }
    Table& put(std::string_view bytes) {
        text_ += bytes;
        return *this;
    }
    std::size_t size() const { return text_.size(); }
    const std::string& text() const { return text_; }

private:
    std::string text_;
};

std::string box(int width, int height) {
    fonts::TrueTypeGlyph glyph(1);
    glyph.moveTo({0, 0});
    glyph.lineTo({double(width), 0});
    glyph.lineTo({double(width), double(height)});
    glyph.lineTo({0, double(height)});
    glyph.close();
    return glyph.entry().value();
}

}   // namespace

std::string sampleFont(const fonts::Characters& characters) {
    const int count = 1 + static_cast<int>(characters.size());
    Table glyf, loca, hmtx, cmap;
    for (int glyph = 0; glyph < count; ++glyph) {
        loca.put(4, static_cast<std::uint32_t>(glyf.size()));
        glyf.put(box(100 + glyph, 500 + glyph));
        hmtx.put16({600 + glyph, 0});
    }
    loca.put(4, static_cast<std::uint32_t>(glyf.size()));
    const auto groups = static_cast<std::uint32_t>(characters.size());
    cmap.put16({0, 1, 3, 10}).put(4, 12).put16({12, 0}).put(4, 16 + 12 * groups).put(4, 0).put(4, groups);
    for (std::uint32_t glyph = 1; const char32_t character : characters)
        cmap.put(4, character).put(4, character).put(4, glyph++);
    const Table head = Table()
                           .put(4, 0x10000)
                           .put(8, 0)
                           .put(4, 0x5F0F3CF5)
                           .put16({0, 1000})
                           .put(8, 0)
                           .put(8, 0)
                           .put16({0, 0, 1000, 1000, 0, 8, 2, 1, 0});
    const Table hhea = Table().put(4, 0x10000).put16({880, -120, 0, 1000, 0, 0, 0, 1, 0, 0, 0, 0, 0, 0, 0, count});
    const Table maxp = Table().put(4, 0x10000).put16({count, 4, 1, 0, 0, 1, 0, 0, 0, 0, 0, 0, 0, 0});

    const harfBuzz::FacePtr builder(hb_face_builder_create());
    const auto add = [&](const char* tag, const Table& table) {
        hb_face_builder_add_table(builder.get(), hb_tag_from_string(tag, 4), harfBuzz::blobOf(table.text()).get());
    };
    add("cmap", cmap);
    add("glyf", glyf);
    add("head", head);
    add("hhea", hhea);
    add("hmtx", hmtx);
    add("loca", loca);
    add("maxp", maxp);
    return std::string(harfBuzz::viewOf(harfBuzz::BlobPtr(hb_face_reference_blob(builder.get())).get()));
}

}   // namespace ostrel::test
