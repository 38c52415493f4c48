#include "platform/Bytes.h"

#include <gtest/gtest.h>

namespace ostrel {
namespace {

TEST(Bytes, slicesStayInsideAndOutliveTheirSource) {
    Bytes slice;
    {
        const Bytes whole(std::string("header\n\nbody that is longer than a short string holds"));
        slice = whole.slice(8, 4);
        const struct {
            const char* why;
            std::size_t offset, count;
            std::string_view expected;
        } rows[] = {
            {"to the end", 0, 6, "header"},
            {"past the end", 53, 100, ""},
            {"start past the end", 1000, 1, ""},
            {"count that would overflow", 6, std::string::npos, "\n\nbody that is longer than a short string holds"},
        };
        for (const auto& row : rows) EXPECT_EQ(whole.slice(row.offset, row.count).chars(), row.expected) << row.why;
        EXPECT_EQ(whole.slice(8).slice(5, 4).chars(), "that") << "a slice of a slice counts from its own start";
    }
    EXPECT_EQ(slice.chars(), "body") << "the buffer is kept by the slice";
    EXPECT_EQ(slice, Bytes(std::string("body"))) << "compared by content, not by buffer";
}

}   // namespace
}   // namespace ostrel
