// SPDX-FileCopyrightText: 2026 The zqxml developers
// SPDX-License-Identifier: MIT

#include <standin/zqstandin.h>
#include <zqxml/xmlcommserver.h>
#include <zqxmlkit/testing.h>
#include <zqxmlkit/xmlrecordserver.h>
#include <zqxmlkit/xmlrequester.h>

#include <QSignalSpy>
#include <QTemporaryDir>
#include <QTest>

#include <testtools.h>

#include <random>

namespace {

constexpr int requests[] = {XMLCommServer::REQUEST_OUTPUTS, XMLCommServer::REQUEST_PUBLICATIONS,
                            XMLCommServer::REQUEST_BOOKS, XMLCommServer::REQUEST_JOBS};

QStringList dumpRecords(const XMLRecords &records)
{
    QStringList lines;
    for (const XMLRecord &record : records)
        lines << dump(record.element());
    return lines;
}

} // namespace

/** Compares pages of random requests to random stores with the one answer of the comm server agent. */
class TestPages : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase();
    void randomRequests();
    void failures();
    void ends();
    void cleanupTestCase();

private:
    struct Outcome {
        QStringList records;
        int state = 0;
        int pages = 0;
    };

    int draw(int below)
    {
        return static_cast<int>(random() % static_cast<unsigned int>(below));
    }

    ZQCommServer *openStore(unsigned int seed);
    void makeRequest(XMLAction &action, ZQCommServer &server);
    QStringList askCommServer(XMLAction &action);
    Outcome askForPages(XMLAction &action, int pageSize, int stopAfter = -1);

    std::mt19937 random{1};
    QTemporaryDir folder;
    std::unique_ptr<ZQCommServer> server;
    std::unique_ptr<XMLRouter> router;
    std::unique_ptr<XMLRecordServer> pageServer;
    std::unique_ptr<XMLRequester> requester;
    unsigned int recordsBefore = 0;
    unsigned int convertersBefore = 0;
};

void TestPages::initTestCase()
{
    recordsBefore = ZQLiveRecords();
    convertersBefore = ZQLiveConverters();
}

/** Makes a store of a random size and all that asks it. */
ZQCommServer *TestPages::openStore(unsigned int seed)
{
    ZQSTORESIZE size;
    size.outputs = static_cast<unsigned int>(draw(5));
    size.publications = static_cast<unsigned int>(draw(6));
    size.jobs = size.outputs > 0 ? static_cast<unsigned int>(draw(60)) : 0;
    size.books = size.publications > 0 ? static_cast<unsigned int>(draw(8)) : 0;
    size.seed = seed;
    const QString file = folder.filePath(QString::number(seed));
    QString error;
    if (!ZQCreateStore(file, size, {}, &error))
        qFatal("%s", qPrintable(error));
    requester.reset();
    pageServer.reset();
    router.reset();
    server = std::make_unique<ZQCommServer>(ZQOpenStore(file, &error));
    router = std::make_unique<XMLRouter>(server.get());
    pageServer = std::make_unique<XMLRecordServer>(server.get(), router.get(), 200);
    requester = std::make_unique<XMLRequester>(router.get());
    return server.get();
}

/** Asks for anything, by some of the keys that there are, twice the same among them, and by unknown ones. */
void TestPages::makeRequest(XMLAction &action, ZQCommServer &commServer)
{
    action.setType(requests[draw(4)]);
    if (draw(2) == 0)
        action.setExcludePublications(draw(2) == 0);
    if (draw(2) == 0)
        return;
    ZQLPCOMMANDS commands{};
    BM_MESSAGE_ID messageId{};
    const bool ofBooks = action.getType() == XMLCommServer::REQUEST_BOOKS;
    ZQLIST_ELEMENT *entries = commServer.getDBList(commands, messageId, ofBooks ? BOOK_LIST_TYPE : OUTPUT_LIST_TYPE);
    QList<ZQKEY_ELEMENT> keys;
    for (ZQLIST_ELEMENT *entry = entries; entry; entry = entry->next) {
        for (int times = draw(3); times > 0; --times)
            keys.insert(draw(static_cast<int>(keys.size()) + 1), static_cast<ZQDBLIST_ENTRY *>(entry)->key);
    }
    ZQPacketFreeList(&entries, DBLIST_ENTRY_TYPE);
    if (draw(3) == 0)
        keys.append({0xdead, 0xbeef});
    XMLRequester::setKeys(action, keys);
}

QStringList TestPages::askCommServer(XMLAction &action)
{
    XMLReply *const reply = requester->request(XMLRouter::getXMLCommServerID(), action);
    while (reply->state() == XMLReply::Waiting)
        QCoreApplication::processEvents();
    const QStringList records = dumpRecords(reply->records());
    delete reply;
    return records;
}

TestPages::Outcome TestPages::askForPages(XMLAction &action, int pageSize, int stopAfter)
{
    Outcome outcome;
    XMLPages *const pages = requester->pages(pageServer->getAgentID(), action, pageSize);
    bool isOver = false;
    connect(pages, &XMLPages::finished, this, [&isOver] { isOver = true; });
    connect(pages, &XMLPages::pageReceived, this, [&] {
        if (outcome.pages == stopAfter)
            return pages->cancel();
        QCOMPARE(pages->position(), static_cast<int>(outcome.records.size()));
        const std::unique_ptr<XMLPacket> page = pages->takePage();
        const QStringList records = dumpRecords(XMLRecords(*page));
        QVERIFY(records.size() <= pageSize);
        QVERIFY(records.size() == pageSize || pages->state() != XMLPages::Waiting);
        outcome.records += records;
        ++outcome.pages;
    });
    while (!isOver)
        QCoreApplication::processEvents();
    outcome.state = pages->state();
    delete pages;
    return outcome;
}

void TestPages::randomRequests()
{
    for (unsigned int seed = 0; seed < 20; ++seed) {
        ZQCommServer *const commServer = openStore(seed);
        for (int i = 0; i < 10; ++i) {
            XMLAction action;
            makeRequest(action, *commServer);
            const QStringList expected = askCommServer(action);
            const int pageSize = 1 + draw(12);
            const Outcome outcome = askForPages(action, pageSize);
            QCOMPARE(outcome.records, expected);
            QCOMPARE(outcome.state, int{XMLPages::Answered});
            const int pages = static_cast<int>((expected.size() + pageSize - 1) / pageSize);
            QCOMPARE(outcome.pages, std::max(pages, 1));
            QCOMPARE(pageServer->openCursors(), 0);

            const int stopAfter = draw(pages + 1);
            const Outcome stopped = askForPages(action, pageSize, stopAfter);
            QCOMPARE(stopped.records, QStringList(expected.mid(0, stopAfter * pageSize)));
            QCOMPARE(stopped.state, int{stopAfter < std::max(pages - 1, 0) ? XMLPages::Cancelled : stopped.state});
            QCOMPARE(pageServer->openCursors(), 0);
        }
    }
}

/** A failure in the middle is told from the end, and what came before it is good. */
void TestPages::failures()
{
    XMLAction action;
    action.setType(XMLCommServer::REQUEST_JOBS);
    action.setExcludePublications(false);
    bool isTried = false;
    for (unsigned int seed = 1000; !isTried; ++seed) {
        openStore(seed);
        const QStringList all = askCommServer(action);
        XMLPages *const pages = requester->pages(pageServer->getAgentID(), action, 1);
        QStringList records;
        connect(pages, &XMLPages::pageReceived, this, [&] {
            isTried = isTried || pages->sourcesDone() < pages->sources();
            ZQFaults().brokenChains = true;
            const std::unique_ptr<XMLPacket> page = pages->takePage();
            records += dumpRecords(XMLRecords(*page));
        });
        QSignalSpy finished(pages, &XMLPages::finished);
        QTRY_COMPARE(finished.count(), 1);
        ZQFaults().brokenChains = false;
        QCOMPARE(pages->state(), isTried ? XMLPages::Failed : XMLPages::Answered);
        // A list that breaks off still gives its first record, so nothing is missing until then.
        QCOMPARE(records, QStringList(isTried ? all.mid(0, records.size()) : all.mid(0)));
    }
    ZQFaults().brokenChains = true;
    QCOMPARE(askForPages(action, 3).state, int{XMLPages::Failed}); // at the list of outputs
    ZQFaults().brokenChains = false;
}

/** However pages end, the records and the cursor go. */
void TestPages::ends()
{
    for (int end = 0; end < 5; ++end) {
        openStore(2000 + static_cast<unsigned int>(end));
        XMLAction action;
        action.setType(XMLCommServer::REQUEST_JOBS);
        action.setExcludePublications(false);
        pageServer->setPatience(1);
        QPointer<XMLPages> pages = requester->pages(pageServer->getAgentID(), action, 1);
        bool hasPage = false;
        connect(pages, &XMLPages::pageReceived, this, [&, this] {
            hasPage = true;
            if (end == 1)
                delete pages;
            else if (end == 2)
                requester.reset();
            else if (end == 3)
                pageServer.reset();
            else if (end == 4)
                router.reset();
        });
        QTRY_VERIFY(hasPage);
        if (pageServer)
            QTRY_COMPARE(pageServer->openCursors(), 0);
        if (end == 0 && pages && pages->state() == XMLPages::Waiting) { // it was too late when the page was taken
            QVERIFY(pages->takePage());
            QTRY_COMPARE(pages->state(), XMLPages::Failed);
        }
        if (end == 3 || end == 4)
            QTRY_VERIFY(pages->state() != XMLPages::Waiting);
    }
}

void TestPages::cleanupTestCase()
{
    requester.reset();
    pageServer.reset();
    router.reset();
    server.reset();
    // The comm server agent leaves the converter of each answer of outputs to the record library, with its last entry.
    QCOMPARE(ZQLiveRecords() - recordsBefore, ZQLiveConverters() - convertersBefore);
}

QTEST_GUILESS_MAIN(TestPages)

#include "tst_pages.moc"
