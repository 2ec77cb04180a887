// SPDX-FileCopyrightText: 2026 The zqxml developers
// SPDX-License-Identifier: MIT

#include "testtools.h"

#include <standin/zqstandin.h>

#include <QSqlDatabase>
#include <QSqlQuery>
#include <QTemporaryDir>
#include <QtTest>

namespace {

// Where a number may be written in two bases, its digits tell them apart.
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

/** Runs a statement on an SQLite file and returns the rows that it gives. */
QStringList execute(const QString &file, const char *statement)
{
    QStringList rows;
    {
        QSqlDatabase database = QSqlDatabase::addDatabase(QStringLiteral("QSQLITE"), QStringLiteral("statement"));
        database.setDatabaseName(file);
        database.open();
        QSqlQuery query(QString::fromLatin1(statement), database);
        while (query.next()) {
            rows << QString();
            for (int i = 0; query.value(i).isValid(); ++i)
                rows.last() += query.value(i).toString() + QLatin1Char('|');
        }
    }
    QSqlDatabase::removeDatabase(QStringLiteral("statement"));
    return rows;
}

} // namespace

class tst_Standin : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void cleanup();
    void recordText_data();
    void recordText();
    void malformedText_data();
    void malformedText();
    void valuesCannotBreakTheFormat();
    void sample();
    void refusedDatabases();
    void generatedStores();

private:
    QString path(const char *name) const
    {
        return directory.filePath(QLatin1String(name));
    }

    QTemporaryDir directory;
    ZQLPCOMMANDS commands;
    BM_MESSAGE_ID messageId;
};

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
    ZQPacketable record(static_cast<PACKETDATATYPES>(type));
    QVERIFY(readPacketText(record, text));
    QCOMPARE(packetTextOf(record), text);
    ZQPacketable copy(JOB_TYPE);
    const unsigned int records = ZQLiveRecords();
    record.setName("näme");
    copy = record;
    QCOMPARE(ZQLiveRecords(), 2 * records);
    record.setData(nullptr);
    QCOMPARE(ZQLiveRecords(), records);
    QCOMPARE(packetTextOf(copy), text);
    QCOMPARE(QByteArray(copy.name), QByteArray("näme"));
    QVERIFY(copy.name != record.name);

    // What is cut off or changed somewhere is refused, or read as something that can be written.
    for (int i = 0; i < text.size(); ++i) {
        QVERIFY2(i >= text.size() - 2 || !readPacketText(copy, text.left(i)), qPrintable(QString::number(i)));
        for (const char byte : {'\n', ' ', '\0', 'T', '\xff'}) {
            const QByteArray changed = text.left(i) + byte + text.mid(i + 1);
            if (!readPacketText(copy, changed))
                continue;
            const QByteArray once = packetTextOf(copy);
            QVERIFY(readPacketText(copy, once));
            QCOMPARE(packetTextOf(copy), once);
        }
    }
}

void tst_Standin::malformedText_data()
{
    QTest::addColumn<QByteArray>("text");
    QTest::addColumn<QByteArray>("equivalent"); // null: refused
    QTest::newRow("no text") << QByteArray() << QByteArray();
    QTest::newRow("another type") << QByteArray("SI 56\n1 x\nTI 0\n") << QByteArray();
    QTest::newRow("two records") << QByteArray("SI 15\nTI 0\nSI 15\nTI 0\n") << QByteArray();
    const auto row = [](const char *name, const char *lines, const char *equivalent) {
        QTest::newRow(name) << QByteArray("SI 15\n") + lines + "\nTI 0\n"
                            << (equivalent ? QByteArray("SI 15\n") + equivalent + "\nTI 0\n" : QByteArray());
    };
    row("closed as a list", "1 x\nTL 0", nullptr);
    row("list closed as an item", "SL 1\nTI 0", nullptr);
    row("unknown items that do not end", QByteArray("SI 1f\n").repeated(100000).constData(), nullptr);
    row("unknown tags and words are passed over", "77 x\nxyz\nzz y\n1 name", "1 name");
    row("the last of two lines counts", "1 first\n1 second", "1 second");
    row("numbers that are none, or out of range", "9 100\na -1\n6 12 ", "9 0\na 0\n6 0");
    row("fixed text is cut between characters", "d 12345678901234ü", "d 12345678901234");
    row("keys of one word and of three", "2 a\n1e a b c", "2 0 0");
    row("a count in decimal", "1a 10 0 1 2 3 4 5 6 7 8 9", "1a 0");
    row("counts that are none, and none to believe", "18 \n1b ffffffff 1\n19 2 1 10000", "18 0");
    row("no values, as XML gives them", "18 0 \n17 0 ", "18 0\n17 0");
    row("the first text keeps its count", "17 2 2 a\rb", "17 2 2 a\rb");
    row("empty texts of an array are kept", "17 3 a\r\rc", "17 3 a\r\rc");
    row("texts after a bad count are dropped, and those before", "17 1 a\n17 2 b", "17 0");
    row("binary data that is none", "15 0g\n15 abc\n15 ?? CONV_BINARYDATA (digest) ??", "15 0");
    row("unknown items and lists are passed over", "SI 1f\nSL 1\nSI 16\n1 x\nTI 0\nTL 0\nTI 0\n1 name", "1 name");
    row("what a list has no place for", "SL 2\n1 x\nSL 0\n2 y\nTL 0\nSI 17\n1 z\nTI 0\nSI 16\n1 x\nTI 0\nTL 0",
        "SL 1\nSI 17\n1 z\nTI 0\nTL 0");
}

void tst_Standin::malformedText()
{
    QFETCH(QByteArray, text);
    QFETCH(QByteArray, equivalent);
    ZQPacketable record(JOB_TYPE);
    QVERIFY(readPacketText(record, "SI 15\n1 before\nTI 0\n"));
    QCOMPARE(readPacketText(record, text), !equivalent.isNull());
    ZQPacketable expected(JOB_TYPE);
    QVERIFY(readPacketText(expected, equivalent.isNull() ? "SI 15\n1 before\nTI 0\n" : equivalent));
    QCOMPARE(packetTextOf(record), packetTextOf(expected));
}

void tst_Standin::valuesCannotBreakTheFormat()
{
    auto *const job = ZQNew<ZQJOBRECORD>(JOB_TYPE);
    ZQSetText(job->name, "a\nTI 0\r\nb", 9);
    auto **const inks = static_cast<char **>(ZQResizeArray(job->inks, 2, sizeof(char *)));
    ZQSetText(inks[0], "x\ry", 3);
    job->format = '\n';
    std::fill(std::begin(job->paper), std::end(job->paper), 'p'); // no zero byte ends it
    ZQPacketable record(JOB_TYPE);
    record.setData(job);
    record.setData(job);
    const QByteArray text = packetTextOf(record);
    QVERIFY(text.contains("\n1 a TI 0  b\n"));
    QVERIFY(text.contains("\n17 2 x y\r\n")); // a null text is empty
    QVERIFY(text.contains("\nd pppppppppppppppp\nf 0\n"));
    QVERIFY(readPacketText(record, text));
}

void tst_Standin::sample()
{
    ZQCommServer server(ZQOpenSampleStore(nullptr));
    ZQLIST_ELEMENT *outputs = server.getDBList(commands, messageId, OUTPUT_LIST_TYPE);
    for (const ZQLIST_ELEMENT *each = outputs; each; each = each->next) {
        const auto *const output = static_cast<const ZQDBLIST_ENTRY *>(each);
        const int id = server.getidfromzqkey(output->key);
        QCOMPARE(id, static_cast<int>(output->reserved[ENTRY_ID]));
        ZQLIST_ELEMENT *jobs = server.getJobqueue(commands, messageId, WAITING_QUEUE, SORT_ARRIVAL, SORT_ASCENDING, id);
        unsigned int count = 0;
        long long before = 0;
        for (const ZQLIST_ELEMENT *element = jobs; element; element = element->next, ++count) {
            const auto *const job = static_cast<const ZQJOBRECORD *>(element);
            QVERIFY(static_cast<int>(job->output) == id && before <= job->arrived);
            QCOMPARE(job->publicationName != nullptr, job->publicationID != 0 && job->page > 0);
            before = job->arrived;
        }
        QCOMPARE(count, output->reserved[ENTRY_JOBS]);
        ZQPacketFreeList(&jobs, JOB_TYPE);
    }
    ZQPacketFreeList(&outputs, DBLIST_ENTRY_TYPE);
}

void tst_Standin::refusedDatabases()
{
    ZQSTORESIZE size{2, 0, 40, 0};
    QVERIFY(ZQCreateStore(path("damaged"), size, {}, nullptr)); // jobs that all stand alone
    execute(path("damaged"), "ALTER TABLE books RENAME COLUMN pages TO leaves");
    execute(path("foreign"), "CREATE TABLE people (name)");
    QString error;
    QVERIFY(!ZQOpenStore(path("damaged"), &error));
    QCOMPARE(error, QStringLiteral("no record store: no such column: pages"));
    QVERIFY(!ZQOpenStore(path("foreign"), &error));
    QCOMPARE(error, QStringLiteral("no record store: no such table: outputs"));
    QVERIFY(!ZQCreateStore(path("damaged"), size, {}, &error));
    QCOMPARE(error, QStringLiteral("File exists"));
    size.books = 1;
    QVERIFY(!ZQCreateStore(path("refused"), size, {}, &error));
    QCOMPARE(error, QStringLiteral("books need a publication"));
    QVERIFY(!ZQCreateStore(path("refused"), ZQSTORESIZE{0, 1, 1, 1}, {}, &error));
    QCOMPARE(error, QStringLiteral("jobs need an output"));
    QVERIFY(!QFile::exists(path("refused")));
}

void tst_Standin::generatedStores()
{
    ZQSTORESIZE size{3, 5, 9000, 7};
    unsigned long long reported = 0;
    const auto progress = [&reported](unsigned long long done, unsigned long long total) {
        QVERIFY(done > reported && done <= total);
        QCOMPARE(total, 9015ull);
        reported = done;
    };
    QVERIFY(ZQCreateStore(path("first 1"), size, progress, nullptr));
    QVERIFY(reported > 0);
    QVERIFY(ZQCreateStore(path("second"), size, {}, nullptr));
    size.seed = 2;
    QVERIFY(ZQCreateStore(path("third"), size, {}, nullptr));
    const char *const jobs = "SELECT * FROM jobs ORDER BY id";
    const QStringList rows = execute(path("first 1"), jobs);
    QCOMPARE(rows.size(), 9000);
    QVERIFY(rows == execute(path("second"), jobs) && rows != execute(path("third"), jobs));
    // A database by its URL.
    ZQCommServer server(ZQOpenStore(QStringLiteral("qsqlite://") + path("first%201"), nullptr));
    ZQLIST_ELEMENT *books = server.getDBList(commands, messageId, BOOK_LIST_TYPE);
    QVERIFY(books && !server.iserror(commands));
    ZQPacketFreeList(&books, DBLIST_ENTRY_TYPE);
}

QTEST_GUILESS_MAIN(tst_Standin)

#include "tst_standin.moc"
