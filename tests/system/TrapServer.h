#pragma once

#include <atomic>
#include <string>
#include <thread>

namespace test {

/** A web server's port on this host that closes every connection, and reports whether there was one. */
class TrapServer {
public:
    TrapServer();
    ~TrapServer();
    TrapServer(const TrapServer&) = delete;
    TrapServer& operator=(const TrapServer&) = delete;

    /** Its address, with a slash at the end. */
    std::string url() const;

    /** True when a connection was opened. */
    bool wasAsked() const { return asked_; }

private:
    void hangUpOnEverybody();

    int socket_;
    std::atomic<bool> asked_ = false;
    std::thread hangingUp_;
};

}  // namespace test
