// Splits any text as a request line and as a URL, and receives any bytes line by line.

#include <sys/socket.h>

#include <iostream>
#include <map>

#include "Fuzz.h"
#include "Socket.h"
#include "VynHttp.h"

using vyn::fuzz::Require;

namespace {

constexpr size_t kMaxStream = 16384;  // fits the buffer of a socket

void ReceiveLines(const std::string& text) {
    int ends[2];
    Require(socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, ends) == 0, "no sockets");
    vyn::Socket reader(ends[0]);
    {
        vyn::Socket writer(ends[1]);
        writer.SendBytes(text);
    }
    std::string received;
    for (std::string line; !(line = reader.ReceiveLine()).empty();) {
        Require(line.find('\n') >= line.size() - 1, "more than a line");
        received += line;
    }
    Require(received == text, "not all was received");
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    std::cerr.setstate(std::ios::failbit);  // an unknown protocol is told there
    const std::string text = vyn::fuzz::Text(data, size);
    std::string path, protocol, host;
    std::map<std::string, std::string> parameters;
    vyn::SplitGetReq(text, path, parameters);
    vyn::SplitUrl(text, protocol, host, path);
    vyn::RemoveProtocolFromUrl(text, protocol, path);
    Require(vyn::TruncAtNewLine(text).size() <= text.size(), "a line longer than its text");
    if (size <= kMaxStream) {
        ReceiveLines(text);
    }
    return 0;
}
