#include <winsock2.h>

#include <fcntl.h>
#include <gtest/gtest.h>
#include <signal.h>
#include <sys/resource.h>
#include <sys/time.h>

#include <algorithm>
#include <chrono>
#include <string>
#include <thread>

namespace {

class Sockets : public testing::Test {
protected:
    void SetUp() override {
        WSADATA data;
        ASSERT_EQ(WSAStartup(MAKEWORD(2, 2), &data), 0);
    }
    void TearDown() override { EXPECT_EQ(WSACleanup(), 0); }
};

sockaddr* general(sockaddr_in& address) {
    return reinterpret_cast<sockaddr*>(&address);
}

SOCKET make_socket() {
    return socket(AF_INET, SOCK_STREAM, IPPROTO_TCP);
}

// Listens on the loopback: on a free port, or on one that was used before.
struct Listener {
    explicit Listener(unsigned short network_port = 0) : handle(make_socket()) {
        address.sin_family = AF_INET;
        address.sin_port = network_port;
        address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
        int size = sizeof(address);
        EXPECT_EQ(bind(handle, general(address), size), 0);
        EXPECT_EQ(listen(handle, 1), 0);
        EXPECT_EQ(getsockname(handle, general(address), &size), 0);
    }
    ~Listener() { closesocket(handle); }

    SOCKET handle;
    sockaddr_in address{};
};

// No program that the process starts inherits either end.
struct Pair {
    explicit Pair(Listener&& listener = Listener()) : client(make_socket()) {
        EXPECT_EQ(connect(client, general(listener.address), sizeof(listener.address)), 0);
        server = accept(listener.handle, nullptr, nullptr);
        for (const SOCKET handle : {client, server, listener.handle})
            EXPECT_NE(fcntl(static_cast<int>(handle), F_GETFD) & FD_CLOEXEC, 0);
    }
    ~Pair() {
        closesocket(server);  // the side that closes first keeps the port busy for a minute
        closesocket(client);
    }

    SOCKET client;
    SOCKET server;
};

// How many sockets of a set with this one are readable within the time.
int wait_readable(SOCKET socket, long milliseconds) {
    fd_set readable;
    FD_ZERO(&readable);
    FD_SET(socket, &readable);
    const timeval limit{milliseconds / 1000, milliseconds % 1000 * 1000};
    const int ready = select(0, &readable, nullptr, nullptr, &limit);
    EXPECT_TRUE(ready < 0 || readable.fd_count == static_cast<unsigned>(ready));
    return ready;
}

TEST_F(Sockets, FailuresHaveWinsocksNumbers) {
    const auto error_of = [](auto result) {
        EXPECT_EQ(static_cast<SOCKET>(result), INVALID_SOCKET);
        return WSAGetLastError();
    };
    sockaddr_in port;
    const SOCKET lonely = make_socket();
    {
        Listener listener;
        port = listener.address;
        EXPECT_EQ(error_of(bind(lonely, general(port), sizeof(port))), WSAEADDRINUSE);
    }
    char bytes[4];
    EXPECT_EQ(error_of(send(lonely, "x", 1, 0)), WSAECONNRESET);
    EXPECT_EQ(error_of(recv(lonely, bytes, sizeof(bytes), 0)), WSAENOTCONN);
    EXPECT_EQ(error_of(shutdown(lonely, SD_BOTH)), WSAENOTCONN);
    EXPECT_EQ(error_of(accept(lonely, nullptr, nullptr)), WSAEINVAL);
    EXPECT_EQ(error_of(connect(lonely, general(port), sizeof(port))), WSAECONNREFUSED);
    EXPECT_EQ(GetLastError(), 10061u);  // the thread's last error, too
    EXPECT_EQ(error_of(wait_readable(lonely, -1000)), WSAEINVAL);
    closesocket(lonely);
    for (const SOCKET closed : {lonely, INVALID_SOCKET, SOCKET{1} << 40}) {
        EXPECT_EQ(error_of(send(closed, "x", 1, 0)), WSAENOTSOCK);
        EXPECT_EQ(error_of(closesocket(closed)), WSAENOTSOCK);
        EXPECT_EQ(error_of(wait_readable(closed, 0)), WSAENOTSOCK);
    }
    WSACleanup();
    EXPECT_EQ(error_of(make_socket()), WSANOTINITIALISED);
    SetUp();
    { const Pair served(Listener(port.sin_port)); }
    { const Listener takes_the_port_of_one_that_just_ended(port.sin_port); }
}

// Signals the process all the time, with a handler that makes system calls return early.
class SignalStorm {
public:
    SignalStorm() {
        struct sigaction interrupting {};
        interrupting.sa_handler = [](int) {};
        sigaction(SIGALRM, &interrupting, &m_original);
        const itimerval each_millisecond{{0, 1000}, {0, 1000}};
        setitimer(ITIMER_REAL, &each_millisecond, nullptr);
    }
    ~SignalStorm() {
        const itimerval never{};
        setitimer(ITIMER_REAL, &never, nullptr);
        sigaction(SIGALRM, &m_original, nullptr);
    }

private:
    struct sigaction m_original {};
};

TEST_F(Sockets, WaitsAndSendsAreWholeDespiteSignalsAndATinySendBuffer) {
    Pair pair;
    const int one = 1;
    EXPECT_EQ(
        setsockopt(pair.client, SOL_SOCKET, SO_SNDBUF, reinterpret_cast<const char*>(&one), sizeof(one)), 0);
    std::string sent(600'000, '\0');
    for (std::size_t i = 0; i < sent.size(); ++i)
        sent[i] = static_cast<char>(i * 31 >> 3);
    std::string received;
    {
        const SignalStorm storm;
        const auto start = std::chrono::steady_clock::now();
        EXPECT_EQ(wait_readable(pair.server, 60), 0);
        EXPECT_GE(std::chrono::steady_clock::now() - start, std::chrono::milliseconds(60));
        std::thread reader([&] {
            std::string part(50'000, '\0');
            for (int count = 1; count > 0;) {
                count = recv(pair.server, part.data(), static_cast<int>(part.size()), 0);
                if (count > 0) received.append(part, 0, static_cast<std::size_t>(count));
            }
        });
        EXPECT_EQ(send(pair.client, sent.data(), static_cast<int>(sent.size()), 0),
                  static_cast<int>(sent.size()));
        shutdown(pair.client, SD_SEND);
        reader.join();
    }
    EXPECT_TRUE(received == sent);
}

TEST_F(Sockets, HighNumbersWork) {
    constexpr int high_number = 1500;
    rlimit limit;
    getrlimit(RLIMIT_NOFILE, &limit);
    limit.rlim_cur = std::max<rlim_t>(limit.rlim_cur, high_number + 100);
    if (setrlimit(RLIMIT_NOFILE, &limit) != 0) GTEST_SKIP() << "too few descriptors are allowed";
    Pair pair;
    const int duplicate = fcntl(static_cast<int>(pair.client), F_DUPFD_CLOEXEC, high_number);
    ASSERT_GE(duplicate, high_number);
    const auto high = static_cast<SOCKET>(duplicate);
    EXPECT_EQ(wait_readable(high, 0), 0);
    send(pair.server, "x", 1, 0);
    EXPECT_EQ(wait_readable(high, 5000), 1);
    closesocket(high);
}

}  // namespace
