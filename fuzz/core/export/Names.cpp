#include "core/export/CSVIndex.h"
#include "core/export/FileNamer.h"
#include "fuzz/Target.h"
#include "platform/Text.h"

#include <set>

namespace ostrel::fuzz {
namespace {

void name(const std::string& given, std::set<std::string>& seen) {
    isValidText(given, "a file name");
    holds(!given.empty() && given != "." && given != "..", "a file has a name");
    holds(given.size() <= 255, "disks take the name");
    holds(given.find_first_of(std::string_view("/\\:*?\"<>|\0\n\r\t", 13)) == std::string::npos,
          "disks take its characters");
    holds(seen.insert(text::lower(given)).second, "no name is given twice");
}

// Reads one record (RFC 4180) and moves behind it.
std::vector<std::string> record(std::string_view file, std::size_t& at) {
    std::vector<std::string> fields(1);
    bool isQuoted = false;
    for (; at < file.size(); ++at) {
        const char c = file[at];
        if (isQuoted) {
            if (c != '"')
                fields.back() += c;
            else if (at + 1 < file.size() && file[at + 1] == '"')
                fields.back() += file[++at];
            else
                isQuoted = false;
        } else if (c == '"') {
            isQuoted = true;
        } else if (c == ',') {
            fields.emplace_back();
        } else if (c == '\r' && at + 1 < file.size() && file[at + 1] == '\n') {
            at += 2;
            break;
        } else {
            fields.back() += c;
        }
    }
    return fields;
}

void index(const std::vector<std::string>& texts) {
    std::vector<CSVIndex::Row> rows;
    for (const std::string& text : texts)
        rows.push_back({text, text, text, text, text, text, 1, text, text, text, text, text});
    const std::string file = CSVIndex::data(rows, CSVIndex::defaultHeaders());
    std::size_t at = 3;   // behind the byte-order mark
    std::size_t count = 0;
    while (at < file.size()) {
        const std::vector<std::string> fields = record(file, at);
        holds(fields.size() == 12, "a row has twelve fields");
        if (count > 0) {
            const std::string& expected = texts[count - 1];
            holds(fields[4] == expected || fields[4] == "'" + expected, "a field comes back");
            const char first = fields[4].empty() ? 'x' : fields[4].front();
            holds(first != '=' && first != '@' && first != '\t' && first != '\r', "no field is a formula");
        }
        ++count;
    }
    holds(count == texts.size() + 1, "as many rows come back");
}

}   // namespace

// Each line is a text.
void run(ByteView input) {
    std::vector<std::string> texts;
    const std::string all = text::toValidUTF8(charsOf(input));
    for (std::size_t at = 0; at <= all.size() && texts.size() < 200;) {
        const std::size_t end = std::min(all.find('\n', at), all.size());
        texts.push_back(all.substr(at, end - at));
        at = end + 1;
    }

    FileNamer files, folders;
    std::set<std::string> seenFiles, seenFolders;
    const Calendar calendar = Calendar::utc();
    for (const std::string& text : texts) {
        const std::string base = FileNamer::messageBase(Instant{}, text, text, "(No subject)", calendar);
        holds(base.size() <= FileNamer::maxBytes, "a base name fits");
        name(files.unique(base, "pdf"), seenFiles);
        name(files.uniqueFileName(text), seenFiles);
        name(folders.unique(FileNamer::safe(text), ""), seenFolders);
        holds(FileNamer::truncate(text, 20).size() <= 20, "what is cut fits");
    }
    index(texts);
}

std::vector<std::string> seeds() {
    return {"Report.pdf\nReport.pdf\nreport.PDF\nReport (2).pdf", "../../etc/passwd\n.hidden\n-rf\nCON\nNUL.txt\n...",
            "Ünïcödé 😀👨‍👩‍👧‍👦 e\xCC\x81\xCC\x82\nسلام\u202Egpj.exe",
            "=SUM(A1)\n+1\n-1\n@x\n\"a\",b\n-3,5\n\tx\r\n'",
            std::string(400, 'a') + ".tar.gz\n" + std::string(400, '.') + "\nx." + std::string(300, 'y')};
}

}   // namespace ostrel::fuzz
