// SPDX-FileCopyrightText: 2026 The zqxml developers
// SPDX-License-Identifier: MIT

#include "testtools.h"

#include <zqxml/xmlobject.h>

#include <QLibrary>
#include <QTextCodec>

#include <limits>

namespace {

const QString K = QStringLiteral("k");

} // namespace

class tst_XMLObject : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void cleanup();
    void entryFunctionIsExported();
    void kinds();
    void ownElement();
    void withoutElement();
    void textIsTheSameInEveryLocale();
    void namesAndTextSurviveEveryPolicy();
    void children();
    void writing();
    void writingWhatIsThere();
    void reading();
    void longs();
    void numberLists();

private:
    QDomElement parse(const char *xml)
    {
        document = QDomDocument();
        if (!document.setContent(QByteArray(xml)))
            qFatal("not well-formed: %s", xml);
        return document.documentElement();
    }

    QDomDocument document;
    QStringList notes;
};

void tst_XMLObject::cleanup()
{
    compareWithKept(notes, QFINDTESTDATA("../data/zqxml/xmlobject.txt"));
}

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
    for (int kind = -1; kind <= 6; ++kind) {
        XMLObject object(static_cast<XMLObject::XMLOBJECT_TYPE>(kind));
        notes << QStringLiteral("kind %1").arg(kind);
        NOTE(object.toString().trimmed());
        NOTE(object.rootNodeName());
        NOTE(object.isXMLPacketable());
        NOTE(object.isXMLAction());
        NOTE(object.isXMLUI());
        NOTE(object.isXMLImage());
        NOTE(object.isXMLMessage());
    }
}

void tst_XMLObject::ownElement()
{
    auto object = std::make_unique<XMLObject>(XMLObject::XML_ACTION);
    QDomElement former = object->getNode();
    QDomDocument own = former.ownerDocument();
    NOTE(XMLObject::toString(own));
    NOTE(XMLObject::getDocumentRoot(own).tagName());
    const QDomElement original = parse("<action a='1'><b>text</b></action>");
    object->setNode(original);
    QDomElement replaced = object->getNode();
    NOTE(replaced.ownerDocument() == own);
    NOTE(replaced.parentNode());
    NOTE(former.parentNode());
    replaced.setAttribute(QStringLiteral("a"), QStringLiteral("2"));
    NOTE(original);
    NOTE(object->getNodeConst());
    object->setNode(original);
    NOTE(object->toString());
    // Its elements outlive it; all can be read, and but for the one that was replaced in turn they can be changed.
    QDomElement last = object->getNode();
    own.clear();
    object.reset();
    for (QDomElement *const element : {&former, &last}) {
        XMLObject::setProperty(*element, K, 1);
        XMLObject::setAttribute(*element, QStringLiteral("a"), 3);
        NOTE(*element);
    }
    NOTE(replaced);
}

void tst_XMLObject::withoutElement()
{
    XMLObject object(XMLObject::XML_UI);
    object.setNode(QDomElement());
    QDomElement null = object.getNode();
    XMLObject::setProperty(null, K, QStringLiteral("x"));
    XMLObject::setAttribute(null, K, 1);
    XMLObject::removeNodesOfType(null, XMLObject::XML_UI);
    NOTE(null);
    NOTE(object.toString().isEmpty());
    NOTE(XMLObject::createElement(null, K));
    NOTE(XMLObject::createTextNode(null, K).isNull());
    NOTE(XMLObject::getProperty(null, K));
    NOTE(XMLObject::getAttribute(null, K));
    NOTE(XMLObject::hasNodesOfType(null, XMLObject::XML_UI));
}

void tst_XMLObject::textIsTheSameInEveryLocale()
{
#if QT_VERSION < QT_VERSION_CHECK(6, 0, 0)
    QTextCodec::setCodecForLocale(QTextCodec::codecForName("ISO-8859-1"));
#endif
    QDomElement e = parse("<e/>");
    XMLObject::setProperty(e, K, QStringLiteral("Plakat \u00e4\u20ac"));
    NOTE(XMLObject::toString(e));
}

void tst_XMLObject::namesAndTextSurviveEveryPolicy()
{
    for (const auto policy : {QDomImplementation::DropInvalidChars, QDomImplementation::ReturnNullNode}) {
        QDomImplementation::setInvalidDataPolicy(policy);
        QDomElement e = XMLObject::createDocument(QStringLiteral("u"), QStringLiteral("0")).documentElement();
        QDomElement child = XMLObject::createElement(e, QStringLiteral("1f"));
        XMLObject::createElementV(child, QStringLiteral("2"));
        XMLObject::setProperty(e, QStringLiteral("3"), QStringLiteral("a\u0001b"));
        const QDomText text = XMLObject::createTextNode(child, QStringLiteral("\u0002"));
        XMLObject::createTextNodeV(e, QString());
        const bool isKept = QDomImplementation::invalidDataPolicy() == policy;
        QDomImplementation::setInvalidDataPolicy(QDomImplementation::AcceptInvalidChars);
        NOTE(isKept);
        NOTE(e.namespaceURI());
        NOTE(e);
        NOTE(text);
        NOTE(child.namespaceURI());
    }
}

void tst_XMLObject::children()
{
    QDomElement e = parse("<e><a><k n='deep'/></a><k n='1'/>text<action n='1'/><action n='2'/><k n='2'/>"
                          "<ui><action n='deep'/></ui><?action x?><Action/><?p i?><p/></e>");
    NOTE(XMLObject::getElement(e, K));
    NOTE(XMLObject::getElement(e, QStringLiteral("none")));
    NOTE(XMLObject::hasProperty(e, QStringLiteral("p")));
    std::list<QDomNode> found;
    NOTE(XMLObject::hasNodesOfType(e, XMLObject::XML_IMAGE));
    NOTE(XMLObject::getNodesOfType(e, XMLObject::XML_IMAGE, found));
    NOTE(XMLObject::hasNodesOfType(e, XMLObject::XML_ACTION));
    NOTE(XMLObject::getNodesOfType(e, XMLObject::XML_UI, found));
    NOTE(XMLObject::getNodesOfType(e, XMLObject::XML_ACTION, found));
    for (const QDomNode &node : found)
        NOTE(node);
    XMLObject::removeNodesOfType(e, XMLObject::XML_IMAGE);
    XMLObject::removeNodesOfType(e, XMLObject::XML_ACTION);
    NOTE(e);
    NOTE(XMLObject::hasNodesOfType(e, static_cast<XMLObject::XMLOBJECT_TYPE>(6)));
}

void tst_XMLObject::writing()
{
    QDomElement e = parse("<e/>");
    for (const bool isAttribute : {false, true}) {
        const auto write = [&](const char *key, auto... value) {
            const QString name = QString::fromLatin1(key);
            isAttribute ? XMLObject::setAttribute(e, name, value...) : XMLObject::setProperty(e, name, value...);
        };
        write("k", QStringLiteral("text"));
        write("k", 26u, 16);
        write("null", QString());
        write("true", true);
        write("false", false);
        write("literal", "yes");
        write("wide", u"yes");
        write("int", -2147483647 - 1);
        write("unsigned", 4294967295u, 36);
    }
    const auto writeList = [&e](const char *key, auto... value) {
        XMLObject::setProperty(e, QString::fromLatin1(key), value...);
    };
    writeList("double", 0.1);
    writeList("digits", 1234567.0);
    writeList("small", 0.00001234);
    writeList("ints", QList<int>{10, 255}, 16);
    writeList("unsigneds", QList<unsigned int>{0, 4294967295u}, 36);
    writeList("none", QList<int>(), 16);
    XMLObject::setAttribute(e, QString(), QStringLiteral("x"));
    XMLObject::setAttribute(e, QString(), true);
    XMLObject::setAttribute(e, K, QStringLiteral(""));
    NOTE(e);
    NOTE(XMLObject::getProperty(e, QStringLiteral("null")));
    NOTE(XMLObject::getAttribute(e, QString()));
}

void tst_XMLObject::writingWhatIsThere()
{
    for (const char *const xml : {"<e><k>1</k><k>2</k></e>", "<e><k><![CDATA[c]]><!--c-->old<b>b</b>more</k></e>",
                                  "<e><k><![CDATA[c]]></k></e>", "<e><k></k></e>", "<e><?k x?><k>1</k></e>"}) {
        QDomElement e = parse(xml);
        NOTE(XMLObject::getProperty(e, K));
        XMLObject::setProperty(e, K, QStringLiteral("new"));
        NOTE(e);
    }
}

void tst_XMLObject::reading()
{
    QDomElement e = parse("<e/>");
    for (const char *const text :
         {"missing", "", "01", "2", "true", " 1\t", "-3", "ff", "10", "1,000", "1.5", "100000000", "zz"}) {
        const QString written = QString::fromLatin1(text);
        NOTE(written);
        if (written != QStringLiteral("missing")) {
            XMLObject::setProperty(e, K, written);
            XMLObject::setAttribute(e, K, written); // not the empty one
        }
        NOTE(XMLObject::hasProperty(e, K));
        NOTE(XMLObject::getProperty(e, K));
        NOTE(XMLObject::getPropertyBool(e, K));
        NOTE(XMLObject::getPropertyInt(e, K));
        NOTE(XMLObject::getPropertyUInt(e, K, 16));
        NOTE(XMLObject::getPropertyUInt(e, K, 36));
        NOTE(XMLObject::getPropertyDouble(e, K));
        NOTE(XMLObject::getAttribute(e, K));
        NOTE(XMLObject::getAttributeBool(e, K));
        NOTE(XMLObject::getAttributeInt(e, K));
        NOTE(XMLObject::getAttributeUInt(e, K, 16));
        NOTE(XMLObject::getAttributeUInt(e, K, 36));
    }
}

void tst_XMLObject::longs()
{
    // A long is as wide as the platform's.
    QDomElement e = parse("<e/>");
    const auto write = [&e](const QString &value) {
        XMLObject::setProperty(e, K, value);
        XMLObject::setAttribute(e, K, value);
    };
    for (const long value : {std::numeric_limits<long>::max(), -10L}) {
        write(QString::number(value));
        QCOMPARE(XMLObject::getPropertyLong(e, K), value);
        QCOMPARE(XMLObject::getAttributeLong(e, K), value);
    }
    for (const int base : {16, 36}) {
        write(QString::number(std::numeric_limits<unsigned long>::max(), base));
        QCOMPARE(XMLObject::getPropertyULong(e, K, base), std::numeric_limits<unsigned long>::max());
        QCOMPARE(XMLObject::getAttributeULong(e, K, base), std::numeric_limits<unsigned long>::max());
    }
}

void tst_XMLObject::numberLists()
{
    QDomElement e = parse("<e><k>x</k></e>");
    for (const char *const text : {"", "  1 a   ff ", "zz 1 3", "1 zy 3", "1 z!", "  ", "1\t2 3", "\t1 2\n", "-1a 5"}) {
        for (const int base : {16, 36}) {
            const QString list = QString::fromLatin1(text);
            bool ok = base == 36;
            XMLObject::setProperty(e, K, list);
            NOTE(list);
            NOTE(XMLObject::toLongList(list, &ok, base));
            NOTE(ok);
            NOTE(XMLObject::toLongList(list, nullptr, base));
            NOTE(XMLObject::getPropertyLongList(e, K, base));
            ok = base == 36;
            NOTE(XMLObject::toULongList(list, &ok, base));
            NOTE(ok);
            NOTE(XMLObject::getPropertyULongList(e, K, base));
        }
    }
}

ZQXML_TEST_MAIN(tst_XMLObject)
#include "tst_xmlobject.moc"
