#pragma once

#include <string>

namespace test {

/** A web server's port on this host that answers nobody, and knows whether somebody came. */
class TrapServer {
public:
    TrapServer();
    ~TrapServer();
    TrapServer(const TrapServer&) = delete;
    TrapServer& operator=(const TrapServer&) = delete;

    /** Its address, with a slash at the end. */
    std::string url() const;

    /** True when a connection was opened. */
    bool wasAsked() const;

private:
    int socket_;
};

}  // namespace test
