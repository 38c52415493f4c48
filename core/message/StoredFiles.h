#pragma once

#include <filesystem>
#include <optional>
#include <string>
#include <unordered_map>

namespace ostrel {

// The folder in which Mail keeps the attachments of one message outside its file: a subfolder per part number, holding
// the file under the name that the message gives it. Looked into, never written. Only regular files are ever handed
// out, and no link is followed out of the folder: what a mail or a copied store names must not reach outside.
class StoredFiles {
public:
    // Does not read anything yet. Without a folder, find() finds nothing.
    explicit StoredFiles(std::optional<std::filesystem::path> folder) : folder_(std::move(folder)) {}

    // A part's file: in the part's own folder the one of that name, else the only one; else the first of that name
    // anywhere below, hidden ones included. nullopt if there is none or the folder cannot be read.
    std::optional<std::filesystem::path> find(const std::string& partNumber, const std::string& filename);

private:
    std::optional<std::filesystem::path> inPartFolder(const std::string& partNumber, const std::string& filename) const;
    void indexByName();

    std::optional<std::filesystem::path> folder_;
    // First file of each name; made by the first search that needs it, for a message may have any number of parts.
    std::optional<std::unordered_map<std::string, std::filesystem::path>> byName_;
};

}   // namespace ostrel
