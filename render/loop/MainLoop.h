#pragma once

#include <chrono>
#include <functional>

// The one event loop, on the process's first thread, where the windows and the web engine live.
namespace ostrel::mainLoop {

bool isMainThread();

// Runs the task on the main thread at a later turn of the loop, in the order posted. From any thread. A task that
// throws ends the program.
void post(std::function<void()> task);

// Turns the loop on this, the main thread, while work runs on a thread of its own; returns when work has ended and
// passes on what it threw. Where there is no application that turns the loop itself.
void runBeside(const std::function<void()>& work);

// Turns the loop on this, the main thread, until isDone, which is asked after every turn. Whoever makes it true posts.
void turnUntil(const std::function<bool()>& isDone);

// From now on an interrupt, a hang-up or a request to terminate calls the handler on the main thread instead of ending
// the program, and programs started afterwards (the engine's among them) do not see it. Once, before the first thread.
void onInterrupt(const std::function<void()>& handler);

// Calls the task once on the main thread after the delay, unless destroyed before. Main thread only.
class Timer {
public:
    Timer() = default;
    Timer(std::chrono::milliseconds delay, std::function<void()> task);
    Timer(Timer&& other) noexcept;
    Timer& operator=(Timer other) noexcept;
    ~Timer();

private:
    void* source_ = nullptr;
};

}   // namespace ostrel::mainLoop
