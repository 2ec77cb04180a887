// SPDX-FileCopyrightText: 2026 The zqxml developers
// SPDX-License-Identifier: MIT

#include "plainwire.h"

#include "testtools.h"

#include <zqxml/xmlpacket.h>
#include <zqxmlkit/xmlpacketdiff.h>
#include <zqxmlkit/xmlwire.h>

#include <QFile>
#include <QtTest>

namespace {

QDomDocument documentOf(const XMLPacket &packet)
{
    return packet.getBody().ownerDocument();
}

/** A packet with content of all kinds, and sometimes without the parts of its own. */
std::unique_ptr<XMLPacket> makePacket(plain::Trees &trees)
{
    auto packet = std::make_unique<XMLPacket>();
    packet->setSourceAgentID(trees.below(100));
    QDomElement body = packet->getBody();
    trees.fill(body, 4);
    QDomDocument document = documentOf(*packet);
    QDomElement root = document.documentElement();
    switch (trees.below(6)) {
    case 0:
        trees.fill(root, 1);
        break;
    case 1:
        root.removeChild(root.firstChild());
        break;
    case 2:
        root.removeChild(body);
        break;
    case 3:
        root.setTagName(trees.nonEmptyText());
        document.insertBefore(document.createComment(trees.text(4)), root);
        document.appendChild(document.createComment(trees.text(4)));
        break;
    default:
        break;
    }
    return packet;
}

} // namespace

class tst_Wire : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void randomTrees();
    void otherWriters_data();
    void otherWriters();
    void refused_data();
    void refused();
    void unwritable();
    void sizes();
    void printed_data();
    void printed();
    void differences_data();
    void differences();
};

void tst_Wire::randomTrees()
{
    QFile actual(QStringLiteral("wire.actual"));
    QVERIFY(actual.open(QIODevice::ReadWrite | QIODevice::Truncate));
    for (unsigned seed = 0; seed < 1500; ++seed) {
        plain::Trees trees(seed);
        const auto packet = makePacket(trees);
        const QDomDocument document = documentOf(*packet);
        const QByteArray wire = XMLWire::toWire(*packet);
        QVERIFY2(wire == plain::wire(document).toUtf8(),
                 (QByteArray::number(seed) + "\n" + wire + "\n" + plain::wire(document).toUtf8()).constData());
        QString error;
        const auto read = XMLWire::toPacket(wire, &error);
        QVERIFY2(read, qPrintable(QStringLiteral("%1: %2").arg(seed).arg(error)));
        QVERIFY2(dump(documentOf(*read).documentElement()) == dump(document.documentElement()),
                 qPrintable(QString::number(seed)));
        QCOMPARE(XMLWire::toWire(*read), wire);
        QVERIFY(XMLPacketDiff(*packet, *read).isEmpty());
        if (seed < 60)
            actual.write(wire + "\f\n"); // which the form does not hold
    }
    QFile kept(QStringLiteral(ZQXML_KEPT_TREES));
    QVERIFY(kept.open(QIODevice::ReadOnly));
    actual.seek(0);
    QVERIFY2(actual.readAll() == kept.readAll(), "compare wire.actual with the kept file");
}

void tst_Wire::otherWriters_data()
{
    QTest::addColumn<QByteArray>("text");
    QTest::addColumn<QByteArray>("wire");
    const auto row = [](const char *text, const char *wire) {
        QTest::newRow(text) << QByteArray(text) << QByteArray(wire);
    };
    row("\xef\xbb\xbf<?xml version='1.0' encoding='utf-8'?>\n<a  c='1'\n b='2' ></a >\n", "<a b=\"2\" c=\"1\"/>");
    row("<\xc3\xa4 \xc3\xb6='\xc3\xbc'/>", "<_x00E4_ _x00F6_=\"\xc3\xbc\"/>");
    row("<a>&#x5F;x0041_&#95;x0042</a>", "<a>A_x005F_x0042</a>");
    row("<a>_x005f_ _x0041 x0041_ _x00_x0001_</a>", "<a>_x005f_ _x005F_x0041 x0041_ _x00_x0001_</a>");
    row("<a>x<?t?>_x<!--_x--><![CDATA[0041]]>_</a>", "<a>x<?t?>_x005F_x<!--_x--><![CDATA[0041]]>_</a>");
    row("<a b='1&#9;2\t3&lt;&quot;\"' xmlns='urn:x'>\r\n\r</a>",
        "<a xmlns=\"urn:x\" b=\"1&#9;2 3&lt;&quot;&quot;\">\n\n</a>");
    row("<xmlish xml='1'/>", "<_x0078_mlish _x0078_ml=\"1\"/>");
    row("<a xmlns=''/>", "<a xmlns=\"\"/>");
    row("<a>\xef\xbb\xbf\xf0\x9f\xbf\xbe</a>", "<a>\xef\xbb\xbf\xf0\x9f\xbf\xbe</a>");
}

void tst_Wire::otherWriters()
{
    QFETCH(QByteArray, text);
    QFETCH(QByteArray, wire);
    QString error;
    QCOMPARE(XMLWire::toWire(XMLWire::toDocument(text, &error).documentElement()), wire);
    QCOMPARE(error, QString());
    QCOMPARE(XMLWire::toWire(*XMLWire::toPacket(text)), wire);
}

void tst_Wire::refused_data()
{
    QTest::addColumn<QByteArray>("text");
    QTest::addColumn<QString>("place");
    const auto row = [](const QByteArray &text, const char *place) {
        QTest::newRow(text.left(40).constData()) << text << QStringLiteral("line ") + QLatin1String(place);
    };
    row("", "1, column 1: no element found");
    row("<!DOCTYPE a [<!ENTITY x 'y'>]><a>&x;</a>", "1, column 13: a document type");
    row("<a><?u?></a>", "1, column 4: a processing instruction");
    row("<a><?t x?></a>", "1, column 4: a processing instruction");
    row("<?t?><a/>", "1, column 1: a processing instruction");
    row("<a><b xmlns='u'/></a>", "1, column 4: a namespace below the root");
    row("<a xmlns:b='u'/>", "1, column 1: a prefixed name");
    row("<b:a/>", "1, column 1: a prefixed name");
    row("<a b='1' _x0062_='2'/>", "1, column 1: two attributes of one name");
    row("<a>\n\xc0\x80</a>", "2, column 1: ");
    row(QByteArray("<\0a\0/\0>\0", 8), "1, column 1: not UTF-8");
    row("\xff\xfe<", "1, column 1: not UTF-8");
    row("<?xml version='1.0' encoding='latin1'?><a/>", "1, column 1: not XML 1.0 in UTF-8");
    row(QByteArray("<a>").repeated(2000) + QByteArray("<b/></a>"), "1, column 6001: too deep");
    row(QByteArray("<a b").replace("b", QByteArray("b='1' c='2' d='3' e='4' f='5'/>")),
        "1, column 1: too many attributes");
    row("<a>" + QByteArray("<b/>").repeated(10000), "1, column 39996: too many nodes");
    row("<a>" + QByteArray(200000, ' '), "1, column 1: too many bytes");
}

void tst_Wire::refused()
{
    QFETCH(QByteArray, text);
    QFETCH(QString, place);
    XMLWire::Limits limits;
    limits.bytes = 100000;
    limits.nodes = 9999;
    limits.attributes = 4;
    QString error;
    QVERIFY(!XMLWire::toPacket(text, &error, limits));
    QVERIFY2(error.startsWith(place), qPrintable(error));
    QVERIFY(XMLWire::toDocument(text, nullptr, limits).isNull());
}

void tst_Wire::unwritable()
{
    XMLPacket packet;
    QDomDocument document = documentOf(packet);
    const QByteArray wire = XMLWire::toWire(packet);
    QDomElement unnamed = document.createElement(QStringLiteral("e"));
    unnamed.setTagName(QString());
    QDomElement attributed = document.createElement(QStringLiteral("e"));
    attributed.setAttributeNS(QStringLiteral("urn:x"), QStringLiteral("p:a"), QStringLiteral("1"));
    const QDomNode nodes[] = {unnamed, attributed, document.createProcessingInstruction(QStringLiteral("t"), QString()),
                              document.createEntityReference(QStringLiteral("x")),
                              document.createElementNS(XMLObject::ZQ_NAMESPACE, QStringLiteral("e"))};
    for (const QDomNode &node : nodes) {
        packet.getBody().appendChild(node);
        QCOMPARE(XMLWire::toWire(packet), QByteArray());
        packet.getBody().removeChild(node);
    }
    QCOMPARE(XMLWire::toWire(packet), wire);
    for (const char *const uri : {"http://www.w3.org/XML/1998/namespace", "urn:{x}", "\xc3\xa4"})
        QCOMPARE(XMLWire::toWire(document.createElementNS(QString::fromUtf8(uri), QStringLiteral("e"))), QByteArray());
    document.appendChild(document.createElement(QStringLiteral("second")));
    QCOMPARE(XMLWire::toWire(packet), QByteArray());
    QCOMPARE(XMLWire::toWire(QDomElement()), QByteArray());
}

// What takes quadratic time or a level of stack for each level would not end well.
void tst_Wire::sizes()
{
    constexpr int many = 100000;
    QDomDocument document;
    QDomElement wide = document.createElement(QStringLiteral("wide"));
    for (int i = 0; i < many; ++i) {
        wide.setAttribute(QStringLiteral("1=\"%1").arg(i), i);
        wide.appendChild(document.createTextNode(QStringLiteral("_")));
    }
    const QByteArray wire = XMLWire::toWire(wide);
    QCOMPARE(int(wire.count("=\"")), many);
    QCOMPARE(XMLWire::toWire(XMLWire::toDocument(wire).documentElement()), wire);
    QVERIFY(XMLPacketDiff(wide, XMLWire::toDocument(wire).documentElement()).isEmpty());

    QDomElement deep = document.createElement(QStringLiteral("a"));
    for (int i = 1; i < many; ++i) {
        QDomElement parent = document.createElement(QStringLiteral("a"));
        parent.appendChild(deep);
        deep = parent;
    }
    XMLWire::Limits limits;
    limits.depth = many;
    const QByteArray chain = XMLWire::toWire(deep);
    QCOMPARE(int(chain.size()), many * 7 - 3);
    QVERIFY(!XMLWire::toPacket(chain));
    QCOMPARE(XMLWire::toWire(*XMLWire::toPacket(chain, nullptr, limits)), chain);
    QVERIFY(XMLPacketDiff(deep, XMLWire::toDocument(chain, nullptr, limits).documentElement()).isEmpty());
}

void tst_Wire::printed_data()
{
    QTest::addColumn<QString>("text");
    QTest::addColumn<QByteArray>("wire"); // empty: refused, with the place in the text's last line
    QTest::addColumn<QString>("error");
    const auto row = [](const char *text, const char *wire, const char *error = "") {
        QTest::newRow(text) << QString::fromUtf8(text) << QByteArray(wire) << QString::fromUtf8(error);
    };
    row("-- sent --\n<a>\n <1f z=\"1\" a=\"&#xa;&quot;'\"/>\n</a>\n", "<a><_x0031_f a=\"&#10;&quot;'\" z=\"1\"/></a>");
    row("<a>\r\n <b> x\n </b>\r\n <c>\n</c>\r\n</a>", "<a><b> x\n </b><c>\n</c></a>");
    row("<a xmlns=\"urn:x\">\n <b></b>\n <!-- c -->\n</a>", "<a xmlns=\"urn:x\"><b><?t?></b><!-- c --></a>");
    row("<a>t<b/> <c/><![CDATA[<]]>\n</a>", "<a>t<b/> <c/><![CDATA[<]]>\n</a>");
    row("<a>_x0041_\x01&#x1F600;&amp;</a>", "<a>_x005F_x0041__x0001_\xf0\x9f\x98\x80&amp;</a>");
    row("", "", "line 1, column 1: no element");
    row("<a>\n<b>", "", "line 2, column 4: an element has no end");
    row("<a>\n</b>", "", "line 2, column 1: an end tag of nothing");
    row("<a/><b/>", "", "line 1, column 5: a second element outside the root");
    row("<a/>x", "", "line 1, column 5: text outside the root");
    row("<a>&x;</a>", "", "line 1, column 4: not a character reference");
    row("<a>&lt</a>", "", "line 1, column 4: not a character reference");
    row("<a b=1/>", "", "line 1, column 5: not an attribute");
    row("<a b=\"1", "", "line 1, column 5: an attribute has no end");
    row("<a b=\"1\" b=\"2\"/>", "", "line 1, column 15: two attributes of one name");
    row("<a", "", "line 1, column 3: not an attribute");
    row("<a><b xmlns=\"u\"/></a>", "", "line 1, column 16: a namespace below the root");
    row("<a><!--", "", "line 1, column 4: a comment or CDATA section has no end");
    row("<!DOCTYPE a><a/>", "", "line 1, column 1: a document type or a processing instruction");
}

void tst_Wire::printed()
{
    QFETCH(QString, text);
    QFETCH(QByteArray, wire);
    QFETCH(QString, error);
    QString found;
    QCOMPARE(XMLWire::fromPrinted(text, &found), wire);
    QCOMPARE(found, error);
    if (!wire.isEmpty()) {
        const QString again = XMLWire::toDocument(wire).toString(1);
        QCOMPARE(XMLWire::fromPrinted(again), wire);
    }
}

void tst_Wire::differences_data()
{
    QTest::addColumn<QByteArray>("left");
    QTest::addColumn<QByteArray>("right");
    QTest::addColumn<QString>("text");
    const auto row = [](const char *left, const char *right, const char *text) {
        QTest::newRow(text) << QByteArray(left) << QByteArray(right) << QString::fromUtf8(text);
    };
    row("<a b='1' c='2'/>", "<a c='2' b='1'/>", "");
    row("<a b='1' c='2'/>", "<a c='3' d='_x0001_'/>",
        "- /a/@b: \"1\"\n~ /a/@c: \"2\" -> \"3\"\n+ /a/@d: \"_x0001_\"\n");
    row("<a><i/><i x='1'/><i/></a>", "<a><i/><j/><i x='1'/><i y='2'>t</i></a>",
        "+ /a/j: <j/>\n+ /a/i[3]/@y: \"2\"\n+ /a/i[3]/text(): \"t\"\n");
    row("<a><_x0031_f v='1'/><b>x</b></a>", "<a><b>y</b></a>",
        "- /a/_x0031_f: <_x0031_f v=\"1\"/>\n~ /a/b/text(): \"x\" -> \"y\"\n");
    row("<a>x<?t?>y</a>", "<a>xy</a>", "~ /a/text()[1]: \"x\" -> \"xy\"\n- /a/text()[2]: \"y\"\n");
    row("<a><b/><c/></a>", "<a><c/><b/></a>", "- /a/b: <b/>\n+ /a/b: <b/>\n");
    row("<a/>", "<b/>", "- /a: <a/>\n+ /b: <b/>\n");
    row("<a xmlns='urn:x'/>", "<a/>", "- /a: <a xmlns=\"urn:x\"/>\n+ /a: <a/>\n");
}

void tst_Wire::differences()
{
    QFETCH(QByteArray, left);
    QFETCH(QByteArray, right);
    QFETCH(QString, text);
    const auto a = XMLWire::toPacket(left);
    const auto b = XMLWire::toPacket(right);
    const XMLPacketDiff diff(*a, *b);
    QCOMPARE(diff.toText(), text);
    QCOMPARE(diff.isEmpty(), text.isEmpty());
    QVERIFY(diff.isComplete());
    QCOMPARE(XMLPacketDiff(*a, *b, 0).isComplete(), text.isEmpty());
}

QTEST_GUILESS_MAIN(tst_Wire)

#include "tst_wire.moc"
