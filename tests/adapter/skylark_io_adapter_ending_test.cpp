#include "tests/support/box_state.h"
#include "tests/support/child.h"
#include "tests/support/library.h"
#include "tests/support/raw_peer.h"
#include "tests/support/signal_storm.h"

#include <csignal>
#include <functional>
#include <future>
#include <gmock/gmock.h>
#include <optional>
#include <sys/syscall.h>

using namespace testing_support;

namespace {

constexpr unsigned int confPort = 55756;
constexpr char const* closedText = "Connection has been closed";

/// A connection with a thread inside one of its calls, where it stays until the connection ends.
class Scene
{
public:
    explicit Scene(Library const& loaded) : library(loaded) {}

    Library const& library;
    void* connection = nullptr;
    std::optional<RawListener> listener;
    std::optional<RawPeer> peer;

    void serve() { ASSERT_EQ(library.create("dtc_conf", 0, &connection), 0) << library.error(); }

    void serveNewcomer()
    {
        serve();
        peer.emplace(confPort);
    }

    void serveClient()
    {
        serveNewcomer();
        peer->send(message("hello", 1));
        ASSERT_EQ(receive(), DTC_IO_SUCCESS);
    }

    void open()
    {
        listener.emplace(confPort);
        ASSERT_EQ(library.open("0x7F000001", "dtc_conf", &connection), 0) << library.error();
        peer.emplace(listener->accept());
    }

    /// The peer reads what it is sent, so slowly that the system goes on taking a little.
    void serveSlowClient()
    {
        serveClient();
        m_reader = std::async(std::launch::async, [this] {
            std::string bytes;
            do {
                std::this_thread::sleep_for(std::chrono::milliseconds(10));
                bytes = peer->receive(40'000);
            } while (!bytes.empty());
        });
    }

    DTC_IO_STATUS receive()
    {
        unsigned int tag = 0;
        return library.receive(connection, &sender, &tag, received, sizeof received, nullptr,
                               DTC_IO_NO_TIME_LIMIT);
    }
    DTC_IO_STATUS ready() { return library.receiveReady(connection, DTC_IO_NO_TIME_LIMIT); }
    DTC_IO_STATUS send()
    {
        // More than any socket takes in, and there to the end of the process.
        static auto& much = *new std::vector<unsigned int>(1U << 24);
        return library.send(connection, sender, 1, much.data(), 4U << 24, nullptr);
    }

    unsigned int sender = 0;
    unsigned int received[256] = {};

private:
    std::future<void> m_reader;
};

using Act = DTC_IO_STATUS (Scene::*)();

struct State
{
    char const* name;
    void (Scene::*begin)();
    std::string bytes; ///< which the peer sends then
    Act act;
};

State const states[] = {
    {"a server without clients waits", &Scene::serve, "", &Scene::receive},
    {"a server is asked whether it has something", &Scene::serve, "", &Scene::ready},
    {"a server waits for its client", &Scene::serveClient, "", &Scene::receive},
    {"a server is in a header", &Scene::serveClient, header(9, 1).substr(0, 5), &Scene::receive},
    {"a server is in a payload", &Scene::serveClient, header(9, 1) + "some", &Scene::receive},
    {"a server drops a message", &Scene::serveClient, header(9'000'000, 1) + "some",
     &Scene::receive},
    {"a server's client does not read", &Scene::serveClient, "", &Scene::send},
    {"a server's client reads bit by bit", &Scene::serveSlowClient, "", &Scene::send},
    {"a server admits a client", &Scene::serveNewcomer, "", &Scene::receive},
    {"a client waits", &Scene::open, "", &Scene::receive},
    {"a client is in a payload", &Scene::open, header(9, 1) + "some", &Scene::receive},
    {"a client's server does not read", &Scene::open, "", &Scene::send},
};

void arrange(Scene& scene, State const& state)
{
    (scene.*state.begin)();
    if (!state.bytes.empty())
        scene.peer->send(state.bytes);
}

/// Returns when the thread sleeps in a system call.
void awaitSleep(std::atomic<int> const& thread)
{
    awaitAtLeast(thread, 1);
    std::string const file = "/proc/self/task/" + std::to_string(thread) + "/stat";
    while (contentOf(file).find(") S ") == std::string::npos)
        std::this_thread::sleep_for(std::chrono::microseconds(50));
}

/// A thread that is inside a call of the scene when the constructor returns.
class Inside
{
public:
    Inside(Scene& scene, Act act)
        : m_status(std::async(std::launch::async, [this, &scene, act] {
              m_thread = static_cast<int>(syscall(SYS_gettid));
              return (scene.*act)();
          }))
    {
        awaitSleep(m_thread);
    }

    DTC_IO_STATUS status() { return m_status.get(); }

private:
    std::atomic<int> m_thread{0};
    std::future<DTC_IO_STATUS> m_status;
};

/// Ends the scene's connection while threads are inside: a server has another one beside the first,
/// which waits for its turn when that is in a message.
void endIn(State const& state, Scene& scene, std::function<void()> const& end)
{
    Inside first(scene, state.act);
    std::optional<Inside> second;
    if (!scene.listener)
        second.emplace(scene, &Scene::ready);
    end();
    EXPECT_EQ(first.status(), DTC_IO_DISCONNECTED);
    if (second) {
        EXPECT_EQ(second->status(), DTC_IO_DISCONNECTED);
    }
}

/// How often each state is ended; more with the variable ENDINGS.
int repeats()
{
    char const* const wanted = std::getenv("ENDINGS");
    return wanted != nullptr ? std::atoi(wanted) : 1;
}

template <typename Ending>
void endEachState(Ending end)
{
    for (State const& state : states) {
        SCOPED_TRACE(state.name);
        for (int i = 0; i < repeats(); ++i)
            end(state);
    }
}

TEST(EndingTest, ClosingAConnectionWakesTheThreadsInsideAndWaitsForThem)
{
    Library const library;
    endEachState([&](State const& state) {
        Scene scene{library};
        arrange(scene, state);
        endIn(state, scene, [&] { library.close(scene.connection); });
        EXPECT_STREQ(library.error(), closedText);
    });
}

TEST(EndingTest, UnloadingWakesTheThreadsInsideAndWaitsForThem)
{
    endEachState([](State const& state) {
        std::optional<Library> library(std::in_place);
        Scene scene{*library};
        arrange(scene, state);
        endIn(state, scene, [&] { library.reset(); });
    });
}

// The process goes on for a while when the library is at its end, and the thread with its loop.
TEST(EndingTest, AProgramMayExitWhileItsThreadServes)
{
    endEachState([](State const& state) {
        Fork program([&state] {
            std::atexit([] { std::this_thread::sleep_for(std::chrono::milliseconds(20)); });
            static Library const& library = *new Library; // nothing closes or unloads it
            static Scene& scene = *new Scene(library);
            arrange(scene, state);
            std::atomic<int> thread{0};
            std::thread([&thread, act = state.act] {
                thread = static_cast<int>(syscall(SYS_gettid));
                while ((scene.*act)() == DTC_IO_DISCONNECTED && *library.error() != 0) {
                }
            }).detach();
            awaitSleep(thread);
            std::exit(testing::Test::HasFailure() ? 1 : 0);
        });
        EXPECT_EQ(program.wait(), 0);
    });
}

// Threads that a child process does not have are in no call of it, and hold no lock.
TEST(EndingTest, AChildMayExitWhileAThreadOfItsParentServes)
{
    Library const library;
    Scene scene{library};
    scene.serveClient();
    std::string const bytes = message("goes on", 1);
    for (std::size_t const sent : {std::size_t{0}, bytes.size() - 2}) {
        scene.peer->send(bytes.substr(0, sent));
        Inside serving(scene, &Scene::receive);
        EXPECT_EQ(Fork([] { std::exit(0); }).wait(), 0);
        scene.peer->send(bytes.substr(sent));
        EXPECT_EQ(serving.status(), DTC_IO_SUCCESS);
    }
    library.close(scene.connection);
}

// The handler interrupts the call that holds what another thread waits for.
TEST(EndingTest, AProgramMayExitInASignalHandlerThatInterruptsACall)
{
    Fork program([] {
        static Library const& library = *new Library;
        static Scene& scene = *new Scene(library);
        scene.serveClient();
        scene.peer->send(header(9, 1) + "some");
        std::signal(SIGALRM, [](int /*signal*/) { std::exit(0); });
        pthread_t const self = pthread_self();
        std::atomic<int> thread{static_cast<int>(getpid())};
        std::thread([self, &thread] {
            awaitSleep(thread);
            Inside const waiting(scene, &Scene::send);
            pthread_kill(self, SIGALRM);
            pause();
        }).detach();
        scene.receive();
    });
    EXPECT_EQ(program.wait(), 0);
}

// Each signal starts a wait inside the system anew.
TEST(EndingTest, SignalsDoNotKeepAConnectionOpen)
{
    Library const library;
    Scene scene{library};
    scene.serveClient();
    std::thread closing([&] {
        while (!scene.peer->hasBytes()) // until the call is under way
            std::this_thread::yield();
        std::this_thread::sleep_for(std::chrono::milliseconds(50));
        library.close(scene.connection);
    });
    {
        SignalStorm const storm;
        EXPECT_EQ(scene.send(), DTC_IO_DISCONNECTED);
    }
    closing.join();
    EXPECT_STREQ(library.error(), closedText);
}

} // namespace
