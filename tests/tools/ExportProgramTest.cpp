#include "platform/Files.h"
#include "tests/tools/Program.h"

#include <algorithm>
#include <filesystem>
#include <map>
#include <string>
#include <vector>

#include <gtest/gtest.h>
#include <sys/inotify.h>
#include <sys/stat.h>
#include <unistd.h>

namespace ostrel {
namespace {

namespace fs = std::filesystem;

using Record = std::vector<std::string>;

// RFC 4180, byte-order mark passed over.
std::vector<Record> readCSV(const fs::path& file) {
    const Bytes bytes = files::readWhole(file);
    const std::string_view text = bytes.chars().substr(3);
    std::vector<Record> records;
    Record record;
    std::string field;
    bool quoted = false;
    for (std::size_t i = 0; i < text.size(); ++i) {
        const char c = text[i];
        if (quoted) {
            if (c != '"') {
                field += c;
            } else if (text.substr(i + 1, 1) == "\"") {
                field += text[++i];
            } else {
                quoted = false;
            }
        } else if (c == '"') {
            quoted = true;
        } else if (c == ',' || c == '\n') {
            record.push_back(std::move(field));
            field.clear();
            if (c == '\n') records.push_back(std::move(record));
            if (c == '\n') record.clear();
        } else if (c != '\r') {
            field += c;
        }
    }
    return records;
}

// What a reader must never change: access, modification and status times, sizes and modes of everything in the store.
std::map<std::string, std::vector<long long>> stateOf(const fs::path& store) {
    std::map<std::string, std::vector<long long>> state;
    for (const auto& entry : fs::recursive_directory_iterator(store)) {
        struct stat s {};
        lstat(entry.path().c_str(), &s);
        state[entry.path()] = {s.st_mtim.tv_sec,  s.st_mtim.tv_nsec, s.st_ctim.tv_sec,
                               s.st_ctim.tv_nsec, s.st_size,         s.st_mode};
    }
    return state;
}

// Returns when that many PDFs stand in the one folder below the destination; sleeps in the kernel until something
// appears.
void waitForPDFs(const fs::path& destination, std::size_t count) {
    const int events = inotify_init1(IN_CLOEXEC);
    inotify_add_watch(events, destination.c_str(), IN_CREATE);
    while (true) {
        std::size_t present = 0;
        for (const auto& folder : fs::directory_iterator(destination)) {
            inotify_add_watch(events, folder.path().c_str(), IN_CREATE | IN_MOVED_TO);
            for (const auto& entry : fs::directory_iterator(folder)) present += entry.path().extension() == ".pdf";
        }
        if (present >= count) break;
        alignas(inotify_event) char event[4096];
        if (read(events, event, sizeof event) <= 0) break;
    }
    close(events);
}

class ExportProgramTest : public testing::Test {
protected:
    ExportProgramTest() {
        std::string pattern = (fs::temp_directory_path() / "ostrel-programs-XXXXXX").string();
        home_ = mkdtemp(pattern.data());
        fs::create_directory(home_ / "out");
    }
    ~ExportProgramTest() override { fs::remove_all(home_); }

    std::string path(const std::string& name) const { return (home_ / name).string(); }

    void makeStore(const std::vector<std::string>& count = {}) const {
        std::vector<std::string> command = {SAMPLE_PROGRAM, path("Mail")};
        command.insert(command.end(), count.begin(), count.end());
        ASSERT_EQ(Program(command, home_).wait(), 0);
    }

    std::vector<std::string> exportCommand() const { return {EXPORT_PROGRAM, path("Mail"), path("out")}; }

    // The export folder, from the only line on standard output.
    static fs::path folderOf(const Program& program) {
        const std::string output = program.output();
        EXPECT_EQ(std::ranges::count(output, '\n'), 1) << output;
        return output.substr(0, output.find('\n'));
    }

    static void expectWholePDF(const fs::path& file) {
        const std::string pdf(files::readWhole(file).chars());
        EXPECT_TRUE(pdf.starts_with("%PDF-")) << file;
        EXPECT_NE(pdf.rfind("%%EOF"), pdf.npos) << file;
        EXPECT_GT(pdf.rfind("%%EOF") + 16, pdf.size()) << file;
    }

    // Every row that names a PDF has it, whole; every PDF has its row; nothing half-written lies about.
    static void expectTrueIndex(const fs::path& folder, const std::vector<Record>& index) {
        std::size_t named = 0, present = 0;
        for (const Record& row : index) {
            ASSERT_EQ(row.size(), 12U) << row.front();
            if (&row == &index.front() || row[7].empty()) continue;
            ++named;
            expectWholePDF(folder / row[7]);
            if (row[6] != "0") {
                EXPECT_EQ(std::to_string(files::list(folder / row[8]).size()), row[6]) << row[8];
            }
        }
        for (const fs::path& name : files::list(folder)) {
            EXPECT_FALSE(name.native().starts_with(".")) << name;
            present += name.extension() == ".pdf";
        }
        EXPECT_EQ(named, present);
    }

    fs::path home_;
};

TEST_F(ExportProgramTest, TheSampleExportsWholeAndStaysUntouched) {
    makeStore();
    const auto before = stateOf(home_ / "Mail");
    Program program(exportCommand(), home_);
    ASSERT_EQ(program.wait(), 0) << program.errors();
    EXPECT_EQ(stateOf(home_ / "Mail"), before);

    const fs::path folder = folderOf(program);
    const std::vector<Record> index = readCSV(folder / "index.csv");
    expectTrueIndex(folder, index);
    EXPECT_NE(program.errors().find("Damaged files skipped: 1"), std::string::npos) << program.errors();

    std::map<std::string, int> subjects;
    for (const Record& row : index) {
        ++subjects[row[4]];
        if (row[4] == "Survey of the slope") {
            EXPECT_EQ(row[6], "2") << "stored attachments are saved";
        }
        if (row[4] == "The film of the harvest") {
            EXPECT_EQ(row[11], "Attachments: not downloaded by Mail");
        }
    }
    EXPECT_EQ(subjects["Handbook, third edition"], 1) << "the duplicate is left out";
    EXPECT_EQ(subjects["'=2+2 reasons to come tonight"], 1);
    EXPECT_EQ(subjects["京都旅行の予定について"], 1);
    EXPECT_EQ(subjects["Tide tables for April"], 1) << "a cut-short message is exported";
}

TEST_F(ExportProgramTest, AnInterruptFinishesTheMessageAndWritesTheIndex) {
    makeStore({"400"});
    Program program(exportCommand(), home_);
    waitForPDFs(home_ / "out", 3);   // the run is under way, and far from its end
    program.signal(SIGINT);
    EXPECT_EQ(program.wait(), 1);
    const fs::path folder = folderOf(program);
    const std::vector<Record> index = readCSV(folder / "index.csv");
    expectTrueIndex(folder, index);
    EXPECT_GE(index.size(), 4U);
    EXPECT_LT(index.size(), 300U);
    EXPECT_NE(program.errors().find("Cancelled"), std::string::npos);
}

TEST_F(ExportProgramTest, AnEngineCrashCostsOneMessage) {
    makeStore({"60"});
    Program program(exportCommand(), home_);
    waitForPDFs(home_ / "out", 2);
    const std::vector<pid_t> engines = program.descendants("WebKitWebProces");
    ASSERT_FALSE(engines.empty());
    for (const pid_t engine : engines) kill(engine, SIGKILL);
    program.wait();
    const fs::path folder = folderOf(program);
    const std::vector<Record> index = readCSV(folder / "index.csv");
    expectTrueIndex(folder, index);
    const auto failed = std::ranges::count(index, "Couldn’t be read", [](const Record& row) { return row[11]; });
    EXPECT_LE(failed, 1) << program.errors();
    EXPECT_GT(index.size(), 50U);
}

TEST_F(ExportProgramTest, WhatAKilledRunLeavesIsWholeAndAnUpdateGoesOnWithIt) {
    makeStore({"60"});
    Program undisturbed(exportCommand(), home_);
    EXPECT_EQ(undisturbed.wait(), 0) << undisturbed.errors();
    const fs::path whole = folderOf(undisturbed);
    fs::rename(whole, home_ / "whole");
    for (const std::size_t written : {1, 7, 20}) {
        Program program(exportCommand(), home_);
        waitForPDFs(home_ / "out", written);
        program.signal(SIGKILL);
        EXPECT_EQ(program.wait(), -SIGKILL);
        for (const auto& entry : fs::recursive_directory_iterator(home_ / "out")) {
            if (entry.path().extension() == ".pdf") expectWholePDF(entry.path());
        }
        const fs::path folder = fs::directory_iterator(home_ / "out")->path();
        EXPECT_EQ(Program({VERIFY_PROGRAM, folder}, home_).wait(), 1) << "unfinished";
        for (int time = 0; time < 2; ++time) {
            Program update({EXPORT_PROGRAM, "--update", path("Mail"), folder}, home_);
            EXPECT_EQ(update.wait(), 0) << update.errors();
            EXPECT_EQ(update.output(), folder.native() + "\n");
        }
        EXPECT_EQ(Program({"/usr/bin/diff", "-r", path("whole"), folder}, home_).wait(), 0);
        fs::remove_all(folder);
    }
}

TEST_F(ExportProgramTest, AnArchiveProvesThatItIsWholeWithAndWithoutUs) {
    makeStore();
    Program program(exportCommand(), home_);
    ASSERT_EQ(program.wait(), 0) << program.errors();
    const fs::path folder = folderOf(program);
    const auto sumsCheck = [&] {
        return Program({"/bin/sh", "-c", "cd \"$0\" && sha256sum --check --quiet SHA256SUMS", folder}, home_).wait();
    };
    EXPECT_EQ(sumsCheck(), 0);
    Program whole({VERIFY_PROGRAM, folder}, home_);
    EXPECT_EQ(whole.wait(), 0) << whole.errors();
    EXPECT_EQ(whole.output(), "");

    files::writeAtomically(folder / "index.csv", bytesOf("changed"));
    files::writeAtomically(folder / "note\n.txt", bytesOf("somebody's"));
    EXPECT_NE(sumsCheck(), 0);
    Program damaged({VERIFY_PROGRAM, folder}, home_);
    EXPECT_EQ(damaged.wait(), 1);
    EXPECT_EQ(damaged.output(), "changed: index.csv\nstrange: note .txt\n");
    Program none({VERIFY_PROGRAM, path("Mail")}, home_);
    EXPECT_EQ(none.wait(), 2);
    EXPECT_EQ(std::ranges::count(none.errors(), '\n'), 1) << none.errors();
}

TEST_F(ExportProgramTest, TheLossOfItsDisplayEndsTheRunWithAnIndex) {
    makeStore({"400"});
    std::vector<std::string> command = {"/usr/bin/env", "-u", "DISPLAY", "-u", "WAYLAND_DISPLAY"};
    for (const std::string& word : exportCommand()) command.push_back(word);
    Program program(command, home_);
    waitForPDFs(home_ / "out", 2);
    for (const pid_t server : program.descendants("Xvfb")) kill(server, SIGKILL);
    EXPECT_EQ(program.wait(), 1);
    EXPECT_NE(program.errors().find("The display was lost"), std::string::npos) << program.errors();
    const fs::path folder = folderOf(program);
    const std::vector<Record> index = readCSV(folder / "index.csv");
    expectTrueIndex(folder, index);
    EXPECT_GE(index.size(), 3U);
}

TEST_F(ExportProgramTest, WhatCannotRunSaysWhyInOneSentence) {
    makeStore({"1"});
    files::writeAtomically(home_ / "file", bytesOf("not a folder"));
    const struct {
        const char* why;
        std::vector<std::string> command;
        std::string expected;
    } rows[] = {
        {"no arguments", {EXPORT_PROGRAM}, "usage: "},
        {"no export to update", {EXPORT_PROGRAM, "--update", path("Mail"), path("none")}, path("none")},
        {"not an export", {EXPORT_PROGRAM, "--update", path("Mail"), path("Mail")}, path("Mail")},
        {"one argument too many", {EXPORT_PROGRAM, path("Mail"), path("out"), "x"}, "usage: "},
        {"no such mail folder", {EXPORT_PROGRAM, path("none"), path("out")}, path("none")},
        {"the mail folder is a file", {EXPORT_PROGRAM, path("file"), path("out")}, path("file")},
        {"the destination is a file", {EXPORT_PROGRAM, path("Mail"), path("file")}, path("file")},
        {"the destination is the mail folder", {EXPORT_PROGRAM, path("Mail"), path("Mail/new")}, path("Mail”")},
    };
    for (const auto& row : rows) {
        Program program(row.command, home_);
        EXPECT_EQ(program.wait(), 2) << row.why;
        EXPECT_EQ(program.output(), "") << row.why;
        // Where the system allows the engine no sandbox, a line says that first.
        std::string errors = program.errors();
        if (errors.starts_with("The web engine runs without")) errors.erase(0, errors.find('\n') + 1);
        EXPECT_NE(errors.find(row.expected), std::string::npos) << row.why << ": " << errors;
        EXPECT_EQ(std::ranges::count(errors, '\n'), 1) << row.why << ": " << errors;
    }
}

TEST_F(ExportProgramTest, WithoutItsIndexTheRunHasFailedButTellsWhatBecameOfTheMessages) {
    makeStore({"60"});
    Program program(exportCommand(), home_);
    waitForPDFs(home_ / "out", 2);
    for (const auto& folder : fs::directory_iterator(home_ / "out")) fs::create_directory(folder.path() / "index.csv");
    fs::remove_all(home_ / "Mail");
    EXPECT_EQ(program.wait(), 2);
    const std::string errors = program.errors();
    EXPECT_NE(errors.find("Failed: "), std::string::npos) << errors;
    const std::size_t lastLine = errors.rfind('\n', errors.size() - 2) + 1;
    EXPECT_NE(errors.find("index.csv", lastLine), std::string::npos) << errors;
}

TEST_F(ExportProgramTest, AHomeThatCannotBeWrittenDoesNotMatter) {
    makeStore({"3"});
    // A file in the place of a home, and folders of another user's, which even root cannot write.
    std::vector<std::string> command = {"/usr/bin/env",
                                        "HOME=/proc/version",
                                        "XDG_CONFIG_HOME=/proc/none",
                                        "XDG_RUNTIME_DIR=/proc/none",
                                        "XDG_CACHE_HOME=/proc/none",
                                        "XDG_DATA_HOME=/proc/none"};
    for (const std::string& argument : exportCommand()) command.push_back(argument);
    Program program(command, home_);
    EXPECT_EQ(program.wait(), 0) << program.errors();
    EXPECT_EQ(readCSV(folderOf(program) / "index.csv").size(), 4U);
}

TEST_F(ExportProgramTest, TheSameArgumentsGiveTheSameSample) {
    makeStore({"50"});
    ASSERT_EQ(Program({SAMPLE_PROGRAM, path("Again"), "50"}, home_).wait(), 0);
    std::size_t compared = 0;
    files::walk(home_ / "Mail", files::Hidden::include, [&](const files::Entry& entry) {
        const fs::path twin = home_ / "Again" / fs::path(entry.path).lexically_relative(home_ / "Mail");
        if (!entry.isFolder) {
            EXPECT_EQ(files::readWhole(entry.path), files::readWhole(twin)) << entry.path.native();
            ++compared;
        }
        return files::Walk::on;
    });
    EXPECT_GE(compared, 51U);
}

}   // namespace
}   // namespace ostrel
