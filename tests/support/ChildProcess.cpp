#include "ChildProcess.h"

#include "TempDir.h"

#include <fcntl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <exception>
#include <system_error>

namespace test {
namespace {

constexpr unsigned kDeadlineSeconds = 60;
constexpr int kThrown = 99;

void redirect(int descriptor, const std::filesystem::path& file) {
    const int opened = open(file.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_APPEND, 0600);
    if (opened < 0 || dup2(opened, descriptor) < 0) {
        throw std::system_error(errno, std::generic_category(), file.string());
    }
    close(opened);
}

int statusOf(const std::function<int()>& body) {
    try {
        return body();
    } catch (const std::exception& error) {
        std::fprintf(stderr, "%s\n", error.what());
        return kThrown;
    }
}

}  // namespace

Outcome runInChild(const std::function<int()>& body) {
    const TempDir folder;
    std::fflush(nullptr);
    const pid_t child = fork();
    if (child < 0) {
        throw std::system_error(errno, std::generic_category(), "fork");
    }
    if (child == 0) {
        redirect(STDOUT_FILENO, folder / "out");
        redirect(STDERR_FILENO, folder / "err");
        alarm(kDeadlineSeconds);
        std::exit(statusOf(body));
    }
    int status = 0;
    while (waitpid(child, &status, 0) < 0 && errno == EINTR) {
    }
    Outcome outcome;
    if (WIFEXITED(status)) {
        outcome.exitStatus = WEXITSTATUS(status);
    } else {
        outcome.signal = WTERMSIG(status);
        outcome.timedOut = outcome.signal == SIGALRM;
    }
    outcome.output = readFile(folder / "out");
    outcome.error = readFile(folder / "err");
    return outcome;
}

}  // namespace test
