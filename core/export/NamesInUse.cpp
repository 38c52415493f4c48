#include "core/export/NamesInUse.h"

#include "platform/Text.h"

#include <algorithm>
#include <array>

namespace ostrel {

// Disks tell names apart by their bytes or ignore case, or composition, or both: what is told apart without accents,
// case and width, all of them tell apart. Waiting for a name that would not have been in the way costs only time.
void NamesInUse::take(const User* user, std::string_view name) {
    const std::array keys = {text::foldForSearch(name), text::foldForSearch(std::string(name) + ".pdf")};
    std::unique_lock held(mutex_);
    areFree_.wait(held, [&] {
        return std::ranges::all_of(keys, [&](const std::string& key) {
            const auto found = users_.find(key);
            return found == users_.end() || found->second == user;
        });
    });
    for (const std::string& key : keys) users_.insert_or_assign(key, user);
}

void NamesInUse::giveBack(const User* user) {
    const std::lock_guard held(mutex_);
    std::erase_if(users_, [&](const auto& use) { return use.second == user; });
    areFree_.notify_all();
}

}   // namespace ostrel
