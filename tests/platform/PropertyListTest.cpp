#include "platform/PropertyListReaders.h"

#include <cmath>
#include <limits>

#include <gtest/gtest.h>

namespace ostrel {
namespace {

using namespace std::string_literals;

std::optional<PropertyList> parsed(const std::string& bytes) { return propertyList::parse(bytesOf(bytes)); }

std::string xml(const std::string& body) {
    return "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<!DOCTYPE plist PUBLIC \"-//Apple//DTD PLIST 1.0//EN\" "
           "\"http://www.apple.com/DTDs/PropertyList-1.0.dtd\">\n<plist version=\"1.0\">\n" +
           body + "</plist>\n";
}
std::string dictionary(const std::string& entries) { return xml("<dict>\n" + entries + "</dict>\n"); }

std::string repeated(const std::string& s, int times) {
    std::string out;
    for (int i = 0; i < times; ++i) out += s;
    return out;
}

TEST(PropertyList, readsWhatMailWrites) {
    const auto list =
        parsed(dictionary("\t<key>date-received</key>\n\t<real>1710000000.5</real>\n"
                          "\t<key>flags</key>\n\t<integer>-8590195713</integer>\n"
                          "\t<key>remote-id</key>\n\t<string>42 &amp; é</string>\n"
                          "\t<key>color</key><true/>\n"
                          "\t<key>nested</key><dict><key>flags</key><integer>1</integer></dict>\n"
                          "\t<key>data</key><data>AAAA</data>\n"));
    ASSERT_TRUE(list);
    EXPECT_EQ(list->entries, (std::map<std::string, PropertyList::Value>{{"date-received", 1710000000.5},
                                                                         {"flags", std::int64_t{-8590195713}},
                                                                         {"remote-id", "42 & é"s},
                                                                         {"color", true}}));
    EXPECT_EQ(list->number("date-received"), 1710000000.5);
    EXPECT_EQ(list->integer("date-received"), 1710000000) << "a number by its other reading";
    EXPECT_EQ(list->number("flags"), -8590195713.0);
    EXPECT_EQ(list->number("remote-id"), std::nullopt) << "a string is no number";
    EXPECT_EQ(list->integer("color"), std::nullopt) << "nor is a boolean";
    EXPECT_EQ(list->number("none"), std::nullopt);
}

TEST(PropertyList, readsEverySpellingOfAValue) {
    const struct {
        const char* why;
        std::string element;
        std::optional<PropertyList::Value> value;
    } rows[] = {
        {"blanks around a number", "<integer> 12\n</integer>", std::int64_t{12}},
        {"plus sign", "<integer>+12</integer>", std::int64_t{12}},
        {"hexadecimal", "<integer>0x1F</integer>", std::int64_t{31}},
        {"past 64 bits: only this entry is lost", "<integer>99999999999999999999</integer>", {}},
        {"exponent", "<real>-1.5e3</real>", -1500.0},
        {"boolean with an end tag", "<true></true>", true},
        {"false", "<false/>", false},
        {"entities", "<string>&lt;&#233;&#x1F600;&quot;</string>", "<é😀\""s},
        {"literal section and comment", "<string>a<![CDATA[<&]]><!-- </string> -->b</string>", "a<&b"s},
        {"empty", "<string/>", ""s},
        {"NUL", "<string>a\0b</string>"s, "a\0b"s},
        {"date", "<date>2024-03-05T09:07:42Z</date>", {}},
        {"attribute", "<integer x=\"1\">5</integer>", std::int64_t{5}},
    };
    for (const auto& row : rows) {
        const auto list = parsed(dictionary("<key>v</key>" + row.element + "<key>last</key><true/>"));
        ASSERT_TRUE(list && list->entries.contains("last")) << row.why;
        const auto found = list->entries.find("v");
        EXPECT_EQ(found == list->entries.end() ? std::nullopt : std::optional(found->second), row.value) << row.why;
    }
}

TEST(PropertyList, integersHaveSixtyFourBits) {
    PropertyList list;
    list.entries = {{"max", 9.3e18}, {"nan", std::nan("")}, {"min", -9223372036854775808.0}};
    EXPECT_EQ(list.integer("max"), std::nullopt);
    EXPECT_EQ(list.integer("nan"), std::nullopt);
    EXPECT_EQ(list.integer("min"), std::numeric_limits<std::int64_t>::min());
}

TEST(PropertyList, refusesDamageAndHostility) {
    const std::string entry = "<key>a</key><integer>1</integer>";
    const struct {
        const char* why;
        std::string bytes;
        bool isRead;
    } rows[] = {
        {"byte-order mark", "\xEF\xBB\xBF" + dictionary(entry), true},
        {"line breaks behind", dictionary(entry) + "\r\n\n", true},
        {"nothing", "", false},
        {"no list", "\n\nSome text", false},
        {"cut short", dictionary(entry).substr(0, 200), false},
        {"array on top", xml("<array><integer>1</integer></array>"), false},
        {"string on top", xml("<string>a</string>"), false},
        {"key without value", dictionary("<key>a</key>"), false},
        {"value without key", dictionary("<integer>1</integer>"), false},
        {"text between entries", dictionary(entry + "x"), false},
        {"without the plist element", "<dict>" + entry + "</dict>", true},
        {"empty dictionary", xml("<dict/>"), true},
        {"comments and instructions between", "<!-- a --><?b?>" + dictionary("<!-- <dict> -->" + entry + "<!---->"),
         true},
        {"unknown entity", dictionary("<key>a</key><string>&lol;</string>"), false},
        {"entity without an end", dictionary("<key>a</key><string>&amp</string>"), false},
        {"character that is none", dictionary("<key>a</key><string>&#0;</string>"), false},
        {"character past the last", dictionary("<key>a</key><string>&#x110000;</string>"), false},
        {"defined entities", "<!DOCTYPE plist [<!ENTITY lol \"lol\">]>" + dictionary(entry), false},
        {"number that is none", dictionary("<key>a</key><integer>12x</integer>"), false},
        {"no number", dictionary("<key>a</key><real/>"), false},
        {"element in a string", dictionary("<key>a</key><string><b>x</b></string>"), false},
        {"elements crossed", dictionary("<key>a</key><dict><array></dict></array>"), false},
        {"so deep that a stack would end",
         dictionary("<key>a</key>" + repeated("<array>", 60000) + repeated("</array>", 60000)), true},
        {"never closed", "<plist>" + repeated("<dict><key>a</key>", 50000), false},
        {"too large", dictionary("<key>a</key><string>" + std::string(propertyList::sizeLimitBytes, 'x') + "</string>"),
         false},
        {"invalid UTF-8 is repaired", dictionary("<key>a</key><string>\xFF</string>"), true},
        {"comment without an end", "<!--" + dictionary(entry), false},
        {"tag without an end", "<plist><dict", false},
    };
    for (const auto& row : rows) EXPECT_EQ(parsed(row.bytes).has_value(), row.isRead) << row.why;
}

// ---- Binary ----

std::string bigEndian(std::uint64_t value, int width) {
    std::string out;
    for (int shift = 8 * (width - 1); shift >= 0; shift -= 8) out += static_cast<char>(value >> shift);
    return out;
}

// A list of the given objects, the last of which is the top one, with one-byte references and two-byte offsets.
std::string binary(const std::vector<std::string>& objects) {
    std::string out = "bplist00", table;
    for (const std::string& object : objects) {
        table += bigEndian(out.size(), 2);
        out += object;
    }
    const std::size_t start = out.size();
    return out + table + std::string(6, '\0') + "\x02\x01" + bigEndian(objects.size(), 8) +
           bigEndian(objects.size() - 1, 8) + bigEndian(start, 8);
}

const std::vector<std::string> goodObjects = {
    "\x51"
    "a",
    "\x51"
    "b",
    "\x51"
    "c",
    "\x51"
    "d",
    "\x51"
    "e",
    "\x11\x01\x00"s,                           // 256
    "\x13\xFF\xFF\xFF\xFF\xFF\xFF\xFF\xFE",    // -2
    "\x23\x3F\xF8\x00\x00\x00\x00\x00\x00"s,   // 1.5
    "\x62\x00\xE9\xD8\x3D"s,                   // é and half a pair
    "\xD1\x00\x05"s,                           // a dictionary
    "\xD5\x00\x01\x02\x03\x04\x05\x06\x07\x08\x09"s,
};

TEST(BinaryPropertyList, readsTheScalarsOfItsTop) {
    const auto list = parsed(binary(goodObjects));
    ASSERT_TRUE(list);
    EXPECT_EQ(list->entries, (std::map<std::string, PropertyList::Value>{
                                 {"a", std::int64_t{256}}, {"b", std::int64_t{-2}}, {"c", 1.5}, {"d", "é\uFFFD"s}}));
}

TEST(BinaryPropertyList, refusesWhatPointsOutside) {
    const struct {
        const char* why;
        std::vector<std::string> objects;
        bool isRead;
    } rows[] = {
        {"dictionary that holds itself",
         {"\x51"
          "a",
          "\xD1\x00\x01"s},
         true},
        {"value past the objects",
         {"\x51"
          "a",
          "\xD1\x00\x07"s},
         false},
        {"key that is a number", {"\x10\x01", "\xD1\x00\x00"s}, false},
        {"more entries than bytes",
         {"\x51"
          "a",
          "\xDF\x13\x7F\xFF\xFF\xFF\xFF\xFF\xFF\xFF"},
         false},
        {"count that is no number",
         {"\x51"
          "a",
          "\xDF\x51"
          "a"},
         false},
        {"string longer than the list",
         {"\x5F\x12\x7F\xFF\xFF\xFF"
          "a",
          "\xD1\x00\x00"s},
         false},
        {"UTF-16 length that would wrap",
         {"\x6F\x13\x80\x00\x00\x00\x00\x00\x00\x01"
          "ab"s,
          "\xD1\x00\x00"s},
         false},
        {"array on top", {"\xA0"}, false},
    };
    for (const auto& row : rows) EXPECT_EQ(parsed(binary(row.objects)).has_value(), row.isRead) << row.why;

    const std::string good = binary(goodObjects);
    for (std::size_t length = 0; length < good.size(); ++length) parsed(good.substr(0, length));
    for (std::size_t i = 8; i < good.size(); ++i)
        for (const char bad : {'\0', '\x7F', '\xFF'}) {
            std::string damaged = good;
            damaged[i] = bad;
            parsed(damaged);   // the sanitizers tell
        }
}

TEST(BinaryPropertyList, copiesNoStringAgainAndAgain) {
    // Two hundred keys that are one long string: more text than the list has bytes.
    std::vector<std::string> objects = {"\x5F\x11\x40\x00"s + std::string(0x4000, 'k'), "\x09"};
    objects.push_back("\xDF\x10\xC8" + std::string(200, '\0') + std::string(200, '\x01'));
    EXPECT_FALSE(parsed(binary(objects)));
}

}   // namespace
}   // namespace ostrel
