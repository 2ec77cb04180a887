// SPDX-FileCopyrightText: 2026 The zqxml developers
// SPDX-License-Identifier: MIT

#include "plainconversion.h"
#include "testtools.h"

#include <standin/zqrecords.h>
#include <zqxml/xmlpacketable.h>

#include <QDomImplementation>
#include <QRandomGenerator>
#include <QtTest>

namespace {

// The tags of the table are the conversion types, so that a line's tag says what it is.
constexpr PACKETDATATYPES everyType = PACKETDATATYPES(0x1f);
constexpr PACKETDATATYPES otherType = PACKETDATATYPES(0x20);
constexpr PACKETDATATYPES emptyType = PACKETDATATYPES(0x30);
constexpr PACKETDATATYPES neverConverted = PACKETDATATYPES(6);

CONVERTSTRUCTELEMENTINFO row(unsigned int elementType, unsigned int tag, const char *name = "field",
                             unsigned int size = 4)
{
    return CONVERTSTRUCTELEMENTINFO{elementType, tag, name, size, {}};
}

} // namespace

class tst_XMLPacketable : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase();
    void cleanupTestCase();
    void attributes();
    void elements_data();
    void elements();
    void lineIsSplitAtFirstBlank();
    void firstRowOfATagDecides();
    void shapes_data();
    void shapes();
    void toDom_data();
    void toDom();
    void toDomBelowAnItem();
    void setData_data();
    void setData();
    void everyPolicyKeepsTheNames_data();
    void everyPolicyKeepsTheNames();
    void toPacket_data();
    void toPacket();
    void lines_data();
    void lines();
    void nestingLimit();
    void hostileNestingAndSizes_data();
    void hostileNestingAndSizes();
    void agreesWithPlainConversion();

private:
    static QString treeOf(const QByteArray &text)
    {
        XMLPacketable object;
        TextRecord record(text);
        object.setData(record);
        const QString tree = dump(object.getNode());
        const QString start = QStringLiteral("packetable[datatype=1f]");
        return tree == start ? QString() : tree.mid(start.size() + 1).chopped(1);
    }

    std::vector<CONVERTSTRUCTELEMENTINFO> everyTable;
    std::vector<CONVERTSTRUCTELEMENTINFO> otherTable;
    CONVERTSTRUCTELEMENTINFO emptyTable = row(0, 1);
};

void tst_XMLPacketable::initTestCase()
{
    for (unsigned int type = 1; type < 40; ++type)
        everyTable.push_back(row(type, type, type == 23 ? "Bild \xe4 %1" : "field"));
    everyTable.push_back(row(1, 0xffffffff));
    everyTable.push_back(row(14, 1)); // the first row of tag 1 is a simple field
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
    QVERIFY(object.isXMLPacketable());
    QVERIFY(!object.isCurrent());
    QVERIFY(object.getName().isEmpty());
    QCOMPARE(object.getType(), PACKETDATATYPES(0));
    object.setCurrent(true);
    object.setName(QStringLiteral("n"));
    object.setType(PACKETDATATYPES(0xfffffff5));
    QVERIFY(object.isCurrent());
    QCOMPARE(object.getName(), QStringLiteral("n"));
    QCOMPARE(object.getType(), PACKETDATATYPES(0xfffffff5));
    QCOMPARE(dump(object.getNode()), QStringLiteral("packetable[datatype=fffffff5 is_current=1 name=n]"));
    object.setCurrent(false);
    QVERIFY(!object.isCurrent());
}

void tst_XMLPacketable::elements_data()
{
    QTest::addColumn<QString>("shape");
    QTest::addColumn<QString>("value");
    QTest::addColumn<QString>("element");
    const auto row = [](const char *name, const char *shape, const char *value, const char *element) {
        QTest::newRow(name) << QString::fromLatin1(shape) << QString::fromLatin1(value) << QString::fromLatin1(element);
    };
    row("list", "list", " 2", "list[size= 2]");
    row("list without a size", "list", "", "list");
    row("item", "item", "1F", "item[datatype=1F]");
    row("simple", "simple", "a b", "9a[value=a b]");
    row("simple without a value", "simple", "", "9a");
    row("key", "key", "a3 7", "9a[hkey=7 key=a3]");
    row("key with blanks around", "key", "  a3   7 ", "9a[hkey=7 key=a3]");
    row("key of one word", "key", "a3", "9a");
    row("key of three words", "key", "a3 7 1", "9a");
    row("key with a tab", "key", "a3\t7", "9a");
    row("numbers", "numbers", "3 10 20 30", "9a[size=3](value(\"10\") value(\"20\") value(\"30\"))");
    row("numbers with runs of blanks", "numbers", " 2  1   x ", "9a[size=2](value(\"1\") value(\"x\"))");
    row("no numbers", "numbers", "0", "9a[size=0]");
    row("too few numbers", "numbers", "2 5", "9a");
    row("too many numbers", "numbers", "1 5 6", "9a");
    row("count that is no number", "numbers", "x 5", "9a");
    row("nothing", "numbers", " ", "9a");
    row("hexadecimal count", "numbers", "A 1 2 3 4 5 6 7 8 9 a",
        "9a[size=a](value(\"1\") value(\"2\") value(\"3\") value(\"4\") value(\"5\") value(\"6\") value(\"7\") "
        "value(\"8\") value(\"9\") value(\"a\"))");
    row("decimal count", "numbers", "10 1 2 3 4 5 6 7 8 9 a", "9a");
    row("count past 32 bits", "numbers", "100000000", "9a");
    row("count whose successor is 0", "numbers", "ffffffff", "9a");
    row("strings", "strings", "2 first\rsecond", "9a[size=2](value(\"2 first\") value(\"second\"))");
    row("strings with blanks in front", "strings", "  02 a\r\r b", "9a[size=2](value(\"  02 a\") value(\" b\"))");
    row("no strings", "strings", "0", "9a[size=0]");
    row("too few strings", "strings", "3 a\rb", "9a[size=3]");
    row("too many strings", "strings", "1 a\rb", "9a[size=1]");
    row("strings without a count", "strings", "a\rb", "9a");
    row("strings whose count is no number", "strings", "x a", "9a");
    row("nothing for strings", "strings", "", "9a");
    row("a large count of strings", "strings", "ffffffff a", "9a[size=ffffffff]");
}

void tst_XMLPacketable::elements()
{
    QFETCH(QString, shape);
    QFETCH(QString, value);
    QFETCH(QString, element);
    QDomDocument document = XMLObject::createDocument(QString(), QStringLiteral("e"));
    QDomElement parent = document.documentElement();
    const QString tag = QStringLiteral("9a");
    QDomElement made;
    QDomElement null;
    if (shape == QLatin1String("list")) {
        made = XMLPacketable::createListElement(parent, value);
        XMLPacketable::createListElementV(parent, value);
    } else if (shape == QLatin1String("item")) {
        made = XMLPacketable::createItemElement(parent, value);
        XMLPacketable::createItemElementV(parent, value);
    } else if (shape == QLatin1String("simple")) {
        made = XMLPacketable::createSimpleElement(parent, tag, value);
        XMLPacketable::createSimpleElementV(parent, tag, value);
    } else if (shape == QLatin1String("key")) {
        made = XMLPacketable::createZQKEYElement(parent, tag, value);
        XMLPacketable::createZQKEYElementV(parent, tag, value);
    } else if (shape == QLatin1String("numbers")) {
        made = XMLPacketable::createNumberArrayElement(parent, tag, value);
        XMLPacketable::createNumberArrayElementV(parent, tag, value);
    } else {
        made = XMLPacketable::createStringArrayElement(parent, tag, value);
        XMLPacketable::createStringArrayElementV(parent, tag, value);
    }
    QCOMPARE(dump(parent), QStringLiteral("e(%1 %1)").arg(element));
    QVERIFY(parent.firstChild() == made);
    QVERIFY(XMLPacketable::createSimpleElement(null, tag, value).isNull());
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
}

void tst_XMLPacketable::firstRowOfATagDecides()
{
    QVERIFY(!XMLPacketable::getConvStructFromDataTag(nullptr, 1));
    QVERIFY(!XMLPacketable::getConvStructFromDataTag(&emptyTable, 1));
    QVERIFY2(!XMLPacketable::getConvStructFromDataTag(otherTable.data(), 2), "a row behind the end");
    QCOMPARE(XMLPacketable::getConvStructFromDataTag(everyTable.data(), 1), &everyTable.front());
    QCOMPARE(XMLPacketable::getConvStructFromDataTag(everyTable.data(), 0xffffffff)->elementType, 1u);
}

void tst_XMLPacketable::shapes_data()
{
    QTest::addColumn<int>("elementType");
    QTest::addColumn<QString>("element");
    for (int type = 1; type < 40; ++type) {
        const bool none = type == 10 || type == 26 || type > 31;
        const bool numbers = (type >= 15 && type <= 19) || type == 27 || type == 30 || type == 31;
        const QString content = none ? QString()
            : type == 14             ? QStringLiteral("[hkey=b key=1]")
            : numbers                ? QStringLiteral("[size=1](value(\"b\"))")
            : type == 22             ? QStringLiteral("[size=1](value(\"1 b\"))")
            : type == 23             ? QStringLiteral("[value=?? CONV_BINARYDATA (Bild \u00e4 %1) ??]")
                                     : QStringLiteral("[value=1 b]");
        const QString tag = QString::number(type, 16);
        QTest::newRow(qPrintable(QStringLiteral("element type %1").arg(type)))
            << type << (none ? QString() : QStringLiteral("(") + tag + content + QLatin1Char(')'));
    }
}

void tst_XMLPacketable::shapes()
{
    QFETCH(int, elementType);
    QFETCH(QString, element);
    for (const unsigned int size : {0u, 1u, 2u, 4u, 8u}) {
        everyTable[static_cast<std::size_t>(elementType) - 1].fieldSize = size;
        const QByteArray line = QByteArray::number(elementType, 16) + " 1 b\n";
        QCOMPARE(treeOf("SI 1f\n" + line + "TI 0\n"), QStringLiteral("item[datatype=1f]") + element);
    }
}

void tst_XMLPacketable::toDom_data()
{
    QTest::addColumn<QByteArray>("text");
    QTest::addColumn<QString>("tree");
    const auto row = [](const char *name, const char *text, const char *tree) {
        QTest::newRow(name) << QByteArray(text) << QString::fromUtf8(tree);
    };
    row("nothing", "", "");
    row("one field", "SI 1f\n1 abc\nTI 0\n", "item[datatype=1f](1[value=abc])");
    row("lists and items inside",
        "SI 1f\n1 Report\ne a3 7\n1f 3 10 20 30\n16 2 first\rsecond\nSL 1\nSI 20\n1 x y\nTI 0\nTL 0\n2 last\nTI 0\n",
        "item[datatype=1f](1[value=Report] e[hkey=7 key=a3] 1f[size=3](value(\"10\") value(\"20\") value(\"30\")) "
        "16[size=2](value(\"2 first\") value(\"second\")) list[size=1](item[datatype=20](1[hkey=y key=x])) 2[value=last])");
    row("white space around lines is dropped",
        "  SI 1f\t\r\n\xc2\xa0"
        "1 abc \r\nTI 0",
        "item[datatype=1f](1[value=abc])");
    row("blanks inside a value stay", "SI 1f\n1  a  b\n", "item[datatype=1f](1[value= a  b])");
    row("tags are named as they are spelt", "SI 1f\n001 a\n0x1 b\n0X01 c\n1 d\n001 e\n",
        "item[datatype=1f](001[value=a] 0x1[value=b] 0X01[value=c] 1[value=d] 001[value=e])");
    row("capital digits", "SI 1F\nB a\nb a\n", "item[datatype=1F](B[value=a] b[value=a])");
    row("the largest tag", "SI 1f\nffffffff a\nFFFFFFFF b\n100000000 c\n",
        "item[datatype=1f](ffffffff[value=a] FFFFFFFF[value=b])");
    row("unknown tags and words are skipped", "SI 1f\nfff a\nzz b\n1- c\n- d\n1 e\n", "item[datatype=1f](1[value=e])");
    row("the first row decides, even without a shape", "SI 1f\n100 a\n", "item[datatype=1f]");
    row("an empty value writes no attribute", "SI 1f\n1 a\n2  \n", "item[datatype=1f](1[value=a] 2)");
    row("fields outside an item are skipped", "1 a\nSL 1\n1 b\nSI 1f\n1 c\nTI 0\n1 d\nTL 0\n1 e\n",
        "list[size=1](item[datatype=1f](1[value=c]))");
    row("end markers are not told apart", "SI 1f\nSL 1\n1 a\nTI 0\n1 b\nTL 0\nSI 20\n1 x y\n",
        "item[datatype=1f](list[size=1] 1[value=b]) item[datatype=20](1[hkey=y key=x])");
    row("an end marker outside ends the text", "SL 0\nTL 0\nTI 0\nSL 1\n", "list[size=0]");
    row("a marker needs a blank", "SI\nSI 1f\n1 a\nTI\n1 b\n", "item[datatype=1f](1[value=a] 1[value=b])");
    row("type 6 passes a line over, its end ends the level around",
        "SI 1f\n1 a\nSI 6\n1 b\n2 c\nTI 0\n2 d\nSI 1f\n1 e\nTI 0\n",
        "item[datatype=1f](1[value=a] item[datatype=6] 2[value=c]) item[datatype=1f](1[value=e])");
    row("the line passed over may be a marker", "SI 1f\nSI 6\nSL 1\n1 a\nTL 0\n1 b\n",
        "item[datatype=1f](item[datatype=6] 1[value=a])");
    row("an item without a table does the same", "SI 77\n1 a\nSI 1f\n1 b\n",
        "item[datatype=77] item[datatype=1f](1[value=b])");
    row("a type that is no number has no table", "SI x\n1 a\nSI 1f\n1 b\n",
        "item[datatype=x] item[datatype=1f](1[value=b])");
    row("an item without a table at the end", "SI 77", "item[datatype=77]");
    row("a type with an empty table is a level", "SI 30\n1 a\nTI 0\nSI 1f\n1 b\n",
        "item[datatype=30] item[datatype=1f](1[value=b])");
    row("rows behind the end of a table are not read", "SI 20\n2 a\n", "item[datatype=20]");
    row("without a blank: split where the last line was", "SI 1f\n1 abc\n2xyz9\nbxy\n",
        "item[datatype=1f](1[value=abc] 2[value=yz9] b[value=y])");
    row("without a blank: not before any", "SI 1f\n1x\n1 ab\n", "item[datatype=1f](1[value=ab])");
    row("without a blank: clipped to the line", "SI 1f\n1 abcdef\n2\nTIx\n100000 a\n3\n",
        "item[datatype=1f](1[value=abcdef] 2 3)");
    row("without a blank: a marker", "SI 1f\n20 a\nTIx\n1 b\nSI 1f\n1 c\n",
        "item[datatype=1f] item[datatype=1f](1[value=c])");
    row("without a blank: each level has its own position", "SI 1f\n1 ab\nSL 5\nSIx1f\nTL 0\n02xd\n",
        "item[datatype=1f](1[value=ab] list[size=5] 02[value=d])");
    row("a blank line takes the last position too", "SI 1f\n1 a\n \n2 b\n", "item[datatype=1f](1[value=a] 2[value=b])");
    row("not ASCII", "SI 1f\n1 Pr\xc3\xa4sentation \xe2\x82\xac\n",
        "item[datatype=1f](1[value=Pr\xc3\xa4sentation \xe2\x82\xac])");
    row("a mark in front is dropped", "\xef\xbb\xbfSI 1f\n1 a\n", "item[datatype=1f](1[value=a])");
    row("broken UTF-8 becomes a mark", "SI 1f\n1 a\xff\xc3\n", "item[datatype=1f](1[value=a\xef\xbf\xbd\xef\xbf\xbd])");
    row("binary data", "SI 1f\n17 00ff\n17 \n",
        "item[datatype=1f](17[value=?? CONV_BINARYDATA (Bild \xc3\xa4 %1) ??] 17[value=?? CONV_BINARYDATA (Bild \xc3\xa4 %1) ??])");
}

void tst_XMLPacketable::toDom()
{
    QFETCH(QByteArray, text);
    QFETCH(QString, tree);
    QCOMPARE(treeOf(text), tree);
    // The same text as a list of lines, and by the plain form of the conversion.
    QStringList lines = QString::fromUtf8(text).split(QLatin1Char('\n'), Qt::SkipEmptyParts);
    XMLPacketable object;
    QDomElement node = object.getNode();
    XMLPacketable plainObject;
    QDomElement plainNode = plainObject.getNode();
    const unsigned int end = XMLPacketable::toDom(node, lines, 0);
    QCOMPARE(end, plain::toDom(plainNode, lines, 0));
    QCOMPARE(dump(node), dump(plainNode));
    QCOMPARE(dump(node), tree.isEmpty() ? QStringLiteral("packetable") : QStringLiteral("packetable(%1)").arg(tree));
}

void tst_XMLPacketable::toDomBelowAnItem()
{
    XMLPacketable object;
    QDomElement node = object.getNode();
    QStringList lines{QStringLiteral("x"), QStringLiteral("1 a"), QStringLiteral("TL 0"), QStringLiteral("1 b")};
    QDomElement item = XMLPacketable::createItemElement(node, QStringLiteral("1f"));
    QCOMPARE(XMLPacketable::toDom(item, lines, 1), 2u);
    QCOMPARE(dump(item), QStringLiteral("item[datatype=1f](1[value=a])"));
    QCOMPARE(XMLPacketable::toDom(item, lines, 3), 4u);
    QCOMPARE(XMLPacketable::toDom(item, lines, 9), 4u);
    QDomElement never = XMLPacketable::createItemElement(node, QStringLiteral("6"));
    QCOMPARE(XMLPacketable::toDom(never, lines, 1), 1u);
    QVERIFY(!never.hasChildNodes());
    QDomElement null;
    QCOMPARE(XMLPacketable::toDom(null, lines, 1), 2u);
}

void tst_XMLPacketable::setData_data()
{
    QTest::addColumn<QByteArray>("text");
    QTest::addColumn<QByteArray>("name");
    QTest::addColumn<unsigned int>("type");
    QTest::addColumn<bool>("payload");
    QTest::addColumn<QString>("tree");
    const QByteArray one("SI 1f\n1 a\n");
    QTest::newRow("name") << one
                          << QByteArray("Gr\xc3\xbc\xc3\x9f"
                                        "e")
                          << 0x1fu << false
                          << QStringLiteral(
                                 "packetable[datatype=1f name=Gr\u00fc\u00dfe](item[datatype=1f](1[value=a]))");
    QTest::newRow("no text") << QByteArray() << QByteArray("n") << 0x1fu << false
                             << QStringLiteral("packetable[datatype=1f name=n]");
    QTest::newRow("empty text") << QByteArray("") << QByteArray("n") << 0xffffffffu << false
                                << QStringLiteral("packetable[datatype=ffffffff name=n]");
    QTest::newRow("no name") << one << QByteArray() << 0x1fu << true
                             << QStringLiteral("packetable[datatype=1f](item[datatype=1f](1[value=a]))");
    QTest::newRow("empty name") << one << QByteArray("") << 8u << true
                                << QStringLiteral("packetable[datatype=8](item[datatype=1f](1[value=a]))");
    QTest::newRow("an entry is named by its payload")
        << one << QByteArray() << 8u << true
        << QStringLiteral("packetable[datatype=8 name=p\u00e4](item[datatype=1f](1[value=a]))");
    QTest::newRow("an entry's own name comes first")
        << one << QByteArray("n") << 8u << true
        << QStringLiteral("packetable[datatype=8 name=n](item[datatype=1f](1[value=a]))");
    QTest::newRow("an entry without payload")
        << one << QByteArray() << 8u << false
        << QStringLiteral("packetable[datatype=8](item[datatype=1f](1[value=a]))");
}

void tst_XMLPacketable::setData()
{
    QFETCH(QByteArray, text);
    QFETCH(QByteArray, name);
    QFETCH(unsigned int, type);
    QFETCH(bool, payload);
    QFETCH(QString, tree);
    TextRecord record(text, static_cast<PACKETDATATYPES>(type));
    record.name = name.isNull() ? nullptr : name.data();
    ZQDBLIST_ENTRY entry{};
    char entryName[] = "p\xc3\xa4";
    entry.name = entryName;
    if (payload)
        record.payload = &entry;
    XMLPacketable object;
    object.setData(record);
    record.payload = nullptr;
    record.name = nullptr;
    QCOMPARE(dump(object.getNode()), tree);
}

void tst_XMLPacketable::everyPolicyKeepsTheNames_data()
{
    QTest::addColumn<int>("policy");
    QTest::newRow("accept") << int(QDomImplementation::AcceptInvalidChars);
    QTest::newRow("drop") << int(QDomImplementation::DropInvalidChars);
    QTest::newRow("null") << int(QDomImplementation::ReturnNullNode);
}

void tst_XMLPacketable::everyPolicyKeepsTheNames()
{
    QFETCH(int, policy);
    const auto wanted = static_cast<QDomImplementation::InvalidDataPolicy>(policy);
    QDomImplementation::setInvalidDataPolicy(wanted);
    const QString tree = treeOf("SI 1f\n1 a\n0f 1 \1\n");
    XMLPacketable object;
    QDomElement node = object.getNode();
    const bool made = !XMLPacketable::createZQKEYElement(node, QStringLiteral("2"), QStringLiteral("a b")).isNull();
    const auto left = QDomImplementation::invalidDataPolicy();
    QDomImplementation::setInvalidDataPolicy(QDomImplementation::AcceptInvalidChars);
    QCOMPARE(tree, QStringLiteral("item[datatype=1f](1[value=a] 0f[size=1](value(\"\1\")))"));
    QVERIFY(made);
    QCOMPARE(left, wanted);
}

void tst_XMLPacketable::toPacket_data()
{
    QTest::addColumn<QString>("xml");
    QTest::addColumn<QString>("text");
    // Names that begin with a digit cannot be parsed: here "_" stands before them, which toPacket() never sees.
    const auto row = [](const char *name, const char *xml, const char *text) {
        QTest::newRow(name) << QString::fromUtf8(xml) << QString::fromUtf8(text);
    };
    row("nothing", "", "");
    row("text only", "text", "");
    row("one field", "<item datatype='1f'><_1 value='abc'/></item>", "SI 1f\n1 abc\nTI 0\n");
    row("a value is not scanned", "<item datatype='1f'><_1 value='%1 %2'/></item>", "SI 1f\n1 %1 %2\nTI 0\n");
    row("missing attributes", "<list/><item datatype='1f'><_1/><_e/></item>", "SL \nTL 0\nSI 1f\n1 \ne  \nTI 0\n");
    row("markers of items that give nothing", "<item datatype='6'><_1 value='a'/></item><item/><item datatype='77'/>",
        "SI 6\nTI 0\nSI \nTI 0\nSI 77\nTI 0\n");
    row("nesting",
        "<item datatype='1f'><list size='9'>x<item datatype='20'><_1 key='a' hkey='b'/></item></list></item>",
        "SI 1f\nSL 9\nSI 20\n1 a b\nTI 0\nTL 0\nTI 0\n");
    row("a key that holds a marker", "<item datatype='1f'><_e key='%1' hkey='b'/></item>", "SI 1f\ne b %3\nTI 0\n");
    row("numbers", "<item datatype='1f'><_1f size='9'><value>10</value><x>y</x><value>20</value></_1f></item>",
        "SI 1f\n1f 2 10 20\nTI 0\n");
    row("twelve numbers are counted in decimal",
        "<item datatype='1f'><_1f><value/><value/><value/><value/><value/><value/><value/><value/><value/><value/>"
        "<value/><value>%1</value></_1f></item>",
        "SI 1f\n1f 12            %1\nTI 0\n");
    row("no numbers", "<item datatype='1f'><_1f/><_16/></item>", "SI 1f\n1f 0 \n16 0 \nTI 0\n");
    row("strings", "<item datatype='1f'><_16><value>2 first</value><value>s<b>ec</b>ond</value></_16></item>",
        "SI 1f\n16 2 2 first\rsecond\nTI 0\n");
    row("binary data and kinds without a shape",
        "<item datatype='1f'><_17 value='x'/><_a value='x'/><_100 value='x'/></item>", "SI 1f\nTI 0\n");
    row("fields outside an item", "<_1 value='a'/><list><_1 value='a'/></list>", "SL \nTL 0\n");
    row("other names and nodes", "<item datatype='1f'><!--c--><?p i?><x value='a'/><_fff value='a'/>1</item>",
        "SI 1f\nTI 0\n");
}

void tst_XMLPacketable::toPacket()
{
    QFETCH(QString, xml);
    QFETCH(QString, text);
    QDomDocument document;
    QVERIFY(document.setContent(QStringLiteral("<r>%1</r>").arg(xml)));
    // Restores the names: "_1" stands for "1".
    for (QDomElement e = document.documentElement(); !e.isNull();) {
        if (e.tagName().startsWith(QLatin1Char('_')))
            e.setTagName(e.tagName().mid(1));
        QDomElement next = e.firstChildElement();
        while (next.isNull() && !e.isNull()) {
            next = e.nextSiblingElement();
            e = e.parentNode().toElement();
        }
        e = next;
    }
    QCOMPARE(XMLPacketable::toPacket(document.documentElement()), text);
    QCOMPARE(plain::toPacket(document.documentElement()), text);
}

void tst_XMLPacketable::lines_data()
{
    QTest::addColumn<QString>("tag");
    QTest::addColumn<QString>("simple");
    QTest::addColumn<QString>("appended");
    QTest::addColumn<QString>("key");
    QTest::addColumn<QString>("numbers");
    QTest::newRow("plain") << QStringLiteral("9") << QStringLiteral("9 v\n") << QStringLiteral("9 v\n")
                           << QStringLiteral("9 k h\n") << QStringLiteral("9 2 a b\n");
    QTest::newRow("a tag that holds a marker")
        << QStringLiteral("%1") << QStringLiteral("v %2\n") << QStringLiteral("%1 v\n") << QStringLiteral("k h %3\n")
        << QStringLiteral("2 a b %3\n");
}

void tst_XMLPacketable::lines()
{
    QFETCH(QString, tag);
    QFETCH(QString, simple);
    QFETCH(QString, appended);
    QFETCH(QString, key);
    QFETCH(QString, numbers);
    QDomDocument document;
    QVERIFY(document.setContent(QByteArray("<f value='v' key='k' hkey='h'><value>a</value><value>b</value></f>")));
    QDomElement field = document.documentElement();
    field.setTagName(tag);
    QString text = QStringLiteral("before ");
    XMLPacketable::appendSimpleValuePacket(text, field);
    QCOMPARE(text, QStringLiteral("before ") + appended);
    QCOMPARE(XMLPacketable::toSimpleValuePacket(field), simple);
    QCOMPARE(XMLPacketable::toZQKEYValuePacket(field), key);
    QCOMPARE(XMLPacketable::toNumberArrayValuePacket(field), numbers);
    QCOMPARE(XMLPacketable::toStringArrayValuePacket(field),
             numbers.replace(QLatin1String("a b"), QLatin1String("a\rb")));
}

void tst_XMLPacketable::nestingLimit()
{
    const unsigned int limit = XMLPacketable::NESTING_LIMIT;
    QVERIFY(limit >= 1000);
    for (const unsigned int levels : {limit - 1, limit, limit + 1, limit + 500}) {
        QByteArray text;
        for (unsigned int i = 0; i < levels; ++i)
            text += "SI 1f\n1 a\n";
        for (unsigned int i = 0; i + 1 < levels; ++i)
            text += "2 b\nTI 0\n";
        text += "3 last\nTI 0\n";
        XMLPacketable object;
        TextRecord record(text);
        object.setData(record);
        QDomElement outer = object.getNode().firstChildElement();
        QVERIFY2(outer.lastChildElement().tagName() == QLatin1String("3"), "markers of dropped levels pair up");
        unsigned int depth = 0;
        for (QDomElement item = outer; !item.isNull(); item = item.firstChildElement(XMLPacketable::ITEM))
            ++depth;
        QCOMPARE(depth, qMin(levels, limit));
        QVERIFY(!object.toString().isEmpty());
        const QString back = XMLPacketable::toPacket(object.getNode());
        QCOMPARE(int(back.count(QLatin1String("SI 1f\n"))), int(depth));
        QCOMPARE(int(back.count(QLatin1String("TI 0\n"))), int(depth));

        // A tree that is deeper than what the reader makes is written as far as the limit goes.
        QDomElement deeper = object.getNode();
        while (!deeper.firstChildElement(XMLPacketable::ITEM).isNull())
            deeper = deeper.firstChildElement(XMLPacketable::ITEM);
        XMLPacketable::createItemElement(deeper, QStringLiteral("1f"));
        QCOMPARE(int(XMLPacketable::toPacket(object.getNode()).count(QLatin1String("SI 1f\n"))),
                 int(qMin(depth + 1, limit)));
    }
}

void tst_XMLPacketable::hostileNestingAndSizes_data()
{
    QTest::addColumn<QByteArray>("text");
    QTest::addColumn<int>("children");
    const int many = 1000000;
    QTest::newRow("a million lists") << QByteArray("SL 1\n").repeated(many) << 1;
    QTest::newRow("a million items") << QByteArray("SI 1f\n").repeated(many) << 1;
    QTest::newRow("a million items and their ends")
        << QByteArray("SI 1f\n").repeated(many) + QByteArray("TI 0\n").repeated(many) + "SL 2\n"
        << 2;
    QTest::newRow("a hundred thousand items without a table") << QByteArray("SI 6\n").repeated(many / 10) << many / 20;
    QTest::newRow("a million blank lines") << "SL 0\n" + QByteArray(" \n").repeated(many) << 1;
    QTest::newRow("a long line") << "SI 1f\n1 " + QByteArray(20 * many, 'x') << 1;
    QTest::newRow("an array of a million numbers") << "SI 1f\n1f f4240" + QByteArray(" 1").repeated(many) << 1;
}

void tst_XMLPacketable::hostileNestingAndSizes()
{
    QFETCH(QByteArray, text);
    QFETCH(int, children);
    XMLPacketable object;
    TextRecord record(text);
    object.setData(record);
    int count = 0;
    for (QDomNode n = object.getNode().firstChild(); !n.isNull(); n = n.nextSibling())
        ++count;
    QCOMPARE(count, children);
    QVERIFY(!XMLPacketable::toPacket(object.getNode()).isEmpty());
}

void tst_XMLPacketable::agreesWithPlainConversion()
{
    const QList<QByteArray> pieces{"SI 1f\n",
                                   "SI 20\n",
                                   "SI 6\n",
                                   "SI 77\n",
                                   "SI 30\n",
                                   "SI \n",
                                   "SI\n",
                                   "SL 2\n",
                                   "SL \n",
                                   "TI 0\n",
                                   "TL 0\n",
                                   "TI\n",
                                   "1 abc\n",
                                   "2 a%1b\n",
                                   "1\n",
                                   "e a b\n",
                                   "e %1 b\n",
                                   "e a\n",
                                   "1f 2 a b\n",
                                   "1f 3 a b\n",
                                   "1f a 1 2 3 4 5 6 7 8 9 0\n",
                                   "16 2 a\rb\n",
                                   "16 1 a\rb\n",
                                   "17 00\n",
                                   "a x\n",
                                   "d 1\n",
                                   "10 1 1\n",
                                   "0e 1 2\n",
                                   "100 x\n",
                                   "xyz abc\n",
                                   "abcdefgh\n",
                                   "T",
                                   " ",
                                   "\t",
                                   "\n",
                                   "\r",
                                   "\xc2\xa0",
                                   "\xc3\xa4",
                                   "\xff",
                                   "\xef\xbb\xbf",
                                   "0",
                                   "f",
                                   QByteArray("\0", 1),
                                   "+1 a\n"};
    for (quint32 seed = 0; seed < 4000; ++seed) {
        QRandomGenerator random(seed);
        QByteArray text;
        for (quint32 i = 0, size = random.bounded(40u); i < size; ++i)
            text += pieces.at(int(random.bounded(quint32(pieces.size()))));
        XMLPacketable object;
        TextRecord record(text);
        object.setData(record);
        XMLPacketable plainObject;
        plainObject.setType(everyType);
        QDomElement plainNode = plainObject.getNode();
        plain::read(plainNode, text.constData(), int(text.size()));
        QVERIFY2(dump(object.getNode()) == dump(plainNode), text.toPercentEncoding().constData());
        QVERIFY2(XMLPacketable::toPacket(object.getNode()) == plain::toPacket(plainNode),
                 text.toPercentEncoding().constData());
    }
}

QTEST_GUILESS_MAIN(tst_XMLPacketable)
#include "tst_xmlpacketable.moc"
