// Lines and blocks of bytes that have arrived on a loopback connection.

#include <arpa/inet.h>
#include <benchmark/benchmark.h>
#include <netinet/in.h>
#include <sys/socket.h>

#include <chrono>
#include <memory>
#include <string>

#include "Socket.h"

namespace {

// Each round sends first and reads afterwards, so that what is sent has to fit in the buffers of the system.
constexpr int kRounds = 2000;
constexpr int kLines = 64;
constexpr size_t kLineLength = 64;
constexpr size_t kBlock = 32 * 1024;

class Server : public vyn::SocketServer {
public:
    Server() : SocketServer(0, 1, vyn::eBlockingSocket) {}
    int Port() const {
        sockaddr_in address = {};
        socklen_t length = sizeof address;
        getsockname(m_nDescriptor, reinterpret_cast<sockaddr*>(&address), &length);
        return ntohs(address.sin_port);
    }
};

struct Connection {
    Server server;
    vyn::SocketClient sender{"127.0.0.1", server.Port()};
    std::unique_ptr<vyn::Socket> receiver{server.Accept()};
};

// Only the receiving counts: send() and the arrival are outside of the measured time.
template <class Send, class Receive>
void Measure(benchmark::State& state, size_t bytes, Send send, Receive receive) {
    Connection connection;
    for (auto _ : state) {
        send(connection.sender);
        const auto begin = std::chrono::steady_clock::now();
        size_t received = 0;
        while (received < bytes) {
            received += receive(*connection.receiver);
        }
        const std::chrono::duration<double> time = std::chrono::steady_clock::now() - begin;
        state.SetIterationTime(time.count());
    }
    state.SetBytesProcessed(state.iterations() * static_cast<int64_t>(bytes));
}

void ReceiveLine(benchmark::State& state) {
    std::string lines;
    for (int i = 0; i < kLines; ++i) {
        lines += std::string(kLineLength - 2, 'x') + "\r\n";
    }
    Measure(
        state, lines.size(), [&](vyn::Socket& s) { s.SendBytes(lines); },
        [](vyn::Socket& s) { return s.ReceiveLine().size(); });
    state.SetItemsProcessed(state.iterations() * kLines);
}
BENCHMARK(ReceiveLine)->Iterations(kRounds)->UseManualTime();

void ReceiveBytes(benchmark::State& state) {
    const std::string block(kBlock, 'x');
    Measure(
        state, block.size(), [&](vyn::Socket& s) { s.SendBytes(block); },
        [](vyn::Socket& s) { return s.ReceiveBytes().size(); });
}
BENCHMARK(ReceiveBytes)->Iterations(kRounds)->UseManualTime();

}  // namespace
