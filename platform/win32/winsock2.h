// The part of Winsock 2 that the product and its tests call, over POSIX sockets. A failure leaves the Winsock
// number (10061 for a refused connection) where WSAGetLastError finds it, which is the thread's last error,
// as on Windows.
//
// Winsock's functions have the names of the POSIX ones and differ in the socket's type, so they are
// overloads: a call with a SOCKET means Winsock. No call ever raises SIGPIPE, every call goes on after a
// signal, and sockets are not inherited by programs that the process starts.
#pragma once

#include <windows.h>

#include <arpa/inet.h>
#include <netinet/in.h>
#include <netinet/tcp.h>
#include <sys/select.h>
#include <sys/socket.h>
#include <sys/time.h>

using SOCKET = UINT_PTR;

inline constexpr SOCKET INVALID_SOCKET = ~SOCKET{0};
inline constexpr int SOCKET_ERROR = -1;
inline constexpr int SD_SEND = SHUT_WR;
inline constexpr int SD_BOTH = SHUT_RDWR;

inline constexpr int WSAEACCES = 10013;
inline constexpr int WSAEFAULT = 10014;
inline constexpr int WSAEINVAL = 10022;
inline constexpr int WSAEMFILE = 10024;
inline constexpr int WSAEWOULDBLOCK = 10035;
inline constexpr int WSAEALREADY = 10037;
inline constexpr int WSAENOTSOCK = 10038;
inline constexpr int WSAEDESTADDRREQ = 10039;
inline constexpr int WSAEMSGSIZE = 10040;
inline constexpr int WSAEPROTOTYPE = 10041;
inline constexpr int WSAENOPROTOOPT = 10042;
inline constexpr int WSAEPROTONOSUPPORT = 10043;
inline constexpr int WSAEOPNOTSUPP = 10045;
inline constexpr int WSAEAFNOSUPPORT = 10047;
inline constexpr int WSAEADDRINUSE = 10048;
inline constexpr int WSAEADDRNOTAVAIL = 10049;
inline constexpr int WSAENETDOWN = 10050;
inline constexpr int WSAENETUNREACH = 10051;
inline constexpr int WSAENETRESET = 10052;
inline constexpr int WSAECONNABORTED = 10053;
inline constexpr int WSAECONNRESET = 10054;
inline constexpr int WSAENOBUFS = 10055;
inline constexpr int WSAEISCONN = 10056;
inline constexpr int WSAENOTCONN = 10057;
inline constexpr int WSAESHUTDOWN = 10058;
inline constexpr int WSAETIMEDOUT = 10060;
inline constexpr int WSAECONNREFUSED = 10061;
inline constexpr int WSAEHOSTDOWN = 10064;
inline constexpr int WSAEHOSTUNREACH = 10065;
inline constexpr int WSAVERNOTSUPPORTED = 10092;
inline constexpr int WSANOTINITIALISED = 10093;

struct WSADATA {
    WORD wVersion;
};

// Begins the use of Winsock; each success needs one WSACleanup. Returns 0, or WSAVERNOTSUPPORTED for another
// version than 2.2. Before it, `socket` fails with WSANOTINITIALISED.
int WSAStartup(WORD version, WSADATA* data);

// Ends one use. Open sockets stay open. SOCKET_ERROR with WSANOTINITIALISED when there is none to end.
int WSACleanup();

int WSAGetLastError();

// The type's enumeration tells this function from the POSIX one, which takes an int.
SOCKET socket(int family, decltype(SOCK_STREAM) type, int protocol);
int connect(SOCKET socket, const sockaddr* address, int size);
int bind(SOCKET socket, const sockaddr* address, int size);
int listen(SOCKET socket, int backlog);
SOCKET accept(SOCKET socket, sockaddr* address, int* size);

// On a blocking socket the whole buffer is sent, or the call fails. Returns the number of bytes
// or SOCKET_ERROR.
int send(SOCKET socket, const char* bytes, int count, int flags);
// Returns the number of bytes, 0 when the peer has closed its side, or SOCKET_ERROR.
int recv(SOCKET socket, char* bytes, int count, int flags);
// With these, a count of type std::size_t means Winsock too: without them the POSIX functions fit it
// equally well.
inline int send(SOCKET socket, const char* bytes, std::size_t count, int flags) {
    return send(socket, bytes, static_cast<int>(count), flags);
}
inline int recv(SOCKET socket, char* bytes, std::size_t count, int flags) {
    return recv(socket, bytes, static_cast<int>(count), flags);
}

int shutdown(SOCKET socket, int how);
int closesocket(SOCKET socket);
int setsockopt(SOCKET socket, int level, int name, const char* value, int size);
int getsockname(SOCKET socket, sockaddr* address, int* size);

// Winsock's set is a list of sockets, so no socket's number is too high for it. The C library's set has taken
// the name already, hence the macro.
#undef FD_SETSIZE
#undef FD_ZERO
#undef FD_SET
#undef FD_CLR
#undef FD_ISSET
#define fd_set winsock_fd_set

inline constexpr unsigned FD_SETSIZE = 64;

struct fd_set {
    unsigned fd_count;
    SOCKET fd_array[FD_SETSIZE];
};

void FD_ZERO(fd_set* set);
// Adds a socket; as in Winsock, a full set stays as it is.
void FD_SET(SOCKET socket, fd_set* set);

// Waits until a socket of the set has something to read, or its peer has closed it, or the time is over
// (null: without limit), and leaves only the ready ones in the set. `ignored` is there for the looks, as in
// Winsock; sets to wait for anything else are not known here and have to be null. Returns how many sockets are
// ready, 0 when the time is over, or SOCKET_ERROR: WSAEINVAL without any socket or with a negative time,
// WSAENOTSOCK for a closed one.
int select(int ignored, fd_set* readable, fd_set* writable, fd_set* exceptional, const timeval* limit);
