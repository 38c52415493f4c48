#include "render/loop/MainLoop.h"

#include "platform/Translation.h"
#include "render/loop/GRef.h"

#include <array>
#include <cassert>
#include <csignal>
#include <cstdint>
#include <exception>
#include <memory>
#include <stdexcept>
#include <thread>
#include <utility>

#include <glib-unix.h>
#include <sys/eventfd.h>
#include <sys/signalfd.h>
#include <unistd.h>

namespace ostrel::mainLoop {
namespace {

using Task = std::function<void()>;

// An exception cannot cross the loop's C frames, hence noexcept.
gboolean runTask(gpointer data) noexcept {
    (*static_cast<Task*>(data))();
    return G_SOURCE_REMOVE;
}

void deleteTask(gpointer data) { delete static_cast<Task*>(data); }

// Where a thread that began before ours blocked the signals notes that one came to it; the allocator of the engine's
// library starts such a thread before main.
int noticedElsewhere = -1;

void noteInterrupt(int) {
    const std::uint64_t one = 1;
    [[maybe_unused]] const ssize_t written = write(noticedElsewhere, &one, sizeof one);
}

gboolean takeInterrupt(gint descriptor, GIOCondition, gpointer data) noexcept {
    std::array<char, sizeof(signalfd_siginfo)> received;
    if (read(descriptor, received.data(), received.size()) > 0) (*static_cast<Task*>(data))();
    return G_SOURCE_CONTINUE;
}

void watch(int descriptor, const Task& handler) {
    if (descriptor < 0) throw std::runtime_error(i18n::tr("This system gives no way to notice an interrupt."));
    g_unix_fd_add_full(G_PRIORITY_DEFAULT, descriptor, G_IO_IN, takeInterrupt, new Task(handler), deleteTask);
}

}   // namespace

bool isMainThread() { return gettid() == getpid(); }

void post(Task task) {
    // Between the engine's own work and drawing: never starved by either.
    g_idle_add_full(G_PRIORITY_DEFAULT, runTask, new Task(std::move(task)), deleteTask);
}

void runBeside(const Task& work) {
    assert(isMainThread());
    const std::unique_ptr<GMainLoop, Releaser<g_main_loop_unref>> loop(g_main_loop_new(nullptr, FALSE));
    std::exception_ptr failure;
    std::thread worker([&] {
        try {
            work();
        } catch (...) {
            failure = std::current_exception();
        }
        post([&] { g_main_loop_quit(loop.get()); });
    });
    g_main_loop_run(loop.get());
    worker.join();
    if (failure) std::rethrow_exception(failure);
}

void turnUntil(const std::function<bool()>& isDone) {
    assert(isMainThread());
    while (!isDone()) g_main_context_iteration(nullptr, TRUE);
}

void onInterrupt(const Task& handler) {
    assert(isMainThread());
    // Blocked signals stay blocked in the programs we start, so a Ctrl-C meant for us does not kill the web process
    // in the middle of a page; a handler would have left them the default.
    sigset_t signals;
    sigemptyset(&signals);
    for (const int signal : {SIGINT, SIGTERM, SIGHUP}) sigaddset(&signals, signal);
    pthread_sigmask(SIG_BLOCK, &signals, nullptr);
    watch(signalfd(-1, &signals, SFD_NONBLOCK | SFD_CLOEXEC), handler);
    watch(noticedElsewhere = eventfd(0, EFD_NONBLOCK | EFD_CLOEXEC), handler);
    struct sigaction note {};
    note.sa_handler = noteInterrupt;
    note.sa_flags = SA_RESTART;
    for (const int signal : {SIGINT, SIGTERM, SIGHUP}) sigaction(signal, &note, nullptr);
}

Timer::Timer(std::chrono::milliseconds delay, Task task) {
    assert(isMainThread());
    GSource* source = g_timeout_source_new(static_cast<guint>(delay.count()));
    g_source_set_callback(source, runTask, new Task(std::move(task)), deleteTask);
    g_source_attach(source, nullptr);
    source_ = source;
}

Timer::Timer(Timer&& other) noexcept : source_(std::exchange(other.source_, nullptr)) {}

Timer& Timer::operator=(Timer other) noexcept {
    std::swap(source_, other.source_);
    return *this;
}

Timer::~Timer() {
    if (!source_) return;
    const auto source = static_cast<GSource*>(source_);
    g_source_destroy(source);
    g_source_unref(source);
}

}   // namespace ostrel::mainLoop
