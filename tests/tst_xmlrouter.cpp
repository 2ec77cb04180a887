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

/** Makes agents of one type. */
class OneTypeBroker : public XMLAgentBroker
{
public:
    explicit OneTypeBroker(int agentType, bool *destroyed = nullptr) : type(agentType), gone(destroyed) { }

    ~OneTypeBroker() override
    {
        if (gone)
            *gone = true;
    }

    int createAgent(int agentType) override
    {
        if (agentType != type)
            return -agentType;
        agents.push_back(std::make_unique<RecordingAgent>(type));
        router->add(agents.back().get());
        return agents.back()->getAgentID();
    }

    std::vector<std::unique_ptr<RecordingAgent>> agents;

private:
    int type;
    bool *gone;
};

QList<int> toList(const std::list<int> &ids)
{
    return QList<int>(ids.cbegin(), ids.cend());
}

QString textOf(XMLPacket &packet)
{
    std::list<QDomNode> messages;
    return packet.getNodesOfType(XMLObject::XML_MESSAGE, messages)
        ? messages.front().toElement().attribute(QStringLiteral("msg"))
        : QString();
}

QStringList received(const RecordingAgent &agent)
{
    QStringList texts;
    for (const auto &packet : agent.packets)
        texts << textOf(*packet);
    return texts;
}

} // namespace

class tst_XMLRouter : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init();
    void cleanup();
    void agents();
    void ids();
    void agentAddedTwice();
    void brokers();
    void metaObject();
    void deliversInOrder();
    void dropRules();
    void sameObjectTwice();
    void unknownDestination();
    void removal();
    void sendingWhileDelivering();
    void removedAgentsAreNotCalled();
    void agentsAddedWhileNotifying();
    void agentsDeleteThemselves();
    void nestedEventLoop();
    void routerDestroyedInReceive();
    void routerDestroyedInAgentRemoved();
    void brokerReplacedInCreateAgent();
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

void tst_XMLRouter::agents()
{
    RecordingAgent agent(7);
    QCOMPARE(agent.getAgentType(), 7);
    QCOMPARE(agent.getAgentID(), 0);
    QVERIFY(!agent.knownRouter());
    agent.XMLAgent::agentRemoved(1);
    QVERIFY(agent.wantAgentRemovalNotifications());
    QVERIFY(!RecordingAgent(7, false).wantAgentRemovalNotifications());
    agent.setAgentID(3);
    const std::unique_ptr<XMLPacket> packet(agent.getXMLPacket(7));
    QCOMPARE(packet->getSourceAgentID(), 3);
    QCOMPARE(packet->getDestinationAgentID(), 7);
    QVERIFY(packet->isEmpty());
}

void tst_XMLRouter::ids()
{
    QCOMPARE(router->objectName(), QStringLiteral("r\u00f6uter"));
    QCOMPARE(XMLRouter::getXMLCommServerID(), -1);
    QVERIFY(router->contains(-1));
    QCOMPARE(router->getAgentType(-1), int(XMLAgent::COMM_SERVER_AGENT_TYPE));
    QCOMPARE(router->findAgentOfType(0), -1);
    QCOMPARE(a->getAgentID(), 1);
    QCOMPARE(a->knownRouter(), router.get());
    QCOMPARE(router->getNextAgentID(), 4);
    RecordingAgent d(0);
    router->add(&d);
    QCOMPARE(d.getAgentID(), 5);
    QVERIFY(!router->contains(4));
    QVERIFY(!router->contains(0));
    QCOMPARE(toList(router->findAgentsOfType(0)), (QList<int>{-1, 5}));
    QCOMPARE(toList(router->findAgentsOfType(100)), (QList<int>{1, 2}));
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
    QCOMPARE(toList(router->findAgentsOfType(100)), (QList<int>{1, 2, 4}));
    QCOMPARE(router->getAgentType(1), int(XMLAgent::NO_AGENT_TYPE));
    send(*b, 1, "old id");
    send(*b, 4, "new id");
    deliver();
    QCOMPARE(received(*a), (QStringList{QStringLiteral("old id"), QStringLiteral("new id")}));
    router->remove(a.get());
    QVERIFY(router->contains(1));
    a->setAgentID(1);
    router->remove(a.get());
    QCOMPARE(toList(router->findAgentsOfType(100)), QList<int>{2});
}

void tst_XMLRouter::brokers()
{
    QCOMPARE(router->supplyAgentOfType(9), 0);
    bool firstGone = false;
    bool secondGone = false;
    OneTypeBroker *const first = new OneTypeBroker(9, &firstGone);
    router->setAgentBroker(first);
    QCOMPARE(router->supplyAgentOfType(100), 1);
    QCOMPARE(router->supplyAgentOfType(9), 4);
    QCOMPARE(router->supplyAgentOfType(9), 4);
    QCOMPARE(router->supplyAgentOfType(10), -10);
    router->remove(first->agents.front().get());
    router->setAgentBroker(new OneTypeBroker(10, &secondGone));
    QVERIFY(firstGone);
    router->setAgentBroker(nullptr);
    QVERIFY(secondGone);
    QCOMPARE(router->supplyAgentOfType(9), 0);
}

void tst_XMLRouter::metaObject()
{
    const QMetaObject &meta = XMLRouter::staticMetaObject;
    QCOMPARE(meta.methodCount() - meta.methodOffset(), 1);
    const QMetaMethod method = meta.method(meta.methodOffset());
    QCOMPARE(method.methodSignature(), QByteArray("send()"));
    QCOMPARE(method.methodType(), QMetaMethod::Slot);
    QCOMPARE(method.access(), QMetaMethod::Protected);
    QCOMPARE(meta.propertyCount(), meta.propertyOffset());
}

void tst_XMLRouter::deliversInOrder()
{
    send(*a, 2, "1");
    send(*b, 2, "2");
    send(*c, 1, "3");
    send(*a, 1, "to itself");
    QVERIFY2(a->packets.empty() && b->packets.empty(), "sending only queues");
    deliver();
    QCOMPARE(received(*b), (QStringList{QStringLiteral("1"), QStringLiteral("2")}));
    QCOMPARE(received(*a), (QStringList{QStringLiteral("3"), QStringLiteral("to itself")}));
    send(*a, 2, "4");
    deliver();
    QCOMPARE(received(*b).last(), QStringLiteral("4"));
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
    const QString A = QStringLiteral("A");
    QCOMPARE(received(*b), (QStringList{A, QStringLiteral("B"), A, A}));
    QCOMPARE(received(*a), QStringList{A});
    // Once the first is delivered, its repeat is no repeat of a packet that waits.
    send(*b, 1, "A");
    deliver();
    QCOMPARE(received(*a), (QStringList{A, A}));
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
    QCOMPARE(a->removed, QList<int>{77});
    QVERIFY2(b->removed.isEmpty(), "an agent that has the id itself is not told");
    QVERIFY2(c->removed.isEmpty(), "an agent that does not want to know is not told");
    b->setAgentID(2);
}

void tst_XMLRouter::removal()
{
    send(*a, 2, "x");
    router->remove(b.get());
    QVERIFY(!router->contains(2));
    QCOMPARE(b->getAgentID(), 2);
    QCOMPARE(b->knownRouter(), router.get());
    deliver();
    QCOMPARE(a->removed, (QList<int>{2, 2}));
    QVERIFY(b->removed.isEmpty() && b->packets.empty());
}

void tst_XMLRouter::sendingWhileDelivering()
{
    // What is sent meanwhile is delivered by the same pass, behind what waits.
    a->onReceive = [this] { send(*a, 2, a->packets.size() == 1 ? "reply 1" : "reply 2"); };
    send(*b, 1, "1");
    send(*b, 1, "2");
    send(*c, 2, "3");
    QCoreApplication::processEvents();
    QCOMPARE(received(*b), (QStringList{QStringLiteral("3"), QStringLiteral("reply 1"), QStringLiteral("reply 2")}));
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
    c->onReceive = [this] {
        router->remove(b.get());
        b.reset();
    };
    const QPointer<XMLPacket> first = send(*b, 1, "1");
    const QPointer<XMLPacket> second = send(*b, 1, "2");
    const QPointer<XMLPacket> third = send(*b, 3, "3");
    const QPointer<XMLPacket> fourth = send(*b, 2, "4");
    deliver();
    QVERIFY(!a && !b && !first && !second && !fourth);
    QCOMPARE(c->packets.size(), std::size_t(1));

    RecordingAgent d;
    auto e = std::make_unique<RecordingAgent>();
    router->add(e.get());
    router->add(&d);
    e->onRemoved = [&] {
        router->remove(e.get());
        e.reset();
    };
    router->notifyAgentRemovals(42);
    QVERIFY(!e);
    QCOMPARE(d.removed.count(42), 1);
    router->remove(&d);
}

void tst_XMLRouter::nestedEventLoop()
{
    QStringList order;
    b->onReceive = [&] { order << textOf(*b->packets.back()); };
    a->onReceive = [&] {
        order << QStringLiteral("begin");
        send(*a, 2, "from the nested loop");
        QEventLoop loop;
        QTimer::singleShot(0, &loop, [&] { QTimer::singleShot(0, &loop, &QEventLoop::quit); });
        loop.exec();
        order << QStringLiteral("end");
    };
    send(*b, 1, "first");
    send(*c, 2, "waiting");
    deliver();
    QCOMPARE(order,
             (QStringList{QStringLiteral("begin"), QStringLiteral("waiting"), QStringLiteral("from the nested loop"),
                          QStringLiteral("end")}));
}

void tst_XMLRouter::routerDestroyedInReceive()
{
    a->onReceive = [this] { router.reset(); };
    send(*b, 1, "1");
    const std::unique_ptr<XMLPacket> abandoned(send(*b, 1, "2").data());
    deliver();
    QVERIFY(!router);
    QCOMPARE(a->packets.size(), std::size_t(1));
    QCOMPARE(b->removed, QList<int>{-1});
}

void tst_XMLRouter::routerDestroyedInAgentRemoved()
{
    a->onRemoved = [this] {
        a->onRemoved = nullptr;
        router.reset();
    };
    send(*b, 77, "1");
    const std::unique_ptr<XMLPacket> abandoned(send(*b, 1, "2").data());
    deliver();
    QVERIFY(!router);
    QCOMPARE(a->removed, (QList<int>{77, -1}));
    QCOMPARE(b->removed, QList<int>{-1});
}

void tst_XMLRouter::brokerReplacedInCreateAgent()
{
    class ReplacingBroker : public XMLAgentBroker
    {
    public:
        int createAgent(int) override
        {
            router->setAgentBroker(nullptr);
            return 5;
        }
    };
    router->setAgentBroker(new ReplacingBroker);
    QCOMPARE(router->supplyAgentOfType(9), 5);
    QCOMPARE(router->supplyAgentOfType(9), 0);
}

void tst_XMLRouter::destruction()
{
    bool brokerGone = false;
    router->setAgentBroker(new OneTypeBroker(9, &brokerGone));
    XMLRouter *const destroyed = router.get();
    bool registered = true;
    a->onRemoved = [&] { registered = destroyed->contains(-1) || brokerGone; };
    const std::unique_ptr<XMLPacket> abandoned(send(*b, 1, "never delivered").data());
    router.reset();
    QVERIFY(brokerGone);
    QVERIFY2(!registered, "the comm server agent is unregistered before, the broker deleted after");
    QCOMPARE(a->removed, QList<int>{-1});
    QVERIFY(abandoned);
    QCOMPARE(a->knownRouter(), destroyed);
    QVERIFY(a->packets.empty() && b->packets.empty());
}

QTEST_GUILESS_MAIN(tst_XMLRouter)
#include "tst_xmlrouter.moc"
