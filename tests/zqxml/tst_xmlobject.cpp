// SPDX-FileCopyrightText: 2026 The zqxml developers
// SPDX-License-Identifier: MIT

#include "testtools.h"

#include <zqxml/xmlobject.h>

#include <QLibrary>
#include <QTextCodec>
#include <QtTest>

class tst_XMLObject : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void entryFunctionIsExported();
    void kinds();
    void ownElement();
    void textIsTheSameInEveryLocale();
    void namesAndTextSurviveEveryPolicy();
    void getElement();
    void nodesOfType();
    void writtenProperties();
    void readValues_data();
    void readValues();
    void propertyText();
    void propertyChangesFirstTextNodeOnly();
    void attributes();
    void numberLists_data();
    void numberLists();
    void nullElementsAreLeftAlone();

private:
    QDomElement newElement()
    {
        document = XMLObject::createDocument(QString(), QStringLiteral("e"));
        return document.documentElement();
    }

    QDomElement parse(const char *xml)
    {
        document = QDomDocument();
        if (!document.setContent(QByteArray(xml)))
            qFatal("not well-formed: %s", xml);
        return document.documentElement();
    }

    QDomDocument document;
};

namespace {

const QString K = QStringLiteral("k");

} // namespace

void tst_XMLObject::entryFunctionIsExported()
{
#ifdef ZQXML_STATIC_DEFINE
    QCOMPARE(DllMain_zqxml(), 0);
#else
    QLibrary library(QStringLiteral(ZQXML_FILE));
    const auto entry = reinterpret_cast<int (*)()>(library.resolve("DllMain_zqxml"));
    QVERIFY2(entry, qPrintable(library.errorString()));
    QCOMPARE(entry(), 0);
#endif
}

void tst_XMLObject::kinds()
{
    const char *const names[] = {"nobody", "zqxml", "packetable", "action", "ui", "img", "msg", "nobody"};
    for (int kind = -1; kind <= 6; ++kind) {
        XMLObject object(static_cast<XMLObject::XMLOBJECT_TYPE>(kind));
        const QString name = QString::fromLatin1(names[kind + 1]);
        QCOMPARE(object.rootNodeName(), name);
        QCOMPARE(object.toString().trimmed(), QStringLiteral("<%1/>").arg(name));
        QCOMPARE(object.isXMLPacketable(), kind == 1);
        QCOMPARE(object.isXMLAction(), kind == 2);
        QCOMPARE(object.isXMLUI(), kind == 3);
        QCOMPARE(object.isXMLImage(), kind == 4);
        QCOMPARE(object.isXMLMessage(), kind == 5);
    }
}

void tst_XMLObject::ownElement()
{
    XMLObject object(XMLObject::XML_ACTION);
    const QDomElement former = object.getNode();
    QDomDocument own = former.ownerDocument();
    QCOMPARE(XMLObject::toString(own), QStringLiteral("<dummydoc xmlns=\"\">\n <action/>\n</dummydoc>\n"));
    QCOMPARE(XMLObject::getDocumentRoot(own).tagName(), QStringLiteral("dummydoc"));
    QDomElement original = parse("<action a='1'><b>text</b></action>");
    object.setNode(original);
    QCOMPARE(dump(object.getNodeConst()), dump(original));
    QVERIFY(object.getNode().ownerDocument() == own && object.getNode().parentNode().isNull());
    QCOMPARE(former.parentNode().nodeName(), QStringLiteral("dummydoc"));
    object.getNode().setAttribute(QStringLiteral("a"), QStringLiteral("2"));
    QCOMPARE(original.attribute(QStringLiteral("a")), QStringLiteral("1"));
    object.setNode(QDomElement());
    QVERIFY(object.getNode().isNull() && object.toString().isEmpty());
}

void tst_XMLObject::textIsTheSameInEveryLocale()
{
#if QT_VERSION < QT_VERSION_CHECK(6, 0, 0)
    QTextCodec::setCodecForLocale(QTextCodec::codecForName("ISO-8859-1"));
#endif
    QDomElement e = newElement();
    XMLObject::setProperty(e, K, QStringLiteral("Plakat \u00e4\u20ac"));
    QCOMPARE(XMLObject::toString(e), QStringLiteral(" <e>\n  <k>Plakat \u00e4\u20ac</k>\n </e>\n"));
}

void tst_XMLObject::namesAndTextSurviveEveryPolicy()
{
    for (const auto policy : {QDomImplementation::DropInvalidChars, QDomImplementation::ReturnNullNode}) {
        QDomImplementation::setInvalidDataPolicy(policy);
        QDomElement e = newElement();
        XMLObject::createElementV(e, QStringLiteral("1f"));
        XMLObject::setProperty(e, QStringLiteral("2"), QStringLiteral("a\u0001b"));
        XMLObject::createTextNodeV(e, QStringLiteral("\u0002"));
        const auto left = QDomImplementation::invalidDataPolicy();
        QDomImplementation::setInvalidDataPolicy(QDomImplementation::AcceptInvalidChars);
        QCOMPARE(dump(e), QStringLiteral("e(1f 2(\"a\u0001b\") \"\u0002\")"));
        QCOMPARE(left, policy);
    }
}

void tst_XMLObject::getElement()
{
    QDomElement e = parse("<e><a><k n='deep'/></a><k n='first'/><k n='second'/><?p i?><p/></e>");
    QCOMPARE(XMLObject::getElement(e, K).attribute(QStringLiteral("n")), QStringLiteral("first"));
    QVERIFY(XMLObject::getElement(e, QStringLiteral("none")).isNull());
    QVERIFY2(!XMLObject::hasProperty(e, QStringLiteral("p")), "an instruction hides the element behind it");
}

void tst_XMLObject::nodesOfType()
{
    QDomElement e = parse("<e><action n='1'/><ui><action n='deep'/></ui><action n='2'/>text<Action/></e>");
    std::list<QDomNode> found;
    QVERIFY(!XMLObject::hasNodesOfType(e, XMLObject::XML_IMAGE));
    QVERIFY(XMLObject::hasNodesOfType(e, XMLObject::XML_ACTION));
    QCOMPARE(XMLObject::getNodesOfType(e, XMLObject::XML_ACTION, found), 2);
    QCOMPARE(XMLObject::getNodesOfType(e, XMLObject::XML_ACTION, found), 2);
    QCOMPARE(dump(found.front()) + dump(found.back()), QStringLiteral("action[n=1]action[n=2]"));
    QCOMPARE(int(found.size()), 4);
    XMLObject::removeNodesOfType(e, XMLObject::XML_ACTION);
    QCOMPARE(dump(e), QStringLiteral("e(ui(action[n=deep]) \"text\" Action)"));
}

void tst_XMLObject::writtenProperties()
{
    QDomElement e = newElement();
    const auto key = [](const char *name) { return QString::fromLatin1(name); };
    XMLObject::setProperty(e, key("true"), true);
    XMLObject::setProperty(e, key("false"), false);
    XMLObject::setProperty(e, key("literal"), "yes");
    XMLObject::setProperty(e, key("wide"), u"yes");
    XMLObject::setProperty(e, key("int"), -2147483647 - 1);
    XMLObject::setProperty(e, key("unsigned"), 4294967295u, 16);
    XMLObject::setProperty(e, key("double"), 0.1);
    XMLObject::setProperty(e, key("digits"), 1234567.0);
    XMLObject::setProperty(e, key("small"), 0.00001234);
    XMLObject::setProperty(e, key("ints"), QList<int>{10, 255}, 16);
    XMLObject::setProperty(e, key("unsigneds"), QList<unsigned int>{0, 17}, 10);
    XMLObject::setProperty(e, key("none"), QList<int>(), 16);
    QCOMPARE(dump(e),
             QStringLiteral("e(true(\"1\") false(\"0\") literal(\"yes\") wide(\"yes\") int(\"-2147483648\") "
                            "unsigned(\"ffffffff\") double(\"0.1\") digits(\"1.23457e+06\") "
                            "small(\"1.234e-05\") ints(\"a ff\") unsigneds(\"0 17\") none(\"\"))"));
}

void tst_XMLObject::readValues_data()
{
    QTest::addColumn<QString>("text");
    QTest::addColumn<QString>("numbers"); // bool, int, long, and in base 16 unsigned int and unsigned long
    QTest::addColumn<double>("number");
    const auto row = [](const char *name, const char *text, const char *numbers, double number) {
        QTest::newRow(name) << QString::fromLatin1(text) << QString::fromLatin1(numbers) << number;
    };
    row("missing", nullptr, "0 0 0 0 0", 0);
    row("01 is true", "01", "1 1 1 1 1", 1);
    row("2 is false", "2", "0 2 2 2 2", 2);
    row("true is false", "true", "0 0 0 0 0", 0);
    row("white space around", " 1\t", "1 1 1 1 1", 1);
    row("negative", "-3", "0 -3 -3 0 0", -3);
    row("hexadecimal", "ff", "0 0 0 255 255", 0);
    row("group separator", "1,000", "0 0 0 0 0", 0);
    row("fraction", "1.5", "0 0 0 0 0", 1.5);
    row("past 32 bits", "4294967296", "0 0 4294967296 0 285960729238", 4294967296.0);
}

void tst_XMLObject::readValues()
{
    QFETCH(QString, text);
    QFETCH(QString, numbers);
    QFETCH(double, number);
    QDomElement e = newElement();
    if (!text.isNull()) {
        XMLObject::setProperty(e, K, text);
        XMLObject::setAttribute(e, K, text);
    }
    const auto join = [](bool b, int i, long l, unsigned int u, unsigned long ul) {
        return QStringLiteral("%1 %2 %3 %4 %5").arg(int(b)).arg(i).arg(l).arg(u).arg(ul);
    };
    QCOMPARE(join(XMLObject::getPropertyBool(e, K), XMLObject::getPropertyInt(e, K), XMLObject::getPropertyLong(e, K),
                  XMLObject::getPropertyUInt(e, K, 16), XMLObject::getPropertyULong(e, K, 16)),
             numbers);
    QCOMPARE(join(XMLObject::getAttributeBool(e, K), XMLObject::getAttributeInt(e, K),
                  XMLObject::getAttributeLong(e, K), XMLObject::getAttributeUInt(e, K, 16),
                  XMLObject::getAttributeULong(e, K, 16)),
             numbers);
    QCOMPARE(XMLObject::getPropertyDouble(e, K), number);
    QCOMPARE(XMLObject::getProperty(e, K).isNull(), text.isNull());
    QCOMPARE(XMLObject::getAttribute(e, K), text);
}

void tst_XMLObject::propertyText()
{
    QDomElement e = parse("<e><k>a<b>b</b><![CDATA[c]]></k><empty/></e>");
    QCOMPARE(XMLObject::getProperty(e, K), QStringLiteral("abc"));
    const QString empty = XMLObject::getProperty(e, QStringLiteral("empty"));
    QVERIFY(empty.isEmpty() && !empty.isNull());
    XMLObject::setProperty(e, QStringLiteral("null"), QString());
    const QString null = XMLObject::getProperty(e, QStringLiteral("null"));
    QVERIFY2(null.isEmpty() && !null.isNull(), "a present property does not read as null");
}

void tst_XMLObject::propertyChangesFirstTextNodeOnly()
{
    const auto changed = [this](const char *xml) {
        QDomElement e = parse(xml);
        XMLObject::setProperty(e, K, QStringLiteral("new"));
        return dump(e);
    };
    QCOMPARE(changed("<e><k>1</k><k>2</k></e>"), QStringLiteral("e(k(\"new\") k(\"2\"))"));
    QCOMPARE(changed("<e><k><![CDATA[c]]><!--c-->old<b/>more</k></e>"),
             QStringLiteral("e(k(\"c\" <#comment> \"new\" b \"more\"))"));
    QCOMPARE(changed("<e><k><![CDATA[c]]></k></e>"), QStringLiteral("e(k(\"c\"))"));
    QCOMPARE(changed("<e><k></k></e>"), QStringLiteral("e(k)"));
    QCOMPARE(changed("<e><?k x?><k>1</k></e>"), QStringLiteral("e(<k> k(\"1\") k(\"new\"))"));
}

void tst_XMLObject::attributes()
{
    QDomElement e = newElement();
    XMLObject::setAttribute(e, K, QStringLiteral("old"));
    XMLObject::setAttribute(e, K, QStringLiteral(""));
    XMLObject::setAttribute(e, QStringLiteral("none"), QString());
    XMLObject::setAttribute(e, QString(), QStringLiteral("x"));
    XMLObject::setAttribute(e, QString(), true);
    XMLObject::setAttribute(e, QString(), 1);
    XMLObject::setAttribute(e, QString(), 1u, 16);
    QCOMPARE(dump(e), QStringLiteral("e[k=old]"));
    XMLObject::setAttribute(e, K, 26u, 16);
    XMLObject::setAttribute(e, QStringLiteral("b"), true);
    XMLObject::setAttribute(e, QStringLiteral("i"), -7);
    XMLObject::setAttribute(e, QStringLiteral("l"), "no");
    XMLObject::setAttribute(e, QStringLiteral("w"), u"no");
    QCOMPARE(dump(e), QStringLiteral("e[b=1 i=-7 k=1a l=no w=no]"));
    QVERIFY(XMLObject::getAttribute(e, QString()).isNull());
    QVERIFY(XMLObject::getAttribute(e, QStringLiteral("none")).isNull());
}

void tst_XMLObject::numberLists_data()
{
    QTest::addColumn<QString>("text");
    QTest::addColumn<QList<int>>("values");
    QTest::addColumn<bool>("ok");
    QTest::newRow("runs of blanks") << QStringLiteral("  1 a   ff ") << QList<int>{1, 10, 255} << true;
    QTest::newRow("no number between") << QStringLiteral("1 zz 3") << QList<int>{1, 3} << false;
    QTest::newRow("blanks only") << QStringLiteral("   ") << QList<int>() << true;
    QTest::newRow("a tab separates nothing") << QStringLiteral("1\t2 3") << QList<int>{3} << false;
    QTest::newRow("a tab around a number") << QStringLiteral("\t1 2\n") << QList<int>{1, 2} << true;
}

void tst_XMLObject::numberLists()
{
    QFETCH(QString, text);
    QFETCH(QList<int>, values);
    QFETCH(bool, ok);
    const QList<unsigned int> unsignedValues(values.cbegin(), values.cend());
    bool flag = !ok;
    QCOMPARE(XMLObject::toLongList(text, &flag, 16), values);
    QCOMPARE(flag, ok);
    flag = !ok;
    QCOMPARE(XMLObject::toULongList(text, &flag, 16), unsignedValues);
    QCOMPARE(flag, ok);
    QCOMPARE(XMLObject::toLongList(text, nullptr, 16), values);
    QDomElement e = newElement();
    XMLObject::setProperty(e, K, text);
    QCOMPARE(XMLObject::getPropertyLongList(e, K, 16), ok ? values : QList<int>());
    QCOMPARE(XMLObject::getPropertyULongList(e, K, 16), ok ? unsignedValues : QList<unsigned int>());
    QVERIFY(XMLObject::toLongList(QString(), &flag, 16).isEmpty());
    QVERIFY2(flag == ok, "no text leaves the flag alone");
}

void tst_XMLObject::nullElementsAreLeftAlone()
{
    static int messages = 0;
    qInstallMessageHandler([](QtMsgType, const QMessageLogContext &, const QString &) { ++messages; });
    QDomElement null;
    XMLObject::setProperty(null, K, QStringLiteral("x"));
    XMLObject::setAttribute(null, K, 1);
    XMLObject::removeNodesOfType(null, XMLObject::XML_UI);
    QVERIFY(XMLObject::createElement(null, K).isNull());
    QVERIFY(XMLObject::createTextNode(null, K).isNull());
    QVERIFY(XMLObject::getProperty(null, K).isNull());
    QVERIFY(XMLObject::getAttribute(null, K).isNull());
    QVERIFY(!XMLObject::hasNodesOfType(null, XMLObject::XML_UI));
    qInstallMessageHandler(nullptr);
    QVERIFY(null.isNull());
    QCOMPARE(messages, 0);
}

ZQXML_TEST_MAIN(tst_XMLObject)
#include "tst_xmlobject.moc"
