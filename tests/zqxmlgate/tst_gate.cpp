// SPDX-FileCopyrightText: 2026 The zqxml developers
// SPDX-License-Identifier: MIT

#include <zqxml/xmlagentbroker.h>
#include <zqxml/xmlrouter.h>
#include <zqxmlgate/xmlgateway.h>
#include <zqxmlgate/xmlgatewaybroker.h>
#include <zqxmlgate/xmlpipetransport.h>
#include <zqxmlkit/testing.h>
#include <zqxmlkit/xmlendpoint.h>

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
};

/** Whatever the pipe does with the frames, all comes, once, in order; equal ones too. */
void TestGate::nothingIsLost()
{
    const int packets = qEnvironmentVariableIsSet("ZQXML_GATE_PACKETS")
        ? qEnvironmentVariableIntValue("ZQXML_GATE_PACKETS")
        : 20000;
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
                process = std::make_unique<Process>(pipe, QStringLiteral("p%1").arg(&process - processes.data()), books);
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
        return std::all_of(processes.begin(), processes.end(), [](const auto &process) {
            return !process || process->gateway->waitingPackets() == 0;
        });
    };
    QTRY_VERIFY_WITH_TIMEOUT(isQuiet(), 40000);
    QVERIFY(countOf(books.received) > 0);
    for (const auto &[pair, texts] : books.received)
        QVERIFY2(isSubsequence(texts, books.sent[pair]), qPrintable(pair + QLatin1Char(' ') + shortened(texts)));
    processes.clear();
    const qint64 missing = books.taken - countOf(books.received);
    QVERIFY2(missing <= books.lost, qPrintable(QStringLiteral("%1 missing, %2 lost").arg(missing).arg(books.lost)));
}

ZQXML_TEST_MAIN(TestGate)

#include "tst_gate.moc"
