// SPDX-FileCopyrightText: 2026 The zqxml developers
// SPDX-License-Identifier: MIT

// Two routers in two threads, joined by a pipe: a desk asks a shop in the other thread.

#include <zqxml/xmlaction.h>
#include <zqxml/xmlmessage.h>
#include <zqxml/xmlrouter.h>
#include <zqxmlgate/xmlgateway.h>
#include <zqxmlgate/xmlpipetransport.h>
#include <zqxmlkit/xmlendpoint.h>

#include <QCoreApplication>
#include <QThread>

#include <cstdio>

enum AgentType { DESK = 100, SHOP };

/** The other thread: a router with a shop that answers, and a gateway that shows it. */
class ShopThread : public QThread
{
public:
    explicit ShopThread(std::shared_ptr<XMLPipe> shared) : pipe(std::move(shared)) { }

protected:
    void run() override
    {
        XMLRouter router(nullptr);
        XMLEndpoint shop(&router, SHOP);
        QObject::connect(&shop, &XMLEndpoint::actionReceived, &shop, [&shop](int sender, XMLAction &action) {
            shop.send(sender, XMLMessage(action.getName() + QStringLiteral(" is printed")));
        });
        XMLGateway gateway(&router, std::make_unique<XMLPipeTransport>(pipe), QStringLiteral("shop"));
        gateway.exportAgentsOfType(SHOP);
        exec();
    }

private:
    const std::shared_ptr<XMLPipe> pipe;
};

int main(int argc, char *argv[])
{
    QCoreApplication application(argc, argv);
    const auto pipe = std::make_shared<XMLPipe>();
    ShopThread thread(pipe);
    thread.start();

    XMLRouter router(nullptr);
    XMLGateway gateway(&router, std::make_unique<XMLPipeTransport>(pipe), QStringLiteral("desk"));
    XMLEndpoint desk(&router, DESK);
    QObject::connect(&gateway, &XMLGateway::proxyAdded, &desk, [&](int id, int type, const QString &peer) {
        std::printf("an agent of type %d at %s is agent %d here\n", type, qPrintable(peer), id);
        desk.send(id, XMLAction(QStringLiteral("Poster"), 1, 0));
        desk.send(id, XMLAction(QStringLiteral("Leaflet"), 1, 0));
    });
    QObject::connect(&desk, &XMLEndpoint::messageReceived, &desk, [&](int sender, XMLMessage &message) {
        std::printf("agent %d says: %s\n", sender, qPrintable(message.getMessage()));
        if (message.getMessage().startsWith(QLatin1String("Leaflet")))
            thread.quit();
    });
    QObject::connect(&desk, &XMLEndpoint::agentGone, &desk, [](int id) {
        std::printf("agent %d is gone\n", id);
        QCoreApplication::quit();
    });
    QCoreApplication::exec();
    thread.wait();
    return 0;
}
