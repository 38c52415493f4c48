#include "platform/Files.h"
#include "tests/platform/Surroundings.h"

#include <functional>

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

namespace ostrel::files {
namespace {

namespace fs = std::filesystem;

void put(const fs::path& path, std::string_view content = "x") {
    createFolders(path.parent_path());
    writeAtomically(path, bytesOf(content));
}

template <typename Call>
std::optional<FileError::Kind> failureOf(Call call) {
    try {
        call();
        return std::nullopt;
    } catch (const FileError& error) {
        return error.kind;
    }
}

std::vector<std::string> walked(const fs::path& folder, Hidden hidden, const std::string& skipped = {}) {
    std::vector<std::string> seen;
    walk(folder, hidden, [&](const Entry& entry) {
        EXPECT_EQ(entry.path.filename().native(), entry.name);
        seen.push_back(fs::path(entry.path).lexically_relative(folder).native() + (entry.isFolder ? "/" : ""));
        return entry.name == skipped ? Walk::skipFolder : Walk::on;
    });
    return seen;
}

TEST(Files, readsWholeAndInParts) {
    const ScratchFolder folder;
    std::string content;
    for (int i = 0; i < 40000; ++i) content += std::to_string(i) + '\n';
    put(folder / "big", content);
    EXPECT_EQ(readWhole(folder / "big").chars(), content);

    ReadHandle handle(folder / "big");
    std::string start(65536, ' '), read = "kept ";
    EXPECT_EQ(handle.read(start), start.size());
    EXPECT_EQ(start, content.substr(0, start.size()));
    handle.readToEnd(read);
    EXPECT_EQ(read, "kept " + content.substr(start.size())) << "the rest follows what was read";
    handle.readToEnd(read);
    EXPECT_EQ(read.size(), content.size() - start.size() + 5) << "at the end nothing more comes";
    std::string roomy(content.size() + 1000, ' ');
    EXPECT_EQ(ReadHandle(folder / "big").read(roomy), content.size());

    put(folder / "empty", "");
    EXPECT_TRUE(readWhole(folder / "empty").empty());
    EXPECT_EQ(size(folder / "empty"), 0u);
}

TEST(Files, readsFilesThatTellNoSize) { EXPECT_FALSE(readWhole("/proc/self/status").empty()); }

TEST(Files, refusesWhatIsNoFileWithoutWaiting) {
    const ScratchFolder folder;
    ASSERT_EQ(::mkfifo((folder / "1.emlx").c_str(), 0600), 0);
    put(folder / "file");
    ASSERT_EQ(::truncate((folder / "file").c_str(), off_t{1} << 40), 0);
    const struct {
        const char* why;
        fs::path path;
        FileError::Kind kind;
    } rows[] = {
        {"a pipe that nobody writes to", folder / "1.emlx", FileError::Kind::unreadable},
        {"a folder", folder.path(), FileError::Kind::unreadable},
        {"a device", "/dev/zero", FileError::Kind::unreadable},
        {"a hole of a terabyte", folder / "file", FileError::Kind::unreadable},
        {"nothing there", folder / "none", FileError::Kind::notFound},
        {"a file in the place of a folder", folder / "file/x", FileError::Kind::notFound},
        {"name too long", folder / std::string(300, 'n'), FileError::Kind::unreadable},
    };
    for (const auto& row : rows) EXPECT_EQ(failureOf([&] { readWhole(row.path); }), row.kind) << row.why;
}

TEST(Files, leavesAccessTimesAlone) {
    const ScratchFolder folder;
    put(folder / "1.emlx", "content");
    const timespec old[2] = {{.tv_sec = 1000, .tv_nsec = 0}, {.tv_sec = 2000, .tv_nsec = 5000}};
    ASSERT_EQ(::utimensat(AT_FDCWD, (folder / "1.emlx").c_str(), old, 0), 0);
    readWhole(folder / "1.emlx");
    struct stat status {};
    ASSERT_EQ(::stat((folder / "1.emlx").c_str(), &status), 0);
    EXPECT_EQ(status.st_atim.tv_sec, 1000);
    EXPECT_EQ(modificationDate(folder / "1.emlx"), Instant(std::chrono::microseconds(2000'000'005)));
    EXPECT_EQ(ReadHandle(folder / "1.emlx").modificationDate(), modificationDate(folder / "1.emlx"));
}

TEST(Files, walksInByteOrderAndNotThroughLinks) {
    const ScratchFolder folder;
    put(folder / "b/2");
    put(folder / "b/10");
    put(folder / "b/deep/er/3");
    put(folder / "B");
    put(folder / "ä/\xFFname");
    put(folder / ".hidden/4");
    fs::create_directory_symlink(folder.path(), folder / "loop");
    fs::create_directory_symlink("nowhere", folder / "broken");

    using Names = std::vector<std::string>;
    EXPECT_EQ(walked(folder.path(), Hidden::skip), (Names{"B", "b/", "b/10", "b/2", "b/deep/", "b/deep/er/",
                                                          "b/deep/er/3", "broken", "loop", "ä/", "ä/\xFFname"}));
    EXPECT_EQ(walked(folder.path(), Hidden::include, "b"),
              (Names{".hidden/", ".hidden/4", "B", "b/", "broken", "loop", "ä/", "ä/\xFFname"}));
    EXPECT_EQ(walked(folder / "loop/", Hidden::skip, "b").size(), 6u) << "the folder to walk itself may be a link";

    std::size_t visits = 0;
    walk(folder.path(), Hidden::skip, [&](const Entry&) { return ++visits == 3 ? Walk::stop : Walk::on; });
    EXPECT_EQ(visits, 3u);
    EXPECT_EQ(list(folder / "b"), (std::vector<fs::path>{"10", "2", "deep"}));
    EXPECT_EQ(failureOf([&] { walk(folder / "none", Hidden::skip, [](const Entry&) { return Walk::on; }); }),
              FileError::Kind::notFound);
}

TEST(Files, walksDeepFolders) {
    const ScratchFolder folder;
    fs::path deepest = folder.path();
    for (int i = 0; i < 200; ++i) deepest /= "d";
    createFolders(deepest);
    EXPECT_EQ(walked(folder.path(), Hidden::skip).size(), 200u);
}

TEST(Files, passesOverFoldersItMayNotList) {
    if (::geteuid() == 0) GTEST_SKIP() << "the superuser may list every folder";
    const ScratchFolder folder;
    put(folder / "a/1");
    put(folder / "b/2");
    fs::permissions(folder / "a", fs::perms::none);
    EXPECT_EQ(walked(folder.path(), Hidden::skip), (std::vector<std::string>{"a/", "b/", "b/2"}));
    EXPECT_EQ(failureOf([&] { list(folder / "a"); }), FileError::Kind::notPermitted);
    fs::permissions(folder / "a", fs::perms::owner_all);
}

TEST(Files, tellsRegularFilesFromTheRest) {
    const ScratchFolder folder;
    put(folder / "file");
    fs::create_symlink("file", folder / "link");
    fs::create_symlink("none", folder / "broken");
    const struct {
        const char* why;
        fs::path path;
        bool exists, isFolder, isRegularFile;
    } rows[] = {
        {"file", folder / "file", true, false, true},
        {"link to a file", folder / "link", true, false, false},
        {"link to nothing", folder / "broken", false, false, false},
        {"folder", folder.path(), true, true, false},
        {"nothing", folder / "none", false, false, false},
    };
    for (const auto& row : rows) {
        EXPECT_EQ(files::exists(row.path), row.exists) << row.why;
        EXPECT_EQ(isFolder(row.path), row.isFolder) << row.why;
        EXPECT_EQ(isRegularFile(row.path), row.isRegularFile) << row.why;
    }
    EXPECT_EQ(size(folder.path()), std::nullopt) << "a folder has no size to show";
}

TEST(Files, writesWholeFilesOrNone) {
    const ScratchFolder folder;
    const fs::path longest = folder / std::string(255, 'n');
    writeAtomically(longest, bytesOf("first"));
    writeAtomically(longest, bytesOf("second"));
    copyAtomically(longest, folder / "copy");
    EXPECT_EQ(readWhole(longest).chars(), "second") << "replaced, and a name of the greatest length is no obstacle";
    EXPECT_EQ(readWhole(folder / "copy").chars(), "second");

    createFolders(folder / "taken/by folder");
    createFolders(folder / "taken/by folder");   // existing is fine
    ASSERT_EQ(::mkfifo((folder / "pipe").c_str(), 0600), 0);
    const struct {
        const char* why;
        std::function<void()> call;
        FileError::Kind kind;
    } rows[] = {
        {"no such folder", [&] { writeAtomically(folder / "none/x", ByteView()); }, FileError::Kind::notFound},
        {"a folder has the name", [&] { writeAtomically(folder / "taken", bytesOf("x")); },
         FileError::Kind::unwritable},
        {"copy of nothing", [&] { copyAtomically(folder / "none", folder / "x"); }, FileError::Kind::notFound},
        {"copy of a pipe", [&] { copyAtomically(folder / "pipe", folder / "x"); }, FileError::Kind::unreadable},
        {"folder below a file", [&] { createFolders(folder / "copy/x"); }, FileError::Kind::unwritable},
        {"folder in no folder", [&] { createFolder(folder / "none/x"); }, FileError::Kind::notFound},
        {"folder again", [&] { createFolder(folder / "taken"); }, FileError::Kind::alreadyExists},
        {"name too long", [&] { writeAtomically(folder / std::string(256, 'n'), ByteView()); },
         FileError::Kind::unwritable},
    };
    for (const auto& row : rows) EXPECT_EQ(failureOf(row.call), row.kind) << row.why;
    EXPECT_EQ(list(folder.path()).size(), 4u) << "no temporary file is left behind";
}

TEST(Files, copiesMoreThanOneBufferAndNotThePermissions) {
    const ScratchFolder folder;
    const std::string content(3'000'001, 'c');
    put(folder / "from", content);
    fs::permissions(folder / "from", fs::perms::owner_read);
    copyAtomically(folder / "from", folder / "to");
    EXPECT_EQ(readWhole(folder / "to").chars(), content);
    EXPECT_NE(fs::status(folder / "to").permissions() & fs::perms::owner_write, fs::perms::none);
    copyAtomically("/proc/self/status", folder / "no size");
    EXPECT_GT(size(folder / "no size"), 0u) << "a file that tells no size is copied to its end";
}

TEST(Files, errorsAreSentences) {
    using enum std::errc;
    const struct {
        FileError error;
        std::string_view expected;
    } rows[] = {
        {FileError::reading("/m/\xFF.emlx", std::make_error_code(permission_denied)),
         "“/m/\uFFFD.emlx” can’t be read: Permission denied."},
        {FileError::reading("/m", std::make_error_code(no_such_file_or_directory)),
         "“/m” can’t be found: No such file or directory."},
        {FileError::writing("/e", std::make_error_code(read_only_file_system)),
         "“/e” can’t be saved: Read-only file system."},
        {FileError::writing("/e", std::make_error_code(no_space_on_device)),
         "“/e” can’t be saved because the disk is full: No space left on device."},
        {FileError::writing("/e", std::make_error_code(file_exists)), "“/e” already exists."},
        {FileError(FileError::Kind::unwritable, "/e", std::make_error_code(io_error)),
         "“/e” can’t be saved: Input/output error."},
    };
    for (const auto& row : rows) EXPECT_EQ(row.error.what(), row.expected);
    EXPECT_EQ(rows[2].error.kind, FileError::Kind::notPermitted);
    EXPECT_EQ(rows[3].error.kind, FileError::Kind::diskFull);
}

}   // namespace
}   // namespace ostrel::files
