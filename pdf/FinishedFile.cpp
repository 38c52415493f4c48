#include "pdf/FinishedFile.h"

#include "pdf/content/Deflate.h"
#include "pdf/content/LateData.h"
#include "pdf/content/Streams.h"

#include <algorithm>
#include <cstdint>
#include <map>
#include <utility>

#include <qpdf/Pl_String.hh>
#include <qpdf/QPDF.hh>
#include <qpdf/QPDFWriter.hh>

namespace ostrel::pdf {
namespace {

using Entries = std::map<QPDFObjGen, QPDFXRefEntry>;

// A stream in the written text, to be given its data.
struct Opening {
    std::size_t length = 0, lengthEnd = 0;   // where its /Length stands
    std::size_t mark = 0;
    const LateData::Entry* data = nullptr;
    std::size_t end() const { return mark + data->mark.size(); }
};

// What libqpdf writes is found again by the places that it tells, and by how it ends dictionaries: /Length last. A
// version that does otherwise gets the data itself.
struct UnknownForm {};
[[noreturn]] void unknownForm() { throw UnknownForm(); }

Opening openingIn(std::string_view text, std::size_t object, const LateData::Entry& data, std::size_t next) {
    constexpr std::string_view stream = ">>\nstream\n", length = "/Length ";
    Opening found{0, 0, text.rfind(data.mark, next), &data};
    if (found.mark == text.npos || found.mark < object + stream.size() ||
        text.substr(found.mark - stream.size(), stream.size()) != stream)
        unknownForm();
    found.length = text.rfind(length, found.mark) + length.size();
    found.lengthEnd = text.find_first_not_of("0123456789", found.length);
    if (found.length < object ||
        text.substr(found.length, found.lengthEnd - found.length) != std::to_string(data.mark.size()))
        unknownForm();
    return found;
}

std::vector<Opening> openingsIn(std::string_view text, QPDFWriter& writer, const Entries& entries,
                                const LateData& late) {
    std::vector<std::size_t> places{text.size()};
    for (const auto& [id, entry] : entries)
        if (entry.getType() == 1) places.push_back(static_cast<std::size_t>(entry.getOffset()));
    std::ranges::sort(places);
    std::vector<Opening> openings;
    for (const auto& data : late.all()) {
        const auto entry = entries.find(writer.getRenumberedObjGen(data.stream.getObjGen()));
        if (entry == entries.end()) continue;   // nothing shows it any more
        const auto place = static_cast<std::size_t>(entry->second.getOffset());
        openings.push_back(openingIn(text, place, data, *std::ranges::upper_bound(places, place)));
    }
    std::ranges::sort(openings, {}, &Opening::mark);
    return openings;
}

// How far what stood at a place has moved.
class Moved {
public:
    void at(std::size_t place, std::size_t by) { steps_.emplace_back(place, by); }   // ascending
    std::size_t to(std::size_t place) const {
        const auto next = std::ranges::upper_bound(steps_, place, {}, [](const auto& step) { return step.first; });
        return next == steps_.begin() ? place : place + std::prev(next)->second;
    }

private:
    std::vector<std::pair<std::size_t, std::size_t>> steps_;
};

// The table of all objects (ISO 32000-1 §7.5.8.3), packed row by row as differences from the row above.
struct Table {
    std::size_t columns = 0, places = 0;   // bytes of a row, and of a place in it
    std::string packed;
};

Table tableOf(const Entries& entries, std::size_t count, const Moved& moved) {
    struct Row {
        std::uint64_t kind, place, index;
    };
    std::vector<Row> rows(count, Row{0, 0, 0});
    for (const auto& [id, entry] : entries) {
        if (id.getObj() < 0 || static_cast<std::size_t>(id.getObj()) >= count) unknownForm();
        rows[static_cast<std::size_t>(id.getObj())] =
            entry.getType() == 1 ? Row{1, moved.to(static_cast<std::size_t>(entry.getOffset())), 0}
                                 : Row{2, static_cast<std::uint64_t>(entry.getObjStreamNumber()),
                                       static_cast<std::uint64_t>(entry.getObjStreamIndex())};
    }
    const auto bytesFor = [&](std::uint64_t Row::*column) {
        const auto most = std::ranges::max(rows, {}, column).*column;
        std::size_t bytes = 1;
        while (bytes < 8 && most >> (8 * bytes)) ++bytes;
        return bytes;
    };
    const std::size_t places = bytesFor(&Row::place), indexes = bytesFor(&Row::index), columns = 1 + places + indexes;
    constexpr char up = 2;   // PNG 1.2 §6.4
    std::string plain, above(columns, '\0');
    for (const auto& row : rows) {
        std::string bytes;
        const auto add = [&](std::uint64_t value, std::size_t size) {
            while (size > 0) bytes += static_cast<char>(value >> (8 * --size));
        };
        add(row.kind, 1);
        add(row.place, places);
        add(row.index, indexes);
        plain += up;
        for (std::size_t i = 0; i < columns; ++i) plain += static_cast<char>(bytes[i] - above[i]);
        above = bytes;
    }
    return {columns, places, zlib::deflate(plain, zlib::Effort::good)};
}

// Replaces what stands between a key and the next such end.
void setValue(std::string& dictionary, std::string_view key, std::string_view end, const std::string& value) {
    const auto at = dictionary.find(key);
    const auto valueEnd = at == dictionary.npos ? at : dictionary.find(end, at + key.size());
    if (valueEnd == dictionary.npos) unknownForm();
    dictionary.replace(at + key.size(), valueEnd - at - key.size(), value);
}

// The same table object as the text has at its end, for what has moved.
std::string trailerOf(std::string_view text, std::size_t place, const Entries& entries, const Moved& moved) {
    const auto end = text.find("\nstream\n", place);
    if (end == text.npos) unknownForm();
    std::string object(text.substr(place, end - place));
    constexpr std::string_view count = " /Size ";
    const auto countAt = object.find(count);
    if (countAt == object.npos) unknownForm();
    const auto table = tableOf(entries, std::stoul(object.substr(countAt + count.size())), moved);
    const auto columns = std::to_string(table.columns), places = std::to_string(table.places);
    const auto indexes = std::to_string(table.columns - table.places - 1);
    setValue(object, " /Columns ", " ", columns);
    setValue(object, " /Length ", " ", std::to_string(table.packed.size()));
    setValue(object, " /W [ ", " ]", "1 " + places + " " + indexes);
    return object + "\nstream\n" + table.packed + "\nendstream\nendobj\n\nstartxref\n" +
           std::to_string(moved.to(place)) + "\n%%EOF\n";
}

std::size_t placeOfTable(std::string_view text) {
    constexpr std::string_view word = "startxref\n";
    const auto at = text.rfind(word);
    if (at == text.npos) unknownForm();
    return static_cast<std::size_t>(std::stoull(std::string(text.substr(at + word.size(), 20))));
}

}   // namespace

void FinishedFile::append(std::string_view bytes) {
    made_ += bytes;
    size_ += bytes.size();
}

void FinishedFile::refer(ByteView bytes) {
    constexpr std::size_t worthIt = 1 << 12;   // the system is called for each
    if (bytes.size() < worthIt) return append(charsOf(bytes));
    foreign_.push_back({made_.size(), bytes});
    size_ += bytes.size();
}

FinishedFile FinishedFile::of(QPDF& file, LateData& late) {
    std::size_t expected = 1 << 16;   // what is in no stream
    for (auto object : file.getAllObjects())
        if (object.isStream()) expected += storedSize(object);
    std::string text;
    text.reserve(expected);
    Pl_String output("finished", nullptr, text);
    QPDFWriter writer(file);
    writer.setOutputPipeline(&output);
    writer.setObjectStreamMode(qpdf_o_generate);
    writer.setDecodeLevel(qpdf_dl_none);   // streams are packed by then
    writer.setDeterministicID(true);
    writer.setNewlineBeforeEndstream(true);   // as PDF/A wants it
    writer.write();

    FinishedFile made;
    if (late.all().empty()) {
        made.size_ = text.size();
        made.made_ = std::move(text);
        return made;
    }
    try {
        made.join(text, writer, late);
        return made;
    } catch (const UnknownForm&) {
        late.settle();
        return of(file, late);
    }
}

// Makes the file of the text with the data in their places.
void FinishedFile::join(std::string_view text, QPDFWriter& writer, const LateData& late) {
    const auto entries = writer.getWrittenXRefTable();
    const auto table = placeOfTable(text);
    Moved moved;
    std::size_t done = 0;
    for (const auto& opening : openingsIn(text, writer, entries, late)) {
        append(text.substr(done, opening.length - done));
        append(std::to_string(opening.data->size));
        append(text.substr(opening.lengthEnd, opening.mark - opening.lengthEnd));
        for (const auto piece : opening.data->pieces) refer(piece);
        done = opening.end();
        moved.at(done, size_ - done);
    }
    append(text.substr(done, table - done));
    append(trailerOf(text, table, entries, moved));
}

std::vector<ByteView> FinishedFile::pieces() const {
    std::vector<ByteView> all;
    std::size_t done = 0;
    const auto made = bytesOf(made_);
    for (const auto& [before, bytes] : foreign_) {
        all.push_back(made.subspan(done, before - done));
        all.push_back(bytes);
        done = before;
    }
    all.push_back(made.subspan(done));
    return all;
}

std::string FinishedFile::whole() const {
    std::string bytes;
    bytes.reserve(size_);
    for (const auto piece : pieces()) bytes += charsOf(piece);
    return bytes;
}

}   // namespace ostrel::pdf
