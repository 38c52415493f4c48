#include "pdf/archival/ColourProfile.h"

#include <array>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <string_view>
#include <utility>
#include <vector>

namespace ostrel::pdf {
namespace {

void append(std::string& out, std::uint32_t value) {
    for (const int shift : {24, 16, 8, 0}) out += static_cast<char>(value >> shift & 0xFF);
}

void appendFixed(std::string& out, double value) {   // s15Fixed16Number
    append(out, static_cast<std::uint32_t>(std::lround(value * 65536)));
}

// A type's signature and four reserved bytes.
std::string element(std::string_view type) { return std::string(type) + std::string(4, '\0'); }

template <std::size_t count>
std::string numbers(std::string_view type, const std::array<double, count>& values) {
    auto data = element(type);
    for (const double value : values) appendFixed(data, value);
    return data;
}

// ASCII, in English.
std::string words(std::string_view text) {
    auto data = element("mluc");
    append(data, 1);    // record
    append(data, 12);   // bytes in it
    data += "enUS";
    append(data, static_cast<std::uint32_t>(2 * text.size()));
    append(data, 28);   // where the text begins
    for (const char c : text) data.append(1, '\0') += c;
    return data;
}

// The transfer function of sRGB as a parametric curve of type 3: gamma, a, b, c, d.
std::string curve() {
    auto data = element("para");
    append(data, 3 << 16);
    for (const double value : {2.4, 1 / 1.055, 0.055 / 1.055, 1 / 12.92, 0.04045}) appendFixed(data, value);
    return data;
}

// The primaries of sRGB with its white (D65: x 0.3127, y 0.3290) adapted to the white of all profiles (D50) by the
// Bradford matrix, and that adaptation itself (ICC.1:2010 annex E).
constexpr std::array<double, 3> white{0.9642, 1, 0.8249};
constexpr std::array<double, 3> red{0.43604, 0.22248, 0.01392};
constexpr std::array<double, 3> green{0.38511, 0.71691, 0.09707};
constexpr std::array<double, 3> blue{0.14305, 0.06061, 0.71391};
constexpr std::array<double, 9> adaptation{1.04789,  0.02292,  -0.05022, 0.02958, 0.99048,
                                           -0.01708, -0.00925, 0.01507,  0.75168};

std::string header(std::size_t size) {
    std::string data;
    append(data, static_cast<std::uint32_t>(size));
    append(data, 0);            // no preferred engine
    append(data, 0x04200000);   // version 4.2
    data += "mntrRGB XYZ ";
    for (const std::uint32_t word : {2000u << 16 | 1, 1u << 16, 0u}) append(data, word);   // a date that never changes
    data += "acsp";
    data.append(28, '\0');   // platform, flags, device, rendering intent: perceptual
    for (const double value : white) appendFixed(data, value);
    data.append(48, '\0');   // creator, checksum, reserved
    return data;
}

}   // namespace

// header | number of tags | for each tag: signature, offset, size | the tags' data
std::string sRGBProfile() {
    const std::vector<std::pair<std::string_view, std::string>> tags{
        {"desc", words("sRGB")},
        {"cprt", words("CC0")},
        {"wtpt", numbers("XYZ ", white)},
        {"chad", numbers("sf32", adaptation)},
        {"rXYZ", numbers("XYZ ", red)},
        {"gXYZ", numbers("XYZ ", green)},
        {"bXYZ", numbers("XYZ ", blue)},
        {"rTRC", curve()},
        {"gTRC", curve()},
        {"bTRC", curve()},
    };
    constexpr std::size_t headerBytes = 128, entryBytes = 12;
    const std::size_t begin = headerBytes + 4 + entryBytes * tags.size();
    std::string table, data;
    append(table, static_cast<std::uint32_t>(tags.size()));
    std::string_view before;
    std::size_t at = 0;
    for (const auto& [name, content] : tags) {
        if (content != before) {   // the three curves are one
            data.append((4 - data.size() % 4) % 4, '\0');
            at = data.size();
            data += content;
            before = content;
        }
        table += name;
        append(table, static_cast<std::uint32_t>(begin + at));
        append(table, static_cast<std::uint32_t>(content.size()));
    }
    data.append((4 - data.size() % 4) % 4, '\0');
    return header(begin + data.size()) + table + data;
}

}   // namespace ostrel::pdf
