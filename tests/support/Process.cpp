#include "Process.h"

#include <fcntl.h>
#include <poll.h>
#include <sys/mman.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <csignal>
#include <cstdlib>
#include <system_error>
#include <utility>

extern char** environ;

namespace test {
namespace {

constexpr int kFirstOwnDescriptor = 10;  // clear of the descriptors that the child's own are put on

[[noreturn]] void fail(const std::string& what) {
    throw std::system_error(errno, std::generic_category(), what);
}

/** An owned descriptor, above the standard ones and closed on exec. */
class Descriptor {
public:
    explicit Descriptor(int fd, const std::string& what) {
        if (fd < 0) {
            fail(what);
        }
        fd_ = fcntl(fd, F_DUPFD_CLOEXEC, kFirstOwnDescriptor);
        close(fd);
        if (fd_ < 0) {
            fail(what);
        }
    }
    ~Descriptor() { reset(); }
    Descriptor(Descriptor&& other) noexcept : fd_(std::exchange(other.fd_, -1)) {}
    Descriptor& operator=(Descriptor&& other) = delete;

    int get() const { return fd_; }
    void reset() {
        if (fd_ >= 0) {
            close(std::exchange(fd_, -1));
        }
    }

private:
    int fd_ = -1;
};

struct Pipe {
    Descriptor reading;
    Descriptor writing;
};

Pipe makePipe() {
    std::array<int, 2> ends{-1, -1};
    if (pipe(ends.data()) != 0) {
        fail("pipe");
    }
    return {Descriptor(ends[0], "pipe"), Descriptor(ends[1], "pipe")};
}

std::optional<Descriptor> openRedirect(const Redirect& redirect, const char* name, int flags) {
    switch (redirect.kind) {
        case Redirect::Kind::Capture:
            return Descriptor(memfd_create(name, 0), name);
        case Redirect::Kind::File:
            return Descriptor(open(redirect.path.c_str(), flags), redirect.path.string());
        case Redirect::Kind::ReaderlessPipe:
            return makePipe().writing;
        case Redirect::Kind::Closed:
            break;
    }
    return std::nullopt;
}

std::vector<std::string> mergedEnvironment(const std::map<std::string, std::string>& additions) {
    std::vector<std::string> merged;
    for (char** entry = environ; *entry != nullptr; ++entry) {
        const std::string text = *entry;
        if (!additions.contains(text.substr(0, text.find('=')))) {
            merged.push_back(text);
        }
    }
    for (const auto& [name, value] : additions) {
        merged.push_back(name + "=" + value);
    }
    return merged;
}

std::vector<char*> pointersTo(std::vector<std::string>& texts) {
    std::vector<char*> pointers;
    for (std::string& text : texts) {
        pointers.push_back(text.data());
    }
    pointers.push_back(nullptr);
    return pointers;
}

/** Everything the child needs, made before the fork: between fork and exec nothing is allocated. */
class Child {
public:
    explicit Child(const Command& command)
        : command_(command),
          arguments_(command.arguments),
          environment_(mergedEnvironment(command.environment)),
          argv_(pointersTo(arguments_)),
          envp_(pointersTo(environment_)),
          input_(openRedirect(command.input, "stdin", O_RDONLY)),
          output_(openRedirect(command.output, "stdout", O_WRONLY)),
          error_(openRedirect(command.error, "stderr", O_WRONLY)) {}

    /** Starts the program and returns its process id. */
    pid_t start() {
        Pipe report = makePipe();
        const pid_t child = fork();
        if (child < 0) {
            fail("fork");
        }
        if (child == 0) {
            become();
            const int error = errno;
            _exit(write(report.writing.get(), &error, sizeof error) == sizeof error ? 127 : 126);
        }
        report.writing.reset();
        int error = 0;
        if (read(report.reading.get(), &error, sizeof error) > 0) {
            waitpid(child, nullptr, 0);
            throw std::system_error(error, std::generic_category(), arguments_.at(0));
        }
        return child;
    }

    std::string output() const {
        return command_.output.kind == Redirect::Kind::Capture ? text(*output_) : "";
    }
    std::string error() const { return command_.error.kind == Redirect::Kind::Capture ? text(*error_) : ""; }

private:
    /** Returns only on failure, with errno set. */
    void become() {
        place(input_, STDIN_FILENO);
        place(output_, STDOUT_FILENO);
        place(error_, STDERR_FILENO);
        if (!command_.workingDirectory.empty() && chdir(command_.workingDirectory.c_str()) != 0) {
            return;
        }
        if (command_.removeWorkingDirectory && rmdir(command_.workingDirectory.c_str()) != 0) {
            return;
        }
        sigset_t none;
        sigemptyset(&none);
        sigprocmask(SIG_SETMASK, &none, nullptr);
        signal(SIGPIPE, SIG_DFL);
        execve(argv_[0], argv_.data(), envp_.data());
    }

    static void place(const std::optional<Descriptor>& source, int target) {
        if (source) {
            dup2(source->get(), target);
        } else {
            close(target);
        }
    }

    static std::string text(const Descriptor& file) {
        std::string all;
        std::array<char, 65536> part;
        off_t at = 0;
        for (ssize_t got; (got = pread(file.get(), part.data(), part.size(), at)) > 0; at += got) {
            all.append(part.data(), static_cast<std::size_t>(got));
        }
        return all;
    }

    const Command& command_;
    std::vector<std::string> arguments_;
    std::vector<std::string> environment_;
    std::vector<char*> argv_;
    std::vector<char*> envp_;
    std::optional<Descriptor> input_;
    std::optional<Descriptor> output_;
    std::optional<Descriptor> error_;
};

/** True when the process ended by itself before the deadline. */
bool awaitEnd(pid_t process, std::chrono::milliseconds deadline) {
    const Descriptor handle(static_cast<int>(syscall(SYS_pidfd_open, process, 0)), "pidfd_open");
    pollfd waiting{handle.get(), POLLIN, 0};
    return poll(&waiting, 1, static_cast<int>(deadline.count())) > 0;
}

}  // namespace

Outcome run(const Command& command) {
    Child child(command);
    const pid_t process = child.start();
    Outcome outcome;
    if (!awaitEnd(process, command.deadline)) {
        outcome.timedOut = true;
        kill(process, SIGKILL);
    }
    int status = 0;
    if (waitpid(process, &status, 0) < 0) {
        fail("waitpid");
    }
    if (WIFEXITED(status)) {
        outcome.exitStatus = WEXITSTATUS(status);
    } else {
        outcome.signal = WTERMSIG(status);
    }
    outcome.output = child.output();
    outcome.error = child.error();
    return outcome;
}

}  // namespace test
