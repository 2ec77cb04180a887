// SPDX-FileCopyrightText: 2026 The zqxml developers
// SPDX-License-Identifier: MIT

#include "pieces.h"

#include <zqxml/xmlpacketable.h>

namespace {

void appendLine(QString &text, const QString &tag, const QString &value)
{
    text += tag;
    text += QLatin1Char(' ');
    text += value;
    text += QLatin1Char('\n');
}

} // namespace

Pieces::Pieces(const QDomElement &element)
{
    for (QDomNode child = element.firstChild(); !child.isNull(); child = child.nextSibling())
        top.push_back(take(child));
}

Pieces::Value Pieces::take(const QString &text)
{
    const QByteArray bytes = text.toUtf8();
    return {bytes, bytes.size() == text.size()};
}

QString Pieces::make(const Value &value)
{
    return value.isAscii ? QString::fromLatin1(value.bytes.constData(), value.bytes.size())
                         : QString::fromUtf8(value.bytes);
}

QString Pieces::shared(const QString &name)
{
    return *names.insert(name).first;
}

Pieces::Piece Pieces::take(const QDomNode &n)
{
    if (n.isText())
        return {Text, {}, {}, {}, {}, take(n.nodeValue()), {}};
    Piece piece{Simple, shared(n.nodeName()), {}, {}, {}, {}, {}};
    for (int i = 0; i < n.attributes().length(); ++i) {
        const QDomNode attribute = n.attributes().item(i);
        piece.attributes.push_back({shared(attribute.nodeName()), take(attribute.nodeValue())});
    }
    for (QDomNode child = n.firstChild(); !child.isNull(); child = child.nextSibling())
        piece.children.push_back(take(child));

    const QDomElement element = n.toElement();
    if (piece.name == XMLPacketable::ITEM || piece.name == XMLPacketable::LIST) {
        piece.shape = Container;
        piece.start = piece.name == XMLPacketable::ITEM ? QStringLiteral("SI ") : QStringLiteral("SL ");
    } else if (element.hasAttribute(XMLPacketable::KEY)) {
        piece.shape = Key;
    } else if (element.hasAttribute(XMLPacketable::SIZE)) {
        piece.shape = Array;
        piece.start = QLatin1Char(' ') + QString::number(piece.children.size()) + QLatin1Char(' ');
        const bool holdsTexts = element.firstChildElement().text().contains(QLatin1Char(' ')); // the count in front
        piece.separator = holdsTexts ? QStringLiteral("\r") : QStringLiteral(" ");
    } else if (element.attribute(XMLPacketable::VALUE).startsWith(QLatin1String("?? "))) {
        piece.shape = Binary;
    }
    return piece;
}

void Pieces::build(QDomElement &parent) const
{
    QDomDocument document = parent.ownerDocument();
    for (const Piece &piece : top)
        parent.appendChild(make(document, piece));
}

QDomNode Pieces::make(QDomDocument &document, const Piece &piece)
{
    if (piece.shape == Text)
        return document.createTextNode(make(piece.text));
    QDomElement element = document.createElement(piece.name);
    for (const Attribute &attribute : piece.attributes)
        element.setAttribute(attribute.name, make(attribute.value));
    for (const Piece &child : piece.children)
        element.appendChild(make(document, child));
    return std::move(element);
}

void Pieces::write(QString &text, const QDomElement &parent) const
{
    writeChildren(text, parent, top);
}

void Pieces::writeChildren(QString &text, const QDomNode &parent, const std::vector<Piece> &pieces)
{
    QDomNode child = parent.firstChild();
    for (const Piece &piece : pieces) {
        const QDomElement element = child.toElement();
        switch (piece.shape) {
        case Container:
            text += piece.start;
            text += element.attribute(piece.attributes.front().name);
            text += QLatin1Char('\n');
            writeChildren(text, element, piece.children);
            text += piece.start.at(1) == QLatin1Char('I') ? QLatin1String("TI 0\n") : QLatin1String("TL 0\n");
            break;
        case Simple:
            appendLine(text, element.tagName(), element.attribute(XMLPacketable::VALUE));
            break;
        case Key:
            text += element.tagName();
            text += QLatin1Char(' ');
            appendLine(text, element.attribute(XMLPacketable::KEY), element.attribute(XMLPacketable::HKEY));
            break;
        case Array:
            writeArray(text, element, piece);
            break;
        case Binary:
        case Text:
            break;
        }
        child = child.nextSibling();
    }
}

void Pieces::writeArray(QString &text, const QDomElement &array, const Piece &piece)
{
    text += array.tagName();
    text += piece.start;
    for (QDomNode value = array.firstChild(); !value.isNull();) {
        text += value.firstChild().nodeValue();
        value = value.nextSibling();
        if (!value.isNull())
            text += piece.separator;
    }
    text += QLatin1Char('\n');
}

bool Pieces::areSame(const QDomNode &a, const QDomNode &b) const
{
    QDomNode childA = a.firstChild();
    QDomNode childB = b.firstChild();
    for (const Piece &piece : top) {
        if (!areSame(childA, childB, piece))
            return false;
        childA = childA.nextSibling();
        childB = childB.nextSibling();
    }
    return childA.isNull() && childB.isNull();
}

bool Pieces::areSame(const QDomNode &a, const QDomNode &b, const Piece &piece)
{
    if (piece.shape == Text)
        return a.nodeValue() == b.nodeValue();
    const QDomElement elementA = a.toElement();
    const QDomElement elementB = b.toElement();
    if (elementA.tagName() != elementB.tagName())
        return false;
    for (const Attribute &attribute : piece.attributes) {
        if (elementA.attribute(attribute.name) != elementB.attribute(attribute.name))
            return false;
    }
    QDomNode childA = a.firstChild();
    QDomNode childB = b.firstChild();
    for (const Piece &child : piece.children) {
        if (!areSame(childA, childB, child))
            return false;
        childA = childA.nextSibling();
        childB = childB.nextSibling();
    }
    return childA.isNull() && childB.isNull();
}

std::set<QString> Pieces::fieldNames() const
{
    std::set<QString> found;
    for (const QString &name : names) {
        if (name.size() <= 2)
            found.insert(name);
    }
    return found;
}
