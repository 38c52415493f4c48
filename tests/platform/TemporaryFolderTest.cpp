#include "platform/TemporaryFolder.h"

#include <chrono>
#include <filesystem>
#include <memory>
#include <string>

#include <gtest/gtest.h>
#include <unistd.h>

namespace ostrel {
namespace {

namespace fs = std::filesystem;
using namespace std::chrono_literals;

// The prefix is of this process only: other tests may run at the same time.
TEST(TemporaryFolderTest, WhatAKilledProgramLeftIsRemovedAndNothingElse) {
    const std::string prefix = "ostrel-forsaken-" + std::to_string(getpid()) + "-";
    const auto before = fs::file_time_type::clock::now() - 2min;
    const auto inUse = std::make_unique<TemporaryFolder>(prefix);
    fs::last_write_time(inUse->path(), before);
    const auto beside = inUse->path().parent_path();
    const fs::path forsaken = beside / (prefix + "forsaken"), young = beside / (prefix + "young"),
                   link = beside / (prefix + "link");
    for (const fs::path& folder : {forsaken, young}) fs::create_directories(folder / "pages");
    fs::last_write_time(forsaken, before);
    const TemporaryFolder elsewhere("ostrel-elsewhere-");
    fs::create_directory(elsewhere.path() / "kept");
    fs::last_write_time(elsewhere.path(), before);
    fs::create_directory_symlink(elsewhere.path(), link);

    { const TemporaryFolder next(prefix); }
    EXPECT_FALSE(fs::exists(forsaken));
    EXPECT_TRUE(fs::exists(young)) << "may be locked in a moment";
    EXPECT_TRUE(fs::exists(inUse->path()));
    EXPECT_TRUE(fs::exists(elsewhere.path() / "kept")) << "a link is not followed";
    fs::remove_all(young);
    fs::remove(link);
}

}   // namespace
}   // namespace ostrel
