// SPDX-FileCopyrightText: 2026 The zqxml developers
// SPDX-License-Identifier: MIT

#include "testtools.h"

#include <zqxml/xmlaction.h>
#include <zqxml/xmlmessage.h>
#include <zqxmlkit/testing.h>
#include <zqxmlkit/xmlwire.h>
#include <zqxmltrace/xmlladder.h>
#include <zqxmltrace/xmlrouterlog.h>
#include <zqxmltrace/xmltracefilter.h>
#include <zqxmltrace/xmltracereader.h>
#include <zqxmltrace/xmltracerecorder.h>
#include <zqxmltrace/xmltracestatistics.h>

#include <QBuffer>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QTemporaryDir>
#include <QtTest>

#include <algorithm>
#include <csignal>
#include <random>

#include <fcntl.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <unistd.h>

namespace {

const QString hostile = QStringLiteral("</script><!--\u202e\n\"\\#; %1&");

QString toText(const XMLTraceEvent &event)
{
    QString text = QLatin1String(XMLTraceEvent::nameOf(event.event));
    text += QStringLiteral(" %1: %2/%3").arg(event.packet).arg(event.source).arg(event.sourceType);
    if (!event.isAgentEvent())
        text += QStringLiteral(" -> %1/%2").arg(event.destination).arg(event.destinationType);
    if (event.event == XMLTraceEvent::Dropped)
        text += event.reason == XMLRouterObserver::Repeat ? QStringLiteral(" repeat") : QStringLiteral(" source");
    for (const int count : event.kinds)
        text += QLatin1Char(' ') + QString::number(count);
    for (const int type : event.actionTypes)
        text += QStringLiteral(" t%1").arg(type);
    return text;
}

/** Says in its own words what a trace is to say, in the most obvious way: from what the router tells, packet by packet.
 */
class Witness : public XMLRouterObserver
{
public:
    Witness(XMLRouter *observed, XMLTraceRecorder *told) : router(observed), recorder(told)
    {
        router->setObserver(this);
    }

    void agentAdded(int id, int type) override
    {
        types[id] = type;
        recorder->agentAdded(id, type);
        log << QStringLiteral("added 0: %1/%2 0 0 0 0 0 0").arg(id).arg(type);
    }
    void agentRemoved(int id) override
    {
        recorder->agentRemoved(id);
        log << QStringLiteral("removed 0: %1/%2 0 0 0 0 0 0").arg(id).arg(types.take(id));
    }
    void packetQueued(XMLPacket &packet) override
    {
        recorder->packetQueued(packet);
        known[&packet] = describe(packet, QString());
        log << QStringLiteral("queued ") + known[&packet];
    }
    void packetDropped(XMLPacket &packet, DropReason reason) override
    {
        recorder->packetDropped(packet, reason);
        log << QStringLiteral("dropped ")
                + describe(packet, reason == Repeat ? QStringLiteral(" repeat") : QStringLiteral(" source"));
    }
    void packetAboutToBeDelivered(XMLPacket &packet, int destination) override
    {
        recorder->packetAboutToBeDelivered(packet, destination);
        nested << known.take(&packet);
        log << QStringLiteral("delivering ") + nested.last();
    }
    void packetDelivered(int destination) override
    {
        recorder->packetDelivered(destination);
        log << QStringLiteral("delivered ") + nested.takeLast();
    }
    void packetUndeliverable(XMLPacket &packet) override
    {
        recorder->packetUndeliverable(packet);
        log << QStringLiteral("undeliverable ") + known.take(&packet);
    }

    QStringList log;

private:
    QString describe(XMLPacket &packet, const QString &reason)
    {
        const int source = packet.getSourceAgentID();
        const int destination = packet.getDestinationAgentID();
        QString text = QStringLiteral("%1: %2/%3 -> %4/%5")
                           .arg(++count)
                           .arg(source)
                           .arg(types.value(source, XMLAgent::NO_AGENT_TYPE))
                           .arg(destination)
                           .arg(types.value(destination, XMLAgent::NO_AGENT_TYPE))
            + reason;
        QString actions;
        int kinds[6] = {};
        static const QStringList names{QStringLiteral("packetable"), QStringLiteral("action"), QStringLiteral("ui"),
                                       QStringLiteral("img"), QStringLiteral("msg")};
        for (QDomNode n = packet.getBody().firstChild(); !n.isNull(); n = n.nextSibling()) {
            const auto place = names.indexOf(n.nodeName());
            ++kinds[place < 0 ? 5 : place];
            if (n.nodeName() == names.at(1))
                actions += QStringLiteral(" t") + n.toElement().attribute(QStringLiteral("type"));
        }
        for (const int kind : kinds)
            text += QLatin1Char(' ') + QString::number(kind);
        return text + actions;
    }

    XMLRouter *router;
    XMLTraceRecorder *recorder;
    QMap<int, int> types{{-1, XMLAgent::COMM_SERVER_AGENT_TYPE}};
    QMap<const XMLPacket *, QString> known;
    QStringList nested;
    int count = 0;
};

/** Sends some packets of all sorts, and answers from within receive(). */
class Talker : public XMLRecordingAgent
{
public:
    Talker(XMLRouter &office, int type, std::mt19937 *generator) : XMLRecordingAgent(office, type), random(generator)
    {
        onReceive = [this](XMLPacket &) {
            if (packets.size() % 3 == 0)
                say(static_cast<int>((*random)() % 6));
            if (packets.size() % 7 == 0)
                QCoreApplication::processEvents(); // what is delivered in here nests
        };
    }

    void say(int destination)
    {
        XMLPacket *const packet = getXMLPacket(destination - 1);
        for (auto n = (*random)() % 3; n > 0; --n) {
            XMLAction action(hostile, 1000 + static_cast<int>((*random)() % 3), 0);
            XMLMessage message(hostile);
            if ((*random)() % 2)
                packet->append(action);
            else
                packet->append(message);
            if ((*random)() % 8 == 0)
                packet->getBody().appendChild(packet->getBody().ownerDocument().createElement(QStringLiteral("odd")));
        }
        router->send(packet);
    }

private:
    std::mt19937 *random;
};

/** Records an office that talks at random; what the trace is to say comes back in \a expected. */
QByteArray record(unsigned int seed, QStringList *expected, XMLTraceRecorder::Content content, int ring = 1 << 20)
{
    std::mt19937 random(seed);
    auto router = std::make_unique<XMLRouter>(nullptr);
    XMLTraceRecorder recorder(router.get(), ring, content);
    Witness witness(router.get(), &recorder);
    std::vector<std::unique_ptr<Talker>> talkers;
    for (int i = 0; i < 3; ++i)
        talkers.push_back(std::make_unique<Talker>(*router, 200 + i, &random));
    for (int step = 0; step < 60; ++step) {
        Talker *const talker = talkers[random() % talkers.size()].get();
        const auto what = random() % 10;
        if (what == 0)
            router->add(talker);
        else if (what == 1)
            router->remove(talker);
        else if (what < 8)
            talker->say(static_cast<int>(random() % 7));
        else
            QCoreApplication::processEvents();
    }
    QCoreApplication::processEvents();
    QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
    *expected = witness.log;
    const QByteArray trace = recorder.ring();
    router.reset(); // before the agents, which it may have under two ids
    return trace;
}

QList<XMLTraceEvent> read(QByteArray trace, XMLTraceReader **kept = nullptr)
{
    static QBuffer buffer;
    static std::unique_ptr<XMLTraceReader> reader;
    buffer.close();
    buffer.setData(trace);
    buffer.open(QIODevice::ReadOnly);
    reader = std::make_unique<XMLTraceReader>(&buffer);
    QList<XMLTraceEvent> events;
    for (XMLTraceEvent event; reader->next(event);)
        events << event;
    if (kept)
        *kept = reader.get();
    return events;
}

QStringList toTexts(const QList<XMLTraceEvent> &events)
{
    QStringList texts;
    for (const XMLTraceEvent &event : events)
        texts << toText(event);
    return texts;
}

/** Returns what a trace of a random office holds. */
QList<XMLTraceEvent> makeEvents(unsigned int seed)
{
    QStringList ignored;
    return read(record(seed, &ignored, XMLTraceRecorder::Sizes));
}

} // namespace

class tst_Trace : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void reader_gives_what_the_router_did();
    void damaged_traces_are_read_around_the_damage();
    void other_files_are_no_traces();
    void ring_holds_the_last_whole_lines();
    void masked_values_are_not_recorded();
    void trace_ends_where_it_cannot_be_written_data();
    void trace_ends_where_it_cannot_be_written();
    void filter_chooses_as_the_conditions_say();
    void filter_refuses_what_is_no_condition();
    void statistics_agree_with_sums_by_hand();
    void page_holds_the_packets_and_nothing_that_acts();
    void log_is_silent_until_it_is_switched_on();
};

void tst_Trace::reader_gives_what_the_router_did()
{
    for (unsigned int seed = 0; seed < 20; ++seed) {
        QStringList expected;
        const QByteArray trace = record(seed, &expected, XMLTraceRecorder::Headers);
        const QList<XMLTraceEvent> events = read(trace);
        QCOMPARE(toTexts(events), expected);
        for (int i = 1; i < events.size(); ++i)
            QVERIFY2(events.at(i - 1).time <= events.at(i).time, qPrintable(QString::number(seed)));
    }
}

void tst_Trace::damaged_traces_are_read_around_the_damage()
{
    QStringList expected;
    const QByteArray trace = record(3, &expected, XMLTraceRecorder::Bodies);
    const int header = static_cast<int>(trace.indexOf('\n')) + 1;
    std::mt19937 random(1);
    for (int round = 0; round < 60; ++round) {
        const int at = header + static_cast<int>(random() % static_cast<unsigned int>(trace.size() - header));
        const auto whole = static_cast<int>(trace.left(at).count('\n')) - 1;
        XMLTraceReader *reader = nullptr;
        QCOMPARE(toTexts(read(trace.left(at), &reader)), expected.mid(0, whole));
        QCOMPARE(reader->isCutOff(), !trace.left(at).endsWith('\n'));

        QByteArray changed = trace;
        changed.insert(at, '\n');
        const bool between = trace.at(at) == '\n' || trace.at(at - 1) == '\n';
        const QStringList around = toTexts(read(changed, &reader));
        QCOMPARE(reader->damagedLines(), between ? 1 : 2);
        QCOMPARE(around.size(), expected.size() - (between ? 0 : 1));
        QCOMPARE(around.mid(0, whole), expected.mid(0, whole));
    }
}

void tst_Trace::other_files_are_no_traces()
{
    for (const char *text : {"nothing\n", "{}\n", "{\"trace\":2,\"start\":1}\n", "[1]\n{\"trace\":1}\n"}) {
        XMLTraceReader *reader = nullptr;
        QCOMPARE(read(text, &reader).size(), 0);
        QVERIFY2(!reader->error().isEmpty(), text);
    }
}

void tst_Trace::ring_holds_the_last_whole_lines()
{
    for (const int size : {10, 100, 1000, 1001, 1002, 5000}) {
        QStringList expected;
        QStringList whole;
        record(5, &whole, XMLTraceRecorder::Headers);
        const QByteArray trace = record(5, &expected, XMLTraceRecorder::Headers, size);
        const QByteArray lines = trace.mid(trace.indexOf('\n') + 1);
        QVERIFY(lines.size() <= size);
        QVERIFY(size < 1000 || lines.size() > size - 400);
        const QList<XMLTraceEvent> events = read(trace);
        QCOMPARE(events.size(), lines.count('\n'));
        for (int i = 1; i <= events.size(); ++i) { // what a lost line said is not known any more
            const QString kept = QLatin1String(XMLTraceEvent::nameOf(events.at(events.size() - i).event));
            QVERIFY(expected.at(expected.size() - i).startsWith(kept));
        }
    }
}

void tst_Trace::masked_values_are_not_recorded()
{
    XMLRouter router(nullptr);
    XMLRecordingAgent agent(router);
    XMLTraceRecorder recorder(&router, 100000, XMLTraceRecorder::Bodies);
    recorder.setMaskedKeys({QStringLiteral("org_name"), QStringLiteral("msg")});
    XMLAction action(QStringLiteral("shown"), 7, 8);
    action.setOrgName(QStringLiteral("secret"));
    XMLMessage message(QStringLiteral("secret"));
    XMLPacket *const packet = agent.getXMLPacket(1);
    packet->append(action);
    packet->append(message);
    router.send(packet);
    QCoreApplication::processEvents();
    QVERIFY(recorder.ring().contains("shown"));
    QVERIFY(recorder.ring().contains("***"));
    QVERIFY(!recorder.ring().contains("secret"));
    QVERIFY(XMLWire::toWire(*agent.packets.at(0)).contains("secret")); // the packet itself is left alone
}

void tst_Trace::trace_ends_where_it_cannot_be_written_data()
{
    QTest::addColumn<QString>("file");
    QTest::newRow("full disk") << QStringLiteral("limited");
    QTest::newRow("pipe that is closed") << QStringLiteral("pipe");
    QTest::newRow("file that is deleted") << QStringLiteral("file");
    QTest::newRow("folder") << QStringLiteral(".");
}

void tst_Trace::trace_ends_where_it_cannot_be_written()
{
    QFETCH(QString, file);
    const QTemporaryDir folder;
    const QByteArray path = QFile::encodeName(QDir(folder.path()).absoluteFilePath(file));
    int reader = -1;
    if (file == QLatin1String("pipe")) {
        QCOMPARE(mkfifo(path.constData(), 0600), 0);
        reader = open(path.constData(), O_RDONLY | O_NONBLOCK);
    }
    QTest::ignoreMessage(QtWarningMsg, QRegularExpression(QStringLiteral("the trace ends here$")));
    XMLRouter router(nullptr);
    XMLTraceRecorder recorder(&router, QFile::decodeName(path));
    QSignalSpy stopped(&recorder, &XMLTraceRecorder::stopped);
    const bool opened = recorder.isRecording();
    if (reader >= 0)
        close(reader);
    if (file == QLatin1String("file"))
        unlink(path.constData());
    rlimit sizes;
    getrlimit(RLIMIT_FSIZE, &sizes);
    const rlimit none = {0, sizes.rlim_max};
    std::signal(SIGXFSZ, SIG_IGN);
    if (file == QLatin1String("limited"))
        setrlimit(RLIMIT_FSIZE, &none);
    XMLRecordingAgent agent(router);
    recorder.flush();
    setrlimit(RLIMIT_FSIZE, &sizes);
    QVERIFY(!recorder.isRecording());
    QCOMPARE(stopped.size(), opened ? 1 : 0);
    QVERIFY(!recorder.error().isEmpty());
    const quint64 before = recorder.lostEvents();
    XMLPacket *const packet = agent.getXMLPacket(1);
    router.send(packet);
    QCoreApplication::processEvents();
    QCOMPARE(recorder.lostEvents(), before + 3); // queued, delivering, delivered: the router goes on
    QCOMPARE(agent.packets.size(), std::size_t(1));
}

void tst_Trace::filter_chooses_as_the_conditions_say()
{
    const QList<XMLTraceEvent> events = makeEvents(1);
    using Test = std::function<bool(const XMLTraceEvent &)>;
    const QList<std::pair<QString, Test>> conditions{
        {QStringLiteral("src=3"), [](const auto &e) { return e.source == 3; }},
        {QStringLiteral("dst=1,4"),
         [](const auto &e) { return !e.isAgentEvent() && (e.destination == 1 || e.destination == 4); }},
        {QStringLiteral("agent=2"),
         [](const auto &e) { return e.source == 2 || (!e.isAgentEvent() && e.destination == 2); }},
        {QStringLiteral("kind=msg"), [](const auto &e) { return e.kinds[XMLTraceEvent::Message] > 0; }},
        {QStringLiteral("type=1000,1002"),
         [](const auto &e) { return e.actionTypes.contains(1000) || e.actionTypes.contains(1002); }},
        {QStringLiteral("event=dropped,delivered"),
         [](const auto &e) { return e.event == XMLTraceEvent::Dropped || e.event == XMLTraceEvent::Delivered; }},
        {QStringLiteral("packet=7,20"), [](const auto &e) { return e.packet == 7 || e.packet == 20; }}};
    for (const auto &first : conditions) {
        for (const auto &second : conditions) {
            XMLTraceFilter filter;
            QVERIFY(filter.add(first.first));
            QVERIFY(filter.add(second.first));
            for (const XMLTraceEvent &event : events)
                QCOMPARE(filter.matches(event), first.second(event) && second.second(event));
        }
    }
}

void tst_Trace::filter_refuses_what_is_no_condition()
{
    for (const char *text : {"", "src", "=3", "source=3", "src=", "src=a", "src=1,,2", "kind=1", "event=lost"}) {
        QString error;
        XMLTraceFilter filter;
        QVERIFY2(!filter.add(QLatin1String(text), &error), text);
        QVERIFY2(error.contains(QLatin1Char('\'')), text);
        QVERIFY(filter.isEmpty());
    }
}

void tst_Trace::statistics_agree_with_sums_by_hand()
{
    for (unsigned int seed = 0; seed < 20; ++seed) {
        const QList<XMLTraceEvent> events = makeEvents(seed);
        XMLTraceStatistics statistics;
        QMap<quint64, qint64> queued;
        QMap<quint64, qint64> began;
        QMap<int, qint64> busy;
        QList<quint64> running;
        QList<qint64> delays;
        QMap<QString, QString> pairs;
        int longest = 0;
        qint64 last = 0;
        for (const XMLTraceEvent &event : events) {
            statistics.add(event);
            // The time since the last event is the innermost receiver's.
            if (!running.isEmpty())
                busy[static_cast<int>(began.value(running.last()))] += event.time - last;
            last = event.time;
            if (event.event == XMLTraceEvent::Queued)
                queued[event.packet] = event.time;
            longest = std::max(longest, static_cast<int>(queued.size()));
            if (event.event == XMLTraceEvent::Delivering) {
                delays << event.time - queued.value(event.packet);
                running << event.packet;
                began[event.packet] = event.destination;
            }
            if (event.event != XMLTraceEvent::Queued)
                queued.remove(event.packet);
            if (event.event == XMLTraceEvent::Delivered)
                running.removeLast();
        }
        for (int from = 0; from <= 9; ++from) {
            for (int to = -1; to <= 9; ++to) {
                quint64 sent = 0, dropped = 0, lost = 0;
                qint64 bytes = 0;
                for (const XMLTraceEvent &event : events) {
                    if (event.isAgentEvent() || event.source != from || event.destination != to)
                        continue;
                    const bool isSent = event.event == XMLTraceEvent::Queued || event.event == XMLTraceEvent::Dropped;
                    sent += isSent;
                    bytes += isSent ? event.bytes : 0;
                    dropped += event.event == XMLTraceEvent::Dropped;
                    lost += event.event == XMLTraceEvent::Undeliverable;
                }
                const auto found = statistics.traffic().find({{0, from}, {0, to}});
                QCOMPARE(found != statistics.traffic().end(), sent > 0);
                if (sent == 0)
                    continue;
                QCOMPARE(found->second.packets, sent);
                QCOMPARE(found->second.bytes, bytes);
                QCOMPARE(found->second.dropped, dropped);
                QCOMPARE(found->second.undeliverable, lost);
            }
        }
        QCOMPARE(statistics.longestQueue(), static_cast<quint64>(longest));
        std::sort(delays.begin(), delays.end());
        for (const int percent : {50, 95, 99}) {
            const qint64 exact = delays.at((delays.size() * percent + 99) / 100 - 1);
            const qint64 told = statistics.queueDelay(percent / 100.0);
            QVERIFY2(told >= exact, qPrintable(QString::number(seed)));
            QVERIFY2(static_cast<double>(told) <= static_cast<double>(exact) * 1.04 + 1,
                     qPrintable(QString::number(seed)));
        }
        QCOMPARE(running.size(), 0);
        for (auto each = busy.cbegin(); each != busy.cend(); ++each)
            QCOMPARE(statistics.work().at({0, each.key()}).time, each.value());
    }
}

void tst_Trace::page_holds_the_packets_and_nothing_that_acts()
{
    QStringList expected;
    const QList<XMLTraceEvent> events = read(record(8, &expected, XMLTraceRecorder::Bodies));
    XMLLadder ladder;
    ladder.setName({0, 1}, hostile);
    QSet<quint64> packets;
    for (const XMLTraceEvent &event : events) {
        ladder.add(event);
        if (!event.isAgentEvent())
            packets << event.packet;
    }
    QBuffer page;
    page.open(QIODevice::WriteOnly);
    QVERIFY(ladder.writeHtml(&page));
    const QByteArray begin = "id=\"data\">";
    const int at = static_cast<int>(page.data().indexOf(begin) + begin.size());
    const QByteArray json = page.data().mid(at, page.data().indexOf("</script>", at) - at);
    const QJsonObject data = QJsonDocument::fromJson(json).object();
    const QJsonArray rows = data.value(QLatin1String("rows")).toArray();
    QCOMPARE(rows.size(), packets.size());
    for (const QJsonValue &row : rows) {
        const auto number = static_cast<quint64>(row.toArray().at(1).toInt());
        const auto event =
            std::find_if(events.cbegin(), events.cend(), [number](const auto &e) { return e.packet == number; });
        QCOMPARE(row.toArray().at(10).toString().toUtf8(), event->wire);
    }
    QVERIFY(!json.contains("</"));
    QVERIFY(!json.contains("<!"));
    for (bool (XMLLadder::*write)(QIODevice *) const :
         {&XMLLadder::writeText, &XMLLadder::writeMermaid, &XMLLadder::writeSvg}) {
        QBuffer text;
        text.open(QIODevice::WriteOnly);
        QVERIFY((ladder.*write)(&text));
        QVERIFY(!text.data().contains(QStringLiteral("\u202e").toUtf8()));
        QVERIFY(write == &XMLLadder::writeText || !text.data().contains("</script>"));
    }
}

void tst_Trace::log_is_silent_until_it_is_switched_on()
{
    static QStringList logged;
    logged.clear();
    const QtMessageHandler former = qInstallMessageHandler(
        [](QtMsgType, const QMessageLogContext &, const QString &message) { logged << message; });
    auto router = std::make_unique<XMLRouter>(nullptr);
    XMLRouterLog log(router.get());
    XMLRecordingAgent agent(*router);
    QLoggingCategory::setFilterRules(QStringLiteral("zqxml.router=true"));
    router->send(agent.getXMLPacket(9));
    router->send(agent.getXMLPacket(9));
    QCoreApplication::processEvents();
    QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
    router.reset(); // before its observer
    QLoggingCategory::setFilterRules(QString());
    qInstallMessageHandler(former);
    const QStringList expected{QStringLiteral("packet from 1 to 9 queued"),
                               QStringLiteral("packet from 1 to 9 dropped: it repeats the last one that waits"),
                               QStringLiteral("packet from 1 deleted: nobody has its destination 9"),
                               QStringLiteral("agent -1 removed")};
    QCOMPARE(logged, expected);
    logged.clear();
}

ZQXML_TEST_MAIN(tst_Trace)
#include "tst_trace.moc"
