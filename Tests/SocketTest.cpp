#include "Socket.h"

#include <arpa/inet.h>
#include <netinet/in.h>
#include <sys/socket.h>

#include "TestSupport.h"

namespace vyn::test {
using namespace std::string_literals;

// Sees what only derived classes see.
class Server : public SocketServer {
public:
    explicit Server(TypeSocket type = eBlockingSocket, int port = 0) : SocketServer(port, 4, type) {}

    sockaddr_in Address() const {
        sockaddr_in address = {};
        socklen_t length = sizeof address;
        getsockname(m_nDescriptor, reinterpret_cast<sockaddr*>(&address), &length);
        return address;
    }
    int Port() const { return ntohs(Address().sin_port); }
    int Descriptor() const { return m_nDescriptor; }
    static int LiveSockets() { return nofSockets_; }
};

// Two connected sockets, with the descriptors at hand to look from outside.
struct Pair {
    Pair() {
        int fds[2];
        EXPECT_EQ(socketpair(AF_UNIX, SOCK_STREAM, 0, fds), 0);
        std::tie(fd, peerFd) = std::tuple(fds[0], fds[1]);
        a = std::make_unique<Socket>(fd);
        b = std::make_unique<Socket>(peerFd);
    }
    int fd, peerFd;  // of a and b
    std::unique_ptr<Socket> a, b;
};

bool IsOpen(int descriptor) {
    return fcntl(descriptor, F_GETFD) != -1;
}

// Calls f and returns the text that it throws, which is of one kind or the other.
template <class Text = const char*, class F>
std::string Thrown(F f) {
    try {
        f();
    } catch (const Text& text) {
        return text;
    }
    return "nothing";
}

TEST(Socket, ClosesItsDescriptorWithTheLastCopy) {
    const int live = Server::LiveSockets();
    Pair one, two;
    { const Socket copy(*one.a); }
    EXPECT_EQ(Server::LiveSockets(), live + 4);
    Socket copy(*one.a);
    *one.a = *two.a;
    EXPECT_TRUE(IsOpen(one.fd)) << "a copy is left";
    copy = *two.a;
    EXPECT_FALSE(IsOpen(one.fd));
    copy = copy;
    copy = *one.a;
    two.a.reset();
    one.a.reset();
    EXPECT_EQ(Server::LiveSockets(), live + 3);
    copy.SendBytes("y");
    EXPECT_EQ(two.b->ReceiveBytes(), "y");
}

TEST(Socket, NeverClosesANumberThatStandsForSomethingElse) {
    Pair pair;
    auto copy = std::make_unique<Socket>(*pair.a);
    pair.a->Close();
    ASSERT_FALSE(IsOpen(pair.fd));
    const int other = dup2(STDERR_FILENO, pair.fd);
    copy->Close();
    copy.reset();
    pair.a.reset();
    EXPECT_TRUE(IsOpen(other));
    close(other);
}

TEST(Socket, ReceivesLinesWithTheirEnds) {
    Pair pair;
    pair.a->SendLine("abc");
    pair.a->SendBytes("e\0f\n\r\n"s + std::string(5000, 'x') + "\nabc");
    pair.a->Close();
    for (const std::string& expected : {"abc\r\n"s, "e\0f\n"s, "\r\n"s, std::string(5000, 'x') + "\n", "abc"s, ""s}) {
        EXPECT_EQ(pair.b->ReceiveLine(), expected);
    }
}

TEST(Socket, ReceivesTheBytesThatHaveArrivedAndNeverWaits) {
    Pair pair;
    EXPECT_EQ(pair.b->ReceiveBytes(), "");
    const std::string bytes = std::string(2999, 'x') + '\0';
    pair.a->SendBytes(bytes);
    EXPECT_EQ(pair.b->ReceiveBytes(), bytes);
    EXPECT_EQ(pair.b->ReceiveBytes(), "");
    Socket none(-1);
    EXPECT_EQ(none.ReceiveBytes() + none.ReceiveLine(), "");
}

TEST(Socket, TalksOverAPortAndIsNotInheritedByPrograms) {
    const int live = Server::LiveSockets();
    Server server;
    const auto before = OpenDescriptors();
    {
        SocketClient client("localhost", server.Port());
        const int accepted = LowestFreeDescriptor();
        std::unique_ptr<Socket> peer(server.Accept());
        EXPECT_EQ(fcntl(server.Descriptor(), F_GETFD), FD_CLOEXEC);
        EXPECT_EQ(fcntl(accepted, F_GETFD), FD_CLOEXEC);
        client.SendLine("ping");
        EXPECT_EQ(peer->ReceiveLine(), "ping\r\n");
        peer->SendBytes("pong");
        peer.reset();
        EXPECT_EQ(client.ReceiveLine(), "pong");
    }
    EXPECT_EQ(OpenDescriptors(), before);
    EXPECT_EQ(Thrown([&] { Server second(eBlockingSocket, server.Port()); }), "INVALID_SOCKET");
    EXPECT_EQ(errno, EADDRINUSE);
    EXPECT_EQ(OpenDescriptors(), before);
    EXPECT_EQ(Server::LiveSockets(), live + 1);
}

TEST(SocketServer, DoesNotWaitWhenItIsNonBlocking) {
    Server server(eNonBlockingSocket);
    EXPECT_EQ(Thrown([&] { server.Accept(); }), "Invalid Socket");
    EXPECT_EQ(errno, EAGAIN);
    SocketClient client("127.0.0.1", server.Port());
    SocketSelect(&server, nullptr, eBlockingSocket);
    std::unique_ptr<Socket> peer(server.Accept());
    client.SendLine("x");
    EXPECT_EQ(peer->ReceiveLine(), "x\r\n") << "the connection itself is blocking";
}

TEST(SocketClient, ThrowsTheSystemsMessage) {
    const auto before = OpenDescriptors();
    const int port = Server().Port();
    // The second name is told apart from an address without asking a name server.
    for (const char* host : {"127.0.0.1", "127.0.0.256"}) {
        const std::string message = Thrown<std::string>([&] { SocketClient client(host, port); });
        EXPECT_EQ(message, strerror(errno)) << host;
    }
    EXPECT_EQ(OpenDescriptors(), before);
}

TEST(SocketSelect, TellsWhichOfItsSocketsCanBeRead) {
    Pair one, two, three;
    SocketSelect nothing(one.b.get(), two.b.get(), eNonBlockingSocket);
    EXPECT_FALSE(nothing.Readable(one.b.get()) || nothing.Readable(two.b.get()));

    two.a->SendBytes("x");
    three.a->SendBytes("x");
    SocketSelect second(one.b.get(), two.b.get(), eBlockingSocket);
    EXPECT_FALSE(second.Readable(one.b.get()));
    EXPECT_TRUE(second.Readable(two.b.get()));
    EXPECT_FALSE(second.Readable(three.b.get())) << "wasn't waited for";

    one.a.reset();
    SocketSelect alone(one.b.get(), nullptr, eBlockingSocket);
    EXPECT_TRUE(alone.Readable(one.b.get())) << "at the end of the stream";

    Socket high(fcntl(STDERR_FILENO, F_DUPFD, 1500)), closed(dup(STDERR_FILENO)), none(-1);
    closed.Close();
    SocketSelect(two.b.get(), &high, eNonBlockingSocket);
    for (const Socket* bad : {&closed, &none}) {
        EXPECT_EQ(Thrown([&] { SocketSelect(bad, nullptr, eNonBlockingSocket); }), "Error in select");
        EXPECT_EQ(errno, EBADF);
        EXPECT_FALSE(alone.Readable(bad));
    }
}

// Each call waits, is interrupted, and gives what it waited for.
TEST(Socket, GoesOnAfterASignal) {
    Pair pair;
    Server server;
    const auto sendLine = [&] { pair.a->SendBytes("x\n"); };
    for (const int type : {0, 2}) {
        const Interruptions interruptions(sendLine);
        SocketSelect select(pair.b.get(), nullptr, static_cast<TypeSocket>(type));
        EXPECT_TRUE(select.Readable(pair.b.get())) << "any type other than non-blocking waits";
        EXPECT_EQ(pair.b->ReceiveLine(), "x\n");
    }
    {
        const Interruptions interruptions(sendLine);
        EXPECT_EQ(pair.b->ReceiveLine(), "x\n");
    }
    {
        const sockaddr_in address = server.Address();
        const int fd = socket(AF_INET, SOCK_STREAM, 0);
        const Socket client(fd);
        const Interruptions interruptions(
            [&] { connect(fd, reinterpret_cast<const sockaddr*>(&address), sizeof address); });
        EXPECT_EQ(Thrown([&] { delete server.Accept(); }), "nothing");
    }
    static char block[1 << 20];
    while (send(pair.fd, block, 4096, MSG_DONTWAIT) > 0) {
    }
    const Interruptions interruptions([&] { recv(pair.peerFd, block, sizeof block, MSG_DONTWAIT); });
    EXPECT_EQ(pair.a->SendSingleLine("end"), 0);
    EXPECT_EQ(pair.b->ReceiveBytes(), "end\r\n");
}

TEST(Socket, ReceivesALineUpToALimit) {
    const Rows<size_t, int, std::string> rows = {
        {4, 0, "abc\n"}, {3, EMSGSIZE, "def"}, {5, 0, "\n"}, {0, EMSGSIZE, ""}, {9, ENODATA, "gh"}};
    Pair pair;
    pair.a->SendBytes("abc\ndef\ngh");
    pair.a.reset();
    for (const auto& [limit, result, expectedLine] : rows) {
        std::string line = "old";
        EXPECT_EQ(pair.b->ReceiveLine(line, limit), result) << expectedLine;
        EXPECT_EQ(line, expectedLine);
    }
    std::string line;
    EXPECT_EQ(Socket(-1).ReceiveLine(line, 1), EBADF);
}

TEST(Socket, SendsSingleLinesOnlyAndWithoutASignal) {
    Pair pair;
    EXPECT_EQ(pair.a->SendSingleLine(""), 0);
    EXPECT_EQ(pair.a->SendSingleLine("a\rb"), EINVAL);
    EXPECT_EQ(pair.a->SendSingleLine("a\nb"), EINVAL);
    EXPECT_EQ(pair.b->ReceiveBytes(), "\r\n");
    pair.b.reset();
    EXPECT_EQ(pair.a->SendSingleLine("a"), EPIPE);
    pair.a->SendBytes("a");
    EXPECT_EQ(errno, EPIPE);
}

}  // namespace vyn::test
