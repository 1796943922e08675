#pragma once

#include "Platform/PipeWire/Connection.h"
#include "Platform/PipeWire/Loop.h"

#include <chrono>
#include <optional>
#include <string>

namespace tessivo::pipewire {

// A client of the server that comes back to it: once a server has answered, a connection that is
// lost is made anew as soon as a server is there again.
class Client {
public:
    // The client's user. Called with the loop locked; reconcile() on the loop's thread.
    class User {
    public:
        // Every connection begins and ends with one of these. What belongs to the connection is
        // created in the one and destroyed in the other.
        virtual void connected(Connection& connection) = 0;
        virtual void disconnecting() = 0;
        // Does what follows from what has changed; see Loop. Returns whether something is
        // awaited that is not announced by an event: then it is called again soon.
        virtual bool reconcile() = 0;

    protected:
        ~User() = default;
    };

    struct Settings {
        std::string applicationName;
        int roundTrips; // see Connection
    };

    // Makes no connection. The user must outlive this or call stop() first.
    Client(Settings settings, User& user);
    ~Client();
    Client(const Client&) = delete;
    Client& operator=(const Client&) = delete;

    // Not locked. Ends the connection; nothing is called any more.
    void stop();

    // The same as Loop::locked(), await() and wake().
    template <typename Work> decltype(auto) locked(Work&& work) {
        return loop_.locked(std::forward<Work>(work));
    }
    template <typename Condition>
    bool await(std::chrono::nanoseconds limit, const Condition& condition) {
        return loop_.await(limit, condition);
    }
    void wake() { loop_.wake(); }

    // All of the following with the loop locked.

    // Connects unless there is a connection, awaits the server's first answers for that time, and
    // returns whether they have come; if not, reconcile() tells when they do. Throws
    // std::system_error when there is no server (with the error of the connection attempt) or the
    // client library cannot be used (ENOSYS). A connection that breaks before it was answered is
    // made anew from then on.
    bool reach(std::chrono::nanoseconds limit);
    void disconnect();

    pw_context* context() const { return loop_.context(); }
    // The connection; null when there is none that works.
    Connection* connection();
    // The same, once the server has answered.
    Connection* answeredConnection();

    // A server has answered before: when it goes, the client reconnects by itself.
    bool hasBeenAnswered() const { return hasBeenAnswered_; }

private:
    void open();
    void reconcile();

    Settings settings_;
    User& user_;
    bool hasBeenAnswered_ = false;
    bool persists_ = false; // reconnects also when no server has answered yet
    Loop loop_;
    std::optional<Connection> connection_;
};

} // namespace tessivo::pipewire
