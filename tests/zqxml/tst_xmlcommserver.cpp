// SPDX-FileCopyrightText: 2026 The zqxml developers
// SPDX-License-Identifier: MIT

#include "testtools.h"

#include <standin/zqstandin.h>
#include <zqxml/xmlaction.h>
#include <zqxml/xmlcommserver.h>
#include <zqxml/xmlmessage.h>
#include <zqxml/xmlpacketable.h>
#include <zqxmlkit/testing.h>

#include <QRandomGenerator>
#include <QSqlDatabase>
#include <QSqlError>
#include <QSqlQuery>
#include <QTemporaryDir>

#include <map>

Q_DECLARE_METATYPE(bool ZQFAULTS::*)

class tst_XMLCommServer : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase();
    void init();
    void cleanup();
    void answers();
    void faults_data();
    void faults();
    void withoutAServer();
    void packetsWithoutARequest();
    void queries();

private:
    /** Runs a statement on the store and returns the rows that it gives. */
    static QList<QStringList> run(const QString &statement)
    {
        QSqlQuery query(statement, QSqlDatabase::database(QStringLiteral("test")));
        if (query.lastError().isValid())
            qFatal("%s: %s", qPrintable(statement), qPrintable(query.lastError().text()));
        QList<QStringList> rows;
        while (query.next()) {
            rows << QStringList();
            for (int column = 0; query.value(column).isValid(); ++column)
                rows.last() << query.value(column).toString();
        }
        return rows;
    }

    /** Returns what \a statement gives for each of \a keys, which takes the place of the marker, or for all. */
    static QList<QStringList> runForEach(const QStringList &keys, const QString &statement)
    {
        QList<QStringList> rows;
        for (const QString &key : keys.isEmpty() ? QStringList{QStringLiteral("%")} : keys)
            rows << run(statement.arg(key));
        return rows;
    }

    static QString firstKey()
    {
        return run(QStringLiteral("SELECT printf('%x:%x', zqkey, hkey) FROM outputs ORDER BY id")).first().first();
    }

    /** Returns the lines of the reply to a request, as the store has them; with "no reply" alone when there is none. */
    static QStringList model(int request, const QStringList &keys, bool excludePublications)
    {
        QList<QStringList> rows;
        if (request == 1000)
            rows = run(QStringLiteral("SELECT name, 8, printf('%x:%x', zqkey, hkey) FROM outputs ORDER BY id"));
        if (request == 1002)
            rows = runForEach(keys,
                              QStringLiteral("SELECT b.name, '56 with lists', printf('%x:%x', b.zqkey, b.hkey)"
                                             " FROM books b, publications p WHERE b.publication = p.id"
                                             " AND printf('%x:%x', p.zqkey, p.hkey) LIKE '%1' ORDER BY p.id, b.id"));
        QList<QStringList> jobs;
        if (request == 1001 || request == 1003)
            jobs = runForEach(keys,
                              QStringLiteral("SELECT j.name, 15, printf('%x:%x', j.zqkey, j.hkey), page, p.id, p.name"
                                             " FROM jobs j JOIN outputs o ON o.id = output"
                                             " LEFT JOIN publications p ON p.id = j.publication WHERE queue = 3"
                                             " AND printf('%x:%x', o.zqkey, o.hkey) LIKE '%1'"
                                             " ORDER BY o.id, arrived, j.id"));
        std::map<unsigned int, QStringList> lowest;
        for (const QStringList &job : jobs) {
            const unsigned int publication = job.at(4).toUInt();
            if (request == 1003 && (publication == 0 || !excludePublications))
                rows << job;
            if (publication != 0
                && job.at(3).toInt() < lowest.try_emplace(publication, job).first->second.at(3).toInt())
                lowest[publication] = job;
        }
        for (const auto &[publication, job] : lowest) {
            if (request == 1001)
                rows << QStringList{job.at(5), job.at(1), job.at(2)};
        }
        if (rows.isEmpty() && request != 1003 && (request != 1001 || jobs.isEmpty()))
            return {QStringLiteral("no reply")};
        QStringList lines;
        for (const QStringList &row : rows)
            lines << row.mid(0, 3).join(QLatin1Char(' '));
        return lines;
    }

    /** Sends a packet with \a actions from an agent and returns the lines of the reply that it gets. */
    QStringList ask(XMLRecordingAgent &agent, const QList<XMLAction *> &actions)
    {
        XMLPacket *const packet = agent.getXMLPacket(-1);
        XMLMessage message(QStringLiteral("in front"));
        packet->append(message);
        for (XMLAction *const action : actions)
            packet->append(*action);
        outputsReplies += actions.first()->getType() == 1000;
        router->send(packet);
        QCoreApplication::processEvents();
        QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
        QStringList lines;
        if (agent.packets.empty())
            lines << QStringLiteral("no reply");
        for (const auto &reply : agent.packets) {
            if (reply->getSourceAgentID() != -1 || reply->getDestinationAgentID() != agent.getAgentID())
                lines << QStringLiteral("wrong addresses");
            std::list<QDomNode> records;
            reply->getNodesOfType(XMLObject::XML_PACKETABLE, records);
            for (const QDomNode &record : records)
                lines << lineOf(record.toElement());
        }
        agent.packets.clear();
        return lines;
    }

    static QString lineOf(const QDomElement &record)
    {
        const QDomElement item = record.firstChildElement();
        const QDomElement key = item.firstChildElement(QStringLiteral("2"));
        return record.attribute(QStringLiteral("name")) + QLatin1Char(' ')
            + record.attribute(QStringLiteral("datatype"))
            + (record.hasAttribute(QStringLiteral("is_current")) ? QStringLiteral(" current") : QString())
            + (item.firstChildElement(QStringLiteral("list")).isNull() ? QString() : QStringLiteral(" with lists"))
            + QLatin1Char(' ') + key.attribute(QStringLiteral("key")) + QLatin1Char(':')
            + key.attribute(QStringLiteral("hkey"));
    }

    QTemporaryDir folder;
    std::unique_ptr<ZQCommServer> server;
    std::unique_ptr<XMLRouter> router;
    std::unique_ptr<XMLRecordingAgent> first;
    std::unique_ptr<XMLRecordingAgent> second;
    unsigned int outputsReplies = 0; // each leaves its converter to the record library, with the last entry
};

void tst_XMLCommServer::initTestCase()
{
    const QString file = folder.filePath(QStringLiteral("shop.db"));
    QFile::remove(file);
    ZQSTORESIZE size;
    size.outputs = 4;
    size.publications = 5;
    size.jobs = 150;
    size.books = 8;
    QVERIFY(ZQCreateStore(file, size, {}, nullptr));
    QSqlDatabase connection = QSqlDatabase::addDatabase(QStringLiteral("QSQLITE"), QStringLiteral("test"));
    connection.setDatabaseName(file);
    QVERIFY(connection.open());
    // Pages that are equal, and negative ones; ids that are negative as signed numbers; an output that has only pages
    // of publications, and one without jobs.
    for (const char *const statement :
         {"UPDATE jobs SET page = page / 4 - 3 WHERE publication NOT NULL",
          "UPDATE publications SET id = id * 400000000", "UPDATE jobs SET publication = publication * 400000000",
          "UPDATE books SET publication = publication * 400000000",
          "DELETE FROM jobs WHERE output = 2 AND publication IS NULL OR output = 3",
          "DELETE FROM books WHERE publication = (SELECT min(publication) FROM books)"})
        run(QLatin1String(statement));
}

void tst_XMLCommServer::init()
{
    server = std::make_unique<ZQCommServer>(ZQOpenStore(folder.filePath(QStringLiteral("shop.db")), nullptr));
    router = std::make_unique<XMLRouter>(server.get());
    first = std::make_unique<XMLRecordingAgent>(*router);
    second = std::make_unique<XMLRecordingAgent>(*router);
    outputsReplies = 0;
}

void tst_XMLCommServer::cleanup()
{
    ZQFaults() = ZQFAULTS();
    router.reset();
    server.reset();
    QCOMPARE(ZQLiveRecords(), outputsReplies);
    QCOMPARE(ZQLiveConverters(), outputsReplies);
    ZQFreeConverters();
}

void tst_XMLCommServer::answers()
{
    QStringList known{QStringLiteral("0:0"), QStringLiteral("deadbeef:1")};
    for (const char *const from : {"outputs", "publications", "jobs WHERE id = (SELECT min(id) FROM jobs)"}) {
        for (const QStringList &row :
             run(QStringLiteral("SELECT printf('%x:%x', zqkey, hkey) FROM ") + QLatin1String(from)))
            known << row.first();
    }
    QRandomGenerator random(1);
    const auto below = [&random](int limit) { return random.bounded(limit); };
    for (int round = 0; round < 250; ++round) {
        const int request = 999 + below(6);
        QStringList keys;
        for (int count = below(4); count > 0; --count)
            keys << known.at(below(int(known.size())));
        QStringList halves[2];
        for (const QString &key : keys) {
            halves[0] << key.section(QLatin1Char(':'), 0, 0);
            halves[1] << key.section(QLatin1Char(':'), 1);
        }
        XMLAction action(QStringLiteral("request"), request, second->getAgentID());
        QDomElement node = action.getNode();
        // Both lists are needed, a part that is no number empties one, parts without another half are left out.
        const int broken = below(8);
        if (broken == 2)
            halves[0] << QStringLiteral("5") << QStringLiteral("6");
        if (broken == 3)
            halves[1] << QStringLiteral("x");
        if (broken != 0)
            XMLObject::setProperty(node, QStringLiteral("zqkey_hkey_list"), halves[1].join(QLatin1Char(' ')));
        if (broken != 1)
            XMLObject::setProperty(node, QStringLiteral("zqkey_key_list"), halves[0].join(QLatin1Char(' ')));
        if (broken == 0 || broken == 1 || broken == 3)
            keys.clear();
        const int exclude = below(4); // absent, true, false, malformed
        if (exclude != 0)
            XMLObject::setProperty(node, QStringLiteral("exclude_publications"),
                                   QStringLiteral("- 1 0 yes").section(QLatin1Char(' '), exclude, exclude));
        XMLAction behind(QString(), 1000 + below(4), 0);
        XMLRecordingAgent &sender = below(2) ? *first : *second;
        const QStringList found =
            ask(sender, below(2) ? QList<XMLAction *>{&action, &behind} : QList<XMLAction *>{&action});
        QVERIFY2(found == model(request, keys, exclude < 2),
                 qPrintable(QStringLiteral("round %1: %2").arg(round).arg(dump(node))));
        QVERIFY((&sender == first.get() ? second : first)->packets.empty());
    }
}

void tst_XMLCommServer::faults_data()
{
    QTest::addColumn<bool ZQFAULTS::*>("fault");
    QTest::addColumn<QList<int>>(
        "counts"); // of records in the replies to 1000 to 1003 and to 1003 with a key; -1 for none
    const auto count = [](int request) { return int(model(request, QStringList(), true).size()); };
    const QList<int> all{count(1000), count(1001), count(1002), count(1003),
                         int(model(1003, {firstKey()}, true).size())};
    QTest::newRow("records without a text are sent, too") << &ZQFAULTS::noText << all;
    QTest::newRow("a reply reads no text") << &ZQFAULTS::refusedText << all;
    QTest::newRow("only the converter of outputs is asked for by its type")
        << &ZQFAULTS::unknownTypes << QList<int>{-1, all.at(1), all.at(2), all.at(3), all.at(4)};
    QTest::newRow("nothing is found") << &ZQFAULTS::emptyChains << QList<int>{-1, -1, -1, 0, 0};
    QTest::newRow("entries that come with an error are not looked at, jobs and books are")
        << &ZQFAULTS::brokenChains << QList<int>{-1, -1, -1, 0, 1};
}

void tst_XMLCommServer::faults()
{
    QFETCH(bool ZQFAULTS::*, fault);
    QFETCH(QList<int>, counts);
    ZQFaults().*fault = true;
    for (int i = 0; i < 5; ++i) {
        XMLAction action(QString(), qMin(1000 + i, 1003), 0);
        QDomElement node = action.getNode();
        if (i == 4) {
            XMLObject::setProperty(node, QStringLiteral("zqkey_key_list"), firstKey().section(QLatin1Char(':'), 0, 0));
            XMLObject::setProperty(node, QStringLiteral("zqkey_hkey_list"), firstKey().section(QLatin1Char(':'), 1));
        }
        const QStringList lines = ask(*first, {&action});
        QCOMPARE(lines.contains(QStringLiteral("no reply")) ? -1 : int(lines.size()), counts.at(i));
    }
    outputsReplies = counts.at(0) > 0;
}

void tst_XMLCommServer::withoutAServer()
{
    router->remove(first.get());
    router = std::make_unique<XMLRouter>(nullptr);
    router->add(first.get());
    ZQKEY_ELEMENT key{1, 2};
    for (int i = 0; i < 8; ++i) {
        XMLAction action(QString(), 1000 + i / 2, 0);
        if (i % 2)
            action.setZQKEYList({&key});
        QCOMPARE(ask(*first, {&action}), i / 2 == 3 ? QStringList() : QStringList{QStringLiteral("no reply")});
    }
    outputsReplies = 0;
}

void tst_XMLCommServer::packetsWithoutARequest()
{
    XMLCommServer commServer(server.get());
    commServer.receive(nullptr);
    commServer.receive(first->getXMLPacket(-1));
    XMLPacket *const packet = first->getXMLPacket(-1);
    XMLMessage message;
    packet->append(message);
    commServer.receive(packet);
    QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
}

void tst_XMLCommServer::queries()
{
    XMLCommServer commServer(server.get()); // which has no router
    commServer.sendBooks(1, nullptr);
    commServer.sendZQJOBs(1, nullptr);
    commServer.sendPublications(1, nullptr);
    QVERIFY2(!commServer.getDBList(JOB_TYPE), "no such list: the server reports an error");
    QVERIFY(!commServer.getZQJOBs(QList<ZQKEY_ELEMENT *>()));
    QVERIFY(!commServer.getBooks(QList<ZQKEY_ELEMENT *>()));
    ZQLIST_ELEMENT *outputs = commServer.getDBList(OUTPUT_LIST_TYPE);
    ZQKEY_ELEMENT key = static_cast<ZQDBLIST_ENTRY *>(outputs)->key;
    ZQLIST_ELEMENT *jobs = commServer.getZQJOBs({nullptr, &key, nullptr, &key});
    int count = 0;
    for (const ZQLIST_ELEMENT *job = jobs; job; job = job->next)
        ++count;
    QCOMPARE(count, int(model(1003, {firstKey(), firstKey()}, false).size()));
    ZQPacketFreeList(&outputs, DBLIST_ENTRY_TYPE);
    ZQPacketFreeList(&jobs, JOB_TYPE);
}

ZQXML_TEST_MAIN(tst_XMLCommServer)
#include "tst_xmlcommserver.moc"
