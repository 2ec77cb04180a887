// SPDX-FileCopyrightText: 2026 The zqxml developers
// SPDX-License-Identifier: MIT

#include "blocks.h"
#include "testtools.h"

#include <standin/zqstandin.h>

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
    void chains();
};

void tst_Standin::cleanup()
{
    QCOMPARE(ZQLiveRecords(), 0u);
    QCOMPARE(ZQLiveConverters(), 0u);
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

void tst_Standin::chains()
{
    Mischief random(1);
    ZQLIST_ELEMENT *chain = nullptr;
    QList<ZQLIST_ELEMENT *> expected;
    for (int i = 0; i < 200; ++i) {
        if (expected.isEmpty() || random.below(3) > 0) {
            expected << ZQNew<ZQJOBRECORD>(JOB_TYPE);
            AddListList(&chain, expected.last());
        } else {
            ZQLIST_ELEMENT *const removed = expected.takeAt(random.below(int(expected.size())));
            RemoveItemFromList(&chain, removed);
            RemoveItemFromList(&chain, removed); // which is no longer there
            QVERIFY(!removed->next);
            ZQPacketFreeItem(removed, JOB_TYPE);
        }
        QList<ZQLIST_ELEMENT *> actual;
        for (ZQLIST_ELEMENT *record = chain; record; record = record->next)
            actual << record;
        QCOMPARE(actual, expected);
    }
    ZQPacketFreeList(&chain, JOB_TYPE);
    QVERIFY(!chain);
}

ZQXML_TEST_MAIN(tst_Standin)

#include "tst_standin.moc"
