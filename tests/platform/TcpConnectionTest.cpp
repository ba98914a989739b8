#include "platform/TcpConnection.h"

#include "platform/SerialQueue.h"

#include <QDeadlineTimer>
#include <QDir>
#include <QElapsedTimer>
#include <QProcess>
#include <QtTest/QTest>

#include <arpa/inet.h>
#include <fcntl.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <netdb.h>
#include <netinet/in.h>
#include <poll.h>
#include <sched.h>
#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <chrono>
#include <condition_variable>
#include <future>
#include <mutex>
#include <vector>

namespace lumvik {

/// For failure messages.
void PrintTo(NetworkConnection::State state, std::ostream *stream) {
    static constexpr const char *names[] = {"preparing", "waiting", "failed", "ready", "cancelled"};
    *stream << names[static_cast<int>(state)];
}

namespace {

using State = NetworkConnection::State;
using States = std::vector<State>;
using testing::ElementsAre;

constexpr int deadline = 20'000; // milliseconds

/// What a connection reports, readable from any thread.
class Reports {
  public:
    [[nodiscard]] NetworkConnection::StateUpdateHandler handler() {
        return [this](State state) {
            const std::scoped_lock lock(m_mutex);
            m_states.push_back(state);
        };
    }
    [[nodiscard]] States states() const {
        const std::scoped_lock lock(m_mutex);
        return m_states;
    }
    [[nodiscard]] bool endWith(State state) const {
        const States all = states();
        return !all.empty() && all.back() == state;
    }
    [[nodiscard]] bool comeTo(State state) const {
        return QTest::qWaitFor([&] { return endWith(state); }, deadline);
    }

  private:
    mutable std::mutex m_mutex;
    States m_states;
};

/// A port of a loopback address, bound for as long as it lives.
class LocalPort {
  public:
    enum class Behaviour {
        refusing,  ///< Bound, but nobody listens.
        listening, ///< Connections are taken.
        full,      ///< The queue of connections is full: further ones are never answered.
    };

    explicit LocalPort(Behaviour behaviour, const char *address = "127.0.0.1") {
        SocketAddress local = numericalAddresses(QString::fromLatin1(address), 0).at(0);
        m_listener = ::socket(local.family(), SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0);
        auto *generic = reinterpret_cast<sockaddr *>(&local.storage);
        m_isBound = ::bind(m_listener, generic, local.size) == 0 &&
                    ::getsockname(m_listener, generic, &local.size) == 0;
        // The port stands at the same place in both kinds of address.
        m_port = ntohs(reinterpret_cast<sockaddr_in *>(generic)->sin_port);
        if (behaviour != Behaviour::refusing)
            m_isBound =
                m_isBound && ::listen(m_listener, behaviour == Behaviour::full ? 0 : 64) == 0;
        for (int n = 0; behaviour == Behaviour::full && n < 4; ++n) {
            m_fillers.push_back(
                ::socket(local.family(), SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0));
            ::connect(m_fillers.back(), generic, local.size);
        }
    }
    LocalPort(const LocalPort &) = delete;
    LocalPort &operator=(const LocalPort &) = delete;
    ~LocalPort() {
        for (const int filler : m_fillers)
            ::close(filler);
        hangUp();
        ::close(m_listener);
    }

    [[nodiscard]] bool isBound() const { return m_isBound; }
    [[nodiscard]] std::uint16_t port() const { return m_port; }

    /// Takes the next connection; false when none comes.
    [[nodiscard]] bool accept() {
        hangUp();
        return QTest::qWaitFor(
            [this] {
                m_peer = ::accept4(m_listener, nullptr, nullptr, SOCK_CLOEXEC | SOCK_NONBLOCK);
                return m_peer >= 0;
            },
            deadline);
    }
    /// Takes and closes what has come so far, so that the queue of connections does not fill.
    void takeAll() const {
        int peer = -1;
        while ((peer = ::accept4(m_listener, nullptr, nullptr, SOCK_CLOEXEC)) >= 0)
            ::close(peer);
    }
    /// Whether the taken connection is open and nothing was sent over it.
    [[nodiscard]] bool peerIsSilent() const {
        char byte = 0;
        return ::recv(m_peer, &byte, 1, 0) < 0 && errno == EAGAIN;
    }
    /// Whether the taken connection ends without a byte and without a reset.
    [[nodiscard]] bool peerEnds() const {
        char byte = 0;
        ssize_t received = -1;
        return QTest::qWaitFor(
                   [&] {
                       received = ::recv(m_peer, &byte, 1, 0);
                       return received >= 0 || errno != EAGAIN;
                   },
                   deadline) &&
               received == 0;
    }

  private:
    void hangUp() {
        if (m_peer >= 0)
            ::close(m_peer);
        m_peer = -1;
    }

    int m_listener = -1;
    int m_peer = -1;
    bool m_isBound = false;
    std::uint16_t m_port = 0;
    std::vector<int> m_fillers;
};

/// A resolver that answers only when it is let go.
class HangingResolver {
  public:
    [[nodiscard]] NameResolver resolver(std::vector<SocketAddress> answer = {}) const {
        return [shared = m_shared, answer](const std::string &, std::uint16_t) {
            std::unique_lock lock(shared->mutex);
            ++shared->asked;
            shared->changed.wait(lock, [&] { return shared->isLetGo; });
            ++shared->answered;
            return answer;
        };
    }
    [[nodiscard]] bool isAsked(int times) const {
        return QTest::qWaitFor(
            [&] {
                const std::scoped_lock lock(m_shared->mutex);
                return m_shared->asked >= times;
            },
            deadline);
    }
    [[nodiscard]] int asked() const {
        const std::scoped_lock lock(m_shared->mutex);
        return m_shared->asked;
    }
    /// Answers whether all that had asked got an answer.
    [[nodiscard]] bool letGo() const {
        {
            const std::scoped_lock lock(m_shared->mutex);
            m_shared->isLetGo = true;
        }
        m_shared->changed.notify_all();
        return QTest::qWaitFor(
            [&] {
                const std::scoped_lock lock(m_shared->mutex);
                return m_shared->answered == m_shared->asked;
            },
            deadline);
    }

  private:
    struct Shared {
        std::mutex mutex;
        std::condition_variable changed;
        bool isLetGo = false;
        int asked = 0;
        int answered = 0;
    };
    std::shared_ptr<Shared> m_shared = std::make_shared<Shared>();
};

/// Runs `work` on the queue and answers what it answers.
int onQueue(SerialQueue &queue, const std::function<int()> &work) {
    std::promise<int> promise;
    queue.async([&] { promise.set_value(work()); });
    return promise.get_future().get();
}

/// Waits until the queue has done all that was submitted to it.
void drain(SerialQueue &queue) {
    onQueue(queue, [] { return 0; });
}

int ip(const QStringList &arguments) {
    return QProcess::execute(QStringLiteral("ip"), arguments);
}

/// Gives the queue's thread a network of its own in which only the loopback interface is. Where the
/// system does not allow that, answers false.
bool isolate(SerialQueue &queue) {
    return onQueue(queue, [] {
               return ::unshare(CLONE_NEWNET) == 0 &&
                              ip({QStringLiteral("link"), QStringLiteral("set"),
                                  QStringLiteral("lo"), QStringLiteral("up")}) == 0
                          ? 1
                          : 0;
           }) == 1;
}

bool addAddress(SerialQueue &queue, const QString &address) {
    return onQueue(queue, [&] {
               return ip({QStringLiteral("address"), QStringLiteral("add"), address,
                          QStringLiteral("dev"), QStringLiteral("lo")});
           }) == 0;
}

int openDescriptors() {
    return static_cast<int>(QDir(QStringLiteral("/proc/self/fd")).entryList(QDir::Files).size());
}

class TcpConnectionTest : public testing::Test {
  protected:
    [[nodiscard]] std::shared_ptr<TcpConnection>
    started(const QString &host, std::uint16_t port, NameResolver resolver = resolveWithSystem) {
        auto connection = std::make_shared<TcpConnection>(host, port, std::move(resolver));
        connection->setStateUpdateHandler(reports.handler());
        connection->start(queue);
        return connection;
    }

    const QString loopback = QStringLiteral("127.0.0.1");
    Reports reports;
    SerialQueue queue{QStringLiteral("test.connection")};
};

TEST_F(TcpConnectionTest, IsReadyWhenTheHostListensAndSendsNothing) {
    LocalPort port(LocalPort::Behaviour::listening);
    const auto connection = started(loopback, port.port());
    ASSERT_TRUE(reports.comeTo(State::ready));
    EXPECT_THAT(reports.states(), ElementsAre(State::preparing, State::ready));
    ASSERT_TRUE(port.accept());
    EXPECT_TRUE(port.peerIsSilent());
    connection->cancel();
    EXPECT_TRUE(port.peerEnds());
    EXPECT_TRUE(reports.comeTo(State::cancelled));
    EXPECT_THAT(reports.states(), ElementsAre(State::preparing, State::ready, State::cancelled));
}

TEST_F(TcpConnectionTest, EndsTheConnectionWhenItIsDestroyedAndReportsNothingMore) {
    LocalPort port(LocalPort::Behaviour::listening);
    auto connection = started(loopback, port.port());
    ASSERT_TRUE(reports.comeTo(State::ready));
    ASSERT_TRUE(port.accept());
    connection.reset();
    EXPECT_TRUE(port.peerEnds());
    drain(queue);
    EXPECT_THAT(reports.states(), ElementsAre(State::preparing, State::ready));
}

TEST_F(TcpConnectionTest, FailsWhenTheHostRefuses) {
    const LocalPort port(LocalPort::Behaviour::refusing);
    const auto connection = started(loopback, port.port());
    ASSERT_TRUE(reports.comeTo(State::failed));
    connection->cancel();
    drain(queue);
    EXPECT_THAT(reports.states(), ElementsAre(State::preparing, State::failed));
}

TEST_F(TcpConnectionTest, ConnectsOverIPv6WithoutBrackets) {
    LocalPort port(LocalPort::Behaviour::listening, "::1");
    if (!port.isBound())
        GTEST_SKIP() << "this system has no IPv6";
    const auto connection = started(QStringLiteral("::1"), port.port());
    EXPECT_TRUE(reports.comeTo(State::ready));
    EXPECT_TRUE(port.accept());
}

TEST_F(TcpConnectionTest, ConnectsToAnAddressWithAScope) {
    if (!isolate(queue))
        GTEST_SKIP() << "this system does not allow a network of one's own";
    if (!addAddress(queue, QStringLiteral("fe80::5/64")))
        GTEST_SKIP() << "this system has no IPv6";
    std::unique_ptr<LocalPort> port;
    onQueue(queue, [&] {
        port = std::make_unique<LocalPort>(LocalPort::Behaviour::listening, "::");
        return 0;
    });
    const auto connection = started(QStringLiteral("fe80::5%lo"), port->port());
    EXPECT_TRUE(reports.comeTo(State::ready));
    EXPECT_TRUE(port->accept());
}

TEST_F(TcpConnectionTest, WaitsForTheInterfaceThatTheScopeNames) {
    const auto connection = started(QStringLiteral("fe80::1%absent0"), 554);
    ASSERT_TRUE(reports.comeTo(State::waiting));
    connection->cancel();
    EXPECT_TRUE(reports.comeTo(State::cancelled));
    EXPECT_THAT(reports.states(), ElementsAre(State::preparing, State::waiting, State::cancelled));
}

TEST_F(TcpConnectionTest, ConnectsToAName) {
    LocalPort port(LocalPort::Behaviour::listening);
    const auto connection = started(QStringLiteral("localhost"), port.port());
    EXPECT_TRUE(reports.comeTo(State::ready));
    EXPECT_TRUE(port.accept());
}

TEST_F(TcpConnectionTest, FailsWhenTheNameDoesNotExist) {
    const auto connection =
        started(QStringLiteral("absent.example"), 554,
                [](const std::string &, int) { return tl::unexpected(LookupError::noSuchName); });
    EXPECT_TRUE(reports.comeTo(State::failed));
    EXPECT_THAT(reports.states(), ElementsAre(State::preparing, State::failed));
}

TEST_F(TcpConnectionTest, WaitsWhileNoNameServerCanBeAskedAndConnectsOnceOneAnswers) {
    LocalPort port(LocalPort::Behaviour::listening);
    const auto asked = std::make_shared<std::atomic_int>(0);
    const auto connection = started(QStringLiteral("camera.example"), 554,
                                    [asked, answer = numericalAddresses(loopback, port.port())](
                                        const std::string &, int) -> LookupResult {
                                        if (++*asked < 3)
                                            return tl::unexpected(LookupError::notNow);
                                        return answer;
                                    });
    EXPECT_TRUE(reports.comeTo(State::ready));
    EXPECT_TRUE(port.accept());
    EXPECT_EQ(*asked, 3);
    const States states = reports.states();
    EXPECT_EQ(std::count(states.begin(), states.end(), State::failed), 0);
    EXPECT_EQ(std::count(states.begin(), states.end(), State::waiting), 1);
}

TEST(HostLookup, OnlyAServerThatIsOutOfReachIsWorthAskingAgain) {
    EXPECT_EQ(lookupError(EAI_AGAIN), LookupError::notNow);
    for (const int number : {EAI_NONAME, EAI_FAIL, EAI_FAMILY, EAI_MEMORY, EAI_SYSTEM})
        EXPECT_EQ(lookupError(number), LookupError::noSuchName) << number;
}

TEST_F(TcpConnectionTest, WaitsWhereTheSystemDoesNotKnowTheKindOfAddress) {
    SocketAddress address = numericalAddresses(loopback, 554).at(0);
    address.storage.ss_family = AF_MAX; // as good as IPv6 where that is not built in
    const auto connection =
        started(QStringLiteral("six.example"), 554,
                [address](const std::string &, int) { return std::vector{address}; });
    EXPECT_TRUE(reports.comeTo(State::waiting));
}

TEST_F(TcpConnectionTest, FailsWhenTheNameIsNone) {
    for (const QString &host : {QString(), QStringLiteral("a..b"), QStringLiteral("a b")}) {
        Reports ownReports;
        TcpConnection connection(host, 554);
        connection.setStateUpdateHandler(ownReports.handler());
        connection.start(queue);
        EXPECT_TRUE(ownReports.comeTo(State::failed)) << qPrintable(host);
    }
}

TEST_F(TcpConnectionTest, AsksTheResolverForAnInternationalNameInAscii) {
    std::mutex mutex;
    std::string asked;
    const auto connection =
        started(QStringLiteral("kamera-tür.example"), 8554, [&](const std::string &name, int port) {
            const std::scoped_lock lock(mutex);
            asked = name + ' ' + std::to_string(port);
            return std::vector<SocketAddress>();
        });
    ASSERT_TRUE(reports.comeTo(State::failed));
    const std::scoped_lock lock(mutex);
    EXPECT_EQ(asked, "xn--kamera-tr-x9a.example 8554");
}

TEST_F(TcpConnectionTest, TriesEachAddressOfANameUntilOneConnects) {
    const LocalPort refusing(LocalPort::Behaviour::refusing);
    LocalPort listening(LocalPort::Behaviour::listening);
    const auto connection =
        started(QStringLiteral("two.example"), 554, [&](const std::string &, int) {
            return std::vector{numericalAddresses(loopback, refusing.port()).at(0),
                               numericalAddresses(loopback, listening.port()).at(0)};
        });
    EXPECT_TRUE(reports.comeTo(State::ready));
    EXPECT_TRUE(listening.accept());
    EXPECT_THAT(reports.states(), ElementsAre(State::preparing, State::ready));
}

TEST_F(TcpConnectionTest, FailsWhenNoAddressOfANameConnects) {
    const LocalPort port(LocalPort::Behaviour::refusing);
    const auto connection =
        started(QStringLiteral("two.example"), 554, [&](const std::string &, int) {
            return std::vector(2, numericalAddresses(loopback, port.port()).at(0));
        });
    EXPECT_TRUE(reports.comeTo(State::failed));
}

TEST_F(TcpConnectionTest, StaysPreparingWhileNobodyAnswers) {
    const LocalPort port(LocalPort::Behaviour::full);
    const auto connection = started(loopback, port.port());
    ASSERT_TRUE(reports.comeTo(State::preparing));
    EXPECT_FALSE(QTest::qWaitFor([&] { return reports.states().size() > 1; }, 700));
    connection->cancel();
    EXPECT_TRUE(reports.comeTo(State::cancelled));
    EXPECT_THAT(reports.states(), ElementsAre(State::preparing, State::cancelled));
}

TEST_F(TcpConnectionTest, WaitsWithoutARouteAndConnectsOnceThereIsOne) {
    if (!isolate(queue))
        GTEST_SKIP() << "this system does not allow a network of one's own";
    std::unique_ptr<LocalPort> port;
    onQueue(queue, [&] {
        port = std::make_unique<LocalPort>(LocalPort::Behaviour::listening, "0.0.0.0");
        return 0;
    });
    const auto connection = started(QStringLiteral("192.0.2.1"), port->port());
    ASSERT_TRUE(reports.comeTo(State::waiting));
    // Three more tries change nothing.
    EXPECT_FALSE(QTest::qWaitFor([&] { return reports.states().size() > 2; }, 900));
    ASSERT_TRUE(addAddress(queue, QStringLiteral("192.0.2.1/24")));
    ASSERT_TRUE(reports.comeTo(State::ready));
    EXPECT_TRUE(port->accept());
    connection->cancel();
    EXPECT_TRUE(port->peerEnds());
}

TEST_F(TcpConnectionTest, FailsWhenARouteAppearsToAHostThatRefuses) {
    if (!isolate(queue))
        GTEST_SKIP() << "this system does not allow a network of one's own";
    const auto connection = started(QStringLiteral("192.0.2.1"), 554);
    ASSERT_TRUE(reports.comeTo(State::waiting));
    ASSERT_TRUE(addAddress(queue, QStringLiteral("192.0.2.1/24")));
    EXPECT_TRUE(reports.comeTo(State::failed));
}

TEST_F(TcpConnectionTest, WaitsWithoutARouteOfIPv6) {
    if (!isolate(queue))
        GTEST_SKIP() << "this system does not allow a network of one's own";
    if (!LocalPort(LocalPort::Behaviour::refusing, "::1").isBound())
        GTEST_SKIP() << "this system has no IPv6";
    const auto connection = started(QStringLiteral("2001:db8::1"), 554);
    EXPECT_TRUE(reports.comeTo(State::waiting));
}

TEST_F(TcpConnectionTest, LooksANameUpOnceWhileItWaitsForARoute) {
    if (!isolate(queue))
        GTEST_SKIP() << "this system does not allow a network of one's own";
    std::atomic_int lookups = 0;
    const auto connection =
        started(QStringLiteral("far.example"), 554, [&](const std::string &, std::uint16_t port) {
            ++lookups;
            return numericalAddresses(QStringLiteral("192.0.2.1"), port);
        });
    ASSERT_TRUE(reports.comeTo(State::waiting));
    ASSERT_TRUE(addAddress(queue, QStringLiteral("192.0.2.1/24")));
    EXPECT_TRUE(reports.comeTo(State::failed));
    EXPECT_EQ(lookups, 1);
}

TEST_F(TcpConnectionTest, FailsWhenTheHostIsUnreachableThoughThereIsARoute) {
    if (!isolate(queue))
        GTEST_SKIP() << "this system does not allow a network of one's own";
    const int added = onQueue(queue, [] {
        return ip({QStringLiteral("route"), QStringLiteral("add"), QStringLiteral("unreachable"),
                   QStringLiteral("192.0.2.0/24")});
    });
    ASSERT_EQ(added, 0);
    const auto connection = started(QStringLiteral("192.0.2.1"), 554);
    EXPECT_TRUE(reports.comeTo(State::failed));
}

TEST_F(TcpConnectionTest, FailsWhenTheSystemGivesUpWaitingForAnAnswer) {
    if (!isolate(queue))
        GTEST_SKIP() << "this system does not allow a network of one's own";
    std::unique_ptr<LocalPort> port;
    const int limited = onQueue(queue, [&] {
        port = std::make_unique<LocalPort>(LocalPort::Behaviour::full);
        // One repetition: the system gives up after three seconds instead of two minutes.
        const int file = ::open("/proc/sys/net/ipv4/tcp_syn_retries", O_WRONLY | O_CLOEXEC);
        const bool isWritten = ::write(file, "1", 1) == 1;
        ::close(file);
        return isWritten ? 1 : 0;
    });
    if (limited != 1)
        GTEST_SKIP() << "this system does not allow its time-out to be changed";
    const auto connection = started(loopback, port->port());
    EXPECT_TRUE(reports.comeTo(State::failed));
    EXPECT_THAT(reports.states(), ElementsAre(State::preparing, State::failed));
}

TEST_F(TcpConnectionTest, CancelledBeforeTheStartItNeverConnects) {
    LocalPort port(LocalPort::Behaviour::listening);
    TcpConnection connection(loopback, port.port());
    connection.setStateUpdateHandler(reports.handler());
    connection.cancel();
    connection.start(queue);
    drain(queue);
    EXPECT_TRUE(reports.states().empty());
}

TEST_F(TcpConnectionTest, CancelsWithoutWaitingForALookupThatHangs) {
    const HangingResolver hanging;
    const LocalPort port(LocalPort::Behaviour::listening);
    auto connection = started(QStringLiteral("slow.example"), 554,
                              hanging.resolver(numericalAddresses(loopback, port.port())));
    ASSERT_TRUE(hanging.isAsked(1));
    connection->cancel();
    EXPECT_TRUE(reports.comeTo(State::cancelled));
    connection.reset();
    // The late answer finds nobody.
    EXPECT_TRUE(hanging.letGo());
    drain(queue);
    EXPECT_THAT(reports.states(), ElementsAre(State::preparing, State::cancelled));
}

TEST_F(TcpConnectionTest, ALookupMayOutliveTheQueue) {
    const HangingResolver hanging;
    {
        SerialQueue shortLived(QStringLiteral("short"));
        TcpConnection connection(QStringLiteral("slow.example"), 554, hanging.resolver());
        connection.start(shortLived);
        ASSERT_TRUE(hanging.isAsked(1));
    }
    EXPECT_TRUE(hanging.letGo());
}

TEST_F(TcpConnectionTest, ALookupThatHangsHoldsNoOtherOfTheSameName) {
    const HangingResolver hanging;
    TcpConnection first(QStringLiteral("localhost"), 554, hanging.resolver());
    first.start(queue);
    ASSERT_TRUE(hanging.isAsked(1));
    const LocalPort port(LocalPort::Behaviour::listening);
    const auto second = started(QStringLiteral("localhost"), port.port());
    EXPECT_TRUE(reports.comeTo(State::ready));
    EXPECT_TRUE(hanging.letGo());
}

TEST_F(TcpConnectionTest, LookupsThatHangDoNotPileUpAndLaterOnesComeToTheirTurn) {
    const HangingResolver hanging;
    for (int n = 0; n < 1000; ++n) {
        TcpConnection connection(QStringLiteral("slow.example"), 554, hanging.resolver());
        connection.start(queue);
        drain(queue);
    }
    ASSERT_TRUE(hanging.isAsked(1));
    const LocalPort port(LocalPort::Behaviour::listening);
    const auto connection = started(QStringLiteral("localhost"), port.port());
    ASSERT_TRUE(reports.comeTo(State::preparing));
    EXPECT_FALSE(reports.endWith(State::ready));
    EXPECT_LE(hanging.asked(), lookupLimit);
    EXPECT_TRUE(hanging.letGo());
    EXPECT_TRUE(reports.comeTo(State::ready));
}

TEST_F(TcpConnectionTest, TheProcessEndsWhileALookupHangs) {
    testing::FLAGS_gtest_death_test_style = "threadsafe";
    QElapsedTimer elapsed;
    elapsed.start();
    EXPECT_EXIT(
        {
            std::atomic_bool asked = false;
            SerialQueue own(QStringLiteral("ends"));
            TcpConnection connection(QStringLiteral("slow.example"), 554,
                                     [&](const std::string &, int) {
                                         asked = true;
                                         ::poll(nullptr, 0, 100'000);
                                         return std::vector<SocketAddress>();
                                     });
            connection.start(own);
            const bool hangs = QTest::qWaitFor([&] { return asked.load(); }, deadline);
            connection.cancel();
            std::exit(hangs ? 0 : 1);
        },
        testing::ExitedWithCode(0), "");
    EXPECT_LT(elapsed.elapsed(), 90'000);
}

TEST_F(TcpConnectionTest, TheHandlerRunsOnTheQueue) {
    const LocalPort port(LocalPort::Behaviour::listening);
    std::atomic<void *> queueThread = nullptr;
    queue.async([&] { queueThread = QThread::currentThread(); });
    std::atomic_int elsewhere = 0;
    std::atomic_bool ready = false;
    TcpConnection connection(loopback, port.port());
    connection.setStateUpdateHandler([&](State state) {
        elsewhere += QThread::currentThread() != queueThread ? 1 : 0;
        ready = state == State::ready;
    });
    connection.start(queue);
    EXPECT_TRUE(QTest::qWaitFor([&] { return ready.load(); }, deadline));
    EXPECT_EQ(elsewhere, 0);
}

TEST_F(TcpConnectionTest, AHandlerThatWasRemovedIsNotBegunAnyMore) {
    const LocalPort port(LocalPort::Behaviour::listening);
    std::atomic_int begunTooLate = 0;
    std::atomic_int begunAtAll = 0;
    for (int n = 0; n < 500; ++n) {
        const auto removed = std::make_shared<std::atomic_bool>(false);
        const auto begun = std::make_shared<std::atomic_bool>(false);
        TcpConnection connection(loopback, port.port());
        connection.setStateUpdateHandler([&, removed, begun](State) {
            *begun = true;
            ++begunAtAll;
            begunTooLate += removed->load() ? 1 : 0;
        });
        connection.start(queue);
        // Removed at once, or after a while that grows, or as soon as it has begun.
        const QDeadlineTimer latest(n % 3 == 2 ? deadline : 0);
        for (int spin = 0; n % 3 != 0 && !*begun; ++spin) {
            if (latest.hasExpired() && spin >= n * 20)
                break;
        }
        connection.setStateUpdateHandler({});
        *removed = true;
        connection.cancel();
    }
    drain(queue);
    EXPECT_EQ(begunTooLate, 0);
    EXPECT_GT(begunAtAll, 100);
}

TEST_F(TcpConnectionTest, RemovingTheHandlerWaitsUntilItHasReturned) {
    const LocalPort port(LocalPort::Behaviour::listening);
    std::atomic_bool running = false;
    std::promise<void> mayReturn;
    std::shared_future<void> allowed = mayReturn.get_future().share();
    std::atomic_bool returned = false;
    TcpConnection connection(loopback, port.port());
    connection.setStateUpdateHandler([&, allowed](State) {
        running = true;
        allowed.wait_for(std::chrono::milliseconds(deadline));
        returned = true;
    });
    connection.start(queue);
    EXPECT_TRUE(QTest::qWaitFor([&] { return running.load(); }, deadline));
    auto removed = std::async(std::launch::async, [&] {
        connection.setStateUpdateHandler({});
        return returned.load();
    });
    // A removal that does not wait is over well within this.
    EXPECT_EQ(removed.wait_for(std::chrono::milliseconds(200)), std::future_status::timeout);
    mayReturn.set_value();
    EXPECT_TRUE(removed.get());
}

TEST_F(TcpConnectionTest, CancellingDoesNotWaitForTheHandler) {
    const LocalPort port(LocalPort::Behaviour::listening);
    std::atomic_bool running = false;
    std::atomic_bool mayReturn = false;
    TcpConnection connection(loopback, port.port());
    std::atomic_bool returned = false;
    connection.setStateUpdateHandler([&](State) {
        running = true;
        const QDeadlineTimer latest(deadline);
        while (!mayReturn && !latest.hasExpired())
            ::poll(nullptr, 0, 1);
        returned = true;
    });
    connection.start(queue);
    EXPECT_TRUE(QTest::qWaitFor([&] { return running.load(); }, deadline));
    connection.cancel(); // would return only after the deadline if it waited
    EXPECT_FALSE(returned);
    mayReturn = true;
    drain(queue);
}

TEST_F(TcpConnectionTest, TheHandlerMayRemoveItselfAndCancel) {
    const LocalPort port(LocalPort::Behaviour::listening);
    std::atomic_int calls = 0;
    TcpConnection connection(loopback, port.port());
    connection.setStateUpdateHandler([&](State) {
        ++calls;
        connection.setStateUpdateHandler({});
        connection.cancel();
    });
    connection.start(queue);
    EXPECT_TRUE(QTest::qWaitFor([&] { return calls > 0; }, deadline));
    drain(queue);
    EXPECT_EQ(calls, 1);
}

TEST_F(TcpConnectionTest, TheLastReferenceMayBeDroppedByTheHandler) {
    const LocalPort port(LocalPort::Behaviour::listening);
    auto *owner =
        new std::shared_ptr<TcpConnection>(std::make_shared<TcpConnection>(loopback, port.port()));
    std::atomic_bool dropped = false;
    (*owner)->setStateUpdateHandler([&dropped, owner](State) {
        owner->reset();
        dropped = true;
    });
    (*owner)->start(queue);
    EXPECT_TRUE(QTest::qWaitFor([&] { return dropped.load(); }, deadline));
    drain(queue);
    delete owner;
}

TEST_F(TcpConnectionTest, AThousandConnectionsLeaveNoDescriptor) {
    LocalPort listening(LocalPort::Behaviour::listening);
    const LocalPort refusing(LocalPort::Behaviour::refusing);
    const LocalPort full(LocalPort::Behaviour::full);
    const std::uint16_t ports[] = {listening.port(), refusing.port(), full.port()};
    drain(queue);
    const int before = openDescriptors();
    for (int n = 0; n < 1000; ++n) {
        Reports ownReports;
        TcpConnection connection(loopback, ports[n % 3]);
        connection.setStateUpdateHandler(ownReports.handler());
        connection.start(queue);
        if (n % 2 == 0)
            drain(queue);
        connection.cancel();
        drain(queue);
        listening.takeAll();
    }
    drain(queue);
    EXPECT_EQ(openDescriptors(), before);
}

} // namespace
} // namespace lumvik
