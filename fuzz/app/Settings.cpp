#include "app/AppSettings.h"
#include "fuzz/Target.h"
#include "tests/platform/Surroundings.h"

namespace ostrel::fuzz {

void run(ByteView input) {
    static const ScratchFolder folder;
    static const SettingsStore store(folder.path());
    everyPrefix(input, [](ByteView record) {
        store.set("settings", std::string(charsOf(record)));
        const AppSettings settings = AppSettings::load(store);
        AppSettings::save(settings, store);
        holds(AppSettings::load(store) == settings, "settings come back as they were saved");
    });
}

std::vector<std::string> seeds() {
    return {
        R"({"onboardingDone":true,"mailFolder":"/home/kim/Library/Mail","paper":"letter","includeAttachments":false,)"
        R"("includeIndex":true,"skipDuplicates":null})",
        R"({"paper":"a3","extra":[1,2.5e300,{"a":"\ud83d\ude00"}],"mailFolder":null})", "[]", "{\"paper\":7}"};
}

}   // namespace ostrel::fuzz
