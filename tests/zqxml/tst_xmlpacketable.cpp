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
    void elements();
    void lineIsSplitAtFirstBlank();
    void shapes();
    void toDom_data();
    void toDom();
    void toDomBelowAnItem();
    void setData();
    void everyPolicyKeepsTheNames();
    void toPacket_data();
    void toPacket();
    void lines();
    void nestingLimit();
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
    QVERIFY(!object.isCurrent() && object.getName().isEmpty());
    QCOMPARE(object.getType(), PACKETDATATYPES(0));
    object.setCurrent(true);
    object.setName(QStringLiteral("n"));
    object.setType(PACKETDATATYPES(0xfffffff5));
    QVERIFY(object.isCurrent() && object.getName() == QLatin1String("n"));
    QCOMPARE(object.getType(), PACKETDATATYPES(0xfffffff5));
    QCOMPARE(dump(object.getNode()), QStringLiteral("packetable[datatype=fffffff5 is_current=1 name=n]"));
}

void tst_XMLPacketable::elements()
{
    XMLPacketable object;
    QDomElement parent = object.getNode();
    QCOMPARE(dump(XMLPacketable::createListElement(parent, QString())), QStringLiteral("list"));
    XMLPacketable::createListElementV(parent, QStringLiteral(" 2"));
    XMLPacketable::createItemElementV(parent, QStringLiteral("1F"));
    const QString tag = QStringLiteral("9");
    const QString value = QStringLiteral("1 b");
    QDomElement null;
    QCOMPARE(dump(XMLPacketable::createNumberArrayElement(null, tag, QStringLiteral(" "))), QStringLiteral("null"));
    XMLPacketable::createSimpleElementV(parent, tag, value);
    XMLPacketable::createZQKEYElementV(parent, tag, value);
    XMLPacketable::createNumberArrayElementV(parent, tag, value);
    XMLPacketable::createStringArrayElementV(parent, tag, value);
    XMLPacketable::createStringArrayElementV(parent, tag, QString());
    QCOMPARE(dump(parent),
             QStringLiteral("packetable(list list[size= 2] item[datatype=1F] 9[value=1 b] 9[hkey=b key=1] "
                            "9[size=1](value(\"b\")) 9[size=1](value(\"1 b\")) 9)"));
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
    QCOMPARE(XMLPacketable::getConvStructFromDataTag(everyTable.data(), 1), &everyTable.front());
}

void tst_XMLPacketable::shapes()
{
    for (unsigned int type = 1; type < 40; ++type) {
        const bool none = type == 10 || type == 26 || type > 31;
        const bool numbers = (type >= 15 && type <= 19) || type == 27 || type == 30 || type == 31;
        const QString content = type == 14 ? QStringLiteral("[hkey=b key=1]")
            : numbers                      ? QStringLiteral("[size=1](value(\"b\"))")
            : type == 22                   ? QStringLiteral("[size=1](value(\"1 b\"))")
            : type == 23                   ? QStringLiteral("[value=?? CONV_BINARYDATA (Bild \u00e4 %1) ??]")
                                           : QStringLiteral("[value=1 b]");
        const QString element = QLatin1Char('(') + QString::number(type, 16) + content + QLatin1Char(')');
        for (const unsigned int size : {0u, 1u, 2u, 4u, 8u}) {
            everyTable[type - 1].fieldSize = size;
            QCOMPARE(treeOf("SI 1f\n" + QByteArray::number(type, 16) + " 1 b\nTI 0\n"),
                     QStringLiteral("item[datatype=1f]") + (none ? QString() : element));
        }
    }
}

void tst_XMLPacketable::toDom_data()
{
    QTest::addColumn<QByteArray>("text");
    QTest::addColumn<QString>("tree");
    const auto row = [](const char *name, const QByteArray &text, const QByteArray &tree) {
        QTest::newRow(name) << text << QString::fromUtf8(tree);
    };
    row("nothing", "", "");
    row("lists and items inside", "SI 1f\n1 a\nSL 1\nSI 20\n1 x y\nTI 0\nTL 0\n2 last\nTI 0\n",
        "item[datatype=1f](1[value=a] list[size=1](item[datatype=20](1[hkey=y key=x])) 2[value=last])");
    row("white space around lines is dropped", "  SI 1f\t\r\n\u00a01 abc \r\nTI 0", "item[datatype=1f](1[value=abc])");
    row("blanks inside a value stay", "SI 1f\n1  a  b\n", "item[datatype=1f](1[value= a  b])");
    row("tags are named as they are spelt", "SI 1f\n001 a\n0x1 b\n0X01 c\n1 d\n001 e\n",
        "item[datatype=1f](001[value=a] 0x1[value=b] 0X01[value=c] 1[value=d] 001[value=e])");
    row("the largest tag", "SI 1f\nffffffff a\nFFFFFFFF b\n100000000 c\n",
        "item[datatype=1f](ffffffff[value=a] FFFFFFFF[value=b])");
    row("unknown tags and words are skipped", "SI 1f\nfff a\nzz b\n1- c\n- d\n1 e\n", "item[datatype=1f](1[value=e])");
    row("the first row decides, even without a shape", "SI 1f\n100 a\n", "item[datatype=1f]");
    row("an empty value writes no attribute", "SI 1f\n1 a\n2  \n", "item[datatype=1f](1[value=a] 2)");
    row("fields outside an item are skipped", "1 a\nSL 1\n1 b\nSI 1f\n1 c\nTI 0\n1 d\nTL 0\n1 e\n",
        "list[size=1](item[datatype=1f](1[value=c]))");
    row("end markers are not told apart", "SI 1f\nSL 1\n1 a\nTI 0\n1 b\nTL 0\nSI 20\n1 x y\n",
        "item[datatype=1f](list[size=1] 1[value=b]) item[datatype=20](1[hkey=y key=x])");
    row("type 6 passes a line over, its end ends the level around",
        "SI 1f\n1 a\nSI 6\n1 b\n2 c\nTI 0\n2 d\nSI 1f\n1 e\nTI 0\n",
        "item[datatype=1f](1[value=a] item[datatype=6] 2[value=c]) item[datatype=1f](1[value=e])");
    row("the line passed over may be a marker", "SI 1f\nSI 6\nSL 1\n1 a\nTL 0\n1 b\n",
        "item[datatype=1f](item[datatype=6] 1[value=a])");
    row("a type with an empty table is a level", "SI 30\n1 a\nTI 0\nSI 1f\n1 b\n",
        "item[datatype=30] item[datatype=1f](1[value=b])");
    row("without a blank: split where the last line was", "SI 1f\n1 abc\n2xyz9\nbxy\n",
        "item[datatype=1f](1[value=abc] 2[value=yz9] b[value=y])");
    row("without a blank: not before any", "SI 1f\n1x\n1 ab\n", "item[datatype=1f](1[value=ab])");
    row("without a blank: clipped to the line", "SI 1f\n1 abcdef\n2\nTIx\n100000 a\n3\n",
        "item[datatype=1f](1[value=abcdef] 2 3)");
    row("without a blank: each level has its own position", "SI 1f\n1 ab\nSL 5\nSIx1f\nTL 0\n02xd\n",
        "item[datatype=1f](1[value=ab] list[size=5] 02[value=d])");
    row("a blank line takes the last position too", "SI 1f\n1 a\n \n2 b\n", "item[datatype=1f](1[value=a] 2[value=b])");
    row("not ASCII", "SI 1f\n1 Pr\xc3\xa4sentation \xe2\x82\xac\n",
        "item[datatype=1f](1[value=Pr\xc3\xa4sentation \xe2\x82\xac])");
    row("broken UTF-8 becomes a mark", "SI 1f\n1 a\xff\xc3\n", "item[datatype=1f](1[value=a\xef\xbf\xbd\xef\xbf\xbd])");
    row("keys of one, two and three words", "SI 1f\ne   a3   7 \ne a3\ne a3 7 1\ne a3\t7\n",
        "item[datatype=1f](e[hkey=7 key=a3] e e e)");
    row("counts that are the number of values", "SI 1f\n1f  2  1   x \n1f 0\n1f B 1 2 3 4 5 6 7 8 9 a b\n",
        "item[datatype=1f](1f[size=2](value(\"1\") value(\"x\")) 1f[size=0] "
        "1f[size=b](value(\"1\") value(\"2\") value(\"3\") "
        "value(\"4\") value(\"5\") value(\"6\") value(\"7\") value(\"8\") value(\"9\") value(\"a\") value(\"b\")))");
    row("counts that are not",
        "SI 1f\n1f 2 5\n1f 1 5 6\n1f x 5\n1f 10 1 2 3 4 5 6 7 8 9 a\n1f 100000000\n1f ffffffff\n",
        "item[datatype=1f](1f 1f 1f 1f 1f 1f)");
    row("the first string keeps the count", "SI 1f\n16 2 a\rb\n16   02 a\r\r b\n",
        "item[datatype=1f](16[size=2](value(\"2 a\") value(\"b\")) 16[size=2](value(\"  02 a\") value(\" b\")))");
    row("strings whose count is wrong", "SI 1f\n16 0\n16 3 a\rb\n16 1 a\rb\n16 a\rb\n",
        "item[datatype=1f](16[size=0] 16[size=3] 16[size=1] 16)");
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

void tst_XMLPacketable::setData()
{
    const auto tree = [](const QByteArray &text, const char *name, unsigned int type, bool payload) {
        TextRecord record(text, static_cast<PACKETDATATYPES>(type));
        QByteArray ownName(name);
        QByteArray entryName("p\xc3\xa4");
        ZQDBLIST_ENTRY entry{};
        entry.name = entryName.data();
        record.name = name ? ownName.data() : nullptr;
        record.payload = payload ? &entry : nullptr;
        XMLPacketable object;
        object.setData(record);
        record.payload = nullptr;
        record.name = nullptr;
        return dump(object.getNode());
    };
    QCOMPARE(tree("SL 0", "Gr\xc3\xbcn", 0x1f, true),
             QStringLiteral("packetable[datatype=1f name=Gr\u00fcn](list[size=0])"));
    QCOMPARE(tree(QByteArray(), "n", 0x1f, false), QStringLiteral("packetable[datatype=1f name=n]"));
    QCOMPARE(tree("", nullptr, 0xffffffff, true), QStringLiteral("packetable[datatype=ffffffff]"));
    // An entry of a list is named by its payload, unless it has a name of its own.
    QCOMPARE(tree("", nullptr, 8, true), QStringLiteral("packetable[datatype=8 name=p\u00e4]"));
    QCOMPARE(tree("", "", 8, true), QStringLiteral("packetable[datatype=8]"));
    QCOMPARE(tree("", "n", 8, true), QStringLiteral("packetable[datatype=8 name=n]"));
    QCOMPARE(tree("", nullptr, 8, false), QStringLiteral("packetable[datatype=8]"));
}

void tst_XMLPacketable::everyPolicyKeepsTheNames()
{
    for (const auto policy : {QDomImplementation::DropInvalidChars, QDomImplementation::ReturnNullNode}) {
        QDomImplementation::setInvalidDataPolicy(policy);
        const QString tree = treeOf("SI 1f\n1 a\n0f 1 \1\n");
        XMLPacketable object;
        QDomElement node = object.getNode();
        const QDomElement made = XMLPacketable::createZQKEYElement(node, QStringLiteral("2"), QStringLiteral("a b"));
        const auto left = QDomImplementation::invalidDataPolicy();
        QDomImplementation::setInvalidDataPolicy(QDomImplementation::AcceptInvalidChars);
        QCOMPARE(tree, QStringLiteral("item[datatype=1f](1[value=a] 0f[size=1](value(\"\1\")))"));
        QCOMPARE(dump(made), QStringLiteral("2[hkey=b key=a]"));
        QCOMPARE(left, policy);
    }
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
    row("missing attributes", "<list/><item datatype='1f'><_1/><_e/></item>", "SL \nTL 0\nSI 1f\n1 \ne  \nTI 0\n");
    row("markers of items that give nothing", "<item datatype='6'><list/></item><item/><item datatype='77'/>",
        "SI 6\nTI 0\nSI \nTI 0\nSI 77\nTI 0\n");
    row("nesting",
        "<item datatype='1f'><list size='9'>x<item datatype='20'><_1 key='a' hkey='b'/></item></list></item>",
        "SI 1f\nSL 9\nSI 20\n1 a b\nTI 0\nTL 0\nTI 0\n");
    row("fields",
        "<item datatype='1f'><_1 value='%1 %2'/><_e key='%1' hkey='b'/><_17 value='x'/><_a value='x'/><_100 value='x'/>"
        "<_1f size='9'><value>10</value><x>y</x><value>20</value></_1f><_16><value>2 a</value><value>s<b>e</b>c</value>"
        "</_16><_1f><value/><value/><value/><value/><value/><value/><value/><value/><value/><value>%1</value></_1f>"
        "</item>",
        "SI 1f\n1 %1 %2\ne b %3\n1f 2 10 20\n16 2 2 a\rsec\n1f 10          %1\nTI 0\n");
    row("fields outside an item", "<_1 value='a'/><list><_1 value='a'/></list>", "SL \nTL 0\n");
    row("other names and nodes", "<item datatype='1f'><!--c--><?p i?><x value='a'/><_fff value='a'/>1</item>",
        "SI 1f\nTI 0\n");
    row("prefixes count for lists and items only",
        "<item datatype='1f'><p:_1 value='a'/><p:list/><p:item/><_1f><p:value>3</p:value></_1f></item>",
        "SI 1f\n1 a\n1f 1 3\nTI 0\n");
}

void tst_XMLPacketable::toPacket()
{
    QFETCH(QString, xml);
    QFETCH(QString, text);
    QDomDocument document;
    QVERIFY(document.setContent(QStringLiteral("<r xmlns:p='u'>%1</r>").arg(xml), true));
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

void tst_XMLPacketable::lines()
{
    QDomDocument document;
    QVERIFY(document.setContent(QByteArray("<f value='v' key='k' hkey='h'><value>a</value><value>b</value></f>")));
    QDomElement field = document.documentElement();
    const auto written = [&field](const char *tag) {
        field.setTagName(QString::fromLatin1(tag));
        QString text = QStringLiteral("before ");
        XMLPacketable::appendSimpleValuePacket(text, field);
        return text + XMLPacketable::toSimpleValuePacket(field) + XMLPacketable::toZQKEYValuePacket(field)
            + XMLPacketable::toNumberArrayValuePacket(field) + XMLPacketable::toStringArrayValuePacket(field);
    };
    QCOMPARE(written("9"), QStringLiteral("before 9 v\n9 v\n9 k h\n9 2 a b\n9 2 a\rb\n"));
    // The parts are filled in one by one: a tag that holds a marker takes the next part's place.
    QCOMPARE(written("%1"), QStringLiteral("before %1 v\nv %2\nk h %3\n2 a b %3\n2 a\rb %3\n"));
}

void tst_XMLPacketable::nestingLimit()
{
    QVERIFY(XMLPacketable::NESTING_LIMIT >= 1000);
    const int limit = int(XMLPacketable::NESTING_LIMIT);
    const QByteArray start("SI 1f\n1 a\n");
    const QByteArray end("2 b\nTI 0\n");
    for (const int levels : {limit - 1, limit, limit + 1, limit + 500}) {
        XMLPacketable object;
        TextRecord record(start.repeated(levels) + end.repeated(levels) + "SL 0\n");
        object.setData(record);
        // Levels beyond the limit are left out, but their markers pair up.
        const int kept = qMin(levels, limit);
        const QByteArray last("SL 0\nTL 0\n");
        QCOMPARE(XMLPacketable::toPacket(object.getNode()).toLatin1(),
                 start.repeated(kept) + end.repeated(kept) + last);

        // A tree that is deeper than what the reader makes is written as far as the limit goes.
        QDomElement deepest = object.getNode();
        while (!deepest.firstChildElement(XMLPacketable::ITEM).isNull())
            deepest = deepest.firstChildElement(XMLPacketable::ITEM);
        XMLPacketable::createItemElement(deepest, QStringLiteral("1f"));
        const int written = int(XMLPacketable::toPacket(object.getNode()).count(QLatin1String("SI 1f\n")));
        QCOMPARE(written, qMin(kept + 1, limit));
    }
}

void tst_XMLPacketable::agreesWithPlainConversion()
{
    const QList<QByteArray> pieces =
        QByteArray(
            "SI 1f\n|SI 20\n|SI 6\n|SI 77\n|SI 30\n|SI \n|SI\n|SI x\n|SL 2\n|SL \n|TI 0\n|TL 0\n|TI\n|TIx\n|1 abc\n|"
            "2 a%1b\n|1\n|e a b\n|e %1 b\n|e a\n|1f 2 a b\n|1f 3 a b\n|1f a 1 2 3 4 5 6 7 8 9 0\n|16 2 a\rb\n|"
            "16 1 a\rb\n|17 00\n|a x\n|d 1\n|10 1 1\n|0e 1 2\n|100 x\n|xyz abc\n|abcdefgh\n|T| |\t|\n|\r|\xc2\xa0|"
            "\xc3\xa4|\xff|\xef\xbb\xbf|0|f|+1 a\n")
            .split('|')
        << QByteArray(1, '\0');
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

ZQXML_TEST_MAIN(tst_XMLPacketable)
#include "tst_xmlpacketable.moc"
