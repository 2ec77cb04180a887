// SPDX-FileCopyrightText: 2026 The zqxml developers
// SPDX-License-Identifier: MIT

#include "testtools.h"

#include <standin/zqrecords.h>
#include <standin/zqstandin.h>
#include <zqxml/xmlaction.h>
#include <zqxml/xmlcommserver.h>
#include <zqxml/xmlmessage.h>
#include <zqxml/xmlpacketable.h>

#include <QPointer>
#include <QSqlDatabase>
#include <QSqlError>
#include <QSqlQuery>
#include <QTemporaryDir>
#include <QtTest>

class tst_XMLCommServer : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase();
    void init();
    void cleanup();
    void requests_data();
    void requests();
    void recordsOfAReply();
    void twoActions();
    void packetsWithoutARequest();
    void withoutARouter();
    void queries();
    void databaseErrors();

private:
    void run(const char *statement)
    {
        QSqlQuery query(QSqlDatabase::database(QStringLiteral("test")));
        if (!query.exec(QString::fromUtf8(statement)))
            qFatal("%s: %s", statement, qPrintable(query.lastError().text()));
    }

    /** Sends a packet with \a first and, if there is one, \a second. Returns the names in each reply, "-" for none. */
    QStringList ask(XMLAction &first, XMLAction *second = nullptr)
    {
        XMLPacket *const packet = agent->getXMLPacket(-1);
        XMLMessage message(QStringLiteral("in front"));
        packet->append(message);
        packet->append(first);
        if (second)
            packet->append(*second);
        agent->packets.clear();
        router->send(packet);
        QCoreApplication::processEvents();
        QStringList replies;
        for (const auto &reply : agent->packets) {
            if (reply->getSourceAgentID() != -1 || reply->getDestinationAgentID() != agent->getAgentID())
                return {QStringLiteral("wrong addresses")};
            records.clear();
            reply->getNodesOfType(XMLObject::XML_PACKETABLE, records);
            QStringList names;
            for (const QDomNode &record : records)
                names << record.toElement().attribute(XMLPacketable::NAME);
            replies << (names.isEmpty() ? QStringLiteral("-") : names.join(QLatin1Char('|')));
        }
        return replies;
    }

    QStringList ask(int type)
    {
        XMLAction action(QString(), type, 0);
        return ask(action);
    }

    QTemporaryDir folder;
    std::unique_ptr<ZQCommServer> server;
    std::unique_ptr<XMLRouter> router;
    std::unique_ptr<RecordingAgent> agent;
    std::list<QDomNode> records; // of the last reply
    unsigned int convertersBefore = 0;
    unsigned int recordsBefore = 0;
};

void tst_XMLCommServer::initTestCase()
{
    const QString file = folder.filePath(QStringLiteral("shop.db"));
    QVERIFY(ZQCreateStore(file, ZQSTORESIZE(), ZQPROGRESS(), nullptr));
    {
        QSqlDatabase connection = QSqlDatabase::addDatabase(QStringLiteral("QSQLITE"), QStringLiteral("test"));
        connection.setDatabaseName(file);
        QVERIFY(connection.open());
    }
    run("INSERT INTO outputs VALUES"
        " (1, 163, 7, 'Press', 1, 60, 1200), (2, 4294967295, 0, 'Proof \xc3\xa4', 1, 60, 1200),"
        " (3, 5, 5, 'Plain', 0, 60, 1200)");
    run("INSERT INTO publications VALUES (11, 1, 1, 'Weekly 100%'), (5, 2, 1, 'Daily'), (12, 3, 1, 'Empty')");
    const char *const jobs[] = {"'single 1', NULL, 0, 3, 1", "'w3', 11, 3, 3, 1",        "'w1 first', 11, 1, 3, 1",
                                "'w1 second', 11, 1, 3, 1",  "'done', NULL, 0, 4, 1",    "'d2', 5, 2, 3, 2",
                                "'single 2', NULL, 0, 3, 2", "'single 3', NULL, 0, 3, 3"};
    int id = 20;
    for (const char *const job : jobs) {
        const QString values =
            QStringLiteral("INSERT INTO jobs VALUES (%1, %1, 2, %2, %1, 1, 1, 1, 'A4', 'P', 'K', '00')");
        run(values.arg(id++).arg(QLatin1String(job)).toLatin1().constData());
    }
    run("INSERT INTO books VALUES"
        " (31, 31, 3, 'Book A', 11, 8, 8, 1, 1, 'c', 'k'), (32, 32, 3, 'Book B', 11, 8, 8, 1, 1, 'c', 'k'),"
        " (33, 33, 3, 'Book C', 5, 8, 8, 1, 1, 'c', 'k')");
}

void tst_XMLCommServer::init()
{
    convertersBefore = ZQLiveConverters();
    recordsBefore = ZQLiveRecords();
    server = std::make_unique<ZQCommServer>(ZQOpenStore(folder.filePath(QStringLiteral("shop.db")), nullptr));
    router = std::make_unique<XMLRouter>(server.get());
    agent = std::make_unique<RecordingAgent>();
    router->add(agent.get());
}

void tst_XMLCommServer::cleanup()
{
    router.reset();
    server.reset();
    agent.reset();
    QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
    // Each reply of outputs leaves its converter behind, with the last entry. Nothing else may be left.
    QCOMPARE(ZQLiveConverters() - convertersBefore, ZQLiveRecords() - recordsBefore);
    QVERIFY2(ZQLiveConverters() - convertersBefore <= 1, "more is left than one converter of outputs");
}

void tst_XMLCommServer::requests_data()
{
    QTest::addColumn<int>("type");
    QTest::addColumn<QString>("keys");
    QTest::addColumn<QString>("exclude");
    QTest::addColumn<QStringList>("replies");
    const auto row = [](const char *name, int type, const char *keys, const char *exclude, const QStringList &replies) {
        QTest::newRow(name) << type << QString::fromLatin1(keys) << QString::fromLatin1(exclude) << replies;
    };
    const QStringList none;
    const auto one = [](const char *names) { return QStringList{QString::fromUtf8(names)}; };
    row("outputs", 1000, "", "", one("Press|Proof \xc3\xa4|Plain"));
    row("outputs, keys are not read", 1000, "a3:7", "", one("Press|Proof \xc3\xa4|Plain"));
    row("jobs", 1003, "", "", one("single 1|single 2|single 3"));
    row("jobs, publications excluded", 1003, "", "1", one("single 1|single 2|single 3"));
    row("jobs, publications included", 1003, "", "0", one("single 1|w3|w1 first|w1 second|d2|single 2|single 3"));
    row("jobs, a malformed flag includes", 1003, "a3:7", "yes", one("single 1|w3|w1 first|w1 second"));
    row("jobs of keys, in their order", 1003, "ffffffff:0 a3:7 a3:7", "", one("single 2|single 1|single 1"));
    row("jobs of an unknown key", 1003, "dead:beef", "", one("-"));
    row("publications, the flag is not read", 1001, "", "1", one("Daily|Weekly 100%"));
    row("publications of a key", 1001, "a3:7", "", one("Weekly 100%"));
    row("publications of an output with other jobs only", 1001, "5:5", "", one("-"));
    row("publications without jobs", 1001, "dead:beef", "", none);
    row("books", 1002, "", "", one("Book C|Book A|Book B"));
    row("books of keys, in their order", 1002, "1:1 2:1", "", one("Book A|Book B|Book C"));
    row("books of an unknown key", 1002, "dead:beef", "", none);
    row("books of an empty list of keys", 1002, " ", "", one("Book C|Book A|Book B"));
    row("books of malformed keys", 1002, "zz:1", "", one("Book C|Book A|Book B"));
    row("unknown request", 999, "", "", none);
}

void tst_XMLCommServer::requests()
{
    QFETCH(int, type);
    QFETCH(QString, keys);
    QFETCH(QString, exclude);
    QFETCH(QStringList, replies);
    XMLAction action(QStringLiteral("request"), type, 0);
    QDomElement node = action.getNode();
    QStringList hkeyList;
    QStringList keyList;
    for (const QString &key : keys.split(QLatin1Char(' '), Qt::SkipEmptyParts)) {
        keyList << key.section(QLatin1Char(':'), 0, 0);
        hkeyList << key.section(QLatin1Char(':'), 1);
    }
    if (!keys.isEmpty()) {
        XMLObject::setProperty(node, QStringLiteral("zqkey_hkey_list"), hkeyList.join(QLatin1Char(' ')));
        XMLObject::setProperty(node, QStringLiteral("zqkey_key_list"), keyList.join(QLatin1Char(' ')));
    }
    if (!exclude.isEmpty())
        XMLObject::setProperty(node, QStringLiteral("exclude_publications"), exclude);
    QCOMPARE(ask(action), replies);
    // Without a server nothing is found.
    router->remove(agent.get());
    router = std::make_unique<XMLRouter>(nullptr);
    router->add(agent.get());
    QCOMPARE(ask(action), type == 1003 ? QStringList{QStringLiteral("-")} : QStringList());
}

void tst_XMLCommServer::recordsOfAReply()
{
    const auto fieldOf = [](const QDomNode &record, unsigned int tag) {
        return record.firstChildElement().firstChildElement(QString::number(tag, 16)).attribute(XMLPacketable::VALUE);
    };
    for (const int type : {1000, 1001, 1002, 1003}) {
        ask(type);
        QVERIFY(records.size() > 1);
        for (const QDomNode &record : records) {
            const QString datatype = type == 1000 ? QStringLiteral("8")
                : type == 1002                    ? QStringLiteral("56")
                                                  : QStringLiteral("15");
            QCOMPARE(record.toElement().attribute(XMLPacketable::DATATYPE), datatype);
            QVERIFY(!record.toElement().hasAttribute(XMLPacketable::IS_CURRENT));
            // Jobs are sent without their lists, books with theirs.
            const QDomElement item = record.firstChildElement();
            QCOMPARE(!item.firstChildElement(XMLPacketable::LIST).isNull(), type == 1002);
        }
        if (type == 1001) {
            // The lowest page, of equal ones the first; the element is named by the publication, the job keeps its
            // name.
            QCOMPARE(fieldOf(records.front(), TAG_NAME), QStringLiteral("d2"));
            QCOMPARE(fieldOf(records.back(), TAG_NAME), QStringLiteral("w1 first"));
            QCOMPARE(fieldOf(records.back(), TAG_JOB_PUBLICATION), QStringLiteral("Weekly 100%"));
        }
    }
}

void tst_XMLCommServer::twoActions()
{
    XMLAction books(QString(), XMLCommServer::REQUEST_BOOKS, 0);
    XMLAction outputs(QString(), XMLCommServer::REQUEST_OUTPUTS, 0);
    QCOMPARE(ask(books, &outputs), QStringList{QStringLiteral("Book C|Book A|Book B")});
}

void tst_XMLCommServer::packetsWithoutARequest()
{
    XMLCommServer commServer(server.get());
    commServer.receive(nullptr);
    for (const bool empty : {true, false}) { // an empty packet is deleted at once, another one later
        QPointer<XMLPacket> packet = agent->getXMLPacket(-1);
        XMLMessage message;
        if (!empty)
            packet->appendV(message);
        commServer.receive(packet);
        QCOMPARE(packet.isNull(), empty);
        QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
        QVERIFY(packet.isNull());
    }
    QCoreApplication::processEvents();
    QVERIFY(agent->packets.empty());
}

void tst_XMLCommServer::withoutARouter()
{
    XMLCommServer commServer(server.get());
    commServer.sendBooks(1, nullptr);
    commServer.sendZQJOBs(1, nullptr);
    commServer.sendPublications(1, nullptr);
}

void tst_XMLCommServer::queries()
{
    XMLCommServer commServer(server.get());
    QCOMPARE(commServer.getAgentType(), 0);
    QVERIFY(!commServer.wantAgentRemovalNotifications());
    const auto lengthOf = [](ZQLIST_ELEMENT *chain, PACKETDATATYPES type) {
        int length = 0;
        for (const ZQLIST_ELEMENT *element = chain; element; element = element->next)
            ++length;
        ZQPacketFreeList(&chain, type);
        return length;
    };
    ZQKEY_ELEMENT press{163, 7};
    ZQKEY_ELEMENT weekly{1, 1};
    QVERIFY2(!commServer.getDBList(JOB_TYPE), "no such list: the server reports an error");
    QCOMPARE(lengthOf(commServer.getZQJOBs({&press, nullptr, &press}), JOB_TYPE), 8);
    QCOMPARE(lengthOf(commServer.getBooks({nullptr, &weekly}), BOOK_TYPE), 2);
    QVERIFY(!commServer.getZQJOBs(QList<ZQKEY_ELEMENT *>()));
    QVERIFY(!commServer.getBooks(QList<ZQKEY_ELEMENT *>()));
}

void tst_XMLCommServer::databaseErrors()
{
    run("ALTER TABLE outputs RENAME TO away");
    QCOMPARE(ask(1000), QStringList());
    QCOMPARE(ask(1003), QStringList{QStringLiteral("-")});
    QCOMPARE(ask(1002), QStringList{QStringLiteral("Book C|Book A|Book B")});
    run("ALTER TABLE away RENAME TO outputs");
    QCOMPARE(ask(1003), QStringList{QStringLiteral("single 1|single 2|single 3")});
}

QTEST_GUILESS_MAIN(tst_XMLCommServer)
#include "tst_xmlcommserver.moc"
