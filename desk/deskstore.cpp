// SPDX-FileCopyrightText: 2026 The zqxml developers
// SPDX-License-Identifier: MIT

#include "deskstore.h"

#include <standin/zqstandin.h>
#include <zqxmlkit/xmlrecordserver.h>

#include <QCoreApplication>

#ifdef ZQXML_WITH_BUS
#include <tools/bus.h>
#include <zqxmlgate/xmlgateway.h>
#include <zqxmlgate/xmlpipetransport.h>

#include <QSemaphore>
#include <QThread>
#endif

namespace {

/** Delivers what waits in the routers of this thread, which would lose it when they go. */
void deliverRest()
{
    QCoreApplication::processEvents(QEventLoop::ExcludeUserInputEvents);
}

ZQCONNECTION *openConnection(const QString &location, QString *error)
{
    if (location.isEmpty())
        return ZQOpenSampleStore(error);
    ZQCONNECTION *const connection = ZQOpenStore(location, error);
    if (!connection)
        error->prepend(ZQPublicName(location) + QStringLiteral(": "));
    return connection;
}

} // namespace

#ifdef ZQXML_WITH_BUS

/** A store with a router of its own, which a pipe joins to the desk's. */
class LocalStore : public QThread
{
public:
    LocalStore(const QString &storeLocation, std::shared_ptr<XMLPipe> shared)
        : location(storeLocation), pipe(std::move(shared))
    {
        start();
        opened.acquire();
    }

    ~LocalStore() override
    {
        quit();
        wait();
    }

    QString error; // set once the store is opened, or is not

protected:
    void run() override
    {
        ZQCONNECTION *const connection = openConnection(location, &error); // which is this thread's from here on
        opened.release();
        if (!connection)
            return;
        ZQCommServer server(connection);
        XMLRouter router(&server);
        XMLRecordServer recordServer(&server, &router, pageServerType);
        auto gateway = std::make_unique<XMLGateway>(&router, std::make_unique<XMLPipeTransport>(pipe));
        gateway->exportAgent(recordServer.getAgentID());
        exec();
        gateway.reset();
        deliverRest();
    }

private:
    const QString location;
    const std::shared_ptr<XMLPipe> pipe;
    QSemaphore opened;
};

DeskStore::DeskStore(std::unique_ptr<XMLTransport> transport) : ownRouter(nullptr)
{
    auto gateway = std::make_unique<XMLGateway>(&ownRouter, std::move(transport));
    connect(gateway.get(), &XMLGateway::problem, this, &DeskStore::problem);
    connect(gateway.get(), &XMLGateway::proxyAdded, this, [this](int, int type) {
        if (type == pageServerType)
            Q_EMIT serverCame();
    });
    joint = std::move(gateway);
}

std::unique_ptr<DeskStore> DeskStore::open(const QString &location, QString *error)
{
    const auto pipe = std::make_shared<XMLPipe>();
    auto store = std::make_unique<DeskStore>(std::make_unique<XMLPipeTransport>(pipe));
    ZQReport() = [raw = store.get()](const QString &line) { Q_EMIT raw->problem(line); }; // from the store's thread
    store->local = std::make_unique<LocalStore>(location, pipe);
    *error = store->local->error;
    return error->isEmpty() ? std::move(store) : nullptr;
}

int DeskStore::server()
{
    return anyAgentOfType(ownRouter, pageServerType);
}

#else

constexpr int pageServerType = 1;

/** A store in the desk's own thread. */
class LocalStore : public ZQCommServer
{
public:
    using ZQCommServer::ZQCommServer;
};

DeskStore::DeskStore() : ownRouter(nullptr) { }

std::unique_ptr<DeskStore> DeskStore::open(const QString &location, QString *error)
{
    std::unique_ptr<DeskStore> store(new DeskStore);
    ZQReport() = [raw = store.get()](const QString &line) { Q_EMIT raw->problem(line); };
    ZQCONNECTION *const connection = openConnection(location, error);
    if (!connection)
        return nullptr;
    store->local = std::make_unique<LocalStore>(connection);
    store->joint = std::make_unique<XMLRecordServer>(store->local.get(), &store->ownRouter, pageServerType);
    return store;
}

int DeskStore::server()
{
    return ownRouter.findAgentOfType(pageServerType);
}

#endif

DeskStore::~DeskStore()
{
    joint.reset();
    deliverRest();
    local.reset(); // which reports until then
    ZQReport() = nullptr;
}

XMLRouter *DeskStore::router()
{
    return &ownRouter;
}
