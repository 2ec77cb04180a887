// SPDX-FileCopyrightText: 2026 The zqxml developers
// SPDX-License-Identifier: MIT

#include <standin/zqstandin.h>
#include <zqxml/xmlcommserver.h>
#include <zqxmlkit/testing.h>
#include <zqxmlkit/xmlrecordserver.h>
#include <zqxmlkit/xmlrequester.h>

#include <QTemporaryDir>
#include <QTest>

#include <testtools.h>

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

/** A store of a random size, and all that asks it. */
class Store : public Mischief
{
public:
    struct Outcome {
        QStringList records;
        int state = 0;
        int pages = 0;
        bool isBroken = false;
    };

    explicit Store(quint32 seed) : Mischief(seed)
    {
        ZQSTORESIZE size;
        size.outputs = static_cast<unsigned int>(below(5));
        size.publications = static_cast<unsigned int>(below(6));
        size.jobs = size.outputs > 0 ? static_cast<unsigned int>(below(60)) : 0;
        size.books = size.publications > 0 ? static_cast<unsigned int>(below(8)) : 0;
        size.seed = seed;
        const QString file = folder.filePath(QStringLiteral("store"));
        QString error;
        if (!ZQCreateStore(file, size, {}, &error))
            qFatal("%s", qPrintable(error));
        server = std::make_unique<ZQCommServer>(ZQOpenStore(file, &error));
        router = std::make_unique<XMLRouter>(server.get());
        pageServer = std::make_unique<XMLRecordServer>(server.get(), router.get(), 200);
        requester = std::make_unique<XMLRequester>(router.get());
    }

    /** Asks for anything, by some of the keys that there are, twice the same among them, and by unknown ones. */
    void makeRequest(XMLAction &action)
    {
        action.setType(requests[below(4)]);
        if (below(2) == 0)
            action.setExcludePublications(below(2) == 0);
        if (below(2) == 0)
            return;
        ZQLPCOMMANDS commands{};
        BM_MESSAGE_ID messageId{};
        const bool ofBooks = action.getType() == XMLCommServer::REQUEST_BOOKS;
        ZQLIST_ELEMENT *entries = server->getDBList(commands, messageId, ofBooks ? BOOK_LIST_TYPE : OUTPUT_LIST_TYPE);
        QList<ZQKEY_ELEMENT> keys;
        for (ZQLIST_ELEMENT *entry = entries; entry; entry = entry->next) {
            for (int times = below(3); times > 0; --times)
                keys.insert(below(static_cast<int>(keys.size()) + 1), static_cast<ZQDBLIST_ENTRY *>(entry)->key);
        }
        ZQPacketFreeList(&entries, DBLIST_ENTRY_TYPE);
        if (below(3) == 0)
            keys.append({0xdead, 0xbeef});
        XMLRequester::setKeys(action, keys);
    }

    QStringList askCommServer(XMLAction &action)
    {
        const std::unique_ptr<XMLReply> reply(requester->request(XMLRouter::getXMLCommServerID(), action));
        while (reply->state() == XMLReply::Waiting)
            QCoreApplication::processEvents();
        return dumpRecords(reply->records());
    }

    /** After \a stopAfter pages all lists break off, or no more is asked for. */
    Outcome askForPages(XMLAction &action, int pageSize, int stopAfter = -1, bool breaks = false)
    {
        Outcome outcome;
        const std::unique_ptr<XMLPages> pages(requester->pages(pageServer->getAgentID(), action, pageSize));
        bool isOver = false;
        QObject::connect(pages.get(), &XMLPages::finished, [&isOver] { isOver = true; });
        QObject::connect(pages.get(), &XMLPages::pageReceived, [&] {
            if (outcome.pages == stopAfter && !breaks)
                return pages->cancel();
            if (outcome.pages == stopAfter) {
                outcome.isBroken = pages->sourcesDone() < pages->sources();
                ZQFaults().brokenChains = true;
            }
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
        ZQFaults().brokenChains = false;
        outcome.state = pages->state();
        return outcome;
    }

    QTemporaryDir folder;
    std::unique_ptr<ZQCommServer> server;
    std::unique_ptr<XMLRouter> router;
    std::unique_ptr<XMLRecordServer> pageServer;
    std::unique_ptr<XMLRequester> requester;
};

} // namespace

/** Compares pages of random requests to random stores with the one answer of the comm server agent. */
class TestPages : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void randomRequests();
    void ends();
    void cleanupTestCase();

private:
    const unsigned int recordsBefore = ZQLiveRecords();
    const unsigned int convertersBefore = ZQLiveConverters();
};

void TestPages::randomRequests()
{
    int failures = 0;
    for (quint32 seed = 0; seed < 20; ++seed) {
        Store store(seed);
        for (int i = 0; i < 7; ++i) {
            XMLAction action;
            store.makeRequest(action);
            const QStringList expected = store.askCommServer(action);
            const int pageSize = 1 + store.below(12);
            const Store::Outcome outcome = store.askForPages(action, pageSize);
            QCOMPARE(outcome.records, expected);
            QCOMPARE(outcome.state, int{XMLPages::Answered});
            const int pages = static_cast<int>((expected.size() + pageSize - 1) / pageSize);
            QCOMPARE(outcome.pages, std::max(pages, 1));

            const int stopAfter = store.below(pages + 1);
            const Store::Outcome stopped = store.askForPages(action, pageSize, stopAfter);
            QCOMPARE(stopped.records, QStringList(expected.mid(0, stopAfter * pageSize)));
            QCOMPARE(stopped.state, int{stopAfter < std::max(pages - 1, 0) ? XMLPages::Cancelled : stopped.state});

            const Store::Outcome broken = store.askForPages(action, pageSize, stopAfter, true);
            // A list that breaks off still gives its first record, so nothing is missing until then.
            QCOMPARE(broken.records, QStringList(expected.mid(0, broken.records.size())));
            QCOMPARE(broken.state, int{broken.isBroken ? XMLPages::Failed : XMLPages::Answered});
            failures += broken.isBroken ? 1 : 0;
            QCOMPARE(store.pageServer->openCursors(), 0);
        }
    }
    QVERIFY(failures > 0);
}

/** However pages end, the records and the cursor go. */
void TestPages::ends()
{
    for (int end = 0; end < 5; ++end) {
        Store store(2000 + static_cast<quint32>(end));
        XMLAction action;
        action.setType(XMLCommServer::REQUEST_JOBS);
        action.setExcludePublications(false);
        ZQFaults().brokenChains = true;
        QCOMPARE(store.askForPages(action, 3).state, int{XMLPages::Failed}); // at the list of outputs
        store.pageServer->setPatience(1);
        QPointer<XMLPages> pages = store.requester->pages(store.pageServer->getAgentID(), action, 1);
        bool hasPage = false;
        connect(pages, &XMLPages::pageReceived, this, [&] {
            hasPage = true;
            if (end == 1)
                delete pages;
            else if (end == 2)
                store.requester.reset();
            else if (end == 3)
                store.pageServer.reset();
            else if (end == 4)
                store.router.reset();
        });
        QTRY_VERIFY(hasPage);
        if (store.pageServer)
            QTRY_COMPARE(store.pageServer->openCursors(), 0);
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
    // The comm server agent leaves the converter of each answer of outputs to the record library, with its last entry.
    QCOMPARE(ZQLiveRecords() - recordsBefore, ZQLiveConverters() - convertersBefore);
}

QTEST_GUILESS_MAIN(TestPages)

#include "tst_pages.moc"
