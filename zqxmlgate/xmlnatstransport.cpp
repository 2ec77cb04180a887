// SPDX-FileCopyrightText: 2026 The zqxml developers
// SPDX-License-Identifier: MIT

#include "xmlnatstransport.h"

#include "gateframe_p.h"
#include "gatesession_p.h"

#include <QRegularExpression>

#include <algorithm>
#include <atomic>
#include <condition_variable>
#include <cstdlib>
#include <mutex>
#include <thread>
#include <vector>

#include <nats/nats.h>

namespace {

constexpr qint64 mostWaitingBytes = 4 << 20; // that wait to be sent
constexpr qint64 costOfWaiting = 200; // bytes beside the frame
constexpr int shortestRetry = 100; // ms
constexpr int longestRetry = 5000;
constexpr int connectTime = 2000;
constexpr int writeTime = 2000;
constexpr int flushTime = 1000;
constexpr int endTime = 40; // of the destructor
constexpr int pingInterval = 2000;
constexpr int pingsOut = 3;

template <typename Type, void (*destroy)(Type *)>
struct Destroy {
    void operator()(Type *object) const
    {
        destroy(object);
    }
};

using OptionsPointer = std::unique_ptr<natsOptions, Destroy<natsOptions, natsOptions_Destroy>>;
using ConnectionPointer = std::unique_ptr<natsConnection, Destroy<natsConnection, natsConnection_Destroy>>;
using SubscriptionPointer = std::unique_ptr<natsSubscription, Destroy<natsSubscription, natsSubscription_Destroy>>;

int pauseAfter(int attempts)
{
    return std::min(shortestRetry << std::min(attempts, 6), longestRetry);
}

} // namespace

/** Lives in a thread of its own beside those of the client library, if need be longer than its transport. */
class Q_DECL_HIDDEN XMLNatsTransport::Worker : public std::enable_shared_from_this<Worker>
{
public:
    Worker(XMLNatsTransport *transport, const Options &wanted)
        : owner(transport), options(wanted), waitingBytes(0), refused(false), running(false), stopping(false),
          closed(false), connected(false), key(0)
    {
    }

    void start(const QByteArray &name)
    {
        ownName = name;
        enlist();
        thread = std::thread([worker = shared_from_this()] { worker->run(); });
    }

    /** Nothing reaches the owner any more. A connection that hangs is left to itself until the process ends. */
    void stop()
    {
        if (!thread.joinable())
            return;
        strikeOff();
        std::unique_lock<std::mutex> locked(mutex);
        owner = nullptr;
        stopping = true;
        changed.notify_all();
        if (changed.wait_for(locked, std::chrono::milliseconds(endTime), [this] { return !running; })) {
            locked.unlock();
            thread.join();
            return;
        }
        locked.unlock();
        leaveBehind(shared_from_this());
    }

    bool send(const QByteArray &to, const QByteArray &frame, bool probe)
    {
        const std::lock_guard<std::mutex> locked(mutex);
        if (!connected)
            return false;
        if (waitingBytes > mostWaitingBytes) {
            refused = true;
            return false;
        }
        waitingBytes += frame.size() + costOfWaiting;
        if (waiting.empty())
            changed.notify_all();
        waiting.push_back({to, frame, probe});
        return true;
    }

    bool isConnected() const
    {
        return connected;
    }

private:
    struct Outgoing {
        QByteArray to;
        QByteArray frame;
        bool probe;
    };

    // The client library may call back a little after its objects are destroyed, so that it gets a number, not an
    // address, and when the process ends too, so that what it comes to is never destroyed.
    static std::mutex &workersMutex()
    {
        static auto *const mutex = new std::mutex;
        return *mutex;
    }

    static std::map<std::uintptr_t, Worker *> &workers()
    {
        static auto *const map = new std::map<std::uintptr_t, Worker *>;
        return *map;
    }

    static std::vector<std::shared_ptr<Worker>> &leftBehind()
    {
        static auto *const list = new std::vector<std::shared_ptr<Worker>>;
        return *list;
    }

    /** Keeps the process from ending under the worker's thread. */
    static void leaveBehind(const std::shared_ptr<Worker> &worker)
    {
        {
            const std::lock_guard<std::mutex> locked(workersMutex());
            auto &list = leftBehind();
            list.erase(std::remove_if(list.begin(), list.end(), [](const auto &each) { return each->joinEnded(); }),
                       list.end());
            list.push_back(worker);
        }
        // Each time anew, so that it comes before the ends of all libraries that the thread has used so far.
        std::atexit([] {
            std::vector<std::shared_ptr<Worker>> left;
            {
                const std::lock_guard<std::mutex> locked(workersMutex());
                left.swap(leftBehind());
            }
            for (const std::shared_ptr<Worker> &each : left)
                each->thread.join();
        });
    }

    template <typename Action>
    static void withWorker(void *closure, Action action)
    {
        const std::lock_guard<std::mutex> locked(workersMutex());
        const auto found = workers().find(reinterpret_cast<std::uintptr_t>(closure));
        if (found != workers().end())
            action(*found->second);
    }

    void enlist()
    {
        static std::uintptr_t lastKey = 0;
        const std::lock_guard<std::mutex> locked(workersMutex());
        key = ++lastKey;
        workers()[key] = this;
        running = true;
    }

    void strikeOff()
    {
        const std::lock_guard<std::mutex> locked(workersMutex());
        workers().erase(key);
    }

    static void takeMessage(natsConnection *, natsSubscription *, natsMsg *message, void *closure)
    {
        withWorker(closure, [message](Worker &worker) {
            const QByteArray subject(natsMsg_GetSubject(message));
            const bool absent = natsMsg_IsNoResponders(message);
            worker.owner->put({subject.mid(subject.lastIndexOf('.') + 1),
                               QByteArray(natsMsg_GetData(message), natsMsg_GetDataLength(message)), absent});
        });
        natsMsg_Destroy(message);
    }

    static void takeDisconnection(natsConnection *, void *closure)
    {
        withWorker(closure, [](Worker &worker) { worker.setConnected(false); });
    }

    static void takeReconnection(natsConnection *, void *closure)
    {
        withWorker(closure, [](Worker &worker) { worker.setConnected(true); });
    }

    static void takeEnd(natsConnection *, void *closure)
    {
        withWorker(closure, [](Worker &worker) {
            const std::lock_guard<std::mutex> locked(worker.mutex);
            worker.closed = true;
            worker.changed.notify_all();
        });
    }

    static void takeError(natsConnection *connection, natsSubscription *, natsStatus status, void *closure)
    {
        const char *text = nullptr;
        natsConnection_GetLastError(connection, &text);
        const QByteArray line = describe("the bus: ", status, text);
        withWorker(closure, [&line](Worker &worker) { worker.complain(line); });
    }

    static int64_t choosePause(natsConnection *, int attempts, void *)
    {
        return pauseAfter(attempts - 1);
    }

    /**
     * Returns what a call of the client library failed for.
     *
     * Threads that were left behind come here too, when parts of Qt may be gone: regular expressions are.
     */
    static QByteArray describe(const char *what, natsStatus status, const char *text)
    {
        const QByteArray inShort = natsStatus_GetText(status);
        QByteArray more(text);
        const auto place = more.indexOf("): "); // (file.c:123): before the text
        if (more.startsWith('(') && place > 0)
            more.remove(0, place + 3);
        return what + (more.isEmpty() || more == inShort ? inShort : inShort + ", " + more);
    }

    /** Does something in the owner's thread, if there still is an owner. The mutex is locked. */
    template <typename Action>
    void tell(Action action)
    {
        if (owner)
            QMetaObject::invokeMethod(
                owner, [transport = owner, action] { action(*transport); }, Qt::QueuedConnection);
    }

    void complain(const QByteArray &line)
    {
        const std::lock_guard<std::mutex> locked(mutex);
        tell([line](XMLNatsTransport &transport) { Q_EMIT transport.failed(withoutSecrets(QString::fromUtf8(line))); });
    }

    bool joinEnded()
    {
        {
            const std::lock_guard<std::mutex> locked(mutex);
            if (running)
                return false;
        }
        thread.join();
        return true;
    }

    void setConnected(bool now)
    {
        const std::lock_guard<std::mutex> locked(mutex);
        if (connected == now)
            return;
        connected = now;
        if (!connected) {
            waiting.clear(); // the session sends it again
            waitingBytes = 0;
        }
        tell([now](XMLNatsTransport &transport) { Q_EMIT transport.connectedChanged(now); });
    }

    void run()
    {
        void *const closure = reinterpret_cast<void *>(key); // NOLINT(performance-no-int-to-ptr): never followed
        QByteArray lastFailure; // which is told once as long as it lasts
        for (int attempts = 0; !waitForEnd(attempts == 0 ? 0 : pauseAfter(attempts - 1)); ++attempts) {
            ConnectionPointer connection;
            std::vector<SubscriptionPointer> subscriptions;
            const QByteArray failure = connect(closure, connection, subscriptions);
            if (!failure.isEmpty() && failure != lastFailure)
                complain(failure);
            lastFailure = failure;
            if (!failure.isEmpty())
                continue;
            attempts = 0;
            setConnected(true);
            sendUntilEnd(connection.get());
            setConnected(false);
            subscriptions.clear();
            natsConnection_Close(connection.get());
        }
        nats_ReleaseThreadMemory();
        const std::lock_guard<std::mutex> locked(mutex);
        running = false;
        changed.notify_all();
    }

    /** Returns whether the end has come within a time. */
    bool waitForEnd(int pause)
    {
        std::unique_lock<std::mutex> locked(mutex);
        closed = false;
        return changed.wait_for(locked, std::chrono::milliseconds(pause), [this] { return stopping; });
    }

    /** Returns what is in the way, or nothing. */
    QByteArray connect(void *closure, ConnectionPointer &connection, std::vector<SubscriptionPointer> &subscriptions)
    {
        natsOptions *created = nullptr;
        natsStatus status = natsOptions_Create(&created);
        const OptionsPointer wanted(created);
        if (status == NATS_OK)
            status = setAddress(created);
        if (status == NATS_OK)
            status = setBehaviour(created, closure);
        if (status == NATS_OK)
            status = setSecurity(created);
        natsConnection *made = nullptr;
        if (status == NATS_OK)
            status = natsConnection_Connect(&made, created);
        connection.reset(made);
        for (const QByteArray &name : {ownName, QByteArray("all")}) {
            natsSubscription *subscription = nullptr;
            if (status == NATS_OK)
                status = natsConnection_Subscribe(&subscription, made, subjectOf(name, "*").constData(), takeMessage,
                                                  closure);
            subscriptions.emplace_back(subscription);
        }
        if (status == NATS_OK)
            status = natsConnection_FlushTimeout(made, flushTime);
        if (status != NATS_OK) {
            natsStatus last = status;
            QByteArray failure = describe("the bus cannot be reached: ", status, nats_GetLastError(&last));
            if (failure.endsWith("got ''")) // all that is known of a connection that was just closed
                failure += "; the server may want a certificate that it trusts";
            return failure;
        }
        constexpr int needed = GateFrame::headerSize + 1 + GateSession::partSize;
        if (natsConnection_GetMaxPayload(made) < needed)
            complain("the server of the bus takes messages of "
                     + QByteArray::number(qlonglong(natsConnection_GetMaxPayload(made))) + " bytes, and "
                     + QByteArray::number(needed) + " are needed");
        return QByteArray();
    }

    natsStatus setAddress(natsOptions *created) const
    {
        std::vector<QByteArray> urls;
        for (const QString &url : options.urls.split(QLatin1Char(',')))
            urls.push_back(url.trimmed().toUtf8());
        std::vector<const char *> pointers;
        pointers.reserve(urls.size());
        for (const QByteArray &url : urls)
            pointers.push_back(url.constData());
        return natsOptions_SetServers(created, pointers.data(), static_cast<int>(pointers.size()));
    }

    natsStatus setBehaviour(natsOptions *created, void *closure) const
    {
        for (const natsStatus status :
             {natsOptions_SetName(created, ownName.constData()), natsOptions_SetTimeout(created, connectTime),
              natsOptions_SetMaxReconnect(created, -1),
              natsOptions_SetCustomReconnectDelay(created, choosePause, nullptr),
              natsOptions_SetPingInterval(created, pingInterval), natsOptions_SetMaxPingsOut(created, pingsOut),
              natsOptions_SetWriteDeadline(created, writeTime), natsOptions_SetSendAsap(created, true),
              natsOptions_SetNoEcho(created, true), natsOptions_SetDisconnectedCB(created, takeDisconnection, closure),
              natsOptions_SetReconnectedCB(created, takeReconnection, closure),
              natsOptions_SetClosedCB(created, takeEnd, closure),
              natsOptions_SetErrorHandler(created, takeError, closure)}) {
            if (status != NATS_OK)
                return status;
        }
        return NATS_OK;
    }

    natsStatus setSecurity(natsOptions *created) const
    {
        natsStatus status = NATS_OK;
        const auto use = [&status](const QString &value, auto set) {
            if (status == NATS_OK && !value.isEmpty())
                status = set(value.toUtf8());
        };
        use(options.user, [&](const QByteArray &user) {
            return natsOptions_SetUserInfo(created, user.constData(), options.password.toUtf8().constData());
        });
        use(options.token, [&](const QByteArray &token) { return natsOptions_SetToken(created, token.constData()); });
        use(options.credentialsFile, [&](const QByteArray &file) {
            return natsOptions_SetUserCredentialsFromFiles(created, file.constData(), nullptr);
        });
        if (options.urls.contains(QLatin1String("tls://")) || !options.tlsCaFile.isEmpty()
            || !options.tlsCertificateFile.isEmpty() || !options.tlsHostName.isEmpty())
            status = status == NATS_OK ? natsOptions_SetSecure(created, true) : status;
        use(options.tlsCaFile,
            [&](const QByteArray &file) { return natsOptions_LoadCATrustedCertificates(created, file.constData()); });
        use(options.tlsCertificateFile, [&](const QByteArray &file) {
            return natsOptions_LoadCertificatesChain(created, file.constData(),
                                                     options.tlsKeyFile.toUtf8().constData());
        });
        use(options.tlsHostName,
            [&](const QByteArray &host) { return natsOptions_SetExpectedHostname(created, host.constData()); });
        return status;
    }

    QByteArray subjectOf(const QByteArray &to, const QByteArray &from) const
    {
        return "zq." + options.bus.toUtf8() + ".to." + to + ".from." + from;
    }

    void sendUntilEnd(natsConnection *connection)
    {
        std::unique_lock<std::mutex> locked(mutex);
        while (!closed) {
            changed.wait(locked, [this] { return stopping || closed || !waiting.empty(); });
            if (waiting.empty() && stopping)
                break;
            std::deque<Outgoing> taken;
            taken.swap(waiting);
            waitingBytes = 0;
            locked.unlock();
            for (const Outgoing &each : taken)
                publish(connection, each);
            locked.lock();
            if (std::exchange(refused, false))
                tell([](XMLNatsTransport &transport) { Q_EMIT transport.writable(); });
        }
        const bool flushes = connected && stopping;
        locked.unlock();
        if (flushes)
            natsConnection_FlushTimeout(connection, flushTime);
    }

    /** On purpose what is not taken is forgotten: the session sends it again. */
    void publish(natsConnection *connection, const Outgoing &each)
    {
        if (!connected)
            return;
        const QByteArray subject = subjectOf(each.to, ownName);
        if (each.probe)
            natsConnection_PublishRequest(connection, subject.constData(), subjectOf(ownName, each.to).constData(),
                                          each.frame.constData(), static_cast<int>(each.frame.size()));
        else
            natsConnection_Publish(connection, subject.constData(), each.frame.constData(),
                                   static_cast<int>(each.frame.size()));
    }

    XMLNatsTransport *owner; // null when it is gone
    const Options options;
    QByteArray ownName;
    std::thread thread;
    std::mutex mutex;
    std::condition_variable changed;
    std::deque<Outgoing> waiting;
    qint64 waitingBytes;
    bool refused;
    bool running; // the thread
    bool stopping;
    bool closed; // by the client library, which has given up
    std::atomic<bool> connected;
    std::uintptr_t key;
};

XMLNatsTransport::XMLNatsTransport(const Options &options, QObject *parent)
    : XMLTransport(parent), ownWorker(std::make_shared<Worker>(this, options))
{
}

XMLNatsTransport::~XMLNatsTransport()
{
    ownWorker->stop();
}

void XMLNatsTransport::join(const QByteArray &name)
{
    ownWorker->start(name);
}

bool XMLNatsTransport::send(const QByteArray &to, const QByteArray &frame, bool probe)
{
    return ownWorker->send(to, frame, probe);
}

bool XMLNatsTransport::isConnected() const
{
    return ownWorker->isConnected();
}

QString XMLNatsTransport::withoutSecrets(const QString &text)
{
    const QRegularExpression secret(QStringLiteral("//[^/\\s]*@"));
    return QString(text).replace(secret, QStringLiteral("//"));
}
