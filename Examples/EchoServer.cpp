// A small HTTP/1.1 server. "GET /echo?text=..." answers with the text, "POST /echo" with the body of the request.
//
//     EchoServer [text...]       serves itself: a client sends the texts, and requests that are refused
//     EchoServer --serve [port]  serves all addresses of this machine until it is stopped
//
// Each connection has a process of its own, so that a slow client keeps nobody else waiting.

#include <arpa/inet.h>
#include <netinet/in.h>
#include <poll.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <csignal>
#include <cstdlib>
#include <cstring>
#include <iostream>
#include <map>
#include <memory>
#include <string>
#include <vector>

#include "Socket.h"
#include "VynHttp.h"

namespace {

using Clock = std::chrono::steady_clock;

constexpr size_t maxHead = 8 << 10;  // bytes: the request line and the headers
constexpr size_t maxBody = 1 << 20;  // bytes
constexpr int maxClients = 64;
constexpr auto requestTime = std::chrono::seconds(10);
constexpr auto lingerTime = std::chrono::seconds(1);

// Why a request gets no proper answer; the connection ends. Without a status there is nobody to tell.
struct Failure {
    const char* status;
};
constexpr Failure hangUp = {nullptr};
constexpr Failure badRequest = {"400 Bad Request"};

struct Request {
    std::string line;                            // without its line end
    std::map<std::string, std::string> headers;  // names in lower case
    std::string body;
    bool keepAlive = false;

    bool Has(const std::string& header, const std::string& value) const {
        const auto found = headers.find(header);
        std::string text = found == headers.end() ? "" : found->second;
        vyn::ToLower(text);
        return text == value;
    }
};

// Reads requests with limits on their size and time.
class Connection : public vyn::Socket {
public:
    Connection(const vyn::Socket& socket, std::chrono::seconds limit) : Socket(socket), m_limit(limit) {}

    // False when the client is done, or silent for too long. Throws Failure.
    bool ReadRequest(Request& request);
    void Answer(const std::string& status, const std::string& body, bool keepAlive, bool withBody = true);
    void Refuse(const char* status);

private:
    bool Fill();
    std::string ReadLine(size_t& budget);
    std::string ReadBytes(size_t length);
    void ReadHeaders(Request& request);
    void ReadBody(Request& request);
    std::string ReadChunks();

    const std::chrono::seconds m_limit;  // for one request, and for one answer
    Clock::time_point m_deadline;
    std::string m_bytes;  // have arrived, and aren't used yet
};

// Waits for more bytes. False at the end of the stream.
bool Connection::Fill() {
    for (;;) {
        const auto left = std::chrono::duration_cast<std::chrono::milliseconds>(m_deadline - Clock::now());
        pollfd arrival = {m_nDescriptor, POLLIN, 0};
        const int ready = poll(&arrival, 1, std::max(0, static_cast<int>(left.count())));
        if (ready == 0) {
            throw Failure{"408 Request Timeout"};
        }
        if (ready == 1) {
            const std::string bytes = ReceiveBytes();
            m_bytes += bytes;
            return !bytes.empty();
        }
    }
}

// A line without its end, which may be a mere line feed; its bytes are taken off the budget.
std::string Connection::ReadLine(size_t& budget) {
    size_t end;
    while ((end = m_bytes.find('\n')) == std::string::npos && m_bytes.size() <= budget) {
        if (!Fill()) {
            throw hangUp;
        }
    }
    if (end >= budget) {
        throw Failure{"431 Request Header Fields Too Large"};
    }
    budget -= end + 1;
    std::string line = m_bytes.substr(0, end);
    m_bytes.erase(0, end + 1);
    if (!line.empty() && line.back() == '\r') {
        line.pop_back();
    }
    return line;
}

std::string Connection::ReadBytes(size_t length) {
    while (m_bytes.size() < length) {
        if (!Fill()) {
            throw hangUp;
        }
    }
    std::string bytes = m_bytes.substr(0, length);
    m_bytes.erase(0, length);
    return bytes;
}

// A number of digits only, to the base 10 or 16. Anything above the limit of a body is refused as too large.
size_t ParseLength(const std::string& text, int base) {
    const char* const digits = base == 10 ? "0123456789" : "0123456789abcdefABCDEF";
    if (text.empty() || text.find_first_not_of(digits) != std::string::npos) {
        throw badRequest;
    }
    const unsigned long long length = strtoull(text.c_str(), nullptr, base);  // the highest number on overflow
    if (length > maxBody) {
        throw Failure{"413 Content Too Large"};
    }
    return static_cast<size_t>(length);
}

std::string Trimmed(const std::string& text) {
    const size_t begin = text.find_first_not_of(" \t");
    return begin == std::string::npos ? "" : text.substr(begin, text.find_last_not_of(" \t") + 1 - begin);
}

void Connection::ReadHeaders(Request& request) {
    size_t budget = maxHead;
    do {
        request.line = ReadLine(budget);
    } while (request.line.empty());  // clients of old send a line end too many
    const bool isVersion1 = request.line.find(" HTTP/1.") != std::string::npos;
    if (!isVersion1 || std::count(request.line.begin(), request.line.end(), ' ') != 2) {
        throw badRequest;
    }
    for (std::string line; !(line = ReadLine(budget)).empty();) {
        const size_t colon = line.find(':');
        std::string name = line.substr(0, colon);
        if (colon == std::string::npos || name.empty() || name.find_first_of(" \t") != std::string::npos) {
            throw badRequest;
        }
        vyn::ToLower(name);
        // Two headers of one name would have to be read as a list, which none of those that count here is.
        const bool isNew = request.headers.emplace(name, Trimmed(line.substr(colon + 1))).second;
        if (!isNew && (name == "host" || name == "content-length" || name == "transfer-encoding")) {
            throw badRequest;
        }
    }
    const bool isOld = request.line.compare(request.line.size() - 3, 3, "1.0") == 0;
    if (!isOld && request.headers.count("host") == 0) {
        throw badRequest;
    }
    request.keepAlive = isOld ? request.Has("connection", "keep-alive") : !request.Has("connection", "close");
}

std::string Connection::ReadChunks() {
    std::string body;
    for (;;) {
        size_t budget = maxHead;
        const std::string head = ReadLine(budget);
        const size_t length = ParseLength(Trimmed(head.substr(0, head.find(';'))), 16);
        if (length == 0) {
            while (!ReadLine(budget).empty()) {  // headers behind the body, which say nothing here
            }
            return body;
        }
        if (body.size() + length > maxBody) {
            throw Failure{"413 Content Too Large"};
        }
        body += ReadBytes(length);
        if (!ReadLine(budget).empty()) {
            throw badRequest;
        }
    }
}

void Connection::ReadBody(Request& request) {
    const bool isChunked = request.headers.count("transfer-encoding") != 0;
    const auto length = request.headers.find("content-length");
    if (isChunked && length != request.headers.end()) {
        throw badRequest;  // which of them counts is what attacks are made of
    }
    if (isChunked && !request.Has("transfer-encoding", "chunked")) {
        throw Failure{"501 Not Implemented"};
    }
    const size_t announced = length == request.headers.end() ? 0 : ParseLength(length->second, 10);
    if (request.Has("expect", "100-continue") && (isChunked || announced > m_bytes.size())) {
        SendBytes("HTTP/1.1 100 Continue\r\n\r\n");
    }
    request.body = isChunked ? ReadChunks() : ReadBytes(announced);
}

bool Connection::ReadRequest(Request& request) {
    m_deadline = Clock::now() + m_limit;
    try {
        if (m_bytes.empty() && !Fill()) {
            return false;
        }
    } catch (const Failure&) {
        return false;  // no request, so that nobody is told of the time
    }
    ReadHeaders(request);
    ReadBody(request);
    return true;
}

void Connection::Answer(const std::string& status, const std::string& body, bool keepAlive, bool withBody) {
    alarm(static_cast<unsigned>(m_limit.count()));  // ends this process when the client doesn't read
    SendBytes("HTTP/1.1 " + status + "\r\nContent-Length: " + std::to_string(body.length()) +
              (keepAlive ? "\r\n\r\n" : "\r\nConnection: close\r\n\r\n") + (withBody ? body : ""));
    alarm(0);
}

// The rest of the request is read for a while: a connection that is closed with bytes unread takes the answer
// away from the client.
void Connection::Refuse(const char* status) {
    Answer(status, "", false);
    shutdown(m_nDescriptor, SHUT_WR);
    m_deadline = Clock::now() + lingerTime;
    try {
        while (Fill()) {
            m_bytes.clear();
        }
    } catch (const Failure&) {
    }
}

void AnswerRequest(Connection& client, const Request& request) {
    std::string path;
    std::map<std::string, std::string> params;
    vyn::SplitGetReq(request.line, path, params);
    const bool isHead = path.compare(0, 5, "HEAD ") == 0;
    const bool isGet = isHead || path.compare(0, 4, "GET ") == 0;
    const bool isPost = path.compare(0, 5, "POST ") == 0;
    const bool isKnown = path.substr(path.find(' ') + 1) == "/echo";
    if (!isKnown) {
        client.Answer("404 Not Found", "", request.keepAlive, !isHead);
    } else if (!isGet && !isPost) {
        client.Answer("405 Method Not Allowed\r\nAllow: GET, HEAD, POST", "", request.keepAlive);
    } else if (isGet && params.count("text") == 0) {
        client.Answer("400 Bad Request", "", request.keepAlive, !isHead);
    } else {
        client.Answer("200 OK", isPost ? request.body : params["text"], request.keepAlive, !isHead);
    }
}

void ServeClient(Connection& client) {
    try {
        Request request;
        while (client.ReadRequest(request)) {
            AnswerRequest(client, request);
            if (!request.keepAlive) {
                return;
            }
            request = Request();
        }
    } catch (const Failure& failure) {
        if (failure.status) {
            client.Refuse(failure.status);
        }
    }
}

class EchoServer : public vyn::SocketServer {
public:
    // The port 0 lets the system choose one. At most so many clients are served at a time.
    EchoServer(int port, int clients, std::chrono::seconds limit)
        : SocketServer(port, 16, vyn::eBlockingSocket), m_nClientsLeft(clients), m_limit(limit) {}

    int Port() const {
        sockaddr_in address = {};
        socklen_t length = sizeof address;
        getsockname(m_nDescriptor, reinterpret_cast<sockaddr*>(&address), &length);
        return ntohs(address.sin_port);
    }
    [[noreturn]] void Serve();

private:
    int m_nClientsLeft;
    const std::chrono::seconds m_limit;
};

void EchoServer::Serve() {
    for (;;) {
        std::unique_ptr<vyn::Socket> socket(Accept());
        Connection client(*socket, m_limit);
        while (waitpid(-1, nullptr, WNOHANG) > 0) {
            ++m_nClientsLeft;
        }
        const pid_t child = m_nClientsLeft > 0 ? fork() : -1;
        if (child == -1) {
            client.Answer("503 Service Unavailable", "", false);
        } else if (child == 0) {
            Close();
            ServeClient(client);
            _exit(0);
        } else {
            --m_nClientsLeft;
        }
    }
}

// The client of the demonstration sends its requests as they stand here, and says what comes back.
class Client : public vyn::SocketClient {
public:
    explicit Client(int port) : SocketClient("127.0.0.1", port) {}

    // Returns the status without the version, and the body of an answer.
    std::string Receive() {
        const std::string status = vyn::TruncAtNewLine(ReceiveLine());
        size_t length = 0;
        for (std::string line; (line = ReceiveLine()).length() > 2;) {
            constexpr char name[] = "Content-Length: ";
            if (line.compare(0, strlen(name), name) == 0) {
                length = strtoul(line.c_str() + strlen(name), nullptr, 10);
            }
        }
        std::string body(length, '\0');
        if (length != 0) {  // to wait for no bytes at all is to wait for some
            recv(m_nDescriptor, &body[0], length, MSG_WAITALL);
        }
        return status.substr(std::min(status.length(), strlen("HTTP/1.1 "))) + (length != 0 ? ": " + body : "");
    }
};

int failures = 0;

void Show(const std::string& what, const std::string& answer, const std::string& expected) {
    std::cout << what << "\n  -> " << answer << std::endl;
    failures += answer != expected;
}

void SendTexts(int port, const std::vector<std::string>& texts) {
    Client client(port);  // one connection for all
    for (const std::string& text : texts) {
        std::string target = "/echo?text=";
        vyn::EncodeAgentURL(text, target);
        client.SendBytes("GET " + target + " HTTP/1.1\r\nHost: localhost\r\n\r\n");
        Show("GET " + target, client.Receive(), "200 OK: " + text);
        client.SendBytes("POST /echo HTTP/1.1\r\nHost: localhost\r\nContent-Length: " + std::to_string(text.length()) +
                         "\r\n\r\n" + text);
        Show("POST /echo of " + text, client.Receive(), "200 OK: " + text);
    }
}

void SendOddRequests(int port) {
    const std::string post = "POST /echo HTTP/1.1\r\nHost: a\r\n";
    const struct {
        const char* what;
        std::string request, answer;
    } rows[] = {
        {"another path", "GET / HTTP/1.1\r\nHost: a\r\n\r\n", "404 Not Found"},
        {"lines that end in a line feed", "POST /echo HTTP/1.0\nContent-Length: 2\n\nok", "200 OK: ok"},
        {"chunks", post + "Transfer-Encoding: chunked\r\n\r\n4;x=y\r\nin p\r\nA\r\nieces of 2\r\n0\r\nEnd: 1\r\n\r\n",
         "200 OK: in pieces of 2"},
        {"a chunk longer than it says", post + "Transfer-Encoding: chunked\r\n\r\n1\r\nab\r\n0\r\n\r\n",
         "400 Bad Request"},
        {"two lengths", post + "Content-Length: 1\r\nContent-Length: 2\r\n\r\nab", "400 Bad Request"},
        {"a length and chunks", post + "Content-Length: 5\r\nTransfer-Encoding: chunked\r\n\r\n0\r\n\r\n",
         "400 Bad Request"},
        {"a negative length", post + "Content-Length: -1\r\n\r\n", "400 Bad Request"},
        {"no host", "GET /echo?text=a HTTP/1.1\r\n\r\n", "400 Bad Request"},
        {"no request", "hello\r\n\r\n", "400 Bad Request"},
        {"a body too large", post + "Content-Length: 99999999999999999999\r\n\r\n", "413 Content Too Large"},
        {"chunks too large", post + "Transfer-Encoding: chunked\r\n\r\nFFFFFF\r\n", "413 Content Too Large"},
        {"a head too large", "GET /" + std::string(maxHead, 'x'), "431 Request Header Fields Too Large"},
        {"another coding", post + "Transfer-Encoding: gzip\r\n\r\n", "501 Not Implemented"},
        {"another method", "PUT /echo HTTP/1.1\r\nHost: a\r\n\r\n", "405 Method Not Allowed"},
        {"half a request", "GET /echo?te", "408 Request Timeout"},
        {"a body that is awaited", post + "Expect: 100-continue\r\nContent-Length: 1\r\n\r\n", "100 Continue"},
    };
    for (const auto& row : rows) {
        Client client(port);
        client.SendBytes(row.request);
        Show(row.what, client.Receive(), row.answer);
    }
}

// While the one client of a server sits there, a further one is sent away.
void CrowdTheServer(int port) {
    Client first(port);
    Client second(port);
    Show("one client too many", second.Receive(), "503 Service Unavailable");
}

// A server in a child process.
class Background {
public:
    Background(int clients, std::chrono::seconds limit) {
        EchoServer server(0, clients, limit);
        port = server.Port();
        m_nChild = fork();
        if (m_nChild == -1) {
            throw "no child process";
        }
        if (m_nChild == 0) {
            server.Serve();
        }
    }
    ~Background() {
        kill(m_nChild, SIGTERM);
        waitpid(m_nChild, nullptr, 0);
    }
    int port;

private:
    pid_t m_nChild;
};

// Returns the exit status: 0 when each answer was as expected.
int Demonstrate(const std::vector<std::string>& texts) {
    const Background server(maxClients, std::chrono::seconds(1));
    SendTexts(server.port, texts);
    SendOddRequests(server.port);
    const Background small(1, requestTime);
    CrowdTheServer(small.port);
    return failures == 0 ? 0 : 1;
}

[[noreturn]] void ServeUntilStopped(int port) {
    EchoServer server(port, maxClients, requestTime);
    std::cout << "curl -d text http://127.0.0.1:" << server.Port() << "/echo" << std::endl;
    server.Serve();
}

}  // namespace

int main(int argc, char** argv) {
    std::vector<std::string> texts(argv + 1, argv + argc);
    try {
        if (!texts.empty() && texts[0] == "--serve") {
            ServeUntilStopped(texts.size() > 1 ? atoi(texts[1].c_str()) : 0);
        }
        alarm(30);  // a server that hangs is no reason to wait for ever
        return Demonstrate(texts.empty() ? std::vector<std::string>{"hello", "a blank, a + and 100%", "K\xC3\xBChler"}
                                         : texts);
    } catch (const char* text) {
        std::cerr << "EchoServer: " << text << std::endl;
    } catch (const std::string& text) {
        std::cerr << "EchoServer: " << text << std::endl;
    }
    return 1;
}
