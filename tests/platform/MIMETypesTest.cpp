#include "platform/Files.h"
#include "platform/MIMETypes.h"
#include "tests/platform/Surroundings.h"

#include <gtest/gtest.h>

namespace ostrel::mimeTypes {
namespace {

TEST(MIMETypes, prefersOurTableThenTheSystems) {
    const ScratchFolder data;
    files::createFolders(data / "mime/audio");
    const auto put = [&](const char* name, std::string_view content) {
        files::writeAtomically(data / "mime" / name, bytesOf(content));
    };
    put("aliases", "audio/old old/line\naudio/x-midi audio/midi\naudio/loose ../../secret\n");
    put("audio/midi.xml", "<mime-type><glob pattern=\"*.mid\"/><glob pattern=\"*.kar\"/></mime-type>");
    put("audio/weighted.xml", "<glob weight=\"40\" pattern=\"*.low\"/>\n  <glob weight=\"60\" pattern=\"*.high\"/>");
    put("audio/odd.xml",
        "<glob pattern=\"README\"/><glob pattern=\"*.[ch]\"/><glob pattern=\"*.a/b\"/><glob pattern=\"*.tar.gz\"/>");
    put("audio/cut.xml", "<glob pattern=\"*.c");
    put("audio/mpeg.xml", "<glob pattern=\"*.mpga\"/>");
    files::writeAtomically(data / "secret.xml", bytesOf("<glob pattern=\"*.secret\"/>"));
    const EnvironmentVariable home("XDG_DATA_HOME", data.path().c_str()), others("XDG_DATA_DIRS", "relative::/none");

    using Extension = std::optional<std::string>;
    const struct {
        const char* why;
        std::string type;
        Extension expected;
    } rows[] = {
        {"jpeg and never jpe", "image/jpeg", "jpeg"},
        {"attached messages", "message/rfc822", "eml"},
        {"our table comes before the system's", "audio/mpeg", "mp3"},
        {"the usual one comes first", "audio/midi", "mid"},
        {"by another name", "audio/x-midi", "mid"},
        {"greater weight", "audio/weighted", "high"},
        {"the first that is an extension", "audio/odd", "tar.gz"},
        {"unknown", "audio/none", {}},
        {"alias that leads out of the folder", "audio/loose", {}},
        {"type that leads out of the folder", "audio/../../secret", {}},
        {"type that is a folder", "audio/.", {}},
        {"no type", "", {}},
        {"half a type", "audio/", {}},
        {"endless type", "audio/" + std::string(5000, 'a'), {}},
    };
    for (const auto& row : rows) EXPECT_EQ(preferredExtension(row.type), row.expected) << row.why;
    preferredExtension("audio/cut");   // only must not crash
}

}   // namespace
}   // namespace ostrel::mimeTypes
