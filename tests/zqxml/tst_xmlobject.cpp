// SPDX-FileCopyrightText: 2026 The zqxml developers
// SPDX-License-Identifier: MIT

#include "testtools.h"

#include <zqxml/xmlaction.h>
#include <zqxml/xmlpacketable.h>
#include <zqxml/xmlui.h>

#include <QTextCodec>

class tst_XMLObject : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void cleanup();
    void kinds();
    void ownElement();
    void withoutElement();
    void withoutNameOrTable();
    void namesAndTextSurviveEveryPolicy();
    void children();
    void writing();
    void writingWhatIsThere();
    void reading();
    void numberLists();

private:
    QDomElement parse(const char *xml)
    {
        document = QDomDocument();
        if (!document.setContent(QByteArray(xml)))
            qFatal("not well-formed: %s", xml);
        return document.documentElement();
    }

    const QString K = QStringLiteral("k");
    QDomDocument document;
    QStringList notes;
};

void tst_XMLObject::cleanup()
{
    compareWithKept(notes, QFINDTESTDATA("../data/zqxml/xmlobject.txt"));
}

void tst_XMLObject::kinds()
{
    for (int kind = -1; kind <= 6; ++kind) {
        XMLObject object(static_cast<XMLObject::XMLOBJECT_TYPE>(kind));
        notes << QStringLiteral("kind %1").arg(kind);
        NOTE(object.toString().trimmed());
        NOTE(object.isXMLPacketable());
        NOTE(object.isXMLAction());
        NOTE(object.isXMLUI());
        NOTE(object.isXMLImage());
        NOTE(object.isXMLMessage());
    }
}

void tst_XMLObject::ownElement()
{
#if QT_VERSION < QT_VERSION_CHECK(6, 0, 0)
    QTextCodec::setCodecForLocale(QTextCodec::codecForName("ISO-8859-1")); // the text is the same in every locale
#endif
    auto object = std::make_unique<XMLObject>(XMLObject::XML_ACTION);
    QDomElement former = object->getNode();
    QDomDocument own = former.ownerDocument();
    NOTE(XMLObject::toString(own));
    const QDomElement original = parse("<action a='1'><b>\u00e4\u20ac</b></action>");
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
    NOTE(XMLObject::createElement(null, K));
    NOTE(XMLObject::createTextNode(null, K).isNull());
    XMLAction nowhere;
    nowhere.setNode(QDomElement());
    XMLUI ui;
    ui.setNode(QDomElement());
    XMLAction action;
    XMLPacketable record;
    TextRecord plain("SI 8\nTI 0\n", DBLIST_ENTRY_TYPE);
    NOTE(nowhere.append(record));
    NOTE(nowhere.append(plain));
    NOTE(ui.append(action));
}

void tst_XMLObject::withoutNameOrTable()
{
    QDomElement e = parse("<e/>");
    XMLObject::setProperty(e, QString(), QStringLiteral("x"));
    NOTE(XMLObject::createElement(e, QString()));
    for (const char *const name : {"", "x:"})
        NOTE(XMLObject::createDocument(QStringLiteral("u"), QLatin1String(name)).toString());
    QStringList lines{QStringLiteral("SI 8"), QStringLiteral("1 x"), QStringLiteral("TI 0")};
    NOTE(XMLPacketable::toDom(e, lines, 1));
    NOTE(e);
    QDomElement item = parse("<item/>");
    NOTE(XMLPacketable::toDom(item, lines, 1));
    NOTE(item);
}

void tst_XMLObject::namesAndTextSurviveEveryPolicy()
{
    for (const auto policy : {QDomImplementation::DropInvalidChars, QDomImplementation::ReturnNullNode}) {
        QDomImplementation::setInvalidDataPolicy(policy);
        QDomElement e = XMLObject::createDocument(QStringLiteral("u"), QStringLiteral("0")).documentElement();
        QDomElement child = XMLObject::createElement(e, QStringLiteral("1f"));
        XMLObject::createElementV(child, QStringLiteral("2"));
        XMLObject::setProperty(e, QStringLiteral("3"), QStringLiteral("a\u0001b"));
        XMLObject::createTextNode(child, QStringLiteral("\u0002"));
        const bool isKept = QDomImplementation::invalidDataPolicy() == policy;
        QDomImplementation::setInvalidDataPolicy(QDomImplementation::AcceptInvalidChars);
        NOTE(isKept);
        NOTE(e.namespaceURI());
        NOTE(e);
        NOTE(child.namespaceURI());
    }
}

void tst_XMLObject::children()
{
    QDomElement e = parse("<e><a><k n='deep'/></a><k n='1'/>text<action n='1'/><action n='2'/><k n='2'/>"
                          "<ui><action n='deep'/></ui><?action x?><Action/><?p i?><p/></e>");
    NOTE(XMLObject::getElement(e, K));
    NOTE(XMLObject::hasProperty(e, QStringLiteral("p")));
    std::list<QDomNode> found;
    NOTE(XMLObject::hasNodesOfType(e, XMLObject::XML_IMAGE));
    NOTE(XMLObject::hasNodesOfType(e, XMLObject::XML_ACTION));
    NOTE(XMLObject::getNodesOfType(e, XMLObject::XML_UI, found));
    NOTE(XMLObject::getNodesOfType(e, XMLObject::XML_ACTION, found));
    for (const QDomNode &node : found)
        NOTE(node);
    XMLObject::removeNodesOfType(e, XMLObject::XML_ACTION);
    NOTE(e);
}

void tst_XMLObject::writing()
{
    QDomElement e = parse("<e/>");
    for (const bool isAttribute : {false, true}) {
        const auto write = [&](const char *key, auto... value) {
            const QString name = QString::fromLatin1(key);
            isAttribute ? XMLObject::setAttribute(e, name, value...) : XMLObject::setProperty(e, name, value...);
        };
        write("k", 26u, 16);
        write("null", QString());
        write("true", true);
        write("literal", "yes");
        write("wide", u"yes");
        write("int", -2147483647 - 1);
        write("unsigned", 4294967295u, 36);
    }
    XMLObject::setProperty(e, QStringLiteral("digits"), 1234567.0);
    XMLObject::setProperty(e, QStringLiteral("ints"), QList<int>{10, 255}, 16);
    XMLObject::setProperty(e, QStringLiteral("unsigneds"), QList<unsigned int>{0, 4294967295u}, 36);
    XMLObject::setProperty(e, QStringLiteral("none"), QList<int>(), 16);
    XMLObject::setAttribute(e, QString(), QStringLiteral("x"));
    XMLObject::setAttribute(e, K, QStringLiteral(""));
    NOTE(e);
    NOTE(XMLObject::getProperty(e, QStringLiteral("null")));
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
         {"", "01", "2", "true", " 1\t", "-3", "ff", "10", "1,000", "1.5", "111111111111", "zz"}) {
        const QString written = QString::fromLatin1(text);
        XMLObject::setProperty(e, K, written);
        XMLObject::setAttribute(e, K, written); // not the empty one
        NOTE(XMLObject::hasProperty(e, K));
        NOTE(XMLObject::getProperty(e, K));
        NOTE(XMLObject::getPropertyBool(e, K));
        NOTE(XMLObject::getPropertyInt(e, K));
        NOTE(XMLObject::getPropertyUInt(e, K, 36));
        NOTE(XMLObject::getPropertyDouble(e, K));
        NOTE(XMLObject::getAttribute(e, K));
        NOTE(XMLObject::getAttributeBool(e, K));
        NOTE(XMLObject::getAttributeInt(e, K));
        NOTE(XMLObject::getAttributeUInt(e, K, 36));
        // A long is as wide as the platform's.
        QCOMPARE(XMLObject::getPropertyLong(e, K), written.toLong());
        QCOMPARE(XMLObject::getPropertyULong(e, K, 36), written.toULong(nullptr, 36));
        QCOMPARE(XMLObject::getAttributeLong(e, K), written.toLong());
        QCOMPARE(XMLObject::getAttributeULong(e, K, 36), written.toULong(nullptr, 36));
    }
}

void tst_XMLObject::numberLists()
{
    QDomElement e = parse("<e><k>x</k></e>");
    for (const char *const text :
         {"", "  1 a   zz ", "? 1 3", "1 zy ? 3", "1 z!", "  ", "1\t2 3", "\t1 2\n", "-1a 5"}) {
        const QString list = QString::fromLatin1(text);
        XMLObject::setProperty(e, K, list);
        NOTE(list);
        for (bool ok : {false, true}) {
            NOTE(XMLObject::toLongList(list, &ok, 36));
            NOTE(ok);
        }
        NOTE(XMLObject::toLongList(list, nullptr, 36));
        NOTE(XMLObject::getPropertyLongList(e, K, 36));
        NOTE(XMLObject::getPropertyULongList(e, K, 36));
    }
}

ZQXML_TEST_MAIN(tst_XMLObject)
#include "tst_xmlobject.moc"
