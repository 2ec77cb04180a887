// SPDX-FileCopyrightText: 2026 The zqxml developers
// SPDX-License-Identifier: MIT

#include <recordlib/zqapp.h>
#include <zqxml/xmlrouterobserver.h>
#include <zqxmlkit/testing.h>
#include <zqxmlkit/xmlrequester.h>

#include <QEventLoop>
#include <QPointer>
#include <QTest>
#include <QTimer>

#include <testtools.h>

#include <algorithm>
#include <array>
#include <set>

namespace {

/** Deletes the packets that a router abandons when it is destroyed. */
class Heir : public XMLRouterObserver
{
public:
    ~Heir() override
    {
        qDeleteAll(queued);
    }

    void packetQueued(XMLPacket &packet) override
    {
        queued.insert(&packet);
    }

    void packetAboutToBeDelivered(XMLPacket &packet, int) override
    {
        queued.erase(&packet);
    }

    void packetUndeliverable(XMLPacket &packet) override
    {
        queued.erase(&packet);
    }

private:
    std::set<XMLPacket *> queued;
};

/** What an asked agent does with a request. */
enum Habit {
    Once,
    Twice,
    Silent,
    Later,
    LaterDeclared,
    Vanish,
    AnswerAndVanish,
    AnswerAfterLoop,
    AnswerAfterEvents,
    Habits
};

/** What happens when the n-th request of a script has finished, or right after the requests. */
enum Event { Nothing, NestedLoop, NestedEvents, DeleteReply, DeleteRequester, DeleteRouter, Events };

struct Asked {
    QPointer<XMLReply> reply;
    std::set<int> allowed; // states
    int finished = 0;
};

/** One router with agents of random habits, and the requests to them. */
class Script : private Mischief
{
public:
    explicit Script(quint32 seed) : Mischief(seed), router(std::make_unique<XMLRouter>(nullptr))
    {
        router->setObserver(&heir);
        requester = std::make_unique<XMLRequester>(router.get());
        for (int i = 0; i < 4; ++i) {
            habits.push_back(below(Habits));
            peers.push_back(std::make_unique<XMLRecordingAgent>(*router));
            peers.back()->onReceive = [this, i](XMLPacket &packet) { behave(i, packet); };
            requester->setAnswersLater(peers.back()->getAgentID(), habits.back() == LaterDeclared);
        }
    }

    void run()
    {
        QEventLoop loop;
        QTimer timer;
        int turns = 0;
        QObject::connect(&timer, &QTimer::timeout, &loop, [&] {
            if (turns++ == 0)
                begin();
            else if (isOver() || turns == 100000)
                loop.quit();
        });
        timer.start(0);
        loop.exec();
        for (const Asked &each : asked) {
            if (each.reply)
                QCOMPARE(each.finished, 1);
            QVERIFY(each.finished <= 1);
        }
    }

private:
    void begin()
    {
        const int count = 1 + below(12);
        event = below(Events);
        eventAfter = below(count + 1); // 0: right after the requests
        for (int i = 0; i < count; ++i)
            ask(i);
        inCall = false;
        if (eventAfter == 0)
            happen(nullptr);
    }

    bool isOver() const
    {
        return std::all_of(asked.cbegin(), asked.cend(),
                           [](const Asked &each) { return !each.reply || each.finished > 0; });
    }

    void ask(int number)
    {
        const int to = below(6); // 4 is nobody, 5 the comm server
        const int timeout = oneOf(std::array<int, 4>{5000, -1, 5000, 0});
        XMLAction action(QString(), 2000 + number, 0);
        inCall = true;
        XMLReply *const reply = requester->request(to == 4 ? 77777 : to == 5 ? -1 : to + 1 + 1, action, timeout);
        Asked each{reply, {expected(to)}};
        if (timeout == 0)
            each.allowed.insert(XMLReply::TimedOut);
        if (to < 4 && habits[static_cast<std::size_t>(to)] == Later) // in time where another agent runs a loop
            each.allowed.insert(XMLReply::Answered);
        if (event == DeleteRouter)
            each.allowed.insert(XMLReply::AgentGone);
        if (below(6) == 0) {
            each.allowed = {XMLReply::Cancelled};
            reply->cancel();
        }
        asked.push_back(each);
        QObject::connect(reply, &XMLReply::finished, [this, number, reply] { check(number, *reply); });
    }

    /** Agents are asked in the order of the requests, so the first one that makes an agent vanish decides. */
    int expected(int to)
    {
        if (to >= 4)
            return to == 4 ? XMLReply::AgentGone : XMLReply::NoAnswer;
        const int habit = habits[static_cast<std::size_t>(to)];
        if (gone.count(to) > 0)
            return XMLReply::AgentGone;
        if (habit == Vanish || habit == AnswerAndVanish)
            gone.insert(to);
        if (habit == Silent || habit == Later)
            return XMLReply::NoAnswer;
        return habit == Vanish ? XMLReply::AgentGone : XMLReply::Answered;
    }

    void behave(int i, XMLPacket &packet)
    {
        const int asker = packet.getSourceAgentID();
        const int type = packet.getBody().firstChildElement().attribute(QStringLiteral("type")).toInt();
        const int habit = habits[static_cast<std::size_t>(i)];
        if (habit == Later || habit == LaterDeclared)
            QTimer::singleShot(0, router.get(), [this, i, asker, type] { answer(i, asker, type); });
        if (habit == Silent || habit == Later || habit == LaterDeclared)
            return;
        if (habit == AnswerAfterLoop || habit == AnswerAfterEvents)
            nest(habit == AnswerAfterLoop);
        if (habit != Vanish)
            answer(i, asker, type);
        if (habit == Twice)
            answer(i, asker, type + 1000);
        if (habit == Vanish || habit == AnswerAndVanish)
            peers[static_cast<std::size_t>(i)].reset();
    }

    void answer(int i, int asker, int type)
    {
        if (!router || !peers[static_cast<std::size_t>(i)])
            return;
        XMLPacket *const packet = peers[static_cast<std::size_t>(i)]->getXMLPacket(asker);
        XMLAction action(QString(), type, 0);
        packet->append(action);
        router->send(packet);
    }

    static void nest(bool withLoop)
    {
        if (!withLoop)
            return QCoreApplication::processEvents();
        QEventLoop loop;
        QTimer::singleShot(0, &loop, &QEventLoop::quit);
        loop.exec();
    }

    void check(int number, XMLReply &reply)
    {
        Asked &each = asked[static_cast<std::size_t>(number)];
        ++each.finished;
        QVERIFY(!inCall);
        QVERIFY2(each.allowed.count(reply.state()) > 0,
                 qPrintable(QStringLiteral("request %1 to %3 in state %2")
                                .arg(number)
                                .arg(reply.state())
                                .arg(reply.destination())));
        if (router)
            QVERIFY(!router->contains(reply.mailboxID()));
        const std::unique_ptr<XMLPacket> packet = number % 3 > 0 ? reply.takePacket() : nullptr; // else nobody takes it
        if (number % 3 > 0)
            QCOMPARE(packet != nullptr, reply.state() == XMLReply::Answered);
        if (packet) {
            const QDomElement action = packet->getBody().firstChildElement();
            QCOMPARE(action.attribute(QStringLiteral("type")).toInt(), 2000 + number);
        }
        if (++finishedRequests == eventAfter)
            happen(&reply);
    }

    void happen(XMLReply *reply)
    {
        if (event == NestedLoop || event == NestedEvents)
            nest(event == NestedLoop);
        else if (event == DeleteReply)
            delete (reply ? reply : asked.front().reply.data());
        else if (event == DeleteRequester)
            requester.reset();
        else if (event == DeleteRouter)
            router.reset();
    }

    Heir heir; // outlives the router
    std::unique_ptr<XMLRouter> router;
    std::unique_ptr<XMLRequester> requester;
    std::vector<int> habits;
    std::vector<std::unique_ptr<XMLRecordingAgent>> peers;
    std::set<int> gone;
    std::vector<Asked> asked;
    int event = Nothing;
    int eventAfter = 0;
    int finishedRequests = 0;
    bool inCall = false;
};

} // namespace

class TestRequests : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void randomScripts();
    void timeOut();
    void tableServer();
};

void TestRequests::randomScripts()
{
    for (quint32 seed = 0; seed < 1000; ++seed) {
        Script(seed).run();
        if (QTest::currentTestFailed())
            QFAIL(qPrintable(QStringLiteral("seed %1").arg(seed)));
    }
}

void TestRequests::timeOut()
{
    XMLRouter router(nullptr);
    XMLRecordingAgent silent(router);
    XMLRequester requester(&router);
    requester.setAnswersLater(silent.getAgentID());
    XMLAction action;
    XMLReply *const reply = requester.request(silent.getAgentID(), action, 1);
    QTRY_COMPARE(reply->state(), XMLReply::TimedOut);
}

void TestRequests::tableServer()
{
    XMLRouter router(nullptr);
    XMLTableServer server(router);
    server.answers[7] << QStringLiteral("SI 15\n1 Cover\n6 4\nTI 0");
    XMLRequester requester(&router);
    XMLAction action(QString(), 7, 0);
    XMLReply *const reply = requester.request(server.getAgentID(), action);
    QTRY_COMPARE(reply->state(), XMLReply::Answered);
    QCOMPARE((*reply->records().begin()).value("page").toInt(), 4);
}

ZQXML_TEST_MAIN(TestRequests)

#include "tst_requests.moc"
