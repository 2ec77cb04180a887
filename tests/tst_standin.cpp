// SPDX-FileCopyrightText: 2026 The zqxml developers
// SPDX-License-Identifier: MIT

#include <standin/zqstandin.h>

#include <QSet>
#include <QSqlDatabase>
#include <QSqlError>
#include <QSqlQuery>
#include <QTemporaryDir>
#include <QTest>
#include <QVariant>

#include <cstdlib>
#include <memory>
#include <utility>

namespace {

// Every conversion type has a line here. Where a number may be written in two bases, its digits tell them apart.
const char jobText[] =
    "SI 15\n1 Plakat 50%  groß\n2 ffffffff a\n3 4d2\n4 Süd & Co\n5 80000000\n1e b c0000000\n"
    "6 -12\n7 3\n8 1f\n9 ff\na fffe\nb fedcba9876543210\nc -86400\nd A4\ne P\nf 1\n10 3.175\n"
    "11 0.98\n12 -90\n13 -3000 12\n14 deadbeef\n15 00ff10\n16 4 3 3 213 -1e+100\n"
    "17 2 Cyan\rGrün 100%\n18 a 0 1 2 3 4 5 6 7 8 ff\n19 1 ffff\n1a 2 1 fffffffe\n1b 1 fedcba9876543210\n"
    "SL 2\nSI 16\n1 Cyan\n2 15.5\n3 133.3\n4 64\nTI 0\nSI 16\n1 Gold\n2 0\n3 0\n4 0\nTI 0\nTL 0\n"
    "SL 1\nSI 17\n1 arrived\n2 1772409600\n3 1\nTI 0\nTL 0\nTI 0\n";
const char bookText[] = "SI 56\n1 Atlas\n2 1 2\n3 c9\n4 65\n5 20\n6 10\n7 ffffffffffffffff\n8 -12050\n9 1 Käfer\n"
                        "SI 58\n1 Leinen\n2 2.2\n3 2 4 1\n4 2 12c 19\n5 1 c0000c90\n6 1 100000020\n7 2 -6000000000 9\n"
                        "SL 1\nSI 59\n1 U1\n2 1\n3 F\n4 0\nTI 0\nTL 0\nTI 0\n"
                        "SL 1\nSI 57\n1 section 1\n2 1\n3 -3\n4 4 16 1 -2 -15\n"
                        "SL 1\nSI 59\n1 1\n2 1\n3 B\n4 1\nTI 0\nTL 0\nTI 0\nTL 0\nTI 0\n";
const char entryText[] = "SI 8\n1 Färöer 1\n2 9e3779b1 10\n3 1\n4 1\n5 78\n6 960\n7 ff\nTI 0\n";

QByteArray textOf(ZQPacketable &record)
{
    unsigned int length = 0;
    char *const buffer = record.toPacket(length);
    const QByteArray text(buffer, buffer ? static_cast<int>(length) : 0);
    std::free(buffer);
    return text;
}

bool load(ZQPacketable &record, const QByteArray &text)
{
    // A copy without the zero byte behind it, so that reading past its end is seen.
    std::unique_ptr<char[]> bytes(new char[static_cast<std::size_t>(text.size())]);
    std::copy(text.begin(), text.end(), bytes.get());
    return record.fromPacket(bytes.get(), static_cast<unsigned int>(text.size()), false, true);
}

/** A chain that is freed in the end. */
class Chain
{
public:
    Chain(ZQLIST_ELEMENT *first, PACKETDATATYPES dataType) : head(first), type(dataType) { }
    ~Chain()
    {
        ZQPacketFreeList(&head, type);
    }
    Q_DISABLE_COPY(Chain)

    template <typename Record>
    QList<const Record *> records() const
    {
        QList<const Record *> list;
        for (const ZQLIST_ELEMENT *record = head; record; record = record->next)
            list << static_cast<const Record *>(record);
        return list;
    }

    ZQLIST_ELEMENT *head;

private:
    PACKETDATATYPES type;
};

/** All rows of all tables as text. */
QStringList contentOf(const QString &file)
{
    QStringList content;
    {
        QSqlDatabase database = QSqlDatabase::addDatabase(QStringLiteral("QSQLITE"), QStringLiteral("content"));
        database.setDatabaseName(file);
        if (!database.open())
            return content;
        for (const char *table : {"outputs", "publications", "jobs", "books"}) {
            QSqlQuery query(database);
            query.exec(QStringLiteral("SELECT * FROM %1 ORDER BY id").arg(QLatin1String(table)));
            while (query.next()) {
                QStringList row = {QLatin1String(table)};
                for (int i = 0; query.value(i).isValid(); ++i)
                    row << query.value(i).toString();
                content << row.join(QLatin1Char('|'));
            }
        }
    }
    QSqlDatabase::removeDatabase(QStringLiteral("content"));
    return content;
}

bool execute(const QString &file, const char *statement)
{
    bool ok = false;
    {
        QSqlDatabase database = QSqlDatabase::addDatabase(QStringLiteral("QSQLITE"), QStringLiteral("statement"));
        database.setDatabaseName(file);
        ok = database.open() && QSqlQuery(database).exec(QLatin1String(statement));
    }
    QSqlDatabase::removeDatabase(QStringLiteral("statement"));
    return ok;
}

ZQSTORESIZE sizeOf(unsigned int outputs, unsigned int publications, unsigned int jobs, unsigned int books)
{
    ZQSTORESIZE size;
    size.outputs = outputs;
    size.publications = publications;
    size.jobs = jobs;
    size.books = books;
    return size;
}

} // namespace

class tst_Standin : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init();
    void cleanup();
    void recordText_data();
    void recordText();
    void tablesUseEveryConversionType();
    void everyPrefixIsRefused();
    void changedBytesDoNoHarm();
    void malformedText_data();
    void malformedText();
    void valuesCannotBreakTheFormat();
    void converterOwnsItsRecord();
    void factory();
    void registeredTables();
    void chains();
    void trimLists();
    void sampleLists();
    void sampleJobs();
    void sampleBooks();
    void refusedDatabases_data();
    void refusedDatabases();
    void failingQueries();
    void noConnection();
    void databaseByUrl();
    void generatedStores();
    void refusedSizes();

private:
    QString path(const char *name) const
    {
        return directory.filePath(QLatin1String(name));
    }

    QTemporaryDir directory;
    ZQLPCOMMANDS commands;
    BM_MESSAGE_ID messageId;
};

void tst_Standin::init()
{
    commands.error = 77;
}

void tst_Standin::cleanup()
{
    QCOMPARE(ZQLiveRecords(), 0u);
    QCOMPARE(ZQLiveConverters(), 0u);
    QCOMPARE(QSqlDatabase::connectionNames(), QStringList());
}

void tst_Standin::recordText_data()
{
    QTest::addColumn<unsigned int>("type");
    QTest::addColumn<QByteArray>("text");
    QTest::newRow("entry") << 8u << QByteArray(entryText);
    QTest::newRow("job") << 21u << QByteArray(jobText);
    QTest::newRow("book") << 86u << QByteArray(bookText);
}

void tst_Standin::recordText()
{
    QFETCH(unsigned int, type);
    QFETCH(QByteArray, text);
    const std::unique_ptr<ZQPacketable> first(PacketableUtil::getPacketable(static_cast<PACKETDATATYPES>(type)));
    QVERIFY(load(*first, text));
    QCOMPARE(textOf(*first), text);
    const unsigned int records = ZQLiveRecords();

    const std::unique_ptr<ZQPacketable> second(PacketableUtil::getPacketable(static_cast<PACKETDATATYPES>(type)));
    first->setName("näme");
    *second = *first;
    QCOMPARE(ZQLiveRecords(), 2 * records);
    QCOMPARE(textOf(*second), text);
    QCOMPARE(QByteArray(second->name), QByteArray("näme"));
    QVERIFY(second->name != first->name && second->payload != first->payload);
    *second = *second;
    QCOMPARE(textOf(*second), text);
    *first = ZQPacketable(static_cast<PACKETDATATYPES>(type));
    QVERIFY(!first->payload && !first->name);
    QCOMPARE(textOf(*second), text);
}

void tst_Standin::tablesUseEveryConversionType()
{
    QSet<unsigned int> used;
    for (unsigned int type = 0; type < 256; ++type) {
        const CONVERTSTRUCTELEMENTINFO *row = ZQGetSystemStorageClassConv(type);
        for (; row && row->elementType != 0; ++row) {
            const bool sized = row->elementType == CONV_NUMBER || row->elementType == CONV_NUMBERARRAY;
            used << (sized ? row->elementType * 100 + row->fieldSize : row->elementType);
        }
    }
    for (unsigned int type = 1; type <= 31; ++type) {
        if (type != CONV_NUMBER && type != CONV_NUMBERARRAY)
            QVERIFY2(used.contains(type), qPrintable(QString::number(type)));
    }
    for (const unsigned int sized : {1301u, 1302u, 1304u, 1308u, 1601u, 1602u, 1604u, 1608u})
        QVERIFY2(used.contains(sized), qPrintable(QString::number(sized)));
}

void tst_Standin::everyPrefixIsRefused()
{
    const QByteArray text(bookText);
    ZQPacketable record(BOOK_TYPE);
    QVERIFY(load(record, text));
    for (int size = 0; size < text.size() - 2; ++size)
        QVERIFY2(!load(record, text.left(size)), qPrintable(QString::number(size)));
    QVERIFY(load(record, text.left(text.size() - 1)));
    QCOMPARE(textOf(record), text);
}

void tst_Standin::changedBytesDoNoHarm()
{
    const std::pair<PACKETDATATYPES, QByteArray> texts[] = {{JOB_TYPE, jobText}, {BOOK_TYPE, bookText}};
    for (const auto &[type, text] : texts) {
        ZQPacketable record(type);
        for (int i = 0; i < text.size(); ++i) {
            for (const char byte : {'\n', ' ', '\0', 'T', '\xff'}) {
                QByteArray changed = text;
                changed[i] = byte;
                if (!load(record, changed))
                    continue;
                const QByteArray once = textOf(record);
                QVERIFY(load(record, once));
                QCOMPARE(textOf(record), once);
            }
        }
    }
}

void tst_Standin::malformedText_data()
{
    QTest::addColumn<QByteArray>("text");
    QTest::addColumn<QByteArray>("line"); // what the record then writes; null: refused

    const QByteArray refused;
    QTest::newRow("no text") << QByteArray() << refused;
    QTest::newRow("another type") << QByteArray("SI 56\n1 x\nTI 0\n") << refused;
    QTest::newRow("no opening line") << QByteArray("1 x\nTI 0\n") << refused;
    QTest::newRow("type is no number") << QByteArray("SI 15x\n1 x\nTI 0\n") << refused;
    QTest::newRow("closed as a list") << QByteArray("SI 15\n1 x\nTL 0\n") << refused;
    QTest::newRow("list closed as an item") << QByteArray("SI 15\nSL 1\nTI 0\nTI 0\n") << refused;
    QTest::newRow("end marker without a value") << QByteArray("SI 15\n1 x\nTI\n") << refused;
    QTest::newRow("two records") << QByteArray("SI 15\nTI 0\nSI 15\nTI 0\n") << refused;
    QTest::newRow("unknown items that do not end")
        << QByteArray("SI 15\n") + QByteArray("SI 1f\n").repeated(100000) << refused;

    const auto field = [](const char *name, const char *line, const char *written) {
        QTest::newRow(name) << QByteArray("SI 15\n") + line + "\nTI 0\n" << QByteArray(written);
    };
    field("unknown tags and words are passed over", "77 x\nxyz\nzz y\n1 name", "1 name");
    field("upper case tags", "A 7", "a 7");
    field("the last of two lines counts", "1 first\n1 second", "1 second");
    field("number out of range", "9 100", "9 0");
    field("number with a sign where none belongs", "a -1", "a 0");
    field("number with something behind", "6 12 ", "6 0");
    field("fixed text is cut between characters", "d 12345678901234ü", "d 12345678901234");
    field("character of two bytes", "e ü", "");
    field("key of one word", "2 a", "2 0 0");
    field("key of three words", "2 a b c", "2 0 0");
    field("key whose words are two, one no number", "2 b %3", "2 0 0");
    field("empty text", "1 ", "");
    field("count in decimal", "1a 10 0 1 2 3 4 5 6 7 8 9\n1 name", "1 name");
    field("count that is not there", "18 \n1 name", "1 name");
    field("no values, as XML gives them", "18 0 \n17 0 ", "");
    field("count too large to believe", "1b ffffffff 1", "");
    field("array with a bad value", "18 2 1 100", "");
    field("first text keeps its count", "17 2 2 a\rb", "17 2 2 a\rb");
    field("empty texts of an array are kept", "17 3 a\r\rc", "17 3 a\r\rc");
    field("texts after a bad count are dropped, and those before", "17 1 a\n17 2 b", "");
    field("odd binary data", "15 abc", "");
    field("binary data that is none", "15 0g", "");
    field("placeholder of binary data", "15 ?? CONV_BINARYDATA (digest) ??", "");
    field("unknown items and lists are passed over", "SI 1f\nSL 1\nSI 16\n1 x\nTI 0\nTL 0\nTI 0\n1 name", "1 name");
    field("item of a type that only a list has", "SI 16\n1 x\nTI 0", "");
    field("fields and lists within a list", "SL 2\n1 x\nSL 0\n2 y\nTL 0\nSI 17\n1 z\nTI 0\nTL 0",
          "SL 1\nSI 17\n1 z\n2 0\n3 0\nTI 0\nTL 0");
    field("mixed list", "SL 2\nSI 17\n1 z\nTI 0\nSI 16\n1 x\nTI 0\nTL 0", "SL 1\nSI 17\n1 z\n2 0\n3 0\nTI 0\nTL 0");
    field("second list of a type", "SL 1\nSI 17\n1 y\nTI 0\nTL 0\nSL 1\nSI 17\n1 z\nTI 0\nTL 0",
          "SL 1\nSI 17\n1 z\n2 0\n3 0\nTI 0\nTL 0");
    field("empty list", "SL 0\nTL 0\n1 name", "1 name");
}

void tst_Standin::malformedText()
{
    QFETCH(QByteArray, text);
    QFETCH(QByteArray, line);
    ZQPacketable record(JOB_TYPE);
    QVERIFY(load(record, "SI 15\n1 before\nTI 0\n"));
    const QByteArray before = textOf(record);
    if (line.isNull()) {
        QVERIFY(!load(record, text));
        QCOMPARE(textOf(record), before);
        return;
    }
    QVERIFY(load(record, text));
    // Numbers and flags are written always; only what differs from an empty record is of interest.
    ZQPacketable empty(JOB_TYPE);
    QVERIFY(load(empty, "SI 15\nTI 0\n"));
    const QList<QByteArray> emptyLines = textOf(empty).split('\n');
    if (emptyLines.contains(line)) {
        QCOMPARE(textOf(record), textOf(empty));
        return;
    }
    QList<QByteArray> differing;
    bool nested = false;
    for (const QByteArray &each : textOf(record).split('\n')) {
        nested = nested || each.startsWith("SL");
        if (nested || !emptyLines.contains(each))
            differing << each;
    }
    if (nested)
        differing = differing.mid(0, differing.size() - 2); // the record's own end
    QCOMPARE(differing.join('\n'), line);
}

void tst_Standin::valuesCannotBreakTheFormat()
{
    auto *const job = ZQNew<ZQJOBRECORD>(JOB_TYPE);
    const QByteArray hostile("a\nTI 0\r\nb");
    ZQSetText(job->name, hostile.constData(), static_cast<unsigned int>(hostile.size()));
    auto **const inks = static_cast<char **>(ZQResizeArray(job->inks, 2, sizeof(char *)));
    ZQSetText(inks[0], "x\ry", 3);
    job->format = '\n';
    std::fill(std::begin(job->paper), std::end(job->paper), 'p'); // no zero byte ends it
    ZQPacketable record(JOB_TYPE);
    record.setData(job);
    const QByteArray text = textOf(record);
    QVERIFY(text.contains("\n1 a TI 0  b\n"));
    QVERIFY(text.contains("\n17 2 x y\r\n")); // a null text is empty
    QVERIFY(text.contains("\nd pppppppppppppppp\nf 0\n"));
    QVERIFY(load(record, text));
}

void tst_Standin::converterOwnsItsRecord()
{
    ZQJOB_CC record;
    unsigned int length = 5;
    QVERIFY(!record.toPacket(length));
    QCOMPARE(length, 0u);
    ZQLIST_ELEMENT *const job = ZQNewRecord(JOB_TYPE);
    record.setData(job);
    record.setData(job);
    QCOMPARE(ZQLiveRecords(), 1u);
    record.setData(ZQNewRecord(JOB_TYPE));
    QCOMPARE(ZQLiveRecords(), 1u);
    record.setName("");
    QVERIFY(!record.name);
    record.setData(nullptr);
    QCOMPARE(ZQLiveRecords(), 0u);
}

void tst_Standin::factory()
{
    for (const unsigned int type : {8u, 21u, 22u, 23u, 86u, 87u, 88u, 89u}) {
        const std::unique_ptr<ZQPacketable> record(PacketableUtil::getPacketable(static_cast<PACKETDATATYPES>(type)));
        QVERIFY(record);
        QCOMPARE(static_cast<unsigned int>(record->dataType), type);
        QVERIFY(!record->payload && !record->name);
    }
    for (const unsigned int type : {0u, 6u, 15u, 85u, 0xffffffffu})
        QVERIFY(!PacketableUtil::getPacketable(static_cast<PACKETDATATYPES>(type)));
}

void tst_Standin::registeredTables()
{
    CONVERTSTRUCTELEMENTINFO table[] = {{1, 1, "x", 4, {}}, {0, 0, nullptr, 0, {}}};
    CONVERTSTRUCTELEMENTINFO *const own = ZQGetSystemStorageClassConv(JOB_TYPE);
    QVERIFY(own);
    for (const unsigned int type : {0x1fu, static_cast<unsigned int>(JOB_TYPE)}) {
        ZQRegisterStorageClass(type, table);
        QCOMPARE(ZQGetSystemStorageClassConv(type), table);
    }
    ZQPacketable record(JOB_TYPE);
    QVERIFY(load(record, jobText));
    QCOMPARE(textOf(record), QByteArray(jobText));
    ZQRegisterStorageClass(0x1f, nullptr);
    ZQRegisterStorageClass(JOB_TYPE, nullptr);
    ZQRegisterStorageClass(JOB_TYPE, nullptr);
    QVERIFY(!ZQGetSystemStorageClassConv(0x1f));
    QCOMPARE(ZQGetSystemStorageClassConv(JOB_TYPE), own);
}

void tst_Standin::chains()
{
    ZQLIST_ELEMENT *const records[] = {ZQNewRecord(BOOK_TYPE), ZQNewRecord(BOOK_TYPE), ZQNewRecord(BOOK_TYPE)};
    Chain chain(nullptr, BOOK_TYPE);
    AddListList(&chain.head, nullptr);
    QVERIFY(!chain.head);
    AddListList(&chain.head, records[0]);
    records[1]->next = records[2];
    AddListList(&chain.head, records[1]);
    using List = QList<const ZQLIST_ELEMENT *>;
    QCOMPARE(chain.records<ZQLIST_ELEMENT>(), List({records[0], records[1], records[2]}));

    RemoveItemFromList(&chain.head, records[1]);
    QVERIFY(!records[1]->next);
    RemoveItemFromList(&chain.head, records[1]); // is not in there any more
    QCOMPARE(chain.records<ZQLIST_ELEMENT>(), List({records[0], records[2]}));
    RemoveItemFromList(&chain.head, records[0]);
    QCOMPARE(chain.records<ZQLIST_ELEMENT>(), List({records[2]}));
    ZQPacketFreeItem(records[0], BOOK_TYPE);
    ZQPacketFreeItem(records[1], BOOK_TYPE);
    ZQPacketFreeItem(nullptr, BOOK_TYPE);

    AddListList(nullptr, nullptr);
    RemoveItemFromList(nullptr, records[2]);
    RemoveItemFromList(&chain.head, nullptr);
    ZQPacketFreeList(nullptr, BOOK_TYPE);
    ZQPacketFreeList(&chain.head, BOOK_TYPE);
    QVERIFY(!chain.head);
    ZQPacketFreeList(&chain.head, BOOK_TYPE);
}

void tst_Standin::trimLists()
{
    ZQJOB_CC record;
    QVERIFY(load(record, jobText));
    auto *const job = static_cast<ZQJOB *>(record.payload);
    QCOMPARE(ZQJOB_CC::pageNumber(job), -12);
    ZQJOB_CC::trimLists(job);
    ZQJOB_CC::trimLists(job);
    QCOMPARE(ZQLiveRecords(), 1u);
    QVERIFY(!textOf(record).contains("SL"));
    ZQJOB_CC::trimLists(nullptr);
}

void tst_Standin::sampleLists()
{
    ZQCommServer server(ZQOpenSampleStore(nullptr));
    const Chain outputs(server.getDBList(commands, messageId, OUTPUT_LIST_TYPE), DBLIST_ENTRY_TYPE);
    QCOMPARE(server.iserror(commands), 0);
    const auto entries = outputs.records<ZQDBLIST_ENTRY>();
    QCOMPARE(entries.size(), 24);
    QCOMPARE(QString::fromUtf8(entries.at(0)->name), QStringLiteral("Druckmaschine S\u00fcd 1"));
    QCOMPARE(entries.at(0)->key.key, 2654435761u); // beyond a signed number
    QCOMPARE(entries.at(0)->reserved[ENTRY_ID], 1u);
    for (const ZQDBLIST_ENTRY *entry : entries)
        QCOMPARE(server.getidfromzqkey(entry->key), static_cast<int>(entry->reserved[ENTRY_ID]));
    QCOMPARE(server.getidfromzqkey({entries.at(0)->key.key, 0}), 0);

    const Chain publications(server.getDBList(commands, messageId, BOOK_LIST_TYPE), DBLIST_ENTRY_TYPE);
    QCOMPARE(publications.records<ZQDBLIST_ENTRY>().size(), 18);
    QVERIFY(!server.getDBList(commands, messageId, JOB_TYPE));
    QVERIFY(server.iserror(commands) != 0);
}

void tst_Standin::sampleJobs()
{
    ZQCommServer server(ZQOpenSampleStore(nullptr));
    const Chain outputs(server.getDBList(commands, messageId, OUTPUT_LIST_TYPE), DBLIST_ENTRY_TYPE);
    int waiting = 0;
    bool outOfOrder = false;
    bool standAlone = false;
    bool longArray = false;
    for (const ZQDBLIST_ENTRY *output : outputs.records<ZQDBLIST_ENTRY>()) {
        const int id = server.getidfromzqkey(output->key);
        const Chain chain(server.getJobqueue(commands, messageId, WAITING_QUEUE, SORT_ARRIVAL, SORT_ASCENDING, id),
                          JOB_TYPE);
        QCOMPARE(server.iserror(commands), 0);
        const auto jobs = chain.records<ZQJOBRECORD>();
        QCOMPARE(static_cast<unsigned int>(jobs.size()), output->reserved[ENTRY_JOBS]);
        waiting += static_cast<int>(jobs.size());
        for (int i = 0; i < jobs.size(); ++i) {
            const ZQJOBRECORD *const job = jobs.at(i);
            QCOMPARE(static_cast<int>(job->output), id);
            QCOMPARE(job->queue, static_cast<unsigned int>(WAITING_QUEUE));
            QCOMPARE(job->publicationName != nullptr, job->publicationID != 0);
            QCOMPARE(job->publicationName != nullptr, job->page > 0);
            standAlone = standAlone || !job->publicationName;
            longArray = longArray || job->ranges.count >= 10;
            if (i > 0) {
                QVERIFY(jobs.at(i - 1)->arrived <= job->arrived);
                outOfOrder = outOfOrder
                    || (job->publicationID == jobs.at(i - 1)->publicationID && job->page < jobs.at(i - 1)->page);
            }
        }
    }
    QCOMPARE(waiting, 208);
    QVERIFY(outOfOrder && standAlone && longArray);
    QVERIFY(!server.getJobqueue(commands, messageId, WAITING_QUEUE, SORT_ARRIVAL, SORT_ASCENDING, 0));
    QCOMPARE(server.iserror(commands), 0);
}

void tst_Standin::sampleBooks()
{
    ZQCommServer server(ZQOpenSampleStore(nullptr));
    const Chain publications(server.getDBList(commands, messageId, BOOK_LIST_TYPE), DBLIST_ENTRY_TYPE);
    int count = 0;
    for (const ZQDBLIST_ENTRY *publication : publications.records<ZQDBLIST_ENTRY>()) {
        const Chain chain(server.getBooks(commands, messageId, SORT_ARRIVAL, SORT_ASCENDING, publication->key),
                          BOOK_TYPE);
        const auto books = chain.records<ZQBOOKRECORD>();
        QCOMPARE(static_cast<unsigned int>(books.size()), publication->reserved[ENTRY_JOBS]);
        count += static_cast<int>(books.size());
        for (const ZQBOOKRECORD *book : books) {
            QCOMPARE(book->publication, publication->reserved[ENTRY_ID]);
            QSet<int> pages;
            for (const ZQLIST_ELEMENT *section = book->sections; section; section = section->next) {
                const auto *page = static_cast<const ZQSECTION *>(section)->pages;
                for (; page; page = page->next)
                    pages << static_cast<const ZQPAGE *>(page)->number;
            }
            QCOMPARE(static_cast<int>(pages.size()), static_cast<int>(book->pages));
        }
    }
    QCOMPARE(count, 22);
    QVERIFY(!server.getBooks(commands, messageId, SORT_ARRIVAL, SORT_ASCENDING, {1, 1}));
    QCOMPARE(server.iserror(commands), 0);
}

void tst_Standin::refusedDatabases_data()
{
    QTest::addColumn<QString>("location");
    QTest::addColumn<QString>("reason");

    QFile text(path("text"));
    QVERIFY(text.open(QIODevice::WriteOnly));
    text.write(QByteArray("this is no database\n").repeated(100));
    text.close();
    QVERIFY(execute(path("foreign"), "CREATE TABLE people (name)"));
    QVERIFY(ZQCreateStore(path("damaged"), sizeOf(1, 1, 1, 1), {}, nullptr));
    QVERIFY(execute(path("damaged"), "ALTER TABLE books RENAME COLUMN pages TO leaves"));

    QTest::newRow("missing file") << path("missing") << QStringLiteral("No such file or directory");
    QTest::newRow("directory") << directory.path() << QStringLiteral("file to open is a directory");
    QTest::newRow("no database") << path("text") << QStringLiteral("no record store: file is not a database");
    QTest::newRow("foreign database") << path("foreign") << QStringLiteral("no record store: no such table: outputs");
    QTest::newRow("lacks a column") << path("damaged") << QStringLiteral("no record store: no such column: pages");
    QTest::newRow("unknown driver") << QStringLiteral("qnone://host/shop")
                                    << QStringLiteral("no database driver QNONE");
}

void tst_Standin::refusedDatabases()
{
    QFETCH(QString, location);
    QFETCH(QString, reason);
    QString error;
    QVERIFY(!ZQOpenStore(location, &error));
    QCOMPARE(error, reason);
    QVERIFY(!QFile::exists(path("missing")));
    QVERIFY(!ZQOpenStore(location, nullptr));
}

void tst_Standin::failingQueries()
{
    QVERIFY(ZQCreateStore(path("dropped"), sizeOf(2, 2, 64, 2), {}, nullptr));
    ZQCommServer server(ZQOpenStore(path("dropped"), nullptr));
    const Chain outputs(server.getDBList(commands, messageId, OUTPUT_LIST_TYPE), DBLIST_ENTRY_TYPE);
    QCOMPARE(server.iserror(commands), 0);
    const auto entries = outputs.records<ZQDBLIST_ENTRY>();
    QCOMPARE(entries.size(), 2);
    for (const char *table : {"jobs", "books"})
        QVERIFY(execute(path("dropped"), (QByteArray("DROP TABLE ") + table).constData()));
    QVERIFY(!server.getJobqueue(commands, messageId, WAITING_QUEUE, SORT_ARRIVAL, SORT_ASCENDING, 1));
    QVERIFY(server.iserror(commands) != 0);
    QVERIFY(!server.getBooks(commands, messageId, SORT_ARRIVAL, SORT_ASCENDING, entries.at(0)->key));
    QVERIFY(server.iserror(commands) != 0);
    QVERIFY(!server.getDBList(commands, messageId, BOOK_LIST_TYPE));
    QVERIFY(server.iserror(commands) != 0);
    // What still works says so.
    QCOMPARE(server.getidfromzqkey(entries.at(1)->key), 2);
    QVERIFY(execute(path("dropped"),
                    "CREATE TABLE books (id, zqkey, hkey, name, publication, pages, signature, copies,"
                    " balance, cover, keywords)"));
    QVERIFY(!server.getBooks(commands, messageId, SORT_ARRIVAL, SORT_ASCENDING, entries.at(0)->key));
    QCOMPARE(server.iserror(commands), 0);
    QVERIFY(execute(path("dropped"), "DROP TABLE outputs"));
    QCOMPARE(server.getidfromzqkey(entries.at(1)->key), 0);
}

void tst_Standin::noConnection()
{
    ZQCommServer server(nullptr);
    QVERIFY(!server.getDBList(commands, messageId, OUTPUT_LIST_TYPE));
    QVERIFY(server.iserror(commands) != 0);
    QCOMPARE(server.getidfromzqkey({1, 2}), 0);
}

void tst_Standin::databaseByUrl()
{
    QVERIFY(ZQCreateSampleStore(path("by url"), nullptr));
    QString error;
    ZQCommServer server(ZQOpenStore(QStringLiteral("qsqlite://") + path("by%20url"), &error));
    QCOMPARE(error, QString());
    const Chain outputs(server.getDBList(commands, messageId, OUTPUT_LIST_TYPE), DBLIST_ENTRY_TYPE);
    QCOMPARE(outputs.records<ZQDBLIST_ENTRY>().size(), 24);
}

void tst_Standin::generatedStores()
{
    ZQSTORESIZE size = sizeOf(3, 5, 9000, 7);
    unsigned long long reported = 0;
    const auto progress = [&reported](unsigned long long done, unsigned long long total) {
        QVERIFY(done > reported && done <= total);
        QCOMPARE(total, 9015ull);
        reported = done;
    };
    QVERIFY(ZQCreateStore(path("first"), size, progress, nullptr));
    QCOMPARE(reported, 8192ull);
    QVERIFY(ZQCreateStore(path("second"), size, {}, nullptr));
    size.seed = 2;
    QVERIFY(ZQCreateStore(path("third"), size, {}, nullptr));
    const QStringList content = contentOf(path("first"));
    QCOMPARE(content.size(), 9015);
    QVERIFY(content == contentOf(path("second")));
    QVERIFY(content != contentOf(path("third")));

    QSet<QString> keys;
    QSet<QString> pages;
    int standAlone = 0;
    for (const QString &row : content) {
        const QStringList values = row.split(QLatin1Char('|'));
        keys << values.at(2) + QLatin1Char(':') + values.at(3);
        if (values.at(0) == QLatin1String("jobs"))
            values.at(5).isEmpty() ? void(++standAlone) : void(pages << values.at(5) + QLatin1Char(':') + values.at(6));
    }
    QCOMPARE(keys.size(), content.size());
    QCOMPARE(pages.size() + standAlone, 9000);
    QVERIFY(standAlone > 0);

    ZQCommServer server(ZQOpenStore(path("first"), nullptr));
    const Chain books(server.getDBList(commands, messageId, BOOK_LIST_TYPE), DBLIST_ENTRY_TYPE);
    QCOMPARE(books.records<ZQDBLIST_ENTRY>().size(), 5);
    QString error;
    QVERIFY(!ZQCreateStore(path("first"), size, {}, &error));
    QCOMPARE(error, QStringLiteral("File exists"));
}

void tst_Standin::refusedSizes()
{
    QString error;
    QVERIFY(!ZQCreateStore(path("refused"), sizeOf(0, 1, 1, 1), {}, &error));
    QCOMPARE(error, QStringLiteral("jobs need an output"));
    QVERIFY(!ZQCreateStore(path("refused"), sizeOf(1, 0, 1, 1), {}, &error));
    QCOMPARE(error, QStringLiteral("books need a publication"));
    QVERIFY(!QFile::exists(path("refused")));
    QVERIFY(!ZQCreateSampleStore(path("missing/file"), &error));
    QCOMPARE(error, QStringLiteral("No such file or directory"));
    QVERIFY(!ZQCreateStore(path("refused"), sizeOf(1, 1, 0x7fffffff, 1), {}, &error));
    QCOMPARE(error, QStringLiteral("more records than there are ids"));
    QVERIFY(ZQCreateStore(path("alone"), sizeOf(2, 0, 40, 0), {}, nullptr));
    QCOMPARE(contentOf(path("alone")).size(), 42);
}

QTEST_GUILESS_MAIN(tst_Standin)

#include "tst_standin.moc"
