#pragma once

#include <condition_variable>
#include <mutex>
#include <string>
#include <string_view>
#include <unordered_map>

namespace ostrel {

// Which of the messages under way may write what.
class NamesInUse {
public:
    // A message, as long as it is under way.
    class User {
    public:
        explicit User(NamesInUse& names) : names_(names) {}
        User(const User&) = delete;
        User& operator=(const User&) = delete;
        ~User() { names_.giveBack(this); }

        // Waits until no other has a name that some disk takes for this one, or for this one with ".pdf", and then
        // keeps both.
        void take(std::string_view name) { names_.take(this, name); }

    private:
        NamesInUse& names_;
    };

private:
    void take(const User* user, std::string_view name);
    void giveBack(const User* user);

    std::mutex mutex_;
    std::condition_variable areFree_;
    std::unordered_map<std::string, const User*> users_;   // by the name as the coarsest disk sees it
};

}   // namespace ostrel
