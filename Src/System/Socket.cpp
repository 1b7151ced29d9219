#include "Socket.h"

#include <arpa/inet.h>
#include <netdb.h>
#include <netinet/in.h>
#include <poll.h>
#include <sys/ioctl.h>
#include <sys/socket.h>

#include <algorithm>
#include <cerrno>
#include <cstring>

#include "System/Descriptor_p.h"

namespace vyn {

using detail::Retried;

namespace {

constexpr int waitForEver = -1;  // as a time limit of poll

sockaddr_in MakeAddress(in_addr host, int port) {
    sockaddr_in address = {};
    address.sin_family = AF_INET;
    address.sin_port = htons(static_cast<uint16_t>(port));
    address.sin_addr = host;
    return address;
}

ssize_t Receive(int descriptor, char* buffer, size_t length) {
    return Retried([&] { return recv(descriptor, buffer, length, 0); });
}

ssize_t Send(int descriptor, const char* bytes, size_t length) {
    return Retried([&] { return send(descriptor, bytes, length, MSG_NOSIGNAL); });
}

// A connect that a signal interrupts goes on by itself; a second call would fail.
bool Connect(int descriptor, const sockaddr_in& address) {
    if (connect(descriptor, reinterpret_cast<const sockaddr*>(&address), sizeof address) == 0) {
        return true;
    }
    if (errno != EINTR) {
        return false;
    }
    pollfd connecting = {descriptor, POLLOUT, 0};
    Retried([&] { return poll(&connecting, 1, waitForEver); });
    int error = 0;
    socklen_t length = sizeof error;
    getsockopt(descriptor, SOL_SOCKET, SO_ERROR, &error, &length);
    errno = error;
    return error == 0;
}

}  // namespace

int Socket::nofSockets_ = 0;

void Socket::Start() {
    ++nofSockets_;
}

void Socket::End() {}

// Delegates, so that the destructor cleans up when there is no descriptor.
Socket::Socket() : Socket(socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0)) {
    if (m_nDescriptor == -1) {
        throw "INVALID_SOCKET";
    }
}

Socket::Socket(int descriptor)
    : m_nDescriptor(descriptor), m_pShared(std::make_shared<detail::Descriptor>(descriptor)) {
    Start();
}

Socket::Socket(const Socket& other) : m_nDescriptor(other.m_nDescriptor), m_pShared(other.m_pShared) {
    Start();
}

// NOLINTNEXTLINE(bugprone-unhandled-self-assignment): each member may be assigned to itself
Socket& Socket::operator=(Socket& other) {
    m_nDescriptor = other.m_nDescriptor;
    m_pShared = other.m_pShared;
    return *this;
}

Socket::~Socket() {
    if (--nofSockets_ == 0) {
        End();
    }
}

std::string Socket::ReceiveLine() {
    std::string line;
    ReceiveLine(line, line.max_size());
    return line;
}

int Socket::ReceiveLine(std::string& line, size_t limit) {
    line.clear();
    while (line.size() < limit) {
        char c;
        const ssize_t received = Receive(m_nDescriptor, &c, 1);
        if (received <= 0) {
            return received == 0 ? ENODATA : errno;
        }
        line += c;
        if (c == '\n') {
            return 0;
        }
    }
    return EMSGSIZE;
}

std::string Socket::ReceiveBytes() {
    std::string bytes;
    char buffer[1024];
    int waiting = 0;
    while (ioctl(m_nDescriptor, FIONREAD, &waiting) == 0 && waiting > 0) {
        const size_t wanted = std::min(static_cast<size_t>(waiting), sizeof buffer);
        const ssize_t received = Receive(m_nDescriptor, buffer, wanted);
        if (received <= 0) {
            break;
        }
        bytes.append(buffer, static_cast<size_t>(received));
    }
    return bytes;
}

void Socket::SendLine(std::string line) {
    line += "\r\n";
    SendBytes(line);
}

int Socket::SendSingleLine(const std::string& text) {
    if (text.find_first_of("\r\n") != std::string::npos) {
        return EINVAL;
    }
    const std::string line = text + "\r\n";
    for (size_t sent = 0; sent < line.size();) {
        const ssize_t n = Send(m_nDescriptor, line.data() + sent, line.size() - sent);
        if (n < 0) {
            return errno;
        }
        sent += static_cast<size_t>(n);
    }
    return 0;
}

void Socket::SendBytes(const std::string& bytes) {
    Send(m_nDescriptor, bytes.data(), bytes.size());
}

void Socket::Close() {
    m_pShared->Close();
}

SocketServer::SocketServer(int port, int connections, TypeSocket type) {
    if (type == eNonBlockingSocket) {
        int on = 1;
        ioctl(m_nDescriptor, FIONBIO, &on);
    }
    const sockaddr_in address = MakeAddress({INADDR_ANY}, port);
    if (bind(m_nDescriptor, reinterpret_cast<const sockaddr*>(&address), sizeof address) != 0) {
        throw "INVALID_SOCKET";
    }
    listen(m_nDescriptor, connections);
}

Socket* SocketServer::Accept() {
    const int descriptor = Retried([&] { return accept4(m_nDescriptor, nullptr, nullptr, SOCK_CLOEXEC); });
    if (descriptor == -1) {
        throw "Invalid Socket";
    }
    return new Socket(descriptor);
}

SocketClient::SocketClient(const std::string& host, int port) {
    const hostent* entry = gethostbyname(host.c_str());
    if (!entry) {
        throw std::string(strerror(errno));
    }
    in_addr hostAddress;
    memcpy(&hostAddress, entry->h_addr_list[0], sizeof hostAddress);
    const sockaddr_in address = MakeAddress(hostAddress, port);
    if (!Connect(m_nDescriptor, address)) {
        throw std::string(strerror(errno));
    }
}

SocketSelect::SocketSelect(const Socket* const s1, const Socket* const s2, TypeSocket type) : m_readable{-1, -1} {
    pollfd sockets[] = {{s1->m_nDescriptor, POLLIN, 0}, {s2 ? s2->m_nDescriptor : -1, POLLIN, 0}};
    const nfds_t count = s2 ? 2 : 1;
    if (Retried([&] { return poll(sockets, count, type == eNonBlockingSocket ? 0 : waitForEver); }) == -1) {
        throw "Error in select";
    }
    for (nfds_t i = 0; i < count; ++i) {
        // A negative number is passed over by poll.
        if (sockets[i].fd < 0 || sockets[i].revents & POLLNVAL) {
            errno = EBADF;
            throw "Error in select";
        }
        if (sockets[i].revents != 0) {
            m_readable[i] = sockets[i].fd;
        }
    }
}

bool SocketSelect::Readable(const Socket* const s) {
    const int descriptor = s->m_nDescriptor;
    return descriptor != -1 && (descriptor == m_readable[0] || descriptor == m_readable[1]);
}

}  // namespace vyn
