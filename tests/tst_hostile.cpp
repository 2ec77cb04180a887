// SPDX-FileCopyrightText: 2026 The zqxml developers
// SPDX-License-Identifier: MIT

#include "testtools.h"

#include <zqxml/xmlaction.h>
#include <zqxml/xmlactiongroup.h>
#include <zqxml/xmlagentbroker.h>
#include <zqxml/xmlcommserver.h>
#include <zqxml/xmlmessage.h>

#include <QEventLoop>
#include <QPointer>
#include <QRandomGenerator>
#include <QTimer>
#include <QtTest>

#include <algorithm>
#include <deque>
#include <map>
#include <set>

namespace {

/**
 * Draws what happens next. Whatever answers a call with the same call would go on for ever, so that calls within calls
 * and the steps of one round are bounded here.
 */
class Mischief
{
public:
    explicit Mischief(quint32 seed) : random(seed) { }

    void beginRound()
    {
        budget = 80;
    }

    template <typename Step>
    void run(Step step)
    {
        constexpr int deepest = 12;
        if (budget <= 0 || depth >= deepest)
            return;
        --budget;
        ++depth;
        step();
        --depth;
    }

    int below(int bound)
    {
        return random.bounded(bound);
    }

    template <typename Container>
    auto oneOf(const Container &container)
    {
        return *std::next(container.begin(), below(static_cast<int>(container.size())));
    }

    void nestedLoop()
    {
        QEventLoop loop;
        QTimer::singleShot(0, &loop, &QEventLoop::quit);
        loop.exec();
    }

private:
    QRandomGenerator random;
    int budget = 0;
    int depth = 0;
};

class Office;

class HostileAgent : public XMLAgent
{
public:
    HostileAgent(Office &theOffice, int type, bool wantsRemovals) : XMLAgent(type), office(theOffice)
    {
        removalNotificationsWanted = wantsRemovals;
    }

    void receive(XMLPacket *packet) override;
    void agentRemoved(int id) override;

    Office &office;
    bool dying = false;
};

class HostileBroker : public XMLAgentBroker
{
public:
    explicit HostileBroker(Office &theOffice);
    ~HostileBroker() override;
    int createAgent(int agentType) override;

private:
    Office &office;
};

/** A router with agents that do their worst, and an account of what has to happen to their packets. */
class Office
{
public:
    // What the comm server answers cannot be found again once it is abandoned with its router: an office either asks
    // or loses its router.
    explicit Office(quint32 seed) : mischief(seed), asks(seed % 2 == 1) { }

    ~Office()
    {
        mischief = Mischief(0);
        QCoreApplication::processEvents();
        destroyRouter();
        while (!agents.empty())
            destroy(*agents.begin());
        QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
        // Packets that waited when their router went are abandoned.
        for (const QPointer<XMLPacket> &packet : sent)
            delete packet.data();
    }

    Q_DISABLE_COPY(Office)

    void round()
    {
        mischief.beginRound();
        if (!router) {
            router = new XMLRouter(nullptr);
            router->setAgentBroker(new HostileBroker(*this));
            for (HostileAgent *const agent : agents)
                add(agent);
        }
        while (agents.size() < 6)
            hire(100 + mischief.below(3));
        for (int i = 0; i < 6 && !agents.empty(); ++i)
            act(mischief.oneOf(agents));
        QCoreApplication::processEvents();
        QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
    }

    void received(HostileAgent *agent, XMLPacket *packet)
    {
        const auto entry = registered.find(packet->getDestinationAgentID());
        if (entry == registered.end() || entry->second != agent)
            report("an agent received under an id that it does not have");
        const int source = packet->getSourceAgentID();
        if (source == XMLRouter::getXMLCommServerID()) {
            sent.emplace_back(packet);
        } else {
            // Those in front of it had no receiver when it was their turn.
            while (!waiting.empty() && waiting.front() != packet) {
                if (waiting.front())
                    report("a packet was overtaken");
                waiting.pop_front();
            }
            if (waiting.empty())
                report("a packet came that was not accepted, or came twice");
            else
                waiting.pop_front();
        }
        if (mischief.below(2))
            packet->deleteLater();
        else
            delete packet;
        act(agent);
    }

    void told(HostileAgent *agent, int id)
    {
        if (!agent->wantAgentRemovalNotifications() || agent->getAgentID() == id)
            report("an agent was told what it did not want to know");
        const bool isRegistered = std::any_of(registered.begin(), registered.end(),
                                              [agent](const auto &entry) { return entry.second == agent; });
        if (!isRegistered)
            report("an agent was told after it was removed");
        act(agent);
    }

    void act(HostileAgent *agent)
    {
        mischief.run([this, agent] { step(agent); });
    }

    HostileAgent *hire(int type)
    {
        if (agents.size() > 40)
            return nullptr;
        auto *const agent = new HostileAgent(*this, type, mischief.below(3) > 0);
        agents.insert(agent);
        add(agent);
        return agent;
    }

    QPointer<XMLRouter> router;
    QStringList faults;
    int brokers = 0;

private:
    void step(HostileAgent *agent)
    {
        HostileAgent *const other = agents.empty() ? nullptr : mischief.oneOf(agents);
        switch (mischief.below(20)) {
        case 0:
            hire(100 + mischief.below(3));
            break;
        case 1:
            if (other)
                remove(other);
            break;
        case 2:
            if (other)
                destroy(other);
            break;
        case 3:
            if (agents.count(agent))
                destroy(agent);
            break;
        case 4:
        case 5:
            mischief.nestedLoop();
            break;
        case 6:
            if (router)
                router->setAgentBroker(mischief.below(3) ? new HostileBroker(*this) : nullptr);
            break;
        case 7:
            if (router)
                router->supplyAgentOfType(100 + mischief.below(6));
            break;
        case 8:
            if (!asks && mischief.below(4) == 0)
                destroyRouter();
            break;
        case 9:
            if (other)
                add(other);
            break;
        case 10:
            if (other)
                request(other);
            break;
        default:
            if (other)
                sendSome(other);
            break;
        }
    }

    void add(HostileAgent *agent)
    {
        if (!router || agent->dying)
            return;
        router->add(agent);
        registered[agent->getAgentID()] = agent;
    }

    void remove(HostileAgent *agent)
    {
        const auto entry = registered.find(agent->getAgentID());
        if (entry != registered.end() && entry->second == agent)
            registered.erase(entry);
        if (router)
            router->remove(agent);
    }

    void destroy(HostileAgent *agent)
    {
        if (agent->dying)
            return;
        agent->dying = true;
        for (;;) {
            const auto entry = std::find_if(registered.begin(), registered.end(),
                                            [agent](const auto &candidate) { return candidate.second == agent; });
            if (entry == registered.end())
                break;
            agent->setAgentID(entry->first);
            remove(agent);
        }
        agents.erase(agent);
        delete agent;
    }

    void destroyRouter()
    {
        if (!router || routerDying)
            return;
        routerDying = true;
        delete router;
        routerDying = false;
        registered.clear();
        waiting.clear();
        if (brokers != 0)
            report("a broker outlived its router");
    }

    void sendSome(HostileAgent *from)
    {
        if (!router)
            return;
        const int unknown = 1000000;
        const int to = registered.empty() || mischief.below(8) == 0 ? unknown : mischief.oneOf(registered).first;
        const auto own = registered.find(from->getAgentID());
        const bool accepted = own != registered.end();
        XMLMessage message(QString::number(++lastNumber));
        XMLPacket *const packet = from->getXMLPacket(to);
        packet->append(message);
        XMLPacket *const repeat = mischief.below(4) ? nullptr : new XMLPacket;
        if (repeat)
            *repeat = *packet;
        sent.emplace_back(packet);
        if (accepted)
            waiting.emplace_back(packet);
        router->send(packet);
        if (repeat) {
            sent.emplace_back(repeat);
            router->send(repeat);
        }
        if (mischief.below(8) == 0 && accepted)
            router->send(packet); // the last one that waits, once more
    }

    void request(HostileAgent *from)
    {
        if (!router)
            return;
        XMLAction action(QString(), 999 + mischief.below(asks ? 6 : 4), 0);
        XMLPacket *const packet = from->getXMLPacket(XMLRouter::getXMLCommServerID());
        if (mischief.below(4))
            packet->append(action);
        sent.emplace_back(packet);
        router->send(packet);
    }

    void report(const char *fault)
    {
        faults << QLatin1String(fault);
    }

    Mischief mischief;
    const bool asks;
    std::set<HostileAgent *> agents;
    std::map<int, HostileAgent *> registered;
    std::deque<QPointer<XMLPacket>> waiting; ///< accepted, in order; null once deleted
    std::vector<QPointer<XMLPacket>> sent;
    int lastNumber = 0;
    bool routerDying = false;
};

// An agent and a broker may be gone when the office has acted.
void HostileAgent::receive(XMLPacket *packet)
{
    office.received(this, packet);
}

void HostileAgent::agentRemoved(int id)
{
    office.told(this, id);
}

HostileBroker::HostileBroker(Office &theOffice) : office(theOffice)
{
    ++office.brokers;
}

HostileBroker::~HostileBroker()
{
    --office.brokers;
}

int HostileBroker::createAgent(int agentType)
{
    Office &employer = office;
    employer.act(nullptr);
    const HostileAgent *const agent = employer.router ? employer.hire(agentType) : nullptr;
    return agent ? agent->getAgentID() : 0;
}

/** Groups whose members do their worst when they are toggled. */
class Panel
{
public:
    explicit Panel(quint32 seed) : mischief(seed) { }

    ~Panel()
    {
        mischief = Mischief(0);
        for (const QPointer<XMLActionGroup> &group : groups)
            delete group.data();
        for (const QPointer<XMLAction> &action : actions)
            delete action.data();
        QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
    }

    Q_DISABLE_COPY(Panel)

    void round()
    {
        mischief.beginRound();
        for (QPointer<XMLActionGroup> &group : groups) {
            if (!group)
                group = new XMLActionGroup;
        }
        for (int i = 0; i < 6; ++i)
            act();
        QCoreApplication::processEvents();
        QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
        mischief = Mischief(static_cast<quint32>(mischief.below(1 << 30))); // quiet until the next round
        for (const QPointer<XMLActionGroup> &group : groups) {
            if (group)
                check(*group);
        }
    }

    QStringList faults;

private:
    void act()
    {
        mischief.run([this] { step(); });
    }

    void step()
    {
        QPointer<XMLAction> &action = actions[static_cast<std::size_t>(mischief.below(12))];
        const QPointer<XMLActionGroup> group = groups[mischief.below(3)];
        if (!action) {
            action = new XMLAction;
            QObject::connect(action.data(), &XMLAction::toggled, action.data(), [this] { act(); });
            if (group)
                group->addAction(action);
            // Some slots are called before the group's, some after it.
            QObject::connect(action.data(), &XMLAction::toggled, action.data(), [this] { act(); });
            return;
        }
        switch (mischief.below(14)) {
        case 0:
            delete action.data();
            break;
        case 1:
            action->deleteLater();
            break;
        case 2:
            if (mischief.below(3) == 0)
                delete group.data();
            break;
        case 3:
            if (group)
                group->addAction(action);
            break;
        case 4:
            while (group && group->actions().contains(action))
                group->removeAction(action);
            break;
        case 5:
            mischief.nestedLoop();
            break;
        case 6:
            if (group)
                group->toggleAction(action);
            break;
        case 7:
            action->setSelected(true);
            if (group)
                group->checkedAction();
            break;
        default:
            action->setChecked(mischief.below(2) == 1);
            break;
        }
    }

    /** No member is dead, and the group still does its work. */
    void check(XMLActionGroup &group)
    {
        const QList<XMLAction *> members = group.actions();
        for (XMLAction *const member : members) {
            const auto isMember = [member](const QPointer<XMLAction> &action) { return action == member; };
            if (std::none_of(actions.begin(), actions.end(), isMember))
                faults << QStringLiteral("a group lists an action that is gone");
        }
        XMLAction action;
        group.addAction(&action);
        action.setChecked(true);
        for (const XMLAction *const member : members) {
            if (member->isChecked())
                faults << QStringLiteral("a group left a member checked");
        }
    }

    Mischief mischief;
    std::vector<QPointer<XMLAction>> actions{12};
    QPointer<XMLActionGroup> groups[3];
};

} // namespace

/** What the library calls does its worst, by the numbers of a seed. */
class tst_Hostile : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void agents_data();
    void agents();
    void actions_data();
    void actions();

private:
    static void addSeeds()
    {
        QTest::addColumn<quint32>("seed");
        for (quint32 seed = 1; seed <= 30; ++seed)
            QTest::addRow("seed %u", seed) << seed;
        const quint32 seed = QRandomGenerator::global()->generate();
        qInfo("new seed: %u", seed);
        QTest::addRow("new seed %u", seed) << seed;
    }
};

void tst_Hostile::agents_data()
{
    addSeeds();
}

void tst_Hostile::agents()
{
    QFETCH(quint32, seed);
    Office office(seed);
    for (int i = 0; i < 60; ++i)
        office.round();
    QCOMPARE(office.faults, QStringList());
}

void tst_Hostile::actions_data()
{
    addSeeds();
}

void tst_Hostile::actions()
{
    QFETCH(quint32, seed);
    Panel panel(seed);
    for (int i = 0; i < 60; ++i)
        panel.round();
    QCOMPARE(panel.faults, QStringList());
}

QTEST_GUILESS_MAIN(tst_Hostile)
#include "tst_hostile.moc"
