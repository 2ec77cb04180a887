// SPDX-FileCopyrightText: 2026 The zqxml developers
// SPDX-License-Identifier: MIT

#include "blocks.h"
#include "plainconversion.h"
#include "testtools.h"

#include <standin/zqrecords.h>
#include <zqxml/xmlpacketable.h>

#include <QDomImplementation>

namespace {

constexpr PACKETDATATYPES everyType = PACKETDATATYPES(0x1f);
constexpr PACKETDATATYPES otherType = PACKETDATATYPES(0x20);
constexpr PACKETDATATYPES emptyType = PACKETDATATYPES(0x30);
constexpr PACKETDATATYPES neverConverted = PACKETDATATYPES(6);

CONVERTSTRUCTELEMENTINFO row(unsigned int elementType, unsigned int tag)
{
    return CONVERTSTRUCTELEMENTINFO{elementType, tag, elementType == 23 ? "Bild \xe4 %1" : "field", 4, {}};
}

using Make = QDomElement (*)(QDomElement &, const QString &, const QString &);
using MakeV = void (*)(QDomElement &, const QString &, const QString &);
using Write = QString (*)(const QDomElement &);

} // namespace

Q_DECLARE_METATYPE(Make)
Q_DECLARE_METATYPE(MakeV)
Q_DECLARE_METATYPE(Write)

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
    void attributes();
    void textToTree_data();
    void textToTree();
    void fields_data();
    void fields();
    void listsAndItems();
    void lineIsSplitAtFirstBlank();
    void setData_data();
    void setData();
    void unknownTagInTableOfAnySize();
    void everyPolicyKeepsTheNames();
    void nestingLimit();
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

void tst_XMLPacketable::attributes()
{
    XMLPacketable object;
    QVERIFY(!object.isCurrent());
    QCOMPARE(object.getName(), QString());
    QCOMPARE(object.getType(), PACKETDATATYPES(0));
    object.setCurrent(true);
    object.setName(QStringLiteral("n"));
    object.setType(PACKETDATATYPES(0xfffffff5));
    QVERIFY(object.isCurrent());
    QCOMPARE(object.getName(), QStringLiteral("n"));
    QCOMPARE(object.getType(), PACKETDATATYPES(0xfffffff5));
    QCOMPARE(dump(object.getNode()), QStringLiteral("packetable[datatype=fffffff5 is_current=1 name=n]"));
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

void tst_XMLPacketable::fields_data()
{
    QTest::addColumn<int>("shape");
    QTest::addColumn<Make>("make");
    QTest::addColumn<MakeV>("makeV");
    QTest::addColumn<Write>("write");
    using X = XMLPacketable;
    QTest::newRow("simple") << int(plain::Simple) << Make(X::createSimpleElement) << MakeV(X::createSimpleElementV)
                            << Write(X::toSimpleValuePacket);
    QTest::newRow("key") << int(plain::Key) << Make(X::createZQKEYElement) << MakeV(X::createZQKEYElementV)
                         << Write(X::toZQKEYValuePacket);
    QTest::newRow("numbers") << int(plain::Numbers) << Make(X::createNumberArrayElement)
                             << MakeV(X::createNumberArrayElementV) << Write(X::toNumberArrayValuePacket);
    QTest::newRow("texts") << int(plain::Strings) << Make(X::createStringArrayElement)
                           << MakeV(X::createStringArrayElementV) << Write(X::toStringArrayValuePacket);
}

void tst_XMLPacketable::fields()
{
    QFETCH(int, shape);
    QFETCH(Make, make);
    QFETCH(MakeV, makeV);
    QFETCH(Write, write);
    XMLPacketable object;
    XMLPacketable plainObject;
    QDomElement parent = object.getNode();
    const QStringList values =
        QStringLiteral("| |a|1 b|%1 c|2 a\rb|a 1 2 3 4 5 6 7 8 9 \xe4|  2  x y|0").split(QLatin1Char('|'));
    for (const QString &value : values) {
        for (const QString &tag : {QStringLiteral("9"), QStringLiteral("%1")}) {
            const QDomElement field = plain::addField(plainObject.getNode(), plain::Shape(shape), tag, value);
            plain::addField(plainObject.getNode(), plain::Shape(shape), tag, value);
            const QDomElement made = make(parent, tag, value);
            makeV(parent, tag, value);
            QCOMPARE(dump(made), dump(field));
            const bool isSimple = shape == plain::Simple; // which a form of its own appends without filling in
            const QString line = plain::lineOf(plain::Shape(shape), field);
            QCOMPARE(write(made), isSimple ? QStringLiteral("%1 %2\n").arg(tag).arg(value) : line);
            QString text = QStringLiteral("before ");
            XMLPacketable::appendSimpleValuePacket(text, made);
            QCOMPARE(text, QStringLiteral("before ") + plain::lineOf(plain::Simple, made));
        }
    }
    QCOMPARE(dump(parent), dump(plainObject.getNode()));
    QDomElement null;
    QVERIFY(make(null, QStringLiteral("9"), QStringLiteral("1 b")).isNull());
}

void tst_XMLPacketable::listsAndItems()
{
    XMLPacketable object;
    QDomElement parent = object.getNode();
    QCOMPARE(dump(XMLPacketable::createListElement(parent, QString())), QStringLiteral("list"));
    QCOMPARE(dump(XMLPacketable::createItemElement(parent, QStringLiteral("x"))), QStringLiteral("item[datatype=x]"));
    XMLPacketable::createListElementV(parent, QStringLiteral(" 2"));
    XMLPacketable::createItemElementV(parent, QStringLiteral("1F"));
    QCOMPARE(dump(parent), QStringLiteral("packetable(list item[datatype=x] list[size= 2] item[datatype=1F])"));
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

void tst_XMLPacketable::setData_data()
{
    QTest::addColumn<QByteArray>("text");
    QTest::addColumn<QByteArray>("name");
    QTest::addColumn<unsigned int>("type");
    QTest::addColumn<bool>("entry");
    QTest::addColumn<QString>("tree");
    const auto row = [](const QByteArray &text, const char *name, unsigned int type, bool entry, const char *tree) {
        QTest::newRow(tree) << text << QByteArray(name) << type << entry << QString::fromUtf8(tree);
    };
    row("SL 0", "Gr\xc3\xbcn", 0x1f, true, "packetable[datatype=1f name=Gr\xc3\xbcn](list[size=0])");
    row(QByteArray(), "n", 0x1f, false, "packetable[datatype=1f name=n]");
    row("", nullptr, 0xffffffff, true, "packetable[datatype=ffffffff]");
    // An entry of a list is named by its payload, unless it has a name of its own.
    row("", nullptr, 8, true, "packetable[datatype=8 name=p\xc3\xa4]");
    row("", "", 9, true, "packetable[datatype=9]");
    row("", "n", 8, true, "packetable[datatype=8 name=n]");
    row("", nullptr, 8, false, "packetable[datatype=8]");
}

void tst_XMLPacketable::setData()
{
    QFETCH(QByteArray, text);
    QFETCH(QByteArray, name);
    QFETCH(unsigned int, type);
    QFETCH(bool, entry);
    QFETCH(QString, tree);
    TextRecord record(text, static_cast<PACKETDATATYPES>(type));
    QByteArray entryName("p\xc3\xa4");
    ZQDBLIST_ENTRY payload{};
    payload.name = entryName.data();
    record.name = name.isNull() ? nullptr : name.data();
    record.payload = entry ? &payload : nullptr;
    XMLPacketable object;
    object.setData(record);
    record.payload = nullptr;
    record.name = nullptr;
    QCOMPARE(dump(object.getNode()), tree);
}

void tst_XMLPacketable::unknownTagInTableOfAnySize()
{
    std::vector<CONVERTSTRUCTELEMENTINFO> table(1, row(0, 0));
    for (unsigned int rows = 0; rows < 70; ++rows) {
        ZQRegisterStorageClass(otherType, table.data());
        TextRecord record("SI 20\nfff x\n10f x\n");
        XMLPacketable object;
        object.setData(record);
        QCOMPARE(dump(object.getNode().firstChild()),
                 rows < 16 ? QStringLiteral("item[datatype=20]") : QStringLiteral("item[datatype=20](10f[value=x])"));
        table.back() = row(1, 0x100 + rows);
        table.push_back(row(0, 0));
    }
    ZQRegisterStorageClass(otherType, otherTable.data());
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
    QVERIFY(limit >= 1000);
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
    QVERIFY(text.contains("\n1 first\n"));
    object.getNode().firstChildElement().firstChildElement().setAttribute(QStringLiteral("value"),
                                                                          QStringLiteral("second"));
    QCOMPARE(object.getDataConst(), held);
    const std::unique_ptr<ZQPacketable> copy(object.getData());
    const std::unique_ptr<ZQPacketable> other(object.getData());
    QVERIFY(copy.get() != held);
    QVERIFY(copy != other);
    QCOMPARE(packetTextOf(*copy), text);
    QCOMPARE(packetTextOf(*other), text);
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
