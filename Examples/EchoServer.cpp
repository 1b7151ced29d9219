// A small server on the loopback interface, and its client in a child process: the client asks for
// "GET /echo?text=..." once for each argument and prints what comes back. The server ends when its client
// hangs up.
//
//     EchoServer [text...]

#include <arpa/inet.h>
#include <netinet/in.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>

#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <iostream>
#include <map>
#include <memory>
#include <string>
#include <vector>

#include "Socket.h"
#include "VynHttp.h"

namespace {

// A server on a port that the system chooses.
class EchoServer : public vyn::SocketServer {
public:
    EchoServer() : SocketServer(0, 4, vyn::eBlockingSocket) {}

    int Port() const {
        sockaddr_in address = {};
        socklen_t length = sizeof address;
        getsockname(m_nDescriptor, reinterpret_cast<sockaddr*>(&address), &length);
        return ntohs(address.sin_port);
    }
    int Serve();
};

struct Message {
    std::string firstLine;  // empty when the peer has hung up
    size_t length = 0;      // of the body that follows
};

// Reads up to the blank line behind the header.
Message ReceiveHead(vyn::Socket& socket) {
    Message message;
    message.firstLine = vyn::TruncAtNewLine(socket.ReceiveLine());
    for (;;) {
        const std::string line = socket.ReceiveLine();
        if (line.empty() || line == "\r\n") {
            return message;
        }
        std::string name = line.substr(0, line.find(':'));
        vyn::ToLower(name);
        if (name == "content-length") {
            message.length = strtoul(line.c_str() + name.length() + 1, nullptr, 10);
        }
    }
}

std::string ReceiveBody(vyn::Socket& socket, size_t length) {
    std::string body;
    while (body.length() < length) {
        vyn::SocketSelect arrival(&socket, nullptr, vyn::eBlockingSocket);
        const std::string bytes = socket.ReceiveBytes();
        if (bytes.empty()) {
            break;
        }
        body += bytes;
    }
    return body;
}

void Answer(vyn::Socket& client, const std::string& status, const std::string& body) {
    client.SendBytes("HTTP/1.1 " + status + "\r\nContent-Length: " + std::to_string(body.length()) +
                     "\r\n\r\n" + body);
}

void AnswerRequest(vyn::Socket& client, const std::string& request) {
    std::string path;
    std::map<std::string, std::string> params;
    vyn::SplitGetReq(request, path, params);
    if (path != "GET /echo") {
        Answer(client, "404 Not Found", "");
    } else if (params.count("text") == 0) {
        Answer(client, "400 Bad Request", "");
    } else {
        Answer(client, "200 OK", params["text"]);
    }
}

// Serves one client at a time until it hangs up; others are told to come back. Returns the number of
// requests.
int EchoServer::Serve() {
    int requests = 0;
    std::unique_ptr<vyn::Socket> client(Accept());
    for (;;) {
        vyn::SocketSelect ready(this, client.get(), vyn::eBlockingSocket);
        if (ready.Readable(this)) {
            std::unique_ptr<vyn::Socket> other(Accept());
            Answer(*other, "503 Service Unavailable", "");
        }
        if (ready.Readable(client.get())) {
            const Message request = ReceiveHead(*client);
            if (request.firstLine.empty()) {
                return requests;
            }
            AnswerRequest(*client, request.firstLine);
            ++requests;
        }
    }
}

// Returns the answer's body, or its status when that isn't a success.
std::string Ask(vyn::Socket& server, const std::string& target) {
    server.SendBytes("GET " + target + " HTTP/1.1\r\nHost: localhost\r\n\r\n");
    const Message answer = ReceiveHead(server);
    const std::string body = ReceiveBody(server, answer.length);
    return answer.firstLine == "HTTP/1.1 200 OK" ? body : answer.firstLine;
}

// Returns the exit status: 0 when each text came back as it was sent.
int RunClient(int port, const std::vector<std::string>& texts) {
    vyn::SocketClient server("127.0.0.1", port);
    int status = 0;
    for (const std::string& text : texts) {
        std::string target = "/echo?text=";
        vyn::EncodeAgentURL(text, target);
        const std::string echo = Ask(server, target);
        std::cout << "GET " << target << "\n  -> " << echo << std::endl;
        if (echo != text) {
            status = 1;
        }
    }
    std::cout << "GET /\n  -> " << Ask(server, "/") << std::endl;
    vyn::SocketClient second("127.0.0.1", port);
    std::cout << "a second client\n  -> " << ReceiveHead(second).firstLine << std::endl;
    return status;
}

int Run(const std::vector<std::string>& texts) {
    EchoServer server;
    const pid_t child = fork();
    if (child == -1) {
        throw "no child process";
    }
    if (child == 0) {
        const int port = server.Port();
        server.Close();
        return RunClient(port, texts);
    }
    const int requests = server.Serve();
    int status = 0;
    waitpid(child, &status, 0);
    std::cout << requests << " requests answered" << std::endl;
    return WIFEXITED(status) ? WEXITSTATUS(status) : 1;
}

}  // namespace

int main(int argc, char** argv) {
    std::vector<std::string> texts(argv + 1, argv + argc);
    if (texts.empty()) {
        texts = {"hello", "a blank, a + and 100%", "K\xC3\xBChler"};
    }
    signal(SIGPIPE, SIG_IGN);  // a peer that has gone is no reason to end
    alarm(30);                 // nor is one that is silent a reason to wait for ever
    try {
        return Run(texts);
    } catch (const char* text) {
        std::cerr << "EchoServer: " << text << std::endl;
    } catch (const std::string& text) {
        std::cerr << "EchoServer: " << text << std::endl;
    }
    return 1;
}
