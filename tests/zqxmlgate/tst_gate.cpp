// SPDX-FileCopyrightText: 2026 The zqxml developers
// SPDX-License-Identifier: MIT

#include <zqxml/xmlagentbroker.h>
#include <zqxml/xmlrouter.h>
#include <zqxmlgate/xmlgateway.h>
#include <zqxmlgate/xmlgatewaybroker.h>
#include <zqxmlgate/xmlpipetransport.h>
#include <zqxmlkit/testing.h>
#include <zqxmlkit/xmlendpoint.h>

#include "../../zqxmlgate/gateframe_p.h"
#include "texts.h"

#include <testtools.h>

namespace {

constexpr int shopType = 100;

/** The end of a process that may be killed: then nothing is sent any more, a goodbye neither. */
class MortalTransport : public XMLPipeTransport
{
public:
    using XMLPipeTransport::XMLPipeTransport;

    bool send(const QByteArray &to, const QByteArray &frame, bool probe) override
    {
        return !dead && XMLPipeTransport::send(to, frame, probe);
    }

    bool dead = false;
};

/** What of each conversation was sent and has come, by the names of its processes. */
struct Books {
    std::map<QString, QStringList> sent;
    std::map<QString, QStringList> received;
    qint64 taken = 0; // by gateways that are gone
    int lost = 0; // as told
};

/** A process: a router, an agent that others see, and one that they do not. */
class Process
{
public:
    Process(const std::shared_ptr<XMLPipe> &pipe, const QString &processName, Books &accounts)
        : name(processName), books(accounts), router(nullptr), shop(router, shopType), hidden(router, shopType + 1),
          transport(new MortalTransport(pipe)),
          gateway(std::make_unique<XMLGateway>(&router, std::unique_ptr<XMLTransport>(transport), processName))
    {
        gateway->exportAgentsOfType(shopType);
        QObject::connect(gateway.get(), &XMLGateway::packetsLost, gateway.get(),
                         [this](const QString &, int count) { books.lost += count; });
        for (XMLRecordingAgent *const agent : {&shop, &hidden}) {
            agent->onReceive = [this, agent](XMLPacket &packet) {
                note(packet);
                agent->packets.clear();
            };
        }
    }

    ~Process()
    {
        books.lost += gateway->waitingPackets();
        books.taken += gateway->counts().sent;
        gateway.reset();
        QCoreApplication::processEvents(); // the router would abandon what waits
    }

    std::list<int> others()
    {
        std::list<int> ids = router.findAgentsOfType(shopType);
        ids.remove(shop.getAgentID());
        return ids;
    }

    /** Sends \a content to the shop behind the proxy \a to, from the agent that others see or from the other one. */
    void send(int to, const QString &content, bool visibly)
    {
        const QString text = name + QLatin1Char(' ') + content;
        const XMLRecordingAgent &from = visibly ? shop : hidden;
        QStringList &sent = books.sent[name + QLatin1Char('>') + gateway->peerOf(to)];
        if (!sent.isEmpty() && sent.constLast() == text)
            QCoreApplication::processEvents(); // or the router takes it for a repeat
        sent << text;
        XMLPacket *const packet = from.getXMLPacket(to);
        XMLMessage message(text);
        packet->append(message);
        router.send(packet);
    }

    const QString name;
    Books &books;
    XMLRouter router;
    XMLRecordingAgent shop;
    XMLRecordingAgent hidden;
    MortalTransport *const transport;
    std::unique_ptr<XMLGateway> gateway;

private:
    void note(XMLPacket &packet)
    {
        const QString text = textOf(packet);
        books.received[text.section(QLatin1Char(' '), 0, 0) + QLatin1Char('>') + name] << text;
    }
};

/** A text of up to a few hundred kilobytes, most of them short, and each third equal to the one before. */
QString drawText(Mischief &mischief, int &number)
{
    if (mischief.below(100) > 0)
        ++number;
    const int length = mischief.below(500) == 0 ? mischief.below(200000) : mischief.below(40);
    static int lastNumber = 0;
    static QString last;
    if (number == lastNumber)
        return last;
    lastNumber = number;
    return last = QString::number(number) + QString(length, QLatin1Char('x'));
}

bool isSubsequence(const QStringList &part, const QStringList &whole)
{
    auto place = whole.begin();
    for (const QString &text : part) {
        place = std::find(place, whole.end(), text);
        if (place == whole.end())
            return false;
        ++place;
    }
    return true;
}

int countOf(const std::map<QString, QStringList> &texts)
{
    int count = 0;
    for (const auto &[pair, list] : texts)
        count += int(list.size());
    return count;
}

QString shortened(const QStringList &texts)
{
    QStringList shown;
    for (const QString &text : texts)
        shown << text.left(12);
    return shown.join(QLatin1Char(' '));
}

} // namespace

class TestGate : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void nothingIsLost();
    void deaths();
    void visibility();
    void names();
    void activation();
    void strangers();
    void latecomers();
};

/** Whatever the pipe does with the frames, all comes, once, in order; equal ones too. */
void TestGate::nothingIsLost()
{
    const int packets =
        qEnvironmentVariableIsSet("ZQXML_GATE_PACKETS") ? qEnvironmentVariableIntValue("ZQXML_GATE_PACKETS") : 20000;
    const quint32 seed = QRandomGenerator::global()->generate();
    qInfo("seed %u", seed);
    Mischief mischief(seed);
    const auto pipe = std::make_shared<XMLPipe>(XMLPipe::Faults{0.01, 0.01, 0.01, seed});
    Books books;
    Process a(pipe, QStringLiteral("a"), books);
    Process b(pipe, QStringLiteral("b"), books);
    QTRY_COMPARE(a.others().size() + b.others().size(), 2u);
    int number = 0;
    for (int sent = 0; sent < packets; ++sent) {
        Process &process = mischief.below(2) ? a : b;
        process.send(process.others().front(), drawText(mischief, number), mischief.below(2));
        if (mischief.below(500) == 0)
            QCoreApplication::processEvents();
        while (a.gateway->waitingPackets() + b.gateway->waitingPackets() > 5000)
            QCoreApplication::processEvents(QEventLoop::WaitForMoreEvents);
        if (mischief.below(5000) == 0) {
            pipe->setConnected(false);
            QCoreApplication::processEvents();
            pipe->setConnected(true);
        }
    }
    QTRY_COMPARE_WITH_TIMEOUT(countOf(books.received), packets, 60000);
    QTRY_COMPARE(a.gateway->waitingPackets() + b.gateway->waitingPackets(), 0);
    for (const auto &[pair, texts] : books.sent)
        QVERIFY2(books.received[pair] == texts, qPrintable(pair));
    QCOMPARE(books.lost, 0);
}

/**
 * Processes are killed, leave, and come back under their names while all send to all. What comes is what was sent, in
 * order, without what is told as lost; nothing of one life reaches the next.
 */
void TestGate::deaths()
{
    const quint32 seed = QRandomGenerator::global()->generate();
    qInfo("seed %u", seed);
    Mischief mischief(seed);
    const auto pipe = std::make_shared<XMLPipe>(XMLPipe::Faults{0.01, 0.01, 0.01, seed});
    Books books;
    std::vector<std::unique_ptr<Process>> processes(3);
    int number = 0;
    int lives = 0;
    for (int step = 0; step < 300; ++step) {
        auto &process = processes[size_t(mischief.below(3))];
        if (!process) {
            if (lives < 40)
                process =
                    std::make_unique<Process>(pipe, QStringLiteral("p%1").arg(&process - processes.data()), books);
            ++lives;
        } else if (mischief.below(20) == 0) {
            process->transport->dead = mischief.below(2);
            process.reset();
        } else {
            const auto others = process->others();
            for (int more = others.empty() ? 0 : 100; more > 0; --more)
                process->send(mischief.oneOf(others), QString::number(++number), mischief.below(2));
        }
        QTest::qWait(mischief.below(20));
    }
    const auto isQuiet = [&processes] {
        return std::all_of(processes.begin(), processes.end(),
                           [](const auto &process) { return !process || process->gateway->waitingPackets() == 0; });
    };
    QTRY_VERIFY_WITH_TIMEOUT(isQuiet(), 40000);
    QVERIFY(countOf(books.received) > 0);
    for (const auto &[pair, texts] : books.received)
        QVERIFY2(isSubsequence(texts, books.sent[pair]), qPrintable(pair + QLatin1Char(' ') + shortened(texts)));
    processes.clear();
    const qint64 missing = books.taken - countOf(books.received);
    QVERIFY2(missing <= books.lost, qPrintable(QStringLiteral("%1 missing, %2 lost").arg(missing).arg(books.lost)));
}

/** What is not exported is not seen, and not reached; a sender can be answered, and what goes is told once. */
void TestGate::visibility()
{
    const auto pipe = std::make_shared<XMLPipe>();
    Books books;
    Process a(pipe, QStringLiteral("a"), books);
    XMLRouter router(nullptr);
    XMLGateway gateway(&router, std::make_unique<XMLPipeTransport>(pipe), QStringLiteral("b"));
    XMLRecordingAgent desk(router, 200);
    auto unwanted = std::make_unique<XMLRecordingAgent>(a.router, shopType + 2);
    gateway.setImportFilter(
        [](const QString &peer, int type) { return peer == QLatin1String("a") && type != shopType + 2; });
    a.gateway->exportAgentsOfType(shopType + 2);
    a.gateway->exportAgent(XMLRouter::getXMLCommServerID());
    QTRY_COMPARE(router.findAgentsOfType(XMLAgent::COMM_SERVER_AGENT_TYPE).size(), 2u);
    QTRY_VERIFY(router.findAgentOfType(shopType) != 0);
    QCOMPARE(router.findAgentOfType(shopType + 1), 0);
    QCOMPARE(router.findAgentOfType(shopType + 2), 0);

    const int shop = router.findAgentOfType(shopType);
    QCOMPARE(gateway.peerOf(shop), QStringLiteral("a"));
    a.shop.onReceive = [&a](XMLPacket &packet) {
        const int sender = packet.getSourceAgentID();
        QCOMPARE(a.router.getAgentType(sender), int(XMLAgent::NO_AGENT_TYPE));
        a.router.send(a.shop.getXMLPacket(sender));
    };
    router.send(desk.getXMLPacket(shop));
    QTRY_COMPARE(desk.packets.size(), 1u);
    QCOMPARE(desk.packets[0]->getSourceAgentID(), shop);
    const int unlisted = a.shop.packets[0]->getSourceAgentID();
    gateway.exportAgent(desk.getAgentID());
    QTRY_VERIFY(a.router.findAgentOfType(200) != 0);
    {
        XMLRecordingAgent passing(router, 201);
        router.send(passing.getXMLPacket(shop));
        QTRY_COMPARE(passing.packets.size(), 1u);
    }
    QTRY_COMPARE(a.shop.removed.size(), 1);
    QVERIFY(a.router.contains(unlisted));

    a.shop.removed.clear();
    const int before = int(desk.removed.size());
    a.router.remove(&a.shop);
    QTRY_VERIFY(!router.contains(shop));
    QCOMPARE(desk.removed.mid(before), QList<int>{shop});
    a.router.add(&a.shop);
    QTRY_VERIFY(router.findAgentOfType(shopType) > shop);
    unwanted.reset();
}

/** The second of a name stays out, whoever it is, and the first one is left in peace. */
void TestGate::names()
{
    const auto pipe = std::make_shared<XMLPipe>();
    Books books;
    Process a(pipe, QStringLiteral("a"), books);
    Process b(pipe, QStringLiteral("b"), books);
    QTRY_COMPARE(a.others().size(), 1u);
    Process twin(pipe, QStringLiteral("a"), books);
    bool taken = false;
    connect(twin.gateway.get(), &XMLGateway::nameTaken, this, [&taken] { taken = true; });
    QTRY_VERIFY(taken);
    QVERIFY(!twin.gateway->isJoined());
    QCOMPARE(twin.others().size(), 0u);
    QCOMPARE(b.others().size(), 1u);
    b.send(b.others().front(), QStringLiteral("1"), true);
    QTRY_COMPARE(books.received[QStringLiteral("b>a")].size(), 1);
    for (const char *const name : {"", "a", "all", "a.b", "*", "a b", "\303\274"})
        QCOMPARE(XMLGateway::isName(QString::fromUtf8(name)), qstrcmp(name, "a") == 0);
}

/** An agent that is asked for elsewhere gets what was sent before it was there; one that cannot be made is removed. */
void TestGate::activation()
{
    class Maker : public XMLAgentBroker
    {
    public:
        int createAgent(int type) override
        {
            if (type == 300)
                made = std::make_unique<XMLRecordingAgent>(*router, type);
            return type == 300 ? made->getAgentID() : 0;
        }

        std::unique_ptr<XMLRecordingAgent> made;
    };

    const auto pipe = std::make_shared<XMLPipe>();
    Books books;
    Process a(pipe, QStringLiteral("a"), books);
    Process b(pipe, QStringLiteral("b"), books);
    auto *const maker = new Maker;
    a.router.setAgentBroker(new XMLGatewayBroker(a.gateway.get(), std::unique_ptr<XMLAgentBroker>(maker)));
    b.router.setAgentBroker(new XMLGatewayBroker(b.gateway.get()));
    QCOMPARE(b.router.supplyAgentOfType(300), 0);
    a.gateway->offerAgentsOfType(300);
    a.gateway->offerAgentsOfType(301);
    int proxy = 0;
    QTRY_VERIFY((proxy = b.router.supplyAgentOfType(300)) != 0);
    b.router.send(b.shop.getXMLPacket(proxy));
    QTRY_VERIFY(maker->made && maker->made->packets.size() == 1);
    QCOMPARE(b.router.supplyAgentOfType(300), proxy);
    int lost = 0;
    connect(b.gateway.get(), &XMLGateway::packetsLost, this, [&lost](const QString &, int count) { lost += count; });
    const int failing = b.router.supplyAgentOfType(301);
    QVERIFY(failing != 0);
    b.router.send(b.shop.getXMLPacket(failing));
    QTRY_COMPARE(lost, 1);
    QCOMPARE(b.shop.removed.count(failing), 1);
    QCOMPARE(a.router.supplyAgentOfType(301), 0);
    a.router.setAgentBroker(nullptr);
    b.router.setAgentBroker(nullptr);
    books.lost = 0;
}

/** Whatever a stranger sends, in a session or not, it is counted, and two others go on as if nothing was. */
void TestGate::strangers()
{
    const quint32 seed = QRandomGenerator::global()->generate();
    qInfo("seed %u", seed);
    Mischief mischief(seed);
    const auto pipe = std::make_shared<XMLPipe>();
    Books books;
    Process a(pipe, QStringLiteral("a"), books);
    Process b(pipe, QStringLiteral("b"), books);
    QTRY_COMPARE(a.others().size(), 1u);
    QStringList problems;
    connect(a.gateway.get(), &XMLGateway::problem, this, [&problems](const QString &line) { problems << line; });
    QStringList reasons;
    connect(a.gateway.get(), &XMLGateway::peerLeft, this,
            [&reasons](const QString &, const QString &reason) { reasons << reason; });

    const auto drawFrame = [&mischief](quint64 mine, quint64 theirs, quint64 &sent) {
        GateFrame frame;
        frame.kind = mischief.below(8) > 0 ? GateFrame::Data : GateFrame::Kind(1 + mischief.below(5));
        frame.from = mine;
        frame.to = theirs;
        frame.number = sent + 1;
        frame.body = QByteArray(1, char(mischief.below(4)));
        for (int more = mischief.below(40); more > 0; --more)
            frame.body += char("PARWOFzq<x/>\0\1\377"[mischief.below(16)]);
        if (mischief.below(20) == 0)
            frame.received = quint64(mischief.below(1000));
        QByteArray bytes = frame.toBytes();
        if (mischief.below(8) == 0)
            bytes.truncate(mischief.below(int(bytes.size())));
        else if (frame.kind == GateFrame::Data && frame.received == 0)
            ++sent;
        return bytes;
    };
    for (int rogue = 0; rogue < 20; ++rogue) {
        XMLPipeTransport transport(pipe);
        const QByteArray name = "rogue" + QByteArray::number(rogue);
        transport.join(name);
        quint64 mine = (quint64(7) << 32) + 1;
        quint64 theirs = 0;
        quint64 sent = 0;
        QByteArray other = GateFrame().toBytes();
        other[2] = 9;
        if (rogue == 0)
            transport.send("a", other, false);
        for (int turn = 0; turn < 60; ++turn) {
            XMLTransport::Arrival arrival;
            GateFrame frame;
            while (transport.take(arrival)) {
                if (rogue % 2 == 0 || GateFrame::read(arrival.frame, frame) != GateFrame::Readable
                    || frame.kind != GateFrame::Open)
                    continue;
                if (theirs != frame.from)
                    sent = 0;
                theirs = frame.from;
                GateFrame answer;
                answer.kind = GateFrame::Open;
                answer.from = mine;
                answer.to = theirs;
                answer.body = QByteArray(12, '\1');
                transport.send("a", answer.toBytes(), false);
            }
            transport.send("a", drawFrame(mine, theirs, sent), false);
            if (turn % 10 == 0) {
                a.send(a.others().front(), QStringLiteral("%1 %2").arg(rogue).arg(turn), true);
                b.send(b.others().front(), QStringLiteral("%1 %2").arg(rogue).arg(turn), false);
            }
            QCoreApplication::processEvents();
        }
    }
    QTRY_COMPARE(countOf(books.received), countOf(books.sent));
    QVERIFY(books.received == books.sent);
    QVERIFY(a.gateway->counts().unreadable > 100);
    QCOMPARE(problems.filter(QStringLiteral("speaks version 9 of the bus, not 1")).size(), 1);
    QVERIFY(!problems.filter(QStringLiteral("sends what cannot be read")).isEmpty());
    QVERIFY(!reasons.filter(QStringLiteral("cannot be read")).isEmpty());
}

/** What a peer sent before it began anew does not make it begin anew once more; what it might send after that does. */
void TestGate::latecomers()
{
    const auto pipe = std::make_shared<XMLPipe>();
    Books books;
    Process a(pipe, QStringLiteral("a"), books);
    XMLPipeTransport transport(pipe);
    transport.join("peer");
    QTRY_VERIFY(a.gateway->isJoined());
    GateFrame ours;
    ours.from = quint64(7) << 32;
    // Sends a frame, and returns whether the answer asks for a session, to which it then agrees.
    const auto isAsked = [&](GateFrame::Kind kind, quint64 from) {
        QTest::qWait(120); // it asks every 100 ms at most
        const quint64 known = ours.to;
        ours.kind = kind;
        ours.from = from;
        ours.to = kind == GateFrame::Open ? 0 : known;
        ours.body = QByteArray(12, '\1');
        transport.send("a", ours.toBytes(), false);
        ours.to = known;
        QTest::qWait(20);
        XMLTransport::Arrival arrival;
        GateFrame theirs;
        while (transport.take(arrival)) {
            if (GateFrame::read(arrival.frame, theirs) != GateFrame::Readable || theirs.kind != GateFrame::Open)
                continue;
            ours.kind = GateFrame::Open;
            ours.to = theirs.from;
            transport.send("a", ours.toBytes(), false);
            QTest::qWait(20);
            while (transport.take(arrival)) { }
            return true;
        }
        return false;
    };
    const quint64 first = ours.from + 1;
    QVERIFY(isAsked(GateFrame::Data, first));
    QVERIFY(isAsked(GateFrame::Open, first + 1));
    QVERIFY(!isAsked(GateFrame::Data, first));
    QVERIFY(isAsked(GateFrame::Data, first + 2));
    QVERIFY(isAsked(GateFrame::Data, quint64(6) << 32));
}

ZQXML_TEST_MAIN(TestGate)

#include "tst_gate.moc"
