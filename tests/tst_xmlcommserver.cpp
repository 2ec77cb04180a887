// SPDX-FileCopyrightText: 2026 The zqxml developers
// SPDX-License-Identifier: MIT

#include "testtools.h"

#include <standin/zqrecords.h>
#include <standin/zqstandin.h>
#include <zqxml/xmlaction.h>
#include <zqxml/xmlcommserver.h>
#include <zqxml/xmlmessage.h>
#include <zqxml/xmlpacketable.h>

#include <QFile>
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
    void publicationsAreOneJobEach();
    void recordsOfAReply();
    void keysInTheAction();
    void firstActionDecides();
    void packetsWithoutARequest_data();
    void packetsWithoutARequest();
    void withoutAServer_data();
    void withoutAServer();
    void withoutARouter();
    void queries();
    void databaseErrors();
    void jobsWithoutAnyOutput();

private:
    void run(const char *statement)
    {
        QSqlQuery query(QSqlDatabase::database(QStringLiteral("test")));
        if (!query.exec(QString::fromUtf8(statement)))
            qFatal("%s: %s", statement, qPrintable(query.lastError().text()));
    }

    /** Returns the names in each reply to \a action, "-" for a reply without records. */
    QStringList ask(XMLAction &action)
    {
        XMLPacket *const packet = agent->getXMLPacket(-1);
        packet->appendV(action);
        agent->packets.clear();
        router->send(packet);
        QCoreApplication::processEvents();
        QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
        QStringList replies;
        for (const auto &reply : agent->packets) {
            if (reply->getSourceAgentID() != -1 || reply->getDestinationAgentID() != agent->getAgentID())
                return {QStringLiteral("wrong addresses")};
            std::list<QDomNode> records;
            QStringList names;
            reply->getNodesOfType(XMLObject::XML_PACKETABLE, records);
            for (const QDomNode &record : records)
                names << record.toElement().attribute(XMLPacketable::NAME);
            replies << (names.isEmpty() ? QStringLiteral("-") : names.join(QLatin1Char('|')));
        }
        return replies;
    }

    QTemporaryDir folder;
    QString file;
    std::unique_ptr<ZQCommServer> server;
    std::unique_ptr<XMLRouter> router;
    std::unique_ptr<RecordingAgent> agent;
    unsigned int convertersBefore = 0;
    unsigned int recordsBefore = 0;
};

void tst_XMLCommServer::initTestCase()
{
    file = folder.filePath(QStringLiteral("shop.db"));
    QString error;
    QVERIFY2(ZQCreateStore(file, ZQSTORESIZE(), ZQPROGRESS(), &error), qPrintable(error));
    const QString database = folder.filePath(QStringLiteral("full.db"));
    QVERIFY(QFile::copy(file, database));
    {
        QSqlDatabase connection = QSqlDatabase::addDatabase(QStringLiteral("QSQLITE"), QStringLiteral("test"));
        connection.setDatabaseName(database);
        QVERIFY(connection.open());
    }
    run("INSERT INTO outputs VALUES (1, 163, 7, 'Press', 1, 60, 1200), (2, 4294967295, 0, 'Proof \xc3\xa4', 1, 60, 1200),"
        " (3, 5, 5, 'Idle', 0, 60, 1200)");
    run("INSERT INTO publications VALUES (11, 1, 1, 'Weekly 100%'), (5, 2, 1, 'Daily'), (12, 3, 1, 'Empty')");
    const char *const job =
        "INSERT INTO jobs VALUES (%1, %1, 2, '%2', %3, %4, %5, %6, %1, 1, 1, 1, 'A4', 'P', 'K', '00')";
    int id = 20;
    const auto addJob = [&](const char *name, const char *publication, int page, int queue, int output) {
        run(QString::fromLatin1(job)
                .arg(QString::number(id++), QString::fromLatin1(name), QString::fromLatin1(publication),
                     QString::number(page), QString::number(queue), QString::number(output))
                .toUtf8());
    };
    addJob("single 1", "NULL", 0, 3, 1);
    addJob("w3", "11", 3, 3, 1);
    addJob("w1 first", "11", 1, 3, 1);
    addJob("w1 second", "11", 1, 3, 1);
    addJob("done", "NULL", 0, 4, 1);
    addJob("d2", "5", 2, 3, 2);
    addJob("single 2", "NULL", 0, 3, 2);
    run("INSERT INTO books VALUES (31, 31, 3, 'Book A', 11, 8, 8, 1, 1, 'c', 'k'), (32, 32, 3, 'Book B', 11, 8, 8, 1, 1, 'c', 'k'),"
        " (33, 33, 3, 'Book C', 5, 8, 8, 1, 1, 'c', 'k')");
}

void tst_XMLCommServer::init()
{
    convertersBefore = ZQLiveConverters();
    recordsBefore = ZQLiveRecords();
    QString error;
    ZQCONNECTION *const connection = ZQOpenStore(folder.filePath(QStringLiteral("full.db")), &error);
    QVERIFY2(connection, qPrintable(error));
    server = std::make_unique<ZQCommServer>(connection);
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
    row("outputs", 1000, "", "", one("Press|Proof \xc3\xa4|Idle"));
    row("outputs, keys are not read", 1000, "a3:7", "", one("Press|Proof \xc3\xa4|Idle"));
    row("jobs", 1003, "", "", one("single 1|single 2"));
    row("jobs, publications excluded", 1003, "", "1", one("single 1|single 2"));
    row("jobs, publications included", 1003, "", "0", one("single 1|w3|w1 first|w1 second|d2|single 2"));
    row("jobs, a malformed flag includes", 1003, "", "yes", one("single 1|w3|w1 first|w1 second|d2|single 2"));
    row("jobs of keys, in their order", 1003, "ffffffff:0 a3:7", "0",
        one("d2|single 2|single 1|w3|w1 first|w1 second"));
    row("jobs of a key twice", 1003, "a3:7 a3:7", "", one("single 1|single 1"));
    row("jobs of an unknown key", 1003, "dead:beef", "", one("-"));
    row("jobs of an idle output", 1003, "5:5", "", one("-"));
    row("publications", 1001, "", "", one("Daily|Weekly 100%"));
    row("publications, the flag is not read", 1001, "", "1", one("Daily|Weekly 100%"));
    row("publications of a key", 1001, "a3:7", "", one("Weekly 100%"));
    row("publications without jobs", 1001, "5:5", "", none);
    row("books", 1002, "", "", one("Book C|Book A|Book B"));
    row("books of keys, in their order", 1002, "1:1 2:1", "", one("Book A|Book B|Book C"));
    row("books of an unknown key", 1002, "dead:beef", "", none);
    row("unknown request", 999, "", "", none);
    row("no request", 0, "", "", none);
}

void tst_XMLCommServer::requests()
{
    QFETCH(int, type);
    QFETCH(QString, keys);
    QFETCH(QString, exclude);
    QFETCH(QStringList, replies);
    XMLAction action(QStringLiteral("request"), type, 0);
    QList<ZQKEY_ELEMENT *> list;
    for (const QString &key : keys.split(QLatin1Char(' '), Qt::SkipEmptyParts)) {
        list << new ZQKEY_ELEMENT{key.section(QLatin1Char(':'), 0, 0).toUInt(nullptr, 16),
                                  key.section(QLatin1Char(':'), 1).toUInt(nullptr, 16)};
    }
    if (!list.isEmpty())
        action.setZQKEYList(list);
    qDeleteAll(list);
    QDomElement node = action.getNode();
    if (!exclude.isEmpty())
        XMLObject::setProperty(node, QStringLiteral("exclude_publications"), exclude);
    QCOMPARE(ask(action), replies);
}

void tst_XMLCommServer::publicationsAreOneJobEach()
{
    XMLAction action(QStringLiteral("request"), XMLCommServer::REQUEST_PUBLICATIONS, 0);
    QCOMPARE(ask(action).size(), 1);
    std::list<QDomNode> records;
    agent->packets.front()->getNodesOfType(XMLObject::XML_PACKETABLE, records);
    const auto fieldOf = [](const QDomNode &record, unsigned int tag) {
        return record.firstChildElement().firstChildElement(QString::number(tag, 16)).attribute(XMLPacketable::VALUE);
    };
    // The lowest page, of equal ones the first; the element is named by the publication, the job keeps its name.
    QCOMPARE(fieldOf(records.front(), TAG_NAME), QStringLiteral("d2"));
    QCOMPARE(fieldOf(records.back(), TAG_NAME), QStringLiteral("w1 first"));
    QCOMPARE(fieldOf(records.back(), TAG_JOB_PUBLICATION), QStringLiteral("Weekly 100%"));
}

void tst_XMLCommServer::recordsOfAReply()
{
    const struct {
        int request;
        const char *datatype;
        bool nested;
    } rows[] = {{1000, "8", false}, {1003, "15", false}, {1002, "56", true}};
    for (const auto &row : rows) {
        XMLAction action(QStringLiteral("request"), row.request, 0);
        ask(action);
        std::list<QDomNode> records;
        agent->packets.front()->getNodesOfType(XMLObject::XML_PACKETABLE, records);
        QVERIFY(records.size() > 1);
        for (const QDomNode &record : records) {
            QCOMPARE(record.toElement().attribute(XMLPacketable::DATATYPE), QString::fromLatin1(row.datatype));
            QVERIFY(!record.toElement().hasAttribute(XMLPacketable::IS_CURRENT));
            const QDomElement item = record.firstChildElement();
            QCOMPARE(item.tagName(), XMLPacketable::ITEM);
            QVERIFY(item.childNodes().size() > 2);
            // Jobs are sent without their lists, books with theirs.
            QCOMPARE(!item.firstChildElement(XMLPacketable::LIST).isNull(), row.nested);
        }
    }
}

void tst_XMLCommServer::keysInTheAction()
{
    // A list that is present but empty, or malformed, counts as no keys.
    XMLAction action(QStringLiteral("request"), XMLCommServer::REQUEST_BOOKS, 0);
    action.setZQKEYList({});
    QCOMPARE(ask(action), QStringList{QStringLiteral("Book C|Book A|Book B")});
    XMLAction malformed(QStringLiteral("request"), XMLCommServer::REQUEST_BOOKS, 0);
    QDomElement node = malformed.getNode();
    XMLObject::setProperty(node, QStringLiteral("zqkey_hkey_list"), QStringLiteral("1 x"));
    XMLObject::setProperty(node, QStringLiteral("zqkey_key_list"), QStringLiteral("1"));
    QCOMPARE(ask(malformed), QStringList{QStringLiteral("Book C|Book A|Book B")});
}

void tst_XMLCommServer::firstActionDecides()
{
    XMLAction first(QStringLiteral("request"), XMLCommServer::REQUEST_BOOKS, 0);
    XMLAction second(QStringLiteral("request"), XMLCommServer::REQUEST_OUTPUTS, 0);
    XMLMessage message(QStringLiteral("in front"));
    XMLPacket *const packet = agent->getXMLPacket(-1);
    packet->appendV(message);
    packet->appendV(first);
    packet->appendV(second);
    router->send(packet);
    QCoreApplication::processEvents();
    QCOMPARE(agent->packets.size(), std::size_t(1));
    std::list<QDomNode> records;
    QCOMPARE(agent->packets.front()->getNodesOfType(XMLObject::XML_PACKETABLE, records), 3);
    QCOMPARE(records.front().toElement().attribute(XMLPacketable::DATATYPE), QStringLiteral("56"));
}

void tst_XMLCommServer::packetsWithoutARequest_data()
{
    QTest::addColumn<bool>("empty");
    QTest::newRow("an empty packet is deleted at once") << true;
    QTest::newRow("one without an action is deleted later") << false;
}

void tst_XMLCommServer::packetsWithoutARequest()
{
    QFETCH(bool, empty);
    XMLCommServer commServer(server.get());
    commServer.receive(nullptr);
    QPointer<XMLPacket> packet = agent->getXMLPacket(-1);
    XMLMessage message;
    if (!empty)
        packet->appendV(message);
    commServer.receive(packet);
    QCOMPARE(packet.isNull(), empty);
    QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
    QVERIFY(packet.isNull());
    QVERIFY(agent->packets.empty());
}

void tst_XMLCommServer::withoutAServer_data()
{
    QTest::addColumn<int>("type");
    QTest::addColumn<bool>("keys");
    QTest::addColumn<QStringList>("replies");
    for (const bool keys : {false, true}) {
        QTest::newRow(keys ? "outputs, keys" : "outputs") << 1000 << keys << QStringList();
        QTest::newRow(keys ? "publications, keys" : "publications") << 1001 << keys << QStringList();
        QTest::newRow(keys ? "books, keys" : "books") << 1002 << keys << QStringList();
        QTest::newRow(keys ? "jobs, keys" : "jobs") << 1003 << keys << QStringList{QStringLiteral("-")};
    }
}

void tst_XMLCommServer::withoutAServer()
{
    QFETCH(int, type);
    QFETCH(bool, keys);
    QFETCH(QStringList, replies);
    router->remove(agent.get());
    router = std::make_unique<XMLRouter>(nullptr);
    router->add(agent.get());
    XMLAction action(QStringLiteral("request"), type, 0);
    ZQKEY_ELEMENT key{0xa3, 7};
    if (keys)
        action.setZQKEYList({&key});
    QCOMPARE(ask(action), replies);
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
    QCOMPARE(lengthOf(commServer.getDBList(OUTPUT_LIST_TYPE), DBLIST_ENTRY_TYPE), 3);
    QCOMPARE(lengthOf(commServer.getDBList(BOOK_LIST_TYPE), DBLIST_ENTRY_TYPE), 2);
    QVERIFY2(!commServer.getDBList(JOB_TYPE), "no such list: the server reports an error");
    QCOMPARE(lengthOf(commServer.getZQJOBs(press), JOB_TYPE), 4);
    QCOMPARE(lengthOf(commServer.getZQJOBs({&press, nullptr, &press}), JOB_TYPE), 8);
    QCOMPARE(lengthOf(commServer.getBooks(weekly), BOOK_TYPE), 2);
    QCOMPARE(lengthOf(commServer.getBooks({nullptr, &weekly}), BOOK_TYPE), 2);
    QVERIFY(!commServer.getZQJOBs(QList<ZQKEY_ELEMENT *>()));
    QVERIFY(!commServer.getBooks(QList<ZQKEY_ELEMENT *>()));
}

void tst_XMLCommServer::databaseErrors()
{
    run("ALTER TABLE outputs RENAME TO away");
    XMLAction outputs(QStringLiteral("request"), XMLCommServer::REQUEST_OUTPUTS, 0);
    XMLAction jobs(QStringLiteral("request"), XMLCommServer::REQUEST_JOBS, 0);
    XMLAction books(QStringLiteral("request"), XMLCommServer::REQUEST_BOOKS, 0);
    QCOMPARE(ask(outputs), QStringList());
    QCOMPARE(ask(jobs), QStringList{QStringLiteral("-")});
    QCOMPARE(ask(books), QStringList{QStringLiteral("Book C|Book A|Book B")});
    run("ALTER TABLE away RENAME TO outputs");
    XMLAction again(QStringLiteral("request"), XMLCommServer::REQUEST_JOBS, 0);
    QCOMPARE(ask(again), QStringList{QStringLiteral("single 1|single 2")});
}

void tst_XMLCommServer::jobsWithoutAnyOutput()
{
    router->remove(agent.get());
    router.reset();
    QString error;
    server = std::make_unique<ZQCommServer>(ZQOpenStore(file, &error));
    router = std::make_unique<XMLRouter>(server.get());
    router->add(agent.get());
    for (const int type : {1000, 1001, 1002, 1003}) {
        XMLAction action(QStringLiteral("request"), type, 0);
        QCOMPARE(ask(action), type == 1003 ? QStringList{QStringLiteral("-")} : QStringList());
    }
}

QTEST_GUILESS_MAIN(tst_XMLCommServer)
#include "tst_xmlcommserver.moc"
