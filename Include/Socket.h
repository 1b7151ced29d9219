#pragma once

/// \file
/// IPv4 stream sockets that carry lines and bytes. Set-up throws plain texts, transfer reports nothing. No
/// locks: all sockets of the process are counted together and belong to one thread at a time.

#include <cstddef>
#include <memory>
#include <string>

#include "VynExport.h"

namespace vyn {

namespace detail {
class Descriptor;
}

/// Whether a server waits for a caller, and a selection for its sockets. Any value other than
/// eNonBlockingSocket means blocking.
enum TypeSocket : int { eBlockingSocket = 0, eNonBlockingSocket = 1 };

/// \brief A stream socket; its copies share one descriptor, which the last of them closes.
///
/// Usually made by SocketServer::Accept or as a SocketClient. Descriptors that the library opens aren't
/// inherited by programs that the process starts.
///
/// Plain transfer doesn't report: what can't be sent is dropped, and a receiver can't tell an error from the
/// end of the stream. What comes from outside is received by the ReceiveLine that has a limit, and sent by
/// SendSingleLine. Sending to a peer that has gone raises no SIGPIPE. Calls that a signal interrupts go on.
class VYN_API Socket {
public:
    /// Opens a socket that isn't connected yet.
    /// \throws const char* "INVALID_SOCKET"; `errno` says why.
    Socket();
    /// Takes over \p descriptor, which the last copy closes. It isn't looked at.
    explicit Socket(int descriptor);
    /// Shares the descriptor of \p other.
    Socket(const Socket& other);
    /// Shares the descriptor of \p other; the old one is closed when this was its last socket.
    Socket& operator=(Socket& other);
    virtual ~Socket();

    /// Reads byte by byte up to the first line feed, waiting for each byte on a blocking socket. There is no
    /// limit on the length.
    /// \return the line with its line end; what has arrived, possibly nothing, when the stream ends or fails.
    std::string ReceiveLine();
    /// The same with a limit, for peers that aren't trusted, and with a result.
    /// \param[out] line what has arrived, with the line end of a whole line.
    /// \param limit in bytes, line end included.
    /// \return 0 when \p line is whole, else errno: EMSGSIZE when \p limit bytes hold no line end, the rest of the
    /// line stays in the stream; ENODATA when the stream ended before.
    int ReceiveLine(std::string& line, size_t limit);
    /// \return what has arrived already, zero bytes included; empty when there is nothing. Never waits.
    std::string ReceiveBytes();

    /// Sends \p line with a carriage return and a line feed behind it, in one call of the system.
    void SendLine(std::string line);
    /// Sends a line as SendLine does, all of it, for texts that come from outside: one that holds a line end
    /// would become several lines for the peer.
    /// \param text without its line end.
    /// \return 0 on success, else errno: EINVAL for a carriage return or line feed in \p text, of which nothing is
    /// sent; EPIPE when the peer has gone.
    int SendSingleLine(const std::string& text);
    /// Sends \p bytes in one call of the system.
    void SendBytes(const std::string& bytes);
    /// Closes the descriptor, for all copies; a second call does nothing. Nothing may be sent, received or
    /// selected afterwards, since the number may soon stand for something else.
    void Close();

protected:
    /// Counts one more socket; the place to initialise a socket library on a platform that has one.
    static void Start();
    /// Called when the last socket has gone; does nothing here.
    static void End();

    static int nofSockets_;  ///< live Socket objects

    int m_nDescriptor;  ///< stays after Close

private:
    friend class SocketSelect;

    std::shared_ptr<detail::Descriptor> m_pShared;  // closed by the last copy
};

/// \brief A port on which callers are waited for, on all local addresses.
class VYN_API SocketServer : public Socket {
public:
    /// No option is set on the socket, so a port that was in use a moment ago can be refused.
    /// \param port port number; 0 lets the system choose a free one.
    /// \param connections how many callers may wait to be accepted.
    /// \param type eNonBlockingSocket: Accept doesn't wait.
    /// \throws const char* "INVALID_SOCKET" when there is no socket or the port is taken; `errno` says why.
    SocketServer(int port, int connections, TypeSocket type);

    /// \return the connection to the next caller, a blocking socket; the caller of Accept deletes it.
    /// \throws const char* "Invalid Socket" when that fails, and on a non-blocking server also when nobody is
    /// waiting; `errno` tells the two apart.
    Socket* Accept();
};

/// \brief A connection to a server, blocking.
class VYN_API SocketClient : public Socket {
public:
    /// Uses the static data of the system's name look-up.
    /// \param host name or dotted address.
    /// \throws const char* "INVALID_SOCKET" when there is no socket.
    /// \throws std::string the system's message for `errno` when \p host doesn't resolve or doesn't answer.
    /// The look-up of a name needn't set `errno`, so that its message may be unrelated.
    SocketClient(const std::string& host, int port);
};

/// \brief Waits until one or two sockets can be read.
///
/// The wait takes place in the constructor; afterwards the object tells its outcome:
/// \code
/// SocketSelect ready(&server, peer, eBlockingSocket);
/// if (ready.Readable(&server)) {
///     std::unique_ptr<Socket> caller(server.Accept());
/// }
/// \endcode
class VYN_API SocketSelect {
public:
    /// \param s1 not null.
    /// \param s2 may be null.
    /// \param type eNonBlockingSocket: looks and returns.
    /// \throws const char* "Error in select"; `errno` says why: EBADF for a socket without an open descriptor.
    SocketSelect(const Socket* const s1, const Socket* const s2, TypeSocket type);

    /// \param s not null.
    /// \return true when \p s can be read, has reached its end, or has a caller to accept; false also for a
    /// socket that wasn't waited for.
    bool Readable(const Socket* const s);

private:
    int m_readable[2];  // descriptors; -1 for one that can't be read
};

}  // namespace vyn
