// SPDX-FileCopyrightText: 2026 The zqxml developers
// SPDX-License-Identifier: MIT

#include "blocks.h"
#include "plainconversion.h"
#include "testtools.h"

#include <standin/zqrecords.h>
#include <zqxml/xmlpacketable.h>

#include <QDomImplementation>
#include <QThread>

namespace {

constexpr PACKETDATATYPES everyType = PACKETDATATYPES(0x1f);
constexpr PACKETDATATYPES otherType = PACKETDATATYPES(0x20);
constexpr PACKETDATATYPES emptyType = PACKETDATATYPES(0x30);
constexpr PACKETDATATYPES neverConverted = PACKETDATATYPES(6);

CONVERTSTRUCTELEMENTINFO row(unsigned int elementType, unsigned int tag)
{
    return CONVERTSTRUCTELEMENTINFO{elementType, tag, elementType == 23 ? "Bild \xe4 %1" : "field", 4, {}};
}

} // namespace

/**
 * What the comparison with the plain form of the conversion, on the inputs of the fuzzers, leaves open: single texts
 * with their trees, the parts of the conversion that are public, and what stands around it.
 */
class tst_XMLPacketable : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase();
    void cleanupTestCase();
    void textToTree_data();
    void textToTree();
    void elements();
    void lineIsSplitAtFirstBlank();
    void setData();
    void setDataIntoAnItem();
    void everyPolicyKeepsTheNames();
    void nestingLimit();
    void sizes_data();
    void sizes();
    void rebuilt_data();
    void rebuilt();
    void heldRecord();
    void whatIsNoRecord();

private:
    std::vector<CONVERTSTRUCTELEMENTINFO> everyTable;
    std::vector<CONVERTSTRUCTELEMENTINFO> otherTable;
    CONVERTSTRUCTELEMENTINFO emptyTable = row(0, 1);
};

void tst_XMLPacketable::initTestCase()
{
    everyTable.clear();
    for (unsigned int type = 1; type < 40; ++type)
        everyTable.push_back(row(type, type));
    everyTable.push_back(row(1, 0xffffffff));
    everyTable.push_back(row(10, 0x100)); // the first row of tag 0x100 has no shape
    everyTable.push_back(row(1, 0x100));
    everyTable.push_back(row(0, 0));
    otherTable = {row(14, 1), row(0, 0), row(1, 2)};
    ZQRegisterStorageClass(everyType, everyTable.data());
    ZQRegisterStorageClass(otherType, otherTable.data());
    ZQRegisterStorageClass(emptyType, &emptyTable);
    ZQRegisterStorageClass(neverConverted, everyTable.data());
}

void tst_XMLPacketable::cleanupTestCase()
{
    for (const PACKETDATATYPES type : {everyType, otherType, emptyType, neverConverted})
        ZQRegisterStorageClass(type, nullptr);
}

void tst_XMLPacketable::textToTree_data()
{
    addBlocks(QFINDTESTDATA("../data/conversion/text-to-tree.txt"));
}

void tst_XMLPacketable::textToTree()
{
    QFETCH(QByteArray, input);
    QFETCH(QByteArray, expected);
    TextRecord record(input);
    XMLPacketable object;
    object.setData(record);
    QCOMPARE(dump(object.getNode()).toUtf8() + '\n', expected);
}

void tst_XMLPacketable::elements()
{
    using X = XMLPacketable;
    const struct {
        plain::Shape shape;
        QDomElement (*make)(QDomElement &, const QString &, const QString &);
        void (*makeV)(QDomElement &, const QString &, const QString &);
        QString (*write)(const QDomElement &);
    } fields[] = {
        {plain::Simple, X::createSimpleElement, X::createSimpleElementV, X::toSimpleValuePacket},
        {plain::Key, X::createZQKEYElement, X::createZQKEYElementV, X::toZQKEYValuePacket},
        {plain::Numbers, X::createNumberArrayElement, X::createNumberArrayElementV, X::toNumberArrayValuePacket},
        {plain::Strings, X::createStringArrayElement, X::createStringArrayElementV, X::toStringArrayValuePacket}};
    XMLPacketable object;
    XMLPacketable plainObject;
    QDomElement parent = object.getNode();
    const QStringList values =
        QStringLiteral("| |a|1 b|%1 c|2 a\rb|a 1 2 3 4 5 6 7 8 9 \xe4|  2  x y|0").split(QLatin1Char('|'));
    for (const auto &[shape, make, makeV, write] : fields) {
        for (const QString &value : values) {
            for (const QString &tag : {QStringLiteral("9"), QStringLiteral("%1")}) {
                const QDomElement field = plain::addField(plainObject.getNode(), shape, tag, value);
                plain::addField(plainObject.getNode(), shape, tag, value);
                const QDomElement made = make(parent, tag, value);
                makeV(parent, tag, value);
                QCOMPARE(write(made),
                         shape == plain::Simple ? QStringLiteral("%1 %2\n").arg(tag).arg(value)
                                                : plain::lineOf(shape, field));
                QString text = QStringLiteral("before ");
                X::appendSimpleValuePacket(text, made);
                QCOMPARE(text, QStringLiteral("before ") + plain::lineOf(plain::Simple, made));
            }
        }
        QDomElement null;
        QVERIFY(make(null, QStringLiteral("9"), QStringLiteral("1 b")).isNull());
        QVERIFY2(make(parent, QString(), QStringLiteral("1 b")).isNull(), "no element is without a name");
    }
    QCOMPARE(dump(parent), dump(plainObject.getNode()));
    XMLPacketable other;
    other.setCurrent(true);
    parent = other.getNode();
    QDomElement item = X::createItemElement(parent, QStringLiteral("x"));
    X::createListElement(item, QString());
    X::createListElementV(parent, QStringLiteral(" 2"));
    X::createItemElementV(parent, QStringLiteral("1F"));
    QCOMPARE(dump(parent),
             QStringLiteral("packetable[is_current=1](item[datatype=x](list) list[size= 2] item[datatype=1F])"));
}

void tst_XMLPacketable::lineIsSplitAtFirstBlank()
{
    QString line = QStringLiteral("1f a b ");
    QStringRef tag;
    QStringRef value;
    XMLPacketable::getTagValuePair(line, tag, value);
    QCOMPARE(tag.toString(), QStringLiteral("1f"));
    QCOMPARE(value.toString(), QStringLiteral("a b "));
    QString noBlank = QStringLiteral("TI\t0");
    XMLPacketable::getTagValuePair(noBlank, tag, value);
    QCOMPARE(tag.toString(), QStringLiteral("1f"));
    QString blankOnly = QStringLiteral(" ");
    XMLPacketable::getTagValuePair(blankOnly, tag, value);
    QCOMPARE(tag.toString() + value.toString(), QString());
    QVERIFY(!XMLPacketable::getConvStructFromDataTag(nullptr, 1));
    QVERIFY2(!XMLPacketable::getConvStructFromDataTag(otherTable.data(), 2), "a row behind the end");
    QCOMPARE(XMLPacketable::getConvStructFromDataTag(everyTable.data(), 0x100)->elementType, 10u);
}

void tst_XMLPacketable::setData()
{
    const struct {
        QByteArray text;
        const char *name;
        unsigned int type;
        bool isEntry;
        QString tree;
    } rows[] = {
        {"SL 0", "Gr\xc3\xbcn", 0x1f, true, QStringLiteral("packetable[datatype=1f name=Gr\u00fcn](list[size=0])")},
        {"", nullptr, 0xffffffff, true, QStringLiteral("packetable[datatype=ffffffff]")},
        // An entry of a list is named by its payload, unless it has a name of its own.
        {"", nullptr, 8, true, QStringLiteral("packetable[datatype=8 name=p\u00e4]")},
        {"", "", 8, true, QStringLiteral("packetable[datatype=8]")},
        {"", nullptr, 8, false, QStringLiteral("packetable[datatype=8]")}};
    for (const auto &row : rows) {
        TextRecord record(row.text, static_cast<PACKETDATATYPES>(row.type));
        QByteArray name(row.name);
        QByteArray entryName("p\xc3\xa4");
        ZQDBLIST_ENTRY entry{};
        entry.name = entryName.data();
        record.name = row.name ? name.data() : nullptr;
        record.payload = row.isEntry ? &entry : nullptr;
        XMLPacketable object;
        object.setData(record);
        record.payload = nullptr;
        record.name = nullptr;
        QCOMPARE(dump(object.getNode()), row.tree);
    }
}

void tst_XMLPacketable::setDataIntoAnItem()
{
    for (const unsigned int type : {0x1fu, 6u, 0x77u}) {
        TextRecord record("1 a\nSL 1\nTL 0\n2 b\n", static_cast<PACKETDATATYPES>(type));
        XMLPacketable holder;
        QDomElement parent = holder.getNode();
        XMLPacketable object;
        object.setNode(XMLPacketable::createItemElement(parent, QStringLiteral("x")));
        object.setData(record);
        XMLPacketable plainHolder;
        QDomElement item = plain::add(plainHolder.getNode(), QStringLiteral("item"));
        item.setAttribute(QStringLiteral("datatype"), QString::number(type, 16));
        plain::read(item, "1 a\nSL 1\nTL 0\n2 b\n", 19);
        QCOMPARE(dump(object.getNode()), dump(item));
    }
}

void tst_XMLPacketable::everyPolicyKeepsTheNames()
{
    const auto before = QDomImplementation::invalidDataPolicy();
    for (const auto policy : {QDomImplementation::AcceptInvalidChars, QDomImplementation::DropInvalidChars,
                              QDomImplementation::ReturnNullNode}) {
        QDomImplementation::setInvalidDataPolicy(policy);
        TextRecord record("SI 1f\n1 a\n0f 1 \1\n");
        XMLPacketable object;
        object.setData(record);
        QDomElement node = object.getNode();
        XMLPacketable::createZQKEYElement(node, QStringLiteral("2"), QStringLiteral("a b"));
        const auto left = QDomImplementation::invalidDataPolicy();
        QDomImplementation::setInvalidDataPolicy(before);
        QCOMPARE(dump(node),
                 QStringLiteral("packetable[datatype=1f](item[datatype=1f](1[value=a] "
                                "0f[size=1](value(\"\1\"))) 2[hkey=b key=a])"));
        QCOMPARE(left, policy);
    }
}

void tst_XMLPacketable::nestingLimit()
{
    const int limit = int(XMLPacketable::NESTING_LIMIT);
    const QByteArray start("SI 1f\n1 a\n");
    const QByteArray end("2 b\nTI 0\n");
    for (const int levels : {limit - 1, limit, limit + 1, limit + 500}) {
        XMLPacketable object;
        TextRecord record(start.repeated(levels) + end.repeated(levels) + "SL 0\n");
        object.setData(record);
        // Levels beyond the limit are left out, but their markers pair up.
        const int kept = qMin(levels, limit);
        QCOMPARE(XMLPacketable::toPacket(object.getNode()).toLatin1(),
                 start.repeated(kept) + end.repeated(kept) + "SL 0\nTL 0\n");

        // A tree that is deeper than what the reader makes is written as far as the limit goes.
        QDomElement deepest = object.getNode();
        while (!deepest.firstChildElement(XMLPacketable::ITEM).isNull())
            deepest = deepest.firstChildElement(XMLPacketable::ITEM);
        XMLPacketable::createItemElement(deepest, QStringLiteral("1f"));
        const int written = int(XMLPacketable::toPacket(object.getNode()).count(QLatin1String("SI 1f\n")));
        QCOMPARE(written, qMin(kept + 1, limit));
    }
}

void tst_XMLPacketable::sizes_data()
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
    row("many numbers", "SI 1f\n1f 186a0", " 1", many, item + 2 * many + 10);
    row("a count of ffffffff", "SI 1f\n1f ffffffff", " 1", many, item + 6);
    row("many texts", "SI 1f\n16 186a0 ", "t\r", many, item + 2 * many + 16);
    row("texts counted ffffffff", "SI 1f\n16 ffffffff ", "t\r", many, item + 6);
    row("many fields", "SI 1f\n", "1 y\n", many, item + 4 * many);
    row("many opening lists", "", "SL 1\n", many, limit * int(qstrlen("SL 1\nTL 0\n")));
    row("many opening items", "", "SI 1f\n", many, limit * item);
    row("many items that are not converted", "", "SI 6\n1 y\n", many, many * (item - 1));
}

void tst_XMLPacketable::sizes()
{
    // What takes quadratic time would take minutes, and what recurses would overflow the small stack.
    QFETCH(QByteArray, front);
    QFETCH(QByteArray, part);
    QFETCH(int, repetitions);
    QFETCH(int, length);
    QString text;
    const std::unique_ptr<QThread> thread(QThread::create([&] {
        TextRecord record(front + part.repeated(repetitions));
        XMLPacketable object;
        object.setData(record);
        text = XMLPacketable::toPacket(object.getNode());
    }));
    thread->setStackSize(512 * 1024);
    thread->start();
    thread->wait();
    QCOMPARE(int(text.size()), length);
}

void tst_XMLPacketable::rebuilt_data()
{
    addBlocks(QFINDTESTDATA("../data/conversion/rebuilt.txt"));
}

void tst_XMLPacketable::rebuilt()
{
    QFETCH(QByteArray, input);
    QFETCH(QByteArray, expected);
    const auto type = PACKETDATATYPES(input.mid(3, input.indexOf('\n') - 3).toUInt(nullptr, 16));
    const std::unique_ptr<ZQPacketable> record(PacketableUtil::getPacketable(type));
    QVERIFY(readPacketText(*record, input));
    XMLPacketable object;
    object.setData(*record);
    const std::unique_ptr<ZQPacketable> copy(object.getData());
    QVERIFY(copy);
    QCOMPARE(packetTextOf(*copy), expected);
}

void tst_XMLPacketable::heldRecord()
{
    TextRecord record("SI 15\n1 first\nTI 0\n", JOB_TYPE);
    XMLPacketable object;
    QVERIFY2(!object.getDataConst(), "nothing to rebuild yet");
    object.setData(record);
    ZQPacketable *const held = object.getDataConst();
    QVERIFY2(held, "a failed attempt is no obstacle");
    const QByteArray text = packetTextOf(*held);
    object.getNode().firstChildElement().firstChildElement().setAttribute(QStringLiteral("value"),
                                                                          QStringLiteral("second"));
    QCOMPARE(object.getDataConst(), held);
    const std::unique_ptr<ZQPacketable> copy(object.getData());
    QVERIFY(copy.get() != held);
    QCOMPARE(packetTextOf(*copy), text);
}

void tst_XMLPacketable::whatIsNoRecord()
{
    // Another type, no item, no text, a type that the record library does not know.
    for (const char *const text : {"SI 56\n1 a\nTI 0\n", "SL 0\nTL 0\n", "", "SI 15\n1 a\nTI 0\n"}) {
        TextRecord record(text, qstrncmp(text, "SI 15", 5) == 0 ? everyType : JOB_TYPE);
        XMLPacketable object;
        object.setData(record);
        QVERIFY(!object.getDataConst());
        QVERIFY(!object.getData());
    }
}

ZQXML_TEST_MAIN(tst_XMLPacketable)
#include "tst_xmlpacketable.moc"
