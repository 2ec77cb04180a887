// SPDX-FileCopyrightText: 2026 The zqxml developers
// SPDX-License-Identifier: MIT

#include "testtools.h"

#include <zqxml/xmlaction.h>
#include <zqxml/xmlobject.h>
#include <zqxml/xmlui.h>

#include <QLibrary>
#include <QTextCodec>
#include <QtTest>

class tst_XMLObject : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void entryFunctionIsExported();
    void kinds_data();
    void kinds();
    void ownDocument();
    void setNodeKeepsACopy();
    void textIsTheSameInEveryLocale();
    void namesAndTextSurviveEveryPolicy_data();
    void namesAndTextSurviveEveryPolicy();
    void getElement();
    void nodesOfType();
    void writtenProperties_data();
    void writtenProperties();
    void readValues_data();
    void readValues();
    void propertyText();
    void propertyChangesFirstTextNodeOnly_data();
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

void tst_XMLObject::kinds_data()
{
    QTest::addColumn<int>("kind");
    QTest::addColumn<QString>("name");
    QTest::newRow("packet") << 0 << QStringLiteral("zqxml");
    QTest::newRow("packetable") << 1 << QStringLiteral("packetable");
    QTest::newRow("action") << 2 << QStringLiteral("action");
    QTest::newRow("ui") << 3 << QStringLiteral("ui");
    QTest::newRow("image") << 4 << QStringLiteral("img");
    QTest::newRow("message") << 5 << QStringLiteral("msg");
    QTest::newRow("past the last") << 6 << QStringLiteral("nobody");
    QTest::newRow("before the first") << -1 << QStringLiteral("nobody");
}

void tst_XMLObject::kinds()
{
    QFETCH(int, kind);
    QFETCH(QString, name);
    XMLObject object(static_cast<XMLObject::XMLOBJECT_TYPE>(kind));
    QCOMPARE(object.rootNodeName(), name);
    QCOMPARE(dump(object.getNode()), name);
    QCOMPARE(object.toString().trimmed(), QStringLiteral("<%1/>").arg(name));
    QCOMPARE(object.isXMLPacketable(), kind == 1);
    QCOMPARE(object.isXMLAction(), kind == 2);
    QCOMPARE(object.isXMLUI(), kind == 3);
    QCOMPARE(object.isXMLImage(), kind == 4);
    QCOMPARE(object.isXMLMessage(), kind == 5);
}

void tst_XMLObject::ownDocument()
{
    XMLObject object(XMLObject::XML_UI);
    XMLObject other(XMLObject::XML_UI);
    QDomDocument own = object.getNode().ownerDocument();
    QVERIFY(own != other.getNode().ownerDocument());
    QCOMPARE(XMLObject::toString(own), QStringLiteral("<dummydoc xmlns=\"\">\n <ui/>\n</dummydoc>\n"));
    QCOMPARE(XMLObject::getDocumentRoot(own).tagName(), QStringLiteral("dummydoc"));
    QVERIFY(object.getNodeConst() == object.getNode());
    // No meta-object of its own: a class that has one names QObject as its superclass.
    QCOMPARE(XMLAction::staticMetaObject.superClass(), &QObject::staticMetaObject);
}

void tst_XMLObject::setNodeKeepsACopy()
{
    QDomElement original = parse("<action a='1'><b>text</b></action>");
    XMLObject object(XMLObject::XML_ACTION);
    const QDomElement former = object.getNode();
    object.setNode(original);
    QCOMPARE(dump(object.getNode()), dump(original));
    QVERIFY(object.getNode().parentNode().isNull());
    QCOMPARE(former.parentNode().nodeName(), QStringLiteral("dummydoc"));
    object.getNode().setAttribute(QStringLiteral("a"), QStringLiteral("2"));
    QCOMPARE(original.attribute(QStringLiteral("a")), QStringLiteral("1"));
    object.setNode(QDomElement());
    QVERIFY(object.getNode().isNull());
    QCOMPARE(object.toString(), QString());
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

void tst_XMLObject::namesAndTextSurviveEveryPolicy_data()
{
    QTest::addColumn<int>("policy");
    QTest::newRow("accept") << int(QDomImplementation::AcceptInvalidChars);
    QTest::newRow("drop") << int(QDomImplementation::DropInvalidChars);
    QTest::newRow("null") << int(QDomImplementation::ReturnNullNode);
}

void tst_XMLObject::namesAndTextSurviveEveryPolicy()
{
    QFETCH(int, policy);
    const auto wanted = static_cast<QDomImplementation::InvalidDataPolicy>(policy);
    QDomImplementation::setInvalidDataPolicy(wanted);
    QDomElement e = newElement();
    XMLObject::createElementV(e, QStringLiteral("1f"));
    XMLObject::setProperty(e, QStringLiteral("2"), QStringLiteral("a\u0001b"));
    XMLObject::createTextNodeV(e, QStringLiteral("\u0002"));
    const auto left = QDomImplementation::invalidDataPolicy();
    QDomImplementation::setInvalidDataPolicy(QDomImplementation::AcceptInvalidChars);
    QCOMPARE(dump(e), QStringLiteral("e(1f 2(\"a\u0001b\") \"\u0002\")"));
    QCOMPARE(left, wanted);
}

void tst_XMLObject::getElement()
{
    QDomElement e = parse("<e><a><k n='deep'/></a><k n='first'/><k n='second'/><?p i?><p/></e>");
    QCOMPARE(XMLObject::getElement(e, K).attribute(QStringLiteral("n")), QStringLiteral("first"));
    QVERIFY(XMLObject::getElement(e, QStringLiteral("none")).isNull());
    QVERIFY2(XMLObject::getElement(e, QStringLiteral("p")).isNull(), "an instruction hides the element behind it");
    QVERIFY(!XMLObject::hasProperty(e, QStringLiteral("p")));
}

void tst_XMLObject::nodesOfType()
{
    QDomElement e = parse("<e><action n='1'/><ui><action n='deep'/></ui><action n='2'/>text<Action/></e>");
    std::list<QDomNode> found;
    QCOMPARE(XMLObject::getNodesOfType(e, XMLObject::XML_IMAGE, found), 0);
    QVERIFY(!XMLObject::hasNodesOfType(e, XMLObject::XML_IMAGE));
    QVERIFY(XMLObject::hasNodesOfType(e, XMLObject::XML_ACTION));
    QCOMPARE(XMLObject::getNodesOfType(e, XMLObject::XML_ACTION, found), 2);
    QCOMPARE(XMLObject::getNodesOfType(e, XMLObject::XML_ACTION, found), 2);
    QStringList order;
    for (const QDomNode &n : found)
        order << n.toElement().attribute(QStringLiteral("n"));
    QCOMPARE(order.join(QLatin1Char(' ')), QStringLiteral("1 2 1 2"));
    XMLObject::removeNodesOfType(e, XMLObject::XML_ACTION);
    QCOMPARE(dump(e), QStringLiteral("e(ui(action[n=deep]) \"text\" Action)"));
    XMLObject::removeNodesOfType(e, XMLObject::XML_ACTION);
    QDomElement empty = newElement();
    QVERIFY(!XMLObject::hasNodesOfType(empty, static_cast<XMLObject::XMLOBJECT_TYPE>(9)));
}

void tst_XMLObject::writtenProperties_data()
{
    QTest::addColumn<std::function<void(QDomElement &)>>("write");
    QTest::addColumn<QString>("text");
    using Write = std::function<void(QDomElement &)>;
    const auto row = [](const char *name, const Write &write, const char *text) {
        QTest::newRow(name) << write << QString::fromLatin1(text);
    };
    row(
        "true", [](QDomElement &e) { XMLObject::setProperty(e, K, true); }, "1");
    row(
        "false", [](QDomElement &e) { XMLObject::setProperty(e, K, false); }, "0");
    row(
        "a literal is text", [](QDomElement &e) { XMLObject::setProperty(e, K, "yes"); }, "yes");
    row(
        "a wide literal is text", [](QDomElement &e) { XMLObject::setProperty(e, K, u"yes"); }, "yes");
    row(
        "int", [](QDomElement &e) { XMLObject::setProperty(e, K, -2147483647 - 1); }, "-2147483648");
    row(
        "unsigned", [](QDomElement &e) { XMLObject::setProperty(e, K, 4294967295u, 16); }, "ffffffff");
    row(
        "double", [](QDomElement &e) { XMLObject::setProperty(e, K, 0.1); }, "0.1");
    row(
        "six digits", [](QDomElement &e) { XMLObject::setProperty(e, K, 1234567.0); }, "1.23457e+06");
    row(
        "exponent from -5", [](QDomElement &e) { XMLObject::setProperty(e, K, 0.00001234); }, "1.234e-05");
    row(
        "ints",
        [](QDomElement &e) {
            XMLObject::setProperty(e, K, QList<int>{10, 255}, 16);
        },
        "a ff");
    row(
        "unsigneds",
        [](QDomElement &e) {
            XMLObject::setProperty(e, K, QList<unsigned int>{0, 17}, 10);
        },
        "0 17");
    row(
        "empty list", [](QDomElement &e) { XMLObject::setProperty(e, K, QList<int>(), 16); }, "");
}

Q_DECLARE_METATYPE(std::function<void(QDomElement &)>)

void tst_XMLObject::writtenProperties()
{
    QFETCH(std::function<void(QDomElement &)>, write);
    QFETCH(QString, text);
    QDomElement e = newElement();
    XMLObject::setProperty(e, K, QStringLiteral("before"));
    write(e);
    QCOMPARE(dump(e), QStringLiteral("e(k(\"%1\"))").arg(text));
    QDomElement fresh = newElement();
    write(fresh);
    QCOMPARE(dump(fresh), dump(e));
}

void tst_XMLObject::readValues_data()
{
    QTest::addColumn<QString>("text");
    QTest::addColumn<bool>("asBool");
    QTest::addColumn<int>("asInt");
    QTest::addColumn<qlonglong>("asLong");
    QTest::addColumn<unsigned int>("asUInt16");
    QTest::addColumn<qulonglong>("asULong16");
    QTest::addColumn<double>("asDouble");
    QTest::newRow("missing") << QString() << false << 0 << 0ll << 0u << 0ull << 0.0;
    QTest::newRow("1") << QStringLiteral("1") << true << 1 << 1ll << 1u << 1ull << 1.0;
    QTest::newRow("01 is true") << QStringLiteral("01") << true << 1 << 1ll << 1u << 1ull << 1.0;
    QTest::newRow("2 is false") << QStringLiteral("2") << false << 2 << 2ll << 2u << 2ull << 2.0;
    QTest::newRow("true is false") << QStringLiteral("true") << false << 0 << 0ll << 0u << 0ull << 0.0;
    QTest::newRow("white space around") << QStringLiteral(" 1\t") << true << 1 << 1ll << 1u << 1ull << 1.0;
    QTest::newRow("negative") << QStringLiteral("-3") << false << -3 << -3ll << 0u << 0ull << -3.0;
    QTest::newRow("hexadecimal") << QStringLiteral("ff") << false << 0 << 0ll << 255u << 255ull << 0.0;
    QTest::newRow("group separator") << QStringLiteral("1,000") << false << 0 << 0ll << 0u << 0ull << 0.0;
    QTest::newRow("fraction") << QStringLiteral("1.5") << false << 0 << 0ll << 0u << 0ull << 1.5;
    QTest::newRow("past 32 bits") << QStringLiteral("4294967296") << false << 0 << qlonglong(4294967296l) << 0u
                                  << qulonglong(0x4294967296ul) << 4294967296.0;
}

void tst_XMLObject::readValues()
{
    QFETCH(QString, text);
    QFETCH(bool, asBool);
    QFETCH(int, asInt);
    QFETCH(qlonglong, asLong);
    QFETCH(unsigned int, asUInt16);
    QFETCH(qulonglong, asULong16);
    QFETCH(double, asDouble);
    QDomElement e = newElement();
    if (!text.isNull()) {
        XMLObject::setProperty(e, K, text);
        XMLObject::setAttribute(e, K, text);
    }
    QCOMPARE(XMLObject::getProperty(e, K).isNull(), text.isNull());
    QCOMPARE(XMLObject::getPropertyBool(e, K), asBool);
    QCOMPARE(XMLObject::getPropertyInt(e, K), asInt);
    QCOMPARE(qlonglong(XMLObject::getPropertyLong(e, K)), asLong);
    QCOMPARE(XMLObject::getPropertyUInt(e, K, 16), asUInt16);
    QCOMPARE(qulonglong(XMLObject::getPropertyULong(e, K, 16)), asULong16);
    QCOMPARE(XMLObject::getPropertyDouble(e, K), asDouble);
    QCOMPARE(XMLObject::getAttribute(e, K), text);
    QCOMPARE(XMLObject::getAttributeBool(e, K), asBool);
    QCOMPARE(XMLObject::getAttributeInt(e, K), asInt);
    QCOMPARE(qlonglong(XMLObject::getAttributeLong(e, K)), asLong);
    QCOMPARE(XMLObject::getAttributeUInt(e, K, 16), asUInt16);
    QCOMPARE(qulonglong(XMLObject::getAttributeULong(e, K, 16)), asULong16);
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

void tst_XMLObject::propertyChangesFirstTextNodeOnly_data()
{
    QTest::addColumn<QString>("before");
    QTest::addColumn<QString>("after");
    const auto row = [](const char *name, const char *before, const char *after) {
        QTest::newRow(name) << QString::fromLatin1(before) << QString::fromLatin1(after);
    };
    row("one text", "<e><k>old</k></e>", "e(k(\"new\"))");
    row("behind an element", "<e><k><b/>old</k></e>", "e(k(b \"new\"))");
    row("behind CDATA and a comment", "<e><k><![CDATA[c]]><!--c-->old<b/>more</k></e>",
        "e(k(\"c\" <#comment> \"new\" b \"more\"))");
    row("CDATA only", "<e><k><![CDATA[c]]></k></e>", "e(k(\"c\"))");
    row("empty and parsed", "<e><k></k></e>", "e(k)");
    row("first of two", "<e><k>1</k><k>2</k></e>", "e(k(\"new\") k(\"2\"))");
    row("hidden by an instruction", "<e><?k x?><k>1</k></e>", "e(<k> k(\"1\") k(\"new\"))");
}

void tst_XMLObject::propertyChangesFirstTextNodeOnly()
{
    QFETCH(QString, before);
    QFETCH(QString, after);
    QDomElement e = parse(before.toLatin1().constData());
    XMLObject::setProperty(e, K, QStringLiteral("new"));
    QCOMPARE(dump(e), after);
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
    QTest::newRow("no number at the end") << QStringLiteral("1 3 zz") << QList<int>{1, 3} << false;
    QTest::newRow("blanks only") << QStringLiteral("   ") << QList<int>() << true;
    QTest::newRow("a tab separates nothing") << QStringLiteral("1\t2 3") << QList<int>{3} << false;
    QTest::newRow("a tab around a number") << QStringLiteral("\t1 2\n") << QList<int>{1, 2} << true;
}

void tst_XMLObject::numberLists()
{
    QFETCH(QString, text);
    QFETCH(QList<int>, values);
    QFETCH(bool, ok);
    QList<unsigned int> unsignedValues;
    for (const int value : values)
        unsignedValues << static_cast<unsigned int>(value);
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

    for (bool untouched : {true, false}) {
        const bool before = untouched;
        QVERIFY(XMLObject::toLongList(QString(), &untouched, 16).isEmpty());
        QCOMPARE(untouched, before);
    }
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

QTEST_GUILESS_MAIN(tst_XMLObject)
#include "tst_xmlobject.moc"
