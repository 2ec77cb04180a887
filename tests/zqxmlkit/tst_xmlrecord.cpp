// SPDX-FileCopyrightText: 2026 The zqxml developers
// SPDX-License-Identifier: MIT

#include <standin/zqrecords.h>
#include <zqxml/xmlaction.h>
#include <zqxml/xmlpacket.h>
#include <zqxmlkit/xmlrecords.h>

#include <QDateTime>
#include <QTest>

#include <accounts.h>
#include <testtools.h>

namespace {

constexpr unsigned int dataType = 0x1f;

template <typename... Values>
QVariant list(Values... values)
{
    return QVariantList{QVariant(values)...};
}

} // namespace

class TestXMLRecord : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void values_data();
    void values();
    void names();
    void walk();
    void cleanup();
};

void TestXMLRecord::values_data()
{
    QTest::addColumn<unsigned int>("type");
    QTest::addColumn<unsigned int>("size");
    QTest::addColumn<QString>("text");
    QTest::addColumn<QVariant>("value"); // invalid where the text is malformed
    const auto row = [](const char *name, unsigned int type, unsigned int size, const char *text,
                        const QVariant &value) {
        QTest::newRow(name) << type << size << QString::fromUtf8(text) << value;
    };
    row("text", 1, 8, "10 apples", QStringLiteral("10 apples"));
    row("unsigned 64", 5, 8, "ffffffffffffffff", ~qulonglong(0));
    row("unsigned 16", 6, 2, "10", 16u);
    row("signed 32", 8, 4, "-2147483648", -2147483647 - 1);
    row("signed 64", 9, 8, "-9223372036854775807", -Q_INT64_C(9223372036854775807));
    row("double", 11, 8, "-0.1", -0.1);
    row("double of many digits", 11, 8, "0.30000000000000004", 0.1 + 0.2);
    row("time", 12, 8, "1700000000", QDateTime::fromMSecsSinceEpoch(1700000000000).toUTC());
    row("time out of range", 12, 8, "9223372036854775807", QVariant());
    row("number of 4 bytes", 13, 4, "ffffffff", ~0u);
    row("number of 8 bytes", 13, 8, "100000000", Q_UINT64_C(0x100000000));
    row("signed 32 array", 15, 4, "3 10 -2 7", list(10, -2, 7));
    row("number array of 1 byte", 16, 1, "2 10 a", list(16u, 10u));
    row("unsigned 64 array", 17, 8, "1 10", list(Q_UINT64_C(16)));
    row("unsigned 8 array", 19, 1, "0", QVariantList());
    row("record id", 21, 4, "1f", 31u);
    row("texts", 22, 8, "2 2 red\rblue", QStringList({QStringLiteral("2 red"), QStringLiteral("blue")}));
    row("texts, none", 22, 8, "0", QStringList());
    row("binary data", 23, 1, "2 ff ee", QVariant());
    row("float", 24, 4, "0.1", 0.1f);
    row("flag", 25, 1, "1", true);
    row("flag not set", 25, 1, "0", false);
    row("signed 64 array", 27, 8, "1 -10", list(Q_INT64_C(-10)));
    row("unsigned 32", 29, 4, "ffffffff", ~0u);
    row("double array", 30, 8, "2 0.5 10", list(0.5, 10.0));
    row("unsigned 32 array", 31, 4, "2 10 ffffffff", list(16u, ~0u));
    row("decimal digits only", 8, 4, "1a", QVariant());
    row("hexadecimal digits only", 29, 4, "1g", QVariant());
    row("too large", 29, 4, "100000000", QVariant());
    row("array with a word", 31, 4, "2 10 x", QVariant());
    row("array of another count", 31, 4, "2 10", QVariant());
    row("a key of one half", 14, 8, "10", QVariant());
}

void TestXMLRecord::values()
{
    QFETCH(unsigned int, type);
    QFETCH(unsigned int, size);
    QFETCH(QString, text);
    QFETCH(QVariant, value);
    CONVERTSTRUCTELEMENTINFO table[] = {{type, 0x3, "field", size, {}}, {}};
    ZQRegisterStorageClass(dataType, table);
    TextRecord record("SI 1f\n3 " + text.toUtf8() + "\nTI 0\n");
    XMLPacket packet;
    packet.append(record, false);
    const XMLRecords records(packet);
    const QVariant found = records.begin()->value("field");
    QCOMPARE(found, value);
    QCOMPARE(found.userType(), value.userType());
    QCOMPARE(records.begin()->value(QStringLiteral("field")), value);
}

void TestXMLRecord::names()
{
    // Rows whose names share a bucket, a tag that two rows have, and fields in another order than their rows.
    CONVERTSTRUCTELEMENTINFO table[] = {{1, 0x1f, "name", 8, {}},   {8, 0x2, "b", 4, {}},    {14, 0xa, "key", 8, {}},
                                        {29, 0x2, "hidden", 4, {}}, {8, 0x4, "name", 4, {}}, {23, 0x5, "digest", 1, {}},
                                        {8, 0x6, "missing", 4, {}}, {8, 0x7, "r", 4, {}},    {}};
    ZQRegisterStorageClass(dataType, table);
    TextRecord record("SI 1f\n7 70\na a3 7\n2 10\n1F upper\n4 4\nSL 1\nSI 1f\n6 6\nTI 0\nTL 0\nTI 0\n");
    XMLPacket packet;
    packet.append(record, true);
    const XMLRecord read = *XMLRecords(packet).begin();
    QCOMPARE(static_cast<unsigned int>(read.type()), dataType);
    QCOMPARE(read.fieldNames().join(QLatin1Char(' ')), QStringLiteral("name b key name missing r"));
    QCOMPARE(read.value("name"), QVariant(QStringLiteral("upper")));
    QCOMPARE(read.value("b"), QVariant(10));
    QCOMPARE(read.value("r"), QVariant(70));
    QCOMPARE(read.key("key").key, 0xa3u);
    QCOMPARE(read.key("key").hkey, 7u);
    for (const char *const name : {"hidden", "missing", "digest", "unknown", "", "Name"})
        QVERIFY2(!read.value(name).isValid(), name);
    QCOMPARE(read.key("b").key, 0u);
    QVERIFY(!XMLRecord().value("name").isValid());
}

/** One view goes over records of several types, with and without a table, and over what is no record. */
void TestXMLRecord::walk()
{
    XMLPacket packet;
    XMLAction action;
    packet.append(action);
    CONVERTSTRUCTELEMENTINFO table[] = {{8, 0x1, "number", 4, {}}, {}};
    ZQRegisterStorageClass(dataType, table);
    for (const char *const text : {"SI 1f\n1 5\nTI 0\n", "SI 99\n1 6\nTI 0\n", "", "SI 1f\n1 7\nTI 0\n"}) {
        TextRecord record(text);
        packet.append(record, false);
        packet.append(action);
    }
    QVariantList found;
    for (const XMLRecord &record : XMLRecords(packet))
        found << record.value("number");
    QCOMPARE(found, (QVariantList{5, QVariant(), QVariant(), 7}));
}

void TestXMLRecord::cleanup()
{
    ZQRegisterStorageClass(dataType, nullptr);
}

ZQXML_TEST_MAIN(TestXMLRecord)

#include "tst_xmlrecord.moc"
