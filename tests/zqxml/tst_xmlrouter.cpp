// SPDX-FileCopyrightText: 2026 The zqxml developers
// SPDX-License-Identifier: MIT

#include "testtools.h"

#include <zqxml/xmlagentbroker.h>
#include <zqxml/xmlmessage.h>

#include <QEventLoop>
#include <QPointer>
#include <QTimer>
#include <QtTest>

namespace {

/** Makes agents of type 9, and for any other type goes, leaving no broker. */
class TestBroker : public XMLAgentBroker
{
public:
    explicit TestBroker(bool &destroyed) : gone(destroyed) { }

    ~TestBroker() override
    {
        gone = true;
    }

    int createAgent(int agentType) override
    {
        if (agentType == 9)
            router->add(&agent);
        else
            router->setAgentBroker(nullptr);
        return agentType == 9 ? agent.getAgentID() : -agentType;
    }

    RecordingAgent agent{9};

private:
    bool &gone;
};

QString received(const RecordingAgent &agent)
{
    QStringList texts;
    for (const auto &packet : agent.packets) {
        std::list<QDomNode> messages;
        packet->getNodesOfType(XMLObject::XML_MESSAGE, messages);
        texts << messages.front().toElement().attribute(QStringLiteral("msg"));
    }
    return texts.join(QLatin1Char(' '));
}

QList<int> idsOfType(XMLRouter &router, int type)
{
    const std::list<int> ids = router.findAgentsOfType(type);
    return QList<int>(ids.cbegin(), ids.cend());
}

} // namespace

class tst_XMLRouter : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init();
    void cleanup();
    void ids();
    void agentAddedTwice();
    void brokers();
    void metaObject();
    void deliversInOrder();
    void dropRules();
    void sameObjectTwice();
    void unknownDestination();
    void sendingWhileDelivering();
    void removedAgentsAreNotCalled();
    void agentsAddedWhileNotifying();
    void agentsDeleteThemselves();
    void nestedEventLoop();
    void routerDestroyedInCallback();
    void destruction();

private:
    QPointer<XMLPacket> send(const XMLAgent &from, int to, const char *text)
    {
        XMLPacket *const packet = from.getXMLPacket(to);
        XMLMessage message(QString::fromLatin1(text));
        packet->appendV(message);
        const QPointer<XMLPacket> watched(packet);
        router->send(packet);
        return watched;
    }

    static void deliver()
    {
        // Packets are delivered by a timer of 0 ms, deleteLater() needs its own kind of event.
        QCoreApplication::processEvents();
        QCoreApplication::processEvents();
        QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
    }

    std::unique_ptr<XMLRouter> router;
    std::unique_ptr<RecordingAgent> a;
    std::unique_ptr<RecordingAgent> b;
    std::unique_ptr<RecordingAgent> c;
};

void tst_XMLRouter::init()
{
    router = std::make_unique<XMLRouter>(nullptr, nullptr, "r\xf6uter");
    a = std::make_unique<RecordingAgent>(100);
    b = std::make_unique<RecordingAgent>(100);
    c = std::make_unique<RecordingAgent>(101, false);
    router->add(a.get());
    router->add(b.get());
    router->add(c.get());
}

void tst_XMLRouter::cleanup()
{
    router.reset();
    a.reset();
    b.reset();
    c.reset();
}

void tst_XMLRouter::ids()
{
    QCOMPARE(router->objectName(), QStringLiteral("r\u00f6uter"));
    QVERIFY(XMLRouter::getXMLCommServerID() == -1 && router->contains(-1));
    QCOMPARE(router->getAgentType(-1), int(XMLAgent::COMM_SERVER_AGENT_TYPE));
    QVERIFY(a->getAgentID() == 1 && a->knownRouter() == router.get());
    QCOMPARE(router->getNextAgentID(), 4);
    RecordingAgent d(0);
    QVERIFY(d.getAgentID() == 0 && !d.knownRouter());
    router->add(&d);
    QCOMPARE(d.getAgentID(), 5);
    QVERIFY(!router->contains(4) && !router->contains(0));
    QCOMPARE(idsOfType(*router, 0), (QList<int>{-1, 5}));
    QCOMPARE(idsOfType(*router, 100), (QList<int>{1, 2}));
    QCOMPARE(router->findAgentOfType(100), 1);
    QCOMPARE(router->findAgentOfType(9), 0);
    QCOMPARE(router->getAgentType(3), 101);
    QCOMPARE(router->getAgentType(42), int(XMLAgent::NO_AGENT_TYPE));
    router->add(nullptr);
    router->remove(nullptr);
    router->remove(&d);
    router->add(&d);
    QCOMPARE(d.getAgentID(), 6);
    router->remove(&d);
}

void tst_XMLRouter::agentAddedTwice()
{
    router->add(a.get());
    QCOMPARE(a->getAgentID(), 4);
    QCOMPARE(idsOfType(*router, 100), (QList<int>{1, 2, 4}));
    QCOMPARE(router->getAgentType(1), int(XMLAgent::NO_AGENT_TYPE));
    send(*b, 1, "old");
    send(*b, 4, "new");
    deliver();
    QCOMPARE(received(*a), QStringLiteral("old new"));
    router->remove(a.get());
    QCOMPARE(idsOfType(*router, 100), (QList<int>{1, 2}));
    a->setAgentID(1);
    router->remove(a.get());
}

void tst_XMLRouter::brokers()
{
    QCOMPARE(router->supplyAgentOfType(9), 0);
    bool firstGone = false;
    bool secondGone = false;
    auto *const first = new TestBroker(firstGone);
    router->setAgentBroker(first);
    QCOMPARE(router->supplyAgentOfType(100), 1);
    QCOMPARE(router->supplyAgentOfType(9), 4);
    QCOMPARE(router->supplyAgentOfType(9), 4);
    router->remove(&first->agent);
    router->setAgentBroker(new TestBroker(secondGone));
    QVERIFY(firstGone && !secondGone);
    QCOMPARE(router->supplyAgentOfType(10), -10);
    QVERIFY(secondGone);
    QCOMPARE(router->supplyAgentOfType(10), 0);
}

void tst_XMLRouter::metaObject()
{
    const QMetaObject &meta = XMLRouter::staticMetaObject;
    QCOMPARE(meta.methodCount() - meta.methodOffset(), 1);
    const QMetaMethod method = meta.method(meta.methodOffset());
    QCOMPARE(method.methodSignature(), QByteArray("send()"));
    QVERIFY(method.methodType() == QMetaMethod::Slot && method.access() == QMetaMethod::Protected);
}

void tst_XMLRouter::deliversInOrder()
{
    send(*a, 2, "1");
    send(*b, 2, "2");
    send(*c, 1, "3");
    send(*a, 1, "itself");
    QVERIFY2(a->packets.empty() && b->packets.empty(), "sending only queues");
    deliver();
    QCOMPARE(received(*b), QStringLiteral("1 2"));
    QCOMPARE(received(*a), QStringLiteral("3 itself"));
}

void tst_XMLRouter::dropRules()
{
    RecordingAgent stranger;
    router->send(static_cast<XMLPacket *>(nullptr));
    const QPointer<XMLPacket> unregistered = send(stranger, 2, "x");
    const QPointer<XMLPacket> original = send(*a, 2, "A");
    const QPointer<XMLPacket> repeated = send(*a, 2, "A");
    QVERIFY2(unregistered && repeated, "deleted later, not at once");
    send(*a, 2, "B");
    send(*a, 2, "A");
    send(*b, 2, "A");
    send(*b, 1, "A");
    deliver();
    QVERIFY(!unregistered && !repeated && original);
    QCOMPARE(received(*b), QStringLiteral("A B A A"));
    QCOMPARE(received(*a), QStringLiteral("A"));
    // Once the first is delivered, its repeat is no repeat of a packet that waits.
    send(*b, 1, "A");
    deliver();
    QCOMPARE(received(*a), QStringLiteral("A A"));
}

void tst_XMLRouter::sameObjectTwice()
{
    const QPointer<XMLPacket> packet = send(*a, 2, "x");
    router->send(packet);
    router->remove(a.get());
    router->send(packet);
    deliver();
    QVERIFY(packet);
    QCOMPARE(b->packets.size(), std::size_t(1));
}

void tst_XMLRouter::unknownDestination()
{
    b->setAgentID(77);
    const QPointer<XMLPacket> packet = send(*a, 77, "x");
    deliver();
    QVERIFY(!packet);
    QVERIFY2(b->removed.isEmpty(), "an agent that has the id itself is not told");
    QVERIFY2(c->removed.isEmpty(), "an agent that does not want to know is not told");
    b->setAgentID(2);
    send(*a, 2, "x");
    router->remove(b.get());
    QVERIFY(!router->contains(2));
    QVERIFY(b->getAgentID() == 2 && b->knownRouter() == router.get());
    deliver();
    QCOMPARE(a->removed, (QList<int>{77, 2, 2}));
    QVERIFY(b->removed.isEmpty() && b->packets.empty());
}

void tst_XMLRouter::sendingWhileDelivering()
{
    // What is sent meanwhile is delivered by the same pass, behind what waits.
    a->onReceive = [this] { send(*a, 2, a->packets.size() == 1 ? "r1" : "r2"); };
    send(*b, 1, "1");
    send(*b, 1, "2");
    send(*c, 2, "3");
    QCoreApplication::processEvents();
    QCOMPARE(received(*b), QStringLiteral("3 r1 r2"));
}

void tst_XMLRouter::removedAgentsAreNotCalled()
{
    RecordingAgent d;
    router->add(&d);
    a->onRemoved = [this] {
        a->onRemoved = nullptr; // removing an agent calls this one again
        router->remove(b.get());
    };
    router->notifyAgentRemovals(42);
    QCOMPARE(a->removed.count(42), 1);
    QCOMPARE(d.removed.count(42), 1);
    QVERIFY2(!b->removed.contains(42), "removed before its turn");
    QCOMPARE(d.removed, (QList<int>{2, 42}));
    router->remove(&d);
}

void tst_XMLRouter::agentsAddedWhileNotifying()
{
    // Were they called too, this would never end: each agent adds another one whenever it is called.
    std::vector<std::unique_ptr<RecordingAgent>> added;
    const std::function<void()> addAnother = [&] {
        added.push_back(std::make_unique<RecordingAgent>());
        added.back()->onRemoved = addAnother;
        router->add(added.back().get());
    };
    a->onRemoved = addAnother;
    b->onRemoved = [this] { router->add(b.get()); }; // again, under a new id
    router->notifyAgentRemovals(42);
    QCOMPARE(a->removed, QList<int>{42});
    QCOMPARE(b->removed, QList<int>{42});
    QCOMPARE(added.size(), std::size_t(1));
    QVERIFY(added.front()->removed.isEmpty());
    QCOMPARE(b->getAgentID(), 5);
    a->onRemoved = b->onRemoved = added.front()->onRemoved = nullptr;
    router.reset();
}

void tst_XMLRouter::agentsDeleteThemselves()
{
    a->onReceive = [this] {
        router->remove(a.get());
        a.reset();
    };
    b->onRemoved = [this] {
        b->onRemoved = nullptr;
        router->remove(b.get());
        b.reset();
    };
    const QPointer<XMLPacket> first = send(*b, 1, "1");
    const QPointer<XMLPacket> second = send(*b, 1, "2");
    deliver();
    QVERIFY(!a && !b && !first && !second);
    RecordingAgent d;
    router->add(&d);
    router->notifyAgentRemovals(42);
    QCOMPARE(d.removed, QList<int>{42});
    router->remove(&d);
}

void tst_XMLRouter::nestedEventLoop()
{
    QString atEnd;
    a->onReceive = [&] {
        send(*a, 2, "nested");
        QEventLoop loop;
        QTimer::singleShot(0, &loop, [&] { QTimer::singleShot(0, &loop, &QEventLoop::quit); });
        loop.exec();
        atEnd = received(*b);
    };
    send(*b, 1, "first");
    send(*c, 2, "waiting");
    deliver();
    QCOMPARE(atEnd, QStringLiteral("waiting nested"));
    QCOMPARE(received(*b), atEnd);
}

void tst_XMLRouter::routerDestroyedInCallback()
{
    for (const int destination : {1, 77}) { // received by the first, told to the first as removed
        init();
        a->onReceive = a->onRemoved = [this] {
            a->onReceive = a->onRemoved = nullptr;
            router.reset();
        };
        send(*b, destination, "1");
        const std::unique_ptr<XMLPacket> abandoned(send(*b, 1, "2").data());
        deliver();
        QVERIFY(!router);
        QCOMPARE(int(a->packets.size()), destination == 1 ? 1 : 0);
        QCOMPARE(a->removed, destination == 1 ? QList<int>{-1} : (QList<int>{77, -1}));
        QCOMPARE(b->removed, QList<int>{-1});
    }
}

void tst_XMLRouter::destruction()
{
    bool brokerGone = false;
    router->setAgentBroker(new TestBroker(brokerGone));
    XMLRouter *const destroyed = router.get();
    bool registered = true;
    a->onRemoved = [&] { registered = destroyed->contains(-1) || brokerGone; };
    const std::unique_ptr<XMLPacket> abandoned(send(*b, 1, "never delivered").data());
    router.reset();
    QVERIFY(brokerGone);
    QVERIFY2(!registered, "the comm server agent is unregistered before, the broker deleted after");
    QCOMPARE(a->removed, QList<int>{-1});
    QVERIFY(a->packets.empty() && a->knownRouter() == destroyed);
}

ZQXML_TEST_MAIN(tst_XMLRouter)
#include "tst_xmlrouter.moc"
