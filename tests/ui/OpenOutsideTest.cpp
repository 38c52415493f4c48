#include "platform/Environment.h"
#include "platform/Files.h"
#include "tests/platform/Surroundings.h"
#include "tests/tools/Program.h"

#include <array>
#include <csignal>
#include <fstream>
#include <map>
#include <string>
#include <string_view>
#include <vector>

#include <fcntl.h>
#include <gtest/gtest.h>
#include <poll.h>
#include <sys/stat.h>
#include <unistd.h>

namespace ostrel {
namespace {

using Variables = std::map<std::string, std::string>;

// A desktop whose one program for everything tells its surroundings through a pipe.
class OpenOutsideTest : public testing::Test {
protected:
    OpenOutsideTest() {
        EXPECT_EQ(mkfifo((scratch_ / "told").c_str(), 0600), 0);
        write("teller",
              "#!/bin/sh\n{ /bin/grep -E 'SigBlk|SigIgn|Seccomp:' /proc/self/status; /bin/cat /proc/$$/environ; } > '" +
                  (scratch_ / "told").native() + "'\n");
        std::filesystem::permissions(scratch_ / "teller", std::filesystem::perms::owner_all);
        const std::string entry =
            "[Desktop Entry]\nType=Application\nName=Teller\nExec=" + (scratch_ / "teller").native() +
            " %u\nMimeType=x-scheme-handler/https;x-scheme-handler/mailto;inode/directory;\n";
        write("share/applications/teller.desktop", entry);
        write("share/applications/gnome-applications-panel.desktop", entry);
        write("config/mimeapps.list",
              "[Default Applications]\nx-scheme-handler/https=teller.desktop\nx-scheme-handler/mailto=teller.desktop\n"
              "inode/directory=teller.desktop\n");
    }

    void write(const std::filesystem::path& name, const std::string& text) const {
        files::createFolders((scratch_ / name).parent_path());
        std::ofstream(scratch_ / name) << text;
    }

    // What the program tells, until it has told all; empty when it does not begin to.
    std::string told() const {
        std::string text;
        std::array<char, 4096> piece;
        pollfd news{open((scratch_ / "told").c_str(), O_RDONLY | O_NONBLOCK | O_CLOEXEC), POLLIN, 0};
        constexpr int patience = 60'000;   // milliseconds
        while (poll(&news, 1, patience) > 0) {
            const ssize_t count = read(news.fd, piece.data(), piece.size());
            if (count <= 0) break;
            text.append(piece.data(), static_cast<std::size_t>(count));
        }
        close(news.fd);
        return text;
    }

    ScratchFolder scratch_;
};

Variables variablesIn(std::string_view text) {
    Variables variables;
    while (!text.empty()) {
        const auto one = text.substr(0, text.find('\0'));
        text.remove_prefix(std::min(one.size() + 1, text.size()));
        const auto equals = one.find('=');
        if (equals != std::string_view::npos) variables.emplace(one.substr(0, equals), one.substr(equals + 1));
    }
    return variables;
}

// A browser of the same engine would run without its sandbox, with our libraries and fonts, on a cache that goes when
// we go.
TEST_F(OpenOutsideTest, OtherProgramsGetTheUsersOwnSurroundings) {
    Variables users = {{"HOME", scratch_ / "home"},
                       {"XDG_CONFIG_HOME", scratch_ / "config"},
                       {"XDG_DATA_HOME", scratch_ / "share"},
                       {"XDG_DATA_DIRS", "/usr/share"},
                       {"XDG_CACHE_HOME", "/proc/none"},   // cannot be written
                       {"PATH", "/nowhere"},               // no bubblewrap: the engine's sandbox is off
                       {"LD_LIBRARY_PATH", "/nowhere"},
                       {"LC_ALL", "xx_XX.UTF-8"},
                       {"GSETTINGS_BACKEND", "memory"},
                       {"DBUS_SESSION_BUS_ADDRESS", "disabled:"},
                       {"DISPLAY", environment::value("DISPLAY").value_or("")}};
    if (const auto key = environment::value("XAUTHORITY")) users.emplace("XAUTHORITY", *key);
    const std::vector<std::vector<std::string>> rows = {
        {"link", "https://example.com/"}, {"link", "mailto:a@example.com"}, {"folder", scratch_ / "x"}, {"settings"}};
    for (const auto& row : rows) {
        std::vector<std::string> command = {"/usr/bin/env", "-i"};
        for (const auto& [name, value] : users) command.push_back(std::string(name).append("=").append(value));
        command.push_back(OPEN_OUTSIDE);
        command.insert(command.end(), row.begin(), row.end());
        Program program(command, scratch_.path());
        const std::string text = told();
        program.signal(SIGTERM);
        ASSERT_EQ(program.wait(), 0) << program.errors();
        const std::string_view none = "SigBlk:\t0000000000000000\nSigIgn:\t0000000000000000\nSeccomp:\t0\n";
        EXPECT_EQ(text.substr(0, none.size()), none)
            << row.back() << ": it can be ended like any other, and has the network";
        Variables variables = variablesIn(std::string_view(text).substr(std::min(none.size(), text.size())));
        for (const char* launchers : {"DESKTOP_STARTUP_ID", "XDG_ACTIVATION_TOKEN", "GIO_LAUNCHED_DESKTOP_FILE",
                                      "GIO_LAUNCHED_DESKTOP_FILE_PID"})
            variables.erase(launchers);
        EXPECT_EQ(variables, users) << row.back();
        users["OSTREL_WITHOUT"] = "reduced-fonts";   // once is enough: without a cache each makes its own
    }
}

}   // namespace
}   // namespace ostrel
