#pragma once

#include "app/AppModel.h"
#include "tests/app/ModelSurroundings.h"

#include <memory>
#include <string>

#include <gtest/gtest.h>

namespace ostrel {

// A model over a small mail folder, with "first" (older) in INBOX and "second" and "third" in Work.
class ModelFixture : public testing::Test {
protected:
    ModelFixture() {
        first_ = mail_.put("INBOX", 1, "first", 1);
        mail_.put("Work", 2, "second", 2);
        mail_.put("Work", 3, "third", 3);
        AppSettings settings;
        settings.onboardingDone = true;
        settings.mailFolder = mail_.path().native();
        AppSettings::save(settings, SettingsStore(settingsFolder_.path()));
        model_ = std::make_unique<AppModel>(
            AppModel::Surroundings{.store = SettingsStore(settingsFolder_.path()),
                                   .tasks = tasks_,
                                   .desktop = desktop_,
                                   .makeRenderer = [](Paper) { return std::make_unique<FakeRenderer>(nullptr); },
                                   .now = [] { return Instant(std::chrono::minutes(28493700)); },
                                   .calendar = Calendar::utc});
    }
    void load() {
        model_->start();
        tasks_.all();
        ASSERT_EQ(model_->state.get().kind, MailState::Kind::ready);
    }

    ScratchFolder settingsFolder_;
    MailFolder mail_;
    std::string first_;   // MessageSummary::id
    HandTurnedTasks tasks_;
    FakeDesktop desktop_;
    std::unique_ptr<AppModel> model_;
};

}   // namespace ostrel
