// SPDX-FileCopyrightText: 2026 The zqxml developers
// SPDX-License-Identifier: MIT

#include "testtools.h"

#include <zqxml/xmlaction.h>
#include <zqxml/xmlactiongroup.h>
#include <zqxml/xmlagentbroker.h>

#include <QEventLoop>
#include <QPointer>
#include <QRandomGenerator>
#include <QTimer>
#include <QtTest>

#include <algorithm>
#include <deque>
#include <map>
#include <set>
#include <utility>

namespace {

using Step = std::function<void()>;

/**
 * Draws what happens next. Whatever answers a call with the same call would go on for ever, so that calls within calls
 * and the steps of one round are bounded here.
 */
class Mischief
{
public:
    QStringList faults;

protected:
    explicit Mischief(quint32 seed) : random(seed) { }

    void act(const Step &step)
    {
        if (budget <= 0 || depth >= 12)
            return;
        --budget;
        ++depth;
        step();
        --depth;
    }

    void endRound()
    {
        QCoreApplication::processEvents();
        QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
        budget = 0;
    }

    int below(int bound)
    {
        return random.bounded(bound);
    }

    template <typename Container>
    auto oneOf(const Container &container)
    {
        return *std::next(std::begin(container), below(static_cast<int>(std::size(container))));
    }

    void expect(bool held, const char *otherwise)
    {
        if (!held)
            faults << QLatin1String(otherwise);
    }

    static void nestedLoop()
    {
        QEventLoop loop;
        QTimer::singleShot(0, &loop, &QEventLoop::quit);
        loop.exec();
    }

    int budget = 0;

private:
    QRandomGenerator random;
    int depth = 0;
};

struct HostileBroker : XMLAgentBroker {
    int createAgent(int agentType) override
    {
        const auto call = supply; // which may delete this
        return call(agentType);
    }

    std::function<int(int)> supply;
};

/** A router with agents that do their worst, and an account of what has to happen to their packets. */
class Office : public Mischief
{
public:
    // What the comm server answers cannot be found again once it is abandoned with its router: an office either asks
    // or loses its router.
    explicit Office(quint32 seed) : Mischief(seed), asks(seed % 2 == 1) { }

    ~Office()
    {
        destroyRouter();
        while (!agents.empty())
            destroy(*agents.begin());
        endRound();
        qDeleteAll(sent); // packets that waited when their router went are abandoned
    }

    void round()
    {
        budget = 80;
        if (!router) {
            router = new XMLRouter(nullptr);
            replaceBroker(true);
            for (RecordingAgent *const agent : agents)
                add(agent);
        }
        while (agents.size() < 6)
            hire(100 + below(3));
        for (int i = 0; i < 6 && !agents.empty(); ++i)
            actAs(oneOf(agents));
        endRound();
    }

private:
    void actAs(RecordingAgent *self)
    {
        act([this, self] {
            RecordingAgent *const other = agents.empty() ? nullptr : oneOf(agents);
            const Step steps[] = {
                [&] { hire(100 + below(3)); },
                [&] { remove(other); },
                [&] { destroy(other); },
                [&] { destroy(self); },
                [&] { nestedLoop(); },
                [&] { nestedLoop(); },
                [&] { replaceBroker(below(3) > 0); },
                [&] { router ? router->supplyAgentOfType(100 + below(6)) : 0; },
                [&] { asks || below(4) ? void() : destroyRouter(); },
                [&] { add(other); },
                [&] { sendFrom(other, true); },
            };
            const auto drawn = static_cast<std::size_t>(below(20));
            drawn < std::size(steps) ? steps[drawn]() : sendFrom(other, false);
        });
    }

    void received(RecordingAgent *agent)
    {
        XMLPacket *const packet = agent->packets.back().release();
        agent->packets.pop_back();
        const auto entry = registered.find(packet->getDestinationAgentID());
        expect(entry != registered.end() && entry->second == agent,
               "an agent received under an id that is not its own");
        if (packet->getSourceAgentID() == XMLRouter::getXMLCommServerID()) {
            sent.emplace_back(packet);
        } else {
            // Those in front of it had no receiver when it was their turn.
            for (; !waiting.empty() && waiting.front() != packet; waiting.pop_front())
                expect(!waiting.front(), "a packet was overtaken");
            expect(!waiting.empty(), "a packet came that was not accepted, or came twice");
            if (!waiting.empty())
                waiting.pop_front();
        }
        below(2) ? packet->deleteLater() : delete packet;
        actAs(agent);
    }

    void told(RecordingAgent *agent)
    {
        expect(agent->wantAgentRemovalNotifications() && agent->getAgentID() != agent->removed.last(),
               "an agent was told what it did not want to know");
        expect(entryOf(agent) != registered.end(), "an agent was told after it was removed");
        actAs(agent);
    }

    std::map<int, RecordingAgent *>::iterator entryOf(const RecordingAgent *agent)
    {
        return std::find_if(registered.begin(), registered.end(),
                            [agent](const auto &entry) { return entry.second == agent; });
    }

    RecordingAgent *hire(int type)
    {
        if (agents.size() > 40)
            return nullptr;
        auto *const agent = new RecordingAgent(type, below(3) > 0);
        agent->onReceive = [this, agent] { received(agent); };
        agent->onRemoved = [this, agent] { told(agent); };
        agents.insert(agent);
        add(agent);
        return agent;
    }

    void replaceBroker(bool byAnother)
    {
        if (!router)
            return;
        auto broker = std::make_unique<HostileBroker>();
        broker->supply = [this](int type) {
            actAs(nullptr);
            const RecordingAgent *const agent = router ? hire(type) : nullptr;
            return agent ? agent->getAgentID() : 0;
        };
        router->setAgentBroker(byAnother ? broker.release() : nullptr);
    }

    void add(RecordingAgent *agent)
    {
        if (!router || agents.count(agent) == 0)
            return;
        router->add(agent);
        registered[agent->getAgentID()] = agent;
    }

    void remove(RecordingAgent *agent)
    {
        const auto entry = registered.find(agent ? agent->getAgentID() : 0);
        if (entry != registered.end() && entry->second == agent)
            registered.erase(entry);
        if (router)
            router->remove(agent);
    }

    void destroy(RecordingAgent *agent)
    {
        if (agents.erase(agent) == 0)
            return;
        for (auto entry = entryOf(agent); entry != registered.end(); entry = entryOf(agent)) {
            agent->setAgentID(entry->first);
            remove(agent);
        }
        delete agent;
    }

    void destroyRouter()
    {
        if (!router || std::exchange(routerDying, true))
            return;
        delete router;
        routerDying = false;
        registered.clear();
        waiting.clear();
    }

    void sendFrom(RecordingAgent *from, bool request)
    {
        if (!router || !from)
            return;
        const int unknown = 1000000;
        const int to = registered.empty() || below(8) == 0 ? unknown : oneOf(registered).first;
        XMLAction content(QString::number(sent.size()), 999 + below(asks ? 6 : 4), 0);
        XMLPacket *const packet = from->getXMLPacket(request ? XMLRouter::getXMLCommServerID() : to);
        if (!request || below(4) > 0)
            packet->append(content);
        const bool accepted = registered.count(from->getAgentID()) > 0;
        if (accepted && !request)
            waiting.emplace_back(packet);
        send(packet);
        if (accepted && below(8) == 0)
            router->send(packet); // the last one that waits, once more
        if (below(4) == 0) {
            auto *const repeat = new XMLPacket;
            *repeat = *packet;
            send(repeat);
        }
    }

    void send(XMLPacket *packet)
    {
        sent.emplace_back(packet);
        router->send(packet);
    }

    const bool asks;
    QPointer<XMLRouter> router;
    std::set<RecordingAgent *> agents;
    std::map<int, RecordingAgent *> registered;
    std::deque<QPointer<XMLPacket>> waiting; ///< accepted, in order; null once deleted
    std::vector<QPointer<XMLPacket>> sent;
    bool routerDying = false;
};

/** Groups whose members do their worst when they are toggled. */
class Panel : public Mischief
{
public:
    explicit Panel(quint32 seed) : Mischief(seed) { }

    ~Panel()
    {
        qDeleteAll(groups);
        qDeleteAll(actions);
    }

    void round()
    {
        budget = 80;
        for (int i = 0; i < 6; ++i)
            act([this] { step(); });
        endRound();
        for (QPointer<XMLActionGroup> &group : groups) {
            if (!group)
                group = new XMLActionGroup;
            check(*group);
        }
    }

private:
    void step()
    {
        QPointer<XMLAction> &action = actions[static_cast<std::size_t>(below(12))];
        const QPointer<XMLActionGroup> group = oneOf(groups);
        if (!action) {
            action = new XMLAction;
            // One slot is called before the group's, one after it.
            const auto misbehave = [this] { act([this] { step(); }); };
            QObject::connect(action.data(), &XMLAction::toggled, action.data(), misbehave);
            if (group)
                group->addAction(action);
            QObject::connect(action.data(), &XMLAction::toggled, action.data(), misbehave);
            return;
        }
        const Step steps[] = {
            [&] { delete action.data(); },
            [&] { action->deleteLater(); },
            [&] { delete (below(3) ? nullptr : group.data()); },
            [&] { group ? group->addAction(action) : nullptr; },
            [&] {
                while (group && group->actions().contains(action))
                    group->removeAction(action);
            },
            [&] { nestedLoop(); },
            [&] { group ? group->toggleAction(action) : void(); },
            [&] { action->setSelected(!group || !group->checkedAction()); },
        };
        const auto drawn = static_cast<std::size_t>(below(14));
        drawn < std::size(steps) ? steps[drawn]() : action->setChecked(below(2) == 1);
    }

    /** No member is dead, and the group still does its work. */
    void check(XMLActionGroup &group)
    {
        const QList<XMLAction *> members = group.actions();
        for (XMLAction *const member : members)
            expect(std::count(actions.begin(), actions.end(), member) > 0, "a group lists an action that is gone");
        XMLAction action;
        group.addAction(&action);
        action.setChecked(true);
        for (const XMLAction *const member : members)
            expect(!member->isChecked(), "a group left a member checked");
    }

    std::vector<QPointer<XMLAction>> actions{12};
    std::vector<QPointer<XMLActionGroup>> groups{3};
};

} // namespace

/** What the library calls does its worst, by the numbers of a seed. */
class tst_Hostile : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void callbacks_data();
    void callbacks();
};

void tst_Hostile::callbacks_data()
{
    QTest::addColumn<quint32>("seed");
    for (quint32 seed = 1; seed <= 30; ++seed)
        QTest::addRow("seed %u", seed) << seed;
    const quint32 seed = QRandomGenerator::global()->generate();
    qInfo("new seed: %u", seed);
    QTest::addRow("new seed %u", seed) << seed;
}

void tst_Hostile::callbacks()
{
    QFETCH(quint32, seed);
    Office office(seed);
    Panel panel(seed);
    for (int i = 0; i < 60; ++i) {
        office.round();
        panel.round();
    }
    QCOMPARE(office.faults + panel.faults, QStringList());
}

ZQXML_TEST_MAIN(tst_Hostile)
#include "tst_hostile.moc"
