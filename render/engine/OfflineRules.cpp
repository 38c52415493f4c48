#include "render/engine/OfflineRules.h"

#include "platform/TemporaryFolder.h"
#include "render/loop/GRef.h"
#include "render/loop/MainLoop.h"

#include <cassert>
#include <memory>
#include <stdexcept>
#include <utility>
#include <vector>

namespace ostrel {
namespace {

using FilterPtr = std::unique_ptr<WebKitUserContentFilter, Releaser<webkit_user_content_filter_unref>>;
using Waiting = std::function<void(WebKitUserContentFilter*)>;

// Main thread only. Lives as long as the process: the engine keeps the list mapped.
struct Cache {
    FilterPtr compiled;
    std::vector<Waiting> waiting;   // not empty: a compilation is under way
};

Cache& cache() {
    static Cache& kept = *new Cache;
    return kept;
}

void answer() {
    const auto waiting = std::exchange(cache().waiting, {});
    for (const Waiting& use : waiting) use(cache().compiled.get());
}

// The compiler works through a folder; the list itself stays mapped when the folder goes.
void finishCompiling(GObject* store, GAsyncResult* result, gpointer data) noexcept {
    const std::unique_ptr<TemporaryFolder> folder(static_cast<TemporaryFolder*>(data));
    GError* error = nullptr;
    cache().compiled.reset(
        webkit_user_content_filter_store_save_finish(WEBKIT_USER_CONTENT_FILTER_STORE(store), result, &error));
    const GErrorPtr owned(error);
    answer();
}

}   // namespace

void withOfflineRules(Waiting use) {
    assert(mainLoop::isMainThread());
    if (cache().compiled) return use(cache().compiled.get());
    cache().waiting.push_back(std::move(use));
    if (cache().waiting.size() > 1) return;
    std::unique_ptr<TemporaryFolder> folder;
    try {
        folder = std::make_unique<TemporaryFolder>("ostrel-rules-");
    } catch (const std::runtime_error&) {
        return answer();
    }
    const auto store =
        GRef<WebKitUserContentFilterStore>::adopt(webkit_user_content_filter_store_new(folder->path().c_str()));
    const GBytesPtr source(g_bytes_new_static(offlineRulesJSON.data(), offlineRulesJSON.size()));
    webkit_user_content_filter_store_save(store.get(), offlineRulesName, source.get(), nullptr, finishCompiling,
                                          folder.release());
}

}   // namespace ostrel
