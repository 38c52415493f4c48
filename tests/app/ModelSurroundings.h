#pragma once

#include "app/AppModel.h"
#include "platform/Files.h"
#include "sample/EmlBuilder.h"
#include "tests/platform/Surroundings.h"

#include <deque>
#include <filesystem>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

// What stands around a model in its tests: a mail folder, a desktop that a test answers for, and tasks that run when
// the test says so.
namespace ostrel {

class HandTurnedTasks : public Tasks {
public:
    void onMain(std::function<void()> task) override { main.push_back(std::move(task)); }
    void inBackground(std::function<void()> task) override { background.push_back(std::move(task)); }

    // Runs the next task of a queue, or the last to come.
    static void next(std::deque<std::function<void()>>& queue) {
        const auto task = std::exchange(queue.front(), nullptr);
        queue.pop_front();
        task();
    }
    static void last(std::deque<std::function<void()>>& queue) {
        const auto task = std::exchange(queue.back(), nullptr);
        queue.pop_back();
        task();
    }
    void allOnMain() {
        while (!main.empty()) next(main);
    }
    // Until nothing is left to do.
    void all() {
        while (!main.empty() || !background.empty()) {
            allOnMain();
            if (!background.empty()) next(background);
        }
    }

    std::deque<std::function<void()>> main, background;
};

class FakeDesktop : public Desktop {
public:
    using Chosen = std::function<void(std::optional<std::filesystem::path>)>;
    void chooseFolder(const FolderRequest& request, Chosen chosen) override {
        asked.push_back(request);
        answer = std::move(chosen);
    }
    void reveal(const std::filesystem::path& path) override { revealed.push_back(path); }
    void open(const std::filesystem::path& file) override { opened.push_back(file); }
    std::shared_ptr<void> keepAwake(const std::string&) override {
        const auto kept = std::make_shared<int>();
        awake = kept;
        return kept;
    }

    std::vector<FolderRequest> asked;
    Chosen answer;
    std::vector<std::filesystem::path> revealed, opened;
    std::weak_ptr<void> awake;
};

// Writes the page itself where the PDF should be.
class FakeRenderer : public PDFRendering {
public:
    explicit FakeRenderer(std::function<void()> before) : before_(std::move(before)) {}
    std::string renderPDF(const Page& page, const std::filesystem::path& destination, const DocumentInfo&) override {
        if (before_) before_();
        files::writeAtomically(destination, bytesOf(page.html));
        return {};
    }

private:
    std::function<void()> before_;
};

// A small mail folder of the user's own.
class MailFolder {
public:
    const std::filesystem::path& path() const { return folder_.path(); }
    // The same number and mailbox again replaces the message. minutes: its date, later is newer.
    std::string put(const std::string& mailbox, int number, const std::string& subject, int minutes,
                    const std::string& messageID = {}, const std::string& from = "Kim <kim@x.org>") const {
        EmlBuilder message;
        message.header("From", from).header("Subject", subject);
        if (!messageID.empty()) message.header("Message-ID", "<" + messageID + ">");
        return putFile(mailbox, number, message.text("body of " + subject).emlx(at(minutes)), minutes);
    }
    std::string putFile(const std::string& mailbox, int number, const std::string& bytes, int minutes) const {
        const auto file = path() / (mailbox + ".mbox") / "Messages" / (std::to_string(number) + ".emlx");
        std::filesystem::create_directories(file.parent_path());
        files::writeAtomically(file, bytesOf(bytes));
        // The messages have no date of their own.
        std::filesystem::last_write_time(
            file, std::filesystem::file_time_type::clock::from_sys(at(minutes) + std::chrono::seconds(0)));
        return file.native();
    }
    void remove(const std::string& mailbox) const { std::filesystem::remove_all(path() / (mailbox + ".mbox")); }

private:
    static Instant at(int minutes) { return Instant(std::chrono::minutes(28493700 + minutes)); }   // 2024-03-05
    ScratchFolder folder_;
};

}   // namespace ostrel
