#include "TrapServer.h"

#include <arpa/inet.h>
#include <netinet/in.h>
#include <sys/socket.h>
#include <unistd.h>

#include <cerrno>
#include <system_error>

namespace test {
namespace {

constexpr int kBacklog = 16;

sockaddr* generic(sockaddr_in& address) {
    return reinterpret_cast<sockaddr*>(&address);
}

}  // namespace

TrapServer::TrapServer() : socket_(socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0)) {
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    if (socket_ < 0 || bind(socket_, generic(address), sizeof address) != 0 ||
        listen(socket_, kBacklog) != 0) {
        const int error = errno;
        close(socket_);
        throw std::system_error(error, std::generic_category(), "trap server");
    }
    hangingUp_ = std::thread(&TrapServer::hangUpOnEverybody, this);
}

TrapServer::~TrapServer() {
    shutdown(socket_, SHUT_RDWR);  // ends the waiting accept
    hangingUp_.join();
    close(socket_);
}

std::string TrapServer::url() const {
    sockaddr_in address{};
    socklen_t length = sizeof address;
    getsockname(socket_, generic(address), &length);
    return "http://127.0.0.1:" + std::to_string(ntohs(address.sin_port)) + "/";
}

void TrapServer::hangUpOnEverybody() {
    for (int caller; (caller = accept4(socket_, nullptr, nullptr, SOCK_CLOEXEC)) >= 0; close(caller)) {
        asked_ = true;
    }
}

}  // namespace test
