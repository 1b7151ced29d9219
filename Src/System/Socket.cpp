#include "Socket.h"

#include <arpa/inet.h>
#include <netdb.h>
#include <netinet/in.h>
#include <sys/ioctl.h>
#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <utility>

namespace vyn {

namespace {

sockaddr_in MakeAddress(in_addr host, int port) {
    sockaddr_in address = {};
    address.sin_family = AF_INET;
    address.sin_port = htons(static_cast<uint16_t>(port));
    address.sin_addr = host;
    return address;
}

}  // namespace

int Socket::nofSockets_ = 0;

void Socket::Start() {
    ++nofSockets_;
}

void Socket::End() {}

// Delegates, so that the destructor cleans up when there is no descriptor.
Socket::Socket() : Socket(-1) {
    m_nDescriptor = socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
    if (m_nDescriptor == -1) {
        throw "INVALID_SOCKET";
    }
}

Socket::Socket(int descriptor) : m_nDescriptor(descriptor), m_pShared(new Shared{1, false}) {
    Start();
}

Socket::Socket(const Socket& other) : m_nDescriptor(other.m_nDescriptor), m_pShared(other.m_pShared) {
    ++m_pShared->nReferences;
    Start();
}

Socket& Socket::operator=(Socket& other) {
    Socket previous(other);
    std::swap(m_nDescriptor, previous.m_nDescriptor);
    std::swap(m_pShared, previous.m_pShared);
    return *this;
}

Socket::~Socket() {
    if (--m_pShared->nReferences == 0) {
        Close();
        delete m_pShared;
    }
    if (--nofSockets_ == 0) {
        End();
    }
}

std::string Socket::ReceiveLine() {
    std::string line;
    char c;
    while (recv(m_nDescriptor, &c, 1, 0) > 0) {
        line += c;
        if (c == '\n') {
            break;
        }
    }
    return line;
}

std::string Socket::ReceiveBytes() {
    std::string bytes;
    char buffer[1024];
    int waiting = 0;
    while (ioctl(m_nDescriptor, FIONREAD, &waiting) == 0 && waiting > 0) {
        const size_t wanted = std::min(static_cast<size_t>(waiting), sizeof buffer);
        const ssize_t received = recv(m_nDescriptor, buffer, wanted, 0);
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

void Socket::SendBytes(const std::string& bytes) {
    send(m_nDescriptor, bytes.data(), bytes.size(), 0);
}

void Socket::Close() {
    if (m_pShared->bClosed || m_nDescriptor == -1) {
        return;
    }
    m_pShared->bClosed = true;
    close(m_nDescriptor);
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
    const int descriptor = accept4(m_nDescriptor, nullptr, nullptr, SOCK_CLOEXEC);
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
    if (connect(m_nDescriptor, reinterpret_cast<const sockaddr*>(&address), sizeof address) != 0) {
        throw std::string(strerror(errno));
    }
}

SocketSelect::SocketSelect(const Socket* const s1, const Socket* const s2, TypeSocket type) {
    FD_ZERO(&m_setReadable);
    FD_SET(s1->m_nDescriptor, &m_setReadable);
    int highest = s1->m_nDescriptor;
    if (s2) {
        FD_SET(s2->m_nDescriptor, &m_setReadable);
        highest = std::max(highest, s2->m_nDescriptor);
    }
    timeval poll = {0, 1};
    timeval* limit = type == eNonBlockingSocket ? &poll : nullptr;
    if (select(highest + 1, &m_setReadable, nullptr, nullptr, limit) == -1) {
        throw "Error in select";
    }
}

bool SocketSelect::Readable(const Socket* const s) {
    return FD_ISSET(s->m_nDescriptor, &m_setReadable) != 0;
}

}  // namespace vyn
