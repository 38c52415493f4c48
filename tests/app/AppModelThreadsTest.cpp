#include "app/AppModel.h"
#include "tests/app/ModelSurroundings.h"

#include <chrono>
#include <condition_variable>
#include <mutex>
#include <random>
#include <thread>

#include <gtest/gtest.h>

namespace ostrel {
namespace {

// Real threads, and a main thread that is the test's.
class ThreadedTasks : public Tasks {
public:
    ThreadedTasks() {
        for (int i = 0; i < 4; ++i) workers_.emplace_back([this] { work(); });
    }
    ~ThreadedTasks() override {
        const std::lock_guard held(lock_);
        isEnding_ = true;
        changed_.notify_all();
    }
    void onMain(std::function<void()> task) override { push(main_, std::move(task)); }
    void inBackground(std::function<void()> task) override { push(background_, std::move(task)); }

    // Runs what has come for the main thread.
    void turn() {
        while (auto task = taken()) task();
    }
    // Until nothing is left to do anywhere.
    void settle() {
        while (true) {
            turn();
            std::unique_lock held(lock_);
            changed_.wait(held, [&] { return !main_.empty() || (background_.empty() && busy_ == 0); });
            if (main_.empty()) return;
        }
    }

private:
    void push(std::deque<std::function<void()>>& queue, std::function<void()> task) {
        const std::lock_guard held(lock_);
        queue.push_back(std::move(task));
        changed_.notify_all();
    }
    std::function<void()> taken() {
        const std::lock_guard held(lock_);
        if (main_.empty()) return nullptr;
        auto task = std::move(main_.front());
        main_.pop_front();
        return task;
    }
    void work() {
        std::unique_lock held(lock_);
        while (true) {
            changed_.wait(held, [&] { return isEnding_ || !background_.empty(); });
            if (isEnding_) return;
            auto task = std::move(background_.front());
            background_.pop_front();
            ++busy_;
            held.unlock();
            task();
            task = nullptr;
            held.lock();
            --busy_;
            changed_.notify_all();
        }
    }

    std::mutex lock_;
    std::condition_variable changed_;
    std::deque<std::function<void()>> main_, background_;
    int busy_ = 0;
    bool isEnding_ = false;
    std::vector<std::jthread> workers_;
};

// A person who does everything at once. Whatever the order in which things come back, the end is what was asked last.
TEST(AppModelThreads, AnythingAtAnyTimeEndsAsAskedLast) {
    const MailFolder mail;
    const ScratchFolder settingsFolder, out;
    std::vector<std::string> ids;
    for (int number = 0; number < 60; ++number)
        ids.push_back(mail.put(number % 3 ? "INBOX" : "Work", number, "mail " + std::to_string(number), number));
    const SettingsStore store(settingsFolder.path());
    AppSettings settings;
    settings.mailFolder = mail.path().native();
    AppSettings::save(settings, store);

    FakeDesktop desktop;
    ThreadedTasks tasks;
    const auto make = [&] {
        auto model = std::make_unique<AppModel>(
            AppModel::Surroundings{.store = store,
                                   .tasks = tasks,
                                   .desktop = desktop,
                                   .makeRenderer = [](Paper) { return std::make_unique<FakeRenderer>(nullptr); },
                                   .now = [] { return Instant(); },
                                   .calendar = Calendar::utc});
        model->start();
        return model;
    };
    auto model = make();
    std::mt19937 random(4);
    for (int step = 0; step < 400; ++step) {
        switch (random() % 9) {
            case 0:
                mail.put("INBOX", 100 + static_cast<int>(random() % 10), "new " + std::to_string(step), step);
                model->reload();
                break;
            case 1:
            case 2:
                model->selection.set(ids[random() % ids.size()]);
                break;
            case 3: {
                MessageFilter filter = model->filter.get();
                filter.subject = random() % 2 ? "mail" : "1";
                model->filter.set(filter);
                break;
            }
            case 4:
                model->sortOrder.set({{random() % 2 ? SortKey::subject : SortKey::date, random() % 2 == 0}});
                break;
            case 5:
                model->setMailbox("Work.mbox", random() % 2 == 0);
                break;
            case 6:
                model->chooseDestinationAndExport();
                desktop.answer(out.path());
                break;
            case 7:
                model->cancelExport();
                break;
            default:
                if (step % 5 == 0) model = make();   // gone with everything running
                tasks.settle();
        }
        tasks.turn();
    }
    model->cancelExport();
    model->clearFilters();
    model->setAllMailboxes(true);
    model->sortOrder.set({{SortKey::date, false}});
    model->reload();
    model->selection.set(ids[1]);
    tasks.settle();
    EXPECT_EQ(model->state.get().kind, MailState::Kind::ready);
    ASSERT_GE(model->messages.get().size(), 61U);
    EXPECT_EQ(model->messages.get().size(), model->index.get()->messages.size());
    ASSERT_TRUE(model->previewHTML.get());
    EXPECT_NE(model->previewHTML.get()->find("body of mail 1"), std::string::npos);
    EXPECT_FALSE(model->isExporting());
}

}   // namespace
}   // namespace ostrel
