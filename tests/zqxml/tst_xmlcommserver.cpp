// SPDX-FileCopyrightText: 2026 The zqxml developers
// SPDX-License-Identifier: MIT

#include "testtools.h"

#include <standin/zqstandin.h>
#include <zqxml/xmlaction.h>
#include <zqxml/xmlcommserver.h>
#include <zqxml/xmlmessage.h>
#include <zqxml/xmlpacketable.h>

#include <QPointer>
#include <QRandomGenerator>
#include <QSqlDatabase>
#include <QSqlError>
#include <QSqlQuery>
#include <QTemporaryDir>

#include <map>

namespace {

/** A row of any table of the store. */
struct Row {
    unsigned int id;
    QString key;
    QString name;
    unsigned int publication;
    qint64 output;
    qint64 arrived;
    qint64 queue;
    int page;
};
using Rows = std::vector<Row>;

QString keyText(const ZQKEY_ELEMENT &key)
{
    return QString::number(key.key, 16) + QLatin1Char(':') + QString::number(key.hkey, 16);
}

/** What the store holds, and what is to be answered from it: one line a record. */
struct Model {
    Rows outputs;
    Rows publications;
    Rows jobs; // in the order of arrival
    Rows books;

    static QStringList keysOf(const Rows &rows)
    {
        QStringList keys;
        for (const Row &row : rows)
            keys << row.key;
        return keys;
    }

    Rows jobsOf(const QStringList &keys) const
    {
        Rows found;
        for (const QString &key : keys.isEmpty() ? keysOf(outputs) : keys) {
            for (const Row &output : outputs) {
                for (const Row &job : jobs) {
                    if (output.key == key && job.output == output.id && job.queue == 3)
                        found.push_back(job);
                }
            }
        }
        return found;
    }

    static QString line(const Row &row, const QString &name, const char *type)
    {
        return name + QLatin1Char(' ') + QLatin1String(type) + QLatin1Char(' ') + row.key;
    }

    QStringList answer(int request, const QStringList &keys, bool excludePublications) const
    {
        QStringList lines;
        if (request == 1000) {
            for (const Row &output : outputs)
                lines << line(output, output.name, "8");
        } else if (request == 1001) {
            std::map<unsigned int, Row> chosen;
            for (const Row &job : jobsOf(keys)) {
                if (job.publication != 0 && job.page < chosen.try_emplace(job.publication, job).first->second.page)
                    chosen[job.publication] = job;
            }
            for (const auto &[id, job] : chosen) {
                for (const Row &publication : publications) {
                    if (publication.id == id)
                        lines << line(job, publication.name, "15");
                }
            }
        } else if (request == 1002) {
            for (const QString &key : keys.isEmpty() ? keysOf(publications) : keys) {
                for (const Row &book : books) {
                    for (const Row &publication : publications) {
                        if (publication.key == key && book.publication == publication.id)
                            lines << line(book, book.name, "56 with lists");
                    }
                }
            }
        } else if (request == 1003) {
            for (const Row &job : jobsOf(keys)) {
                if (job.publication == 0 || !excludePublications)
                    lines << line(job, job.name, "15");
            }
        }
        return lines;
    }

    bool isAnswered(int request, const QStringList &keys, bool excludePublications) const
    {
        return request == 1003 || (request == 1001 && !jobsOf(keys).empty())
            || !answer(request, keys, excludePublications).isEmpty();
    }
};

} // namespace

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
    QSqlQuery run(const QString &statement) const
    {
        QSqlQuery query(statement, QSqlDatabase::database(QStringLiteral("test")));
        if (query.lastError().isValid())
            qFatal("%s: %s", qPrintable(statement), qPrintable(query.lastError().text()));
        return query;
    }

    Rows rowsOf(const char *columns, const char *from) const
    {
        Rows rows;
        QSqlQuery query = run(QStringLiteral("SELECT id, zqkey, hkey, name, %1 FROM %2")
                                  .arg(QLatin1String(columns), QLatin1String(from)));
        while (query.next()) {
            const auto number = [&query](int column) { return query.value(column).toLongLong(); };
            rows.push_back({query.value(0).toUInt(), keyText({query.value(1).toUInt(), query.value(2).toUInt()}),
                            query.value(3).toString(), query.value(4).toUInt(), number(5), number(6), number(7),
                            query.value(8).toInt()});
        }
        return rows;
    }

    /** Sends a packet with \a actions from an agent and returns the lines of each reply that it gets. */
    QList<QStringList> ask(RecordingAgent &agent, const QList<XMLAction *> &actions)
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
        QList<QStringList> replies;
        for (const auto &reply : agent.packets) {
            if (reply->getSourceAgentID() != -1 || reply->getDestinationAgentID() != agent.getAgentID())
                return {{QStringLiteral("wrong addresses")}};
            std::list<QDomNode> records;
            reply->getNodesOfType(XMLObject::XML_PACKETABLE, records);
            replies << QStringList();
            for (const QDomNode &record : records)
                replies.last() << lineOf(record.toElement());
        }
        agent.packets.clear();
        return replies;
    }

    QList<QStringList> ask(int request)
    {
        XMLAction action(QString(), request, 0);
        return ask(*first, {&action});
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
    Model model;
    std::unique_ptr<ZQCommServer> server;
    std::unique_ptr<XMLRouter> router;
    std::unique_ptr<RecordingAgent> first;
    std::unique_ptr<RecordingAgent> second;
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
    run(QStringLiteral("UPDATE jobs SET page = page / 4 - 3 WHERE publication NOT NULL"));
    run(QStringLiteral("UPDATE publications SET id = id * 400000000"));
    run(QStringLiteral("UPDATE jobs SET publication = publication * 400000000"));
    run(QStringLiteral("UPDATE books SET publication = publication * 400000000"));
    run(QStringLiteral("DELETE FROM jobs WHERE output = 2 AND publication IS NULL OR output = 3"));
    run(QStringLiteral("DELETE FROM books WHERE publication = (SELECT min(publication) FROM books)"));
    model.outputs = rowsOf("0, 0, 0, 0, 0", "outputs ORDER BY id");
    model.publications = rowsOf("0, 0, 0, 0, 0", "publications ORDER BY id");
    model.jobs = rowsOf("publication, output, arrived, queue, page", "jobs ORDER BY arrived, id");
    model.books = rowsOf("publication, 0, 0, 0, 0", "books ORDER BY id");
}

void tst_XMLCommServer::init()
{
    server = std::make_unique<ZQCommServer>(ZQOpenStore(folder.filePath(QStringLiteral("shop.db")), nullptr));
    router = std::make_unique<XMLRouter>(server.get());
    first = std::make_unique<RecordingAgent>();
    second = std::make_unique<RecordingAgent>();
    router->add(first.get());
    router->add(second.get());
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
    QStringList known{QStringLiteral("0:0"), QStringLiteral("deadbeef:1"), model.jobs.front().key};
    known << Model::keysOf(model.outputs) << Model::keysOf(model.publications);
    QRandomGenerator random(1);
    const auto below = [&random](int limit) { return int(random.bounded(quint32(limit))); };
    for (int round = 0; round < 400; ++round) {
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
        const int broken =
            below(8); // both lists are needed, a part that is no number empties one, extra parts are left out
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
        RecordingAgent &sender = below(2) ? *first : *second;
        QList<QStringList> expected;
        if (model.isAnswered(request, keys, exclude < 2))
            expected << model.answer(request, keys, exclude < 2);
        const QList<QStringList> found =
            ask(sender, below(2) ? QList<XMLAction *>{&action, &behind} : QList<XMLAction *>{&action});
        QVERIFY2(found == expected, qPrintable(QStringLiteral("round %1: %2").arg(round).arg(dump(node))));
        QVERIFY((&sender == first.get() ? second : first)->packets.empty());
    }
}

void tst_XMLCommServer::faults_data()
{
    QTest::addColumn<bool ZQFAULTS::*>("fault");
    QTest::addColumn<QList<int>>("counts"); // of records in the replies to 1000, 1001, 1002 and 1003; -1 for no reply
    const auto count = [this](int request) { return int(model.answer(request, QStringList(), true).size()); };
    const QList<int> all{count(1000), count(1001), count(1002), count(1003)};
    QTest::newRow("records without a text are sent, too") << &ZQFAULTS::noText << all;
    QTest::newRow("a reply reads no text") << &ZQFAULTS::refusedText << all;
    QTest::newRow("only the converter of outputs is asked for by its type")
        << &ZQFAULTS::unknownTypes << QList<int>{-1, all.at(1), all.at(2), all.at(3)};
    QTest::newRow("nothing is found") << &ZQFAULTS::emptyChains << QList<int>{-1, -1, -1, 0};
    QTest::newRow("what comes with an error is not looked at") << &ZQFAULTS::brokenChains << QList<int>{-1, -1, -1, 0};
}

void tst_XMLCommServer::faults()
{
    QFETCH(bool ZQFAULTS::*, fault);
    QFETCH(QList<int>, counts);
    ZQFaults().*fault = true;
    for (int i = 0; i < 4; ++i) {
        const QList<QStringList> replies = ask(1000 + i);
        QCOMPARE(replies.isEmpty() ? -1 : int(replies.first().size()), counts.at(i));
    }
    outputsReplies = counts.at(0) > 0;
    ZQFaults() = ZQFAULTS();
    QCOMPARE(ask(1003), QList<QStringList>{model.answer(1003, {}, true)});
}

void tst_XMLCommServer::withoutAServer()
{
    router->remove(first.get());
    router = std::make_unique<XMLRouter>(nullptr);
    router->add(first.get());
    ZQKEY_ELEMENT key{1, 2};
    for (int request = 1000; request < 1004; ++request) {
        XMLAction action(QString(), request, 0);
        action.setZQKEYList({&key});
        const QList<QStringList> expected = request == 1003 ? QList<QStringList>{QStringList()} : QList<QStringList>();
        QCOMPARE(ask(*first, {&action}), expected);
        QCOMPARE(ask(request), expected);
    }
    outputsReplies = 0;
}

void tst_XMLCommServer::packetsWithoutARequest()
{
    XMLCommServer commServer(server.get());
    commServer.receive(nullptr);
    for (const bool empty : {true, false}) { // an empty packet is deleted at once, another one later
        QPointer<XMLPacket> packet = first->getXMLPacket(-1);
        XMLMessage message;
        if (!empty)
            packet->append(message);
        commServer.receive(packet);
        QCOMPARE(packet.isNull(), empty);
        QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
        QVERIFY(packet.isNull());
    }
}

void tst_XMLCommServer::queries()
{
    XMLCommServer commServer(server.get()); // which has no router
    QCOMPARE(commServer.getAgentType(), 0);
    QVERIFY(!commServer.wantAgentRemovalNotifications());
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
    QCOMPARE(count, 2 * int(model.jobsOf({keyText(key)}).size()));
    ZQPacketFreeList(&outputs, DBLIST_ENTRY_TYPE);
    ZQPacketFreeList(&jobs, JOB_TYPE);
}

ZQXML_TEST_MAIN(tst_XMLCommServer)
#include "tst_xmlcommserver.moc"
