#include "net/simple_socket.h"

#include "plugin/plugin_test.h"

#include <differences.h>

#include <atomic>
#include <future>
#include <thread>

namespace corrivane::test {
namespace {

using namespace quorvel::win32;
using namespace std::chrono_literals;
using SimpleSocket = ScriptTest;  // the runtime takes what the product publishes when it is loaded

constexpr const char* no_header = "timeout: simple_socket: Timed out waiting for header packet to arrive.";
constexpr const char* no_data = "timeout: simple_socket: Timed out waiting for data.";
constexpr const char* too_much = "error: simple_socket::send: Tried to send too much data at once.";

/// What an operation throws, class and text.
std::string failure_of(const std::function<void()>& operation) {
    try {
        operation();
    } catch (const simple_socket_timeout_error& error) {
        return std::string("timeout: ") + error.what();
    } catch (const simple_socket_disconnect_error& error) {
        return std::string("disconnect: ") + error.what();
    } catch (const simple_socket_error& error) {
        return std::string("error: ") + error.what();
    }
    return "nothing";
}

TEST_F(SimpleSocket, CallsInTheWrongStateAreRefusedAndChangeNothing) {
    Link link;
    simple_socket& connected = link.socket;
    simple_socket idle;
    simple_socket listening;
    listening.start_listen(0, true);
    const std::pair<std::function<void()>, const char*> cases[] = {
        {[&] { connected.connect("127.0.0.1", 1); }, "simple_socket::connect: Already connected."},
        {[&] { listening.connect("127.0.0.1", 1); },
         "simple_socket::connect: Already listening for a connection."},
        {[&] { listening.start_listen(0, true); },
         "simple_socket::start_listen: Already listening for a connection."},
        {[&] { connected.wait_for_connect(0, true); }, "simple_socket::wait_for_connect: Already connected."},
        {[&] { idle.wait_for_connect(0, true); },
         "simple_socket::wait_for_connect: Not listening for a connection."},
        {[&] { idle.send("x"); }, "simple_socket: send called while not connected."},
        {[&] { idle.send_raw("x"); }, "simple_socket: send_raw called while not connected."},
        {[&] { idle.receive(0); }, "simple_socket: receive while not connected."},
    };
    for (const auto& [operation, text] : cases)
        EXPECT_EQ(failure_of(operation), std::string("error: ") + text);
    EXPECT_TRUE(connected.is_connected() && listening.is_listening());
}

TEST_F(SimpleSocket, SizesAreLimitedTheFramesOnSendingThePayloadsOnReceiving) {
    Link link;
    const std::string largest_sent(99'996, 's');
    auto received = std::async(std::launch::async, [&] { return link.worker.receive(); });
    link.socket.send(largest_sent);
    EXPECT_EQ(received.get(), largest_sent);
    EXPECT_EQ(failure_of([&] { link.socket.send(largest_sent + "x"); }), too_much);
    EXPECT_EQ(failure_of([&] { link.socket.send_raw(std::string(1537, 'x')); }), too_much);
    link.socket.send_raw(std::string(1536, 'r'));
    EXPECT_EQ(link.worker.receive_bytes(1536), std::string(1536, 'r')) << "something refused was sent";

    const std::string largest_received(100'000, 'r');
    auto sent = std::async(std::launch::async, [&] { link.worker.send(largest_received); });
    EXPECT_EQ(link.socket.receive(10'000), largest_received);
    sent.get();
    for (const std::uint32_t length : {100'001U, 0x80000000U, 0xFFFFFFFFU}) {
        link.worker.send_bytes(WirePeer::length_field(length));
        EXPECT_EQ(
            failure_of([&] { link.socket.receive(1000); }),
            "error: simple_socket::receive: Invalid packet size (given " + std::to_string(length) + ")");
    }
    // Bytes of any value travel, behind a big-endian length.
    const std::string bytes("\0\xFF\n", 3);
    link.worker.send_bytes(std::string("\0\0\0\3", 4) + bytes);
    EXPECT_EQ(link.socket.receive(1000), bytes);
    link.socket.send(bytes);
    EXPECT_EQ(link.worker.receive_bytes(7), std::string("\0\0\0\3", 4) + bytes);
}

TEST_F(SimpleSocket, WhatRunsOutOfTimeLosesTheBytesReadAndKeepsTheConnection) {
    const std::pair<std::string, const char*> cases[] = {
        {"", no_header},
        {std::string("\0\0", 2), no_data},
        {WirePeer::length_field(5) + "ab", no_data},
        {WirePeer::length_field(5), no_data},
        {WirePeer::length_field(0), no_data}};  // an empty message is only there once something follows it
    Link link;
    EXPECT_EQ(failure_of([&] { link.socket.receive(0); }), no_header);
    for (const auto& [bytes, failure] : cases) {
        link.worker.send_bytes(bytes);
        EXPECT_EQ(failure_of([&] { link.socket.receive(20); }), failure) << bytes.size();
        EXPECT_TRUE(link.socket.is_connected());
        link.worker.send("next");
        EXPECT_EQ(link.socket.receive(1000), "next");
    }
    link.worker.send_bytes(WirePeer::frame("") + WirePeer::frame("next"));
    EXPECT_EQ(link.socket.receive(1000), "");
    EXPECT_EQ(link.socket.receive(1000), "next");
}

TEST_F(SimpleSocket, TimeOutBoundsTheWholeMessage) {
    Link link;
    std::atomic<bool> enough = false;
    std::thread trickle([&] {
        link.worker.send_bytes(WirePeer::length_field(1000));
        for (int i = 0; i < 500 && !enough; ++i) {
            link.worker.send_bytes("x");
            std::this_thread::sleep_for(10ms);
        }
    });
    const auto start = std::chrono::steady_clock::now();
    EXPECT_EQ(failure_of([&] { link.socket.receive(100); }), no_data);
    EXPECT_LT(std::chrono::steady_clock::now() - start, 4s);
    enough = true;
    trickle.join();
}

TEST_F(SimpleSocket, DisconnectTellsWhereAndCloses) {
    const std::pair<std::string, const char*> cases[] = {{"", "header."},
                                                         {std::string("\0\0\0", 3), "header."},
                                                         {WirePeer::length_field(5), "data."},
                                                         {WirePeer::length_field(5) + "abcd", "data."}};
    for (const auto& [bytes, place] : cases) {
        Link link;
        link.worker.send_bytes(bytes);
        link.worker.close();
        EXPECT_EQ(failure_of([&] { link.socket.receive(1000); }),
                  std::string("disconnect: simple_socket::receive: socket was disconnected while reading ") +
                      place);
        EXPECT_FALSE(link.socket.is_connected());
    }
    Link link;
    link.worker.reset();
    const std::string failure = failure_of([&] { link.socket.receive(1000); });
    EXPECT_TRUE(!resets_are_told ||
                failure == "error: recv: socket error trying to receive data: WSAError code 10054")
        << failure;
    EXPECT_FALSE(link.socket.is_connected());
}

TEST_F(SimpleSocket, FailedSendKeepsTheConnection) {
    Link link;
    link.worker.reset();
    const auto send_on = [&] {
        while (true)
            link.socket.send("x");
    };
    EXPECT_THAT(failure_of(send_on), StartsWith("error: send: error trying to send data: WSAError code 100"));
    EXPECT_TRUE(link.socket.is_connected());
}

TEST_F(SimpleSocket, ConnectTakesNumbersOnlyAndComesBackIdle) {
    simple_socket socket;
    for (const char* address : {"localhost", "", "256.0.0.1", "255.255.255.255", "127.0.0.1:80"})
        EXPECT_EQ(failure_of([&] { socket.connect(address, 1); }),
                  std::string("error: simple_socket::connect: Invalid IP address specified, ") + address);
    WirePeer worker;
    worker.stop_listening();
    for (const int port : {worker.port(), -1, 65536})
        EXPECT_EQ(failure_of([&] { socket.connect("127.0.0.1", port); }),
                  "error: connect: Failed to connect to server at port " + std::to_string(port));
    const WirePeer other;
    socket.connect("127.0.0.1", other.port());
    EXPECT_TRUE(socket.is_connected());
}

TEST_F(SimpleSocket, ServerAcceptsOnePeerWithoutDelays) {
    for (const bool close_listener : {true, false}) {
        simple_socket server;
        server.start_listen(0, true);
        EXPECT_EQ(failure_of([&] { server.wait_for_connect(10, close_listener); }),
                  "timeout: simple_socket::wait_for_connect: Timed out waiting for connection.");
        EXPECT_TRUE(server.is_listening());
        simple_socket second;
        EXPECT_EQ(failure_of([&] { second.start_listen(server.listening_port(), true); }),
                  "error: bind: Failed to bind to the port.: 10048");
        EXPECT_FALSE(second.is_listening());

        WirePeer client;
        client.connect(server.listening_port());
        server.wait_for_connect(1000, close_listener);
        EXPECT_TRUE(server.is_connected());
        EXPECT_EQ(server.is_listening(), !close_listener);
        int no_delay = 0;
        socklen_t size = sizeof no_delay;
        ::getsockopt(int(server.connection_handle()), IPPROTO_TCP, TCP_NODELAY,
                     reinterpret_cast<char*>(&no_delay), &size);
        EXPECT_NE(no_delay, 0);
        server.send("hello");
        EXPECT_EQ(client.receive(), "hello");
        server.close(false);
        EXPECT_EQ(server.is_listening(), !close_listener);
    }
}

TEST_F(SimpleSocket, RawMessagesAreTheBytesOfOneReceive) {
    Link link;
    EXPECT_EQ(failure_of([&] { link.socket.receive_raw(0); }),
              "timeout: simple_socket::receive_raw: Timed out waiting for raw packet to arrive.");
    link.worker.send_bytes("abc");
    EXPECT_EQ(link.socket.receive_raw(1000), "abc");
    link.worker.close();
    EXPECT_EQ(link.socket.receive_raw(1000), "");
    EXPECT_TRUE(link.socket.is_connected());
}

}  // namespace
}  // namespace corrivane::test
