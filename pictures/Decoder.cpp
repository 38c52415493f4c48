#include "pictures/Decoder.h"

#include "pictures/Wire.h"
#include "pictures/headers/JPEGHeader.h"
#include "platform/Descriptor.h"
#include "platform/Installation.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <csignal>
#include <cstring>
#include <optional>
#include <utility>

#include <fcntl.h>
#include <poll.h>
#include <spawn.h>
#include <sys/socket.h>
#include <sys/wait.h>

namespace ostrel::pictures {
namespace {

using Clock = std::chrono::steady_clock;
using files::Descriptor;

// Processor time is what a picture is given, and the program ends itself when that is over. A machine at work may take
// so many times longer; beyond it something is wrong.
constexpr int maxDelay = 10;

struct SpawnActions {
    posix_spawn_file_actions_t actions;
    SpawnActions() { posix_spawn_file_actions_init(&actions); }
    SpawnActions(const SpawnActions&) = delete;
    SpawnActions& operator=(const SpawnActions&) = delete;
    ~SpawnActions() { posix_spawn_file_actions_destroy(&actions); }
};

std::vector<char*> pointersTo(std::vector<std::string>& words) {
    std::vector<char*> pointers;
    for (auto& word : words) pointers.push_back(word.data());
    pointers.push_back(nullptr);
    return pointers;
}

}   // namespace

class Decoder::Process {
public:
    // Null when it cannot be started.
    static std::unique_ptr<Process> start(const std::filesystem::path& program, std::vector<std::string> environment) {
        std::array<int, 2> ends{};
        if (socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, ends.data()) != 0) return nullptr;
        Descriptor ours(ends[0]), theirs(ends[1]);
        SpawnActions spawn;
        posix_spawn_file_actions_adddup2(&spawn.actions, theirs.number(), STDIN_FILENO);
        posix_spawn_file_actions_adddup2(&spawn.actions, theirs.number(), STDOUT_FILENO);
        posix_spawn_file_actions_addopen(&spawn.actions, STDERR_FILENO, "/dev/null", O_WRONLY, 0);
        std::vector<std::string> command = {program.native()};
        pid_t id = -1;
        if (posix_spawn(&id, program.c_str(), &spawn.actions, nullptr, pointersTo(command).data(),
                        pointersTo(environment).data()) != 0)
            return nullptr;
        return std::unique_ptr<Process>(new Process(std::move(ours), id));
    }
    Process(const Process&) = delete;
    Process& operator=(const Process&) = delete;
    ~Process() { end(); }

    // False once the process is gone or the time is over.
    bool send(const void* bytes, std::size_t count, Clock::time_point until) {
        return transfer(count, until, POLLOUT, [&](std::size_t done) {
            return ::send(socket_.number(), static_cast<const char*>(bytes) + done, count - done,
                          MSG_NOSIGNAL | MSG_DONTWAIT);
        });
    }
    bool receive(void* bytes, std::size_t count, Clock::time_point until) {
        return transfer(count, until, POLLIN, [&](std::size_t done) {
            return ::recv(socket_.number(), static_cast<char*>(bytes) + done, count - done, MSG_DONTWAIT);
        });
    }

    // How it ended, after a failed transfer.
    NotDecoded ending(Clock::time_point until) {
        if (Clock::now() >= until) return NotDecoded::tooLong;
        // Its last words come when it is ending. This makes sure, and does not change how it ended.
        const int status = end();
        if (WIFEXITED(status) && WEXITSTATUS(status) == wire::cannotStart) return NotDecoded::unavailable;
        return WIFSIGNALED(status) && WTERMSIG(status) == SIGPROF ? NotDecoded::tooLong : NotDecoded::crashed;
    }

private:
    Process(Descriptor socket, pid_t id) : socket_(std::move(socket)), id_(id) {}

    template <class Step>
    bool transfer(std::size_t count, Clock::time_point until, short event, Step step) {
        for (std::size_t done = 0; done < count;) {
            const auto moved = step(done);
            if (moved > 0) {
                done += static_cast<std::size_t>(moved);
                continue;
            }
            if (moved == 0 || (errno != EAGAIN && errno != EINTR)) return false;
            const auto left = std::chrono::ceil<std::chrono::milliseconds>(until - Clock::now()).count();
            pollfd wait{socket_.number(), event, 0};
            if (left <= 0 || poll(&wait, 1, static_cast<int>(left)) == 0) return false;
        }
        return true;
    }

    int end() {
        int status = 0;
        if (id_ < 0) return status;
        kill(id_, SIGKILL);
        files::uninterrupted([&] { return waitpid(id_, &status, 0); });
        id_ = -1;
        return status;
    }

    Descriptor socket_;
    pid_t id_;
};

Decoder::Decoder(std::filesystem::path program, std::vector<std::string> environment, DecoderPatience patience)
    : program_(std::move(program)), environment_(std::move(environment)), patience_(patience) {}

Decoder::~Decoder() = default;

std::filesystem::path Decoder::installedProgram() {
    return installation::prefix() / "lib" / "ostrel" / "ostrel-pictures";
}

std::variant<Decoded, NotDecoded> Decoder::decode(ByteView picture, Alpha alpha) {
    if (picture.size() > wire::maxPictureBytes) return NotDecoded::tooLarge;
    const std::lock_guard held(mutex_);
    if (!process_) process_ = Process::start(program_, environment_);
    if (!process_) return NotDecoded::unavailable;
    auto result = ask(picture, alpha);
    const auto* failure = std::get_if<NotDecoded>(&result);
    // After a damaged picture it waits for the next; otherwise it has ended, or may lack the memory for another.
    if (failure && *failure != NotDecoded::damaged) process_.reset();
    return result;
}

std::variant<Decoded, NotDecoded> Decoder::ask(ByteView picture, Alpha alpha) {
    const auto time =
        std::min(patience_.most, patience_.base + patience_.perMegabyte * static_cast<long>(picture.size() >> 20));
    const auto until = Clock::now() + time * maxDelay;
    const wire::Request request{alpha == Alpha::apart, static_cast<std::uint32_t>(time.count()), picture.size()};
    wire::Answer answer{};
    if (!process_->send(&request, sizeof request, until) || !process_->send(picture.data(), picture.size(), until) ||
        !process_->receive(&answer, sizeof answer, until))
        return process_->ending(until);
    if (answer.outcome == wire::Outcome::damaged) return NotDecoded::damaged;
    if (answer.outcome == wire::Outcome::tooLarge) return NotDecoded::tooLarge;
    // A picture may have taken it over: nothing that it says is believed.
    const bool isKindKnown = answer.kind == Kind::png || answer.kind == Kind::jpeg || answer.kind == Kind::svg;
    const std::uint64_t pixels = std::uint64_t{answer.width} * answer.height;
    if (answer.outcome != wire::Outcome::decoded || !isKindKnown || pixels == 0 || pixels > wire::maxPixels ||
        answer.bytes > wire::maxAnswerBytes || answer.maskBytes > wire::maxAnswerBytes)
        return NotDecoded::crashed;
    Decoded decoded{answer.kind,
                    {answer.width, answer.height},
                    std::string(answer.bytes, '\0'),
                    std::string(answer.maskBytes, '\0')};
    if (!process_->receive(decoded.file.data(), decoded.file.size(), until) ||
        !process_->receive(decoded.mask.data(), decoded.mask.size(), until))
        return process_->ending(until);
    const auto isWhatItSays = [](const std::string& file, Kind kind, const Size& size) {
        return kindOf(bytesOf(file)) == kind &&
               (kind == Kind::svg || naturalSize(bytesOf(file)) == std::optional(size));
    };
    if (!isWhatItSays(decoded.file, decoded.kind, decoded.size)) return NotDecoded::crashed;
    const auto header = readJPEGHeader(bytesOf(decoded.file));
    const Size stored = header ? header->size : decoded.size;
    if (!decoded.mask.empty() && !isWhatItSays(decoded.mask, Kind::png, stored)) return NotDecoded::crashed;
    return decoded;
}

}   // namespace ostrel::pictures
