// scm_delay_proxy: a TCP proxy on the loopback that holds every byte it forwards for a fixed
// delay, each way, as a server farther away would: a round trip through it takes twice the delay
// more. bench/farm puts it between the agents and the PostgreSQL server.
//
//   scm_delay_proxy TARGET_PORT DELAY_MS
//
// Listens on 127.0.0.1 on a port the system picks and prints that port on the first line of
// standard output; forwards each connection to 127.0.0.1:TARGET_PORT. Runs until killed.
#include <arpa/inet.h>
#include <netinet/in.h>
#include <netinet/tcp.h>
#include <sys/socket.h>
#include <unistd.h>

#include <chrono>
#include <condition_variable>
#include <cstdio>
#include <cstdlib>
#include <deque>
#include <memory>
#include <mutex>
#include <string>
#include <thread>

namespace {

using Clock = std::chrono::steady_clock;

// The two sockets of one proxied connection, closed when both directions are done with them.
struct Sockets {
    int client;
    int server;
    ~Sockets() {
        ::close(client);
        ::close(server);
    }
};

// Bytes read from one side, to be written to the other once their time has come.
struct Chunk {
    Clock::time_point due;
    std::string bytes;  // empty: the sending side closed
};

// One direction of one connection: a reader thread queues what it reads, a writer thread writes
// each chunk at its due time. Owned by its two threads (shared_ptr).
class DelayedPipe {
public:
    DelayedPipe(std::shared_ptr<Sockets> sockets, bool upstream, Clock::duration delay)
        : sockets_(std::move(sockets)),
          from_(upstream ? sockets_->client : sockets_->server),
          to_(upstream ? sockets_->server : sockets_->client),
          delay_(delay) {}

    static void start(const std::shared_ptr<Sockets>& sockets, bool upstream, Clock::duration delay) {
        auto pipe = std::make_shared<DelayedPipe>(sockets, upstream, delay);
        std::thread([pipe] { pipe->read(); }).detach();
        std::thread([pipe] { pipe->write(); }).detach();
    }

private:
    void read() {
        char buffer[65536];
        for (;;) {
            const ssize_t got = ::recv(from_, buffer, sizeof buffer, 0);
            push(got > 0 ? std::string(buffer, static_cast<std::size_t>(got)) : std::string());
            if (got <= 0) return;
        }
    }

    void push(std::string bytes) {
        std::lock_guard<std::mutex> lock(mutex_);
        queue_.push_back({Clock::now() + delay_, std::move(bytes)});
        ready_.notify_one();
    }

    // Ends the other side's sending half when this side closed, then both sockets of this pipe's
    // direction are done with.
    void write() {
        for (;;) {
            Chunk chunk;
            {
                std::unique_lock<std::mutex> lock(mutex_);
                ready_.wait(lock, [this] { return !queue_.empty(); });
                chunk = std::move(queue_.front());
                queue_.pop_front();
            }
            std::this_thread::sleep_until(chunk.due);
            if (chunk.bytes.empty() || !sendAll(chunk.bytes)) break;
        }
        ::shutdown(to_, SHUT_WR);
        ::shutdown(from_, SHUT_RD);
    }

    bool sendAll(const std::string& bytes) {
        for (std::size_t sent = 0; sent < bytes.size();) {
            const ssize_t wrote = ::send(to_, bytes.data() + sent, bytes.size() - sent, MSG_NOSIGNAL);
            if (wrote <= 0) return false;
            sent += static_cast<std::size_t>(wrote);
        }
        return true;
    }

    std::shared_ptr<Sockets> sockets_;
    int from_;
    int to_;
    Clock::duration delay_;
    std::mutex mutex_;
    std::condition_variable ready_;
    std::deque<Chunk> queue_;
};

sockaddr_in loopback(int port) {
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_port = htons(static_cast<std::uint16_t>(port));
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    return address;
}

// Small messages go at once: the delay is the proxy's, not Nagle's.
void noDelay(int socket) {
    const int on = 1;
    ::setsockopt(socket, IPPROTO_TCP, TCP_NODELAY, &on, sizeof on);
}

}  // namespace

int main(int argc, char** argv) {
    if (argc != 3) {
        std::fprintf(stderr, "usage: scm_delay_proxy TARGET_PORT DELAY_MS\n");
        return 2;
    }
    const int targetPort = std::atoi(argv[1]);
    const auto delay =
        std::chrono::duration_cast<Clock::duration>(std::chrono::duration<double, std::milli>(std::atof(argv[2])));
    const int listener = ::socket(AF_INET, SOCK_STREAM, 0);
    sockaddr_in address = loopback(0);
    socklen_t length = sizeof address;
    if (listener < 0 || ::bind(listener, reinterpret_cast<sockaddr*>(&address), sizeof address) != 0 ||
        ::listen(listener, 64) != 0 || ::getsockname(listener, reinterpret_cast<sockaddr*>(&address), &length) != 0) {
        std::perror("scm_delay_proxy: listen");
        return 1;
    }
    std::printf("%d\n", ntohs(address.sin_port));
    std::fflush(stdout);
    for (;;) {
        const int client = ::accept(listener, nullptr, nullptr);
        if (client < 0) continue;
        const int server = ::socket(AF_INET, SOCK_STREAM, 0);
        const sockaddr_in target = loopback(targetPort);
        if (server < 0 || ::connect(server, reinterpret_cast<const sockaddr*>(&target), sizeof target) != 0) {
            std::perror("scm_delay_proxy: connect");
            ::close(client);
            if (server >= 0) ::close(server);
            continue;
        }
        noDelay(client);
        noDelay(server);
        std::shared_ptr<Sockets> sockets(new Sockets{client, server});
        DelayedPipe::start(sockets, true, delay);
        DelayedPipe::start(sockets, false, delay);
    }
}
