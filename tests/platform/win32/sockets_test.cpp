#include <winsock2.h>

#include <fcntl.h>
#include <gtest/gtest.h>
#include <signal.h>
#include <sys/resource.h>
#include <unistd.h>

#include <atomic>
#include <chrono>
#include <cstring>
#include <string>
#include <thread>
#include <utility>

namespace {

using Clock = std::chrono::steady_clock;

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

sockaddr_in loopback(unsigned short port) {
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_port = htons(port);
    address.sin_addr.s_addr = inet_addr("127.0.0.1");
    return address;
}

struct Listener {
    Listener() : handle(make_socket()), address(loopback(0)) {
        EXPECT_EQ(bind(handle, general(address), sizeof(address)), 0);
        EXPECT_EQ(listen(handle, 1), 0);
        int size = sizeof(address);
        EXPECT_EQ(getsockname(handle, general(address), &size), 0);
        EXPECT_EQ(size, static_cast<int>(sizeof(address)));
    }
    ~Listener() { closesocket(handle); }

    SOCKET handle;
    sockaddr_in address;
};

struct Pair {
    Pair() : client(make_socket()) {
        Listener listener;
        EXPECT_EQ(connect(client, general(listener.address), sizeof(listener.address)), 0);
        sockaddr_in peer{};
        int size = sizeof(peer);
        server = accept(listener.handle, general(peer), &size);
        EXPECT_NE(server, INVALID_SOCKET);
        EXPECT_EQ(peer.sin_addr.s_addr, htonl(INADDR_LOOPBACK));
    }
    ~Pair() {
        closesocket(client);
        closesocket(server);
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
    if (ready >= 0) {
        EXPECT_EQ(ready, FD_ISSET(socket, &readable));
    }
    return ready;
}

TEST_F(Sockets, FailuresHaveWinsocksNumbers) {
    const auto error_of = [](auto result) {
        EXPECT_EQ(static_cast<SOCKET>(result), INVALID_SOCKET);
        return WSAGetLastError();
    };
    sockaddr_in closed_port;
    {
        Listener listener;
        closed_port = listener.address;
        const SOCKET second = make_socket();
        EXPECT_EQ(error_of(bind(second, general(listener.address), sizeof(closed_port))), WSAEADDRINUSE);
        closesocket(second);
    }
    const SOCKET lonely = make_socket();
    char bytes[4];
    EXPECT_EQ(error_of(send(lonely, "x", 1, 0)), WSAECONNRESET);
    EXPECT_EQ(error_of(recv(lonely, bytes, sizeof(bytes), 0)), WSAENOTCONN);
    EXPECT_EQ(error_of(shutdown(lonely, SD_BOTH)), WSAENOTCONN);
    EXPECT_EQ(error_of(accept(lonely, nullptr, nullptr)), WSAEINVAL);
    EXPECT_EQ(error_of(connect(lonely, general(closed_port), sizeof(closed_port))), WSAECONNREFUSED);
    EXPECT_EQ(GetLastError(), 10061u);  // the thread's last error, too
    closesocket(lonely);
    for (const SOCKET closed : {lonely, INVALID_SOCKET, SOCKET{1} << 40}) {
        EXPECT_EQ(error_of(send(closed, "x", 1, 0)), WSAENOTSOCK);
        EXPECT_EQ(error_of(closesocket(closed)), WSAENOTSOCK);
        EXPECT_EQ(error_of(wait_readable(closed, 0)), WSAENOTSOCK);
    }
}

TEST_F(Sockets, ServerTakesThePortOfOneThatJustEnded) {
    sockaddr_in address;
    {
        Listener listener;
        address = listener.address;
        const SOCKET client = make_socket();
        ASSERT_EQ(connect(client, general(address), sizeof(address)), 0);
        const SOCKET served = accept(listener.handle, nullptr, nullptr);
        closesocket(served);  // the side that closes first keeps the port busy for a minute
        closesocket(client);
    }
    const SOCKET next = make_socket();
    EXPECT_EQ(bind(next, general(address), sizeof(address)), 0);
    EXPECT_EQ(listen(next, 1), 0);
    closesocket(next);
}

// Signals the calling thread all the time, with a handler that makes system calls return early.
class SignalStorm {
public:
    SignalStorm() : m_target(pthread_self()) {
        struct sigaction interrupting {};
        interrupting.sa_handler = [](int) {};
        sigaction(SIGUSR1, &interrupting, &m_original);
        m_thread = std::thread([this] {
            while (!m_over) {
                pthread_kill(m_target, SIGUSR1);
                std::this_thread::sleep_for(std::chrono::milliseconds(1));
            }
        });
    }
    ~SignalStorm() {
        m_over = true;
        m_thread.join();
        sigaction(SIGUSR1, &m_original, nullptr);
    }

private:
    const pthread_t m_target;
    struct sigaction m_original {};
    std::atomic<bool> m_over{false};
    std::thread m_thread;
};

TEST_F(Sockets, OneSendCarriesTheWholeBufferDespiteSignalsAndATinySendBuffer) {
    Pair pair;
    const int one = 1;
    EXPECT_EQ(
        setsockopt(pair.client, SOL_SOCKET, SO_SNDBUF, reinterpret_cast<const char*>(&one), sizeof(one)), 0);
    EXPECT_EQ(
        setsockopt(pair.client, IPPROTO_TCP, TCP_NODELAY, reinterpret_cast<const char*>(&one), sizeof(one)),
        0);
    std::string sent(600'000, '\0');
    for (std::size_t i = 0; i < sent.size(); ++i)
        sent[i] = static_cast<char>(i * 31 >> 3);
    std::string received;
    std::thread reader([&] {
        std::string part(50'000, '\0');
        for (int count = 1; count > 0;) {
            count = recv(pair.server, part.data(), static_cast<int>(part.size()), 0);
            if (count > 0) received.append(part, 0, static_cast<std::size_t>(count));
        }
    });
    {
        const SignalStorm storm;
        EXPECT_EQ(send(pair.client, sent.data(), static_cast<int>(sent.size()), 0),
                  static_cast<int>(sent.size()));
    }
    shutdown(pair.client, SD_SEND);
    reader.join();
    EXPECT_TRUE(received == sent);
}

TEST_F(Sockets, WaitLastsItsTimeDespiteSignals) {
    Pair pair;
    const SignalStorm storm;
    const auto start = Clock::now();
    EXPECT_EQ(wait_readable(pair.client, 60), 0);
    EXPECT_GE(Clock::now() - start, std::chrono::milliseconds(60));
}

TEST_F(Sockets, WaitWatchesAllThreeSets) {
    Pair pair;
    fd_set readable, writable, exceptional;
    for (fd_set* set : {&readable, &writable, &exceptional}) {
        FD_ZERO(set);
        FD_SET(pair.client, set);
        FD_SET(pair.client, set);  // once is enough
        EXPECT_EQ(set->fd_count, 1u);
        FD_SET(pair.server, set);
    }
    send(pair.server, "x", 1, MSG_OOB);
    fd_set urgent = exceptional;
    EXPECT_EQ(select(0, nullptr, nullptr, &urgent, nullptr), 1);
    EXPECT_EQ(select(0, &readable, &writable, &exceptional, nullptr), 3);
    EXPECT_EQ(readable.fd_count, 0u);  // urgent data alone is not readable
    EXPECT_EQ(writable.fd_count, 2u);
    EXPECT_NE(FD_ISSET(pair.client, &exceptional), 0);
    EXPECT_EQ(FD_ISSET(pair.server, &exceptional), 0);
    FD_CLR(pair.client, &exceptional);
    EXPECT_EQ(exceptional.fd_count, 0u);
}

TEST_F(Sockets, WaitRefusesWhatItCannotWaitFor) {
    Pair pair;
    fd_set empty, one;
    FD_ZERO(&empty);
    FD_ZERO(&one);
    FD_SET(pair.client, &one);
    const timeval none{0, 0}, negative{-1, 0};
    for (const auto& [set, limit] : {std::pair{&empty, &none}, {&one, &negative}}) {
        EXPECT_EQ(select(0, set, nullptr, nullptr, limit), SOCKET_ERROR);
        EXPECT_EQ(WSAGetLastError(), WSAEINVAL);
    }
    for (SOCKET number = 0; number < 100; ++number)
        FD_SET(number + 1000, &one);
    EXPECT_EQ(one.fd_count, FD_SETSIZE);
}

TEST_F(Sockets, HighNumbersWork) {
    constexpr int high_number = 1500;
    rlimit limit;
    getrlimit(RLIMIT_NOFILE, &limit);
    const rlimit raised{std::max<rlim_t>(limit.rlim_cur, high_number + 100), limit.rlim_max};
    if (setrlimit(RLIMIT_NOFILE, &raised) != 0) GTEST_SKIP() << "too few descriptors are allowed";
    Pair pair;
    const int duplicate = fcntl(static_cast<int>(pair.client), F_DUPFD_CLOEXEC, high_number);
    ASSERT_GE(duplicate, high_number);
    const auto high = static_cast<SOCKET>(duplicate);
    EXPECT_EQ(wait_readable(high, 0), 0);
    send(pair.server, "x", 1, 0);
    EXPECT_EQ(wait_readable(high, 5000), 1);
    closesocket(high);
    setrlimit(RLIMIT_NOFILE, &limit);
}

TEST_F(Sockets, AreNotInherited) {
    Pair pair;
    Listener listener;
    for (const SOCKET handle : {pair.client, pair.server, listener.handle})
        EXPECT_NE(fcntl(static_cast<int>(handle), F_GETFD) & FD_CLOEXEC, 0);
}

TEST(Winsock, StartsOncePerUse) {
    WSADATA data;
    EXPECT_EQ(make_socket(), INVALID_SOCKET);
    EXPECT_EQ(WSAGetLastError(), WSANOTINITIALISED);
    EXPECT_EQ(WSACleanup(), SOCKET_ERROR);
    EXPECT_EQ(WSAGetLastError(), WSANOTINITIALISED);
    EXPECT_EQ(WSAStartup(MAKEWORD(0, 9), &data), WSAVERNOTSUPPORTED);
    EXPECT_EQ(WSAStartup(MAKEWORD(2, 2), nullptr), WSAEFAULT);
    for (const auto& [wanted, given] : {std::pair{MAKEWORD(1, 1), MAKEWORD(1, 1)},
                                        {MAKEWORD(2, 2), MAKEWORD(2, 2)},
                                        {MAKEWORD(3, 0), MAKEWORD(2, 2)}}) {
        EXPECT_EQ(WSAStartup(wanted, &data), 0);
        EXPECT_EQ(data.wVersion, given);
        EXPECT_EQ(data.wHighVersion, MAKEWORD(2, 2));
    }
    const SOCKET handle = make_socket();
    EXPECT_NE(handle, INVALID_SOCKET);
    closesocket(handle);
    for (int use = 0; use < 3; ++use)
        EXPECT_EQ(WSACleanup(), 0);
    EXPECT_EQ(make_socket(), INVALID_SOCKET);
}

TEST(Winsock, AddressesAreDottedNumbers) {
    EXPECT_EQ(inet_addr("127.0.0.1"), htonl(INADDR_LOOPBACK));
    for (const char* none : {"localhost", "", "1.2.3.256", "255.255.255.255"})
        EXPECT_EQ(inet_addr(none), INADDR_NONE);
}

}  // namespace
