// SPDX-FileCopyrightText: 2026 The zqxml developers
// SPDX-License-Identifier: MIT

#include "blocks.h"
#include "testtools.h"

#include <standin/zqstandin.h>

#include <QCryptographicHash>
#include <QSqlDatabase>
#include <QTemporaryDir>
#include <QUrl>

Q_DECLARE_METATYPE(ZQSTORESIZE)

class tst_Standin : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init();
    void cleanup();
    void recordText_data();
    void recordText();
    void malformedText_data();
    void malformedText();
    void valuesCannotBreakTheFormat();
    void stores_data();
    void stores();
    void refusedSizes();
    void progress();

private:
    /** Returns the text of a chain, which it frees. */
    static QByteArray textOf(ZQLIST_ELEMENT *chain, PACKETDATATYPES type)
    {
        QByteArray text;
        for (const ZQLIST_ELEMENT *record = chain; record; record = record->next) {
            unsigned int length = 0;
            const std::unique_ptr<char, decltype(&std::free)> bytes(ZQWriteRecord(record, type, length), &std::free);
            text.append(bytes.get(), static_cast<int>(length));
        }
        ZQPacketFreeList(&chain, type);
        return text;
    }

    QString path(const char *name) const
    {
        return directory->filePath(QLatin1String(name));
    }

    std::unique_ptr<QTemporaryDir> directory;
    ZQLPCOMMANDS commands;
    BM_MESSAGE_ID messageId;
};

void tst_Standin::init()
{
    directory = std::make_unique<QTemporaryDir>();
}

void tst_Standin::cleanup()
{
    directory.reset();
    QCOMPARE(ZQLiveRecords(), 0u);
    QCOMPARE(ZQLiveConverters(), 0u);
    QCOMPARE(QSqlDatabase::connectionNames(), QStringList());
}

void tst_Standin::recordText_data()
{
    addBlocks(QFINDTESTDATA("../data/conversion/rebuilt.txt"));
}

void tst_Standin::recordText()
{
    QFETCH(QByteArray, input);
    const QByteArray text = input;
    const unsigned int type = text.mid(3, text.indexOf('\n') - 3).toUInt(nullptr, 16);
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
    addBlocks(QFINDTESTDATA("../data/standin/malformed.txt"));
    QTest::newRow("unknown items that do not end") << "SI 15\n" + QByteArray("SI 1f\n").repeated(100000) + "TI 0\n"
                                                   << QByteArray();
}

void tst_Standin::malformedText()
{
    QFETCH(QByteArray, input);
    QFETCH(QByteArray, expected); // empty: refused, the record keeps what it has
    const QByteArray before("SI 15\n1 before\nTI 0\n");
    ZQPacketable record(JOB_TYPE);
    QVERIFY(readPacketText(record, before));
    QCOMPARE(readPacketText(record, input), !expected.isEmpty());
    ZQPacketable equivalent(JOB_TYPE);
    QVERIFY(readPacketText(equivalent, expected.isEmpty() ? before : expected));
    QCOMPARE(packetTextOf(record), packetTextOf(equivalent));
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

void tst_Standin::stores_data()
{
    QTest::addColumn<ZQSTORESIZE>("size"); // the sample for none
    QTest::addColumn<QByteArray>("hash"); // of the text of all records, which does not change unnoticed
    QTest::newRow("the sample") << ZQSTORESIZE() << QByteArray("648ce6a3f54bae75068313ed8b4618bc");
    QTest::newRow("seed 1") << ZQSTORESIZE{3, 5, 900, 7, 1} << QByteArray("45033e8ecc84e469f9070b58452e223c");
    QTest::newRow("seed 2") << ZQSTORESIZE{3, 5, 900, 7, 2} << QByteArray("e89b1fb797e8f49e684d3059e7bf042d");
    QTest::newRow("jobs that all stand alone")
        << ZQSTORESIZE{2, 0, 40, 0, 1} << QByteArray("f75fe1aad604123b500f2eae003ab408");
}

void tst_Standin::stores()
{
    QFETCH(ZQSTORESIZE, size);
    QFETCH(QByteArray, hash);
    const QString file = path(QTest::currentDataTag());
    QString error;
    QVERIFY2(size.outputs == 0 || ZQCreateStore(file, size, {}, &error), qPrintable(error));
    ZQCommServer server(size.outputs == 0 ? ZQOpenSampleStore(nullptr)
                                          : ZQOpenStore(QStringLiteral("qsqlite://")
                                                            + QString::fromLatin1(QUrl::toPercentEncoding(file, "/")),
                                                        nullptr));
    QByteArray text;
    for (const PACKETDATATYPES list : {OUTPUT_LIST_TYPE, BOOK_LIST_TYPE}) {
        ZQLIST_ELEMENT *entries = server.getDBList(commands, messageId, list);
        QCOMPARE(server.iserror(commands), 0);
        for (const ZQLIST_ELEMENT *entry = entries; entry; entry = entry->next) {
            const ZQKEY_ELEMENT key = static_cast<const ZQDBLIST_ENTRY *>(entry)->key;
            const int id = server.getidfromzqkey(key);
            QCOMPARE(id, static_cast<int>(static_cast<const ZQDBLIST_ENTRY *>(entry)->reserved[ENTRY_ID]));
            text += textOf(server.getBooks(commands, messageId, SORT_ARRIVAL, SORT_ASCENDING, key), BOOK_TYPE);
            for (const unsigned int queue : {1u, 2u, 3u, 4u})
                text +=
                    textOf(server.getJobqueue(commands, messageId, ZQQUEUE(queue), SORT_ARRIVAL, SORT_ASCENDING, id),
                           JOB_TYPE);
        }
        text += textOf(entries, DBLIST_ENTRY_TYPE);
    }
    QCOMPARE(QCryptographicHash::hash(text, QCryptographicHash::Md5).toHex(), hash);
}

void tst_Standin::refusedSizes()
{
    QString error;
    QVERIFY(!ZQCreateStore(path("refused"), {2, 0, 40, 1, 1}, {}, &error));
    QCOMPARE(error, QStringLiteral("books need a publication"));
    QVERIFY(!ZQCreateStore(path("refused"), {0, 1, 1, 1, 1}, {}, &error));
    QCOMPARE(error, QStringLiteral("jobs need an output"));
    QVERIFY(!QFile::exists(path("refused")));
}

void tst_Standin::progress()
{
    unsigned long long reported = 0;
    const auto progress = [&reported](unsigned long long done, unsigned long long total) {
        QCOMPARE(done, reported + 4096);
        QCOMPARE(total, 9015ull);
        reported = done;
    };
    QVERIFY(ZQCreateStore(path("progress"), {3, 5, 9000, 7, 1}, progress, nullptr));
    QCOMPARE(reported, 8192ull);
}

ZQXML_TEST_MAIN(tst_Standin)

#include "tst_standin.moc"
