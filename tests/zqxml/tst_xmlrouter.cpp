// SPDX-FileCopyrightText: 2026 The zqxml developers
// SPDX-License-Identifier: MIT

#include "testtools.h"

#include <zqxml/xmlagentbroker.h>
#include <zqxml/xmlmessage.h>
#include <zqxml/xmlrouterobserver.h>

#include <QTimer>

#include <map>
#include <set>
#include <utility>
#include <vector>

namespace {

/** The rules of routing in their plainest form: a router without an event loop. */
class PlainRouter
{
public:
    explicit PlainRouter(ZQCommServer *)
    {
        commServer.setAgentID(-1);
    }

    ~PlainRouter()
    {
        agents.erase(-1);
        if (observer)
            observer->agentRemoved(-1);
        notifyAgentRemovals(-1);
        setAgentBroker(nullptr);
        *isAlive = false;
    }

    int getNextAgentID()
    {
        return ++lastID;
    }

    void add(XMLAgent *agent)
    {
        agent->setAgentID(++lastID);
        agents[lastID] = agent;
        if (observer)
            observer->agentAdded(lastID, agent->getAgentType());
    }

    void remove(XMLAgent *agent)
    {
        const int id = agent->getAgentID();
        if (agents.erase(id) && observer)
            observer->agentRemoved(id);
        notifyAgentRemovals(id);
    }

    bool contains(int id) const
    {
        return agents.count(id) > 0;
    }

    std::list<int> findAgentsOfType(int type) const
    {
        std::list<int> ids;
        for (const auto &[id, agent] : agents) {
            if (agent->getAgentType() == type)
                ids.push_back(id);
        }
        return ids;
    }

    int findAgentOfType(int type) const
    {
        const std::list<int> ids = findAgentsOfType(type);
        return ids.empty() ? 0 : ids.front();
    }

    int supplyAgentOfType(int type)
    {
        const int id = findAgentOfType(type);
        return id || !broker ? id : broker->createAgent(type);
    }

    int getAgentType(int id) const
    {
        for (const auto &[key, agent] : agents) {
            if (agent->getAgentID() == id)
                return agent->getAgentType();
        }
        return 5;
    }

    void setAgentBroker(XMLAgentBroker *newBroker)
    {
        delete std::exchange(broker, nullptr);
        broker = newBroker;
    }

    void setObserver(XMLRouterObserver *newObserver)
    {
        observer = newObserver;
    }

    void notifyAgentRemovals(int id)
    {
        const auto alive = isAlive;
        std::vector<int> ids;
        for (const auto &[key, agent] : agents)
            ids.push_back(key);
        for (const int key : ids) {
            if (!*alive)
                return;
            XMLAgent *const agent = contains(key) ? agents[key] : nullptr;
            if (agent && agent->wantAgentRemovalNotifications() && agent->getAgentID() != id)
                agent->agentRemoved(id);
        }
    }

    void send(XMLPacket *packet)
    {
        if (!queue.empty() && queue.back() == packet)
            return;
        const bool isRegistered = contains(packet->getSourceAgentID());
        if (isRegistered && (queue.empty() || textOf(queue.back()) != textOf(packet))) {
            queue.push_back(packet);
            isTimed = true;
            if (observer)
                observer->packetQueued(*packet);
            return;
        }
        if (observer)
            observer->packetDropped(*packet,
                                    isRegistered ? XMLRouterObserver::Repeat : XMLRouterObserver::UnregisteredSource);
        packet->deleteLater();
    }

    void processEvents()
    {
        const auto alive = isAlive;
        while (*alive && std::exchange(isTimed, false)) {
            while (*alive && !queue.empty())
                deliver(queue.takeFirst());
        }
    }

private:
    struct : XMLAgent {
        using XMLAgent::XMLAgent;

        void receive(XMLPacket *) override { }
    } commServer{0};

    static QString textOf(XMLPacket *packet)
    {
        return dump(packet->getBody().parentNode());
    }

    void deliver(XMLPacket *packet)
    {
        const auto alive = isAlive;
        const int to = packet->getDestinationAgentID();
        XMLRouterObserver *const told = observer;
        if (contains(to)) {
            if (told)
                told->packetAboutToBeDelivered(*packet, to);
            agents[to]->receive(packet);
            if (*alive && told && told == observer)
                told->packetDelivered(to);
            return;
        }
        if (told)
            told->packetUndeliverable(*packet);
        delete packet;
        if (*alive)
            notifyAgentRemovals(to);
    }

    const std::shared_ptr<bool> isAlive = std::make_shared<bool>(true);
    int lastID = 0;
    std::map<int, XMLAgent *> agents{{-1, &commServer}};
    QList<XMLPacket *> queue;
    bool isTimed = false;
    XMLAgentBroker *broker = nullptr;
    XMLRouterObserver *observer = nullptr;
};

void processEvents(PlainRouter *router)
{
    router->processEvents();
}

void processEvents(XMLRouter *router)
{
    // The delivery that runs has stopped the timer.
    const QPointer<QTimer> timer = router->findChild<QTimer *>();
    while (timer && timer->isActive())
        QCoreApplication::processEvents();
}

/**
 * What happens to a router whose agents, brokers and packets do their worst, drawn from a seed: whoever is called does
 * the next thing within the call.
 */
template <typename Router>
class Office : public Mischief
{
public:
    explicit Office(quint32 seed) : Mischief(seed)
    {
        router->setAgentBroker(new Broker(*this));
        for (int i = 0; i < 4; ++i)
            hire(100 + below(3));
        for (int i = 0; i < 12; ++i)
            happen();
        if (router)
            processEvents(router);
        calm();
        close();
        while (!clerks.empty())
            dismiss(clerks.front());
        QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
        // What waited when the router went is abandoned.
        while (!letters.empty()) {
            Letter *const letter = letters.begin()->second;
            note(QStringLiteral("left"), letter->number);
            letter->isExpected = true;
            delete letter;
        }
    }

    QStringList log;

private:
    struct Clerk : XMLAgent {
        Clerk(Office &o, int type, bool wantsRemovals) : XMLAgent(type), office(o), number(o.hired++)
        {
            removalNotificationsWanted = wantsRemovals;
        }

        void receive(XMLPacket *packet) override
        {
            auto *const letter = static_cast<Letter *>(packet);
            office.note(QStringLiteral("received by"), number, letter->number);
            letter->isExpected = true;
            office.below(2) ? letter->deleteLater() : delete letter;
            office.happen();
        }

        void agentRemoved(int id) override
        {
            office.note(QStringLiteral("told to"), number, id);
            office.happen();
        }

        Office &office;
        const int number;
        std::set<int> ids; ///< all that it ever got
    };

    struct Letter : XMLPacket {
        using XMLPacket::operator=;

        explicit Letter(Office &o) : office(o), number(o.written++)
        {
            office.letters[number] = this;
        }

        ~Letter() override
        {
            office.letters.erase(number);
            if (isExpected)
                return;
            office.note(QStringLiteral("deleted"), number);
            office.happen();
        }

        bool event(QEvent *event) override
        {
            isExpected |= event->type() == QEvent::DeferredDelete;
            return XMLPacket::event(event);
        }

        Office &office;
        const int number;
        bool isExpected = false;
    };

    struct Broker : XMLAgentBroker {
        explicit Broker(Office &o) : office(o) { }

        ~Broker() override
        {
            office.note(QStringLiteral("broker gone"));
        }

        int createAgent(int type) override
        {
            Office &o = office; // the broker may be replaced meanwhile
            o.note(QStringLiteral("broker asked for"), type);
            o.happen();
            const Clerk *const clerk = o.router && o.below(3) ? o.hire(type) : nullptr;
            return clerk ? clerk->getAgentID() : -type;
        }

        Office &office;
    };

    struct Observer : XMLRouterObserver {
        Observer(Office &o, const char *n) : office(o), name(QLatin1String(n)) { }

        void agentAdded(int id, int type) override
        {
            office.note(name + QStringLiteral(" added"), id, type);
        }
        void agentRemoved(int id) override
        {
            office.note(name + QStringLiteral(" removed"), id);
        }
        void packetQueued(XMLPacket &p) override
        {
            office.note(name + QStringLiteral(" queued"), numberOf(p));
        }
        void packetDropped(XMLPacket &p, DropReason reason) override
        {
            office.note(name + QStringLiteral(" dropped"), numberOf(p), reason);
        }
        void packetAboutToBeDelivered(XMLPacket &p, int id) override
        {
            office.note(name + QStringLiteral(" about to be delivered"), numberOf(p), id);
        }
        void packetDelivered(int id) override
        {
            office.note(name + QStringLiteral(" delivered"), id);
        }
        void packetUndeliverable(XMLPacket &p) override
        {
            office.note(name + QStringLiteral(" lost"), numberOf(p));
        }

        static int numberOf(XMLPacket &packet)
        {
            return static_cast<Letter &>(packet).number;
        }

        Office &office;
        const QString name;
    };

    void note(const QString &what, int first = 0, int second = 0)
    {
        log << QStringLiteral("%1 %2 %3").arg(what).arg(first).arg(second);
    }

    void happen()
    {
        act([this] { router && !clerks.empty() ? step(oneOf(clerks)) : void(); });
    }

    void step(Clerk *clerk)
    {
        XMLRouterObserver *const watched[] = {&observerA, &observerB, nullptr};
        const int id = below(9) - 1;
        const int type = below(2) ? 0 : 100 + below(4);
        switch (below(24)) {
        case 0:
            return add(clerk);
        case 1:
            return router->remove(clerk);
        case 2:
            return dismiss(clerk);
        case 3:
            return void(hire(100 + below(3)));
        case 4:
            return clerk->setAgentID(id);
        case 5:
            return router->notifyAgentRemovals(id);
        case 6:
            return note(QStringLiteral("next id"), router->getNextAgentID());
        case 7:
            return note(QStringLiteral("supplied"), router->supplyAgentOfType(100 + below(5)));
        case 8:
            return router->setAgentBroker(below(3) ? new Broker(*this) : nullptr);
        case 9:
            return router->setObserver(oneOf(watched));
        case 10:
            return below(4) ? void() : close();
        case 11:
        case 12:
            return processEvents(router);
        case 13:
            return note(QStringLiteral("contained, of type"), router->contains(id), router->getAgentType(id));
        case 14:
            for (const int found : router->findAgentsOfType(type))
                note(QStringLiteral("of type"), type, found);
            return note(QStringLiteral("first of type"), type, router->findAgentOfType(type));
        default:
            return send(clerk->getAgentID(), below(9) + 1, below(2));
        }
    }

    void send(int from, int to, int text)
    {
        auto *const letter = new Letter(*this);
        XMLMessage message(QString::number(text));
        letter->append(message);
        letter->setSourceAgentID(from);
        letter->setDestinationAgentID(to);
        router->send(letter);
        if (below(8) == 0)
            router->send(letter); // the last that waits, or dropped twice
    }

    Clerk *hire(int type)
    {
        clerks.push_back(new Clerk(*this, type, below(3) > 0));
        Clerk *const clerk = clerks.back();
        add(clerk);
        return clerk;
    }

    void add(Clerk *clerk)
    {
        router->add(clerk);
        clerk->ids.insert(clerk->getAgentID());
    }

    /** Takes the clerk off the register, under each of its ids, before it goes. */
    void dismiss(Clerk *clerk)
    {
        clerks.erase(std::find(clerks.begin(), clerks.end(), clerk));
        for (const int id : clerk->ids) {
            clerk->setAgentID(id);
            if (router)
                router->remove(clerk);
        }
        delete clerk;
    }

    void close()
    {
        if (!router || std::exchange(isClosing, true))
            return;
        delete router;
        router = nullptr;
    }

    Router *router = new Router(nullptr);
    bool isClosing = false;
    std::vector<Clerk *> clerks;
    std::map<int, Letter *> letters;
    int hired = 0;
    int written = 0;
    Observer observerA{*this, "A"};
    Observer observerB{*this, "B"};
};

} // namespace

class tst_XMLRouter : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void officesByTheRules();
    void newRouter();
    void lastPacketAgain();
    void newAgentsAndBrokers();
    void metaObject();
};

void tst_XMLRouter::officesByTheRules()
{
    compareBySeeds<Office<PlainRouter>, Office<XMLRouter>>(150);
}

void tst_XMLRouter::newRouter()
{
    QObject parent;
    auto *const router = new XMLRouter(nullptr, &parent, "r\xf6uter");
    QCOMPARE(router->parent(), &parent);
    QCOMPARE(router->objectName(), QStringLiteral("r\u00f6uter"));
    QCOMPARE(XMLRouter::getXMLCommServerID(), -1);
    QVERIFY(router->contains(-1));
    QCOMPARE(router->getAgentType(-1), 0);
    QCOMPARE(router->supplyAgentOfType(9), 0);
    router->add(nullptr);
    router->remove(nullptr);
    router->send(nullptr);
    QCOMPARE(router->getNextAgentID(), 1);
}

void tst_XMLRouter::lastPacketAgain()
{
    XMLRouter router(nullptr);
    RecordingAgent agent(100, false);
    router.add(&agent);
    XMLPacket *const packet = agent.getXMLPacket(1);
    router.send(packet);
    router.remove(&agent);
    router.send(packet); // which is no repeat of itself, and has no registered source any more
    router.add(&agent);
    packet->setDestinationAgentID(2);
    QCoreApplication::processEvents();
    QCOMPARE(agent.packets.size(), std::size_t(1));
}

void tst_XMLRouter::newAgentsAndBrokers()
{
    struct : XMLAgent {
        using XMLAgent::router;
        using XMLAgent::XMLAgent;

        void receive(XMLPacket *) override { }
    } agent{7};
    QVERIFY(!agent.router);
    QVERIFY(!agent.wantAgentRemovalNotifications());
    QCOMPARE(agent.getAgentType(), 7);
    QCOMPARE(agent.getAgentID(), 0);
    XMLRouter router(nullptr);
    router.getNextAgentID();
    router.add(&agent);
    QCOMPARE(agent.router, &router);
    const std::unique_ptr<XMLPacket> packet(agent.getXMLPacket(-3));
    QCOMPARE(packet->getSourceAgentID(), 2);
    QCOMPARE(packet->getDestinationAgentID(), -3);
    QVERIFY(packet->isEmpty());
    struct Broker : XMLAgentBroker {
        explicit Broker(XMLRouter *&r) : given(r) { }

        int createAgent(int) override
        {
            given = router;
            return 0;
        }

        XMLRouter *&given;
    };
    XMLRouter *given = nullptr;
    router.setAgentBroker(new Broker(given));
    router.supplyAgentOfType(8);
    QCOMPARE(given, &router);
}

void tst_XMLRouter::metaObject()
{
    const QMetaObject &meta = XMLRouter::staticMetaObject;
    QCOMPARE(methodsOf(meta), QStringLiteral("protected slot send()"));
    QCOMPARE(meta.superClass(), &QObject::staticMetaObject);
}

ZQXML_TEST_MAIN(tst_XMLRouter)
#include "tst_xmlrouter.moc"
