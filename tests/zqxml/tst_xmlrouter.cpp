// SPDX-FileCopyrightText: 2026 The zqxml developers
// SPDX-License-Identifier: MIT

#include "testtools.h"

#include <zqxml/xmlagentbroker.h>
#include <zqxml/xmlcommserver.h>
#include <zqxml/xmlmessage.h>
#include <zqxml/xmlpacket.h>
#include <zqxml/xmlrouter.h>
#include <zqxml/xmlrouterobserver.h>

#include <QTimer>

#include <map>
#include <set>

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
        observer->agentRemoved(-1);
        notifyAgentRemovals(-1);
    }

    void add(XMLAgent *agent)
    {
        agent->setAgentID(++lastID);
        agents[lastID] = agent;
        observer->agentAdded(lastID, agent->getAgentType());
    }

    void remove(XMLAgent *agent)
    {
        const int id = agent->getAgentID();
        if (agents.erase(id))
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
        broker.reset(newBroker);
    }

    void setObserver(XMLRouterObserver *newObserver)
    {
        observer = newObserver ? newObserver : &silent;
    }

    void notifyAgentRemovals(int id)
    {
        const std::weak_ptr<bool> alive = life;
        const auto present = agents;
        for (const auto &entry : present) {
            if (alive.expired())
                return;
            XMLAgent *const agent = contains(entry.first) ? agents[entry.first] : nullptr;
            if (agent && agent->wantAgentRemovalNotifications() && agent->getAgentID() != id)
                agent->agentRemoved(id);
        }
    }

    void send(XMLPacket *packet)
    {
        if (!packet || (!queue.empty() && queue.back() == packet))
            return;
        const bool isRegistered = contains(packet->getSourceAgentID());
        if (isRegistered && (queue.empty() || !(*queue.back() == *packet))) {
            queue.push_back(packet);
            isTimed = true;
            return observer->packetQueued(*packet);
        }
        observer->packetDropped(*packet,
                                isRegistered ? XMLRouterObserver::Repeat : XMLRouterObserver::UnregisteredSource);
        packet->deleteLater();
    }

    void processEvents()
    {
        const std::weak_ptr<bool> alive = life;
        while (!alive.expired() && std::exchange(isTimed, false)) {
            while (!alive.expired() && !queue.empty())
                deliver(queue.takeFirst());
        }
    }

private:
    void deliver(XMLPacket *packet)
    {
        const std::weak_ptr<bool> alive = life;
        const int to = packet->getDestinationAgentID();
        XMLRouterObserver *const told = observer;
        if (contains(to)) {
            told->packetAboutToBeDelivered(*packet, to);
            agents[to]->receive(packet);
            if (!alive.expired() && told == observer)
                told->packetDelivered(to);
            return;
        }
        told->packetUndeliverable(*packet);
        delete packet;
        if (!alive.expired())
            notifyAgentRemovals(to);
    }

    const std::shared_ptr<bool> life = std::make_shared<bool>();
    int lastID = 0;
    XMLCommServer commServer{nullptr};
    std::map<int, XMLAgent *> agents{{-1, &commServer}};
    QList<XMLPacket *> queue;
    bool isTimed = false;
    std::unique_ptr<XMLAgentBroker> broker;
    XMLRouterObserver silent;
    XMLRouterObserver *observer = &silent;
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
        for (int i = 0; i < 4; ++i)
            hire();
        while (goesOn())
            happen();
        if (router)
            processEvents(router);
        close();
        while (!clerks.empty())
            dismiss(clerks.front());
        QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
        note(QStringLiteral("left"), int(letters.size()));
        while (!letters.empty())
            delete letters.begin()->second; // what waited when the router went is abandoned
    }

    QStringList log;

private:
    struct Clerk : XMLAgent {
        explicit Clerk(Office &o) : XMLAgent(100 + o.below(3)), office(o), number(o.hired++)
        {
            removalNotificationsWanted = o.below(3) > 0;
        }

        void receive(XMLPacket *packet) override
        {
            office.note(QStringLiteral("received by"), number, numberOf(*packet));
            delete packet; // and something happens
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
        int createAgent(int type) override
        {
            return -type;
        }
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

        Office &office;
        const QString name;
    };

    static int numberOf(XMLPacket &packet)
    {
        return static_cast<Letter &>(packet).number;
    }

    void note(const QString &what, int first = 0, int second = 0)
    {
        log << QStringLiteral("%1 %2 %3").arg(what).arg(first).arg(second);
    }

    void happen()
    {
        if (router && !clerks.empty() && goesOn())
            step(oneOf(clerks));
    }

    void step(Clerk *clerk)
    {
        XMLRouterObserver *const watched[] = {&observerA, &observerB, nullptr};
        const int id = below(9) - 1;
        const int type = below(2) ? 0 : 100 + below(4);
        switch (below(20)) {
        case 0:
            return add(clerk);
        case 1:
            return router->remove(clerk);
        case 2:
            return dismiss(clerk);
        case 3:
            return hire();
        case 4:
            return clerk->setAgentID(id);
        case 5:
            return router->notifyAgentRemovals(id);
        case 6:
            return router->setAgentBroker(below(3) ? new Broker : nullptr);
        case 7:
            return router->setObserver(oneOf(watched));
        case 8:
            return below(4) ? void() : close();
        case 9:
        case 10:
            return processEvents(router);
        case 11:
            note(QStringLiteral("contained, of type"), router->contains(id), router->getAgentType(id));
            note(QStringLiteral("supplied"), router->supplyAgentOfType(type));
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
        router->send(nullptr);
        if (below(8) == 0) { // the last that waits, which is no repeat and needs no source, or dropped twice
            letter->setSourceAgentID(0);
            router->send(letter);
        }
    }

    void hire()
    {
        clerks.push_back(new Clerk(*this));
        add(clerks.back());
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
};

void tst_XMLRouter::officesByTheRules()
{
    compareBySeeds<Office<PlainRouter>, Office<XMLRouter>>(150);
}

void tst_XMLRouter::newRouter()
{
    XMLCommServer agent(nullptr); // outlives the router
    QObject parent;
    auto *const router = new XMLRouter(nullptr, &parent, "r\xf6uter");
    QCOMPARE(router->parent(), &parent);
    QCOMPARE(router->objectName(), QStringLiteral("r\u00f6uter"));
    router->add(nullptr);
    router->remove(nullptr);
    QCOMPARE(router->getNextAgentID(), 1);
    QCOMPARE(agent.getAgentID(), 0);
    router->add(&agent);
    QCOMPARE(agent.getAgentID(), 2);
    QCOMPARE(methodsOf(XMLRouter::staticMetaObject), QStringLiteral("protected send()"));
}

ZQXML_TEST_MAIN(tst_XMLRouter)
#include "tst_xmlrouter.moc"
