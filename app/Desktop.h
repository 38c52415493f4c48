#pragma once

#include <filesystem>
#include <functional>
#include <memory>
#include <optional>
#include <string>

namespace ostrel {

// What the model asks of the desktop. Main thread only; nothing here blocks.
class Desktop {
public:
    struct FolderRequest {
        std::string message;   // what the folder is for
        std::string prompt;    // on the button that chooses
        bool canCreate = false;
    };
    virtual ~Desktop() = default;
    // Asks for one folder. chosen is called once; with nullopt if the user cancelled.
    virtual void chooseFolder(const FolderRequest& request,
                              std::function<void(std::optional<std::filesystem::path>)> chosen) = 0;
    // Shows the file or folder, selected, in the file manager.
    virtual void reveal(const std::filesystem::path& path) = 0;
    // Opens the file with the program that its user has for such.
    virtual void open(const std::filesystem::path& file) = 0;
    // Keeps the machine from falling asleep by itself as long as the result is kept.
    virtual std::shared_ptr<void> keepAwake(const std::string& reason) = 0;
};

// Where the model's work runs.
class Tasks {
public:
    virtual ~Tasks() = default;
    // Runs it on the main thread at a later turn of its loop, in the order posted. From any thread.
    virtual void onMain(std::function<void()> task) = 0;
    // Runs it off the main thread. It must not throw.
    virtual void inBackground(std::function<void()> task) = 0;
};

}   // namespace ostrel
