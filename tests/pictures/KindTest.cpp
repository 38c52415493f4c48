#include "pictures/Kind.h"

#include <string_view>

#include <gtest/gtest.h>

namespace ostrel::pictures {
namespace {

using namespace std::string_view_literals;

TEST(PictureKind, IsToldFromTheBytes) {
    const struct {
        const char* why;
        std::string_view bytes;
        Kind kind;
    } rows[] = {
        {"JPEG without JFIF", "\xFF\xD8\xFF\xE1"sv, Kind::jpeg},
        {"PNG", "\x89PNG\r\n\x1A\n\0\0\0\x0D"sv, Kind::png},
        {"a PNG that went through a text mode", "\x89PNG\n\x1A\n\0\0\0\x0D"sv, Kind::unknown},
        {"moving GIF", "GIF89a\1\0\1\0"sv, Kind::gif},
        {"WebP", "RIFF\x10\0\0\0WEBPVP8X"sv, Kind::webp},
        {"a sound in the same container", "RIFF\x10\0\0\0WAVEfmt "sv, Kind::unknown},
        {"a telephone's photograph",
         "\0\0\0\x18"
         "ftypheic\0\0\0\0mif1heic"sv,
         Kind::heic},
        {"of a general brand first",
         "\0\0\0\x1C"
         "ftypmif1\0\0\0\0miafheic"sv,
         Kind::heic},
        {"AVIF",
         "\0\0\0\x1C"
         "ftypavif\0\0\0\0mif1miaf"sv,
         Kind::avif},
        {"a film",
         "\0\0\0\x14"
         "ftypisom\0\0\0\0mp42"sv,
         Kind::unknown},
        {"a brand behind its box",
         "\0\0\0\x10"
         "ftypmif1\0\0\0\0heic"sv,
         Kind::unknown},
        {"TIFF of a Mac", "MM\0*\0\0\0\x08"sv, Kind::tiff},
        {"JPEG 2000", "\0\0\0\x0CjP  \r\n\x87\n"sv, Kind::jpeg2000},
        {"its bare codestream", "\xFF\x4F\xFF\x51\0\x2F"sv, Kind::jpeg2000},
        {"PDF behind an empty line", "\r\n%PDF-1.4"sv, Kind::pdf},
        {"SVG behind its prolog", "\xEF\xBB\xBF<?xml version='1.0'?>\n<svg xmlns='x'>"sv, Kind::svg},
        {"a page", "<html><p>text</p>"sv, Kind::unknown},
        {"nothing", ""sv, Kind::unknown},
    };
    for (const auto& row : rows) EXPECT_EQ(kindOf(bytesOf(row.bytes)), row.kind) << row.why;
}

}   // namespace
}   // namespace ostrel::pictures
