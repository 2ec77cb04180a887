// SPDX-FileCopyrightText: 2026 The zqxml developers
// SPDX-License-Identifier: MIT

#include "xmlobject.h"

#include "constants_p.h"
#include "dom_p.h"

#include <QIODevice>
#include <QStringView>
#include <QTextStream>

ZQXML_CONSTANT XMLObject::ZQ_NAMESPACE = QStringLiteral("http://zqxml.example.org/ns/1.0");
ZQXML_CONSTANT XMLObject::NUMLIST_SEP = QStringLiteral(" ");

extern "C" int DllMain_zqxml()
{
    return 0;
}

using namespace zqxml;

namespace {

bool toBool(const QString &text)
{
    return text.toInt() == 1;
}

QString toDigit(bool value)
{
    return value ? QStringLiteral("1") : QStringLiteral("0");
}

template <typename Number>
QString joinNumbers(const QList<Number> &values, int base)
{
    QString text = QStringLiteral("");
    for (const Number value : values) {
        if (!text.isEmpty())
            text += XMLObject::NUMLIST_SEP;
        text += QString::number(value, base);
    }
    return text;
}

template <typename Number, typename Parse>
QList<Number> readNumbers(const QString &text, bool *ok, Parse parse)
{
    QList<Number> values;
    if (text.isEmpty())
        return values;
    if (ok)
        *ok = true;
    const QStringView view(text);
    for (qsizetype from = 0, end = 0; from < view.size(); from = end + 1) {
        end = view.indexOf(XMLObject::NUMLIST_SEP, from);
        if (end < 0)
            end = view.size();
        if (end == from)
            continue;
        bool parsed = false;
        const auto value = parse(view.mid(from, end - from), &parsed);
        if (parsed)
            values.append(static_cast<Number>(value));
        else if (ok)
            *ok = false;
    }
    return values;
}

} // namespace

XMLObject::XMLObject(XMLOBJECT_TYPE type) : objectType(type), node(newElement(ownDocument, rootNodeName(type)))
{
    // The root is filled before it is attached: each attachment walks up to the document.
    QDomElement root = newElement(ownDocument, QStringLiteral(""), QStringLiteral("dummydoc"));
    root.appendChild(node);
    ownDocument.appendChild(root);
}

XMLObject::~XMLObject()
{
    forgetDocumentIfAlone(node);
}

QDomElement XMLObject::getNode() const
{
    return node;
}

const QDomElement &XMLObject::getNodeConst() const
{
    return node;
}

void XMLObject::setNode(const QDomElement &e)
{
    node = ownDocument.importNode(e, true).toElement();
}

QString XMLObject::rootNodeName()
{
    return rootNodeName(objectType);
}

bool XMLObject::isXMLPacketable() const
{
    return objectType == XML_PACKETABLE;
}

bool XMLObject::isXMLAction() const
{
    return objectType == XML_ACTION;
}

bool XMLObject::isXMLUI() const
{
    return objectType == XML_UI;
}

bool XMLObject::isXMLImage() const
{
    return objectType == XML_IMAGE;
}

bool XMLObject::isXMLMessage() const
{
    return objectType == XML_MESSAGE;
}

QString XMLObject::toString()
{
    return toString(node);
}

QString XMLObject::rootNodeName(XMLOBJECT_TYPE type)
{
    switch (type) {
    case XML_PACKET:
        return QStringLiteral("zqxml");
    case XML_PACKETABLE:
        return QStringLiteral("packetable");
    case XML_ACTION:
        return QStringLiteral("action");
    case XML_UI:
        return QStringLiteral("ui");
    case XML_IMAGE:
        return QStringLiteral("img");
    case XML_MESSAGE:
        return QStringLiteral("msg");
    }
    return QStringLiteral("nobody");
}

QDomElement XMLObject::getElement(const QDomElement &parent, const QString &name)
{
    return parent.namedItem(name).toElement();
}

QDomElement XMLObject::getDocumentRoot(const QDomDocument &doc)
{
    return doc.documentElement();
}

QDomDocument XMLObject::createDocument(const QString &namespaceURI, const QString &qualifiedName)
{
    QDomDocument document;
    const QDomElement root = newElement(document, namespaceURI, qualifiedName);
    if (root.isNull())
        return QDomDocument();
    document.appendChild(root);
    return document;
}

void XMLObject::createDocumentV(const QString &namespaceURI, const QString &qualifiedName)
{
    createDocument(namespaceURI, qualifiedName);
}

QDomElement XMLObject::createElement(QDomElement &parent, const QString &name)
{
    if (parent.isNull())
        return QDomElement();
    QDomDocument document = parent.ownerDocument();
    const QDomElement element = newElement(document, name);
    return element.isNull() ? element : parent.appendChild(element).toElement();
}

void XMLObject::createElementV(QDomElement &parent, const QString &name)
{
    createElement(parent, name);
}

QDomText XMLObject::createTextNode(QDomElement &parent, const QString &text)
{
    if (parent.isNull())
        return QDomText();
    QDomDocument document = parent.ownerDocument();
    return parent.appendChild(newText(document, text)).toText();
}

void XMLObject::createTextNodeV(QDomElement &parent, const QString &text)
{
    createTextNode(parent, text);
}

QString XMLObject::toString(QDomNode &n)
{
    QString text;
    QTextStream stream(&text, QIODevice::WriteOnly);
#if QT_VERSION < QT_VERSION_CHECK(6, 0, 0)
    // The locale's codec would turn what it cannot encode into character references.
    stream.setCodec("UTF-8");
#endif
    stream << n;
    stream.flush();
    return text;
}

bool XMLObject::hasNodesOfType(QDomElement &parent, XMLOBJECT_TYPE type)
{
    return !parent.namedItem(rootNodeName(type)).isNull();
}

int XMLObject::getNodesOfType(QDomElement &parent, XMLOBJECT_TYPE type, std::list<QDomNode> &out)
{
    const QString name = rootNodeName(type);
    int count = 0;
    for (QDomNode child = parent.namedItem(name); !child.isNull(); child = child.nextSibling()) {
        if (child.nodeName() == name) {
            out.push_back(child);
            ++count;
        }
    }
    return count;
}

void XMLObject::removeNodesOfType(QDomElement &parent, XMLOBJECT_TYPE type)
{
    const QString name = rootNodeName(type);
    for (QDomNode child = parent.namedItem(name), next; !child.isNull(); child = next) {
        next = child.nextSibling();
        if (child.nodeName() == name)
            parent.removeChild(child);
    }
}

bool XMLObject::hasProperty(const QDomElement &e, const QString &key)
{
    return e.namedItem(key).isElement();
}

QString XMLObject::getProperty(const QDomElement &e, const QString &key)
{
    const QDomNode property = e.namedItem(key);
    return property.isElement() ? textOf(property) : QString();
}

void XMLObject::setProperty(QDomElement &e, const QString &key, const QString &value)
{
    if (e.isNull())
        return;
    const QDomNode found = e.namedItem(key);
    if (found.isElement()) {
        QDomNode child = found.firstChild();
        while (!child.isNull() && child.nodeType() != QDomNode::TextNode)
            child = child.nextSibling();
        // On purpose: without a text node nothing is written.
        if (!child.isNull())
            child.setNodeValue(value);
        return;
    }
    QDomDocument document = e.ownerDocument();
    QDomElement property = newElement(document, key);
    if (property.isNull())
        return;
    property.appendChild(newText(document, value));
    e.appendChild(property);
}

void XMLObject::setProperty(QDomElement &e, const QString &key, const char *value)
{
    setProperty(e, key, QString::fromUtf8(value));
}

void XMLObject::setProperty(QDomElement &e, const QString &key, const char16_t *value)
{
    setProperty(e, key, QString::fromUtf16(value));
}

void XMLObject::setProperty(QDomElement &e, const QString &key, bool value)
{
    setProperty(e, key, toDigit(value));
}

void XMLObject::setProperty(QDomElement &e, const QString &key, int value)
{
    setProperty(e, key, QString::number(value, 10));
}

void XMLObject::setProperty(QDomElement &e, const QString &key, unsigned int value, int base)
{
    setProperty(e, key, QString::number(value, base));
}

void XMLObject::setProperty(QDomElement &e, const QString &key, double value)
{
    setProperty(e, key, QString::number(value, 'g', 6));
}

void XMLObject::setProperty(QDomElement &e, const QString &key, const QList<unsigned int> &values, int base)
{
    setProperty(e, key, toString(values, base));
}

void XMLObject::setProperty(QDomElement &e, const QString &key, const QList<int> &values, int base)
{
    setProperty(e, key, toString(values, base));
}

bool XMLObject::getPropertyBool(const QDomElement &e, const QString &key)
{
    return toBool(getProperty(e, key));
}

int XMLObject::getPropertyInt(const QDomElement &e, const QString &key)
{
    return getProperty(e, key).toInt();
}

long XMLObject::getPropertyLong(const QDomElement &e, const QString &key)
{
    return getProperty(e, key).toLong();
}

unsigned int XMLObject::getPropertyUInt(const QDomElement &e, const QString &key, int base)
{
    return getProperty(e, key).toUInt(nullptr, base);
}

unsigned long XMLObject::getPropertyULong(const QDomElement &e, const QString &key, int base)
{
    return getProperty(e, key).toULong(nullptr, base);
}

double XMLObject::getPropertyDouble(const QDomElement &e, const QString &key)
{
    return getProperty(e, key).toDouble();
}

QList<int> XMLObject::getPropertyLongList(const QDomElement &e, const QString &key, int base)
{
    bool ok = false;
    const QList<int> values = toLongList(getProperty(e, key), &ok, base);
    return ok ? values : QList<int>();
}

QList<unsigned int> XMLObject::getPropertyULongList(const QDomElement &e, const QString &key, int base)
{
    bool ok = false;
    const QList<unsigned int> values = toULongList(getProperty(e, key), &ok, base);
    return ok ? values : QList<unsigned int>();
}

QString XMLObject::getAttribute(const QDomElement &e, const QString &key)
{
    return key.isEmpty() ? QString() : e.attribute(key);
}

bool XMLObject::getAttributeBool(const QDomElement &e, const QString &key)
{
    return toBool(getAttribute(e, key));
}

int XMLObject::getAttributeInt(const QDomElement &e, const QString &key)
{
    return getAttribute(e, key).toInt();
}

long XMLObject::getAttributeLong(const QDomElement &e, const QString &key)
{
    return getAttribute(e, key).toLong();
}

unsigned int XMLObject::getAttributeUInt(const QDomElement &e, const QString &key, int base)
{
    return getAttribute(e, key).toUInt(nullptr, base);
}

unsigned long XMLObject::getAttributeULong(const QDomElement &e, const QString &key, int base)
{
    return getAttribute(e, key).toULong(nullptr, base);
}

void XMLObject::setAttribute(QDomElement &e, const QString &key, const QString &value)
{
    if (!key.isEmpty() && !value.isEmpty())
        e.setAttribute(key, value);
}

void XMLObject::setAttribute(QDomElement &e, const QString &key, const char *value)
{
    setAttribute(e, key, QString::fromUtf8(value));
}

void XMLObject::setAttribute(QDomElement &e, const QString &key, const char16_t *value)
{
    setAttribute(e, key, QString::fromUtf16(value));
}

void XMLObject::setAttribute(QDomElement &e, const QString &key, bool value)
{
    setAttribute(e, key, toDigit(value));
}

void XMLObject::setAttribute(QDomElement &e, const QString &key, int value)
{
    setAttribute(e, key, QString::number(value, 10));
}

void XMLObject::setAttribute(QDomElement &e, const QString &key, unsigned int value, int base)
{
    setAttribute(e, key, QString::number(value, base));
}

QString XMLObject::toString(const QList<int> &values, int base)
{
    return joinNumbers(values, base);
}

QString XMLObject::toString(const QList<unsigned int> &values, int base)
{
    return joinNumbers(values, base);
}

QList<int> XMLObject::toLongList(const QString &text, bool *ok, int base)
{
    return readNumbers<int>(text, ok, [base](QStringView part, bool *parsed) { return part.toLong(parsed, base); });
}

QList<unsigned int> XMLObject::toULongList(const QString &text, bool *ok, int base)
{
    return readNumbers<unsigned int>(text, ok,
                                     [base](QStringView part, bool *parsed) { return part.toULong(parsed, base); });
}
