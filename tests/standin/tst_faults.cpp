// SPDX-FileCopyrightText: 2026 The zqxml developers
// SPDX-License-Identifier: MIT

#include "testtools.h"

#include <standin/zqstandin.h>
#include <zqxml/xmlaction.h>
#include <zqxml/xmlcommserver.h>
#include <zqxml/xmlpacketable.h>

#include <QFile>
#include <QSqlDatabase>
#include <QSqlQuery>
#include <QTemporaryDir>
#include <QtTest>

namespace {

constexpr int silence = -1;
constexpr int asBefore = -2;

} // namespace

Q_DECLARE_METATYPE(bool ZQFAULTS::*)

/** What a requester gets when the record library or its database fails, and that the next request works again. */
class tst_Faults : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase();
    void init();
    void cleanup();
    void recordLibrary_data();
    void recordLibrary();
    void recordsWithoutText();
    void recordsThatAreNone_data();
    void recordsThatAreNone();
    void database_data();
    void database();
    void lockedDatabase();

private:
    /** Returns the number of records in the reply to a request, or silence. */
    int ask(int code, bool byKey)
    {
        XMLAction action(QString(), code, 0);
        action.setExcludePublications(false);
        if (byKey)
            action.setZQKEYList({&key});
        XMLPacket *const packet = agent->getXMLPacket(-1);
        packet->append(action);
        agent->packets.clear();
        router->send(packet);
        QCoreApplication::processEvents();
        QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
        if (agent->packets.empty())
            return silence;
        std::list<QDomNode> records;
        const int count = agent->packets.front()->getNodesOfType(XMLObject::XML_PACKETABLE, records);
        converters += code == XMLCommServer::REQUEST_OUTPUTS; // one is left to the record library by each reply
        return count;
    }

    /** Returns the answers to each request, the last two by the key of an output. */
    QList<int> askAll()
    {
        return {ask(XMLCommServer::REQUEST_OUTPUTS, false),     ask(XMLCommServer::REQUEST_PUBLICATIONS, false),
                ask(XMLCommServer::REQUEST_BOOKS, false),       ask(XMLCommServer::REQUEST_JOBS, false),
                ask(XMLCommServer::REQUEST_PUBLICATIONS, true), ask(XMLCommServer::REQUEST_JOBS, true)};
    }

    static QList<int> expectedAnswers(QList<int> answers, const QList<int> &before)
    {
        for (int i = 0; i < answers.size(); ++i) {
            if (answers.at(i) == asBefore)
                answers[i] = before.at(i);
        }
        return answers;
    }

    bool write(const QByteArray &bytes) const
    {
        QFile store(file);
        return store.open(QIODevice::WriteOnly) && store.write(bytes) == bytes.size();
    }

    void open()
    {
        router.reset();
        server = std::make_unique<ZQCommServer>(ZQOpenStore(file, nullptr));
        router = std::make_unique<XMLRouter>(server.get());
        agent = std::make_unique<RecordingAgent>();
        router->add(agent.get());
    }

    bool execute(const char *statement) const
    {
        QSqlQuery query(QSqlDatabase::database(QStringLiteral("other")));
        return query.exec(QLatin1String(statement));
    }

    QTemporaryDir folder;
    QString file;
    QByteArray content;
    std::unique_ptr<ZQCommServer> server;
    std::unique_ptr<XMLRouter> router;
    std::unique_ptr<RecordingAgent> agent;
    ZQKEY_ELEMENT key{};
    unsigned int converters = 0;
};

void tst_Faults::initTestCase()
{
    file = folder.filePath(QStringLiteral("shop.db"));
    ZQSTORESIZE size;
    size.outputs = 3;
    size.publications = 4;
    size.jobs = 200;
    size.books = 6;
    QVERIFY(ZQCreateStore(file, size, {}, nullptr));
    QFile store(file);
    QVERIFY(store.open(QIODevice::ReadOnly));
    content = store.readAll();
}

void tst_Faults::init()
{
    QFile::remove(file);
    QVERIFY(write(content));
    QSqlDatabase other = QSqlDatabase::addDatabase(QStringLiteral("QSQLITE"), QStringLiteral("other"));
    other.setDatabaseName(file);
    QVERIFY(other.open());
    open();
    ZQLPCOMMANDS commands{};
    BM_MESSAGE_ID messageId{};
    ZQLIST_ELEMENT *outputs = server->getDBList(commands, messageId, OUTPUT_LIST_TYPE);
    QVERIFY(outputs);
    key = static_cast<ZQDBLIST_ENTRY *>(outputs)->key;
    ZQPacketFreeList(&outputs, DBLIST_ENTRY_TYPE);
}

void tst_Faults::cleanup()
{
    ZQFaults() = ZQFAULTS();
    router.reset();
    server.reset();
    agent.reset();
    QSqlDatabase::removeDatabase(QStringLiteral("other"));
    QCOMPARE(ZQLiveConverters(), converters);
    QCOMPARE(ZQLiveRecords(), converters);
}

void tst_Faults::recordLibrary_data()
{
    QTest::addColumn<bool ZQFAULTS::*>("fault");
    QTest::addColumn<QList<int>>("answers");
    QTest::newRow("records without a text are counted, too")
        << &ZQFAULTS::noText << QList<int>{asBefore, asBefore, asBefore, asBefore, asBefore, asBefore};
    QTest::newRow("a reply reads no text")
        << &ZQFAULTS::refusedText << QList<int>{asBefore, asBefore, asBefore, asBefore, asBefore, asBefore};
    QTest::newRow("only the converter of outputs is asked for by its type")
        << &ZQFAULTS::unknownTypes << QList<int>{silence, asBefore, asBefore, asBefore, asBefore, asBefore};
    QTest::newRow("nothing is found") << &ZQFAULTS::emptyChains << QList<int>{silence, silence, silence, 0, silence, 0};
    QTest::newRow("broken chains") << &ZQFAULTS::brokenChains << QList<int>{silence, silence, silence, 0, 0, 1};
}

void tst_Faults::recordLibrary()
{
    QFETCH(bool ZQFAULTS::*, fault);
    QFETCH(QList<int>, answers);
    const QList<int> before = askAll();
    QVERIFY(*std::min_element(before.begin(), before.end()) > 0);
    ZQFaults().*fault = true;
    const QList<int> expected = expectedAnswers(answers, before);
    QList<int> found = askAll();
    if (fault == &ZQFAULTS::brokenChains) // the one job of the chain may be a page of a publication
        found[4] = qMin(found.at(4), 0);
    QCOMPARE(found, expected);
    ZQFaults().*fault = false;
    QCOMPARE(askAll(), before);
}

void tst_Faults::recordsWithoutText()
{
    ZQFaults().noText = true;
    QVERIFY(ask(XMLCommServer::REQUEST_OUTPUTS, false) > 0);
    std::list<QDomNode> records;
    agent->packets.front()->getNodesOfType(XMLObject::XML_PACKETABLE, records);
    for (const QDomNode &record : records) {
        QVERIFY(!record.hasChildNodes());
        QVERIFY(!record.toElement().attribute(XMLPacketable::NAME).isEmpty());
    }
}

void tst_Faults::recordsThatAreNone_data()
{
    QTest::addColumn<bool ZQFAULTS::*>("fault");
    QTest::newRow("refused text") << &ZQFAULTS::refusedText;
    QTest::newRow("unknown type") << &ZQFAULTS::unknownTypes;
}

void tst_Faults::recordsThatAreNone()
{
    QFETCH(bool ZQFAULTS::*, fault);
    QVERIFY(ask(XMLCommServer::REQUEST_JOBS, true) > 0);
    std::list<QDomNode> records;
    agent->packets.front()->getNodesOfType(XMLObject::XML_PACKETABLE, records);
    XMLPacketable object;
    object.setNode(records.front().toElement());
    ZQFaults().*fault = true;
    QVERIFY(!object.getDataConst());
    QVERIFY(!object.getData());
    ZQFaults().*fault = false;
    QVERIFY(std::unique_ptr<ZQPacketable>(object.getData()));
    ZQFaults().*fault = true;
    QVERIFY(object.getDataConst()); // kept from before
}

void tst_Faults::database_data()
{
    QTest::addColumn<QByteArray>("damage"); // a statement, or what happens to the file
    QTest::addColumn<QList<int>>("answers");
    const QList<int> all{asBefore, asBefore, asBefore, asBefore, asBefore, asBefore};
    QTest::newRow("a file that became read-only") << QByteArray("read-only") << all;
    QTest::newRow("a file that was deleted stays readable") << QByteArray("deleted") << all;
    const QList<int> nothing{silence, silence, silence, 0, silence, 0};
    QTest::newRow("an empty file") << QByteArray("emptied") << nothing;
    QTest::newRow("half a file") << QByteArray("cut in half") << nothing;
    QTest::newRow("no database any more") << QByteArray("overwritten") << nothing;
    QTest::newRow("half of the pages are lost") << QByteArray("torn") << nothing;
    QTest::newRow("no jobs table: the list of outputs counts its jobs")
        << QByteArray("DROP TABLE jobs") << QList<int>{silence, silence, asBefore, 0, silence, 0};
    QTest::newRow("no books table: nothing of jobs is lost")
        << QByteArray("DROP TABLE books") << QList<int>{asBefore, asBefore, silence, asBefore, asBefore, asBefore};
    QTest::newRow("another schema") << QByteArray("ALTER TABLE jobs RENAME COLUMN paper TO parchment")
                                    << QList<int>{asBefore, silence, asBefore, 0, silence, 0};
}

void tst_Faults::database()
{
    QFETCH(QByteArray, damage);
    QFETCH(QList<int>, answers);
    const QList<int> before = askAll();
    if (damage == "read-only")
        QVERIFY(QFile::setPermissions(file, QFile::ReadOwner));
    else if (damage == "deleted")
        QVERIFY(QFile::remove(file));
    else if (damage == "emptied")
        QVERIFY(QFile::resize(file, 0));
    else if (damage == "cut in half")
        QVERIFY(QFile::resize(file, content.size() / 2));
    else if (damage == "overwritten")
        QVERIFY(write(QByteArray(content.size(), 'x')));
    else if (damage == "torn") {
        QVERIFY(write(content.left(content.size() / 2) + QByteArray(content.size() / 2, '\0')));
        open(); // what a server has read once it does not read again
    } else {
        QVERIFY(execute(damage.constData()));
    }
    const unsigned int failed = ZQFailedCalls();
    QCOMPARE(askAll(), expectedAnswers(answers, before));
    QCOMPARE(ZQFailedCalls() > failed, answers.contains(silence));
    // Another server over what was there works.
    router.reset();
    server.reset();
    QSqlDatabase::removeDatabase(QStringLiteral("other"));
    init();
    QCOMPARE(askAll(), before);
}

// The driver waits for the lock, some seconds a call.
void tst_Faults::lockedDatabase()
{
    const int before = ask(XMLCommServer::REQUEST_OUTPUTS, false);
    QVERIFY(execute("BEGIN EXCLUSIVE"));
    const unsigned int failed = ZQFailedCalls();
    QCOMPARE(ask(XMLCommServer::REQUEST_OUTPUTS, false), silence);
    QCOMPARE(ZQFailedCalls(), failed + 1);
    QVERIFY(execute("ROLLBACK"));
    QCOMPARE(ask(XMLCommServer::REQUEST_OUTPUTS, false), before);
}

QTEST_GUILESS_MAIN(tst_Faults)
#include "tst_faults.moc"
