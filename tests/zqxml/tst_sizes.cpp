// SPDX-FileCopyrightText: 2026 The zqxml developers
// SPDX-License-Identifier: MIT

#include "testtools.h"

#include <standin/zqrecords.h>
#include <zqxml/xmlpacketable.h>

#include <QThread>

namespace {

/** Runs \a call on a stack that is too small for any recursion over a deep tree. */
template <typename Call>
void onSmallStack(Call call)
{
    const std::unique_ptr<QThread> thread(QThread::create(call));
    thread->setStackSize(512 * 1024);
    thread->start();
    thread->wait();
}

} // namespace

/** Texts and trees of a size that no honest record has. What takes quadratic time would take minutes. */
class tst_Sizes : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase();
    void cleanupTestCase();
    void texts_data();
    void texts();
    void deepTrees();

private:
    CONVERTSTRUCTELEMENTINFO table[5] = {
        {CONV_TEXT, 1, "text", 8, {}},
        {CONV_KEY, 2, "key", 8, {}},
        {CONV_UINT32ARRAY, 3, "numbers", 16, {}},
        {CONV_TEXTARRAY, 4, "texts", 16, {}},
        {},
    };
};

void tst_Sizes::initTestCase()
{
    ZQRegisterStorageClass(0x1f, table);
}

void tst_Sizes::cleanupTestCase()
{
    ZQRegisterStorageClass(0x1f, nullptr);
}

void tst_Sizes::texts_data()
{
    QTest::addColumn<QByteArray>("front");
    QTest::addColumn<QByteArray>("part"); // repeated this often:
    QTest::addColumn<int>("repetitions");
    QTest::addColumn<int>("length"); // of the text that is written back
    const auto row = [](const char *name, const char *front, const char *part, int repetitions, int length) {
        QTest::newRow(name) << QByteArray(front) << QByteArray(part) << repetitions << length;
    };
    const int item = int(qstrlen("SI 1f\nTI 0\n"));
    const int limit = int(XMLPacketable::NESTING_LIMIT);
    const int many = 100000; // 186a0 in base 16
    row("a long line", "SI 1f\n1 ", "x", 50 * many, item + 50 * many + 3);
    row("a long tag", "SI 1f\n", "1", 50 * many, item);
    row("many blanks", "SI 1f\n1 y\n", " ", 50 * many, item + 4);
    row("many lines of one blank", "SI 1f\n1 y\n", " \n", many, item + 4);
    row("many numbers", "SI 1f\n3 186a0", " 1", many, item + 2 * many + 9);
    row("a count of ffffffff", "SI 1f\n3 ffffffff", " 1", many, item + 5);
    row("many texts", "SI 1f\n4 186a0 ", "t\r", many, item + 2 * many + 15);
    row("texts counted ffffffff", "SI 1f\n4 ffffffff ", "t\r", many, item + 5);
    row("a key of many words", "SI 1f\n2", " 1", many, item + 4);
    row("many fields", "SI 1f\n", "1 y\n", many, item + 4 * many);
    row("many opening lists", "", "SL 1\n", many, limit * int(qstrlen("SL 1\nTL 0\n")));
    row("many opening items", "", "SI 1f\n", many, limit * item);
    row("many items that are not converted", "", "SI 6\n1 y\n", many, many * (item - 1));
}

void tst_Sizes::texts()
{
    QFETCH(QByteArray, front);
    QFETCH(QByteArray, part);
    QFETCH(int, repetitions);
    QFETCH(int, length);
    QString text;
    onSmallStack([&] {
        TextRecord record(front + part.repeated(repetitions));
        XMLPacketable object;
        object.setData(record);
        text = XMLPacketable::toPacket(object.getNode());
    });
    QCOMPARE(int(text.size()), length);
}

void tst_Sizes::deepTrees()
{
    // Deeper than the toolkit could print.
    std::unique_ptr<XMLPacket> packets[2];
    std::vector<QDomElement> tops;
    for (std::unique_ptr<XMLPacket> &packet : packets) {
        packet = std::make_unique<XMLPacket>();
        XMLPacketable object;
        QDomElement top = packet->append(object);
        QDomElement deep;
        for (int i = 0; i < 20000; ++i) {
            QDomElement parent = top.ownerDocument().createElement(XMLPacketable::LIST);
            parent.appendChild(deep);
            deep = parent;
        }
        top.appendChild(deep);
        tops.push_back(top);
    }
    bool equal = false;
    bool different = false;
    QString text;
    onSmallStack([&] {
        equal = *packets[0] == *packets[1];
        text = XMLPacketable::toPacket(tops[0]);
        tops[1].appendChild(tops[1].ownerDocument().createElement(QStringLiteral("b")));
        different = *packets[0] != *packets[1];
        packets[0].reset();
        packets[1].reset();
    });
    QVERIFY(equal);
    QVERIFY(different);
    QCOMPARE(int(text.count(XMLPacketable::START_LIST)), int(XMLPacketable::NESTING_LIMIT));
}

ZQXML_TEST_MAIN(tst_Sizes)
#include "tst_sizes.moc"
