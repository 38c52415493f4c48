#include "platform/Files.h"
#include "sample/EmlBuilder.h"
#include "sample/SampleMail.h"
#include "tests/platform/Surroundings.h"
#include "tests/promises/Promises.h"
#include "tests/promises/Trace.h"
#include "tests/render/LoopbackServer.h"
#include "tests/render/TemptingPage.h"

#include <algorithm>
#include <chrono>
#include <csignal>
#include <filesystem>
#include <functional>
#include <map>
#include <string>
#include <vector>

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

namespace ostrel {
namespace {

namespace fs = std::filesystem;
using Command = std::vector<std::string>;

Command operator+(Command first, const Command& second) {
    first.insert(first.end(), second.begin(), second.end());
    return first;
}

// A store that nobody may touch, with mail that calls a server of ours, and surroundings that lead there as well.
class PromisesTest : public testing::Test {
protected:
    PromisesTest() {
        SampleMail::write(store());
        fs::create_directory(scratch_ / "out");
        const fs::path mailbox = fs::path(messages().front()).parent_path();
        EmlBuilder mail;
        mail.header("From", "Shop <shop@example.com>").header("Subject", "Come and look").html(temptingPage(port()));
        mail.header("Disposition-Notification-To", "shop@example.com");
        files::writeAtomically(mailbox / "900001.emlx", bytesOf(mail.emlx(Instant{})));
    }

    fs::path store() const { return scratch_ / "Mail"; }
    std::string port() const { return server_.port(); }

    std::vector<std::string> messages() const {
        std::vector<std::string> paths;
        files::walk(store(), files::Hidden::include, [&](const files::Entry& entry) {
            if (entry.name.ends_with(".emlx")) paths.push_back(fs::path(entry.path));
            return files::Walk::on;
        });
        return paths;
    }

    // As the window finds its mail.
    void writeSettings() const {
        files::createFolders(scratch_ / "config/ostrel");
        const std::string settings =
            R"({"onboardingDone":true,"paper":"a4","includeAttachments":true,"includeIndex":true,)"
            R"("skipDuplicates":true,"mailFolder":")" +
            store().native() + "\"}";
        files::writeAtomically(scratch_ / "config/ostrel/settings.json", bytesOf(settings));
    }

    // Proxies and a print server to be tempted by, and no display but a private one.
    Command surroundings() const {
        const std::string host = "127.0.0.1:" + port();
        Command command = {"/usr/bin/env", "-u", "DISPLAY", "-u", "WAYLAND_DISPLAY", "CUPS_SERVER=" + host};
        for (const char* variable :
             {"http_proxy", "https_proxy", "ftp_proxy", "all_proxy", "HTTP_PROXY", "ALL_PROXY"}) {
            command.push_back(std::string(variable) + "=http://" + host);
        }
        return command;
    }
    Command exportCommand() const { return surroundings() + Command{EXPORT_PROGRAM, store(), scratch_ / "out"}; }

    // Everything that lstat(2) tells of everything in the store. Read before and after, without listing a folder in
    // between: that would set its access time.
    using State = std::map<std::string, std::vector<long long>>;
    State stateOf(const std::vector<std::string>& paths) const {
        State state;
        for (const std::string& path : paths) {
            struct stat s {};
            lstat(path.c_str(), &s);
            state[path] = {s.st_mode,        s.st_uid,          s.st_size,        s.st_atim.tv_sec, s.st_atim.tv_nsec,
                           s.st_mtim.tv_sec, s.st_mtim.tv_nsec, s.st_ctim.tv_sec, s.st_ctim.tv_nsec};
        }
        return state;
    }
    std::vector<std::string> everything() const {
        std::vector<std::string> paths = {store()};
        for (const auto& entry : fs::recursive_directory_iterator(store())) paths.push_back(entry.path());
        std::ranges::sort(paths);
        return paths;
    }
    // So long ago that the next ordinary read would set it, also on a disk mounted with relatime.
    static void makeAccessTimesOld(const std::vector<std::string>& paths) {
        for (const std::string& path : paths) {
            const timespec times[] = {{.tv_sec = 86400, .tv_nsec = 0}, {.tv_sec = 0, .tv_nsec = UTIME_OMIT}};
            utimensat(AT_FDCWD, path.c_str(), times, AT_SYMLINK_NOFOLLOW);
        }
    }

    // Runs the command under the tracer and says what it did against the promises. The programs named must have run.
    void expectKept(
        const std::string& why, const Command& command, const std::vector<std::string>& programs,
        const std::vector<std::string>& alsoAllowed = {},
        const std::function<void(Trace&)>& meanwhile = [](Trace&) {}) {
        const std::vector<std::string> paths = everything();
        makeAccessTimesOld(paths);
        const State before = stateOf(paths);
        Trace trace(command, scratch_.path());
        meanwhile(trace);
        EXPECT_EQ(trace.program().wait(), 0) << why << ": " << trace.program().errors();
        EXPECT_EQ(stateOf(paths), before) << why;
        EXPECT_EQ(everything(), paths) << why;
        EXPECT_EQ(server_.connections(), 0) << why;

        std::size_t read = 0;
        std::vector<std::string> missing = programs;
        for (const std::string& call : trace.calls()) {
            EXPECT_EQ(promises::breachOfReading(call, store().native()), "") << why;
            EXPECT_EQ(promises::breachOfSilence(call, alsoAllowed), "") << why;
            read += call.starts_with("openat(") && call.ends_with(".emlx>");
            std::erase_if(missing, [&](const std::string& program) {
                return call.starts_with("execve(\"") && call.substr(0, call.find("\",")).ends_with(program);
            });
        }
        EXPECT_GE(read, messages().size()) << why << ": the tracer saw too little";
        EXPECT_EQ(missing, std::vector<std::string>()) << why << ": the tracer did not see these";
    }

    ScratchFolder scratch_;
    LoopbackServer server_;
};

constexpr const char* noTracer = "This system lets nobody watch a process.";

TEST_F(PromisesTest, AnExportOnlyReadsTheStoreAndCallsNobody) {
    if (!Trace::isPossible(scratch_.path())) GTEST_SKIP() << noTracer;
    expectKept("export", exportCommand(), {"ostrel-export", "Xvfb", "WebKitNetworkProcess", "WebKitWebProcess"});
}

TEST_F(PromisesTest, AnInspectionOnlyReadsTheStoreAndCallsNobody) {
    if (!Trace::isPossible(scratch_.path())) GTEST_SKIP() << noTracer;
    expectKept("scan", surroundings() + Command{INSPECT_PROGRAM, "index", store()}, {"ostrel-inspect"});
    expectKept("read", surroundings() + Command{INSPECT_PROGRAM, "message"} + messages(), {"ostrel-inspect"});
    // One of the sample's files is damaged: no page.
    const Command each = {"/bin/sh", "-c", R"(for file; do "$0" page "$file"; done; true)", INSPECT_PROGRAM};
    expectKept("page", surroundings() + each + messages(), {"ostrel-inspect"});
}

#ifdef APPLICATION_PROGRAM
// Ends the program when the engine runs and the message that calls out has been read three times more: shown twice,
// at least.
void endOnceShown(Trace& trace) {
    const auto count = [&](std::string_view begin, std::string_view end) {
        return std::ranges::count_if(trace.calls(), [&](const std::string& call) {
            return call.starts_with(begin) && call.substr(0, call.find("\",")).ends_with(end);
        });
    };
    const auto timesRead = [&] { return count("openat(", "900001.emlx"); };
    const auto giveUp = std::chrono::steady_clock::now() + std::chrono::seconds(120);
    const auto waitUntil = [&](const auto& isSo) {
        while (!isSo() && std::chrono::steady_clock::now() < giveUp) {
        }
        EXPECT_TRUE(isSo()) << "the message was not shown";
    };
    waitUntil([&] { return count("execve(", "WebKitWebProcess") > 0; });
    const auto before = timesRead();
    waitUntil([&] { return timesRead() >= before + 3; });
    for (const pid_t program : trace.program().descendants("ostrel")) kill(program, SIGINT);
}

TEST_F(PromisesTest, TheWindowOnlyReadsTheStoreAndCallsNobody) {
    if (!Trace::isPossible(scratch_.path())) GTEST_SKIP() << noTracer;
    writeSettings();
    // The session's bus and the one for screen readers; the system's, which may tell of power and networks.
    expectKept("window", surroundings() + Command{SESSION, APPLICATION_PROGRAM},
               {"ostrel", "WebKitNetworkProcess", "WebKitWebProcess"},
               {"/tmp/dbus-", "/at-spi", "/dbus/system_bus_socket"}, endOnceShown);
}
#endif

// Also where nobody can be watched: where nothing can be written, an export is whole all the same.
TEST_F(PromisesTest, AnExportOfAStoreMountedReadOnlyIsWhole) {
    Command inPrivate = {"/usr/bin/unshare", "--mount"};
    if (geteuid() != 0) inPrivate.push_back("--map-root-user");
    inPrivate =
        inPrivate +
        Command{"/bin/sh", "-c",
                R"(mount --bind "$0" "$0" && mount -o remount,bind,ro "$0" && ! touch "$0/written" 2>&- && "$@")",
                store()};
    if (Program(inPrivate + Command{"/bin/true"}, scratch_.path()).wait() != 0)
        GTEST_SKIP() << "This system lets us mount nothing.";
    Program program(inPrivate + exportCommand(), scratch_.path());
    EXPECT_EQ(program.wait(), 0) << program.errors();
    EXPECT_NE(program.errors().find("Exported 37 of 37 messages"), std::string::npos) << program.errors();
    EXPECT_EQ(server_.connections(), 0);
}

// Whatever code runs in these programs and in what they start: the kernel lets none of it call anybody.
TEST_F(PromisesTest, CodePlantedInAProgramCallsNobody) {
    const fs::path mark = scratch_ / "mark";
    const Command planted = {"/usr/bin/env", std::string("LD_PRELOAD=") + PLANTED_CODE, "PLANTED_PORT=" + port(),
                             "PLANTED_MARK=" + mark.native()};
    const auto run = [&](const Command& command, const std::function<void(const Program&)>& meanwhile) {
        fs::remove(mark);
        Program program(command, scratch_.path());
        meanwhile(program);
        EXPECT_EQ(program.wait(), 0) << program.errors();
        EXPECT_TRUE(fs::exists(mark)) << "the planted code did not run";
    };
    const auto nothing = [](const Program&) {};
    run(planted + Command{EXPORT_PROGRAM, store(), scratch_ / "out"}, nothing);
    run(planted + Command{INSPECT_PROGRAM, "index", store()}, nothing);
#ifdef APPLICATION_PROGRAM
    writeSettings();
    // The programs round the window are not ours.
    std::string script = "#!/bin/sh\nexec";
    for (const auto& word : planted + Command{APPLICATION_PROGRAM}) script += " '" + word + "'";
    files::writeAtomically(scratch_ / "window", bytesOf(script + "\n"));
    fs::permissions(scratch_ / "window", fs::perms::owner_all);
    run(surroundings() + Command{SESSION, scratch_ / "window"}, [&](const Program& program) {
        const auto giveUp = std::chrono::steady_clock::now() + std::chrono::seconds(120);
        while (program.descendants("WebKitWeb").empty() && std::chrono::steady_clock::now() < giveUp) {
        }
        for (const pid_t window : program.descendants("ostrel")) kill(window, SIGINT);
    });
#endif
    EXPECT_EQ(server_.connections(), 0);
    run(planted + Command{"/usr/bin/find", store()}, nothing);
    EXPECT_EQ(server_.connections(), 1) << "without the wall it gets through";
}

// The tests above are worth what they notice.
TEST_F(PromisesTest, ATraceShowsWhoBreaksThem) {
    if (!Trace::isPossible(scratch_.path())) GTEST_SKIP() << noTracer;
    const struct {
        const char* why;
        std::string command;
        bool reads, isSilent;
    } rows[] = {
        {"keeps both", "cat < \"$1\" > /dev/null", false, true},   // but sets the access time
        {"looks only", "test -e \"$1\"", true, true},
        {"writes", "echo >> \"$1\"", false, true},
        {"touches", "touch -a \"$1\"", false, true},
        {"locks", "flock --shared \"$1\" true", false, true},
        {"creates beside", "cd / && : > \"$1.new\"", false, true},
        {"works from inside", "cd \"${1%/*}\"", false, true},
        {"moves", "mv \"$1.new\" \"$1.newer\"", false, true},
        {"removes", "rm \"$1.newer\"", false, true},
        {"links", "ln \"$1\" \"$1.link\"", false, true},
        {"asks for a name", "getent hosts localhost || true", true, false},   // found or not
        {"calls", "bash -c 'exec 3<>/dev/tcp/127.0.0.1/" + port() + "'", true, false},
    };
    for (const auto& row : rows) {
        Trace trace({"/bin/sh", "-c", row.command, "sh", messages().front()}, scratch_.path());
        EXPECT_EQ(trace.program().wait(), 0) << row.why << trace.program().errors();
        bool reads = true, isSilent = true;
        for (const std::string& call : trace.calls()) {
            reads = reads && promises::breachOfReading(call, store().native()).empty();
            isSilent = isSilent && promises::breachOfSilence(call).empty();
        }
        EXPECT_EQ(reads, row.reads) << row.why;
        EXPECT_EQ(isSilent, row.isSilent) << row.why;
    }
    EXPECT_EQ(server_.connections(), 1);
}

// What no plain command does, as strace writes it.
TEST(PromisesJudgeTest, NamesTheCallsThatBreakThem) {
    const struct {
        const char* why;
        const char* call;
        bool reads, isSilent;
    } rows[] = {
        {"a reading open", R"(openat(4</s/Mail>, "1.emlx", O_RDONLY|O_NOATIME) = 5</s/Mail/1.emlx>)", true, true},
        {"that would set a time", R"(openat(4</s/Mail>, "1.emlx", O_RDONLY|O_CLOEXEC) = 5</s/Mail/1.emlx>)", false,
         true},
        {"for both, refused", R"(openat(4</s/Mail>, "1.emlx", O_RDWR|O_NOATIME) = -1 EACCES (...))", false, true},
        {"by another name", R"(openat(AT_FDCWD</>, "/proc/self/fd/5", O_RDWR) = 6</s/Mail/1.emlx>)", false, true},
        {"a neighbour", R"(openat(AT_FDCWD</>, "/s/Mailbox", O_RDWR|O_CREAT) = 6</s/Mailbox>)", true, true},
        {"a lock", R"(fcntl(5</s/Mail/1.emlx>, F_SETLK, {l_type=F_RDLCK}) = 0)", false, true},
        {"a lock of the open file", R"(fcntl(5</s/Mail/1.emlx>, F_OFD_SETLK, {l_type=F_RDLCK}) = 0)", false, true},
        {"times by descriptor", R"(utimensat(5</s/Mail/1.emlx>, NULL, NULL, 0) = 0)", false, true},
        {"attributes", R"(fsetxattr(5</s/Mail/1.emlx>, "user.seen", "1", 1, 0) = 0)", false, true},
        {"flags", R"(ioctl(5</s/Mail/1.emlx>, FS_IOC_SETFLAGS, 0x7ffe) = 0)", false, true},
        {"a copy out", R"(copy_file_range(5</s/Mail/1>, NULL, 6</s/out/1>, NULL, 9, 0) = 9)", true, true},
        {"a copy in", R"(copy_file_range(6</s/out/1>, NULL, 5</s/Mail/1>, NULL, 9, 0) = 9)", false, true},
        {"unseen calls", "io_uring_setup(8, {flags=0}) = 5<anon_inode:[io_uring]>", false, false},
        {"an internet socket", "socket(AF_INET6, SOCK_DGRAM|SOCK_CLOEXEC, IPPROTO_UDP) = 5<socket:[1]>", true, false},
        {"the display", R"(connect(5<socket:[1]>, {sa_family=AF_UNIX, sun_path=@"/tmp/.X11-unix/X1"}, 20) = 0)", true,
         true},
        {"the resolver", R"(connect(5<socket:[1]>, {sa_family=AF_UNIX, sun_path="/run/systemd/resolve/io.x"}, 9) = 0)",
         true, false},
        {"the print server", R"(connect(5<socket:[1]>, {sa_family=AF_UNIX, sun_path="/run/cups/cups.sock"}, 9) = 0)",
         true, false},
        {"a server", R"(connect(5<socket:[1]>, {sa_family=AF_INET, sin_port=htons(80)}, 16) = -1 EINPROGRESS (...))",
         true, false},
    };
    for (const auto& row : rows) {
        EXPECT_EQ(promises::breachOfReading(row.call, "/s/Mail").empty(), row.reads) << row.why;
        EXPECT_EQ(promises::breachOfSilence(row.call).empty(), row.isSilent) << row.why;
    }
}

}   // namespace
}   // namespace ostrel
