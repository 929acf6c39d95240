#pragma once

#include <unistd.h>

namespace tools {

/** Owns a file descriptor; a negative one stands for none. */
class UniqueFd {
public:
    explicit UniqueFd(int fd) : fd_(fd) {}
    ~UniqueFd() {
        if (fd_ >= 0) {
            close(fd_);
        }
    }
    UniqueFd(const UniqueFd&) = delete;
    UniqueFd& operator=(const UniqueFd&) = delete;

    int get() const { return fd_; }

private:
    int fd_;
};

}  // namespace tools
